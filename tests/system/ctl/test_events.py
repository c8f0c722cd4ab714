"""`events`: each breach, capture, failure, start and stop once, whatever happens between two runs."""
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import tempfile
import time

import pytest

from host import SEEDS, companion

YESTERDAY = "root.111326_00001.log"
TODAY = "root.111426_00001.log"
STARTED = "Tarnhaven Health Sentinel Service started"
STOPPED = "Tarnhaven Health Sentinel Service stopped."
PASS = "Tarnhaven Health Sentinel Service is monitoring the resources."


def breach(number):
    return f"CPU threshold exceeded by process : tbrd ({number}), Threshold : 80 Percent , Usage : 90.25 Percent"


def write(folder, name, *texts, day=13, end="\n"):
    with open(folder / name, "a", encoding="utf-8") as log:
        log.write("".join(f"2026-11-{day} 02:07:28:045 - {text}{end}" for text in texts))


def events(folder, *arguments):
    done = companion.run("events", "--json", "--log", folder, *arguments)
    assert done.status == 0, done.errors
    return [json.loads(line) for line in done.output.splitlines()]


def names(found):
    return [(one["event"], one["pid"]) for one in found]


def test_events_are_objects_with_what_their_lines_say(tmp_path):
    write(tmp_path, YESTERDAY, "Number of CPUs = 2", STARTED, PASS, breach(7),
          "Taking Process Dump (Count #1) for process tbrd (7).", "Error: Failed to get the helper object.", STOPPED,
          STOPPED, STOPPED)
    found = events(tmp_path)
    assert names(found) == [("start", None), ("breach", 7), ("capture", 7), ("failure", None), ("stop", None)]
    one = found[1]
    assert one["schema"] == "thsentinelctl.event/1"
    assert one["time"].startswith("2026-11-13T02:07:28.045")
    assert (one["process"], one["resource"], one["reading"], one["limit"], one["unit"], one["forced"]) == (
        "tbrd", "cpu", 90.25, 80, "Percent", False)
    assert found[2]["number"] == 1
    assert len({one["id"] for one in found}) == len(found)


def test_the_kinds_of_events_are_one_column(tmp_path):
    write(tmp_path, YESTERDAY, STARTED, "Dump count reached max allowed for process tbrd : 3", STOPPED)
    assert companion.run("events", "--log", tmp_path).output == (
        f"2026-11-13 02:07:28  start      {STARTED}\n"
        "2026-11-13 02:07:28  exhausted  Dump count reached max allowed for process tbrd : 3\n"
        f"2026-11-13 02:07:28  stop       {STOPPED}\n")


def test_a_cursor_that_cant_be_written_is_reported_before_an_event_is_printed(tmp_path):
    write(tmp_path, YESTERDAY, STARTED)
    cursor = tmp_path / "absent" / "cursor"
    done = companion.run("events", "--follow", "--log", tmp_path, "--cursor", cursor)
    assert (done.status, done.output) == (3, "")
    assert done.errors == f"thsentinelctl: {cursor} can't be written: No such file or directory\n"
    cursor = tmp_path / "cursor"
    companion.run("events", "--log", tmp_path, "--cursor", cursor)
    assert sorted(path.name for path in tmp_path.iterdir()) == ["cursor", YESTERDAY]


def test_a_cursor_hands_out_each_event_once_over_midnight(tmp_path):
    cursor = tmp_path / "cursor"
    logs = tmp_path / "logs"
    logs.mkdir()
    write(logs, YESTERDAY, STARTED, breach(1))
    assert names(events(logs, "--cursor", cursor)) == [("start", None), ("breach", 1)]
    assert events(logs, "--cursor", cursor) == []
    write(logs, YESTERDAY, breach(2))
    write(logs, TODAY, breach(3), day=14)
    assert names(events(logs, "--cursor", cursor)) == [("breach", 2), ("breach", 3)]
    write(logs, YESTERDAY, breach(4))  # a line whose writer was late
    write(logs, TODAY, breach(5), day=14)
    assert names(events(logs, "--cursor", cursor)) == [("breach", 4), ("breach", 5)]
    assert events(logs, "--cursor", cursor) == []
    assert oct(cursor.stat().st_mode & 0o777) == "0o600"
    assert sorted(os.listdir(tmp_path)) == ["cursor", "logs"]


def test_a_line_that_is_being_written_waits_for_its_end(tmp_path):
    cursor, logs = tmp_path / "cursor", tmp_path / "logs"
    logs.mkdir()
    write(logs, TODAY, breach(1), end="")
    assert events(logs, "--cursor", cursor) == []
    with open(logs / TODAY, "a", encoding="utf-8") as log:
        log.write("\n")
    assert names(events(logs, "--cursor", cursor)) == [("breach", 1)]


def test_following_loses_and_repeats_nothing_when_it_is_ended_and_begun_again(tmp_path):
    cursor, logs = tmp_path / "cursor", tmp_path / "logs"
    logs.mkdir()
    seen = []
    for number in range(1, 7):
        process = subprocess.Popen([str(companion.program()), "events", "--follow", "--json", "--log", str(logs),
                                    "--cursor", str(cursor)], stdout=subprocess.PIPE, text=True)
        write(logs, TODAY if number > 3 else YESTERDAY, breach(number))
        seen.append(json.loads(process.stdout.readline())["pid"])
        if number % 2:  # the cursor is written after the event was handed out
            wanted = str((logs / (TODAY if number > 3 else YESTERDAY)).stat().st_size)
            end = time.monotonic() + 20
            while not (cursor.exists() and wanted in cursor.read_text()) and time.monotonic() < end:
                time.sleep(0.01)
            process.kill()
        else:
            process.send_signal(signal.SIGTERM)
        rest = process.communicate(timeout=20)[0]
        assert rest == ""
        assert process.returncode == (-signal.SIGKILL if number % 2 else 0)
    assert seen == [1, 2, 3, 4, 5, 6]
    assert events(logs, "--cursor", cursor) == []


@pytest.mark.parametrize("seed", SEEDS)
def test_a_follower_that_is_killed_anywhere_loses_nothing_and_repeats_one_event_at_most(tmp_path, seed):
    """Between an event and its cursor it can only repeat: the event then has the same id."""
    random_ = random.Random(seed)
    cursor, logs = tmp_path / "cursor", tmp_path / "logs"
    logs.mkdir()
    written, kills, lines = 0, 12, []
    for kill in range(kills):
        process = subprocess.Popen([str(companion.program()), "events", "--follow", "--json", "--log", str(logs),
                                    "--cursor", str(cursor)], stdout=subprocess.PIPE, text=True)
        for _ in range(10):
            written += 1
            write(logs, YESTERDAY if kill < kills // 2 else TODAY, breach(written))
        lines += [process.stdout.readline() for _ in range(random_.randrange(1, 9))]
        process.kill()
        lines += process.stdout.read().splitlines()
        process.communicate(timeout=20)
    found = [json.loads(line) for line in lines] + events(logs, "--cursor", cursor)
    assert list(dict.fromkeys(one["pid"] for one in found)) == list(range(1, written + 1))
    assert [one["pid"] for one in found] == sorted(one["pid"] for one in found)
    assert len({one["id"] for one in found}) == written
    assert len(found) - written <= kills


def test_hostile_logs_and_cursors_are_met_safely(tmp_path):
    cursor, logs = tmp_path / "cursor", tmp_path / "logs"
    logs.mkdir()
    (logs / TODAY).write_bytes(b"\x00\xff" * 500000 + b"\n2026-11-14 02:07:28:045 - Error: \x1b[2J\xff\n")
    os.mkfifo(logs / "root.111526_00001.log")
    (logs / "root.111626_00001.log").symlink_to("/dev/zero")
    (logs / "root.999926_00001.log").write_text("2026-11-14 02:07:28:045 - Error: none\n")
    [only] = events(logs)
    assert only["text"] == "Error: \x1b[2J\ufffd"
    text = companion.run("events", "--log", logs)
    assert "\x1b" not in text.output and r"Error: \x1B[2J\xFF" in text.output
    for content in ("", "{", "[]", '{"schema": "other"}', '{"schema": "thsentinelctl.cursor/1", "stopped": 1, "logs": 7}'):
        cursor.write_text(content)
        done = companion.run("events", "--log", logs, "--cursor", cursor)
        assert (done.status, done.output) == (3, "")
        assert cursor.read_text() == content
    assert companion.run("events", "--log", tmp_path / "none").status == 3
    assert companion.run("events", "--since", "soon", "--log", logs).status == 64


@pytest.fixture(name="guarded")
def _guarded():
    """A folder of logs, and how somebody who isn't root looks at it."""
    user = 65534 if os.geteuid() == 0 else None
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        folder.chmod(0o755)
        program = shutil.copy(companion.program(), folder / "program")
        os.chmod(program, 0o755)
        logs = folder / "logs"
        logs.mkdir(0o755)
        yield logs, lambda *arguments: subprocess.Popen(
            [program, "events", "--json", "--log", logs, *arguments], user=user, text=True, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE)


def test_a_log_that_may_not_be_read_is_reported_and_the_others_are_read(guarded):
    logs, look = guarded
    write(logs, YESTERDAY, breach(1))
    write(logs, TODAY, breach(2), day=14)
    (logs / YESTERDAY).chmod(0)
    (logs / TODAY).chmod(0o644)
    reader = look()
    output, errors = reader.communicate(timeout=60)
    assert names(map(json.loads, output.splitlines())) == [("breach", 2)]
    assert (reader.returncode, errors) == (3, f"thsentinelctl: {logs}/{YESTERDAY}: Permission denied\n")


def test_a_follower_reports_once_what_it_may_not_read_and_reads_it_when_it_may(guarded):
    logs, look = guarded
    write(logs, TODAY, breach(1), day=14)
    (logs / TODAY).chmod(0)
    logs.chmod(0)
    reader = look("--follow")
    try:
        assert reader.stderr.readline() == f"thsentinelctl: {logs}: Permission denied\n"
        logs.chmod(0o755)
        assert reader.stderr.readline() == f"thsentinelctl: {logs}/{TODAY}: Permission denied\n"
        (logs / TODAY).chmod(0o644)
        assert json.loads(reader.stdout.readline())["pid"] == 1
    finally:
        reader.terminate()
        output, errors = reader.communicate(timeout=60)
    assert (reader.returncode, output, errors) == (0, "", "")
