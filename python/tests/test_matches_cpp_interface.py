"""The package returns exactly what the C++ interface returns for the same calls, both
made in fresh processes since the library's contraction filter keeps state between calls."""

import pathlib
import subprocess

import numpy
import pytest

import ctgscore
import recordings
from conftest import built, in_fresh_process

METHODS = ("krebs", "fischer", "acog", "uc")
NON_DEFAULT = (5, 2, 15, 20, 60, 12, 15, 90, 8, 7, 30, 20, 7, 8, 40, 2, 900)


def described_run(name, method, result):
    """One run in the reference driver's text form; doubles as the hex of their bits."""
    lines = [f"run {name} {method}", " ".join(["words", *map(str, result.raw_words)])]
    if isinstance(result, ctgscore.AnalysisError):
        return lines + ["failed"]
    for kind, events in (("acceleration", result.accelerations),
                         ("deceleration", result.decelerations)):
        lines.append(" ".join([f"{kind}_starts", *(str(start) for start, _ in events)]))
        lines.append(" ".join([f"{kind}_ends", *(str(end) for _, end in events)]))
    bits = numpy.asarray(result.baseline, dtype=numpy.float64).view(numpy.uint64)
    return lines + [" ".join(["baseline", *(f"{value:016x}" for value in bits)])]


def analysis(*arguments):
    try:
        return ctgscore.analyze(*arguments)
    except ctgscore.AnalysisError as error:
        return error


def mirror(rate, parameters, mode, paths):
    """The driver's calls through the package. mode: "each" (one call per method, parameters
    set first), "params" (given to every call) or "numpy" (method="all", other int types)."""
    if parameters and mode == "each":
        ctgscore.set_parameters(ctgscore.Parameters(*parameters))
    params = ctgscore.Parameters(*parameters) if mode == "params" else None
    lines = []
    for path in paths:
        recording = ctgscore.read(path, rate=rate)
        if mode == "numpy":
            results = ctgscore.analyze(recording.fhr.astype(numpy.int64),
                                       recording.uc.astype(numpy.int16), recording.fm, rate, "all")
        else:
            traces = (recording.fhr.tolist(), recording.uc.tolist(), recording.fm.tolist())
            results = {method: analysis(*traces, rate, method, params) for method in METHODS}
        for method, result in results.items():
            lines += described_run(path.name, method, result)
    return lines


def assert_same_results(paths, rate=4, parameters=None, mode="each"):
    expected = pathlib.Path("expected.txt")
    subprocess.run([built("CTGSCORE_REFERENCE_DRIVER"), expected, str(rate),
                    ",".join(map(str, parameters)) if parameters else "-", *map(str, paths)],
                   check=True, stdout=subprocess.DEVNULL)
    assert in_fresh_process(mirror, rate, parameters, mode, paths) == \
        expected.read_text().splitlines()


@pytest.mark.parametrize("rate, parameters, mode, seeds, minutes", [
    (4, None, "each", (1, 2, 3), 20),
    (4, None, "numpy", (1, 2, 3), 20),
    (2, NON_DEFAULT, "each", (4,), 20),
    (1, NON_DEFAULT, "params", (5,), 20),
    (4, None, "each", (6, None), 3),  # too short for Fischer; no heart rate (None) fails all
])
def test_generated_recordings(tmp_path, rate, parameters, mode, seeds, minutes):
    paths = [tmp_path / f"generated{seed}.csv" for seed in seeds]
    for path, seed in zip(paths, seeds):
        fhr, uc, fm = recordings.generate(seed or 0, minutes, rate)
        recordings.write_csv(path, [0] * len(fhr) if seed is None else fhr, uc, fm, rate)
    assert_same_results(paths, rate, parameters, mode)
