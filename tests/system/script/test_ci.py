""".ci/run: where it runs the tests, and what its status and its last line say."""
import shutil
import subprocess

import pytest

from host import product

LAST = "5 passed, 0 failed, 0 skipped"


@pytest.fixture(name="run")
def make_run(tmp_path):
    """Runs it beside scripts with a given end; gives the status, the output and the calls of script/test."""
    (tmp_path / ".ci").mkdir()
    (tmp_path / "script").mkdir()
    (tmp_path / "bin").mkdir()
    shutil.copy(product.CHECKOUT / ".ci/run", tmp_path / ".ci")

    def put(path, body):
        (tmp_path / path).write_text(f"#!/bin/sh\n{body}\n")
        (tmp_path / path).chmod(0o755)

    def run(user=0, lint=0, there=0, here=0):
        put("bin/id", f"echo {user}")
        put("script/bootstrap", "")
        put("script/lint", f"exit {lint}")
        put("script/test", f'echo "$THSENTINEL_DISTRIBUTIONS: $*" >>calls; '
                           f'case $1 in --on) [ {there} = 77 ] || echo {LAST}; exit {there} ;; esac; '
                           f"echo {LAST}; exit {here}")
        done = subprocess.run([tmp_path / ".ci/run"], env={"PATH": f"{tmp_path}/bin:/usr/bin:/bin"}, text=True,
                              capture_output=True, timeout=60, check=False)
        return done.returncode, done.stdout.splitlines(), (tmp_path / "calls").read_text().splitlines()

    return run


def test_as_root_the_tests_run_in_a_debian_of_their_own_that_is_gone_afterwards(run, tmp_path):
    status, said, calls = run()
    folder, _, words = calls[0].partition(": ")
    assert (status, said[-1], len(calls)) == (0, LAST, 1)
    assert words.startswith("--on bookworm --unit --system --until ")
    assert folder.startswith("/var/tmp/thsentinel-ci.") and not (tmp_path / folder).exists()


@pytest.mark.parametrize("how", [{"user": 1000}, {"there": 77}])
def test_where_there_can_be_no_such_debian_they_run_on_the_machine(run, how):
    status, said, calls = run(**how)
    assert (status, said[-1]) == (0, LAST)
    assert said[-2] == ".ci/run: no Debian for this run, so the tests run on this machine"
    assert calls[-1].startswith(": --until ")


@pytest.mark.parametrize("how", [{"lint": 1}, {"there": 1}, {"there": 77, "here": 1}, {"lint": 1, "there": 77}])
def test_a_failure_of_the_checks_or_of_the_tests_is_one_of_the_run(run, how):
    status, said, _ = run(**how)
    assert (status, said[-1]) == (1, LAST)
