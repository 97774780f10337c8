"""ctgscore.read gives the values and the error texts of the command-line tool's readers."""

import json
import subprocess

import pytest

import ctgscore
import recordings
from conftest import built, data_dir


def described(path, channel=1, rate=4):
    """What read gets from a file, in the reader driver's form."""
    try:
        recording = ctgscore.read(path, fhr_channel=channel, rate=rate)
    except ctgscore.RecordingError as error:
        return {"file": str(path), "ok": False, "error": str(error)}
    return {"file": str(path), "ok": True, "name": recording.name, "rate": recording.rate,
            "fhr": recording.fhr.tolist(), "uc": recording.uc.tolist(),
            "fm": recording.fm.tolist(), "start": recording.start_seconds,
            "signal_loss": recording.signal_loss}


def assert_same_reads(paths, channel=1, rate=4):
    """read gets from each file what the tool's readers get."""
    out = subprocess.run([built("CTGSCORE_READER_DRIVER"), str(channel), str(rate),
                          *map(str, paths)], check=True, capture_output=True, text=True).stdout
    expected = [json.loads(line) for line in out.splitlines()]
    assert len(expected) == len(paths)
    for path, want in zip(paths, expected):
        assert described(path, channel, rate) == want, path


ODD_CSV = (b"\xef\xbb\xbfuc, FM ,fhr\r\n20,0,140.5\r\n21.4,4,0.4\r\n0x1A,8, +1e2\r\n"
           b"\r\n-2.5,4,-0.5\r\n1e6,0,0.49999999999999994\r\n 7 ,12,2.5\r\n")


@pytest.fixture
def generated_files(tmp_path):
    fhr, uc, fm = recordings.generate(seed=5, minutes=6, rate=4)
    recordings.write_csv(tmp_path / "gen.csv", fhr, uc, fm, 4)
    recordings.write_fhrma(tmp_path / "gen.fhr", fhr, uc, start=1700000000)
    recordings.write_fhrma(tmp_path / "nostart.fhr", fhr[:40], uc[:40])
    recordings.write_wfdb(tmp_path, "gen", fhr, uc, 4)
    (tmp_path / "odd.csv").write_bytes(ODD_CSV)
    (tmp_path / "split.hea").write_text(
        "split 2 2\n# signals in two files, offsets and defaults\n"
        "fhr.dat 16+4 0 12 -500 0 0 0 fhr\nuc.dat 16 2.5(10)/nd 12 0 0 0 0 UC\n")
    (tmp_path / "fhr.dat").write_bytes(b"\0" * 4 + recordings.format16_bytes([(27500,), (28105,)]))
    (tmp_path / "uc.dat").write_bytes(recordings.format16_bytes([(61,), (-32768,)]))
    return tmp_path


@pytest.mark.parametrize("channel, rate", [(1, 4), (2, 4), ("max", 2)])
def test_generated_files_of_every_format(generated_files, channel, rate):
    names = ["gen.csv", "gen.fhr", "nostart.fhr", "gen.hea", "gen.dat", "odd.csv", "split.hea"]
    assert_same_reads([generated_files / name for name in names], channel, rate)


# Files the readers refuse, each for another reason (name: content).
BROKEN = {
    "empty.csv": b"", "blank.csv": b"\n \r\n", "header.csv": b"fhr,uc,fm\n",
    "nouc.csv": b"fhr,fm\n140,0\n", "twice.csv": b"fhr,FHR,uc\n1,2,3\n",
    "short.csv": b"fhr,uc,fm\n140,10,0\n141,10\n", "word.csv": b"fhr,uc,fm\n140,abc,0\n",
    "emptycell.csv": b"fhr,uc,fm\n140,,0\n", "nan.csv": b"fhr,uc,fm\nnan,1,0\n",
    "trailing.csv": b"fhr,uc,fm\n140,1\x0b,0\n", "huge.csv": b"fhr,uc\n1e7,1\n",
    "long.csv": b"fhr,uc\n140," + b"9" * 50 + b"x\n",
    "cut.fhr": recordings.fhrma_bytes(0, [(560, 560, 20)] * 2)[:15], "tiny.fhr": b"\0\0",
    "header.fhr": b"\0" * 4,
    "norecord.hea": b"# only a comment\n", "badcount.hea": b"rec two 4\n",
    "segments.hea": b"rec/2 2 4\n", "badrate.hea": b"rec 2 x\n",
    "halfrate.hea": b"rec 2 4.5\nr.dat 16 100 12 0 0 0 0 FHR\nr.dat 16 100 12 0 0 0 0 UC\n",
    "fewer.hea": b"rec 2 4 3\nr.dat 16 100 12 0 0 0 0 FHR\n",
    "notoco.hea": b"rec 2 4 3\nr.dat 16 100 12 0 0 0 0 FHR\nr.dat 16 100 12 0 0 0 0 TOCO\n",
    "format.hea": b"rec 2 4\nr.dat 212 100 12 0 0 0 0 FHR\nr.dat 212 100 12 0 0 0 0 UC\n",
    "frames.hea": b"rec 2 4\nr.dat 16x2 100 0 0 0 0 0 FHR\nr.dat 16 1 0 0 0 0 0 UC\n",
    "gain.hea": b"rec 2 4\nr.dat 16 inf 0 0 0 0 0 FHR\nr.dat 16 1 0 0 0 0 0 UC\n",
    "truncated.hea": b"rec 2 4 4\nr.dat 16 100 12 0 0 0 0 FHR\nr.dat 16 100 12 0 0 0 0 UC\n",
    "nodata.hea": b"rec 2 4\nmissing.dat 16 100 0 0 0 0 0 FHR\nmissing.dat 16 1 0 0 0 0 0 UC\n",
}


def test_broken_files_give_the_tools_error_text(tmp_path):
    (tmp_path / "r.dat").write_bytes(recordings.format16_bytes([(14000, 2000)] * 3))
    for name, content in BROKEN.items():
        (tmp_path / name).write_bytes(content)
    (tmp_path / "folder.csv").mkdir()
    assert_same_reads([tmp_path / name for name in [*BROKEN, "absent.csv", "absent.dat",
                                                      "folder.csv"]])
    with pytest.raises(FileNotFoundError):
        ctgscore.read(tmp_path / "absent.fhr")


def test_format_is_recognised_from_the_content(generated_files):
    def content(path):
        return {key: value for key, value in described(path).items() if key not in ("file", "name")}

    for proper, disguised in (("gen.csv", "gen_csv.fhr"), ("gen.fhr", "gen_fhr"),
                              ("gen.fhr", "gen_fhr.csv"), ("gen.hea", "gen_hea.txt")):
        (generated_files / disguised).write_bytes((generated_files / proper).read_bytes())
        assert content(generated_files / disguised) == content(generated_files / proper)
    (generated_files / "notes.txt").write_text("fetal heart rate notes\n")
    with pytest.raises(ctgscore.RecordingError, match="notes.txt: unknown format"):
        ctgscore.read(generated_files / "notes.txt")
    for bad in (dict(fhr_channel=3), dict(fhr_channel=True), dict(rate=0)):
        with pytest.raises(ValueError):
            ctgscore.read(generated_files / "gen.csv", **bad)


@pytest.mark.skipif(data_dir() is None, reason="research recordings not present")
@pytest.mark.parametrize("channel, csvs", [(1, "*.csv"), ("max", "fhrmax/*.csv")])
def test_research_recordings(channel, csvs):
    train = data_dir() / "train"
    assert_same_reads(sorted(train.glob("*.fhr")) + sorted(train.glob(csvs)), channel)
