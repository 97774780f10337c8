"""Result objects: the named words of each method's result record.

Every result carries `raw_words`, the 54 words exactly as returned (a word
the method does not fill reads -1; the doubles occupy words 36-37 and 38-39),
the event locations and the heart-rate baseline curve of the run.
"""

import dataclasses
from typing import Any, Tuple

import numpy

from ._errors import CtgScoreError
from ._methods import FACTS
from ._score_items import score_items

Pairs = Tuple[Tuple[int, int], ...]
SecondPairs = Tuple[Tuple[float, float], ...]


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
        """The Recording analyzed, when analyze was given one, else None."""
        return getattr(self, "_recording", None)

    def events(self):
        """A pandas DataFrame of this run's events: method, kind
        ("acceleration", "deceleration", "contraction_peak",
        "contraction_end"), start and end in samples and in seconds."""
        return events_frame([self])

    def score_items(self):
        """The score in the command-line tool's words: a list of ScoreItem
        (item, text, points or None), as the `items` of its JSON."""
        return score_items(self.method, self.raw_words, self.rate)


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


@dataclasses.dataclass(frozen=True)
class ScoreItems:
    """The total (word 0) and the five items of 0-2 points that the Krebs and
    Fischer scores share (words 1-5)."""

    total_score: int
    baseline_score: int
    amplitude_score: int
    frequency_score: int
    acceleration_score: int
    deceleration_score: int


@dataclasses.dataclass(frozen=True)
class KrebsResult(ScoreItems, HeartRateFindings, Result):
    """Krebs score: six items of 0-2 points (words 1-6), total 0-12 (word 0)."""

    movement_score: int


@dataclasses.dataclass(frozen=True)
class FischerResult(ScoreItems, DecelerationTypes, HeartRateFindings, Result):
    """Modified Fischer score: five items of 0-2 points (words 1-5), total 0-10
    (word 0).

    strong_contraction_flag: 1 when at least two strong contractions were
    found, else 0 (word 23).
    """

    strong_contraction_flag: int


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


# Each result field and the word it holds, by the word's name in the method facts.
_HEART_RATE_WORDS = dict(
    baseline_fhr="baselineFhr", variability_amplitude="variabilityAmplitude",
    oscillation_frequency="oscillationFrequency", acceleration_count="accelerationCount",
    deceleration_count="decelerationCount", movement_count="movementCount")
_DECELERATION_TYPE_WORDS = dict(
    deceleration_extra="decelerationExtra", deceleration_pattern="decelerationPattern",
    early_count="decTypeCount1", late_or_low_count="decTypeCount2",
    delayed_count="decTypeCount3", other_count="decTypeCount4")
_SCORE_WORDS = dict(
    total_score="totalScore", baseline_score="baselineScore", amplitude_score="amplitudeScore",
    frequency_score="frequencyScore", acceleration_score="accelerationScore",
    deceleration_score="decelerationScore")

_CLASSES = {
    "krebs": (KrebsResult, {**_HEART_RATE_WORDS, **_SCORE_WORDS,
                            "movement_score": "movementScore"}),
    "fischer": (FischerResult, {**_HEART_RATE_WORDS, **_DECELERATION_TYPE_WORDS, **_SCORE_WORDS,
                                "strong_contraction_flag": "strongContractionFlag"}),
    "acog": (AcogResult, {**_HEART_RATE_WORDS, **_DECELERATION_TYPE_WORDS,
                          "baseline_flags": "acogBaselineFlags",
                          "variability_flags": "acogVariabilityFlags",
                          "acceleration_flags": "acogAccelerationFlags",
                          "deceleration_flags_a": "acogDecFlagsA",
                          "deceleration_flags_b": "acogDecFlagsB",
                          "deceleration_flags_c": "acogDecFlagsC",
                          "pattern_flags": "acogPatternFlags"}),
    "uc": (UcResult, dict(rating="intensityRating", last_peak_to_end="lastEndMinusLastPeak",
                          previous_end_to_last_peak="lastPeakMinusPreviousEnd",
                          baseline_fhr="baselineFhr", last_end="lastContractionEnd",
                          last_peak="lastContractionPeak", previous_end="previousContractionEnd",
                          peak_value="peakContraction", movement_count="movementCount")),
}


def run_failed(method, words):
    """Whether the run stopped at an input check (its status word reads -1)."""
    return FACTS[method].status_word.value(words) == -1


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


def build(method, rate, words, location, baseline, recording=None):
    """The result object of `method` from the library's records (all copied),
    keeping the Recording analyzed, if any."""
    accelerations = _pairs(location.accelerationStarts.to_list(),
                           location.accelerationEnds.to_list())
    decelerations = _pairs(location.decelerationStarts.to_list(),
                           location.decelerationEnds.to_list())
    result_class, field_words = _CLASSES[method]
    named = FACTS[method].decode(words)
    result = result_class(method=method, rate=rate, raw_words=tuple(words),
                          accelerations=accelerations, decelerations=decelerations,
                          accelerations_seconds=_in_seconds(accelerations, rate),
                          decelerations_seconds=_in_seconds(decelerations, rate),
                          baseline=_curve(baseline),
                          **{field: named[word] for field, word in field_words.items()})
    object.__setattr__(result, "_recording", recording)
    return result


# ---- events ------------------------------------------------------------------------

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


class Results(dict):
    """{method: result} of analyze(..., method="all"), in the order run."""

    def events(self):
        """The events of every method, as one pandas DataFrame."""
        return events_frame(list(self.values()))

    @property
    def recording(self):
        return next(iter(self.values())).recording if self else None
