"""The package words the results as the command-line tool does: its score items are the
`items` of the tool's JSON."""

import json
import subprocess

import pytest

import ctgscore
from conftest import PACKAGE_ROOT, built, data_dir, in_fresh_process


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
