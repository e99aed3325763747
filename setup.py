"""The wheel: CMake builds the module, the plug-in and the stand-in for its platform's library."""

import os
import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = Path(__file__).resolve().parent
VERSION = re.search(r"project\(orvek23 VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text())[1]


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = Path(self.build_temp).resolve()
        package = Path(self.get_ext_fullpath(ext.name)).resolve().parent
        subprocess.run(
            ["cmake", "-S", SOURCE, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
             "-DBUILD_TESTING=OFF", "-DORVEK23_PYTHON=ON", f"-DPython_EXECUTABLE={sys.executable}"],
            check=True,
        )  # fmt: skip
        subprocess.run(["cmake", "--build", build, "--target", "orvek23_python"], check=True)
        for component, folder, place in (
            ("python", "lib/python3/dist-packages/orvek23", package),
            ("runtime", "lib", package / "lib"),
        ):
            stage = build / "stage" / component
            subprocess.run(
                ["cmake", "--install", build, "--prefix", stage, "--component", component], check=True
            )
            self.copy_tree(str(stage / folder), str(place))


setup(
    version=VERSION,
    ext_modules=[Extension("orvek23._core", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
