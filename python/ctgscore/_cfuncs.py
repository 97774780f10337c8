"""The C library's number parsing and calendar functions, for the readers.

The command-line tool's readers parse numbers with strtod, strtol, atof and
atol, dates with sscanf and timegm.  Calling the same functions gives the
same values for every odd spelling (hexadecimal, leading blanks, trailing
text, out-of-range dates), which Python's own parsers would not.
"""

import ctypes

_libc = ctypes.CDLL(None)

_strtod = _libc.strtod
_strtod.restype = ctypes.c_double
_strtod.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_void_p)]

_strtol = _libc.strtol
_strtol.restype = ctypes.c_long
_strtol.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_void_p), ctypes.c_int]

_atol = _libc.atol
_atol.restype = ctypes.c_long
_atol.argtypes = [ctypes.c_char_p]

_sscanf = _libc.sscanf
_sscanf.restype = ctypes.c_int


class _Tm(ctypes.Structure):
    _fields_ = [("tm_sec", ctypes.c_int), ("tm_min", ctypes.c_int), ("tm_hour", ctypes.c_int),
                ("tm_mday", ctypes.c_int), ("tm_mon", ctypes.c_int), ("tm_year", ctypes.c_int),
                ("tm_wday", ctypes.c_int), ("tm_yday", ctypes.c_int), ("tm_isdst", ctypes.c_int),
                ("tm_gmtoff", ctypes.c_long), ("tm_zone", ctypes.c_char_p)]


_timegm = _libc.timegm
_timegm.restype = ctypes.c_int64
_timegm.argtypes = [ctypes.POINTER(_Tm)]


def strtod(text):
    """(value, number of bytes used) as strtod parses the bytes `text`.

    The text ends at its first NUL byte, as it does for C.
    """
    buffer = ctypes.create_string_buffer(bytes(text))
    end = ctypes.c_void_p()
    value = _strtod(buffer, ctypes.byref(end))
    return value, (end.value or ctypes.addressof(buffer)) - ctypes.addressof(buffer)


def strtol(text):
    """(value, number of bytes used) as strtol(text, &end, 10) parses them."""
    buffer = ctypes.create_string_buffer(bytes(text))
    end = ctypes.c_void_p()
    value = _strtol(buffer, ctypes.byref(end), 10)
    return value, (end.value or ctypes.addressof(buffer)) - ctypes.addressof(buffer)


def atof(text):
    return strtod(text)[0]


def atol(text):
    return _atol(bytes(text))


def start_time(time, date):
    """Unix seconds of "HH:MM:SS[.sss]" and "DD/MM/YYYY" (UTC), or None.

    As the tool does: sscanf the fields, truncate the seconds, let timegm
    normalise out-of-range fields.
    """
    hour, minute, day, month, year = (ctypes.c_int() for _ in range(5))
    seconds = ctypes.c_double()
    if _sscanf(bytes(time), b"%d:%d:%lf", ctypes.byref(hour), ctypes.byref(minute),
               ctypes.byref(seconds)) != 3:
        return None
    if _sscanf(bytes(date), b"%d/%d/%d", ctypes.byref(day), ctypes.byref(month),
               ctypes.byref(year)) != 3:
        return None
    if not -2**31 <= seconds.value < 2**31:
        return None  # the tool's int conversion has no defined value here
    when = _Tm(tm_sec=int(seconds.value), tm_min=minute.value, tm_hour=hour.value,
               tm_mday=day.value, tm_mon=month.value - 1, tm_year=year.value - 1900)
    return int(_timegm(ctypes.byref(when)))
