"""analyze: unusable input refused before the library sees (and logs) it, parameters,
the library's failures, the log, calls from many threads."""

import concurrent.futures
import dataclasses
import os
import pathlib
import threading

import numpy
import pytest

import ctgscore
import recordings

FHR, UC, FM = recordings.generate(seed=21, minutes=12)


def with_value(trace, index, value):
    return trace[:index] + [value] + trace[index + 1:]


@pytest.mark.parametrize("kwargs, error, text", [
    (dict(fhr=None), TypeError, "fhr is None"),
    (dict(uc=None, method="fischer"), TypeError, "uc is None"),
    (dict(uc=UC[:-1]), ValueError, "uc has 2879 values"),
    (dict(fm=FM + [0]), ValueError, "one mark per second"),
    (dict(fhr=with_value(FHR, 7, 140.0)), TypeError, "fhr[7] = 140.0"),
    (dict(fm=with_value(FM, 2, True)), TypeError, "fm[2] = True"),
    (dict(fhr=with_value(FHR, 9, 2**31)), ValueError, "fhr[9] = 2147483648"),
    (dict(fhr=numpy.array(FHR, dtype=float)), TypeError, "dtype float64"),
    (dict(fhr=numpy.array([FHR, FHR])), ValueError, "one-dimensional"),
    (dict(fhr=numpy.where(numpy.arange(len(FHR)) == 5, 2**40, FHR)), ValueError,
     "fhr[5] = 1099511627776"),
    (dict(fhr=140), TypeError, "sequence of integers"),
    (dict(rate=0), ValueError, "rate"),
    (dict(rate=4.0), TypeError, "rate"),
    (dict(method="Krebs"), ValueError, "method"),
    (dict(params={"acc_min_duration": 15}), TypeError, "Parameters"),
])
def test_refused_before_the_library(kwargs, error, text):
    with pytest.raises(error) as raised:
        ctgscore.analyze(**{**dict(fhr=FHR, uc=UC, fm=FM, rate=4, method="krebs"), **kwargs})
    assert text in str(raised.value)
    assert not list(pathlib.Path.cwd().glob("FhrScore_*.log"))


def test_every_field_range_is_inclusive_and_enforced():
    assert list(ctgscore.Parameters.ranges().values()) == [
        (2, 10), (1, 5), (15, 20), (15, 20), (30, 600), (10, 20), (10, 20), (30, 600),
        (5, 15), (5, 15), (20, 600), (10, 35), (5, 15), (5, 15), (20, 600), (0, 2), (300, 1800)]
    for name, (low, high) in ctgscore.Parameters.ranges().items():
        for accepted in (low, high):
            assert getattr(ctgscore.Parameters(**{name: accepted}), name) == accepted
        for refused in (low - 1, high + 1, -1):
            with pytest.raises(ValueError, match=f"{name} = {refused} is outside"):
                ctgscore.Parameters(**{name: refused})
    with pytest.raises(TypeError):
        ctgscore.Parameters(fm_mode=1.0)


def test_stored_and_per_call_parameters():
    """Parameters given to one call are not kept; stored ones hold for every later call.
    Krebs needs neither contractions nor movement marks."""
    stored = ctgscore.Parameters(acc_min_amplitude=20, dec_min_spacing=30, reserved16=1800)
    other = dataclasses.replace(stored, var_amplitude_min=10)
    try:
        ctgscore.set_parameters(stored)
        assert ctgscore.get_parameters() == stored
        with_other = ctgscore.analyze(FHR, params=other)
        assert ctgscore.get_parameters() == stored
        assert with_other.variability_amplitude != ctgscore.analyze(FHR).variability_amplitude
        ctgscore.set_parameters(other)
        assert ctgscore.analyze(FHR) == with_other
        assert with_other.decelerations_seconds == tuple(
            (start / 4, end / 4) for start, end in with_other.decelerations) != ()
        with pytest.raises(TypeError):
            ctgscore.set_parameters(other.values())
    finally:
        ctgscore.set_parameters(ctgscore.Parameters())


@pytest.mark.parametrize("traces, method, failing, reason", [
    ((FHR[:960], UC[:960], FM[:240]), "all", "fischer", "The minimum length is 5 minutes"),
    (([0] * len(FHR), UC, FM), "acog", "acog", "all heart rate out of range [60,210]"),
])
def test_rejected_recording_raises_with_the_library_text(traces, method, failing, reason):
    with pytest.raises(ctgscore.AnalysisError) as raised:
        ctgscore.analyze(*traces, 4, method)
    error = raised.value
    assert (error.method, error.reason, str(error)) == (
        failing, reason, f"{failing} analysis failed: {reason}")
    assert error.raw_words == (-1,) * 54
    assert error.log_lines[-1].endswith("Error : " + reason)


def test_log_directory_places_the_log_which_still_reaches_standard_output(tmp_path, capfd):
    target = tmp_path / "logs"
    target.mkdir()
    with pytest.raises(ctgscore.AnalysisError):
        with ctgscore.log_directory(target):
            ctgscore.analyze(FHR, UC, FM)
            assert os.getcwd() == str(target)
            ctgscore.analyze(FHR[:10], UC[:10], FM[:2])
    assert os.getcwd() == str(tmp_path)
    logs = list(target.glob("FhrScore_*.log"))
    assert len(logs) == 1 and "Error : The minimum length" in logs[0].read_text()
    assert not list(tmp_path.glob("FhrScore_*.log"))
    out = capfd.readouterr().out
    assert "]  Type : Krebs\n" in out and "]  Score finished\n" in out


def unaffected_by_earlier_calls(results):
    """All but the contraction findings, which depend on the contraction filter's state."""
    return {method: (result.raw_words if method == "krebs" else result.raw_words[35:42],
                     result.accelerations, result.decelerations, list(result.baseline))
            for method, result in results.items()}


def test_eight_threads_get_the_serial_results():
    jobs = [dict(zip(("fhr", "uc", "fm"), recordings.generate(seed=40 + index, minutes=10)),
                 method="all", params=ctgscore.Parameters(var_amplitude_min=2 + index,
                                                          acc_min_amplitude=15 + index % 6))
            for index in range(8)]
    serial = [unaffected_by_earlier_calls(ctgscore.analyze(**job)) for job in jobs]
    assert len({str(view["krebs"][0]) for view in serial}) > 1
    start = threading.Barrier(len(jobs))

    def three_rounds(job):
        start.wait()
        return [unaffected_by_earlier_calls(ctgscore.analyze(**job)) for _ in range(3)]

    with concurrent.futures.ThreadPoolExecutor(len(jobs)) as pool:
        assert list(pool.map(three_rounds, jobs)) == [[view] * 3 for view in serial]
    assert ctgscore.get_parameters() == ctgscore.Parameters()
