"""Result objects: the named words of each method's result record.

Every result carries `raw_words`, the 54 words exactly as returned (a word
the method does not fill reads -1; the doubles occupy words 36-37 and 38-39),
the event locations and the heart-rate baseline curve of the run.
"""

import dataclasses
import struct
from typing import Any, Tuple

import numpy

from ._errors import CtgScoreError

Pairs = Tuple[Tuple[int, int], ...]
SecondPairs = Tuple[Tuple[float, float], ...]


def word_double(words, index):
    """The double stored in words index and index + 1."""
    return struct.unpack("=d", struct.pack("=2i", words[index], words[index + 1]))[0]


@dataclasses.dataclass(frozen=True)
class Result:
    """What every method returns.

    method, rate: the method run and the sampling rate given.
    raw_words: the 54 result words exactly as returned.
    accelerations, decelerations: (start, end) sample indices of each event.
    accelerations_seconds, decelerations_seconds: the same in seconds
        (sample index / rate).
    baseline: the heart-rate baseline curve, one value per sample (a numpy
        array); left out of comparisons between results.
    In Jupyter a result shows as its score table, under the strip chart when
    it came from a Recording.
    """

    method: str
    rate: int
    raw_words: Tuple[int, ...]
    accelerations: Pairs
    decelerations: Pairs
    accelerations_seconds: SecondPairs
    decelerations_seconds: SecondPairs
    baseline: Any = dataclasses.field(repr=False, compare=False)

    @property
    def recording(self):
        """The Recording analysed, when analyze was given one, else None."""
        return getattr(self, "_recording", None)

    def _attach(self, recording):
        object.__setattr__(self, "_recording", recording)

    def events(self):
        """A pandas DataFrame of this run's events: method, kind
        ("acceleration", "deceleration", "contraction_peak",
        "contraction_end"), start and end in samples and in seconds."""
        return events_frame([self])

    def score_items(self):
        """(item, finding, points or None) rows: the score in words."""
        return score_items(self)

    def _repr_html_(self):
        return _html_with_chart([self])


@dataclasses.dataclass(frozen=True)
class HeartRateFindings:
    """Heart-rate stage results of the Krebs, Fischer and ACOG runs.

    baseline_fhr: baseline heart rate, bpm (word 35).
    variability_amplitude: bpm (words 36-37).
    oscillation_frequency: swing count of the variability (words 38-39).
    acceleration_count: word 40.
    deceleration_count: word 41: the decelerations found by the Krebs run;
        the Fischer and ACOG runs store the count of deep decelerations here
        (and the decelerations found in deceleration_extra).
    movement_count: fetal movements counted from `fm` (word 51).
    """

    baseline_fhr: int
    variability_amplitude: float
    oscillation_frequency: float
    acceleration_count: int
    deceleration_count: int
    movement_count: int

    @staticmethod
    def _fields(words):
        return dict(baseline_fhr=words[35], variability_amplitude=word_double(words, 36),
                    oscillation_frequency=word_double(words, 38),
                    acceleration_count=words[40], deceleration_count=words[41],
                    movement_count=words[51])


@dataclasses.dataclass(frozen=True)
class DecelerationTypes:
    """Decelerations typed against the contractions (Fischer and ACOG; all 0
    when the run found no deceleration).

    deceleration_extra: the number of decelerations found (word 46).
    deceleration_pattern: the largest deceleration type found (word 42).
    early_count, late_or_low_count, delayed_count, other_count: decelerations
        of each type (words 44, 45, 47, 48).
    """

    deceleration_extra: int
    deceleration_pattern: int
    early_count: int
    late_or_low_count: int
    delayed_count: int
    other_count: int

    @staticmethod
    def _fields(words):
        return dict(deceleration_extra=words[46], deceleration_pattern=words[42],
                    early_count=words[44], late_or_low_count=words[45],
                    delayed_count=words[47], other_count=words[48])


_SCORE_ITEMS = ("total_score", "baseline_score", "amplitude_score", "frequency_score",
                "acceleration_score", "deceleration_score", "movement_score")


@dataclasses.dataclass(frozen=True)
class KrebsResult(HeartRateFindings, Result):
    """Krebs score: six items of 0-2 points (words 1-6), total 0-12 (word 0)."""

    total_score: int
    baseline_score: int
    amplitude_score: int
    frequency_score: int
    acceleration_score: int
    deceleration_score: int
    movement_score: int

    @staticmethod
    def _fields(words):
        return {**HeartRateFindings._fields(words), **dict(zip(_SCORE_ITEMS, words[0:7]))}


@dataclasses.dataclass(frozen=True)
class FischerResult(DecelerationTypes, HeartRateFindings, Result):
    """Modified Fischer score: five items of 0-2 points (words 1-5), total 0-10
    (word 0).

    strong_contraction_flag: 1 when at least two strong contractions were
    found, else 0 (word 23).
    """

    total_score: int
    baseline_score: int
    amplitude_score: int
    frequency_score: int
    acceleration_score: int
    deceleration_score: int
    strong_contraction_flag: int

    @staticmethod
    def _fields(words):
        return {**HeartRateFindings._fields(words), **DecelerationTypes._fields(words),
                **dict(zip(_SCORE_ITEMS[:6], words[0:6])),
                "strong_contraction_flag": words[23]}


@dataclasses.dataclass(frozen=True)
class AcogResult(DecelerationTypes, HeartRateFindings, Result):
    """ACOG classification: seven groups of 0/1 flags, from which the caller
    draws the category.  Words 0-6 are not written by this method.

    baseline_flags (words 7-10), variability_flags (11-15),
    acceleration_flags (16-19), deceleration_flags_a (20-22),
    deceleration_flags_b (24-28), deceleration_flags_c (29-31),
    pattern_flags (32-34).
    """

    baseline_flags: Tuple[int, ...]
    variability_flags: Tuple[int, ...]
    acceleration_flags: Tuple[int, ...]
    deceleration_flags_a: Tuple[int, ...]
    deceleration_flags_b: Tuple[int, ...]
    deceleration_flags_c: Tuple[int, ...]
    pattern_flags: Tuple[int, ...]

    @staticmethod
    def _fields(words):
        return {**HeartRateFindings._fields(words), **DecelerationTypes._fields(words),
                "baseline_flags": tuple(words[7:11]),
                "variability_flags": tuple(words[11:16]),
                "acceleration_flags": tuple(words[16:20]),
                "deceleration_flags_a": tuple(words[20:23]),
                "deceleration_flags_b": tuple(words[24:29]),
                "deceleration_flags_c": tuple(words[29:32]),
                "pattern_flags": tuple(words[32:35])}


@dataclasses.dataclass(frozen=True)
class UcResult(Result):
    """Contraction method.  Positions are sample indices of the contraction
    trace; "peak" and "end" refer to the detected contractions.

    rating: 0, 1 or 2 from peak_value: above 90 gives 2, above 30 gives 1 (word 0).
    last_peak_to_end: last contraction end minus last contraction peak (word 1).
    previous_end_to_last_peak: last peak minus the previous contraction's end (word 2).
    baseline_fhr: baseline heart rate, bpm (word 35, copied to word 3).
    last_end, last_peak, previous_end: words 4, 5 and 6.
    peak_value: highest contraction sample of the first five minutes (word 7).
    movement_count: fetal movements counted from `fm` (word 51).
    With fewer than two contractions, words 0, 2 and 4-7 are 0 and
    last_peak_to_end is -1.  The event lists are always empty for this method.
    """

    rating: int
    last_peak_to_end: int
    previous_end_to_last_peak: int
    baseline_fhr: int
    last_end: int
    last_peak: int
    previous_end: int
    peak_value: int
    movement_count: int

    @staticmethod
    def _fields(words):
        return dict(rating=words[0], last_peak_to_end=words[1],
                    previous_end_to_last_peak=words[2], baseline_fhr=words[35],
                    last_end=words[4], last_peak=words[5], previous_end=words[6],
                    peak_value=words[7], movement_count=words[51])


RESULT_CLASSES = {
    "krebs": KrebsResult,
    "fischer": FischerResult,
    "acog": AcogResult,
    "uc": UcResult,
}


def run_failed(method, words):
    """Whether the run stopped at an input check.

    The ACOG run never writes word 0, so its success shows in the baseline
    heart rate (word 35); the other methods always write word 0.
    """
    return words[35 if method == "acog" else 0] == -1


def _pairs(starts, ends):
    if len(starts) != len(ends):
        raise CtgScoreError(f"the library returned {len(starts)} event starts but "
                            f"{len(ends)} ends")
    return tuple(zip(starts, ends))


def _in_seconds(pairs, rate):
    return tuple((start / rate, end / rate) for start, end in pairs)


def _curve(record):
    if record.count == 0:
        return numpy.zeros(0)
    return numpy.ctypeslib.as_array(record.data, shape=(record.count,)).copy()


def build(method, rate, words, location, baseline):
    """The result object of `method` from the library's records (all copied)."""
    accelerations = _pairs(location.accelerationStarts.to_list(),
                           location.accelerationEnds.to_list())
    decelerations = _pairs(location.decelerationStarts.to_list(),
                           location.decelerationEnds.to_list())
    result_class = RESULT_CLASSES[method]
    return result_class(method=method, rate=rate, raw_words=tuple(words),
                        accelerations=accelerations, decelerations=decelerations,
                        accelerations_seconds=_in_seconds(accelerations, rate),
                        decelerations_seconds=_in_seconds(decelerations, rate),
                        baseline=_curve(baseline),
                        **result_class._fields(words))


# ---- events, score tables and notebook display -------------------------------------

EVENT_COLUMNS = ("method", "kind", "start", "end", "start_s", "end_s")


def _event_rows(result):
    """(method, kind, start, end) of every event of a result.

    The contraction method reports no contraction spans, only the last
    contraction's peak and end and the previous contraction's end (words 5, 4
    and 6), so its events are points: kind "contraction_peak" or
    "contraction_end", with start == end.
    """
    rows = [(result.method, "acceleration", start, end) for start, end in result.accelerations]
    rows += [(result.method, "deceleration", start, end) for start, end in result.decelerations]
    if isinstance(result, UcResult) and result.last_peak_to_end != -1:
        rows += [(result.method, "contraction_end", result.previous_end, result.previous_end),
                 (result.method, "contraction_peak", result.last_peak, result.last_peak),
                 (result.method, "contraction_end", result.last_end, result.last_end)]
    return rows


def events_frame(results):
    """A pandas DataFrame of the events of several results, in their order."""
    import pandas
    rows = [(method, kind, start, end, start / result.rate, end / result.rate)
            for result in results for method, kind, start, end in _event_rows(result)]
    frame = pandas.DataFrame(rows, columns=list(EVENT_COLUMNS))
    return frame.astype({"start": "int64", "end": "int64", "start_s": "float64",
                         "end_s": "float64"})


def _fixed(value, digits):
    return "not measurable" if value != value else f"{value:.{digits}f}"


def score_items(result):
    """(item, finding, points or None) rows, the score in words a clinician reads."""
    if isinstance(result, UcResult):
        measured = result.last_peak_to_end != -1
        rows = [("intensity rating", f"strongest contraction {result.peak_value}" if measured
                 else "fewer than two contractions", result.rating),
                ("baseline", f"{result.baseline_fhr} bpm", None)]
        if measured:
            rate = result.rate
            rows += [("last contraction", f"peak at {result.last_peak / rate:.0f} s, end at "
                                          f"{result.last_end / rate:.0f} s", None),
                     ("previous contraction", f"ended at {result.previous_end / rate:.0f} s",
                      None)]
        return rows
    deep = ("" if isinstance(result, KrebsResult)
            else f", {result.deceleration_count} deep")
    found = (result.deceleration_count if isinstance(result, KrebsResult)
             else result.deceleration_extra)
    points = {}
    if isinstance(result, (KrebsResult, FischerResult)):
        points = dict(baseline=result.baseline_score, amplitude=result.amplitude_score,
                      frequency=result.frequency_score,
                      accelerations=result.acceleration_score,
                      decelerations=result.deceleration_score)
    rows = [("baseline", f"{result.baseline_fhr} bpm", points.get("baseline")),
            ("variability amplitude", f"{_fixed(result.variability_amplitude, 1)} bpm",
             points.get("amplitude")),
            ("oscillation frequency", _fixed(result.oscillation_frequency, 0),
             points.get("frequency")),
            ("accelerations", str(result.acceleration_count), points.get("accelerations")),
            ("decelerations", f"{found}{deep}", points.get("decelerations"))]
    if isinstance(result, KrebsResult):
        rows.append(("fetal movements", str(result.movement_count), result.movement_score))
    if isinstance(result, FischerResult):
        rows.append(("strong contractions", "two or more" if result.strong_contraction_flag
                     else "fewer than two", None))
    if isinstance(result, AcogResult):
        for label, flags in (("ACOG baseline flags", result.baseline_flags),
                             ("ACOG variability flags", result.variability_flags),
                             ("ACOG acceleration flags", result.acceleration_flags),
                             ("ACOG early deceleration flags", result.deceleration_flags_a),
                             ("ACOG late deceleration flags", result.deceleration_flags_b),
                             ("ACOG delayed deceleration flags", result.deceleration_flags_c),
                             ("ACOG pattern flags", result.pattern_flags)):
            rows.append((label, "".join(map(str, flags)), None))
    return rows


MAX_SCORES = {"krebs": 12, "fischer": 10, "uc": 2}
TITLES = {"krebs": "Krebs", "fischer": "Fischer", "acog": "ACOG", "uc": "Contraction"}


def total_of(result):
    """(total, maximum) of a scored method, else None."""
    if result.method not in MAX_SCORES:
        return None
    total = result.rating if isinstance(result, UcResult) else result.total_score
    return total, MAX_SCORES[result.method]


def _html_table(results):
    import html
    parts = ['<table class="ctgscore-scores"><thead><tr><th>method</th><th>item</th>'
             '<th>finding</th><th>points</th></tr></thead><tbody>']
    for result in results:
        total = total_of(result)
        heading = TITLES[result.method] + (f" {total[0]}/{total[1]}" if total else "")
        for index, (item, finding, points) in enumerate(score_items(result)):
            parts.append("<tr><td>{}</td><td>{}</td><td>{}</td><td>{}</td></tr>".format(
                f"<b>{html.escape(heading)}</b>" if index == 0 else "", html.escape(item),
                html.escape(finding), "" if points is None else points))
    parts.append("</tbody></table>")
    return "".join(parts)


def _html_with_chart(results):
    import base64
    text = _html_table(results)
    recording = results[0].recording if results else None
    if recording is None:
        return text
    try:
        from . import _plot
        png = _plot.png_bytes(recording, list(results))
    except ImportError:  # matplotlib absent: the table alone
        return text
    return (f'<img src="data:image/png;base64,{base64.b64encode(png).decode()}"/>' + text)


class Results(dict):
    """{method: result} of analyze(..., method="all"), in the order run."""

    def events(self):
        """The events of every method, as one pandas DataFrame."""
        return events_frame(list(self.values()))

    @property
    def recording(self):
        return next(iter(self.values())).recording if self else None

    def _repr_html_(self):
        return _html_with_chart(list(self.values()))
