"""Java programs on a host: compiled once, run by a user of their own from a real JDK."""
import pathlib
import subprocess

import pytest

JDK = "/usr/lib/jvm/default-java"
USER = "tarnweb"
WEB_TEMP = "/usr/tarnv/wmc/webserver/temp"
FOLDER = "/opt/console"
SOURCE = pathlib.Path(__file__).with_name("AdminConsole.java")
CLASSES = {"adminconsole": ["tarn.thx.AdminConsole"], "thwmc": ["-Dthwmc=1", "tarn.thx.WebManagement"]}


def compile_programs(folder):
    """The compiled programs, name to bytes as text; skips the test where there is no JDK."""
    if not pathlib.Path(JDK, "bin/jcmd").exists():
        pytest.skip(f"no JDK at {JDK}: install default-jdk-headless")
    subprocess.run([f"{JDK}/bin/javac", "-d", folder, SOURCE], check=True)
    return {str(path.relative_to(folder)): path.read_bytes().decode("utf-8", "surrogateescape")
            for path in folder.rglob("*.class")}


def put_programs(host, classes):
    """Puts the programs on a host and makes their user, who owns the web server's folder."""
    for path, text in classes.items():
        host.put(f"{FOLDER}/{path}", text)
    if host.run("/usr/bin/setpriv", "--reuid", "1", "true").status != 0:
        pytest.skip("a host of an ordinary user has no other users")
    host.shell(f"useradd --create-home --shell /bin/sh {USER} && chown {USER} {WEB_TEMP}")


def as_user(host, user, *arguments):
    """The arguments that run a program as that user, in the process that is started for it."""
    ids = [host.shell(f"id -{kind} {user}").strip() for kind in "ug"]
    return ["/usr/bin/setpriv", "--reuid", ids[0], "--regid", ids[1], "--clear-groups", *arguments]


def program(host, name, user=USER):
    """The arguments that run one of the two programs as a user."""
    return as_user(host, user, f"{JDK}/bin/java", "-Xmx32m", "-Xshare:auto", "-cp", FOLDER, *CLASSES[name])
