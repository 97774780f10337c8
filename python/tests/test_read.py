"""read gives the command-line tool's values and error texts (both use the readers'
library): generated files, broken ones, and every research recording."""

import json
import subprocess

import pytest

import ctgscore
import recordings
from conftest import built, data_dir


def tool_readings(paths, channel=1):
    """What the tool's reading of each file holds, one dict per file."""
    out = subprocess.run([built("CTGSCORE_READER_DRIVER"), str(channel), *map(str, paths)],
                         check=True, capture_output=True, text=True).stdout
    return [json.loads(line) for line in out.splitlines()]


def python_reading(path, channel=1):
    try:
        recording = ctgscore.read(path, fhr_channel=channel)
    except ctgscore.RecordingError as error:
        return {"file": str(path), "ok": False, "error": str(error)}
    return {"file": str(path), "ok": True, "name": recording.name, "rate": recording.rate,
            "fhr": recording.fhr.tolist(), "uc": recording.uc.tolist(),
            "fm": recording.fm.tolist(), "start": recording.start_seconds,
            "signal_loss": recording.signal_loss}


def test_generated_and_broken_files_read_as_the_tool_reads_them(tmp_path):
    fhr, uc, fm = recordings.generate(seed=5, minutes=6)
    recordings.write_csv(tmp_path / "gen.csv", fhr, uc, fm, 4)
    recordings.write_fhrma(tmp_path / "gen.fhr", fhr, uc, start=1700000000)
    (tmp_path / "broken.csv").write_text("fhr,uc\n140,x\n")
    (tmp_path / "gone.hea").write_text("gone 2 4\ngone.dat 16 100 0 0 0 0 0 FHR\n"
                                       "gone.dat 16 100 0 0 0 0 0 UC\n")
    paths = [tmp_path / name
             for name in ("gen.csv", "gen.fhr", "broken.csv", "gone.hea")]
    assert [python_reading(path) for path in paths] == tool_readings(paths)
    with pytest.raises(ctgscore.RecordingNotFoundError) as missing:
        ctgscore.read(tmp_path / "gen.dat.hea")
    assert missing.value.path == str(tmp_path / "gen.dat.hea")


@pytest.mark.parametrize("channel", [1, "max"])
def test_every_research_recording_reads_as_the_tool_reads_it(channel):
    folder = data_dir()
    if folder is None:
        pytest.skip("research recordings not present")
    paths = sorted((folder / "train").glob("*.fhr"))
    for path, expected in zip(paths, tool_readings(paths, channel), strict=True):
        assert python_reading(path, channel) == expected, path.name
