"""Finding and killing the analysis processes that the tests start."""

import os
import signal
import time


def _command_lines():
    for entry in os.scandir("/proc"):
        if entry.name.isdigit():
            try:
                with open(f"/proc/{entry.name}/cmdline", "rb") as file:
                    yield int(entry.name), file.read().split(b"\0")
            except OSError:
                continue


def kill_analysis_of(path, timeout=60):
    """Waits for the analysis process of `path` and kills it with SIGKILL; returns its pid."""
    wanted = os.fsencode(str(path))
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        for pid, words in _command_lines():
            if b"ctgscore._child" in words and wanted in words:
                os.kill(pid, signal.SIGKILL)
                return pid
        time.sleep(0.05)
    raise AssertionError(f"no analysis process of {path} appeared within {timeout} s")


def _parent_of(pid):
    with open(f"/proc/{pid}/stat", "rb") as file:
        return int(file.read().rsplit(b")", 1)[1].split()[1])


def kill_parent_of_an_analysis(parents, timeout=60):
    """Waits for an analysis process whose parent is one of `parents` and kills
    that parent with SIGKILL; returns the parent's pid."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        for pid, words in _command_lines():
            if b"ctgscore._child" not in words:
                continue
            try:
                parent = _parent_of(pid)
            except (OSError, ValueError, IndexError):
                continue
            if parent in parents:
                os.kill(parent, signal.SIGKILL)
                return parent
        time.sleep(0.02)
    raise AssertionError(f"no analysis process under {parents} appeared within {timeout} s")


def alive(pid):
    """Whether the process exists and is not a zombie."""
    try:
        with open(f"/proc/{pid}/stat", "rb") as file:
            return file.read().rsplit(b")", 1)[1].split()[0] != b"Z"
    except OSError:
        return False
