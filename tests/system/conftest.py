"""The hosts of the system tests, see the package host."""
import fcntl
import subprocess

import pytest

pytest.register_assert_rewrite("host.machine")  # so that its comparisons show where two things differ

from host import Host, paced, product  # noqa: E402


def why_no_hosts():
    """The reason why isolated hosts can't be made here, or None."""
    probe = subprocess.run([product.CHECKOUT / "script/host", "--probe"], capture_output=True, text=True,
                           check=False)
    return None if probe.returncode == 0 else probe.stderr.strip() or f"status {probe.returncode}"


@pytest.fixture(scope="session", name="shared")
def folder_of_all_test_processes(tmp_path_factory):
    """A folder that the test processes of a session have in common."""
    own = tmp_path_factory.getbasetemp()
    return own.parent if own.name.startswith("popen-") else own


@pytest.fixture(scope="session")
def hosts_possible(shared):
    """Skips the tests that need a host where there can be none; the first test process finds out for all."""
    with open(shared / "hosts", "a+", encoding="utf-8") as answer:
        fcntl.flock(answer, fcntl.LOCK_EX)
        answer.seek(0)
        reason = answer.read()
        if not reason:
            reason = why_no_hosts() or "possible"
            answer.write(reason)
    if reason != "possible":
        pytest.skip(reason)


@pytest.fixture(scope="session")
def installed(shared):
    """The staged tree of the whole installation, one for all test processes of the session."""
    return product.Product.install(shared / "staged")


@pytest.fixture
def plain_build():
    """Skips where a sanitizer brings libraries, signal handlers and an end of its own into the program, and memory
    without measure into the processes of which a core image is taken."""
    if product.is_built_with("-fsanitize="):
        pytest.skip("the program is built with a sanitizer")


@pytest.fixture
def no_thread_sanitizer():
    """Skips where the thread sanitizer keeps a signal from a thread until that makes a call which it knows, and gives up
    at a thread that was refused to the program."""
    if product.is_built_with("-fsanitize=thread"):
        pytest.skip("the thread sanitizer keeps signals, and gives up at a refused thread")


@pytest.fixture(scope="session")
def pace(tmp_path_factory):
    """The library that lets a test pace a daemon."""
    if not paced.compiler():
        pytest.skip("no C compiler")
    return paced.build(tmp_path_factory.mktemp("pace"))


@pytest.fixture
def interpose(tmp_path):
    """Gives the environment that loads a library of the test's own C source into a program of a host."""
    if not paced.compiler():
        pytest.skip("no C compiler")

    def build(host, source):
        path = "/run/interposed.so"
        host.put(path, paced.build(tmp_path, source + paced.SPARE_CHILDREN), 0o755)
        return {"LD_PRELOAD": path}

    return build


@pytest.fixture
def make_host(hosts_possible, installed):
    """Makes hosts from their description; they end with the test."""
    hosts = []

    def make(**description):
        hosts.append(Host(installed, **description))
        return hosts[-1]

    yield make
    for one in hosts:
        one.close()


@pytest.fixture
def live(make_host, pace):
    """Starts a paced daemon on a host that is described; its first pass is over but for the sleep."""
    def start(**description):
        daemon = paced.Paced(make_host(**description), pace)
        assert daemon.start().status == 0
        return daemon

    return start


@pytest.fixture
def host(make_host):
    """A host with nothing but defaults."""
    return make_host()
