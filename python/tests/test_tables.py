"""analyze_files: one row per recording and method, the same whatever the jobs or the
order, the values and events of the command-line tool's batch, failures as rows."""

import json
import subprocess

import pandas
import pytest

import ctgscore
import processes
from conftest import built


def test_same_table_whatever_the_jobs_and_the_order(archive, archive_table):
    files = sorted(str(path) for path in archive.iterdir() if path.suffix != ".txt")
    pandas.testing.assert_frame_equal(
        ctgscore.analyze_files(files[::-1], jobs=2, progress=True), archive_table)


HEART_RATE = dict(baseline_bpm="baselineFhr", amplitude="variabilityAmplitude",
                  frequency="oscillationFrequency", accelerations="accelerationCount",
                  movements="movementCount")
POINTS = dict(baseline_points="baselineScore", amplitude_points="amplitudeScore",
              frequency_points="frequencyScore", acceleration_points="accelerationScore",
              deceleration_points="decelerationScore")
TYPES = dict(decelerations="decelerationExtra", deep_decelerations="decelerationCount",
             early_decelerations="decTypeCount1", late_decelerations="decTypeCount2",
             delayed_decelerations="decTypeCount3", other_decelerations="decTypeCount4",
             deceleration_pattern="decelerationPattern")
FLAGS = dict(acog_baseline="acogBaselineFlags", acog_variability="acogVariabilityFlags",
             acog_accelerations="acogAccelerationFlags", acog_early="acogDecFlagsA",
             acog_late="acogDecFlagsB", acog_delayed="acogDecFlagsC",
             acog_pattern="acogPatternFlags")
# Per method: table column -> the tool's name of the value.
TOOL_WORDS = {
    "krebs": {**HEART_RATE, **POINTS, "decelerations": "decelerationCount",
              "movement_points": "movementScore"},
    "fischer": {**HEART_RATE, **POINTS, **TYPES, "strong_contractions": "strongContractionFlag"},
    "acog": {**HEART_RATE, **TYPES, **FLAGS},
    "uc": dict(baseline_bpm="baselineFhr", movements="movementCount",
               last_contraction_peak="lastContractionPeak",
               last_contraction_end="lastContractionEnd",
               previous_contraction_end="previousContractionEnd",
               peak_contraction="peakContraction"),
}


def tool_rows(line):
    """The table rows of one file (their values but file and name) from its batch line."""
    if not line["ok"]:
        return [{"ok": False, "reason": line["error"]}]
    rows = []
    for result in line["results"]:
        words = result.get("words", {})
        row = {"method": result["method"], "ok": result["ok"], "reason": result.get("error"),
               "minutes": line["minutes"],
               "signal_loss": pytest.approx(line["signal_loss_percent"] / 100),
               "total_score": result.get("score"),
               "max_score": result.get("max_score")}
        row.update({column: "".join(map(str, words[word])) if "Flags" in word else words[word]
                    for column, word in TOOL_WORDS[result["method"]].items() if word in words})
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


def test_killed_analysis_process_gives_a_failure_row(archive, tmp_path):
    processes.assert_killed_analysis_gives_a_failure_row(archive / "rec1.fhr", tmp_path)


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
