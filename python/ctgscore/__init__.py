"""Cardiotocography analysis with libctgscore, through ctypes.

    import ctgscore
    table = ctgscore.analyze_files("recordings/")      # pandas DataFrame
    recording = ctgscore.read("recordings/train01.fhr")
    results = ctgscore.analyze(recording, method="all")
    ctgscore.plot(recording, results).savefig("strip.png")

    result = ctgscore.analyze(fhr, uc, rate=4, method="krebs")   # arrays work too
    print(result.total_score, result.baseline_fhr, result.accelerations)

The shared library is found through the CTGSCORE_LIBRARY environment
variable (the library file or its folder), the folders recorded when the
package was installed, the copy built into the package by pip, or the
system search path; see ctgscore._library.

Process-wide state: the library is not re-entrant, so this package
serialises every call (analyzes and parameter getters alike) with one lock.
The library's contraction filter keeps its state from one call to the next,
so the results of "fischer", "acog" and "uc" can depend on the recordings
analyzed earlier in the same process.

Modules: _recording (Recording, read; files are read through the readers'
library in _readers), _methods (the facts about the four methods), _results
(result classes built from the 54 result words; their wording in
_score_items), _analysis (analyze, parameters, the lock; the libraries are
found by _library), _table (the columns and rows of analyze_files), _batch
(analyze_files: one process per recording, locally or on Dask; _child is
that process), _display (plot and the notebook displays; the drawing in
_plot).

Log: every analysis writes lines to FhrScore_<year>_<month>_<day>.log in the
current working directory and echoes them to standard output.  The package
sets nothing itself; use `with ctgscore.log_directory(path):` to choose where
the file lands.
"""

from . import _display
from ._analysis import analyze, get_parameters, library_path, log_directory, set_parameters
from ._batch import analyze_files
from ._display import plot
from ._errors import (AnalysisError, CtgScoreError, LibraryNotFoundError, RecordingError,
                      RecordingNotFoundError)
from ._methods import METHODS
from ._parameters import Parameters
from ._recording import Recording, read
from ._results import (AcogResult, DecelerationTypes, FischerResult, HeartRateFindings,
                       KrebsResult, Result, Results, UcResult)
from ._table import COLUMNS

_display.install()

__all__ = [
    "METHODS", "analyze", "get_parameters", "set_parameters", "log_directory", "library_path",
    "read", "Recording", "analyze_files", "COLUMNS", "plot",
    "Parameters", "CtgScoreError", "LibraryNotFoundError", "AnalysisError",
    "RecordingError", "RecordingNotFoundError",
    "Result", "Results", "HeartRateFindings", "DecelerationTypes",
    "KrebsResult", "FischerResult", "AcogResult", "UcResult",
]
__version__ = "1.0.0"
