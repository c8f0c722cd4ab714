"""`list` and `verify`: evidence of the daemon with real tools, and damaged and hostile copies of it."""
import os
import re
import subprocess
import time

import pytest

from host import companion, missing_tools, product

NAME = "exampled"
THREADS = 3


def look(root, verb="verify", *more):
    """The outcome of a verb and its sets, for evidence below a folder, with the settings at their defaults."""
    done = companion.run(verb, "--json", "--evidence", root, "--store", companion.DEFAULTS, *more)
    return done, done.document["sets"]


def snapshot(root):
    """Everything below a folder with contents and times."""
    seen = {}
    for folder, _, names in os.walk(root):
        for path in [folder, *(os.path.join(folder, name) for name in names)]:
            status = os.lstat(path)
            seen[path] = (status.st_mode, status.st_size, status.st_mtime_ns, status.st_ino)
            if not os.path.isdir(path):
                seen[path] += (status.st_atime_ns,)
    return seen


def test_a_whole_set_is_complete_in_both_verbs(tmp_path):
    folder, stem = companion.write_set(tmp_path)
    for verb in ("list", "verify"):
        done, sets = look(tmp_path, verb)
        assert done.status == 0
        assert done.document["schema"] == f"thsentinelctl.{verb}/1"
        assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d", done.document["time"])
        [only] = sets
        assert {key: only[key] for key in ("process", "pid", "resource", "number", "path", "state")} == {
            "process": "tbrd", "pid": 4321, "resource": "cpu", "number": 1, "path": str(folder), "state": "complete"}
        assert re.match(r"\d{4}-11-13T02:10:28", only["time"])
        assert sorted(only["files"]) == sorted(os.listdir(folder))
    assert sets[0]["problems"] == []
    assert stem in sets[0]["files"][0]


def test_each_damage_is_named(tmp_path):
    folder, stem = companion.write_set(tmp_path)
    (folder / f"{stem}.MemoryPerf").write_text(companion.memory_perf(1))
    (folder / f"{stem}.DiskPerf_iostat").write_text(companion.iostat(1, 2, 1))
    (folder / f"{stem}.Netstat").unlink()
    (folder / f"{stem}.4321").touch()
    done, [only] = look(tmp_path)
    assert done.status == 2
    assert only["state"] == "incomplete"
    assert only["problems"] == [
        "Netstat: is missing", f"{stem}.4321: holds no byte", f"{stem}.MemoryPerf: holds 1 of 2 readings",
        f"{stem}.DiskPerf_iostat: holds 1 of 2 samples"]
    assert look(tmp_path, "list")[1][0]["state"] == "incomplete"


def test_the_settings_say_what_belongs_to_a_set(tmp_path):
    folder, stem = companion.write_set(tmp_path)
    for suffix in ("DiskPerf_iostat", "DiskPerf_mpstat"):
        (folder / f"{stem}.{suffix}").unlink()
    store = tmp_path / "store.conf"
    store.write_text("THHS_CAPTURE_DISK_IO = 0\nTHHS_NUMBER_OF_READINGS = 3\nTHHS_READING_INTERVAL = 1\n"
                     "THHS_CAPTURE_PROCESS_DUMP = 1\n")
    done = companion.run("verify", "--json", "--evidence", tmp_path, "--store", store)
    assert done.document["sets"][0]["problems"] == ["core: is missing",
                                                    f"{stem}.MemoryPerf: holds 2 of 3 readings"]


@pytest.mark.parametrize("verb", ["list", "verify", "prune", "bundle", "report"])
def test_unknown_settings_are_said(tmp_path, verb):
    companion.write_set(tmp_path / "evidence")
    more = {"prune": ("--older", "1d"), "bundle": ("tbrd", "-o", tmp_path / "b", "--force"),
            "report": ("--last", "-o", tmp_path / "r")}.get(verb, ())
    options = (verb, *more, "--evidence", tmp_path / "evidence")
    failure = "/absent can't be read: No such file or directory"
    said = (f"thsentinelctl: the settings are unknown ({failure}), so their defaults decide which files and samples "
            "belong to a set, and none is called complete\n")
    assert companion.run(*options, "--store", "/absent").errors == said
    assert companion.run(*options, "--store", "/absent", "--json").document["settingsFailure"] == failure
    (tmp_path / "store").write_text("")
    assert companion.run(*options, "--store", tmp_path / "store").errors == ""
    assert companion.run(*options, "--store", tmp_path / "store", "--json").document["settingsFailure"] is None


def test_a_whole_set_is_not_called_complete_where_the_settings_are_unknown(tmp_path):
    folder, stem = companion.write_set(tmp_path)
    (folder / f"{stem}.DiskPerf_mpstat").rename(tmp_path / "kept")
    arguments = ("verify", "--json", "--evidence", tmp_path, "--store", "/absent")
    short = companion.run(*arguments)
    assert (short.status, short.document["sets"][0]["state"]) == (2, "incomplete")
    (tmp_path / "kept").rename(folder / f"{stem}.DiskPerf_mpstat")
    whole = companion.run(*arguments)
    assert (whole.status, whole.document["sets"][0]["state"]) == (3, "unknown")
    assert whole.document["summary"] == {"complete": 0, "incomplete": 0, "in-progress": 0, "unknown": 1}


def test_list_warns_of_an_incomplete_set(tmp_path):
    folder, stem = companion.write_set(tmp_path)
    assert look(tmp_path, "list")[0].status == 0
    (folder / f"{stem}.Netstat").unlink()
    assert look(tmp_path, "list")[0].status == 1
    assert companion.run("list", "--evidence", tmp_path, "--store", companion.DEFAULTS).status == 1


def test_list_never_knows_better_than_verify(tmp_path):
    folder, stem = companion.write_set(tmp_path)
    with open(folder / f"{stem}.ProcessData", "a", encoding="ascii") as file:
        file.write("7f00 4 K rw---\n" * (5 << 16))
    assert look(tmp_path, "list")[1][0]["state"] == look(tmp_path)[1][0]["state"] == "complete"
    newer, stem = companion.write_set(tmp_path, stamp="14-11_02.10.28", number=2)
    with open(newer / f"{stem}.ProcessData", "ab") as file:
        file.truncate(300 << 20)  # more text than the list reads whole
    assert [one["state"] for one in look(tmp_path, "list")[1]] == ["unknown", "incomplete"]
    assert [one["state"] for one in look(tmp_path)[1]] == ["complete", "incomplete"]
    assert companion.run("list", "--evidence", tmp_path).output.splitlines()[-1] == (
        "Long texts of older sets were read at their ends only; thsentinelctl verify reads them all.")


def test_sets_are_chosen_by_id_path_and_time(tmp_path):
    first, _ = companion.write_set(tmp_path, stamp="13-11_02.10.28")
    companion.write_set(tmp_path, pid=99, stamp="14-11_02.10.28")

    def chosen(*arguments):
        return [one["pid"] for one in look(tmp_path, "verify", *arguments)[1]]

    assert chosen() == [4321, 99]
    assert chosen("tbrd/99") == [99]
    assert chosen("tbrd/4321/Evidence1", "tbrd/99") == [4321, 99]
    assert chosen(look(tmp_path)[1][0]["id"]) == [4321]
    assert chosen(first) == [4321]
    assert chosen(next(first.iterdir())) == [4321]
    assert chosen("--since", look(tmp_path)[1][1]["time"]) == [99]


def test_wrong_use_and_what_cannot_be_told_have_their_own_status(tmp_path):
    companion.write_set(tmp_path)
    assert companion.run("verify", "--nonsense").status == 64
    assert companion.run("verify", "--evidence", tmp_path, "--since", "whenever").status == 64
    assert companion.run("verify", "--evidence", tmp_path / "absent").status == 3
    absent = companion.run("verify", "--evidence", tmp_path, "nobody/1")
    assert (absent.status, absent.errors) == (
        3, "thsentinelctl: no evidence set fits nobody/1; see thsentinelctl list\n")


def test_no_evidence_is_no_error(tmp_path):
    done = companion.run("verify", "--evidence", tmp_path)
    assert (done.status, done.output) == (0, "0 sets: 0 complete, 0 incomplete, 0 in progress, 0 unknown\n")


def test_hostile_names_are_shown_escaped_and_links_never_followed(tmp_path):
    companion.write_set(tmp_path, process="\033[2J\nevil")
    folder, stem = companion.write_set(tmp_path, pid=7)
    (folder / f"{stem}.7").symlink_to("/dev/zero")
    os.mkfifo(folder / f"{stem}.hprof")
    (tmp_path / "thsentinel/linked").symlink_to(tmp_path / "thsentinel/tbrd")
    text = companion.run("verify", "--evidence", tmp_path, "--store", "/absent")
    assert "\033" not in text.output + text.errors
    assert "\\x1B[2J\\nevil/4321/Evidence1" in text.output
    assert "left alone: linked: is a symbolic link, not followed\n" in text.errors
    sets = look(tmp_path)[1]
    assert [one["process"] for one in sets] == ["tbrd", "\033[2J\nevil"] or sets[1]["process"] == "tbrd"
    [linked] = [one for one in sets if one["pid"] == 7]
    assert f"{stem}.7: is a symbolic link and is not read" in linked["problems"]
    assert f"{stem}.hprof: is a named pipe and is not read" in linked["problems"]


def test_nothing_is_changed_by_looking(tmp_path):
    folder, _ = companion.write_set(tmp_path)
    for path in folder.iterdir():
        os.utime(path, (1, path.stat().st_mtime))  # a reading would bring the time of access up to date
    before = snapshot(tmp_path)
    look(tmp_path)
    look(tmp_path, "list")
    assert snapshot(tmp_path) == before


@pytest.mark.skipif(os.getuid() != 0, reason="only the superuser can become another user")
def test_what_may_not_be_read_is_said(tmp_path):
    for path in [tmp_path, *list(tmp_path.parents)[:-2]]:
        if path.stat().st_uid == 0 and path != tmp_path.anchor:
            path.chmod(path.stat().st_mode | 0o011)
    folder, stem = companion.write_set(tmp_path)
    (folder / f"{stem}.Netstat").chmod(0o600)
    closed, _ = companion.write_set(tmp_path, process="closed")
    closed.chmod(0o700)
    done = companion.run("verify", "--json", "--evidence", tmp_path, "--store", "/absent", user=65534)
    [only] = done.document["sets"]
    assert (only["state"], only["problems"]) == ("unknown", [f"{stem}.Netstat: Permission denied"])
    assert done.document["unseen"] == ["closed/4321/Evidence1: Permission denied"]
    assert done.status == 3
    pruned = companion.run("prune", "--older", "1d", "--evidence", tmp_path, "--store", companion.DEFAULTS, user=65534)
    assert (pruned.status, pruned.errors) == (
        1, "thsentinelctl: could not look at closed/4321/Evidence1: Permission denied\n")


def test_terabytes_of_holes_take_little_time_and_memory(tmp_path):
    folder, stem = companion.write_set(tmp_path)
    for suffix in ("4321", "MemoryPerf", "hprof", "ThreadDump"):
        with open(folder / f"{stem}.{suffix}", "ab") as file:
            file.truncate(1 << 38)
    done = companion.run_measured(tmp_path, "verify", "--json", "--evidence", tmp_path, "--store", "/absent")
    assert done.status == 2
    assert done.document["sets"][0]["state"] == "incomplete"
    if not product.is_built_with("-fsanitize="):
        assert done.peak < 64 * 1024


JUNE_2020 = 1591000000


def test_many_sets_of_one_process_id_take_little_memory(tmp_path):
    folders = [tmp_path / f"thsentinel/tbrd/4321/Evidence{number}" for number in (1, 2)]
    for folder in folders:
        folder.mkdir(parents=True)
    for minute in range(60_000):  # hard links are made fast; a file system allows so many of one file only
        path = folders[minute % 2] / time.strftime("4321_%d-%m_%H.%M.%S_CPU.Netstat", time.gmtime(minute * 60))
        if minute % 10_000 == 0:
            path.write_text("x")
            os.utime(path, (JUNE_2020, JUNE_2020))  # the year of the stamps, so that none is still to come
            first = path
        else:
            os.link(first, path)
    done = companion.run_measured(tmp_path, "report", "--last", "--json", "--evidence", tmp_path, "--store", "/absent",
                                  "-o", tmp_path / "page.html")
    assert done.document["state"] == "incomplete"
    if not product.is_built_with("-fsanitize="):
        assert done.peak < 64 * 1024


def test_dumps_of_a_real_jdk_are_complete_until_something_is_lost(tmp_path, java_process, plain_build):
    pid, tools = java_process
    folder, stem = companion.write_set(tmp_path, process="adminconsole", pid=pid)
    heap, threads = folder / f"{stem}.hprof", folder / f"{stem}.ThreadDump"
    subprocess.run([tools / "jcmd", str(pid), "GC.heap_dump", heap], check=True, stdout=subprocess.DEVNULL)
    printed = subprocess.run([tools / "jcmd", str(pid), "Thread.print"], check=True, capture_output=True)
    threads.write_bytes(printed.stdout)
    done, [only] = look(tmp_path)
    assert (only["state"], only["problems"], done.status) == ("complete", [], 0)
    for path, text in ((heap, "is cut short: its last record lacks 1 byte or more"),
                       (threads, 'is cut short: the line "JNI global refs" after the threads is missing')):
        whole = path.read_bytes()
        path.write_bytes(whole[:-1] if path == heap else whole[:whole.index(b"JNI global ref")])
        assert look(tmp_path)[1][0]["problems"] == [f"{path.name}: {text}"]
        path.write_bytes(whole)


@pytest.fixture(name="busy_host")
def _busy_host(make_host, plain_build):
    """A host with real tools, a busy process and its id; the daemon isn't started."""
    missing = missing_tools(["gcore", "gdb", "iostat", "mpstat", "netstat"])
    if missing:
        pytest.skip(f"not installed: {', '.join(missing)}")

    def make(**store):
        host = make_host(real_tools=True, cpus=None, store={
            "THHS_MONITOR_MEMORY": f"{NAME}:0", "THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_DUMP_COUNT": 1,
            "THHS_VERBOSE": 1, **store})
        host.shell(f"cp {host.product.build / 'standalone/busyloop'} /opt/{NAME}")
        pid = host.spawn(f"/opt/{NAME}", str(THREADS), "600")
        host.until(lambda: (host.process_of(pid) or {}).get("threads") == THREADS + 1, "all threads run")
        return host, pid

    return make


def verify_on(host, *more):
    done = host.run(str(companion.program()), "verify", "--json", *more)
    return companion.Outcome(done.status, done.output, "")


def await_captures(host):
    for text in ("TakeMemorySnapshotAndDump .* Dump has generated for pid", "Memory Performance data collected.*",
                 "Network Performance data collected.*", "Process specific data collected.*",
                 "CollectCommandData : command .*iostat .* return the .*",
                 "CollectCommandData : command .*mpstat .* return the .*"):
        host.until(lambda: any(re.match(text, entry) for entry in host.log()), text)


def test_evidence_of_real_tools_is_complete_until_something_is_lost(busy_host):
    host, pid = busy_host()
    host.start()
    await_captures(host)
    done = verify_on(host)
    [only] = done.document["sets"]
    assert (only["state"], only["problems"], done.status) == ("complete", [], 0)
    assert not any("build" in note or "compared" in note for note in only["notes"])
    core = f"{only['path']}/{only['files'][0]}"
    host.shell(f"cp /usr/bin/gdb /opt/new && mv /opt/new /opt/{NAME}")
    replaced = verify_on(host)
    assert replaced.status == 1
    assert replaced.document["sets"][0]["state"] == "complete"
    assert f"is of another build than /opt/{NAME} here" in replaced.document["sets"][0]["problems"][0]
    host.terminate()
    host.shell(f"truncate -s -1 {core} && touch -d '1 hour ago' {core}")
    host.until(lambda: verify_on(host).status == 2, "the core counts as cut short")
    assert any("is cut short: its head needs" in one for one in verify_on(host).document["sets"][0]["problems"])


def test_a_set_is_in_progress_while_its_readings_last(busy_host):
    host, pid = busy_host(THHS_NUMBER_OF_READINGS=120, THHS_READING_INTERVAL=1, _FORCE_READING_INTERVAL_=1)
    host.start()
    host.until(lambda: any(".MemoryPerf" in path for path in host.evidence_paths()), "the readings begin")
    done = verify_on(host)
    assert [one["state"] for one in done.document["sets"]] == ["in-progress"]
    assert done.status == 1


def test_a_list_fits_a_terminal_of_80_columns(tmp_path):
    companion.write_set(tmp_path, process="tbrd", pid=41234, number=1, label="Memory")
    listed = companion.run("list", "--evidence", tmp_path, "--store", "/absent")
    [head, row] = listed.output.splitlines()[:2]
    assert head.split() == ["TIME", "STATE", "SIZE", "SET"]
    [identifier] = [one["id"] for one in look(tmp_path, "list")[1]]
    assert row.endswith("  " + identifier) and re.match(r"\d\d-\d\d \d\d:\d\d  \S", row)
    assert len(row) <= 80
