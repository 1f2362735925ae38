#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The pages that the manual's site makes of man pages, headers and type stubs, for small examples: nothing of them is
lost, and what isn't known is an error."""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).parents[2]
sys.path.insert(0, str(ROOT / "docs/site"))
import header_pages  # noqa: E402
import man_pages  # noqa: E402
import stub_signatures  # noqa: E402

MAN_PAGE = r""".TH "kes\-eop\-at" 1 "" "kessensor 1.0.0" "User Commands"
.SH NAME
kes\-eop\-at \- prints
.SH SYNOPSIS
\fBkes eop at\fR [\fIOPTIONS\fR] \fIFILE\fR
.SH DESCRIPTION
Prints. All of it.
.SH OPTIONS
.TP
\fB\-d\fR, \fB\-\-decimals\fR \fIN\fR
Decimals, of \(dqall\(dq <numbers>_*
.SH EXAMPLES
.PP
.nf
kes eop at a_b.eop \-\-decimals 3
.fi
.SH SEE ALSO
\fBkes\-eop\fR(1)
"""
MAN_MARKDOWN = r"""# `kes eop at`

## Synopsis

**kes eop at** \[*OPTIONS*\] *FILE*

## Description

Prints. All of it.

## Options


**-d**, **--decimals** *N*
: Decimals, of "all" \<numbers\>\_\*

## Examples


```
kes eop at a_b.eop --decimals 3
```

## See also

[kes eop](kes-eop.md)
"""

HEADER = """\
namespace a {

/// What it is, with `code`.
///
/// - one
/// - two
enum class Kind {
  first,   ///< The first.
  second,
};

/// A class.
class Thing : public Base {
public:
  /// Makes it, of 1 < 2 things.
  explicit Thing(int count = 3);
  int bare;
  int barer;
  /// Adds.
  static double add(double const& x, std::span<double const> y) ;

  struct Part {
    int inner;  ///< Within.
  };

private:
  int mHidden;
};

}  // namespace a
"""
HEADER_MARKDOWN = r"""# `<a/Thing.h>`

Namespace `a`

```c++
enum class Kind {
  first,
  second,
};
```

What it is, with `code`.

- one
- two

- `first`: The first.

## class `Thing`: `public Base`

A class.

```c++
explicit Thing(int count=3);
```

Makes it, of 1 \< 2 things.

```c++
int bare;
int barer;
```

```c++
static double add(double const &x, std::span<double const> y);
```

Adds.

### struct `Thing::Part`

```c++
int inner;
```

Within.
"""

STUB = """\
class Band:
    def __init__(self, file: str) -> None: ...
    def gsd(self, samples: npt.ArrayLike, *, threads: int = ...) -> Sampling: ...
def count() -> int: ...
"""


class Pages(unittest.TestCase):
    maxDiff = None

    def test_man_page_keeps_all_of_its_text(self):
        self.assertEqual(man_pages.markdown(MAN_PAGE), MAN_MARKDOWN)

    def test_summary_is_the_first_sentence_of_the_description(self):
        self.assertEqual(man_pages.summary(MAN_MARKDOWN), "Prints")

    def test_unknown_request_of_a_man_page_is_an_error(self):
        with self.assertRaisesRegex(ValueError, r"^request \.SS isn't known$"):
            man_pages.markdown(".SS sub\n")

    @unittest.skipUnless(shutil.which("doxygen"), "Doxygen isn't installed")
    def test_header_has_its_declarations_with_their_comments_in_order(self):
        with tempfile.TemporaryDirectory() as folder:
            header = Path(folder) / "a/Thing.h"
            header.parent.mkdir()
            header.write_text(HEADER, encoding="utf-8")
            configuration = f"""@INCLUDE = {ROOT}/docs/Doxyfile
INPUT = {folder}
STRIP_FROM_PATH = {folder}
OUTPUT_DIRECTORY = {folder}
"""
            subprocess.run(["doxygen", "-"], input=configuration, text=True, check=True, cwd=ROOT)
            headers = header_pages.Headers(Path(folder) / "xml")
            self.assertEqual(headers.markdown("a/Thing.h", HEADER), HEADER_MARKDOWN)
            self.assertEqual(headers.names("a/Thing.h"), ["Kind", "Thing"])
            text = "#include <a/Thing.h>\n#include <vector>\n"
            self.assertEqual(headers.markdown("a/a.h", text), "# `<a/a.h>`\n\nIncludes `<a/Thing.h>`.\n")
            self.assertEqual(headers.markdown("a/nothing.h", ""), "")

    def test_signatures_are_those_of_the_stub_without_types(self):
        with tempfile.TemporaryDirectory() as folder:
            stub = Path(folder) / "_core.pyi"
            stub.write_text(STUB, encoding="utf-8")
            self.assertEqual(
                stub_signatures.signatures(stub),
                {
                    "Band": ("(file)", None),
                    "Band.gsd": ("(samples, *, threads=…)", "Sampling"),
                    "count": ("()", "int"),
                },
            )


if __name__ == "__main__":
    unittest.main()
