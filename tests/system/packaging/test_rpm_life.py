"""What the scripts of the .rpm packages do, on a host that has rpm beside its own packages."""
import os

import pytest

from host import Process, packages, product
from host.packages import BASE, MAIN

CONTROL = "/usr/lib/thsentinel/daemon-control"
STORE = {"THHS_MONITOR_MEMORY": "exampled:1"}


@pytest.fixture(name="bare")
def _bare(make_host, plain_build, rpms):
    """A host without the program, on which packages can be installed."""
    if os.geteuid() != 0:
        pytest.skip("packages are installed by the superuser")
    host = make_host(processes=[Process(4321, "/opt/exampled", rss=90 * 1024)], store=STORE, share=[rpms])
    host.shell(f"rm -r {product.BASE}")
    return host


def rpm(host, *words, status=0):
    """Runs rpm, which takes the tools of its packages for missing on this host, and gives what it said."""
    # Debian's older versions ask for this before they install anything.
    forced = ["--force-debian"] if host.run("/usr/bin/rpm", "--force-debian", "--version").status == 0 else []
    result = host.run("/usr/bin/rpm", *forced, "--nodeps", *map(str, words), limit=240)
    assert result.status == status, host.report(f"rpm {words}: {result}")
    return result.output + result.errors


def files(rpms):
    return [packages.path_of(rpms, name, "rpm") for name in (BASE, MAIN)]


def test_an_upgrade_restarts_the_daemon_that_ran_and_an_erasure_ends_it(bare, rpms):
    said = rpm(bare, "-i", *files(rpms))
    assert "thsentinel: not started, since it needs settings first: see thsentinel.conf(5). Then:" in said
    bare.configure()
    assert bare.run(CONTROL, "start").status == 0
    before = bare.daemon_pid()
    rpm(bare, "-U", "--replacepkgs", *files(rpms))
    assert [one["pid"] for one in bare.daemons()] == [bare.daemon_pid()] != [before]
    said = rpm(bare, "-e", MAIN)
    assert bare.daemons() == []
    assert "thsentinel: logs, settings and evidence are kept. These folders hold evidence:" in said
    assert "    /evidence/thsentinel\n" in said


def test_a_base_library_that_is_there_already_is_not_replaced(bare, rpms):
    bare.put(product.LIBRARY, "the product's own\n")
    said = rpm(bare, "-i", packages.path_of(rpms, BASE, "rpm"), status=1)
    assert f"thsentinel-standalone: {product.LIBRARY} is there and is not of this package." in said
    assert bare.get(product.LIBRARY) == "the product's own\n"
