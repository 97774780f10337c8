"""Builds libctgscore and libctgscore-io with CMake and places them inside the package.

`pip install --no-build-isolation ./python` (pip builds the folder in place)
configures the project one folder up with CMake in python/build/cmake, builds
the scoring library and the readers' library only, in release mode, and
copies libctgscore.so.1 and libctgscore-io.so.1 into the package, where
ctgscore._library finds them without any environment variable.  A second install reuses that build folder, so only what changed
is compiled again.

The search order of ctgscore._library stays for those who point at their own
build: when CTGSCORE_LIBRARY_DIR (folders separated by os.pathsep) is set at
build time, those folders are recorded in ctgscore/_install_paths.py of the
build and no library is built.  Without the project's sources beside it (a
copy of python/ alone), the package is built without a library and finds one
through the same search order.
"""

import glob
import os
import shutil
import subprocess

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

HERE = os.path.dirname(os.path.abspath(__file__))
PROJECT = os.path.dirname(HERE)
LIBRARIES = ("ctgscore", "ctgscore-io")  # CMake targets, built as lib<name>.so.1


def _project_sources():
    """The project folder when this package sits in it, else None."""
    markers = ("CMakeLists.txt", os.path.join("include", "ctgscore.h"),
               os.path.join("io", "CMakeLists.txt"))
    if all(os.path.isfile(os.path.join(PROJECT, marker)) for marker in markers):
        return PROJECT
    return None


def _recorded_folders():
    folders = os.environ.get("CTGSCORE_LIBRARY_DIR", "")
    return tuple(os.path.abspath(folder) for folder in folders.split(os.pathsep) if folder)


def _build_libraries(project, build_dir):
    """Configures and builds the shared libraries; returns the built files."""
    cmake = shutil.which("cmake")
    if cmake is None:
        raise RuntimeError("building libctgscore needs CMake (Debian: apt-get install cmake "
                           "g++ make), or set CTGSCORE_LIBRARY_DIR to the folder of a library "
                           "built already")
    subprocess.run([cmake, "-S", project, "-B", build_dir, "-DCMAKE_BUILD_TYPE=Release",
                    "-DCTGSCORE_BUILD_TESTS=OFF", "-DCTGSCORE_BUILD_TOOLS=OFF",
                    "-DCTGSCORE_BUILD_BENCH=OFF", "-DCTGSCORE_SANITIZE=OFF"], check=True)
    subprocess.run([cmake, "--build", build_dir, "--target", *LIBRARIES,
                    "-j", str(os.cpu_count() or 1)], check=True)
    built = [os.path.join(build_dir, f"lib{name}.so.1") for name in LIBRARIES]
    for path in built:
        if not os.path.exists(path):
            raise RuntimeError(f"the CMake build did not produce {path}")
    return built


class BuildPyWithLibrary(build_py):
    def run(self):
        super().run()
        package = os.path.join(self.build_lib, "ctgscore")
        folders = _recorded_folders()
        with open(os.path.join(package, "_install_paths.py"), "w", encoding="utf-8") as module:
            module.write('"""Folders searched for libctgscore, recorded at install time."""\n\n'
                         f"LIBRARY_DIRS = {folders!r}\n")
        for stale in glob.glob(os.path.join(package, "libctgscore.so*")):
            os.remove(stale)
        project = _project_sources()
        if folders or project is None:
            return
        for built in _build_libraries(project, os.path.join(HERE, "build", "cmake")):
            shutil.copyfile(os.path.realpath(built), os.path.join(package, os.path.basename(built)))


class BinaryDistribution(Distribution):
    """The wheel holds compiled libraries, so it is tagged for this platform."""

    def has_ext_modules(self):
        return _project_sources() is not None and not _recorded_folders()


setup(cmdclass={"build_py": BuildPyWithLibrary}, distclass=BinaryDistribution)
