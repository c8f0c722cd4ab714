"""`prune` and `pin`: what would go, what never goes, and what is left when it is interrupted."""
import os
import pathlib
import re
import signal
import subprocess
import time

import pytest

from host import companion

DAY = 86400
DEAD = 4194304  # one more than the highest process id that there can be


def write_old(root, days, number, pid=DEAD, process="tbrd"):
    """A whole set of so many days ago; gives its folder."""
    when = time.time() - days * DAY
    stamp = time.strftime("%d-%m_%H.%M.%S", time.localtime(when))
    folder, _ = companion.write_set(root, process=process, pid=pid, number=number, stamp=stamp)
    for path in [*folder.iterdir(), folder]:
        os.utime(path, (when, when))
    return folder


@pytest.fixture(name="sets")
def _sets(tmp_path):
    """Five sets of one process: 100, 80, 60, 20 and 10 days old."""
    return [write_old(tmp_path, days, number) for number, days in enumerate((100, 80, 60, 20, 10), 1)]


def prune(root, *more):
    return companion.run("prune", "--json", "--evidence", root, "--store", companion.DEFAULTS, *more)


def candidates(root, *more):
    return [(one["path"], one["reason"]) for one in prune(root, *more).document["candidates"]]


def everything(root):
    return sorted(str(path) for path in pathlib.Path(root).rglob("*"))


def test_nothing_goes_unless_told_to(tmp_path, sets):
    before = everything(tmp_path)
    done = prune(tmp_path, "--older", "30d")
    assert done.status == 0
    assert [(one["path"], one["reason"], one["deleted"]) for one in done.document["candidates"]] == [
        (str(sets[1]), "is older than 30 d", False), (str(sets[2]), "is older than 30 d", False)]
    size = sum(path.stat().st_size for path in sets[1].iterdir())
    assert done.document["candidates"][0]["bytes"] == size
    assert everything(tmp_path) == before


def test_what_is_told_to_go_goes_and_nothing_else(tmp_path, sets):
    done = prune(tmp_path, "--older", "30d", "--delete")
    assert (done.status, [one["deleted"] for one in done.document["candidates"]]) == (0, [True, True])
    assert not sets[1].exists() and not sets[2].exists()
    assert all(len(list(folder.iterdir())) == 5 for folder in (sets[0], sets[3], sets[4]))
    assert candidates(tmp_path, "--older", "30d") == []


def test_its_last_line_counts_what_would_go(tmp_path, sets):
    sizes = [sum(one.stat().st_blocks * 512 for one in path.iterdir()) // 1024 for path in sets]
    done = companion.run("prune", "--evidence", tmp_path, "--store", companion.DEFAULTS, "--older", "30d")
    assert done.output.splitlines()[-1] == (
        f"2 sets, {sizes[1] + sizes[2]} KiB of {sum(sizes)} KiB would be freed; --delete does it")


def test_its_last_line_counts_only_what_has_gone(make_host, tmp_path, sets):
    host = make_host(share=[tmp_path])
    host.shell(f"cp -a {tmp_path}/thsentinel /evidence/")
    [kept] = [path.name for path in sets[1].iterdir() if path.name.endswith(".Netstat")]
    path = f"/evidence/{sets[1].relative_to(tmp_path)}/{kept}"
    host.shell(f"mount -n --bind {path} {path}")  # so that it can't be deleted
    done = companion.run_on(host, "prune", "--evidence", "/evidence", "--older", "30d", "--delete")
    assert re.fullmatch(r"1 set, \d+ KiB of \d+ KiB freed", done.output.splitlines()[-1]), done
    assert done.status == 2
    assert re.fullmatch(f"thsentinelctl: tbrd/{DEAD}/Evidence2/\\S+: {kept}: Device or resource busy\n", done.errors)


def test_where_nothing_is_chosen_no_option_is_offered(tmp_path, sets):
    size = sum(-(-path.stat().st_blocks // 2) for one in sets for path in one.iterdir())
    for option in ([], ["--delete"]):
        done = companion.run("prune", "--evidence", tmp_path, "--store", "/absent", "--older", "200d", *option)
        assert (done.status, done.output) == (0, f"Nothing to delete; all evidence takes {size} KiB.\n")


def test_each_rule_chooses_its_own(tmp_path, sets):
    assert [path for path, _ in candidates(tmp_path, "--keep-newest", 2)] == [str(sets[1]), str(sets[2])]
    assert [path for path, _ in candidates(tmp_path, "--max-size", 0)] == [str(one) for one in sets[1:4]]
    assert prune(tmp_path, "--max-size", 0).status == 1  # the first and the newest stay
    assert candidates(tmp_path, "--max-size", "20G") == []


def test_an_empty_folder_is_no_set_and_goes_with_the_rest(tmp_path, sets):
    empty = tmp_path / f"thsentinel/tbrd/{DEAD}/Evidence6"
    empty.mkdir()
    os.utime(empty, (time.time() - 2 * DAY,) * 2)
    for rule in (["--older", "1d"], ["--keep-newest", 1]):
        assert [path for path, _ in candidates(tmp_path, *rule)] == [str(one) for one in sets[1:4]]
    assert empty.exists()
    done = companion.run("prune", "--evidence", tmp_path, "--store", companion.DEFAULTS, "--keep-newest", 1, "--delete")
    assert done.output.splitlines()[-1].startswith("3 sets, ")
    assert not empty.exists()


def test_what_it_leaves_for_a_live_process_is_no_set(tmp_path):
    for number, days in enumerate((100, 80, 60), 1):
        write_old(tmp_path, days, number, pid=os.getpid())
    done = prune(tmp_path, "--older", "1d", "--live", "--delete")
    assert [one["deleted"] for one in done.document["candidates"]] == [True]
    verified = companion.run("verify", "--json", "--evidence", tmp_path, "--store", companion.DEFAULTS)
    assert (verified.status, [one["number"] for one in verified.document["sets"]]) == (0, [1, 3])
    assert prune(tmp_path, "--older", "1d", "--live", "--delete").document["candidates"] == []


def test_the_newest_set_stays_also_where_a_full_disk_left_its_files_empty(tmp_path, sets):
    for path in sets[4].iterdir():
        path.write_bytes(b"")
        os.utime(path, (time.time() - 10 * DAY,) * 2)
    assert [path for path, _ in candidates(tmp_path, "--older", "1d")] == [str(one) for one in sets[1:4]]
    assert [path for path, _ in candidates(tmp_path, "--keep-newest", 1)] == [str(one) for one in sets[1:4]]


def test_a_folder_named_as_evidence_is_left_and_hinders_nothing(tmp_path, sets):
    strange = sets[1] / f"{next(sets[1].glob('*.Netstat')).stem}.hprof"
    strange.mkdir()
    done = prune(tmp_path, "--older", "30d", "--delete")
    assert (done.status, done.errors) == (0, "")
    assert list(sets[1].iterdir()) == [strange]


def test_nothing_is_changed_through_a_link_that_nobody_named(tmp_path, sets):
    (tmp_path / "thsentinel").rename(tmp_path / "elsewhere")
    (tmp_path / "thsentinel").symlink_to("elsewhere")
    before = everything(tmp_path)
    refusal = (f"thsentinelctl: {tmp_path}/thsentinel is a symbolic link: nothing is changed through it; "
               "name the folder itself by --evidence\n")
    for verb in (["prune", "--older", "30d", "--delete"], ["pin", f"tbrd/{DEAD}/Evidence2"]):
        done = companion.run(*verb, "--evidence", tmp_path, "--store", companion.DEFAULTS)
        assert (done.status, done.output, done.errors) == (2, "", refusal)
    assert everything(tmp_path) == before
    assert len(candidates(tmp_path, "--older", "30d")) == 2
    assert prune(tmp_path / "elsewhere", "--older", "30d", "--delete").status == 0
    assert not (tmp_path / "elsewhere" / sets[1].relative_to(tmp_path / "thsentinel")).exists()


def test_wrong_use_deletes_nothing(tmp_path, sets):
    before = everything(tmp_path)
    for arguments in (["--delete"], ["--older", "soon", "--delete"], ["--max-size", "big", "--delete"],
                      ["--keep-newest", "-1", "--delete"]):
        done = companion.run("prune", "--evidence", tmp_path, *arguments)
        assert done.status == 64, arguments
    assert done.errors.splitlines()[0] == "--keep-newest: no count of sets: -1"
    assert everything(tmp_path) == before


def test_pinned_sets_stay_until_let_go(tmp_path, sets):
    pinned = companion.run("pin", "--evidence", tmp_path, sets[1])
    assert (pinned.status, pinned.output.startswith("pinned: tbrd/")) == (0, True)
    assert [path for path, _ in candidates(tmp_path, "--older", "30d")] == [str(sets[2])]
    assert companion.run("list", "--json", "--evidence", tmp_path).document["sets"][1]["pinned"] is True
    assert companion.run("pin", "--remove", "--evidence", tmp_path, sets[1]).status == 0
    assert [path for path, _ in candidates(tmp_path, "--older", "30d")] == [str(sets[1]), str(sets[2])]
    assert companion.run("pin", "--evidence", tmp_path, "nobody").status == 3


def test_sets_of_a_live_process_stay_unless_asked_for(tmp_path):
    for number, days in enumerate((100, 80, 60), 1):
        write_old(tmp_path, days, number, pid=os.getpid())
    assert candidates(tmp_path, "--older", "30d") == []
    assert len(candidates(tmp_path, "--older", "30d", "--live")) == 1


def test_a_set_that_misses_files_stays_while_its_samples_still_come(tmp_path, sets):
    """What is missing doesn't come any more, but the readings of its statistics last 500 seconds."""
    store = tmp_path / "store"
    store.write_text("THHS_NUMBER_OF_READINGS = 100\nTHHS_READING_INTERVAL = 5\n")
    short = write_old(tmp_path, 60 / DAY, 6)
    for name in ("DiskPerf_iostat", "DiskPerf_mpstat", "ProcessData"):
        next(short.glob(f"*.{name}")).unlink()
    write_old(tmp_path, 30 / DAY, 7)  # the newest set always stays
    assert short.is_dir()
    done = companion.run("prune", "--json", "--evidence", tmp_path, "--store", store, "--keep-newest", 1)
    assert [one["path"] for one in done.document["candidates"]] == [str(one) for one in sets[1:]]


def test_links_and_strange_files_are_left(tmp_path, sets):
    outside = tmp_path / "outside"
    outside.mkdir()
    (outside / "precious").write_text("x")
    (tmp_path / "thsentinel/tbrd/linked").symlink_to(outside)
    (sets[1] / "notes.txt").write_text("mine")
    os.utime(sets[1], (0, time.time() - 80 * DAY))
    assert prune(tmp_path, "--older", "30d", "--delete").status == 0
    assert (outside / "precious").exists()
    assert [path.name for path in sets[1].iterdir()] == ["notes.txt"]


def test_an_interrupted_deletion_is_said_and_ended(tmp_path, sets):
    # what a deletion leaves that was ended after its first file
    [victim] = [one for one in sets[1].iterdir() if one.name.endswith("Netstat")]
    stem = victim.name.removesuffix(".Netstat")
    (sets[1] / f".{stem}.deleting").touch()
    victim.unlink()
    verified = companion.run("verify", "--json", "--evidence", tmp_path, "--store", companion.DEFAULTS, sets[1])
    assert "a deletion of this set was interrupted; prune --delete ends it" in (
        verified.document["sets"][0]["problems"])
    assert candidates(tmp_path, "--older", "365d") == [(str(sets[1]), "a deletion of it was interrupted")]
    assert prune(tmp_path, "--older", "365d", "--delete").status == 0
    assert [path for path in everything(sets[1].parent) if "Evidence2/" in path] == []


def test_being_killed_at_any_time_leaves_only_whole_or_marked_sets(tmp_path):
    for number in range(1, 60):
        write_old(tmp_path, 200 - number, number)
    command = [str(companion.program()), "prune", "--keep-newest", "1", "--delete", "--evidence", str(tmp_path),
               "--store", str(companion.DEFAULTS)]
    for pause in (0.005, 0.01, 0.02, 0.03):
        with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
            time.sleep(pause)
            process.send_signal(signal.SIGKILL)
    for one in companion.run("verify", "--json", "--evidence", tmp_path, "--store", companion.DEFAULTS).document["sets"]:
        interrupted = any("was interrupted" in problem for problem in one["problems"])
        assert one["state"] == "complete" or interrupted or one["files"] == []
    assert prune(tmp_path, "--keep-newest", 1, "--delete").status == 0
    left = companion.run("list", "--json", "--evidence", tmp_path, "--store", companion.DEFAULTS).document["sets"]
    assert [one["number"] for one in left if one["files"]] == [1, 59]
