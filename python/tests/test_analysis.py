"""What analyze reports beyond the raw words: failures, names, log handling."""

import os
import pathlib

import numpy
import pytest

import ctgscore
import recordings

RATE = 4
FHR, UC, FM = recordings.generate(seed=31, minutes=12, rate=RATE)


@pytest.mark.parametrize("method, minutes, reason", [
    ("krebs", 0.99, "The minimum length is 1 minutes"),
    ("acog", 0.99, "The minimum length is 1 minutes"),
    ("uc", 0.99, "The minimum length is 1 minutes"),
    ("fischer", 4.99, "The minimum length is 5 minutes"),
])
def test_short_recording_raises_with_the_library_text(method, minutes, reason):
    length = int(minutes * 60 * RATE)
    with pytest.raises(ctgscore.AnalysisError) as raised:
        ctgscore.analyze(FHR[:length], UC[:length], FM[:length // RATE], RATE, method)
    error = raised.value
    assert (error.method, error.reason) == (method, reason)
    assert error.raw_words == (-1,) * 54
    assert any(line.endswith("Error : " + reason) for line in error.log_lines)
    assert reason in str(error)


def test_trace_without_valid_heart_rate_raises():
    with pytest.raises(ctgscore.AnalysisError,
                       match=r"acog analysis failed: all heart rate out of range \[60,210\]"):
        ctgscore.analyze([0] * len(FHR), UC, FM, RATE, "acog")


def test_all_runs_the_four_methods_in_order():
    results = ctgscore.analyze(FHR, UC, FM, RATE, "all")
    assert list(results) == ["krebs", "fischer", "acog", "uc"]
    assert [type(result) for result in results.values()] == [
        ctgscore.KrebsResult, ctgscore.FischerResult, ctgscore.AcogResult, ctgscore.UcResult]
    with pytest.raises(ctgscore.AnalysisError, match="fischer .*5 minutes"):
        ctgscore.analyze(FHR[:240 * 4], UC[:240 * 4], FM[:240], RATE, "all")


def test_named_words_agree_with_their_meaning():
    results = ctgscore.analyze(FHR, UC, FM, RATE, "all")
    krebs, fischer, acog, uc = results.values()
    items = ("baseline_score", "amplitude_score", "frequency_score", "acceleration_score",
             "deceleration_score")
    assert krebs.total_score == sum(getattr(krebs, item) for item in items) + krebs.movement_score
    assert fischer.total_score == sum(getattr(fischer, item) for item in items)
    assert krebs.acceleration_count == len(krebs.accelerations) > 0
    assert krebs.movement_count > 0
    assert 100 < krebs.baseline_fhr == acog.baseline_fhr == uc.baseline_fhr < 180
    assert krebs.variability_amplitude == acog.variability_amplitude > 0
    assert acog.raw_words[0] == -1  # ACOG succeeds without writing word 0
    assert acog.pattern_flags == (1, 1, 0)
    for flags in (acog.baseline_flags, acog.variability_flags, acog.acceleration_flags):
        assert set(flags) <= {0, 1} and sum(flags) >= 1
    assert uc.raw_words[3] == uc.baseline_fhr
    assert uc.last_peak < uc.last_end and uc.previous_end < uc.last_peak
    assert uc.last_peak_to_end == uc.last_end - uc.last_peak
    assert uc.accelerations == uc.decelerations == ()
    start, end = krebs.decelerations[-1]
    assert krebs.decelerations_seconds[-1] == (start / RATE, end / RATE)
    assert len(krebs.baseline) == len(FHR)
    assert isinstance(krebs.baseline, numpy.ndarray)


def test_log_echo_still_reaches_standard_output(capfd):
    ctgscore.analyze(FHR, UC, FM, RATE)
    out = capfd.readouterr().out
    assert "]  Type : Krebs\n" in out
    assert "]  Score finished\n" in out


def test_log_directory_places_the_log_and_restores_the_directory(tmp_path):
    start = os.getcwd()
    target = tmp_path / "logs"
    target.mkdir()
    with pytest.raises(ctgscore.AnalysisError):
        with ctgscore.log_directory(target):
            ctgscore.analyze(FHR, UC, FM, RATE)
            assert os.getcwd() == str(target)
            ctgscore.analyze(FHR[:10], UC[:10], FM[:2], RATE)
    assert os.getcwd() == start
    logs = list(target.glob("FhrScore_*.log"))
    assert len(logs) == 1 and "Error : The minimum length" in logs[0].read_text()
    assert not list(pathlib.Path(start).glob("FhrScore_*.log"))
