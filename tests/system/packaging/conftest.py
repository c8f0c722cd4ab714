"""Service managers on hosts of their own."""
import pytest

from host import manager


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
