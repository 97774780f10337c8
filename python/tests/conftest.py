import concurrent.futures
import multiprocessing
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


def built(variable):
    """The built program or library that CTest names in `variable`; skips the test without it."""
    return os.environ.get(variable) or pytest.skip(f"{variable} is not set (CTest sets it)")


def in_fresh_process(function, *arguments):
    """function(*arguments) in a new process, clear of the contraction filter's state."""
    spawn = multiprocessing.get_context("spawn")
    with concurrent.futures.ProcessPoolExecutor(1, mp_context=spawn) as fresh:
        return fresh.submit(function, *arguments).result()


@pytest.fixture(scope="session", autouse=True)
def session_directory(tmp_path_factory):
    """Module fixtures run here, so their analyzes' log lands in no source or build folder."""
    with pytest.MonkeyPatch.context() as patch:
        patch.chdir(tmp_path_factory.mktemp("session"))
        yield


@pytest.fixture(autouse=True)
def in_temporary_directory(tmp_path, monkeypatch):
    """Every test runs in its own directory, where the library's log lands."""
    monkeypatch.chdir(tmp_path)
