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
serialises every call (analyses and parameter getters alike) with one lock.
The library's contraction filter keeps its state from one call to the next,
so the results of "fischer", "acog" and "uc" can depend on the recordings
analysed earlier in the same process.

Log: every analysis writes lines to FhrScore_<year>_<month>_<day>.log in the
current working directory and echoes them to standard output.  The package
sets nothing itself; use `with ctgscore.log_directory(path):` to choose where
the file lands.
"""

from ._analysis import (METHODS, analyze, get_parameters, library_path, log_directory,
                        set_parameters)
from ._errors import (AnalysisError, CtgScoreError, LibraryNotFoundError, RecordingError,
                      RecordingNotFoundError)
from ._parameters import Parameters
from ._plot import plot
from ._readers import Recording, read
from ._results import (AcogResult, DecelerationTypes, FischerResult, HeartRateFindings,
                       KrebsResult, Result, Results, UcResult)
from ._tables import COLUMNS, analyze_files

__all__ = [
    "METHODS", "analyze", "get_parameters", "set_parameters", "log_directory", "library_path",
    "read", "Recording", "analyze_files", "COLUMNS", "plot",
    "Parameters", "CtgScoreError", "LibraryNotFoundError", "AnalysisError",
    "RecordingError", "RecordingNotFoundError",
    "Result", "Results", "HeartRateFindings", "DecelerationTypes",
    "KrebsResult", "FischerResult", "AcogResult", "UcResult",
]
__version__ = "1.0.0"
