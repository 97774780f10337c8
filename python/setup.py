"""Records where libctgscore lives in the installed package.

The folders named by CTGSCORE_LIBRARY_DIR (separated by os.pathsep) when the
package is built are written into ctgscore/_install_paths.py of the build,
so the installed package finds the library there without any environment
variable.  The source tree keeps an empty list.
"""

import os

from setuptools import setup
from setuptools.command.build_py import build_py


class BuildPyRecordingLibraryDirs(build_py):
    def run(self):
        super().run()
        folders = os.environ.get("CTGSCORE_LIBRARY_DIR", "")
        library_dirs = tuple(os.path.abspath(folder)
                             for folder in folders.split(os.pathsep) if folder)
        target = os.path.join(self.build_lib, "ctgscore", "_install_paths.py")
        with open(target, "w", encoding="utf-8") as module:
            module.write('"""Folders searched for libctgscore, recorded at install time."""\n\n'
                         f"LIBRARY_DIRS = {library_dirs!r}\n")


setup(cmdclass={"build_py": BuildPyRecordingLibraryDirs})
