"""The check of the includes of daemon and companion: each violation comes with its place, and what is sound passes in silence."""
import pathlib
import subprocess

import pytest

CHECK = pathlib.Path(__file__).resolve().parents[3] / "script" / "lib" / "lint_layers.py"


def check(folder, files, tree="src"):
    """(status, output) of the check of these files, each named below the tree with the headers that it includes."""
    for name, headers in files.items():
        path = folder / tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("".join(f'#include "{header}"\n' for header in headers))
    done = subprocess.run([CHECK, *(f"{tree}/{name}" for name in files)], cwd=folder, capture_output=True,
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


@pytest.mark.parametrize("name, header", [
    ("base/A.cpp", "log/B.h"),
    ("store/A.cpp", "evidence/B.h"),
    ("log/A.h", "processes/B.h"),
    ("evidence/A.cpp", "page/B.h"),
    ("processes/A.cpp", "store/BVerb.h"),
])
def test_an_include_of_a_higher_layer_of_the_companion_is_found(tmp_path, name, header):
    message = f"includes {header[:-2]}, which lies in a higher layer"
    assert check(tmp_path, {name: [header], header: []}, "ctl") == (1, f"ctl/{name}:1: {message}\n")


@pytest.mark.parametrize("name, header", [
    ("store/AVerb.cpp", "processes/B.h"),
    ("evidence/AVerb.cpp", "page/B.h"),
    ("page/A.cpp", "evidence/B.h"),
    ("processes/A.cpp", "page/B.h"),
    ("log/A.cpp", "store/B.h"),
    ("evidence/A.cpp", "base/B.h"),
])
def test_a_verb_of_the_companion_may_include_any_folder_and_others_what_lies_below(tmp_path, name, header):
    assert check(tmp_path, {name: [header], header: []}, "ctl") == (0, "")


def test_what_the_companion_includes_from_the_daemon_is_not_looked_at(tmp_path):
    assert check(tmp_path, {"base/A.cpp": ["evidence/CaptureTexts.h"]}, "ctl") == (0, "")


def test_a_circle_of_the_companion_is_found(tmp_path):
    files = {"log/A.cpp": ["log/B.h"], "log/B.h": ["log/A.h"], "log/A.h": []}
    assert check(tmp_path, files, "ctl") == (1, "ctl: these include one another: log/A, log/B\n")


def test_files_elsewhere_are_passed_over(tmp_path):
    path = tmp_path / "tests/a.cpp"
    path.parent.mkdir()
    path.write_text('#include "cli/B.h"\n')
    done = subprocess.run([CHECK, "tests/a.cpp"], cwd=tmp_path, capture_output=True, timeout=60)
    assert (done.returncode, done.stdout) == (0, b"")
