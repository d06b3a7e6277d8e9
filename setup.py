"""Builds the extension with CMake; all else is in pyproject.toml."""

import os
import re
import shlex
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent
VERSION = re.search(r"project\(QXHermite VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())[1]


class CMakeBuild(build_ext):
    """Builds the target python_core and puts the module where setuptools expects it."""

    def build_extension(self, extension):
        build = Path(self.build_temp).resolve()
        generator = ["-G", "Ninja"] if shutil.which("ninja") else []
        subprocess.run(
            ["cmake", "-S", ROOT, "-B", build, *generator]
            + ["-DCMAKE_BUILD_TYPE=Release", "-DQXHERMITE_BUILD_TESTS=OFF"]
            # The page of reports takes a script from the npm registry.
            + [f"-DPython3_EXECUTABLE={sys.executable}", "-DQXHERMITE_WITH_REPORT=OFF"]
            + shlex.split(os.environ.get("CMAKE_ARGS", "")),
            check=True,
        )
        jobs = str(os.cpu_count() or 1)
        command = ["cmake", "--build", build, "--target", "python_core", "-j", jobs]
        subprocess.run(command, check=True)
        module = Path(self.get_ext_fullpath(extension.name))
        module.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(next((build / "python" / "qxhermite").glob("_core*.so")), module)


setup(
    version=VERSION,
    packages=["qxhermite"],
    package_dir={"": "python"},
    package_data={"qxhermite": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("qxhermite._core", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
