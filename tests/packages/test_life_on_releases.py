"""The packages on minimal hosts of other releases, with the dependencies that the archive has: script/test --packages.

For each release one throw-away host goes through all steps of scenario.sh; the tests look at what each step saw.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

import pytest

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(CHECKOUT / "tests/system"))

from host import packages  # noqa: E402

PACKAGES = pathlib.Path(os.environ.get("THSENTINEL_PACKAGES", CHECKOUT / "build/packages"))
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME", "/var/cache")) / "thsentinel"
NO_DISTRIBUTION = 77
NAMES = sorted(path.name.partition("_")[0] for path in PACKAGES.glob(f"thsentinel*_{packages.VERSION}_*.deb"))
SUFFIXES = ["DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData"]


def steps_of(text):
    """Name of a step to the lines that it printed."""
    parts = re.split(r"^=== (\w+)\n", text, flags=re.MULTILINE)
    return {name: lines.splitlines() for name, lines in zip(parts[1::2], parts[2::2])}


@pytest.fixture(scope="module", params=["bookworm", "trixie"])
def steps(request, tmp_path_factory):
    """What the host of a release saw. Its tree stays minimal, since every run is on a host that is thrown away."""
    assert NAMES, f"no packages in {PACKAGES}: run script/package"
    under_test = CHECKOUT / "build" / request.param / "packages-under-test"
    shutil.rmtree(under_test, ignore_errors=True)
    (under_test / "higher").mkdir(parents=True)
    for name in NAMES:
        shutil.copy(packages.path_of(PACKAGES, name), under_test)
        shutil.copy(packages.higher(PACKAGES, name, tmp_path_factory.mktemp(name)), under_test / "higher")
    environment = dict(os.environ, THSENTINEL_DISTRIBUTIONS=os.environ.get(
        "THSENTINEL_MINIMAL_DISTRIBUTIONS", str(CACHE / "minimal")))
    done = subprocess.run(
        [CHECKOUT / "script/distribution", request.param, "script/host", "--share", "/var/cache/apt/archives", "--",
         "sh", "tests/packages/scenario.sh", "build/packages-under-test"],
        env=environment, capture_output=True, text=True, check=False, timeout=1800)
    if done.returncode == NO_DISTRIBUTION:
        pytest.skip(done.stderr.strip())
    (under_test / "seen.txt").write_text(done.stdout + done.stderr)
    seen = steps_of(done.stdout)
    assert "end" in seen, f"the scenario broke off:\n{done.stdout[-3000:]}{done.stderr[-3000:]}"
    return seen


def test_an_installation_brings_dependencies_and_starts_nothing(steps):
    seen = steps["install"]
    assert seen.count("status 0") == 2
    assert {f"{name} {packages.VERSION} installed" for name in NAMES} <= set(seen)
    assert len([line for line in seen if re.match(r"(gdb|sysstat|net-tools|procps) .* installed$", line)]) == 4
    assert {f"Tarnhaven_{packages.VERSION}", "700 root /var/lib/thsentinel/evidence", "holder 3"} <= set(seen)


def test_the_init_script_starts_the_daemon(steps):
    assert {"status 0", "holder 0"} <= set(steps["start"])


def test_a_breach_leaves_a_whole_set_for_root_alone(steps):
    seen = steps["breach"]
    assert {"core 0", "Memory 0", "Network 0", "Disk 0", "mpstat 0"} <= set(seen)
    files = [line.split(" ", 3) for line in seen if re.match(r"\d{3} ", line)]
    assert {mode for mode, *_ in files} == {"600", "700"}
    assert {user for _, user, *_ in files} == {"root"}
    kinds = {path.rpartition("_Memory.")[2] for *_, size, path in files if "_Memory." in path and int(size) > 0}
    assert len(kinds) == len(SUFFIXES) + 1 and set(SUFFIXES) <= kinds
    assert int(seen[-1]) >= 1, "gdb finds the thread in the core"


def test_an_upgrade_keeps_all_and_leaves_one_new_daemon(steps):
    seen = steps["upgrade"]
    assert {f"{name} {packages.HIGHER} installed" for name in NAMES} <= set(seen)
    assert {"status 0", "holder 0", "restarted", "1", "store kept", "evidence kept"} <= set(seen)


def test_a_removal_stops_the_daemon(steps):
    seen = steps["remove"]
    assert {"status 0", "store kept", "0"} <= set(seen)


def test_a_purge_leaves_evidence_and_store_and_says_so(steps):
    seen = steps["purge"]
    assert seen.count("thsentinel: the evidence in /var/lib/thsentinel/evidence is kept. Remove it by hand when "
                      "nobody needs it.") == 1
    assert "logs gone" in seen
    assert seen[-1] == "logs gone", "nothing else is left"
    (count,) = [int(line.split()[1]) for line in seen if re.match(r"evidence \d", line)]
    assert count >= 6, "the files of the first set at least"
