"""The program around the unit tests: each test in a process of its own, and none lost whatever it does."""
import os
import re
import shutil
import subprocess
import tempfile
import xml.etree.ElementTree

import pytest

from host import product

GOOD = "State.*"


@pytest.fixture(name="run")
def run_sample(tmp_path):
    """Runs the sample's tests of this filter; gives status, output, and each test of the report with its case."""
    program = product.build_folder() / "tests/unit/runner_sample"
    if not program.exists():
        pytest.skip(f"needs the build in {product.build_folder()}")

    def run(tests, *arguments):
        report = tmp_path / "report.xml"
        done = subprocess.run([program, f"--gtest_filter={tests}", f"--report={report}", *arguments],
                              capture_output=True, timeout=120, check=False)
        cases = xml.etree.ElementTree.parse(report).iter("testcase") if report.exists() else []
        return (done.returncode, done.stdout.decode(errors="replace"),
                {f"{one.get('classname')}.{one.get('name')}": one for one in cases})
    return run


def failure(case):
    return case.find("failure").get("message")


def test_no_state_passes_from_one_test_to_the_next(run):
    status, output, cases = run(GOOD)
    assert status == 0
    assert output.endswith("2 passed, 0 failed, 0 skipped; 2 without a host\n")
    assert list(cases) == ["State.IsFreshInTheFirst", "State.IsFreshInTheSecond"]


def test_a_test_that_fails_crashes_or_ends_the_process_has_failed_and_the_others_run(run):
    status, output, cases = run("Bad.*-*Anything:State.*")
    assert status == 1
    assert output.endswith("0 passed, 3 failed, 0 skipped; 3 without a host\n")
    assert "Expected equality" in failure(cases["Bad.Fails"])
    assert "Signal 6 ended the test." in failure(cases["Bad.Aborts"])
    assert "The test ended its process with status 0." in failure(cases["Bad.EndsWithSuccess"])


def test_a_run_may_end_at_its_first_failure(run):
    _, output, cases = run("Bad.*", "--fail-fast")
    assert list(cases) == ["Bad.Fails"]
    assert output.endswith("0 passed, 1 failed, 0 skipped; 1 without a host\n")


def test_any_output_can_be_reported(run):
    _, _, cases = run("Bad.WritesAnything")
    text = cases["Bad.WritesAnything"].find("failure").text
    assert len(text) < 100000
    assert text.startswith("[...]xxxx")


def test_a_program_that_skips_all_its_tests_says_so_and_why(run):
    status, _, cases = run("Skipped.*")
    assert status == 77
    assert cases["Skipped.SaysWhy"].find("skipped").get("message") == "because"


@pytest.mark.parametrize("tests, arguments", [("Nothing.*", []), (GOOD, ["--file=/NoSuch.cpp"]), (GOOD, ["--wrong"])])
def test_a_run_without_a_test_or_with_a_wrong_argument_fails(run, tests, arguments):
    assert run(tests, *arguments)[0] == 1


def test_the_tests_of_one_source_can_be_chosen(run):
    assert list(run(GOOD, "--file=/sample/SampleTest.cpp")[2]) == ["State.IsFreshInTheFirst", "State.IsFreshInTheSecond"]


def test_a_test_without_a_host_cannot_change_the_machine(run):
    assert run("Machine.*")[0] == 0


def test_the_temporary_folder_of_a_test_goes_with_it(run):
    _, output, _ = run("Folder.*")
    folder = re.search("TMPDIR=(.+)", output)[1]
    assert not os.path.exists(folder)


def test_a_process_that_a_test_leaves_is_ended(run):
    _, output, _ = run("Orphan.*")
    pid = re.search(r"orphan (\d+)", output)[1]
    assert not os.path.exists(f"/proc/{pid}")


def test_tests_that_need_a_host_get_one_that_is_reset_between_them(run, hosts_possible):
    status, output, cases = run("OnHost.*:State.*")
    assert status == 1
    assert output.endswith("5 passed, 1 failed, 0 skipped; 2 without a host\n")
    assert {name for name, one in cases.items() if one.get("host") == "true"} == {
        "OnHost.FindsNothingOfTheSecond", "OnHost.FindsNothingOfTheFirst", "OnHost.Fails", "OnHost.GoesOnAfterAFailure"}
    assert cases["OnHost.GoesOnAfterAFailure"].find("failure") is None


def test_a_build_in_a_folder_that_is_reset_between_tests_stays(hosts_possible):
    """The host shares the folder of the program, at its own path, with the machine."""
    program = product.build_folder() / "tests/unit/runner_sample"
    if not program.exists():
        pytest.skip(f"needs the build in {product.build_folder()}")
    with tempfile.TemporaryDirectory(dir="/tmp") as folder:
        shutil.copy(program, folder)
        os.makedirs(f"{folder}/below")
        shutil.copy(program, f"{folder}/below/kept")
        done = subprocess.run([f"{folder}/runner_sample", "--gtest_filter=OnHost.*-*.Fails"], capture_output=True,
                              timeout=120, check=False)
        assert done.stdout.decode().endswith("3 passed, 0 failed, 0 skipped; 0 without a host\n")
        assert sorted(os.listdir(folder)) == ["below", "runner_sample"]
        assert os.listdir(f"{folder}/below") == ["kept"]
