"""The file formats: CSV, FHRMA .fhr and WFDB, parsed as the command-line tool does.

Every parser is a port of the tool's reader in tools/src/readers/ and gives
the same values for the same file (numbers are parsed by the C library's own
strtod, values rounded to the nearest integer with halves away from zero),
and the same error text, "<file>: <problem>", for a file it cannot read.
`parse` hands the recording module the traces of a file.
"""

import ctypes
import dataclasses
import math
import os
import re
from typing import NamedTuple, Optional

import numpy

from ._errors import RecordingError, RecordingNotFoundError

# ---- the C library's number parsing and calendar functions ------------------------
#
# The tool's readers parse numbers with strtod, strtol, atof and atol, dates
# with sscanf and timegm.  Calling the same functions gives the same values
# for every odd spelling (hexadecimal, leading blanks, trailing text,
# out-of-range dates), which Python's own parsers would not.

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


# ---- shared helpers ---------------------------------------------------------------


def _round_to_int(values):
    """The tool's roundToInt on a float array: NaN gives 0, values are clamped
    to +-1e9, then rounded to the nearest integer, halves away from zero."""
    values = numpy.clip(numpy.nan_to_num(numpy.asarray(values, dtype=numpy.float64), nan=0.0,
                                         posinf=1e9, neginf=-1e9), -1e9, 1e9)
    floor = numpy.floor(values)
    fraction = values - floor  # exact
    up = (fraction > 0.5) | ((fraction == 0.5) & (values > 0))
    return (floor + up).astype(numpy.int64)


def _per_second(marks, rate):
    """Bitwise OR of each whole second's per-sample marks."""
    seconds = len(marks) // rate
    if seconds == 0:
        return numpy.zeros(0, dtype=numpy.int32)
    return numpy.bitwise_or.reduce(
        numpy.asarray(marks[:seconds * rate], dtype=numpy.int32).reshape(seconds, rate), axis=1)


def _read_bytes(path):
    if os.path.isdir(path):
        raise RecordingError(path, "is a directory")
    try:
        with open(path, "rb") as file:
            return file.read()
    except FileNotFoundError as error:
        raise RecordingNotFoundError(path, f"cannot open: {error.strerror}") from None
    except OSError as error:
        raise RecordingError(path, f"cannot open: {error.strerror}") from None


def _text(data):
    return data.decode("utf-8", errors="replace")


class Parsed(NamedTuple):
    """What a file holds: the traces as int32 arrays, movement marks per second."""

    fhr: numpy.ndarray
    uc: numpy.ndarray
    fm: numpy.ndarray
    rate: int
    path: str
    start_seconds: Optional[int]


def _recording(path, rate, fhr, uc, fm_per_sample, start=None):
    fhr = numpy.asarray(fhr, dtype=numpy.int32)
    uc = numpy.asarray(uc, dtype=numpy.int32)
    return Parsed(fhr, uc, _per_second(fm_per_sample, rate).astype(numpy.int32), rate, str(path),
                  start)


# ---- CSV ---------------------------------------------------------------------------

_BLANKS = b" \t\r"
_PLAIN_NUMBER = re.compile(rb"[+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?\Z")


def _fields(line):
    """The trimmed comma-separated fields of a line (one trailing CR removed)."""
    if line.endswith(b"\r"):
        line = line[:-1]
    return [field.strip(_BLANKS) for field in line.split(b",")]


def _parse_cell(path, line_number, column, cell):
    def problem(what):
        return RecordingError(path, f"line {line_number}, column '{column}': {what}")

    if not cell:
        raise problem("empty cell")
    if _PLAIN_NUMBER.match(cell):
        value = float(cell)  # correctly rounded, as strtod is
    else:
        value, used = strtod(cell)
        if used != len(cell):
            value = math.nan
    shown = _text(cell[:40] + b"..." if len(cell) > 40 else cell)
    if not math.isfinite(value):
        raise problem(f"'{shown}' is not a number")
    if abs(value) > 1e6:
        raise problem(f"'{shown}' is out of range")
    return value


def read_csv(path, rate=4):
    """A CSV file: a header line naming the columns fhr, uc and (optionally) fm,
    in any order and case, then one line per sample."""
    data = _read_bytes(path)
    if data.startswith(b"\xef\xbb\xbf"):
        data = data[3:]
    lines = data.split(b"\n")
    if lines and lines[-1] == b"":
        lines.pop()  # the text ended with a line break
    number = 0
    header = None
    for number, line in enumerate(lines, start=1):
        if line.strip(_BLANKS):
            header = line
            break
    if header is None:
        raise RecordingError(path, "file is empty")
    names = _fields(header)
    found = {}
    for index, name in enumerate(names):
        name = name.lower()
        if name in (b"fhr", b"uc", b"fm"):
            if name in found:
                raise RecordingError(path, f"column '{name.decode()}' appears twice")
            found[name] = index
    for name in (b"fhr", b"uc"):
        if name not in found:
            raise RecordingError(path, f"missing column '{name.decode()}' in header line "
                                       f"'{_text(header.strip(_BLANKS))}'")
    fhr_at, uc_at, fm_at = found[b"fhr"], found[b"uc"], found.get(b"fm")
    fhr, uc, fm = [], [], []
    for number, line in enumerate(lines[number:], start=number + 1):
        if not line.strip(_BLANKS):
            continue
        fields = _fields(line)
        if len(fields) != len(names):
            raise RecordingError(path, f"line {number}: {len(fields)} fields, the header has "
                                       f"{len(names)}")
        fhr.append(_parse_cell(path, number, "fhr", fields[fhr_at]))
        uc.append(_parse_cell(path, number, "uc", fields[uc_at]))
        fm.append(0.0 if fm_at is None else _parse_cell(path, number, "fm", fields[fm_at]))
    if not fhr:
        raise RecordingError(path, "no samples after the header line")
    return _recording(path, rate, _round_to_int(fhr), _round_to_int(uc),
                      _round_to_int(fm))


# ---- FHRMA .fhr --------------------------------------------------------------------

_FHRMA_SAMPLE = numpy.dtype([("fhr1", "<u2"), ("fhr2", "<u2"), ("toco", "u1"),
                             ("status", "u1")])


def read_fhrma(path, fhr_channel=1):
    """An FHRMA .fhr file: a 4-byte little-endian start time, then 6-byte
    samples at 4 Hz (two heart-rate channels in quarter beats, toco in half
    units, a status byte)."""
    data = _read_bytes(path)
    size = len(data)
    if size < 4:
        raise RecordingError(path, f"truncated: {size} bytes, shorter than the 4-byte header")
    if (size - 4) % 6:
        raise RecordingError(path, f"truncated: {size - 4} bytes after the header are not a "
                                   "whole number of 6-byte samples")
    if size == 4:
        raise RecordingError(path, "no samples after the header")
    samples = numpy.frombuffer(data, dtype=_FHRMA_SAMPLE, offset=4)
    first, second = samples["fhr1"].astype(numpy.int32), samples["fhr2"].astype(numpy.int32)
    quarter_beats = {1: first, 2: second, "max": numpy.maximum(first, second)}[fhr_channel]
    start = int.from_bytes(data[:4], "little")
    return _recording(path, 4, (quarter_beats + 2) // 4,
                      (samples["toco"].astype(numpy.int32) + 1) // 2,
                      numpy.zeros(len(samples), dtype=numpy.int32), start or None)


# ---- WFDB --------------------------------------------------------------------------

_INVALID_SAMPLE = -32768
_DEFAULT_GAIN = 200.0


@dataclasses.dataclass
class _Signal:
    file: bytes
    format: int = 0
    byte_offset: int = 0
    gain: float = _DEFAULT_GAIN
    baseline: float = 0.0
    description: bytes = b""


@dataclasses.dataclass
class _Header:
    frequency: float = 250.0
    samples: Optional[int] = None
    start: Optional[int] = None
    signals: list = dataclasses.field(default_factory=list)


def _whole_number(text):
    """The value of a token that is entirely a finite number, else None."""
    value, used = strtod(text)
    return value if text and used == len(text) and math.isfinite(value) else None


def _leading_number(text):
    """(value, bytes used) of a token's leading finite number, else None."""
    value, used = strtod(text)
    return (value, used) if used > 0 and math.isfinite(value) else None


def _parse_record_line(path, line, header):
    words = line.split()
    count = _whole_number(words[1]) if len(words) >= 2 else None
    if count is None or count < 1 or count > 10000 or count != math.floor(count):
        raise RecordingError(path, f"wrong header: record line '{_text(line)}' does not start "
                                   "with a name and a signal count")
    if b"/" in words[0]:
        raise RecordingError(path, "multi-segment records are not supported")
    if len(words) > 2:
        frequency = _leading_number(words[2])
        if frequency is None or frequency[0] <= 0:
            raise RecordingError(path, f"wrong header: sampling frequency '{_text(words[2])}'")
        header.frequency = frequency[0]
    if len(words) > 3:
        samples = _whole_number(words[3])
        if samples is None or samples < 0 or samples > 1e12:
            raise RecordingError(path, f"wrong header: sample count '{_text(words[3])}'")
        header.samples = int(samples)
    if len(words) > 5:
        header.start = start_time(words[4], words[5])
    return int(count)


def _parse_signal_line(path, line):
    words = line.split()
    if len(words) < 2:
        raise RecordingError(path, f"wrong header: signal line '{_text(line)}' has no format")
    signal = _Signal(file=words[0])
    form, used = strtol(words[1])
    if used == 0:
        raise RecordingError(path, f"wrong header: signal format '{_text(words[1])}'")
    signal.format = min(max(form, 0), 100000)
    rest = words[1][used:]
    if b"x" in rest:
        raise RecordingError(path, "signal files with several samples per frame are not "
                                   "supported")
    if b"+" in rest:
        signal.byte_offset = atol(rest[rest.index(b"+") + 1:])
    baseline_given = False
    if len(words) > 2:
        gain = _leading_number(words[2])
        if gain is None:
            raise RecordingError(path, f"wrong header: gain '{_text(words[2])}'")
        signal.gain, used = gain
        if signal.gain == 0.0:
            signal.gain = _DEFAULT_GAIN
        baseline_given = used < len(words[2]) and words[2][used:used + 1] == b"("
        if baseline_given:
            signal.baseline = atof(words[2][used + 1:])
    if len(words) > 4 and not baseline_given:
        signal.baseline = atof(words[4])
    signal.description = b" ".join(words[8:])
    return signal


def _parse_header(path):
    header = _Header()
    count = -1
    for line in _read_bytes(path).split(b"\n"):
        if line.endswith(b"\r"):
            line = line[:-1]
        content = line.lstrip(b" \t")
        if not content or content.startswith(b"#"):
            continue
        if count < 0:
            count = _parse_record_line(path, line, header)
        elif len(header.signals) < count:
            header.signals.append(_parse_signal_line(path, line))
    if count < 0:
        raise RecordingError(path, "wrong header: no record line")
    if len(header.signals) != count:
        raise RecordingError(path, f"wrong header: {count} signals declared, "
                                   f"{len(header.signals)} described")
    return header


def _find_signal(path, header, name):
    for index, signal in enumerate(header.signals):
        if signal.description.upper() == name:
            return index
    raise RecordingError(path, f"missing channel: no signal described as {name.decode()}")


def _read_signal(header_path, header, index):
    signal = header.signals[index]
    if signal.format != 16:
        raise RecordingError(header_path, f"signal '{_text(signal.description)}' has format "
                                          f"{signal.format}; only format 16 is supported")
    same_file = [i for i, other in enumerate(header.signals) if other.file == signal.file]
    per_frame, position = len(same_file), same_file.index(index)
    data_path = os.path.join(os.path.dirname(header_path), os.fsdecode(signal.file))
    data = _read_bytes(data_path)
    frame_bytes = 2 * per_frame
    offset = max(0, signal.byte_offset)
    available = len(data) - offset if len(data) > offset else 0
    frames = header.samples if header.samples is not None else available // frame_bytes
    if available < frames * frame_bytes or (header.samples is None
                                            and available % frame_bytes != 0):
        raise RecordingError(data_path, f"truncated: holds {available // frame_bytes} whole "
                                        f"samples, the header announces {frames}")
    if frames == 0:
        return numpy.zeros(0, dtype=numpy.int64)
    raw = numpy.frombuffer(data, dtype="<i2", count=frames * per_frame, offset=offset)
    raw = raw.reshape(frames, per_frame)[:, position].astype(numpy.float64)
    values = _round_to_int((raw - signal.baseline) / signal.gain)
    values[raw == _INVALID_SAMPLE] = 0
    return values


def read_wfdb(header_path):
    """A PhysioNet WFDB record: the .hea header and its format-16 signal file(s);
    the signals described as FHR and UC, gain and baseline applied."""
    header = _parse_header(header_path)
    if header.frequency != math.floor(header.frequency) or header.frequency > 1e6:
        raise RecordingError(header_path, f"sampling frequency {header.frequency:f} Hz is not "
                                          "a whole number of samples per second")
    fhr_index = _find_signal(header_path, header, b"FHR")
    uc_index = _find_signal(header_path, header, b"UC")
    fhr = _read_signal(header_path, header, fhr_index)
    uc = _read_signal(header_path, header, uc_index)
    if len(fhr) == 0:
        raise RecordingError(header_path, "no samples")
    if len(uc) != len(fhr):
        raise RecordingError(header_path, "the FHR and UC signals differ in length")
    return _recording(header_path, int(header.frequency), fhr, uc,
                      numpy.zeros(len(fhr), dtype=numpy.int32), header.start)


# ---- choosing the reader -----------------------------------------------------------

_SNIFF_BYTES = 8192


def _sniff(path):
    """"csv", "wfdb" or "binary" from the first bytes of the file, None when
    it is text of no known kind (or empty)."""
    try:
        with open(path, "rb") as file:
            head = file.read(_SNIFF_BYTES)
    except OSError:
        return None  # the chosen reader reports it
    if not head:
        return None
    if b"\0" in head:
        return "binary"
    text = head[3:] if head.startswith(b"\xef\xbb\xbf") else head
    lines = text.split(b"\n")
    if len(head) == _SNIFF_BYTES and len(lines) > 1:
        lines.pop()  # may be cut short
    for line in lines:
        line = line.rstrip(b"\r")
        content = line.strip(b" \t")
        if not content:
            continue
        names = [name.strip(_BLANKS).lower() for name in line.split(b",")]
        if b"fhr" in names:
            return "csv"
        if content.startswith(b"#"):
            continue
        words = line.split()
        count = _whole_number(words[1]) if len(words) >= 2 else None
        if count is not None and 1 <= count <= 10000 and count == math.floor(count):
            return "wfdb"
        break
    try:
        head.decode("utf-8")
    except UnicodeDecodeError as error:
        if error.start < len(head) - 4:  # not merely a character cut at the end
            return "binary"
    return None


def parse(path, fhr_channel, rate):
    """The traces of a file, its format recognised from the content; content of
    no recognisable kind is read as its extension says."""
    extension = os.path.splitext(path)[1].lower()
    if extension == ".dat":
        return read_wfdb(os.path.splitext(path)[0] + ".hea")
    if not os.path.exists(path):
        raise RecordingNotFoundError(path, "cannot open: No such file or directory")
    if os.path.isdir(path):
        raise RecordingError(path, "is a directory")
    kind = _sniff(path)
    if kind == "csv" or (kind is None and extension == ".csv"):
        return read_csv(path, rate)
    if kind == "wfdb" or (kind is None and extension == ".hea"):
        return read_wfdb(path)
    if kind == "binary" or extension == ".fhr":
        return read_fhrma(path, fhr_channel)
    raise RecordingError(path, "unknown format: neither a CSV file with an fhr column, "
                               "a WFDB header nor an FHRMA .fhr file")
