"""The report of a ctest that can't write JUnit: it counts as that of a newer one does."""
import pathlib
import subprocess

import pytest

CHECKOUT = pathlib.Path(__file__).resolve().parents[3]
PROJECT = """cmake_minimum_required(VERSION 3.18)
project(sample NONE)
enable_testing()
add_test(NAME good COMMAND sh -c "echo fine")
add_test(NAME bad COMMAND sh -c "echo no; exit 3")
add_test(NAME skipped COMMAND sh -c "echo no tool; exit 77")
set_tests_properties(skipped PROPERTIES SKIP_RETURN_CODE 77)
add_test(NAME gone COMMAND /nowhere/at/all)
"""


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=60, check=False, **options)


@pytest.fixture(name="build")
def configured_build(tmp_path):
    (tmp_path / "CMakeLists.txt").write_text(PROJECT)
    assert run("cmake", "-S", tmp_path, "-B", tmp_path / "build", "-G", "Ninja").returncode == 0
    return tmp_path / "build"


def test_each_end_of_a_test_counts_as_what_it_is(build, tmp_path):
    status = run("ctest", "-T", "Test", "--no-compress-output", cwd=build).returncode
    assert run(CHECKOUT / "script/lib/ctest_junit.py", build, tmp_path / "unit.xml").returncode == 0
    (tmp_path / "unit.status").write_text(str(status))
    summary = run(CHECKOUT / "script/lib/summary.py", tmp_path, "unit")
    assert (summary.returncode, summary.stdout.splitlines()) == (1, [
        "failed: unit: bad: Failed 3",
        "skipped: unit: skipped: no tool",
        "failed: unit: gone: Unable to find executable",
        "1 passed, 2 failed, 1 skipped"])


def test_without_a_report_it_fails(build, tmp_path):
    done = run(CHECKOUT / "script/lib/ctest_junit.py", build, tmp_path / "unit.xml")
    assert (done.returncode, (tmp_path / "unit.xml").exists()) == (1, False)
    assert done.stderr == f"script/lib/ctest_junit.py: no report of ctest below {build}\n"
