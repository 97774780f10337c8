"""The package returns exactly what the C++ interface returns for the same calls.

Both sides run in fresh processes making the same sequence of calls, since the
library's contraction filter carries its state from call to call.
"""

import difflib
import pathlib
import subprocess
import sys

import pytest

import recordings
from conftest import data_dir

ALL = "krebs,fischer,acog,uc"
MIRROR = pathlib.Path(__file__).with_name("mirror_calls.py")
NON_DEFAULT = "5,2,15,20,60,12,15,90,8,7,30,20,7,8,40,2,900"

def compare(driver, tmp_path, rate, methods, parameters, mode, csvs):
    expected, actual = tmp_path / "expected.txt", tmp_path / "actual.txt"
    args = [str(rate), methods, parameters]
    subprocess.run([driver, str(expected), *args, *map(str, csvs)], check=True,
                   stdout=subprocess.DEVNULL, cwd=tmp_path)
    subprocess.run([sys.executable, str(MIRROR), str(actual), *args, mode, *map(str, csvs)],
                   check=True, stdout=subprocess.DEVNULL, cwd=tmp_path)
    want, got = expected.read_text().splitlines(), actual.read_text().splitlines()
    assert len(want) > 0
    if want != got:
        diff = difflib.unified_diff(want, got, "C++ interface", "Python package", lineterm="")
        pytest.fail("\n".join(line[:300] for line in list(diff)[:40]))


def generated(tmp_path, rate, seeds=(1, 2, 3), minutes=20):
    paths = []
    for seed in seeds:
        path = tmp_path / f"generated{seed}_{minutes}min.csv"
        recordings.write_csv(path, *recordings.generate(seed, minutes, rate), rate)
        paths.append(path)
    return paths


@pytest.mark.parametrize("mode", ["each", "all", "numpy"])
def test_generated_recordings(reference_driver, tmp_path, mode):
    compare(reference_driver, tmp_path, 4, ALL, "-", mode, generated(tmp_path, 4))


def test_other_rates(reference_driver, tmp_path):
    compare(reference_driver, tmp_path, 2, ALL, "-", "each", generated(tmp_path, 2, (4,)))
    compare(reference_driver, tmp_path, 1, ALL, "-", "each", generated(tmp_path, 1, (5,)))


@pytest.mark.parametrize("mode", ["each", "params"])
def test_non_default_parameters(reference_driver, tmp_path, mode):
    compare(reference_driver, tmp_path, 4, ALL, NON_DEFAULT, mode, generated(tmp_path, 4, (6,)))


def test_rejected_recordings_fail_alike(reference_driver, tmp_path):
    """Three minutes are too short for Fischer only; an all-zero trace fails everywhere."""
    short = generated(tmp_path, 4, (7,), minutes=3)
    silent = tmp_path / "silent.csv"
    recordings.write_csv(silent, [0] * 2400, [10] * 2400, [0] * 600, 4)
    compare(reference_driver, tmp_path, 4, ALL, "-", "each", short + [silent])


def test_research_recordings(reference_driver, tmp_path):
    folder = data_dir()
    if folder is None:
        pytest.skip("research recordings absent")
    csvs = sorted((folder / "train").glob("*.csv"))[:3] + sorted(
        (folder / "train" / "fhrmax").glob("*.csv"))[:1]
    compare(reference_driver, tmp_path, 4, ALL, "-", "each", csvs)
