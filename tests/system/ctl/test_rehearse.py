"""`rehearse`: the capture lines of a process, run into a scratch folder."""
import os
import re
import subprocess
import sys

import pytest

from host import companion, missing_tools


@pytest.fixture(autouse=True)
def _needs_tools():
    missing = missing_tools(["top", "ps", "free", "vmstat", "netstat", "iostat", "mpstat", "pmap"])
    if missing:
        pytest.skip(f"not installed: {', '.join(missing)}")


@pytest.fixture(name="target")
def _target():
    """A process of this test's own that waits to be looked at."""
    with subprocess.Popen([sys.executable, "-c", "import sys; sys.stdin.read()"], stdin=subprocess.PIPE) as process:
        yield process
        process.stdin.close()


def rehearse(tmp_path, target, *more):
    return companion.run("rehearse", target, "--scratch", tmp_path, "--store", "/absent", *more)


def test_each_line_of_the_captures_is_run_and_measured(tmp_path, target):
    done = rehearse(tmp_path, target.pid, "--json")
    lines = done.document["lines"]
    assert [one["line"].split("/")[-1].split(" ")[0] for one in lines[:5]] == ["top", "ps", "free", "vmstat", "meminfo"]
    assert [one["file"] for one in lines] == (["MemoryPerf"] * 5 + ["Netstat"] * 9 +
                                              ["DiskPerf_iostat", "DiskPerf_mpstat"] + ["ProcessData"] * 4)
    assert all(one["bytes"] > 0 for one in lines if not one["mayBeEmpty"])
    assert all(one["seconds"] > 0 for one in lines if one["run"])
    for one in lines:
        if one["run"]:
            assert (one["remark"] == "empty, as it may be") == (one["empty"] and one["mayBeEmpty"]), one
    [stacks] = [one for one in lines if not one["run"]]
    assert stacks["remark"] == "left out: stops the process; --stop-process runs it"
    assert done.status == 0
    assert done.document["settingsFailure"] == "/absent can't be read: No such file or directory"
    assert rehearse(tmp_path, target.pid).errors == (
        "thsentinelctl: the settings are unknown (/absent can't be read: No such file or directory), so their defaults "
        "decide which captures are rehearsed\n")
    assert os.listdir(tmp_path) == []


def test_what_a_tool_does_not_give_is_said(tmp_path, target):
    target.kill()
    target.wait()
    gone = rehearse(tmp_path, target.pid)
    assert (gone.status, gone.errors) == (
        3, f"thsentinelctl: no process here has the id or the name {target.pid}\n")
    assert rehearse(tmp_path, "no such; name").status == 3
    assert companion.run("rehearse").status == 64


def test_a_core_is_taken_only_when_the_process_may_be_stopped(tmp_path, target):
    if missing_tools(["gcore", "gdb"]):
        pytest.skip("gdb is not installed")
    done = rehearse(tmp_path, target.pid, "--json", "--stop-process", "--keep")
    [core] = [one for one in done.document["lines"] if one["file"] == "core"]
    if "ptrace" in core["remark"].lower() or "not permitted" in core["remark"].lower():
        pytest.skip("this host lets nobody trace processes")
    [stacks] = [one for one in done.document["lines"] if "gstack" in one["line"]]
    tool = stacks["line"].split(" ")[0]
    if not os.path.exists(tool):
        assert (stacks["empty"], stacks["remark"]) == (True, f"EMPTY: {tool} isn't there")
    assert core["bytes"] > 100_000 and core["seconds"] > 0
    [scratch] = os.listdir(tmp_path)
    assert f"core.{target.pid}" in os.listdir(tmp_path / scratch)
    assert target.poll() is None


def test_dumps_of_a_java_process_are_taken_only_when_it_may_be_stopped(tmp_path, java_process):
    pid, tools = java_process
    store = tmp_path / "store.conf"
    store.write_text(f"THHS_JDK_HOME = {tools.parent}\n")
    scratch = tmp_path / "scratch"
    scratch.mkdir()

    def lines(*more):
        done = companion.run("rehearse", pid, "--json", "--scratch", scratch, "--store", store, *more)
        return done, {one["file"]: one for one in done.document["lines"]}

    _, without = lines()
    assert {"hprof", "ThreadDump", "core"}.isdisjoint(without)
    assert os.listdir(scratch) == []
    done, dumped = lines("--stop-process", "--keep")
    assert "core" not in dumped
    for kind, request in (("hprof", "GC.heap_dump"), ("ThreadDump", "Thread.print")):
        assert f"{tools}/jcmd {pid} {request}" in dumped[kind]["line"]
        assert (dumped[kind]["status"], dumped[kind]["remark"]) == (0, "")
        assert dumped[kind]["seconds"] > 0
    [kept] = scratch.iterdir()
    heap, threads = kept / "java/heap.hprof", kept / "ThreadDump.out"
    assert heap.read_bytes().startswith(b"JAVA PROFILE 1.0.2\0")
    assert "Full thread dump" in threads.read_text()
    assert (dumped["hprof"]["bytes"], dumped["ThreadDump"]["bytes"]) == (heap.stat().st_size, threads.stat().st_size)
    assert done.status == 0
    store.write_text("THHS_JDK_HOME = /opt/jdk; id\n")
    refused = companion.run("rehearse", pid, "--scratch", scratch, "--store", store, "--stop-process")
    assert (refused.status, refused.errors) == (
        3, 'thsentinelctl: not run: "/opt/jdk; id" is no plain word for a shell\n')
    assert os.path.exists(f"/proc/{pid}")


def test_its_last_line_is_about_a_whole_set(tmp_path, target):
    store = tmp_path / "store.conf"
    store.write_text("THHS_NUMBER_OF_READINGS = 3\nTHHS_READING_INTERVAL = 1\nTHHS_CAPTURE_NETWORK_STAT = 0\n"
                     "THHS_CAPTURE_DISK_IO = 0\n")
    done = companion.run("rehearse", target.pid, "--scratch", tmp_path, "--store", store)
    assert re.fullmatch(r"A set of 3 readings: MemoryPerf about \S+ [KM]iB; its tools run \d+\.\d\d s in all, "
                        r"pauses not counted\.", done.output.splitlines()[-1])
