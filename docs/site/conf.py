# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Configuration of the manual's site; scripts/docs.sh lays out its sources and says in the environment where the rest
lies."""

import os
import sys
from pathlib import Path

import kessensor

sys.path.insert(0, str(Path(__file__).parent))
from stub_signatures import signatures  # noqa: E402

project = "kessensor"
author = "The kessensor authors"
copyright = "the kessensor authors"  # noqa: A001
release = version = os.environ["KESSENSOR_VERSION"]

extensions = ["myst_parser", "sphinx.ext.mathjax", "sphinx.ext.autodoc", "sphinx.ext.napoleon"]
myst_enable_extensions = ["deflist", "dollarmath"]
myst_heading_anchors = 4
root_doc = "index"
smartquotes = False  # of "--option" they would make a dash

highlight_language = "none"

napoleon_use_ivar = True
autodoc_typehints = "none"
autodoc_member_order = "groupwise"
# What only kessensor.cluster imports need not be installed.
autodoc_mock_imports = ["dask", "distributed"]

# Formulas are set in the browser, by a copy of MathJax beside the pages: no request leaves the site.
mathjax_path = "mathjax/MathJax.js?config=TeX-AMS_CHTML"
mathjax2_config = {
    "tex2jax": {"inlineMath": [["\\(", "\\)"]], "displayMath": [["\\[", "\\]"]], "processClass": "math"},
    "showMathMenu": False,
    "messageStyle": "none",
}
myst_update_mathjax = False

html_theme = "furo"
html_title = f"kessensor {release}"
html_static_path = ["_static", os.environ["KESSENSOR_DOCS_STATIC"]]
html_css_files = ["manual.css"]
html_copy_source = False
html_show_sourcelink = False
html_show_sphinx = False
html_last_updated_fmt = None
html_use_index = False
html_domain_indices = False

STUBS = signatures(Path(kessensor.__file__).parent / "_core.pyi")


def signature_of_stub(app, what, name, item, options, signature, return_annotation):
    """For what comes without one."""
    if not signature:
        return STUBS.get(name.removeprefix("kessensor."), (signature, return_annotation))
    return None


def without_alias(app, what, name, item, options, lines):
    """What Python says of each field of a named tuple says nothing."""
    lines[:] = [line for line in lines if not line.startswith("Alias for field number")]


def setup(app):
    app.connect("autodoc-process-signature", signature_of_stub)
    app.connect("autodoc-process-docstring", without_alias)
