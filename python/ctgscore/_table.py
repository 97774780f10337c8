"""The table of many recordings: its columns and dtypes, and the values of a
recording's rows."""

from ._methods import FACTS
from ._recording import recording_name
from ._results import DecelerationTypes, HeartRateFindings

# The table's columns in order: name, pandas dtype, and the result field the
# column shows in the rows of the results that have that field ("-": none, the
# value comes from the recording or the run).
_COLUMN_TABLE = [line.split() for line in """
    file                      object   -
    name                      object   -
    method                    object   -
    ok                        bool     -
    reason                    object   -
    minutes                   float64  -
    signal_loss               float64  -
    total_score               Int64    -
    max_score                 Int64    -
    baseline_bpm              Int64    baseline_fhr
    baseline_points           Int64    baseline_score
    amplitude                 float64  variability_amplitude
    amplitude_points          Int64    amplitude_score
    frequency                 float64  oscillation_frequency
    frequency_points          Int64    frequency_score
    accelerations             Int64    acceleration_count
    acceleration_points       Int64    acceleration_score
    decelerations             Int64    -
    deceleration_points       Int64    deceleration_score
    deep_decelerations        Int64    -
    movements                 Int64    movement_count
    movement_points           Int64    movement_score
    early_decelerations       Int64    early_count
    late_decelerations        Int64    late_or_low_count
    delayed_decelerations     Int64    delayed_count
    other_decelerations       Int64    other_count
    deceleration_pattern      Int64    deceleration_pattern
    strong_contractions       Int64    strong_contraction_flag
    acog_baseline             object   baseline_flags
    acog_variability          object   variability_flags
    acog_accelerations        object   acceleration_flags
    acog_early                object   deceleration_flags_a
    acog_late                 object   deceleration_flags_b
    acog_delayed              object   deceleration_flags_c
    acog_pattern              object   pattern_flags
    last_contraction_peak     Int64    last_peak
    last_contraction_end      Int64    last_end
    previous_contraction_end  Int64    previous_end
    peak_contraction          Int64    peak_value
""".strip().splitlines()]

# (column, pandas dtype) of every column, in order.
COLUMNS = tuple((column, dtype) for column, dtype, _ in _COLUMN_TABLE)
_COLUMN_FIELDS = {column: field for column, _, field in _COLUMN_TABLE if field != "-"}


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
