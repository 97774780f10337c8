"""Finding the library, and saying where it was looked for when it is not found."""

import ctypes
import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

import recordings

PACKAGE_ROOT = pathlib.Path(__file__).resolve().parents[1]
PROBE = "import ctgscore; print(ctgscore.library_path())"


def run_python(code, cwd, **env_changes):
    env = {key: value for key, value in os.environ.items()
           if key not in ("CTGSCORE_LIBRARY", "LD_LIBRARY_PATH")}
    env.update({"PYTHONPATH": str(PACKAGE_ROOT), **env_changes})
    return subprocess.run([sys.executable, "-c", code], cwd=cwd, env=env,
                          capture_output=True, text=True)


def built_library():
    path = os.environ.get("CTGSCORE_LIBRARY")
    if not path:
        pytest.skip("CTGSCORE_LIBRARY is not set (the tests run it through CTest)")
    return pathlib.Path(path)


def installed_on_system():
    try:
        ctypes.CDLL("libctgscore.so.1")
        return True
    except OSError:
        return False


@pytest.mark.skipif(installed_on_system(), reason="libctgscore is installed system-wide")
def test_missing_library_names_every_place_tried(tmp_path):
    probe = run_python(PROBE, tmp_path)
    assert probe.returncode != 0
    message = probe.stderr
    assert "LibraryNotFoundError" in message
    for place in ("CTGSCORE_LIBRARY: not set", os.path.join(sys.prefix, "lib", "libctgscore.so.1"),
                  "libctgscore.so.1:", 'find_library("ctgscore")', "Set CTGSCORE_LIBRARY"):
        assert place in message


def test_wrong_variable_is_reported_not_bypassed(tmp_path):
    probe = run_python(PROBE, tmp_path, CTGSCORE_LIBRARY=str(tmp_path / "nowhere.so"))
    assert probe.returncode != 0
    assert f"{tmp_path / 'nowhere.so'}: no such file" in probe.stderr


def test_variable_may_name_the_folder(tmp_path):
    library = built_library()
    probe = run_python(PROBE + "; print(ctgscore.get_parameters() == ctgscore.Parameters())",
                       tmp_path, CTGSCORE_LIBRARY=str(library.parent))
    assert probe.returncode == 0, probe.stderr
    path, library_has_our_defaults = probe.stdout.split()
    assert pathlib.Path(path).parent == library.parent
    assert library_has_our_defaults == "True"


@pytest.mark.skipif(importlib.util.find_spec("wheel") is None,
                    reason="building offline needs the wheel package")
def test_installed_package_remembers_the_library_folder(tmp_path):
    library = built_library()
    source = shutil.copytree(PACKAGE_ROOT, tmp_path / "source",
                             ignore=shutil.ignore_patterns("tests", "build", "*.egg-info"))
    target = tmp_path / "site"
    env = dict(os.environ, CTGSCORE_LIBRARY_DIR=str(library.parent))
    install = subprocess.run(
        [sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-index",
         "--no-deps", "--target", str(target), str(source)],
        cwd=tmp_path, env=env, capture_output=True, text=True)
    if install.returncode != 0 and "No module named pip" in install.stderr:
        pytest.skip("pip is not available")
    assert install.returncode == 0, install.stderr
    probe = run_python(PROBE, tmp_path, PYTHONPATH=str(target))
    assert probe.returncode == 0, probe.stderr
    assert pathlib.Path(probe.stdout.strip()).parent == library.parent


@pytest.mark.skipif(shutil.which("cmake") is None or not os.path.exists("/usr/bin/python3"),
                    reason="needs CMake and Debian's Python")
def test_pip_builds_the_library_into_the_package(tmp_path):
    """`pip install --no-build-isolation ./python` in a fresh virtual environment, from a
    copy of the sources the library is built from; then no variable is needed."""
    project = tmp_path / "project"
    project.mkdir()
    for part in ("CMakeLists.txt", "cmake", "include", "src", "python"):
        source = PACKAGE_ROOT.parent / part
        if source.is_dir():
            shutil.copytree(source, project / part, ignore=shutil.ignore_patterns(
                "tests", "build", "*.egg-info", "__pycache__"))
        else:
            shutil.copy2(source, project / part)
    venv = tmp_path / "venv"
    subprocess.run(["/usr/bin/python3", "-m", "venv", "--system-site-packages", str(venv)],
                   check=True, capture_output=True)
    env = {key: value for key, value in os.environ.items() if key not in (
        "CTGSCORE_LIBRARY", "CTGSCORE_LIBRARY_DIR", "LD_LIBRARY_PATH", "PYTHONPATH")}
    install = subprocess.run([venv / "bin" / "pip", "install", "--no-build-isolation",
                              "./python"], cwd=project, env=env, capture_output=True, text=True)
    assert install.returncode == 0, install.stdout[-3000:] + install.stderr[-3000:]
    recording = tmp_path / "rec.csv"
    recordings.write_csv(recording, *recordings.generate(seed=4, minutes=10), 4)
    probe = subprocess.run(
        [venv / "bin" / "python", "-c", "import ctgscore; r = ctgscore.read('rec.csv'); "
         "print(ctgscore.analyze(r).total_score, ctgscore.library_path())"],
        cwd=tmp_path, env=env, capture_output=True, text=True)
    assert probe.returncode == 0, probe.stderr
    score, library = probe.stdout.splitlines()[-1].split()
    assert 0 <= int(score) <= 12
    assert pathlib.Path(library).relative_to(venv / "lib").parts[1:] == (
        "site-packages", "ctgscore", "libctgscore.so.1")
