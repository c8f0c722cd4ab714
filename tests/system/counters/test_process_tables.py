"""The process tables of a pass: which lines of the listing reach them, and under which name and id."""
import re

import pytest

from host import Process, paced, product, scripted, texts

NAME, PID = "exampled", 4321
IDS, NAMES = "processIDAndNameMap", "processNameAndIDMap"
INSERTED = re.compile(r"Inserting in to multimap (\w+) <(.*) : (-?\d+)> ")
VERBOSE = {"THHS_VERBOSE": 1, "THHS_POLL_INTERVAL": 600}


def inserted(entries, table):
    """(name, process id) of all that went into one of the tables, in order."""
    found = (INSERTED.fullmatch(entry) for entry in entries)
    return [(one[2], int(one[3])) for one in found if one and one[1] == table]


def listing_line(words):
    return f'/usr/bin/ps -eo pid,command | /usr/bin/egrep "{words}"'


def listings(host, words):
    """The two listings of each pass as (rows, entries after them up to the next line for a shell)."""
    log = host.log()
    shells = [place for place, entry in enumerate(log) if entry.startswith("Cmd:")] + [len(log)]
    return [(rows_of(log[place + 1].removeprefix("Output:")), log[place + 2:following])
            for place, following in zip(shells, shells[1:]) if log[place] == f"Cmd:{listing_line(words)}"]


def rows_of(listing):
    """(name, process id) of every row of a real listing."""
    words = [line.split() for line in listing.splitlines()]
    return [(row[1].rpartition("/")[2], int(row[0])) for row in words]


def a_process(host, name):
    """Starts a process of that name and gives its id."""
    host.shell(f"cp /bin/sleep /opt/{name}")
    return host.spawn(f"/opt/{name}", "100000")


# ----------------------------------------------------------------------------------------------------------
# Who is left out, and who is not
# ----------------------------------------------------------------------------------------------------------

def test_the_daemon_stands_in_neither_table_though_it_is_listed_and_watched(make_host, pace):
    """Others of its name are not left out, the process that starts it among them."""
    host = make_host(real_tools=True, store={**VERBOSE, "THHS_MONITOR_CPU": "thsentinel:100"})
    namesake = ("thsentinel", a_process(host, "thsentinel"))
    daemon = paced.Paced(host, pace)
    assert daemon.start().status == 0
    assert daemon.step()
    itself = ("thsentinel", host.daemon_pid())
    looks = listings(host, "thsentinel|/usr/tarnv")
    assert [(rows.count(itself), rows.count(namesake)) for rows, _ in looks] == [(1, 1)] * 4
    for (rows, entries), table in zip(looks, [NAMES, IDS] * 2):
        assert inserted(entries, table) == [row for row in rows if row != itself and (
            table == IDS or row[0] == "thsentinel")]
    added = [entry for entry in host.log() if "counter added" in entry]
    assert [entry for entry in added if f"#{itself[1]}" in entry] == []
    assert texts.added("CPU", Process(namesake[1], ""), "thsentinel")[1] in added


@pytest.mark.parametrize("watched", [(NAME,), ("dash", NAME)], ids=["a program", "the shell as well"])
def test_the_helpers_of_the_listing_stand_among_the_ids_and_among_the_names_when_watched(make_host, pace,
                                                                                        watched):
    host = make_host(real_tools=True, store={
        **VERBOSE, "THHS_MONITOR_CPU": ",".join(f"{name}:100" for name in watched)})
    pid = a_process(host, NAME)
    assert paced.Paced(host, pace).start().status == 0
    (first, names), (second, ids) = listings(host, "|".join([*watched, "/usr/tarnv"]))
    daemon = ("thsentinel", host.daemon_pid())
    for rows in (first, second):
        assert (NAME, pid) in rows
        assert "dash" in [name for name, _ in rows], "the shell that runs the listing lists itself"
    assert inserted(names, NAMES) == [row for row in first if row[0] in watched]
    assert inserted(ids, IDS) == [row for row in second if row != daemon]
    assert inserted(names, IDS) == inserted(ids, NAMES) == []


def test_with_nothing_to_watch_the_listing_is_filtered_by_the_install_root_alone(live):
    rows = [Process(100, "/opt/other"), Process(200, "/usr/tarnv/tarnhaven/bin/tbrd -d")]
    daemon = live(store=VERBOSE, processes=rows)
    assert daemon.step()
    host = daemon.host
    assert host.shell_lines()[2:] == [listing_line("/usr/tarnv")] * 4
    tables = [entry for entry in host.log() if entry.startswith("Inserting")]
    assert tables == [f"Inserting in to multimap {IDS} <tbrd : 200> "] * 2


def test_only_a_process_from_outside_the_product_gets_a_note(live):
    rows = [Process(100, f"/opt/{NAME}"), Process(200, f"/usr/tarnv/bin/{NAME}"), Process(300, NAME)]
    host = live(processes=rows, store={**VERBOSE, "THHS_MONITOR_CPU": f"{NAME}:100"}).host
    notes = [entry for entry in host.log() if "is running with basename" in entry]
    assert notes == [f"{NAME}({pid}) process is running with basename" for pid in (100, 300)] * 2
    assert inserted(host.log(), NAMES) == [(NAME, 100), (NAME, 200), (NAME, 300)]


def test_the_note_comes_for_all_that_are_listed_before_any_is_left_out(live):
    """The daemon's own line is among them, and that of a process that is not watched."""
    daemon = live(store={**VERBOSE, "THHS_MONITOR_CPU": f"{NAME}:100"})
    itself = daemon.host.daemon_pid()
    daemon.host.show(Process(itself, "./thsentinel -start /usr/tarnv"), Process(200, f"other {NAME}"),
                     Process(300, "/usr/tarnv/bin/idle"))
    said = daemon.next_pass()
    assert [entry for entry in said if entry.startswith("Inserting") or "with basename" in entry] == [
        f"thsentinel({itself}) process is running with basename",
        "other(200) process is running with basename"] + [
        f"thsentinel({itself}) process is running with basename",
        "other(200) process is running with basename",
        f"Inserting in to multimap {IDS} <other : 200> ", f"Inserting in to multimap {IDS} <idle : 300> "]


def test_an_id_that_is_listed_again_stands_once_under_each_name_and_has_one_counter(live):
    rows = [Process(100, f"/opt/{NAME}"), Process(100, f"{NAME} again"), Process(100, "/opt/otherd"),
            Process(200, "/opt/otherd")]
    host = live(processes=rows, store={**VERBOSE, "THHS_MONITOR_CPU": f"{NAME}:100,otherd:100"}).host
    assert inserted(host.log(), NAMES) == [(NAME, 100), ("otherd", 100), ("otherd", 200)]
    assert inserted(host.log(), IDS) == [(NAME, 100), (NAME, 100), ("otherd", 100), ("otherd", 200)]
    assert [entry for entry in host.log() if entry.startswith("CPU counter ")] == [
        f"CPU counter added for process {NAME} with PID - 100 : {NAME}#100",
        f"CPU counter already added for process otherd with PID - 100 with index : 100 : {NAME}#100",
        "CPU counter added for process otherd with PID - 200 : otherd#200"]


# ----------------------------------------------------------------------------------------------------------
# How a line is split
# ----------------------------------------------------------------------------------------------------------

# A line of the listing, and the name and the id that are found in it. A point as a name lets all lines pass.
LINES = {
    "4301 exampled": ("exampled", 4301),
    "      4302 /opt/exampled -d": ("exampled", 4302),
    "4303      /opt/exampled": ("exampled", 4303),
    "   4304    exampled    -d    ": ("exampled", 4304),
    "4305": ("", 4305),
    "4306   ": ("", 4306),
    "   ": ("", 0),
    "/opt/exampled": ("", 0),
    "exampled -d": ("-d", 0),
    "4307\t/opt/exampled": ("", 4307),
    "4308x /opt/exampled": ("exampled", 4308),
    "-4309 /opt/exampled": ("exampled", -4309),
    "4310 /": ("/", 4310),
    "4311 /opt/exampled/": ("exampled", 4311),
}


def test_a_line_of_the_listing_is_split_at_its_blanks(make_host, pace):
    host = make_host(store={**VERBOSE, "THHS_MONITOR_CPU": ".:80"})
    for kind in ("listing", "ids"):
        host.put(scripted.answer_of_ps(kind), "".join(f"{line}\n" for line in LINES))
    assert paced.Paced(host, pace).start().status == 0
    assert inserted(host.log(), IDS) == list(LINES.values())
    assert inserted(host.log(), NAMES) == []


def test_a_list_element_of_nothing_but_blanks_keeps_them_and_is_a_name(live):
    host = live(store={**VERBOSE, "THHS_MONITOR_DEADLOCK": "  a  ,  ,b "}).host
    log = host.log()
    place = log.index(texts.READING)
    assert log[place:place + 4] == [texts.READING, *(
        f"Process {name} requested monitoring for Deadlock conditions." for name in ("a", "  ", "b"))]
    assert host.shell_lines()[2:] == [listing_line("  |a|b|/usr/tarnv")] * 2


# ----------------------------------------------------------------------------------------------------------
# Whose a process is
# ----------------------------------------------------------------------------------------------------------

TEMP, WEB_TEMP = f"{product.BASE}/tmp", f"{product.BASE}/wmc/webserver/temp"

# What ps answers for the owners; who is taken for the owner, and the folder of that owner's dumps.
OWNERS = {
    "an owner": (f"    {PID} tarnweb\n", "tarnweb", WEB_TEMP),
    "root": (f"{PID} root\n", "root", TEMP),
    "nobody is listed": ("", "root", TEMP),
    "longer ids alone": (f"   {PID}0 tarnweb\n 1{PID} tarnweb\n", "root", TEMP),
    "the id as an owner": (f"   77 {PID}\n", "root", TEMP),
    "many blanks": (f"    {PID}        tarnweb      \n", "tarnweb", WEB_TEMP),
    "no owner": (f"   {PID}\n", "", WEB_TEMP),
    "two rows with a blank between": (f"   {PID} tarnweb\n   {PID} other\n", "tarnweb", WEB_TEMP),
    "two rows with nothing between": (f"   {PID} tarnweb\n{PID} other\n", f"tarnweb{PID}", WEB_TEMP),
}
JAVA = {**VERBOSE, "THHS_MONITOR_CPU": "adminconsole:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1,
        "THHS_DUMP_COUNT": 1, "THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_JDK_HOME": "/opt/jdk"}


@pytest.mark.parametrize("rows, owner, temp", OWNERS.values(), ids=OWNERS.keys())
def test_the_owner_of_a_java_process_is_the_second_word_after_its_id_or_root(make_host, pace, rows, owner,
                                                                              temp):
    host = make_host(store=JAVA, processes=[Process(PID, "/opt/jre/bin/java tarn.thx.AdminConsole", cpu=90)])
    host.put(scripted.answer_of_ps("user"), "    PID USER\n" + rows)
    daemon = paced.Paced(host, pace)
    assert daemon.start().status == 0
    daemon.captures_end()
    lines = host.shell_lines()
    assert [line for line in lines if line.startswith("su ")] == [
        f'su {owner} -c "/opt/jdk/bin/jcmd {PID} GC.heap_dump {temp}/{PID}dump.hprof"',
        f'su {owner} -c "/opt/jdk/bin/jcmd {PID} Thread.print > {temp}/Thread_dump.log"']
    # For the folder, and again for the owner.
    asked = f'/usr/bin/ps -eo pid,user | /usr/bin/grep "^[[:space:]]*\\<{PID}\\>"'
    assert lines.count(asked) == 2


MARKED = "/opt/jre/bin/java -cp x tarn.thx.AdminConsole"

# The processes, those that become counters, and the ids that were found for the others.
MARKERS = {
    "none is marked": ([(100, "/opt/jre/bin/java -jar x")], [], [(-1, 100)]),
    "one is marked": ([(100, "/opt/jre/bin/java -jar x"), (200, MARKED)], [200], [(200, 100)]),
    "two are marked": ([(100, MARKED), (200, MARKED)], [100], [(100, 200)]),
    "one of another name is marked": (
        [(100, "/opt/editor /etc/java/tarn.thx.AdminConsole"), (200, MARKED)], [], [(100, 200)]),
}


@pytest.mark.parametrize("rows, added, skipped", MARKERS.values(), ids=MARKERS.keys())
def test_a_java_process_is_the_first_that_bears_the_mark_or_has_the_id_minus_one(live, rows, added, skipped):
    host = live(processes=[Process(*row) for row in rows], store={"THHS_MONITOR_CPU": "adminconsole:80"}).host
    said = [entry for entry in host.log() if entry.startswith(("CPU counter added", "Skipping"))]
    assert sorted(said) == [
        f"CPU counter added for process java with PID - {pid} : java#{pid}" for pid in added] + [
        "Skipping the add of counter as pid not matching with counter index. "
        f"PID - {found} : counter Index {pid}" for found, pid in skipped]


def marker_line(marker):
    return (f'{listing_line("java|/usr/tarnv")} | /usr/bin/grep -e "{marker}" '
            '| /usr/bin/grep -v "/usr/bin/grep"')


def marker_lines(host, before):
    return [line for line in host.shell_lines()[before:] if " -e " in line]


def test_a_java_process_is_looked_for_until_it_has_its_counter_and_the_search_does_not_find_itself(make_host,
                                                                                                  pace):
    host = make_host(real_tools=True, store={**VERBOSE, "THHS_MONITOR_CPU": "adminconsole:100"})
    host.shell("cp /bin/dash /opt/java")
    program = ["/opt/java", "-c", "sleep 100000; :"]
    others = host.spawn(*program)
    daemon = paced.Paced(host, pace)

    def said(entries):
        return [entry for entry in entries if entry.startswith(("CPU counter added", "Skipping"))]

    def skipped(found):
        return ("Skipping the add of counter as pid not matching with counter index. "
                f"PID - {found} : counter Index {others}")

    assert daemon.start().status == 0
    assert said(daemon.says()) == [skipped(-1)]
    assert marker_lines(host, 0) == [marker_line("tarn.thx.AdminConsole")]
    console = host.spawn(*program, "tarn.thx.AdminConsole")
    added = f"CPU counter added for process java with PID - {console} : java#{console}"
    for lines in ([skipped(console), added], [skipped(console)]):
        before = len(host.shell_lines())
        assert said(daemon.next_pass()) == lines
        assert marker_lines(host, before) == [marker_line("tarn.thx.AdminConsole")] * len(lines)


def test_a_java_name_in_another_case_is_that_of_an_ordinary_process(live):
    rows = [Process(100, MARKED), Process(200, "/opt/AdminConsole")]
    host = live(processes=rows, store={**VERBOSE, "THHS_MONITOR_CPU": "AdminConsole:80"}).host
    assert host.shell_lines()[2:4] == [listing_line("AdminConsole|/usr/tarnv")] * 2
    assert marker_lines(host, 0) == []
    assert [entry for entry in host.log() if entry.startswith("CPU counter ")] == [
        "CPU counter added for process AdminConsole with PID - 200 : AdminConsole#200"]
