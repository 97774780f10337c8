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


def _built_program(variable):
    program = os.environ.get(variable)
    if not program:
        pytest.skip(f"{variable} is not set (the tests run it through CTest)")
    return program


@pytest.fixture
def reference_driver():
    return _built_program("CTGSCORE_REFERENCE_DRIVER")


@pytest.fixture
def reader_driver():
    """The command-line tool's readers, writing what they read as JSON lines."""
    return _built_program("CTGSCORE_READER_DRIVER")


@pytest.fixture
def tool():
    """The ctgscore command-line tool."""
    return _built_program("CTGSCORE_TOOL")
