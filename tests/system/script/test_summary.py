"""The line that a test run ends with: it counts all suites, and no silence passes for success."""
import pathlib
import subprocess

import pytest

SUMMARY = pathlib.Path(__file__).resolve().parents[3] / "script" / "lib" / "summary.py"
GTEST_OUTPUT = """[ RUN      ] A.B
a.cpp:4: Skipped
no namespaces
here
[  SKIPPED ] A.B (0 ms)
"""


def suite(*cases):
    return "<testsuites><testsuite>" + "".join(cases) + "</testsuite></testsuites>"


def case(name, content="", status=None, folder=""):
    status = f' status="{status}"' if status else ""
    return f'<testcase name="{name}" classname="{folder}"{status}>{content}</testcase>'


PASSED = case("good")


def summary(folder, reports, statuses):
    """(status, lines) of the summary of the suites, whose reports and runners' statuses are given by name."""
    for name, text in reports.items():
        (folder / f"{name}.xml").write_text(text)
    for name, status in statuses.items():
        (folder / f"{name}.status").write_text(f"{status}\n")
    names = dict.fromkeys([*reports, *statuses])
    done = subprocess.run([SUMMARY, folder, *names], capture_output=True, timeout=60)
    assert done.stderr == b""
    return done.returncode, done.stdout.decode().splitlines()


def test_all_suites_are_counted_together(tmp_path):
    reports = {"unit": suite(PASSED, PASSED), "system": suite(PASSED)}
    assert summary(tmp_path, reports, {"unit": 0, "system": 0}) == (0, ["3 passed, 0 failed, 0 skipped"])


def test_failures_and_errors_are_named_and_fail_the_run(tmp_path):
    report = suite(PASSED, case("bad", '<failure message="1 is\n not 2"/>', folder="a.b"), case("worse", "<error/>"))
    expected = ["failed: system: a.b.bad: 1 is not 2", "failed: system: worse", "1 passed, 2 failed, 0 skipped"]
    assert summary(tmp_path, {"system": report}, {"system": 1}) == (1, expected)


def test_skips_are_reported_with_their_reasons_and_do_not_fail_the_run(tmp_path):
    matched = '<skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>'
    report = suite(
        case("a", '<skipped message="no gdb"/>'),
        case("b", f"{matched}<system-out>{GTEST_OUTPUT}</system-out>", "notrun"),
        case("c", '<skipped message="SKIP_RETURN_CODE=77"/><system-out>no tool\n</system-out>', "notrun"),
        case("d", "<skipped/>"),
    )
    expected = ["skipped: x: a: no gdb", "skipped: x: b: no namespaces here", "skipped: x: c: no tool",
                "skipped: x: d: no reason given", "0 passed, 0 failed, 4 skipped"]
    assert summary(tmp_path, {"x": report}, {"x": 0}) == (0, expected)


def test_the_single_tests_of_a_program_are_counted_in_place_of_its_entry(tmp_path):
    (tmp_path / "unit").mkdir()
    (tmp_path / "unit/cli.ATest.xml").write_text(suite(
        case("a", folder="S"), case("b", '<failure message="1 is 2"/>', folder="S"), case("c", "<skipped/>", folder="S")))
    report = suite(case("cli.ATest", '<failure message="Failed"/>', "fail"), case("cli.BTest", "", "run"))
    assert summary(tmp_path, {"unit": report}, {"unit": 8}) == (1, [
        "failed: unit: S.b: 1 is 2", "skipped: unit: S.c: no reason given", "2 passed, 1 failed, 1 skipped"])


@pytest.mark.parametrize("own, passed", [(suite(PASSED, PASSED), 2), (suite(), 0), ("<testsuites><tests", 0), ("\0", 0)])
def test_a_program_that_failed_without_a_failed_test_counts_as_failed(tmp_path, own, passed):
    (tmp_path / "unit").mkdir()
    (tmp_path / "unit/cli.ATest.xml").write_text(own)
    report = suite(case("cli.ATest", '<failure message="Timeout"/>', "fail"))
    assert summary(tmp_path, {"unit": report}, {"unit": 8}) == (1, [
        "failed: unit: cli.ATest: Timeout", f"{passed} passed, 1 failed, 0 skipped"])


@pytest.mark.parametrize("bad, reason", [
    (case("a", "", "disabled"), "the test is disabled"),
    (case("a", '<skipped message="Unable to find executable"/>', "notrun"), "Unable to find executable"),
    (case("a", "", "notrun"), "notrun"),
])
def test_what_could_not_run_counts_as_failed(tmp_path, bad, reason):
    expected = [f"failed: x: a: {reason}", "1 passed, 1 failed, 0 skipped"]
    assert summary(tmp_path, {"x": suite(PASSED, bad)}, {"x": 8}) == (1, expected)


@pytest.mark.parametrize("reports, statuses, trouble", [
    ({"x": suite(PASSED)}, {"x": 124}, "the runner ended with status 124"),
    ({"x": suite(PASSED)}, {}, "the runner was not run to its end"),
    ({"x": suite(PASSED)}, {"x": "?"}, "the runner was not run to its end"),
])
def test_a_runner_that_ended_badly_counts_as_a_failure(tmp_path, reports, statuses, trouble):
    expected = [f"failed: x: (runner): {trouble}", "1 passed, 1 failed, 0 skipped"]
    assert summary(tmp_path, reports, statuses) == (1, expected)


@pytest.mark.parametrize("report", [suite(), "", "<testsuites><testsuite>", None])
def test_a_suite_that_ran_nothing_counts_as_a_failure(tmp_path, report):
    status, lines = summary(tmp_path, {} if report is None else {"x": report}, {"x": 0})
    assert (status, lines[-1]) == (1, "0 passed, 1 failed, 0 skipped")
    assert lines[0].startswith("failed: x: (runner): no ")


def test_no_suite_at_all_is_a_failure(tmp_path):
    expected = ["failed: none: (runner): no suite was named", "0 passed, 1 failed, 0 skipped"]
    assert summary(tmp_path, {}, {}) == (1, expected)
