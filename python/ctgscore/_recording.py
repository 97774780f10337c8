"""A CTG recording and `read`, which makes one from a file through the
readers' library (see the readers module)."""

import dataclasses
import datetime
import os
import pathlib
from typing import Optional

import numpy

from . import _readers
from ._traces import check_rate

CHANNELS = (1, 2, "max")
RECORDING_EXTENSIONS = (".csv", ".fhr", ".hea")


@dataclasses.dataclass(frozen=True, eq=False)
class Recording:
    """One CTG recording.

    fhr: heart rate in bpm per sample (int32 numpy array), 0 = signal loss.
    uc: contraction (toco) trace per sample (int32 numpy array).
    fm: movement mark words, ONE PER SECOND (len(fhr) // rate values): each
        the bitwise OR of the marks of that second's samples; a trailing
        partial second is dropped, as the library never reads it.  All 0 for
        formats without a movement channel.
    rate: samples per second.
    name: the file name without its extension.
    path: the file read (for WFDB, the .hea header).
    start_seconds: the start as Unix seconds (UTC) where the file has one
        (FHRMA: a non-zero header word; WFDB: the record line's time and
        date), else None.
    In Jupyter a recording shows as its strip chart.
    """

    fhr: numpy.ndarray
    uc: numpy.ndarray
    fm: numpy.ndarray
    rate: int
    name: str
    path: str = ""
    start_seconds: Optional[int] = None

    @property
    def samples(self):
        return len(self.fhr)

    @property
    def minutes(self):
        return self.samples / (60.0 * self.rate)

    @property
    def signal_loss(self):
        """Share of samples with signal loss (fhr 0), 0..1."""
        return float(numpy.count_nonzero(self.fhr == 0)) / self.samples if self.samples else 0.0

    @property
    def start_time(self):
        """The start as a timezone-aware UTC datetime, or None (also when it
        lies outside the years 1-9999)."""
        if self.start_seconds is None:
            return None
        try:
            return (datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
                    + datetime.timedelta(seconds=self.start_seconds))
        except OverflowError:
            return None

    def __eq__(self, other):
        if not isinstance(other, Recording):
            return NotImplemented
        return (self.rate, self.name, self.path, self.start_seconds) == (
            other.rate, other.name, other.path, other.start_seconds) and all(
            numpy.array_equal(a, b) for a, b in ((self.fhr, other.fhr), (self.uc, other.uc),
                                                 (self.fm, other.fm)))

    def __repr__(self):
        started = f", started {self.start_time:%Y-%m-%d %H:%M:%S} UTC" if self.start_time else ""
        return (f"<Recording {self.name}: {self.minutes:.1f} min, {self.samples} samples at "
                f"{self.rate} Hz, signal loss {100 * self.signal_loss:.1f} %{started}>")


def recording_name(path):
    """The name of the recording in a file: the file name without its extension."""
    return pathlib.PurePath(path).stem


def check_channel(fhr_channel):
    if fhr_channel not in CHANNELS or isinstance(fhr_channel, bool):
        raise ValueError(f"fhr_channel must be 1, 2 or 'max', got {fhr_channel!r}")
    return fhr_channel


def read(path, fhr_channel=1, rate=4):
    """Reads a recording file and returns a Recording.

    path: a CSV file (header naming fhr, uc and optionally fm), an FHRMA .fhr
        file, or a WFDB record (its .hea header, or its .dat signal file,
        whose .hea beside it is read).  The extension (.csv, .fhr, .hea,
        .dat, in any case) says the format; a file of any other name is
        recognised from its first bytes.
    fhr_channel: the heart-rate channel of two-channel formats (FHRMA):
        1, 2 or "max" (the sample-wise maximum of both).
    rate: samples per second of CSV files, which carry none (default 4).

    The command-line tool reads through the same readers' library, so the
    values are the tool's.  Raises RecordingError (RecordingNotFoundError
    when the file does not exist) with the message "<file>: <problem>", the
    tool's own text.
    """
    check_channel(fhr_channel)
    rate = check_rate(rate)
    return Recording(**_readers.read_file(os.fspath(path), fhr_channel, rate))
