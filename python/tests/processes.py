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
