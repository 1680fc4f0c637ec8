"""Builds the native module with the project's own CMake build (the library and the module,
nothing else) and puts the library beside the module, which finds it there.

    pip install ./python --no-build-isolation
"""

import os
import pathlib
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent.parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = pathlib.Path(self.build_temp).resolve() / "cmake"
        subprocess.run(
            [
                "cmake", "-S", str(ROOT), "-B", str(build),
                "-DCMAKE_BUILD_TYPE=Release",
                f"-DPython_EXECUTABLE={sys.executable}",
                "-DZEV_BUILD_TESTS=OFF", "-DZEV_BUILD_BENCH=OFF", "-DZEV_BUILD_TOOLS=OFF",
                "-DZEV_BUILD_QT=OFF", "-DZEV_INSTALL=OFF",
                "-DZEV_BUILD_PYTHON=ON", "-DZEV_PYTHON_BUNDLE=ON",
            ],
            check=True,
        )
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", "2")
        subprocess.run(
            ["cmake", "--build", str(build), "--target", "_zevcore", "-j", jobs], check=True
        )
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve()
        target.parent.mkdir(parents=True, exist_ok=True)
        built = next((build / "python" / "zevcore").glob("_zevcore*.so"))
        shutil.copyfile(built, target)
        # The module asks for the library by its soname, beside itself.
        library = build / "zevcore" / "libzevcore.so.0"
        shutil.copyfile(library.resolve(), target.parent / library.name)


setup(
    ext_modules=[Extension("zevcore._zevcore", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
