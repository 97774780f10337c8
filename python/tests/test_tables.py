"""analyze_files: one row per recording and method, the same whatever the jobs, the order
or the Dask cluster, the values and events of the command-line tool's batch, and a failure
row, never a missing one, when an analysis process or a worker is killed; score items
worded as the tool's."""

import concurrent.futures
import json
import os
import pathlib
import signal
import subprocess
import time

import pandas
import pytest

import ctgscore
import recordings
from conftest import PACKAGE_ROOT, built, data_dir, in_fresh_process

# Dask's tornado event loop warns on start-up.
pytestmark = pytest.mark.filterwarnings("ignore:make_current is deprecated:DeprecationWarning")


@pytest.fixture(scope="module")
def archive(tmp_path_factory):
    """Eight generated recordings (CSV and FHRMA, of upper-case extension), a broken file, one
    too short for every method and a file that is no recording."""
    folder = tmp_path_factory.mktemp("archive")
    for seed in range(8):
        fhr, uc, fm = recordings.generate(seed, minutes=10 + seed)
        if seed % 2:
            recordings.write_fhrma(folder / f"rec{seed}.FHR", fhr, uc)
        else:
            recordings.write_csv(folder / f"rec{seed}.csv", fhr, uc, fm, 4)
    (folder / "broken.csv").write_text("fhr,uc,fm\n140\n")
    fhr, uc, _ = recordings.generate(9, minutes=1)
    recordings.write_csv(folder / "short.csv", fhr[:120], uc[:120], [0] * 30, 4)
    (folder / "notes.txt").write_text("not a recording\n")
    return folder


@pytest.fixture(scope="module")
def archive_table(archive):
    """The table of the archive, one analysis process at a time on this machine."""
    return ctgscore.analyze_files(archive, progress=False)


def test_same_table_whatever_the_jobs_and_the_order(archive, archive_table):
    files = sorted(str(path) for path in archive.iterdir() if path.suffix != ".txt")
    pandas.testing.assert_frame_equal(
        ctgscore.analyze_files(files[::-1], ["uc", "acog", "fischer", "krebs"], jobs=2,
                               progress=True), archive_table)


# Table column -> the tool's name of the value; a method's row holds the values the tool
# gives for it.
# Read as pairs of a column and a word.
TOOL_WORDS = dict(zip(*[iter("""
    baseline_bpm baselineFhr                amplitude variabilityAmplitude
    frequency oscillationFrequency          accelerations accelerationCount
    decelerations decelerationExtra         deep_decelerations decelerationCount
    movements movementCount                 baseline_points baselineScore
    amplitude_points amplitudeScore         frequency_points frequencyScore
    acceleration_points accelerationScore   deceleration_points decelerationScore
    movement_points movementScore           early_decelerations decTypeCount1
    late_decelerations decTypeCount2        delayed_decelerations decTypeCount3
    other_decelerations decTypeCount4       deceleration_pattern decelerationPattern
    strong_contractions strongContractionFlag
    acog_baseline acogBaselineFlags         acog_variability acogVariabilityFlags
    acog_accelerations acogAccelerationFlags
    acog_early acogDecFlagsA                acog_late acogDecFlagsB
    acog_delayed acogDecFlagsC              acog_pattern acogPatternFlags
    last_contraction_peak lastContractionPeak
    last_contraction_end lastContractionEnd
    previous_contraction_end previousContractionEnd
    peak_contraction peakContraction""".split())] * 2))
# The Krebs method counts every deceleration in decelerationCount and no deep ones.
KREBS_WORDS = {**TOOL_WORDS, "decelerations": "decelerationCount", "deep_decelerations": None}


def tool_rows(line):
    """The table rows of one file (their values but file and name) from its batch line."""
    if not line["ok"]:
        return [{"ok": False, "reason": line["error"]}]
    rows = []
    for result in line["results"]:
        words = result.get("words", {})
        row = {"method": result["method"], "ok": result["ok"], "reason": result.get("error"),
               "minutes": line["minutes"], "total_score": result.get("score"),
               "signal_loss": pytest.approx(line["signal_loss_percent"] / 100),
               "max_score": result.get("max_score")}
        row.update({column: "".join(map(str, words[word])) if "Flags" in word else words[word]
                    for column, word in (KREBS_WORDS if result["method"] == "krebs"
                                         else TOOL_WORDS).items() if word in words})
        rows.append({column: value for column, value in row.items() if value is not None})
    return rows


def table_rows(rows):
    return [{column: value for column, value in row.items()
             if column not in ("file", "name") and not pandas.isna(value)}
            for row in rows.to_dict("records")]


def tool_events(line):
    return [{"method": result["method"], "kind": kind, **event} for result in line["results"]
            for kind in ("acceleration", "deceleration") for event in result.get(kind + "s", [])]


def test_rows_and_events_agree_with_the_tool(archive, archive_table, tmp_path):
    out = tmp_path / "batch.jsonl"
    subprocess.run([built("CTGSCORE_TOOL"), "batch", str(archive), "--out", str(out)],
                   check=True, capture_output=True)
    lines = [json.loads(line) for line in out.read_text().splitlines()]
    assert sorted(set(archive_table.file)) == [line["file"] for line in lines]
    for line in lines:
        rows = archive_table[archive_table.file == line["file"]]
        assert table_rows(rows) == tool_rows(line), line["file"]
        if not line["ok"] or not all(result["ok"] for result in line["results"]):
            continue
        events = ctgscore.analyze(ctgscore.read(line["file"]), method="all").events()
        assert events[events.kind.isin(["acceleration", "deceleration"])].to_dict(
            "records") == tool_events(line), line["file"]


def score_items(path):
    results = ctgscore.analyze(ctgscore.read(path), method="all")
    return {method: [tuple(item) for item in result.score_items()]
            for method, result in results.items()}


# The example, and a research recording with deep decelerations and too few contractions.
RESEARCH = data_dir() / "train" / "train56.fhr" if data_dir() else None


@pytest.mark.parametrize("path", [
    PACKAGE_ROOT.parent / "examples" / "example.csv",
    pytest.param(RESEARCH, marks=pytest.mark.skipif(RESEARCH is None,
                                                    reason="research recordings not present"))])
def test_score_items_are_the_tools(path):
    out = subprocess.run([built("CTGSCORE_TOOL"), "analyze", "--format", "json", str(path)],
                         check=True, capture_output=True, text=True).stdout
    tool = {result["method"]: [(item["item"], item["text"], item.get("points"))
                               for item in result["items"]]
            for result in json.loads(out)["recordings"][0]["results"]}
    assert in_fresh_process(score_items, path) == tool


def test_method_facts_are_the_tools():
    printed = subprocess.run([built("CTGSCORE_FACTS_DRIVER")], check=True, capture_output=True,
                             text=True).stdout
    assert json.loads(printed) == [facts.as_json() for facts in ctgscore._methods.METHOD_FACTS]


def test_bad_arguments_raise(tmp_path):
    (tmp_path / "empty").mkdir()
    for argument, error, text in (
            (tmp_path / "empty", ctgscore.RecordingError, "no recordings"),
            (tmp_path / "absent", FileNotFoundError, "absent: no such file or folder"),
            ([], ValueError, "empty list"),
            (42, TypeError, "a folder, a file or a list")):
        with pytest.raises(error, match=text):
            ctgscore.analyze_files(argument)
    for options in (dict(jobs=0), dict(methods="apgar"), dict(fhr_channel=0),
                    dict(params=(1, 2))):
        with pytest.raises((ValueError, TypeError)):
            ctgscore.analyze_files(tmp_path, **options)


def _kill_first(choose, timeout=60):
    """Waits for an analysis process for which choose(pid, command words, parent) gives a
    pid, and kills that pid with SIGKILL."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                words = pathlib.Path(f"/proc/{pid}/cmdline").read_bytes().split(b"\0")
                parent = pathlib.Path(f"/proc/{pid}/stat").read_bytes().rsplit(b")")[-1].split()[1]
                victim = b"ctgscore._child" in words and choose(int(pid), words, int(parent))
            except (OSError, IndexError):  # the process has just ended
                continue
            if victim:
                os.kill(victim, signal.SIGKILL)
                return victim
        time.sleep(0.02)
    raise AssertionError(f"no analysis process to kill appeared within {timeout} s")


def analyze_files_killing(choose, *arguments, **options):
    """(analyze_files(...), the pid killed meanwhile by _kill_first(choose))."""
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        killer = pool.submit(_kill_first, choose)
        return ctgscore.analyze_files(*arguments, **options), killer.result()


@pytest.fixture(scope="module")
def cluster():
    """A client of a cluster of two single-threaded worker processes."""
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        yield client


@pytest.mark.parametrize("on_cluster", [False, True])
def test_killed_analysis_process_gives_one_failure_row(request, archive, tmp_path, on_cluster):
    """Opening a FIFO for reading blocks the analysis process until it is killed."""
    client = request.getfixturevalue("cluster") if on_cluster else None
    fifo, other = tmp_path / "stuck.csv", archive / "rec1.FHR"
    os.mkfifo(fifo)
    table, _ = analyze_files_killing(lambda pid, words, parent: os.fsencode(fifo) in words
                                     and pid, [fifo, other], methods="krebs", client=client)
    assert table[["file", "ok"]].values.tolist() == [[str(other), True], [str(fifo), False]]
    assert table.reason[1] == f"{fifo}: the analysis process was killed by signal 9 (SIGKILL)"


def test_cluster_gives_the_local_table_though_a_worker_dies(cluster, archive, archive_table):
    workers = set(cluster.run(os.getpid).values())
    table, killed = analyze_files_killing(lambda pid, words, parent: parent in workers
                                          and parent, archive, client=cluster)
    assert killed in workers
    pandas.testing.assert_frame_equal(table, archive_table)
