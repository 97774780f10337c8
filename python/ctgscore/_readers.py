"""Reading recording files through the readers' library libctgscore-io.

The command-line tool reads through the same library, so a file gives the same
recording, or the same error text, in both.  The library keeps no state and
may be called from several threads at once; it is loaded on first use.
"""

import ctypes
import os
import threading

import numpy

from . import _library
from ._errors import RecordingError, RecordingNotFoundError

_CHANNEL_CODES = {1: 1, 2: 2, "max": 3}
_NOT_FOUND = 1


class _Options(ctypes.Structure):
    _fields_ = [("csv_rate", ctypes.c_int), ("fhr_channel", ctypes.c_int)]


class _Recording(ctypes.Structure):
    _fields_ = [("format", ctypes.c_int), ("rate", ctypes.c_int), ("samples", ctypes.c_int),
                ("fhr", ctypes.POINTER(ctypes.c_int)), ("uc", ctypes.POINTER(ctypes.c_int)),
                ("fm", ctypes.POINTER(ctypes.c_int)), ("seconds", ctypes.c_int),
                ("movement_words", ctypes.POINTER(ctypes.c_int)),
                ("has_start_time", ctypes.c_int), ("start_time", ctypes.c_longlong),
                ("name", ctypes.c_char_p), ("path", ctypes.c_char_p)]


class _Error(ctypes.Structure):
    _fields_ = [("code", ctypes.c_int), ("file_length", ctypes.c_int),
                ("message", ctypes.c_char * 1024)]


class _ReadersLibrary:
    def __init__(self, cdll):
        self.read = cdll.ctgio_read
        self.read.restype = ctypes.POINTER(_Recording)
        self.read.argtypes = [ctypes.c_char_p, ctypes.POINTER(_Options), ctypes.POINTER(_Error)]
        self.free = cdll.ctgio_free
        self.free.restype = None
        self.free.argtypes = [ctypes.POINTER(_Recording)]


_lock = threading.Lock()
_loaded = None


def _api():
    global _loaded
    with _lock:
        if _loaded is None:
            _loaded = _ReadersLibrary(_library.load_readers()[0])
        return _loaded


def _array(pointer, count):
    if count == 0:
        return numpy.zeros(0, dtype=numpy.int32)
    return numpy.ctypeslib.as_array(pointer, shape=(count,)).astype(numpy.int32)


def _failure(error):
    """The package's error for a file the library could not read."""
    message = error.message.decode("utf-8", errors="replace")
    named = error.message[:error.file_length].decode("utf-8", errors="replace")
    problem = message[len(named) + 2:] if message.startswith(named + ": ") else message
    kind = RecordingNotFoundError if error.code == _NOT_FOUND else RecordingError
    return kind(named, problem)


def read_file(path, fhr_channel, rate):
    """The traces and facts of a recording file, as a dict of Recording fields.

    fm holds the movement words, one per whole second.  Raises RecordingError
    (RecordingNotFoundError for a missing file) with the library's text.
    """
    encoded = os.fsencode(path)
    if b"\0" in encoded:
        raise RecordingError(os.fsdecode(path), "the file name holds a NUL byte")
    api = _api()
    error = _Error()
    read = api.read(encoded, ctypes.byref(_Options(rate, _CHANNEL_CODES[fhr_channel])),
                    ctypes.byref(error))
    if not read:
        raise _failure(error)
    try:
        recording = read.contents
        return dict(fhr=_array(recording.fhr, recording.samples),
                    uc=_array(recording.uc, recording.samples),
                    fm=_array(recording.movement_words, recording.seconds),
                    rate=recording.rate, name=os.fsdecode(recording.name),
                    path=os.fsdecode(recording.path),
                    start_seconds=recording.start_time if recording.has_start_time else None)
    finally:
        api.free(read)
