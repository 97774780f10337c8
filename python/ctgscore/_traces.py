"""Checking the caller's traces and turning them into int32 buffers for the library."""

import array
import ctypes
import numbers
import operator

import numpy

INT32_MIN = -2**31
INT32_MAX = 2**31 - 1


class Trace:
    """An int32 copy of a trace and a pointer to it that the library can read."""

    def __init__(self, buffer, pointer, length):
        self._buffer = buffer  # keeps the memory behind `pointer` alive
        self.pointer = pointer
        self.length = length

    def __len__(self):
        return self.length


def _from_numpy(name, values):
    if values.ndim != 1:
        raise ValueError(f"{name} must be one-dimensional, got shape {values.shape}")
    if values.dtype.kind not in "iu":
        raise TypeError(f"{name} has dtype {values.dtype}: traces hold integers "
                        "(convert e.g. with numpy.rint(trace).astype(int))")
    if values.size:
        for index in (int(values.argmin()), int(values.argmax())):
            _check_range(name, index, int(values[index]))
    buffer = numpy.ascontiguousarray(values, dtype=numpy.int32)
    return Trace(buffer, buffer.ctypes.data_as(ctypes.POINTER(ctypes.c_int)), len(buffer))


def _check_range(name, index, value):
    if not INT32_MIN <= value <= INT32_MAX:
        raise ValueError(f"{name}[{index}] = {value} does not fit a 32-bit int")


def _from_sequence(name, values):
    try:
        values = list(values)
    except TypeError:
        raise TypeError(f"{name} must be a sequence of integers, "
                        f"got {type(values).__name__}") from None
    for index, value in enumerate(values):
        if type(value) is not int and (isinstance(value, bool)
                                       or not isinstance(value, numbers.Integral)):
            raise TypeError(f"{name}[{index}] = {value!r} is not an integer")
        _check_range(name, index, operator.index(value))
    buffer = array.array("i", values)
    address = buffer.buffer_info()[0]
    return Trace(buffer, ctypes.cast(address, ctypes.POINTER(ctypes.c_int)), len(buffer))


def as_trace(name, values):
    """Checks `values` and copies them into an int32 Trace.

    Accepts any iterable of integers (bool excluded) or a one-dimensional
    integer numpy array; raises TypeError or ValueError naming the trace and
    the first offending element.
    """
    if values is None:
        raise TypeError(f"{name} is None: this analysis needs the {name} trace")
    if isinstance(values, (str, bytes)):
        raise TypeError(f"{name} must be a sequence of integers, got {type(values).__name__}")
    if isinstance(values, numpy.ndarray) and values.dtype.kind != "O":
        return _from_numpy(name, values)
    return _from_sequence(name, values)


def check_rate(rate):
    if isinstance(rate, bool) or not isinstance(rate, numbers.Integral):
        raise TypeError(f"rate must be an integer number of samples per second, got {rate!r}")
    if not 1 <= rate <= INT32_MAX:
        raise ValueError(f"rate must be between 1 and {INT32_MAX} samples per second, "
                         f"got {rate}")
    return int(rate)


def no_movements(seconds):
    return as_trace("fm", [0] * seconds)
