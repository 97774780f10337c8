import os
import pathlib
import sys

import pytest

PACKAGE_ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(PACKAGE_ROOT))

import ctgscore  # noqa: E402
import recordings  # noqa: E402


def data_dir():
    """The research recordings, or None when they are not beside the project."""
    default = PACKAGE_ROOT.parent.parent / "shared" / "data" / "fhrma"
    folder = pathlib.Path(os.environ.get("CTGSCORE_DATA_DIR", default))
    return folder if (folder / "train").is_dir() else None


def built(variable):
    """The built program or library that CTest names in `variable`; skips the test without it."""
    return os.environ.get(variable) or pytest.skip(f"{variable} is not set (CTest sets it)")


@pytest.fixture(scope="session", autouse=True)
def session_directory(tmp_path_factory):
    """Shared fixtures run here, so the library's log of their analyses lands in no source
    or build folder."""
    with pytest.MonkeyPatch.context() as patch:
        patch.chdir(tmp_path_factory.mktemp("session"))
        yield


@pytest.fixture(autouse=True)
def in_temporary_directory(tmp_path, monkeypatch):
    """Every test runs in its own directory, where the library's log lands."""
    monkeypatch.chdir(tmp_path)


@pytest.fixture(scope="session")
def archive(tmp_path_factory):
    """Eight generated recordings (CSV and FHRMA), a broken file, one too short for every
    method and a file that is no recording."""
    folder = tmp_path_factory.mktemp("archive")
    for seed in range(8):
        fhr, uc, fm = recordings.generate(seed, minutes=10 + seed)
        if seed % 2:
            recordings.write_fhrma(folder / f"rec{seed}.fhr", fhr, uc)
        else:
            recordings.write_csv(folder / f"rec{seed}.csv", fhr, uc, fm, 4)
    (folder / "broken.csv").write_text("fhr,uc,fm\n140\n")
    fhr, uc, _ = recordings.generate(9, minutes=1)
    recordings.write_csv(folder / "short.csv", fhr[:120], uc[:120], [0] * 30, 4)
    (folder / "notes.txt").write_text("not a recording\n")
    return folder


@pytest.fixture(scope="session")
def archive_table(archive):
    """The table of the archive, one analysis process at a time on this machine."""
    return ctgscore.analyze_files(archive, progress=False)
