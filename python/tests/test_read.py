"""read gives the command-line tool's values for a file of each format."""

import json
import subprocess

import ctgscore
import recordings
from conftest import built


def test_read_gives_the_tools_values(tmp_path):
    fhr, uc, fm = recordings.generate(seed=5, minutes=6)
    recordings.write_csv(tmp_path / "gen.csv", fhr, uc, fm, 4)
    recordings.write_fhrma(tmp_path / "gen.fhr", fhr, uc, start=1700000000)
    recordings.write_wfdb(tmp_path, "gen", fhr, uc, 4)
    paths = [tmp_path / name for name in ("gen.csv", "gen.fhr", "gen.hea")]
    out = subprocess.run([built("CTGSCORE_READER_DRIVER"), "1", "4", *map(str, paths)],
                         check=True, capture_output=True, text=True).stdout
    for path, line in zip(paths, out.splitlines(), strict=True):
        recording = ctgscore.read(path)
        assert json.loads(line) == {
            "file": str(path), "ok": True, "name": recording.name, "rate": recording.rate,
            "fhr": recording.fhr.tolist(), "uc": recording.uc.tolist(),
            "fm": recording.fm.tolist(), "start": recording.start_seconds,
            "signal_loss": recording.signal_loss}, path
