"""The 17-field tuning record of event detection."""

import dataclasses


def _field(default, low, high, meaning):
    return dataclasses.field(default=default,
                             metadata={"range": (low, high), "meaning": meaning})


@dataclasses.dataclass(frozen=True)
class Parameters:
    """Tuning of event detection, in the library's field order.

    Durations and spacings are in seconds, amplitudes in bpm.  Every field has
    a closed valid range; the library silently replaces an out-of-range field
    by its default, so this class refuses such values instead (ValueError on
    construction).  `Parameters()` holds the defaults; change fields with
    `dataclasses.replace(params, acc_min_duration=15)` or keyword arguments.
    """

    var_amplitude_min: int = _field(4, 2, 10, "smallest trace difference counted in the "
                                              "variability amplitude, bpm")
    var_cycle_min: int = _field(3, 1, 5, "trace differences above this count toward the "
                                         "oscillation frequency, bpm")
    acc_min_duration: int = _field(17, 15, 20, "shortest acceleration, s")
    acc_min_amplitude: int = _field(17, 15, 20, "smallest rise above the baseline, bpm")
    acc_min_spacing: int = _field(120, 30, 600, "spacing between acceleration candidates, s")
    dec_min_duration: int = _field(18, 10, 20, "shortest deceleration, s")
    dec_min_amplitude: int = _field(18, 10, 20, "smallest fall below the baseline, bpm")
    dec_min_spacing: int = _field(120, 30, 600, "spacing between deceleration candidates, s")
    aux_peak_a: int = _field(6, 5, 15, "heart-rate peak search of the Fischer method")
    aux_peak_b: int = _field(6, 5, 15, "heart-rate peak search of the Fischer method")
    aux_peak_span: int = _field(24, 20, 600, "heart-rate peak search of the Fischer method")
    aux_peak_d: int = _field(15, 10, 35, "heart-rate peak search of the Fischer method")
    uc_peak_a: int = _field(10, 5, 15, "smallest contraction height above its baseline")
    uc_peak_b: int = _field(10, 5, 15, "smallest contraction prominence")
    uc_peak_span: int = _field(60, 20, 600, "smallest spacing between contraction peaks, s")
    fm_mode: int = _field(1, 0, 2, "movement mark bits counted: 0 bit 8, 1 bit 4, 2 both")
    reserved16: int = _field(300, 300, 1800, "reserved; validated but not used")

    def __post_init__(self):
        self.validate()

    def validate(self):
        """Raises TypeError or ValueError naming the first field that is not valid."""
        for field in dataclasses.fields(self):
            value = getattr(self, field.name)
            if isinstance(value, bool) or not isinstance(value, int):
                raise TypeError(f"Parameters.{field.name} must be an int, got {value!r}")
            low, high = field.metadata["range"]
            if not low <= value <= high:
                raise ValueError(f"Parameters.{field.name} = {value} is outside its valid "
                                 f"range {low}..{high}")

    @staticmethod
    def ranges():
        """{field name: (lowest, highest)} of the valid values, both inclusive."""
        return {field.name: field.metadata["range"] for field in dataclasses.fields(Parameters)}

    def values(self):
        """The 17 values in the library's field order."""
        return tuple(getattr(self, field.name) for field in dataclasses.fields(self))


def stored_parameters(values):
    """A Parameters holding the library's values as they are, valid or not."""
    record = object.__new__(Parameters)
    for field, value in zip(dataclasses.fields(Parameters), values):
        object.__setattr__(record, field.name, value)
    return record


def checked_parameters(params):
    """`params` when it is None or a valid Parameters; else TypeError or ValueError."""
    if params is not None:
        if not isinstance(params, Parameters):
            raise TypeError(f"params must be a Parameters or None, got {type(params).__name__}")
        params.validate()
    return params
