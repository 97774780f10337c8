"""analyze_files: one row per recording and method, the same whatever the jobs or the
order, the same values as the command-line tool's batch, failures as rows."""

import concurrent.futures
import json
import os
import subprocess

import pandas
import pytest

import ctgscore
import processes
import recordings


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    """Four generated recordings, one broken file, one too short for every method."""
    folder = tmp_path_factory.mktemp("recordings")
    for seed in range(1, 5):
        fhr, uc, fm = recordings.generate(seed, minutes=12)
        writer = [lambda p: recordings.write_csv(p, fhr, uc, fm, 4),
                  lambda p: recordings.write_fhrma(p, fhr, uc)][seed % 2]
        writer(folder / f"rec{seed}.{['csv', 'fhr'][seed % 2]}")
    (folder / "broken.csv").write_text("fhr,uc,fm\n140\n")
    recordings.write_csv(folder / "short.csv", *recordings.generate(9, minutes=1)[:2], [0] * 30, 4)
    (folder / "short.csv").write_text("\n".join((folder / "short.csv").read_text()
                                                .splitlines()[:121]) + "\n")
    (folder / "notes.txt").write_text("not a recording\n")
    return folder


@pytest.fixture(scope="module")
def table(folder):
    return ctgscore.analyze_files(folder, progress=False)


def test_same_table_whatever_the_jobs_and_the_order(folder, table):
    files = sorted(str(path) for path in folder.iterdir() if path.suffix != ".txt")
    pandas.testing.assert_frame_equal(
        ctgscore.analyze_files(files[::-1], jobs=2, progress=True), table)
    assert list(table.columns) == [name for name, _ in ctgscore.COLUMNS]
    assert len(table) == 4 * 4 + 1 + 4
    broken = table[table.name == "broken"].iloc[0]
    assert broken.method is None and not broken.ok
    assert broken.reason == f"{folder / 'broken.csv'}: line 2: 1 fields, the header has 3"
    short = table[table.name == "short"]
    assert short.method.tolist() == list(ctgscore.METHODS) and not short.ok.any()
    assert short.reason.str.contains("minimum length").all()


COMPARED = {"baseline_bpm": "baselineFhr", "movements": "movementCount",
            "amplitude": "variabilityAmplitude", "frequency": "oscillationFrequency",
            "accelerations": "accelerationCount", "peak_contraction": "peakContraction"}


def tool_values(result):
    """The compared values of one method's entry of a batch line."""
    words = result.get("words", {})
    found = "decelerationCount" if result["method"] == "krebs" else "decelerationExtra"
    return {"ok": result["ok"], "reason": result.get("error"), "total_score": result.get("score"),
            "decelerations": words.get(found),
            **{column: words.get(word) for column, word in COMPARED.items()}}


def table_values(row):
    values = {column: row[column] for column in ["ok", "reason", "total_score", "decelerations",
                                                 *COMPARED]}
    return {column: None if pandas.isna(value) else value for column, value in values.items()}


def test_rows_and_events_agree_with_the_tool(tool, folder, table, tmp_path):
    out = tmp_path / "batch.jsonl"
    subprocess.run([tool, "batch", str(folder), "--out", str(out)], check=True,
                   capture_output=True)
    lines = [json.loads(line) for line in out.read_text().splitlines()]
    assert sorted(set(table.file)) == [line["file"] for line in lines]
    for line in lines:
        rows = table[table.file == line["file"]]
        if not line["ok"]:
            assert rows.reason.tolist() == [line["error"]]
            continue
        assert [table_values(row) for _, row in rows.iterrows()] == [
            tool_values(result) for result in line["results"]], line["file"]
        assert rows.signal_loss.iloc[0] * 100 == pytest.approx(line["signal_loss_percent"])
        if not all(result["ok"] for result in line["results"]):
            continue
        events = ctgscore.analyze(ctgscore.read(line["file"]), method="all").events()
        for result in line["results"]:
            for kind in ("acceleration", "deceleration"):
                mine = events[(events.method == result["method"]) & (events.kind == kind)]
                assert mine[["start", "end", "start_s", "end_s"]].to_dict("records") == \
                    result.get(kind + "s", []), (line["file"], result["method"], kind)


def test_killed_analysis_process_gives_a_failure_row(folder, tmp_path):
    fifo = tmp_path / "stuck.csv"
    os.mkfifo(fifo)  # opening it for reading blocks the analysis process
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        killer = pool.submit(processes.kill_analysis_of, fifo)
        table = ctgscore.analyze_files([fifo, folder / "rec1.fhr"], methods="krebs")
        killer.result()
    assert table.ok.tolist() == [True, False]
    assert table.reason[1] == (f"{fifo}: the analysis process was killed by signal 9 "
                               "(SIGKILL)")


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
