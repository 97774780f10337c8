"""The table of many recordings: its columns and dtypes, and the values of a
recording's rows."""

from ._methods import FACTS
from ._recording import recording_name
from ._results import DecelerationTypes, HeartRateFindings

# (column, pandas dtype): the table's columns in order.
COLUMNS = (
    ("file", "object"), ("name", "object"), ("method", "object"), ("ok", "bool"),
    ("reason", "object"), ("minutes", "float64"), ("signal_loss", "float64"),
    ("total_score", "Int64"), ("max_score", "Int64"),
    ("baseline_bpm", "Int64"), ("baseline_points", "Int64"),
    ("amplitude", "float64"), ("amplitude_points", "Int64"),
    ("frequency", "float64"), ("frequency_points", "Int64"),
    ("accelerations", "Int64"), ("acceleration_points", "Int64"),
    ("decelerations", "Int64"), ("deceleration_points", "Int64"),
    ("deep_decelerations", "Int64"),
    ("movements", "Int64"), ("movement_points", "Int64"),
    ("early_decelerations", "Int64"), ("late_decelerations", "Int64"),
    ("delayed_decelerations", "Int64"), ("other_decelerations", "Int64"),
    ("deceleration_pattern", "Int64"), ("strong_contractions", "Int64"),
    ("acog_baseline", "object"), ("acog_variability", "object"),
    ("acog_accelerations", "object"), ("acog_early", "object"), ("acog_late", "object"),
    ("acog_delayed", "object"), ("acog_pattern", "object"),
    ("last_contraction_peak", "Int64"), ("last_contraction_end", "Int64"),
    ("previous_contraction_end", "Int64"), ("peak_contraction", "Int64"),
)

# Column -> the result field it shows, in the rows of the results that have the field.
_COLUMN_FIELDS = dict(
    baseline_bpm="baseline_fhr", amplitude="variability_amplitude",
    frequency="oscillation_frequency", accelerations="acceleration_count",
    movements="movement_count", baseline_points="baseline_score",
    amplitude_points="amplitude_score", frequency_points="frequency_score",
    acceleration_points="acceleration_score", deceleration_points="deceleration_score",
    movement_points="movement_score", early_decelerations="early_count",
    late_decelerations="late_or_low_count", delayed_decelerations="delayed_count",
    other_decelerations="other_count", deceleration_pattern="deceleration_pattern",
    strong_contractions="strong_contraction_flag", acog_baseline="baseline_flags",
    acog_variability="variability_flags", acog_accelerations="acceleration_flags",
    acog_early="deceleration_flags_a", acog_late="deceleration_flags_b",
    acog_delayed="deceleration_flags_c", acog_pattern="pattern_flags",
    last_contraction_peak="last_peak", last_contraction_end="last_end",
    previous_contraction_end="previous_end", peak_contraction="peak_value")


def _shown(value):
    """Flag groups as digit strings, e.g. "0100"."""
    return "".join(map(str, value)) if isinstance(value, tuple) else value


def result_values(result):
    """The table values of one method's result (columns not listed stay empty)."""
    values = {column: _shown(getattr(result, field)) for column, field in _COLUMN_FIELDS.items()
              if hasattr(result, field)}
    # The methods that type decelerations count them in deceleration_extra and the deep
    # ones in deceleration_count; Krebs counts them in deceleration_count.
    if isinstance(result, DecelerationTypes):
        values.update(decelerations=result.deceleration_extra,
                      deep_decelerations=result.deceleration_count)
    elif isinstance(result, HeartRateFindings):
        values.update(decelerations=result.deceleration_count)
    facts = FACTS[result.method]
    if facts.score_word is not None:
        values.update(total_score=facts.score_word.value(result.raw_words),
                      max_score=facts.max_score)
    return values


def recording_values(path, recording):
    """The values every row of a recording read shares."""
    return {"file": path, "name": recording.name, "minutes": recording.minutes,
            "signal_loss": recording.signal_loss}


def failure_row(path, reason):
    """The one row of a file that could not be read or whose process died."""
    return {"file": path, "name": recording_name(path), "method": None, "ok": False,
            "reason": reason}


def frame(rows):
    """A pandas DataFrame of rows, with the fixed columns and dtypes."""
    import pandas
    data = {name: pandas.Series([row.get(name) for row in rows], dtype=dtype)
            for name, dtype in COLUMNS}
    return pandas.DataFrame(data, columns=[name for name, _ in COLUMNS])
