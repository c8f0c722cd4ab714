"""What systemd-tmpfiles does with the two files that the packages bring for it."""
import os

import pytest

from host import missing_tools, product

FOLDERS = product.CHECKOUT / "packaging/tmpfiles/thsentinel.conf"
LOGS = product.CHECKOUT / "packaging/tmpfiles/thsentinel-logs.conf"
LOG = "root.010120_00001.log"


@pytest.fixture(name="tmpfiles")
def _tmpfiles(host):
    """Runs systemd-tmpfiles with one of the files as its only one."""
    if missing_tools(["systemd-tmpfiles"]):
        pytest.skip("not installed: systemd-tmpfiles")
    if os.geteuid() != 0:
        pytest.skip("folders of root are made by the superuser")

    def run(action, file):
        host.put("/run/snippet.conf", file.read_text())
        assert host.run("/usr/bin/systemd-tmpfiles", action, "/run/snippet.conf").status == 0

    return run


def test_old_logs_go_and_the_folder_stays(host, tmpfiles):
    # The change of an inode can't be dated back, so the cleaning happens a hundred days later.
    host.put(f"{product.LOGS}/{LOG}", "a line\n")
    if missing_tools(["faketime"]):
        pytest.skip("not installed: faketime")
    host.put("/run/snippet.conf", LOGS.read_text())
    later = host.run("/usr/bin/env", "NO_FAKE_STAT=1", "/usr/bin/faketime", "+100 days", "/usr/bin/systemd-tmpfiles",
                     "--clean", "/run/snippet.conf")
    assert later.status == 0, later
    assert not host.exists(f"{product.LOGS}/{LOG}")
    assert host.exists(product.LOGS)


def test_young_logs_and_evidence_stay(host, tmpfiles):
    evidence = "/var/lib/thsentinel/evidence/thsentinel/exampled/1/Evidence1/core"
    host.put(f"{product.LOGS}/{LOG}", "a line\n")
    host.put(evidence, "a core\n")
    host.shell(f"touch -d '4000 days ago' {evidence}")
    for file in (LOGS, FOLDERS):
        tmpfiles("--clean", file)
    assert host.exists(f"{product.LOGS}/{LOG}") and host.exists(evidence)


def test_the_evidence_folder_is_made_for_root_alone(host, tmpfiles):
    host.shell("rm -rf /var/lib/thsentinel")
    tmpfiles("--create", FOLDERS)
    assert host.shell("stat -c '%a %U' /var/lib/thsentinel /var/lib/thsentinel/evidence") == "755 root\n700 root\n"
