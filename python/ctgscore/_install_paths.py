"""Folders searched for libctgscore before the system search path.

The source tree records none.  An installed copy of the package gets the
folders named by CTGSCORE_LIBRARY_DIR (separated by os.pathsep) at the time
the package was built; see setup.py.
"""

LIBRARY_DIRS = ()
