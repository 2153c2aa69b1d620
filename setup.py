"""Builds the Python package by CMake: pip install --no-build-isolation ."""

import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext


class CMakeBuild(build_ext):
    """Installs the component `python` of a static build where setuptools collects the package."""

    def build_extension(self, ext: Extension) -> None:
        root = Path(__file__).resolve().parent
        build = Path(self.build_temp).resolve()
        prefix = Path(self.get_ext_fullpath(ext.name)).resolve().parent.parent
        options = [
            "-DCMAKE_BUILD_TYPE=Release",
            "-DBUILD_SHARED_LIBS=OFF",
            "-DKELVANE_BUILD_PYTHON=ON",
            "-DKELVANE_BUILD_APPS=OFF",
            "-DKELVANE_BUILD_TESTS=OFF",
            "-DKELVANE_BUILD_EXAMPLES=OFF",
            "-DKELVANE_PYTHON_DIR=.",
            f"-DPython_EXECUTABLE={sys.executable}",
        ]
        cmake = ["cmake", "-S", str(root), "-B", str(build), *options]
        subprocess.run(cmake, check=True)
        subprocess.run(["cmake", "--build", str(build), "--parallel"], check=True)
        install = ["cmake", "--install", str(build), "--component", "python"]
        subprocess.run([*install, "--prefix", str(prefix)], check=True)


setup(ext_modules=[Extension("kelvane._kelvane", [])], cmdclass={"build_ext": CMakeBuild})
