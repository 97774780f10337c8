"""Finding libctgscore.so and binding its 14 functions with ctypes; finding the
readers' library libctgscore-io.so beside it.

Search order for either (the first that loads wins):

1. The CTGSCORE_LIBRARY environment variable: the scoring library file itself
   or the folder that holds it (the readers' library is looked for in that
   folder).  When it is set, nothing else is tried, so a wrong
   value is reported instead of silently loading some other copy.
2. The folders recorded when the package was installed (CTGSCORE_LIBRARY_DIR
   at build time, see setup.py), then the package's own folder (where
   `pip install ./python` places the library it builds), then the lib
   folder of the Python prefix (sys.prefix/lib, where
   `cmake --install build --prefix "$VIRTUAL_ENV"` puts it).
3. The system search path: dlopen("libctgscore.so.1") (LD_LIBRARY_PATH, the
   ldconfig cache, /lib, /usr/lib), then ctypes.util.find_library("ctgscore");
   likewise libctgscore-io.so.1.
"""

import ctypes
import ctypes.util
import os
import sys

from . import _install_paths
from ._errors import CtgScoreError, LibraryNotFoundError

LIBRARY_ENV = "CTGSCORE_LIBRARY"
PACKAGE_DIR = os.path.dirname(os.path.abspath(__file__))
SCORING, READERS = "ctgscore", "ctgscore-io"  # the libraries, by name
RESULT_WORDS = 54

PARAMETER_FIELDS = (
    "varAmplitudeMin", "varCycleMin", "accMinDuration", "accMinAmplitude",
    "accMinSpacing", "decMinDuration", "decMinAmplitude", "decMinSpacing",
    "auxPeakA", "auxPeakB", "auxPeakSpan", "auxPeakD", "ucPeakA", "ucPeakB",
    "ucPeakSpan", "fmMode", "reserved16",
)


class ParameterRecord(ctypes.Structure):
    _fields_ = [(name, ctypes.c_int) for name in PARAMETER_FIELDS]


class IntList(ctypes.Structure):
    _fields_ = [("data", ctypes.POINTER(ctypes.c_int)), ("count", ctypes.c_int)]

    def to_list(self):
        return self.data[:self.count]


class LocationRecord(ctypes.Structure):
    _fields_ = [
        ("accelerationStarts", IntList),
        ("accelerationEnds", IntList),
        ("decelerationStarts", IntList),
        ("decelerationEnds", IntList),
    ]


class BaselineRecord(ctypes.Structure):
    _fields_ = [("data", ctypes.POINTER(ctypes.c_double)), ("count", ctypes.c_int)]


_TRACE = ctypes.POINTER(ctypes.c_int)
_TWO_TRACE_ARGS = [_TRACE, _TRACE, ctypes.c_int, ctypes.c_int]
_THREE_TRACE_ARGS = [_TRACE, _TRACE, _TRACE, ctypes.c_int, ctypes.c_int]

# Per method: analysis, location getter, baseline getter, argument types.
# The ACOG functions are exported under their C++ (mangled) names.
_METHOD_SYMBOLS = {
    "krebs": ("QK4_calFhrKrebs", "QK4_getKrebsLocation", "QK4_getKrebsBaseline",
              _TWO_TRACE_ARGS),
    "fischer": ("QK4_calFhrFischer2", "QK4_getFischer2Location", "QK4_getFischer2Baseline",
                _THREE_TRACE_ARGS),
    "acog": ("_Z14QK4_calFhrAcogPKiS0_S0_ii", "_Z19QK4_getAcogLocationv",
             "_Z19QK4_getAcogBaselinev", _THREE_TRACE_ARGS),
    "uc": ("QK4_calFhrUC", "QK4_getUCLocation", "QK4_getUCBaseline", _THREE_TRACE_ARGS),
}


class MethodFunctions:
    """The analysis function of one method and its two getters."""

    def __init__(self, bind, method):
        analyze, location, baseline, argtypes = _METHOD_SYMBOLS[method]
        self.analyze = bind(analyze, ctypes.POINTER(ctypes.c_int), argtypes)
        self.location = bind(location, ctypes.POINTER(LocationRecord), [])
        self.baseline = bind(baseline, ctypes.POINTER(BaselineRecord), [])


class Library:
    """A loaded libctgscore with its functions bound."""

    def __init__(self, cdll, path):
        self.path = path
        self._cdll = cdll
        self.set_parameter = self._bind("QK4_setParameter", None,
                                        [ctypes.POINTER(ParameterRecord)])
        self.get_parameter = self._bind("QK4_getParameter",
                                        ctypes.POINTER(ParameterRecord), [])
        self.methods = {method: MethodFunctions(self._bind, method)
                        for method in _METHOD_SYMBOLS}

    def _bind(self, symbol, restype, argtypes):
        try:
            function = getattr(self._cdll, symbol)
        except AttributeError:
            raise CtgScoreError(f"{self.path} is not a usable ctgscore library: "
                                f"it does not export {symbol}") from None
        function.restype = restype
        function.argtypes = argtypes
        return function


def _file_names(name):
    return (f"lib{name}.so.1", f"lib{name}.so")


def _files_in(folder, name):
    return [os.path.join(folder, file_name) for file_name in _file_names(name)]


def _env_candidates(value, name):
    """The files CTGSCORE_LIBRARY points at: the scoring library itself or its
    folder; the readers' library is looked for in that folder."""
    value = os.path.abspath(value)
    if os.path.isdir(value):
        return _files_in(value, name)
    return [value] if name == SCORING else _files_in(os.path.dirname(value), name)


def _folder_candidates(name):
    folders = list(_install_paths.LIBRARY_DIRS) + [PACKAGE_DIR, os.path.join(sys.prefix, "lib")]
    return [path for folder in folders for path in _files_in(folder, name)]


def _try_load(name, tried):
    """Loads `name` or notes in `tried` why it could not be loaded."""
    try:
        return ctypes.CDLL(name)
    except OSError as error:
        tried.append(f"{name}: {error}")
        return None


def _try_files(paths, tried):
    for path in paths:
        if not os.path.exists(path):
            tried.append(f"{path}: no such file")
            continue
        cdll = _try_load(path, tried)
        if cdll is not None:
            return cdll, path
    return None, None


def _try_system(name, tried):
    soname = _file_names(name)[0]
    cdll = _try_load(soname, tried)
    if cdll is not None:
        return cdll, soname
    found = ctypes.util.find_library(name)
    if found is None:
        tried.append(f'ctypes.util.find_library("{name}"): nothing found')
        return None, None
    cdll = _try_load(found, tried)
    return (cdll, found) if cdll is not None else (None, None)


_HOW_TO_POINT = (
    "Set CTGSCORE_LIBRARY to the library file (e.g. build/libctgscore.so) or its folder, "
    "install the package with pip from the project's python/ folder (which builds the "
    "libraries into it), reinstall it with CTGSCORE_LIBRARY_DIR set to that folder, or install "
    "the libraries on the system search path (cmake --install, then ldconfig).")


def _find(name):
    """(CDLL, path) of lib<name>, or LibraryNotFoundError listing every place tried."""
    tried = []
    from_env = os.environ.get(LIBRARY_ENV)
    if from_env:
        cdll, path = _try_files(_env_candidates(from_env, name), tried)
        if cdll is None:
            raise LibraryNotFoundError(
                f"lib{name} could not be loaded from {LIBRARY_ENV}={from_env}:\n  "
                + "\n  ".join(tried)
                + f"\nFix or unset {LIBRARY_ENV} (when unset, the installed folders "
                "and the system search path are searched).")
        return cdll, path
    tried.append(f"{LIBRARY_ENV}: not set")
    if not _install_paths.LIBRARY_DIRS:
        tried.append("folders recorded at install (CTGSCORE_LIBRARY_DIR): none")
    cdll, path = _try_files(_folder_candidates(name), tried)
    if cdll is None:
        cdll, path = _try_system(name, tried)
    if cdll is None:
        raise LibraryNotFoundError(
            f"lib{name} could not be found. Places tried:\n  " + "\n  ".join(tried)
            + "\n" + _HOW_TO_POINT)
    return cdll, path


def load():
    """The scoring library, loaded and bound, or LibraryNotFoundError."""
    return Library(*_find(SCORING))


def load_readers():
    """The readers' library (CDLL, path), or LibraryNotFoundError."""
    return _find(READERS)
