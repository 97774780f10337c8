import os
import pathlib
import sys

import pytest

PACKAGE_ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(PACKAGE_ROOT))


def data_dir():
    """The research recordings, or None when they are not beside the project."""
    default = PACKAGE_ROOT.parent.parent / "shared" / "data" / "fhrma"
    folder = pathlib.Path(os.environ.get("CTGSCORE_DATA_DIR", default))
    return folder if (folder / "train").is_dir() else None


@pytest.fixture(autouse=True)
def in_temporary_directory(tmp_path, monkeypatch):
    """Every test runs in its own directory, where the library's log lands."""
    monkeypatch.chdir(tmp_path)


@pytest.fixture
def reference_driver():
    driver = os.environ.get("CTGSCORE_REFERENCE_DRIVER")
    if not driver:
        pytest.skip("CTGSCORE_REFERENCE_DRIVER is not set (the tests run it through CTest)")
    return driver
