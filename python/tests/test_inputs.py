"""Unusable input is refused in Python, before the library sees (and logs) it."""

import dataclasses
import pathlib

import numpy
import pytest

import ctgscore
import recordings

FHR, UC, FM = recordings.generate(seed=21, minutes=12)



def nothing_logged():
    return not list(pathlib.Path.cwd().glob("FhrScore_*.log"))


def with_value(trace, index, value):
    changed = list(trace)
    changed[index] = value
    return changed


@pytest.mark.parametrize("kwargs, error, text", [
    (dict(fhr=None), TypeError, "fhr is None"),
    (dict(uc=None, method="fischer"), TypeError, "uc is None"),
    (dict(uc=UC[:-1]), ValueError, "uc has 2879 values"),
    (dict(fm=FM + [0]), ValueError, "one mark per second"),
    (dict(fm=[0] * len(FHR)), ValueError, "fm[::4]"),
    (dict(fhr=with_value(FHR, 7, 140.0)), TypeError, "fhr[7] = 140.0"),
    (dict(uc=with_value(UC, 3, "12")), TypeError, "uc[3] = '12'"),
    (dict(fm=with_value(FM, 2, True)), TypeError, "fm[2] = True"),
    (dict(fhr=with_value(FHR, 9, 2**31)), ValueError, "fhr[9] = 2147483648"),
    (dict(uc=with_value(UC, 0, -2**31 - 1)), ValueError, "uc[0]"),
    (dict(fhr=140), TypeError, "sequence of integers"),
    (dict(fhr="140,141"), TypeError, "sequence of integers"),
    (dict(rate=0), ValueError, "rate"),
    (dict(rate=-4), ValueError, "rate"),
    (dict(rate=4.0), TypeError, "rate"),
    (dict(rate=True), TypeError, "rate"),
    (dict(method="Krebs"), ValueError, "method"),
    (dict(params={"acc_min_duration": 15}), TypeError, "Parameters"),
])
def test_refused_before_the_library(kwargs, error, text):
    call = {**dict(fhr=FHR, uc=UC, fm=FM, rate=4, method="krebs"), **kwargs}
    with pytest.raises(error) as raised:
        ctgscore.analyze(**call)
    assert text in str(raised.value)
    assert nothing_logged()


@pytest.mark.parametrize("array, error, text", [
    (lambda: numpy.array(FHR, dtype=float), TypeError, "dtype float64"),
    (lambda: numpy.array([FHR, FHR]), ValueError, "one-dimensional"),
    (lambda: numpy.where(numpy.arange(len(FHR)) == 5, 2**40, numpy.array(FHR)), ValueError,
     "fhr[5] = 1099511627776"),
])
def test_numpy_arrays_refused(array, error, text):
    with pytest.raises(error, match=text.replace("[", r"\[").replace("]", r"\]")):
        ctgscore.analyze(array(), UC, FM)
    assert nothing_logged()


def test_krebs_needs_no_contractions_and_no_marks():
    assert ctgscore.analyze(FHR, rate=4).total_score >= 0


@pytest.fixture
def restores_parameters():
    yield
    ctgscore.set_parameters(ctgscore.Parameters())


def test_every_field_range_is_inclusive_and_enforced():
    for name, (low, high) in ctgscore.Parameters.ranges().items():
        for accepted in (low, high):
            assert getattr(ctgscore.Parameters(**{name: accepted}), name) == accepted
        for refused in (low - 1, high + 1, -1):
            with pytest.raises(ValueError, match=f"{name} = {refused} is outside"):
                ctgscore.Parameters(**{name: refused})
    with pytest.raises(TypeError):
        ctgscore.Parameters(fm_mode=1.0)


def test_defaults_and_ranges():
    assert ctgscore.Parameters().values() == (4, 3, 17, 17, 120, 18, 18, 120, 6, 6, 24, 15,
                                              10, 10, 60, 1, 300)
    assert list(ctgscore.Parameters.ranges().values()) == [
        (2, 10), (1, 5), (15, 20), (15, 20), (30, 600), (10, 20), (10, 20), (30, 600),
        (5, 15), (5, 15), (20, 600), (10, 35), (5, 15), (5, 15), (20, 600), (0, 2), (300, 1800)]


def test_set_and_get_parameters(restores_parameters):
    chosen = ctgscore.Parameters(acc_min_amplitude=15, dec_min_spacing=30, reserved16=1800)
    ctgscore.set_parameters(chosen)
    assert ctgscore.get_parameters() == chosen
    with pytest.raises(TypeError):
        ctgscore.set_parameters(chosen.values())


def test_params_of_one_call_are_not_kept(restores_parameters):
    stored = ctgscore.Parameters(acc_min_amplitude=20)
    ctgscore.set_parameters(stored)
    with_stored = ctgscore.analyze(FHR)
    other = dataclasses.replace(stored, var_amplitude_min=10)
    with_other = ctgscore.analyze(FHR, params=other)
    assert with_other.variability_amplitude != with_stored.variability_amplitude
    assert ctgscore.get_parameters() == stored
    ctgscore.set_parameters(other)
    assert ctgscore.analyze(FHR) == with_other
