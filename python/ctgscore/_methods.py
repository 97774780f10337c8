"""The facts about the four methods, in one table.

For each method: its name, its title, its maximum score (None for ACOG, which
classifies instead of scoring) and every result word it fills, under the name
the command-line tool's JSON gives it.  Word kinds: "int" (one word),
"double" (two words holding one IEEE double) and "flags" (`count` words of
0/1, one per slot label).  The tool keeps the same table; a test compares both.
"""

import dataclasses
import struct
from typing import Optional, Tuple


@dataclasses.dataclass(frozen=True)
class Word:
    """One value of the result record."""

    name: str
    index: int
    kind: str
    count: int
    meaning: str
    slots: Tuple[str, ...] = ()

    def value(self, words):
        """This value read from the 54 result words."""
        if self.kind == "double":
            return word_double(words, self.index)
        if self.kind == "flags":
            return tuple(words[self.index:self.index + self.count])
        return words[self.index]


@dataclasses.dataclass(frozen=True)
class MethodFacts:
    method: str
    title: str
    max_score: Optional[int]
    words: Tuple[Word, ...]

    def word(self, name):
        """The word called `name`, or None when the method does not fill it."""
        return next((word for word in self.words if word.name == name), None)

    def decode(self, words):
        """{name: value} of every word the method fills."""
        return {word.name: word.value(words) for word in self.words}

    @property
    def score_word(self):
        """The word holding the score (word 0) of a scored method, else None."""
        return None if self.max_score is None else self.words[0]

    @property
    def status_word(self):
        """The word that reads -1 when the run stopped at an input check: word 0,
        or, for ACOG, which never writes word 0, the baseline heart rate."""
        return self.words[0] if self.words[0].index == 0 else self.word("baselineFhr")

    def as_json(self):
        """This entry in the JSON form the tool prints."""
        return {"method": self.method, "title": self.title, "max_score": self.max_score,
                "words": [{**dataclasses.asdict(word), "slots": list(word.slots)}
                          for word in self.words]}


def word_double(words, index):
    """The double stored in words index and index + 1."""
    return struct.unpack("=d", struct.pack("=2i", words[index], words[index + 1]))[0]


def _int(name, index, meaning):
    return Word(name, index, "int", 1, meaning)


def _double(name, index, meaning):
    return Word(name, index, "double", 1, meaning)


def _flags(name, index, meaning, slots):
    return Word(name, index, "flags", len(slots), meaning, tuple(slots))


_SCORES = (
    _int("totalScore", 0, "total score"),
    _int("baselineScore", 1, "baseline item, points"),
    _int("amplitudeScore", 2, "variability amplitude item, points"),
    _int("frequencyScore", 3, "oscillation frequency item, points"),
    _int("accelerationScore", 4, "accelerations item, points"),
    _int("decelerationScore", 5, "decelerations item, points"),
)
_BASELINE = _int("baselineFhr", 35, "baseline heart rate, bpm")
_MOVEMENTS = _int("movementCount", 51, "number of fetal movements")


def _heart_rate_findings(decelerations_meaning):
    return (
        _BASELINE,
        _double("variabilityAmplitude", 36, "variability amplitude: mean peak-to-trough swing "
                "between events, bpm (not a number when no swing qualifies)"),
        _double("oscillationFrequency", 38,
                "oscillation frequency: most swings within one 60-sample span"),
        _int("accelerationCount", 40, "number of accelerations"),
        _int("decelerationCount", 41, decelerations_meaning),
        _MOVEMENTS,
    )


# The methods that type decelerations count them in word 46 and the deep ones in word 41.
_TYPED_FINDINGS = _heart_rate_findings(
    "number of deep decelerations (30 bpm or more below the baseline)") + (
    _int("decelerationPattern", 42, "largest deceleration type found (0 none, 1 early, "
         "2 late or low, 3 delayed, 4 other)"),
    _int("decTypeCount1", 44, "number of early decelerations"),
    _int("decTypeCount2", 45, "number of late or low decelerations"),
    _int("decelerationExtra", 46, "number of decelerations"),
    _int("decTypeCount3", 47, "number of delayed decelerations"),
    _int("decTypeCount4", 48, "number of other decelerations"),
)

METHOD_FACTS = (
    MethodFacts("krebs", "Krebs", 12, _SCORES + (
        _int("movementScore", 6, "fetal movements item, points"),
    ) + _heart_rate_findings("number of decelerations")),
    MethodFacts("fischer", "Fischer", 10, _SCORES + (
        _int("strongContractionFlag", 23,
             "1 when two or more strong contractions were found, else 0"),
    ) + _TYPED_FINDINGS),
    MethodFacts("acog", "ACOG", None, (
        _flags("acogBaselineFlags", 7, "baseline flags", (
            "110-160 bpm", "above 160 bpm (tachycardia)", "109 bpm or below with variability",
            "109 bpm or below, variability absent")),
        _flags("acogVariabilityFlags", 11, "variability flags", (
            "moderate (5-25 bpm)", "absent", "minimal (below 5 bpm)", "marked (above 25 bpm)",
            "absent, with bradycardia or recurrent decelerations")),
        _flags("acogAccelerationFlags", 16, "acceleration flags",
               ("present", "absent", "flag 2", "absent")),
        _flags("acogDecFlagsA", 20, "early deceleration flags", (
            "early decelerations present", "no early decelerations", "no early decelerations")),
        _flags("acogDecFlagsB", 24, "late or low deceleration flags", (
            "no late or low decelerations",
            "recurrent late or low decelerations with variability", "decelerations present",
            "reserved flag", "recurrent late or low decelerations, variability absent")),
        _flags("acogDecFlagsC", 29, "delayed deceleration flags", (
            "no delayed decelerations", "recurrent delayed decelerations, moderate variability",
            "recurrent delayed decelerations, variability absent")),
        _flags("acogPatternFlags", 32, "pattern flags",
               ("no pattern input", "no pattern input", "pattern input present")),
    ) + _TYPED_FINDINGS + (
        _int("acogReservedE", 49, "reserved, written as 0"),
        _int("acogReservedF", 50, "reserved, written as 0"),
    )),
    MethodFacts("uc", "Contraction", 2, (
        _int("intensityRating", 0, "intensity rating 0-2 from the highest toco value of the "
             "first five minutes (above 90: 2, above 30: 1; 0 with fewer than two "
             "contractions)"),
        _int("lastEndMinusLastPeak", 1, "last contraction end minus last contraction peak, "
             "samples (-1 with fewer than two contractions)"),
        _int("lastPeakMinusPreviousEnd", 2, "last contraction peak minus the previous "
             "contraction's end, samples (0 with fewer than two contractions)"),
        _int("baselineFhrCopy", 3, "baseline heart rate, bpm (copy of word 35)"),
        _int("lastContractionEnd", 4, "sample of the last contraction's end (0 with fewer "
             "than two contractions)"),
        _int("lastContractionPeak", 5, "sample of the last contraction's peak (0 with fewer "
             "than two contractions)"),
        _int("previousContractionEnd", 6, "sample of the previous contraction's end (0 with "
             "fewer than two contractions)"),
        _int("peakContraction", 7, "highest toco value of the first five minutes (0 with "
             "fewer than two contractions)"),
        _BASELINE,
        _MOVEMENTS,
    )),
)

# The methods in the order "all" runs them.
METHODS = tuple(facts.method for facts in METHOD_FACTS)
FACTS = {facts.method: facts for facts in METHOD_FACTS}


def methods_named(method):
    """The methods that `method` names: one of METHODS, or "all" for every one."""
    if method == "all":
        return METHODS
    if method not in METHODS:
        raise ValueError(f"method must be one of {', '.join(METHODS)} or all, got {method!r}")
    return (method,)
