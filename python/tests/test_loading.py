"""Finding the library, and saying where it was looked for when it is not found."""

import ctypes.util
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

import recordings
from conftest import PACKAGE_ROOT, built

# Prints the library loaded, whether its defaults are the package's and the Krebs score of
# each recording named.
PROBE = ("import ctgscore, sys; print(ctgscore.library_path(), ctgscore.get_parameters() == "
         "ctgscore.Parameters(), *(ctgscore.analyze(ctgscore.read(path)).total_score "
         "for path in sys.argv[1:]))")


def run(command, cwd, **env_changes):
    """`command` with no variable pointing at a library or the package but `env_changes`."""
    env = {key: value for key, value in os.environ.items() if key not in (
        "CTGSCORE_LIBRARY", "CTGSCORE_LIBRARY_DIR", "LD_LIBRARY_PATH", "PYTHONPATH")}
    env.update((key, str(value)) for key, value in env_changes.items())
    return subprocess.run(list(map(str, command)), cwd=cwd, env=env, capture_output=True,
                          text=True)


def probe(cwd, *paths, python=sys.executable, **env_changes):
    """What PROBE prints, as a list of words, after the library's log echo."""
    done = run([python, "-c", PROBE, *paths], cwd, **env_changes)
    assert done.returncode == 0, done.stderr
    return done.stdout.splitlines()[-1].split()


@pytest.mark.parametrize("variable, expected", [
    ("nowhere.so", ["nowhere.so: no such file"]),
    pytest.param(None, ["LibraryNotFoundError", "CTGSCORE_LIBRARY: not set",
                        os.path.join(sys.prefix, "lib", "libctgscore.so.1"),
                        "libctgscore.so.1:", 'find_library("ctgscore")', "Set CTGSCORE_LIBRARY"],
                 marks=pytest.mark.skipif(ctypes.util.find_library("ctgscore") is not None,
                                          reason="libctgscore is installed system-wide")),
])
def test_library_not_found_names_the_places_tried(tmp_path, variable, expected):
    """A wrong CTGSCORE_LIBRARY is reported, not bypassed."""
    wrong = {"CTGSCORE_LIBRARY": str(tmp_path / variable)} if variable else {}
    failed = run([sys.executable, "-c", PROBE], tmp_path, PYTHONPATH=PACKAGE_ROOT, **wrong)
    assert failed.returncode != 0
    assert [text for text in expected if text not in failed.stderr] == [], failed.stderr


def test_variable_may_name_the_folder(tmp_path):
    library = pathlib.Path(built("CTGSCORE_LIBRARY"))
    found = probe(tmp_path, PYTHONPATH=PACKAGE_ROOT, CTGSCORE_LIBRARY=library.parent)
    assert found == [str(library.parent / "libctgscore.so.1"), "True"]


@pytest.mark.skipif(shutil.which("cmake") is None or not os.path.exists("/usr/bin/python3"),
                    reason="needs CMake and Debian's Python")
def test_pip_install_into_a_fresh_virtual_environment(tmp_path):
    """From a copy of the sources: with CTGSCORE_LIBRARY_DIR the package remembers that
    folder; without it pip builds the library into the package, found with no variable."""
    library = pathlib.Path(built("CTGSCORE_LIBRARY"))
    project, needed = tmp_path / "project", ("CMakeLists.txt", "cmake", "include", "src", "io", "python")
    shutil.copytree(PACKAGE_ROOT.parent, project, ignore=lambda folder, names: [
        name for name in names if name in ("tests", "build", "__pycache__")
        or name.endswith(".egg-info")
        or (folder == str(PACKAGE_ROOT.parent) and name not in needed)])
    venv = tmp_path / "venv"
    run(["/usr/bin/python3", "-m", "venv", "--system-site-packages", venv], tmp_path)
    pip = [venv / "bin" / "pip", "install", "--no-build-isolation"]
    for options, env in (([], {}), (["--no-deps", "--target", tmp_path / "site"],
                                    {"CTGSCORE_LIBRARY_DIR": library.parent})):
        done = run([*pip, *options, "./python"], project, **env)
        assert done.returncode == 0, done.stdout[-3000:] + done.stderr[-3000:]
    assert probe(tmp_path, PYTHONPATH=tmp_path / "site") == [
        str(library.parent / "libctgscore.so.1"), "True"]
    recordings.write_csv(tmp_path / "rec.csv", *recordings.generate(seed=4, minutes=10), 4)
    found, same_defaults, score = probe(tmp_path, "rec.csv", python=venv / "bin" / "python")
    assert pathlib.Path(found).relative_to(venv / "lib").parts[1:] == (
        "site-packages", "ctgscore", "libctgscore.so.1")
    assert same_defaults == "True" and 0 <= int(score) <= 12
