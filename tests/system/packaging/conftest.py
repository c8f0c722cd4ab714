"""Service managers on hosts of their own."""
import pytest

from host import manager, packages


@pytest.fixture
def managed(make_host, plain_build):
    """Makes hosts with a service manager, whose store has these keys; they end with the test."""
    reason = manager.why_no_manager()
    if reason:
        pytest.skip(reason)
    services = []

    def make(description=None, **store):
        services.append(manager.Managed(make_host(store=store, **(description or {}))))
        return services[-1]

    yield make
    for one in services:
        one.close()


def shared_folder(tmp_path_factory):
    folder = tmp_path_factory.getbasetemp()
    return folder.parent if folder.name.startswith("popen-") else folder  # one of several test processes


@pytest.fixture(scope="session")
def debs(tmp_path_factory):
    """The folder with the .deb packages of the build."""
    return packages.make(shared_folder(tmp_path_factory) / "debs", "deb")


@pytest.fixture(scope="session")
def rpms(tmp_path_factory):
    """The folder with the .rpm packages of the build."""
    return packages.make(shared_folder(tmp_path_factory) / "rpms", "rpm")
