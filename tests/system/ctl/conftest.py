"""The tests of the companion program need one that is built; some look at a Java process."""
import pathlib
import subprocess

import pytest

from host import paced, product

SLEEPER = """public class Sleeper {
    public static void main(String[] arguments) throws Exception {
        System.out.println("ready");
        System.in.read();
    }
}
"""


@pytest.fixture(name="java_process")
def _java_process(tmp_path):
    """A Java process of this test's own: its id and the folder of its JDK's programs."""
    tools = pathlib.Path("/usr/lib/jvm/default-java/bin")
    if not (tools / "jcmd").exists():
        pytest.skip("no JDK: install default-jdk-headless")
    (tmp_path / "Sleeper.java").write_text(SLEEPER)
    subprocess.run([tools / "javac", "Sleeper.java"], cwd=tmp_path, check=True)
    with subprocess.Popen([tools / "java", "-Xmx32m", "-cp", tmp_path, "Sleeper"], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE, text=True) as process:
        assert process.stdout.readline() == "ready\n"
        yield process.pid, tools
        process.stdin.close()


@pytest.fixture(autouse=True, scope="session")
def companion_is_built():
    if not product.has_companion():
        pytest.skip("thsentinelctl is not built: cmake names the packages that are missing")


@pytest.fixture(name="watching")
def _watching(make_host, pace):
    """Starts a paced service that watches a real process; returns it and the id of that process."""
    def start(**store):
        host = make_host(real_tools=True, cpus=2, store={
            "THHS_MONITOR_CPU": "sleep:80,absent:5", "THHS_POLL_INTERVAL": 600, **store})
        sleeper = host.spawn("/bin/sleep", "1000")
        daemon = paced.Paced(host, pace)
        assert daemon.start().status == 0
        return daemon, sleeper

    return start
