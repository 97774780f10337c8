"""Reading the library's log lines as it writes them to standard output.

The library writes every log line to its daily log file and echoes it to
file descriptor 1.  While a library call runs, descriptor 1 is pointed at an
unnamed temporary file; afterwards C stdio is flushed, descriptor 1 is
restored and the captured bytes are written on to it unchanged, so the echo
still appears, only after the call instead of during it.  This works whatever
the working directory and whether or not the log file can be written.
"""

import contextlib
import ctypes
import os
import sys
import tempfile

_STDOUT = 1
_libc = ctypes.CDLL(None)
_libc.fflush.argtypes = [ctypes.c_void_p]


class Capture:
    """The lines written to standard output during a `captured_stdout` block."""

    def __init__(self):
        self.lines = []

    def errors(self):
        """The texts of the library's "Error : ..." lines, in order."""
        prefix = "Error : "
        messages = (_message(line) for line in self.lines)
        return [message[len(prefix):] for message in messages if message.startswith(prefix)]


def _message(line):
    """The message part of a "[stamp]  message" log line."""
    if line.startswith("["):
        end = line.find("]  ")
        if end >= 0:
            return line[end + 3:]
    return line


def _write_all(descriptor, data):
    view = memoryview(data)
    while view:
        view = view[os.write(descriptor, view):]


@contextlib.contextmanager
def captured_stdout():
    """Collects what is written to descriptor 1 during the block, then passes it on."""
    capture = Capture()
    if sys.stdout is not None:
        sys.stdout.flush()
    try:
        saved = os.dup(_STDOUT)
    except OSError:  # no standard output at all: nothing to read the log from
        yield capture
        return
    with tempfile.TemporaryFile() as sink:
        os.dup2(sink.fileno(), _STDOUT)
        try:
            yield capture
        finally:
            _libc.fflush(None)
            os.dup2(saved, _STDOUT)
            os.close(saved)
            sink.seek(0)
            data = sink.read()
            capture.lines = data.decode("utf-8", errors="replace").splitlines()
            with contextlib.suppress(OSError):
                _write_all(_STDOUT, data)
