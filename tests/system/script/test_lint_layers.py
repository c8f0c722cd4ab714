"""The check of the daemon's includes: each violation comes with its place, and what is sound passes in silence."""
import pathlib
import subprocess

import pytest

CHECK = pathlib.Path(__file__).resolve().parents[3] / "script" / "lib" / "lint_layers.py"


def check(folder, files):
    """(status, output) of the check of these files, each named below src/ with the headers that it includes."""
    for name, headers in files.items():
        path = folder / "src" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("".join(f'#include "{header}"\n' for header in headers))
    done = subprocess.run([CHECK, *(f"src/{name}" for name in files)], cwd=folder, capture_output=True,
                          text=True, timeout=60)
    assert done.stderr == ""
    return done.returncode, done.stdout


@pytest.mark.parametrize("name, header", [
    ("base/A.cpp", "platform/B.h"),
    ("platform/A.h", "config/B.h"),
    ("config/A.cpp", "counters/B.h"),
    ("config/A.cpp", "evidence/B.h"),
    ("config/A.h", "logcontrol/B.h"),
    ("counters/A.cpp", "cli/B.h"),
    ("platform/THUEnv.cpp", "platform/B.h"),
])
def test_an_include_of_a_higher_layer_is_found(tmp_path, name, header):
    message = f"includes {header[:-2]}, which lies in a higher layer"
    assert check(tmp_path, {name: ["base/Z.h", header]}) == (1, f"src/{name}:2: {message}\n")


@pytest.mark.parametrize("name, header", [
    ("cli/A.cpp", "counters/B.h"),
    ("counters/A.cpp", "evidence/B.h"),
    ("counters/A.cpp", "config/B.h"),
    ("config/A.cpp", "platform/B.h"),
    ("platform/A.cpp", "base/B.h"),
    ("base/A.cpp", "config/Mutex.h"),
    ("base/A.cpp", "config/THCrossPlatformMapping.h"),
    ("base/A.cpp", "platform/THUEnv.h"),
    ("base/A.cpp", "thbase.h"),
])
def test_an_include_of_the_own_layer_of_a_lower_one_or_of_a_leaf_passes(tmp_path, name, header):
    assert check(tmp_path, {name: [header]}) == (0, "")


def test_a_folder_without_a_layer_is_found(tmp_path):
    assert check(tmp_path, {"new/A.cpp": ["base/B.h"]}) == (1, "src/new/A.cpp:1: new/A lies in no layer\n")


def test_a_circle_of_files_is_found_once_though_it_goes_through_sources(tmp_path):
    files = {"config/A.cpp": ["config/A.h", "config/B.h"], "config/B.h": ["config/C.h"],
             "config/C.cpp": ["config/A.h"]}
    assert check(tmp_path, files) == (1, "src: these include one another: config/A, config/B, config/C\n")


def test_files_elsewhere_are_passed_over(tmp_path):
    path = tmp_path / "tests/a.cpp"
    path.parent.mkdir()
    path.write_text('#include "cli/B.h"\n')
    done = subprocess.run([CHECK, "tests/a.cpp"], cwd=tmp_path, capture_output=True, timeout=60)
    assert (done.returncode, done.stdout) == (0, b"")
