"""The tests of the companion program need one that is built."""
import pytest

from host import product


@pytest.fixture(autouse=True)
def companion_is_built():
    if not product.has_companion():
        pytest.skip("thsentinelctl is not built: cmake names the packages that are missing")
