"""analyze_files: many recordings into one table, one row per recording and method.

Each recording is analyzed in a fresh Python process (python -m
ctgscore._child), as the command-line tool's batch does, because the
library's contraction filter carries its state from one call to the next
inside a process: a row never depends on the recordings analyzed before it,
on their order or on the number of jobs.  A process that dies gives a
failure row naming the file and the signal, and the rest go on.

Locally, `jobs` threads each wait on one analysis process at a time.  With a
dask.distributed Client, each recording is one task; the task starts the
analysis process on its worker, so files are read where the task runs.
"""

import concurrent.futures
import json
import os
import pickle
import signal
import subprocess
import sys
import tempfile

from ._analysis import analyze, library_path
from ._errors import AnalysisError, RecordingError, RecordingNotFoundError
from ._methods import METHODS, methods_named
from ._parameters import Parameters, checked_parameters
from ._recording import RECORDING_EXTENSIONS, check_channel, read
from ._table import failure_row, frame, recording_values, result_values
from ._traces import check_rate


# ---- one recording --------------------------------------------------------------------------


def analyze_file(path, options):
    """The rows of one file: read it, run each chosen method in the fixed order.

    Runs in the analysis process (see _child); options is the dict made by
    options_for().
    """
    try:
        recording = read(path, fhr_channel=options["fhr_channel"], rate=options["rate"])
    except RecordingError as error:
        return [failure_row(path, str(error))]
    params = Parameters(*options["params"]) if options["params"] is not None else None
    common = recording_values(path, recording)
    rows = []
    for method in options["methods"]:
        row = {**common, "method": method}
        try:
            result = analyze(recording, method=method, params=params)
        except AnalysisError as error:
            row.update(ok=False, reason=error.reason)
        else:
            row.update(ok=True, reason=None, **result_values(result))
        rows.append(row)
    return rows


# ---- in a fresh process ------------------------------------------------------------------


def _package_parent():
    return os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def _child_environment():
    """The caller's environment, with this package importable and the library
    the caller would load named explicitly."""
    env = dict(os.environ)
    env["PYTHONPATH"] = os.pathsep.join(
        [_package_parent()] + [part for part in env.get("PYTHONPATH", "").split(os.pathsep)
                               if part])
    library = library_path()
    if os.path.isabs(library) and os.path.isfile(library):
        env["CTGSCORE_LIBRARY"] = library
    return env


def _signal_name(number):
    try:
        return signal.Signals(number).name
    except ValueError:
        return "unknown signal"


def _last_line(text):
    lines = [line for line in text.decode("utf-8", errors="replace").splitlines()
             if line.strip()]
    return lines[-1].strip() if lines else "no message"


def analyze_in_child(path, options, timeout=None):
    """The rows of one file, analyzed by a new Python process.

    A process killed by a signal, ended with an error, or stopped at
    `timeout` seconds gives one failure row naming the file and why.
    """
    cwd = options.get("cwd")
    cwd = cwd if cwd and os.path.isdir(cwd) else None
    with tempfile.TemporaryDirectory(prefix="ctgscore-") as scratch:
        rows_file = os.path.join(scratch, "rows.pickle")
        command = [sys.executable, "-m", "ctgscore._child", str(os.getpid()), rows_file,
                   json.dumps(options), path]
        try:
            done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.PIPE, env=_child_environment(), cwd=cwd,
                                  timeout=timeout)
        except subprocess.TimeoutExpired:
            return [failure_row(path, f"{path}: the analysis process took longer than "
                                      f"{timeout} s and was stopped")]
        if done.returncode == 0:
            with open(rows_file, "rb") as rows:
                return pickle.load(rows)
    if done.returncode < 0:
        number = -done.returncode
        reason = (f"the analysis process was killed by signal {number} "
                  f"({_signal_name(number)})")
    else:
        reason = (f"the analysis process ended with status {done.returncode}: "
                  f"{_last_line(done.stderr)}")
    return [failure_row(path, f"{path}: {reason}")]


# ---- choosing the files and the options --------------------------------------------------


def list_recordings(folder):
    """The .csv, .fhr and .hea files of a folder (not its subfolders), by name."""
    folder = os.fspath(folder)
    try:
        entries = sorted(os.scandir(folder), key=lambda entry: entry.name)
    except FileNotFoundError:
        raise RecordingNotFoundError(folder, "no such folder") from None
    except OSError as error:
        raise RecordingError(folder, f"cannot list the folder: {error.strerror}") from None
    return [os.path.join(folder, entry.name) for entry in entries
            if entry.is_file() and os.path.splitext(entry.name)[1].lower()
            in RECORDING_EXTENSIONS]


def input_files(paths_or_folder):
    """The files to analyze, sorted, from a folder, one file or a list of files."""
    if isinstance(paths_or_folder, (str, bytes, os.PathLike)):
        path = os.fsdecode(paths_or_folder)
        if os.path.isdir(path):
            files = list_recordings(path)
            if not files:
                raise RecordingError(path, "no recordings (.csv, .fhr or .hea files) in the "
                                           "folder")
            return files
        if not os.path.exists(path):
            raise RecordingNotFoundError(path, "no such file or folder")
        return [path]
    try:
        files = sorted(os.fsdecode(path) for path in paths_or_folder)
    except TypeError:
        raise TypeError("analyze_files takes a folder, a file or a list of files, got "
                        f"{type(paths_or_folder).__name__}") from None
    if not files:
        raise ValueError("analyze_files was given an empty list of files")
    return files


def _method_list(methods):
    if isinstance(methods, str):
        return list(methods_named(methods))
    chosen = set()
    for method in methods:
        chosen.update(methods_named(method))
    if not chosen:
        raise ValueError("methods is empty")
    return [method for method in METHODS if method in chosen]


def options_for(methods, rate, fhr_channel, params):
    """The JSON-ready options every analysis process gets."""
    check_channel(fhr_channel)
    checked_parameters(params)
    return {"methods": _method_list(methods), "rate": check_rate(rate),
            "fhr_channel": fhr_channel,
            "params": list(params.values()) if params is not None else None,
            "cwd": os.getcwd()}


# ---- running them --------------------------------------------------------------------------


def _progress_bar(total, progress):
    """A tqdm bar (tqdm.auto: a widget in notebooks), or None."""
    wanted = total > 10 if progress is None else bool(progress)
    if not wanted:
        return None
    try:
        from tqdm.auto import tqdm
    except ImportError:
        return None
    return tqdm(total=total, unit="recording", desc="ctgscore")


def _run_local(files, options, jobs, timeout, bar):
    rows = [None] * len(files)
    if jobs == 1:
        for index, path in enumerate(files):
            rows[index] = analyze_in_child(path, options, timeout)
            if bar is not None:
                bar.update(1)
        return rows
    with concurrent.futures.ThreadPoolExecutor(max_workers=jobs) as pool:
        futures = {pool.submit(analyze_in_child, path, options, timeout): index
                   for index, path in enumerate(files)}
        for future in concurrent.futures.as_completed(futures):
            rows[futures[future]] = future.result()
            if bar is not None:
                bar.update(1)
    return rows


def _run_on_cluster(files, options, client, timeout, bar):
    from distributed import as_completed
    from distributed.scheduler import KilledWorker
    futures = client.map(analyze_in_child, files, options=options, timeout=timeout, pure=False)
    index_of = {future.key: index for index, future in enumerate(futures)}
    rows = [None] * len(files)
    try:
        for future in as_completed(futures):
            index = index_of[future.key]
            try:
                rows[index] = future.result()
            except KilledWorker as error:
                rows[index] = [failure_row(files[index], f"{files[index]}: every worker that "
                                           f"ran its task died ({error})")]
            if bar is not None:
                bar.update(1)
    finally:
        client.cancel(futures)
    return rows


def analyze_files(paths_or_folder, methods="all", jobs=1, *, client=None, rate=4,
                  fhr_channel=1, params=None, progress=None, timeout=None):
    """Analyzes many recordings into a pandas DataFrame.

    paths_or_folder: a folder (its .csv, .fhr and .hea files, not its
        subfolders), one file, or a list of files.  Files are taken in
        sorted order, so the table does not depend on the order given.
    methods: "all", one of "krebs", "fischer", "acog", "uc", or a list of
        them; they always run in the order krebs, fischer, acog, uc.
    jobs: analysis processes at a time on this machine.
    client: a dask.distributed Client: each recording becomes one task on
        the cluster's workers (jobs is then unused).  The package must be
        installed on every worker, and the files readable there by the same
        paths; relative paths are taken from this process's working folder
        when it exists on the worker.
    rate: samples per second of CSV files; fhr_channel: 1, 2 or "max" for
        FHRMA files; params: a Parameters for every analysis (None: the
        library's defaults).
    progress: a progress bar (tqdm) on standard error; None shows one for
        more than 10 recordings.
    timeout: seconds one recording may take before its process is stopped.

    One row per recording and method (see COLUMNS), sorted by file and then
    method.  A file that cannot be read, or whose analysis process dies, gives
    one row with method None, ok False and the reason naming the file; a
    method the library refuses gives that method's row with ok False and the
    library's text.  Each recording is analyzed in a fresh process, so every
    row is the same whatever the order, the jobs or the cluster.
    """
    if isinstance(jobs, bool) or not isinstance(jobs, int) or jobs < 1:
        raise ValueError(f"jobs must be a whole number of at least 1, got {jobs!r}")
    files = input_files(paths_or_folder)
    options = options_for(methods, rate, fhr_channel, params)
    bar = _progress_bar(len(files), progress)
    try:
        if client is None:
            library_path()  # a missing library is reported once, here
            rows = _run_local(files, options, jobs, timeout, bar)
        else:
            rows = _run_on_cluster(files, options, client, timeout, bar)
    finally:
        if bar is not None:
            bar.close()
    return frame([row for file_rows in rows for row in file_rows])
