"""The files of the diagnostic log: who makes them, in which mode, what is left alone, what comes back."""
from host import product, texts

LONG = {"THHS_POLL_INTERVAL": 600}
FOLDER = product.HOME + "/logs"


def tree(host, path):
    return [one[:3] for one in host.ask("tree", path)]


def name_of_today(host):
    return host.shell("date +root.%m%d%y_00001.log").strip()


def test_a_start_makes_the_folder_and_the_file_of_the_day(make_host):
    host = make_host(store=LONG)
    before = name_of_today(host)
    host.start()
    host.log_says(texts.MONITORING)
    names = {before, name_of_today(host)}  # two of them at midnight
    assert tree(host, FOLDER)[0] == ["thsentinel", "folder", 0o755]
    assert all(path.removeprefix("thsentinel/") in names and rest == ["file", 0o644]
               for path, *rest in tree(host, FOLDER)[1:])
    assert len(tree(host, FOLDER)) > 1


def test_only_the_folder_of_the_log_itself_is_made(make_host):
    host = make_host(store=LONG)
    host.remove(FOLDER)
    host.start()
    host.system_log_says(*texts.UP)
    assert not host.exists(FOLDER)
    host.terminate()
    assert not host.exists(FOLDER)


def test_an_action_that_has_nothing_to_log_makes_no_folder(host):
    for option in ("-version", "-help", "-install", "-list_config", "-uninstall", "-terminate", "-wrong"):
        host.run(option)
    assert tree(host, FOLDER) == []


def test_the_files_of_other_days_and_of_others_stay_as_they_are(make_host):
    host = make_host(store={**LONG, "THHS_PURGE_OLD_EVIDENCE": 1})
    others = {"root.010107_00001.log": "long ago\n" * 100000, "root.123199_00002.log": "", "other": "x"}
    for name, text in others.items():
        host.put(f"{product.LOGS}/{name}", text)
    host.start()
    host.terminate()
    found = host.ask("files", product.LOGS)
    assert {name: found.get(name) for name in others} == others


def test_the_file_of_the_day_is_continued_and_comes_back_when_it_is_taken_away(live):
    daemon = live()
    host = daemon.host
    daemon.says()
    assert len(tree(host, product.LOGS)) == 1
    path = f"{product.LOGS}/{tree(host, product.LOGS)[0][0]}"
    host.ask("rename", path, "/taken")
    taken = host.get("/taken")
    assert daemon.step()
    load = [*texts.load(host.store), texts.MONITORING]
    assert host.log() == load
    assert host.get("/taken") == taken
    host.put(path, "of somebody else\n")
    assert daemon.step()
    first, *rest = host.get(path).splitlines(keepends=True)
    assert (first, texts.entries_of("".join(rest))) == ("of somebody else\n", load)
