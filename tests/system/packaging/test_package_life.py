"""The life of the packages on a host: installed, at work, upgraded, removed, purged; and what may stand in their way."""
import os

import pytest

from host import Process, manager, packages, product, texts
from host.packages import BASE, COMPANION, MAIN

INIT = "/etc/init.d/thsentinel"
CONTROL = "/usr/lib/thsentinel/daemon-control"
PATIENCE = 240  # seconds for an installation; it stops and starts a daemon on the way
DEFAULT_EVIDENCE = "/var/lib/thsentinel/evidence"
BREACH = {"THHS_MONITOR_MEMORY": "exampled:1", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 1}
PRODUCT = ("Package: tarnhaven\nVersion: 1\nArchitecture: all\nMaintainer: x <x@x>\nProvides: tarnhaven-base\n"
           "Conflicts: tarnhaven-base\nDescription: the product\n")
LISTED = [Process(4321, "/opt/exampled", rss=90 * 1024)]


@pytest.fixture(name="bare")
def _bare(make_host, plain_build, debs, tmp_path):
    """Makes hosts without the program, on which packages can be installed."""
    if os.geteuid() != 0:
        pytest.skip("packages are installed by the superuser")

    def make(**description):
        host = make_host(processes=LISTED, store=BREACH, share=[debs, tmp_path], **description)
        host.shell(f"rm -r {product.BASE}; rm -f /usr/sbin/policy-rc.d; rm -f /var/lib/man-db/auto-update")
        return host

    return make


def dpkg(host, *words, status=0):
    """Runs dpkg and gives what it said."""
    result = host.run("/usr/bin/dpkg", *map(str, words), limit=PATIENCE)
    assert result.status == status, host.report(f"dpkg {words}: {result}")
    return result.output + result.errors


def install(host, debs):
    said = dpkg(host, "-i", packages.path_of(debs, BASE), packages.path_of(debs, MAIN))
    host.configure()
    return said


def higher(debs, folder):
    return [packages.higher(debs, name, folder) for name in (BASE, MAIN)]


def version(host, name):
    return host.shell(f"dpkg-query -W -f '${{Version}} ${{db:Status-Status}}' {name}")


def test_a_fresh_installation_starts_nothing_and_says_what_comes_next(bare, debs):
    host = bare()
    said = install(host, debs)
    assert "thsentinel: not started, since it needs settings first: see thsentinel.conf(5). Then:" in said
    assert host.daemons() == []
    assert host.run("/usr/sbin/thsentinel", "-version").output == texts.VERSION
    assert host.shell(f"stat -c '%a %U' {DEFAULT_EVIDENCE}") == "700 root\n"


def test_the_init_script_starts_reports_and_stops(bare, debs):
    host = bare()
    install(host, debs)
    stopped = host.run(INIT, "status")
    assert (stopped.status, host.run(INIT, "stop").status) == (3, 0)
    assert host.run(INIT, "start").status == 0
    before = host.daemon_pid()
    assert host.run(INIT, "status").status == 0
    assert host.run(INIT, "start").status == 0 and host.daemon_pid() == before
    assert host.run(INIT, "restart").status == 0
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()] != [before]
    assert host.run(INIT, "try-restart").status == 0 and len(host.daemons()) == 1
    assert host.run(INIT, "stop").status == 0
    assert host.daemons() == []
    assert host.run(INIT, "nonsense").status == 2


@pytest.mark.parametrize("functions", [None, 'log_success_msg() { echo "done: $*"; }\n'])
def test_the_init_script_needs_no_functions_of_debian(bare, debs, functions):
    host = bare()
    install(host, debs)
    host.remove("/lib/lsb/init-functions")
    if functions:
        host.put("/lib/lsb/init-functions", functions)
    assert host.run(INIT, "start") == (0, "Starting Tarnhaven Health Sentinel: thsentinel.\n", "")
    assert host.run(INIT, "status").output == f"thsentinel is running, process {host.daemon_pid()}\n"
    assert host.run(INIT, "stop") == (0, "Stopping Tarnhaven Health Sentinel: thsentinel.\n", "")
    host.configure(THHS_POLL_INTERVAL="0")
    failed = host.run(INIT, "start")
    assert (failed.status, failed.output) == (1, "Starting Tarnhaven Health Sentinel: thsentinel failed!\n")


def test_the_init_script_keeps_logs_and_evidence_for_root_alone(bare, debs):
    host = bare()
    install(host, debs)
    host.run("/bin/dash", "-c", f"umask 022; {INIT} start")
    host.after_pass(2)
    tree = [*host.ask("tree", "/evidence/thsentinel"), *host.ask("tree", product.LOGS)]
    assert len(tree) > 5
    assert [one for one in tree if one[2] & 0o077] == []


def test_an_upgrade_keeps_everything_and_restarts_the_daemon_that_ran(bare, debs, tmp_path):
    host = bare()
    install(host, debs)
    host.run(INIT, "start")
    host.after_pass(2)
    before, entries = host.daemon_pid(), len(host.log())
    evidence = host.evidence_paths()
    store = host.get(product.STORE)
    dpkg(host, "-i", *higher(debs, tmp_path))
    assert version(host, MAIN) == f"{packages.HIGHER} installed"
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()] != [before]
    assert host.get(product.STORE) == store
    assert set(evidence) <= set(host.evidence_paths())
    assert len(host.log()) > entries
    assert not host.exists("/run/thsentinel.restart")
    assert host.log().count(texts.STARTED) == 2, "one restart for both packages"


def test_an_upgrade_restarts_the_service_under_its_manager(bare, debs, tmp_path):
    if manager.why_no_manager():
        pytest.skip(manager.why_no_manager())
    host = bare()
    install(host, debs)
    service = manager.Managed(host, packaged=True)
    try:
        assert service.systemctl("enable", "--now", "thsentinel").status == 0
        before = service.main_pid()
        upgraded = service.run("/usr/bin/dpkg", "-i", *map(str, higher(debs, tmp_path)))
        assert upgraded.status == 0, upgraded
        assert service.state() == ("active", "success", "0")
        assert service.main_pid() == host.daemon_pid() != before
        assert len(host.daemons()) == 1
        assert service.run("/usr/bin/dpkg", "-r", MAIN).status == 0
        assert host.daemons() == []
        assert service.run("/usr/bin/find", "/etc/systemd/system", "-lname", "*thsentinel.service").output == ""
    finally:
        service.close()


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_the_timer_of_the_companion_is_off_until_it_is_enabled_and_goes_with_its_package(bare, debs):
    if manager.why_no_manager():
        pytest.skip(manager.why_no_manager())
    host = bare()
    service = manager.Managed(host, packaged=True)
    timer = "thsentinel-prune.timer"
    try:
        # The host lacks the libraries' packages, not the libraries.
        assert service.run("/usr/bin/dpkg", "--force-depends", "-i", str(packages.path_of(debs, COMPANION))).status == 0
        assert service.systemctl("is-enabled", timer).output == "disabled\n"
        assert service.systemctl("enable", "--now", timer).status == 0
        assert service.systemctl("is-active", timer).output == "active\n"
        assert service.run("/usr/bin/dpkg", "-r", COMPANION).status == 0
        assert service.systemctl("is-active", timer).output == "inactive\n"
        assert service.run("/usr/bin/find", "/etc/systemd/system", "-lname", f"*{timer}").output == ""
    finally:
        service.close()


def test_an_upgrade_starts_no_daemon_where_none_ran(bare, debs, tmp_path):
    host = bare()
    install(host, debs)
    dpkg(host, "-i", *higher(debs, tmp_path))
    assert host.daemons() == []


def test_a_new_base_library_alone_restarts_the_daemon(bare, debs, tmp_path):
    host = bare()
    install(host, debs)
    host.run(INIT, "start")
    before = host.daemon_pid()
    made = packages.higher(debs, BASE, tmp_path)
    dpkg(host, "--force-depends", "-i", made)
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()] != [before]


def test_a_removal_stops_and_a_purge_leaves_evidence_and_says_where(bare, debs):
    host = bare()
    install(host, debs)
    host.run(INIT, "start")
    host.after_pass(2)
    evidence = host.evidence_paths()
    dpkg(host, "-r", MAIN)
    assert host.daemons() == []
    assert host.exists(product.LOGS) and host.exists(product.STORE)
    said = dpkg(host, "--purge", MAIN, BASE)
    assert "thsentinel: the evidence in /evidence/thsentinel is kept. Remove it by hand when nobody needs it." in said
    assert f"the settings in {product.STORE} are kept." in said
    assert host.evidence_paths() == evidence != []
    assert host.exists(product.STORE) and not host.exists(product.LOGS)
    assert not host.exists(INIT)


def test_a_daemon_that_does_not_end_keeps_its_package(bare, debs):
    host = bare()
    install(host, debs)
    host.run(INIT, "start")
    held = host.daemon_pid()
    host.kill(held, 19)
    host.shell("sed -i 's/ stop 90/ stop 2/' /var/lib/dpkg/info/thsentinel.prerm")
    said = dpkg(host, "-r", MAIN, status=1)
    assert f"thsentinel: the daemon, process {held}, has not ended within 2 s of being asked to." in said
    assert "thsentinel: the package stays as it is, since its daemon still runs." in said
    assert host.exists(product.PROGRAM) and host.exists(CONTROL)
    host.kill(held, 18)
    host.until_gone()


def test_an_upgrade_that_met_a_stuck_daemon_is_finished_later(bare, debs, tmp_path):
    host = bare()
    install(host, debs)
    host.run(INIT, "start")
    held = host.daemon_pid()
    host.kill(held, 19)
    dpkg(host, "--unpack", *higher(debs, tmp_path))
    dpkg(host, "--configure", BASE)
    host.shell("sed -i 's/ 90 / 2 /' /var/lib/dpkg/info/thsentinel.postinst")
    said = dpkg(host, "--configure", MAIN, status=1)
    assert "thsentinel: the new version is installed, but the old daemon still runs." in said
    host.kill(held, 18)
    host.until_gone()
    dpkg(host, "--configure", MAIN)
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()] != [held]


@pytest.mark.parametrize("file", ["lib/libthbase.so", "bin/txlogcfg"])
def test_a_file_of_the_product_is_never_overwritten(bare, debs, file):
    host = bare()
    path = f"{product.HOME}/{file}"
    host.put(path, "the product's own\n", 0o755)
    said = dpkg(host, "-i", packages.path_of(debs, BASE), status=1)
    assert f"thsentinel-standalone: {path} is there and is not of this package." in said
    assert host.get(path) == "the product's own\n"
    assert host.shell(f"ls -A {os.path.dirname(path)}").split() == [os.path.basename(path)]


def test_the_product_can_bring_the_base_library(bare, debs):
    host = bare()
    host.put("/tmp/product/DEBIAN/control", PRODUCT)
    host.shell("dpkg-deb -b /tmp/product /tmp/product.deb")
    dpkg(host, "-i", "/tmp/product.deb", packages.path_of(debs, MAIN))
    said = dpkg(host, "-i", packages.path_of(debs, BASE), status=1)
    assert "conflicting packages" in said
    assert version(host, MAIN) == f"{packages.VERSION} installed"


def test_the_product_takes_the_place_of_the_base_library_and_the_daemon_goes_on(bare, debs):
    host = bare()
    install(host, debs)
    host.run(INIT, "start")
    before = host.daemon_pid()
    host.put("/tmp/product/DEBIAN/control", PRODUCT + "Replaces: tarnhaven-base\n")
    host.shell(f"mkdir -p /tmp/product{product.HOME}/lib && cp {product.LIBRARY} /tmp/product{product.LIBRARY}"
               " && dpkg-deb -b /tmp/product /tmp/product.deb")
    # dpkg alone refuses; apt first takes the package away that is in conflict.
    result = host.run("/usr/bin/apt-get", "-y", "install", "/tmp/product.deb", limit=PATIENCE)
    assert result.status == 0, result
    assert version(host, MAIN) == f"{packages.VERSION} installed"
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()] != [before]
    assert host.shell(f"dpkg-query -S {product.LIBRARY}") == f"tarnhaven: {product.LIBRARY}\n"


def test_a_full_disk_during_an_upgrade_leaves_the_old_version_at_work(bare, debs, tmp_path):
    host = bare()
    host.shell(f"mkdir -p {product.HOME}/bin && mount -t tmpfs -o size=900k bin {product.HOME}/bin")
    install(host, debs)
    host.run(INIT, "start")
    before = host.daemon_pid()
    host.shell(f"head -c 10M /dev/zero >{product.HOME}/bin/filler 2>/dev/null || true")
    said = dpkg(host, "--force-depends", "-i", packages.higher(debs, MAIN, tmp_path), status=1)
    assert "No space left on device" in said
    assert [one["pid"] for one in host.daemons()] == [before]
    assert host.run("/usr/sbin/thsentinel", "-version").output == texts.VERSION


def test_an_evidence_folder_on_a_missing_mount_is_said_and_nothing_starts(bare, debs):
    host = bare()
    install(host, debs)
    host.configure(THHS_EVIDENCE_PATH="/srv/mount")
    result = host.run(INIT, "start")
    assert result.status == 1
    assert ("Invalid value for THHS_EVIDENCE_PATH : /srv/mount. Specified folder does not exist. "
            "thsentinel will not start.") in result.output + result.errors
    assert host.daemons() == []
    assert host.run(INIT, "status").status == 3
