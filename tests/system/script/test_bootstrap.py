"""What the script that prepares a machine asks the package manager for, on a machine that has nothing."""
import os
import pathlib
import re
import subprocess

import pytest

SCRIPT = pathlib.Path(__file__).resolve().parents[3] / "script" / "bootstrap"
# The package manager of such a machine. It writes down what it installs, and has that from then on.
TOOLS = {
    "id": "echo 0",
    "apt-cache": 'shift; for name; do [ -e "$name" ] || echo "Package: $name"; done',
    "dpkg-query": 'while read -r name; do echo "$name installed"; done <installed',
    "apt-get": 'case " $* " in *" install "*) shift 4; [ -e broken ] || printf "%s\\n" "$@" >>installed ;; esac',
}


def words_of(row):
    """The packages of a row as they stand in the script, on however many lines."""
    return re.search(rf'^ *\[{row}\]="([a-z][^"]*[ \n][^"]*)"', SCRIPT.read_text(), re.M)[1].split()


@pytest.fixture
def machine(tmp_path):
    """Runs the script on such a machine; gives its status, the packages it installed, and its complaints."""
    (tmp_path / "bin").mkdir()
    (tmp_path / "installed").touch()
    for name, body in TOOLS.items():
        (tmp_path / "bin" / name).write_text(f"#!/bin/sh\n{body}\n")
        (tmp_path / "bin" / name).chmod(0o755)

    def run(*purposes):
        done = subprocess.run([SCRIPT, *purposes], cwd=tmp_path, capture_output=True, text=True, timeout=60,
                              env={**os.environ, "LC_ALL": "C", "PATH": f"{tmp_path}/bin:/usr/bin:/bin"})
        installed = [word for word in (tmp_path / "installed").read_text().split() if not word.startswith("-")]
        return done.returncode, installed, done.stderr

    return run


@pytest.mark.parametrize("purpose, rows", [
    ("build", ["build"]), ("demo", ["build", "demo"]), ("test", ["build", "demo", "test", "package"]),
    ("lint", ["build", "lint"]),
])
def test_every_package_of_a_purpose_is_installed_whatever_line_it_stands_on(machine, purpose, rows):
    wanted = {word for row in rows for word in words_of(row)}
    assert machine(f"--{purpose}") == (0, sorted(wanted), "")


def test_what_a_release_lacks_is_left_out_where_less_is_built_without_it(machine, tmp_path):
    (tmp_path / "rpmlint").touch()
    status, installed, said = machine("--test")
    assert status == 0 and "rpmlint" not in installed and "lintian" in installed
    assert said == "script/bootstrap: this release has no rpmlint, so the check of RPM packages is left out\n"


def test_nothing_is_installed_twice(machine):
    status, installed, _ = machine("--test")
    assert status == 0 and installed
    assert machine("--test") == (0, installed, "")


def test_an_installation_that_leaves_packages_out_is_a_failure_that_names_them(machine, tmp_path):
    (tmp_path / "broken").touch()
    missing = " ".join(sorted(words_of("build")))
    assert machine("--build") == (1, [], f"script/bootstrap: still missing after the installation: {missing}\n")
