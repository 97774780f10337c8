"""The score in words: the items of the command-line tool's JSON (`items`),
with the same keys and texts, built from the result words by their names."""

import math
from typing import NamedTuple, Optional

from ._methods import FACTS


class ScoreItem(NamedTuple):
    """One line of a score: the item's key, its text and its points, if scored."""

    item: str
    text: str
    points: Optional[int] = None


def _points_text(points):
    return "1 point" if points == 1 else f"{points} points"


def _count_text(count, thing):
    if count == 0:
        return f"no {thing}s"
    return f"{count} {thing}" + ("" if count == 1 else "s")


def _scored(key, finding, points):
    return ScoreItem(key, f"{finding}: {_points_text(points)}", points)


def _amplitude_text(amplitude):
    if math.isnan(amplitude):
        return "variability amplitude not measurable"
    return f"variability amplitude {amplitude:.1f} bpm"


def _deceleration_text(named):
    """The methods that type decelerations count them in decelerationExtra and the
    deep ones (30 bpm or more below the baseline) in decelerationCount."""
    if "decelerationExtra" not in named:
        return _count_text(named["decelerationCount"], "deceleration")
    deep = named["decelerationCount"]
    return (_count_text(named["decelerationExtra"], "deceleration") + ", "
            + ("none" if deep == 0 else str(deep)) + " deep")


def _deceleration_types(named):
    """Typed only when a deep deceleration was found."""
    if named["decelerationCount"] <= 0:
        return []
    return [ScoreItem("deceleration_types", f"deceleration types: {named['decTypeCount1']} "
                      f"early, {named['decTypeCount2']} late or low, {named['decTypeCount3']} "
                      f"delayed, {named['decTypeCount4']} other")]


def _heart_rate_items(named):
    items = [
        _scored("baseline", f"baseline {named['baselineFhr']} bpm", named["baselineScore"]),
        _scored("variability_amplitude", _amplitude_text(named["variabilityAmplitude"]),
                named["amplitudeScore"]),
        _scored("oscillation_frequency", f"oscillation frequency "
                f"{named['oscillationFrequency']:.0f}", named["frequencyScore"]),
        _scored("accelerations", _count_text(named["accelerationCount"], "acceleration"),
                named["accelerationScore"]),
        _scored("decelerations", _deceleration_text(named), named["decelerationScore"])]
    if "movementScore" in named:
        items.append(_scored("movements", _count_text(named["movementCount"], "fetal movement"),
                             named["movementScore"]))
    return items


def _fischer_items(named, rate):
    return _heart_rate_items(named) + _deceleration_types(named) + [ScoreItem(
        "strong_contractions", "two or more strong contractions"
        if named["strongContractionFlag"] == 1 else "fewer than two strong contractions")]


# The item key of each ACOG flag group.
_ACOG_KEYS = {
    "acogBaselineFlags": "baseline", "acogVariabilityFlags": "variability",
    "acogAccelerationFlags": "accelerations", "acogDecFlagsA": "early_decelerations",
    "acogDecFlagsB": "late_decelerations", "acogDecFlagsC": "delayed_decelerations",
    "acogPatternFlags": "pattern",
}


def _acog_finding(key, named):
    """The finding an ACOG group's text opens with, if any."""
    if key == "baseline":
        return f"baseline {named['baselineFhr']} bpm: "
    if key == "variability":
        return _amplitude_text(named["variabilityAmplitude"]) + ": "
    if key == "accelerations":
        return _count_text(named["accelerationCount"], "acceleration") + ": "
    return ""


def _flag_labels(word, flags):
    """The labels of the slots set, each once, or "not classified"."""
    labels = []
    for label, flag in zip(word.slots, flags):
        if flag == 1 and label not in "; ".join(labels):
            labels.append(label)
    return "; ".join(labels) or "not classified"


def _acog_items(named, rate):
    items = []
    for word in FACTS["acog"].words:
        if word.kind != "flags":
            continue
        key = _ACOG_KEYS[word.name]
        if key == "early_decelerations":
            items.append(ScoreItem("decelerations", _deceleration_text(named)))
            items += _deceleration_types(named)
        items.append(ScoreItem(key, _acog_finding(key, named)
                               + _flag_labels(word, named[word.name])))
    return items


def _clock(seconds):
    """m:ss of a time in seconds, rounded half away from zero as lround does."""
    whole = int(seconds)
    if abs(seconds - whole) >= 0.5:
        whole += 1 if seconds > 0 else -1
    minutes = int(whole / 60)
    return f"{minutes}:{whole - 60 * minutes:02d}"


def _contraction_items(named, rate):
    """With fewer than two contractions the run leaves lastEndMinusLastPeak at -1
    and measures nothing else."""
    def clock(name):
        return _clock(named[name] / rate)

    if named["lastEndMinusLastPeak"] == -1:
        return [ScoreItem("intensity", "fewer than two contractions found: rating 0 of 2"),
                ScoreItem("baseline", f"baseline {named['baselineFhrCopy']} bpm")]
    return [
        ScoreItem("intensity", f"strongest contraction {named['peakContraction']} in the first "
                  f"5 minutes: rating {named['intensityRating']} of 2"),
        ScoreItem("baseline", f"baseline {named['baselineFhrCopy']} bpm"),
        ScoreItem("last_contraction", f"last contraction: peak at "
                  f"{clock('lastContractionPeak')}, end at {clock('lastContractionEnd')} "
                  f"({clock('lastEndMinusLastPeak')} after the peak)"),
        ScoreItem("previous_contraction", f"previous contraction ended at "
                  f"{clock('previousContractionEnd')}, {clock('lastPeakMinusPreviousEnd')} "
                  f"before the last peak")]


_ITEMS = {
    "krebs": lambda named, rate: _heart_rate_items(named),
    "fischer": _fischer_items,
    "acog": _acog_items,
    "uc": _contraction_items,
}


def score_items(method, words, rate):
    """The ScoreItems of a successful run of `method` from its 54 result words."""
    return _ITEMS[method](FACTS[method].decode(words), rate)


def score_heading(method, words):
    """The method's title, with "total/maximum" for a scored method."""
    facts = FACTS[method]
    if facts.score_word is None:
        return facts.title
    return f"{facts.title} {facts.score_word.value(words)}/{facts.max_score}"
