# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Builds the Python package with CMake: `pip install --no-build-isolation .`. The wheel brings the libraries along. CMAKE_ARGS
has more options of CMake."""

from __future__ import annotations

import os
import re
import shlex
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


def version() -> str:
    """That of the CMake project."""
    match = re.search(r"^project\(kessensor VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text(), re.MULTILINE)
    assert match
    return match[1]


class CMakeBuild(build_ext):
    """Builds the module and the libraries below it, and installs them into the package."""

    def run(self) -> None:
        build = Path(self.build_temp).resolve()
        options = {
            "CMAKE_BUILD_TYPE": "Release",
            "CMAKE_INSTALL_PREFIX": str(Path(self.build_lib).resolve()),
            "CMAKE_INSTALL_LIBDIR": "kessensor/lib",
            "KESSENSOR_PYTHON": "ON",
            "KESSENSOR_PYTHON_INSTALL_DIR": ".",
            "KESSENSOR_BUILD_TOOL": "OFF",
            "KESSENSOR_BUILD_TESTS": "OFF",
            "KESSENSOR_BUILD_BENCHMARKS": "OFF",
            "Python3_EXECUTABLE": sys.executable,
        }
        definitions = [f"-D{name}={value}" for name, value in options.items()]
        definitions += shlex.split(os.environ.get("CMAKE_ARGS", ""))
        # Lets the compiler cache serve the same sources in another folder, as pip copies them.
        environment = os.environ | {"CCACHE_BASEDIR": str(ROOT), "CCACHE_NOHASHDIR": "1"}

        def cmake(*arguments: str) -> None:
            subprocess.run(["cmake", *arguments], check=True, env=environment)

        cmake("-S", str(ROOT), "-B", str(build), "-G", "Ninja", *definitions)
        cmake("--build", str(build))
        for component in ("libraries", "python"):
            cmake("--install", str(build), "--component", component)


setup(
    version=version(),
    packages=["kessensor", "kessensor.cluster"],
    package_dir={"kessensor": "python/kessensor"},
    package_data={"kessensor": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("kessensor._core", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
