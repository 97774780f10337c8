"""The calls into the library, serialised by one process-wide lock.

The library keeps process-wide state (its parameter record, one result
record, the last events of each method and the state of its contraction
filter), so every call below runs under `_lock`, getters included.  The lock
is re-entrant: a thread inside `log_directory` may call `analyze`.
"""

import contextlib
import os
import threading

from . import _library, _results, _traces
from ._capture import captured_stdout
from ._errors import AnalysisError
from ._methods import methods_named
from ._parameters import Parameters, checked_parameters, stored_parameters
from ._recording import Recording

_lock = threading.RLock()
_loaded = None


def _api():
    global _loaded
    if _loaded is None:
        _loaded = _library.load()
    return _loaded


def library_path():
    """The path of the loaded library (loading it if needed)."""
    with _lock:
        return _api().path


def _read_parameters(api):
    record = api.get_parameter().contents
    return tuple(getattr(record, name) for name in _library.PARAMETER_FIELDS)


def _write_parameters(api, values):
    api.set_parameter(_library.ParameterRecord(*values))


def get_parameters():
    """The library's parameter record, as the library reports it.

    Before any set_parameters call the library reports its defaults.  Values
    are returned as stored, so a record set by other code in the process may
    hold out-of-range fields (see Parameters.validate()).
    """
    with _lock:
        return stored_parameters(_read_parameters(_api()))


def set_parameters(parameters):
    """Stores `parameters` (a validated Parameters) for every later analysis."""
    if not isinstance(parameters, Parameters):
        raise TypeError(f"set_parameters needs a Parameters, got {type(parameters).__name__}")
    parameters.validate()
    with _lock:
        _write_parameters(_api(), parameters.values())


@contextlib.contextmanager
def _parameters_in_force(api, parameters):
    if parameters is None:
        yield
        return
    previous = _read_parameters(api)
    _write_parameters(api, parameters.values())
    try:
        yield
    finally:
        _write_parameters(api, previous)


@contextlib.contextmanager
def log_directory(path):
    """Runs the calls of the block with `path` as working directory.

    The library writes its daily log file FhrScore_<year>_<month>_<day>.log
    into the process's working directory.  This changes the working
    directory of the whole process for the duration of the block and holds
    the package lock meanwhile, so other threads' calls wait; the previous
    working directory is restored on leaving.
    """
    with _lock:
        previous = os.getcwd()
        os.chdir(path)
        try:
            yield
        finally:
            os.chdir(previous)


def _check_length(name, trace, expected, what):
    if len(trace) != expected:
        raise ValueError(f"{name} has {len(trace)} values but {what} needs {expected}")


def _prepare(fhr, uc, fm, rate, methods):
    fhr_trace = _traces.as_trace("fhr", fhr)
    uc_trace = None
    if uc is not None or methods != ("krebs",):
        uc_trace = _traces.as_trace("uc", uc)
        _check_length("uc", uc_trace, len(fhr_trace), "an fhr trace of that length")
    seconds = len(fhr_trace) // rate
    if fm is None:
        return fhr_trace, uc_trace, _traces.no_movements(seconds)
    fm_trace = _traces.as_trace("fm", fm)
    _check_length("fm", fm_trace, seconds,
                  f"one mark per second (len(fhr) // rate; for per-sample marks pass "
                  f"fm[::{rate}])")
    return fhr_trace, uc_trace, fm_trace


def _run(api, method, fhr, uc, fm, rate, recording):
    functions = api.methods[method]
    traces = (fhr, fm) if method == "krebs" else (fhr, uc, fm)
    with captured_stdout() as capture:
        pointer = functions.analyze(*(trace.pointer for trace in traces), len(fhr), rate)
        words = pointer[:_library.RESULT_WORDS]
    if _results.run_failed(method, words):
        errors = capture.errors()
        reason = errors[-1] if errors else "the library logged no error text"
        raise AnalysisError(method, reason, capture.lines, words)
    return _results.build(method, rate, words, functions.location().contents,
                          functions.baseline().contents, recording)


def _unpack_recording(fhr, uc, fm, rate):
    """(fhr, uc, fm, rate, recording) with a Recording's traces taken apart."""
    if not isinstance(fhr, Recording):
        return fhr, uc, fm, 4 if rate is None else rate, None
    recording = fhr
    if uc is not None or fm is not None:
        raise TypeError("analyze takes a Recording or traces, not both: leave uc and fm out")
    if rate is not None and rate != recording.rate:
        raise ValueError(f"rate={rate!r} differs from the recording's own rate "
                         f"({recording.rate}); leave rate out for a Recording")
    return recording.fhr, recording.uc, recording.fm, recording.rate, recording


def analyze(fhr, uc=None, fm=None, rate=None, method="krebs", params=None):
    """Analyzes one recording and returns the result of `method`.

    fhr: a Recording (see ctgscore.read), which brings its own uc, fm and
        rate; or the heart rate in bpm, one integer per sample.
    uc: contraction trace, one integer per sample, same length as fhr; needed
        by every method but "krebs".
    fm: fetal movement mark words, ONE WORD PER SECOND: exactly
        len(fhr) // rate values (for per-sample marks pass fm[::rate]).  Bit
        value 4 and/or 8 marks a movement, as chosen by Parameters.fm_mode.
        None means no marks (all 0).
    rate: samples per second of the traces (default 4; the research
        recordings use 4).  A Recording's own rate is used for it.
    method: "krebs", "fischer", "acog", "uc", or "all", which runs the four in
        that order and returns a Results, a dict {method: result}.
    params: a Parameters to run with; the library's stored parameters are
        restored afterwards.  None runs with the stored ones (see
        set_parameters; the library's defaults until then).

    Traces may be any sequences of integers or integer numpy arrays.  Raises
    TypeError or ValueError for unusable input before calling the library,
    and AnalysisError (with the library's error text) when the library
    rejects the recording, e.g. one shorter than one minute (five for
    "fischer").  With method="all" the first failing method raises.  The
    results of a Recording keep it (result.recording) for plots.
    """
    methods = methods_named(method)
    fhr, uc, fm, rate, recording = _unpack_recording(fhr, uc, fm, rate)
    rate = _traces.check_rate(rate)
    fhr_trace, uc_trace, fm_trace = _prepare(fhr, uc, fm, rate, methods)
    checked_parameters(params)
    with _lock:
        api = _api()
        with _parameters_in_force(api, params):
            results = {name: _run(api, name, fhr_trace, uc_trace, fm_trace, rate, recording)
                       for name in methods}
    return _results.Results(results) if method == "all" else results[method]
