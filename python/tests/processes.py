"""Finding and killing the analysis processes that the tests start."""

import concurrent.futures
import os
import pathlib
import signal
import time

import ctgscore


def _stat(pid):
    """The fields of /proc/PID/stat after the command name: state, parent, ..."""
    return pathlib.Path(f"/proc/{pid}/stat").read_bytes().rsplit(b")", 1)[1].split()


def _kill_first(choose, what, timeout=60):
    """Waits for an analysis process for which choose(pid, command words, parent) gives a
    pid, and kills that pid with SIGKILL."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                words = pathlib.Path(f"/proc/{pid}/cmdline").read_bytes().split(b"\0")
                victim = b"ctgscore._child" in words and choose(int(pid), words,
                                                                int(_stat(pid)[1]))
            except (OSError, IndexError):  # the process has just ended
                continue
            if victim:
                os.kill(victim, signal.SIGKILL)
                return victim
        time.sleep(0.02)
    raise AssertionError(f"no analysis process {what} appeared within {timeout} s")


def kill_parent_of_an_analysis(parents):
    """Kills the parent of the first analysis process started by one of `parents`."""
    return _kill_first(lambda pid, words, parent: parent in parents and parent,
                       f"under {parents}")


def assert_killed_analysis_gives_a_failure_row(other, tmp_path, **options):
    """The krebs table of `other` and of a file whose analysis process is killed: opening a
    FIFO for reading blocks that process until then."""
    fifo = tmp_path / "stuck.csv"
    os.mkfifo(fifo)
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        killer = pool.submit(_kill_first, lambda pid, words, parent: os.fsencode(fifo) in words
                             and pid, f"of {fifo}")
        table = ctgscore.analyze_files([fifo, other], methods="krebs", **options)
        killer.result()
    assert table.file.tolist() == [str(other), str(fifo)]
    assert table.ok.tolist() == [True, False]
    assert table.reason[1] == f"{fifo}: the analysis process was killed by signal 9 (SIGKILL)"


def alive(pid):
    """Whether the process exists and is not a zombie."""
    try:
        return _stat(pid)[0] != b"Z"
    except OSError:
        return False
