"""Names and arguments as hostile as a process can bear: the tables stay right, no shell line carries them."""
import pytest

from host import Process, texts

NAME, PID = "exampled", 4321
GOOD = Process(PID, f"/opt/{NAME} -d", cpu=90)
OWNED = "/owned"

# The real ps shows bytes that are no characters of its locale as question marks. The scripted one shows them
# as they are, which fits a locale alone in which every byte is a character; in others grep holds such lines
# back.
ANY_BYTES = {"LC_ALL": "C"}
HOSTILE = {
    "a blank in the path": f"/opt/my tools/{NAME} -x",
    "many blanks": f"/opt/other      {NAME}        -x   ",
    "quotes": f"/opt/\"o't'her\" '{NAME}' \"",
    "a command substitution": f"$(touch${{IFS}}{OWNED}) {NAME}",
    "backticks": f"`touch {OWNED}` {NAME}",
    "a separator and a redirection": f"x;touch {OWNED};{NAME} >{OWNED}",
    "a pipe": f"x|touch {OWNED} {NAME}",
    "formats": f"%s%s%n%n%100000d {NAME}",
    "backslashes": f"\\x41\\n\\0 {NAME}",
    "4 KiB of name": "/opt/" + "n" * 4096 + f" {NAME}",
    "64 KiB of arguments": "/opt/other " + "a" * 65536 + f" {NAME}",
    "bytes that are not UTF-8": f"/opt/\udcff\udcfe\udc80 {NAME}",
    "control characters": f"/opt/\x01\x07\x1b[31m {NAME}",
    "nothing but a slash": f"/ {NAME}",
    "a trailing slash": f"/opt/other/ {NAME}",
    "an option for a name": f"--help {NAME}",
    "a number for a name": f"{PID} {NAME}",
    "a tab": f"/opt/other\t{NAME}",
    "a pattern": f"[a-z]*.?+({NAME})|^$",
}


def name_of(command):
    """The first word's last component, as the table must hold it."""
    word = command.split(" ")[0]
    return word.rstrip("/").rpartition("/")[2] or "/"


@pytest.fixture
def watched(make_host):
    """A host with all of the above beside one honest process, after its first breach."""
    hostile = [Process(1000 + number, command, cpu=99) for number, command in enumerate(HOSTILE.values())]
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_VERBOSE": 1}, processes=[*hostile, GOOD])
    host.start(environment=ANY_BYTES)
    host.log_says(texts.taking(1, NAME, PID))
    host.after_pass(6)
    return host


def test_hostile_processes_stand_in_the_tables_under_their_names_and_are_not_watched(watched):
    log = watched.log()
    start = log.index(texts.MONITORING)
    ids = [entry for entry in log[:start] if "processIDAndNameMap" in entry]
    assert ids == [f"Inserting in to multimap processIDAndNameMap <{name_of(command)} : {1000 + number}> "
                   for number, command in enumerate(HOSTILE.values())] + [
                       f"Inserting in to multimap processIDAndNameMap <{NAME} : {PID}> "]
    assert [entry for entry in log if "counter added" in entry] == [
        f"CPU counter added for process {NAME} with PID - {PID} : {NAME}#{PID}"]
    assert [entry for entry in log if "exceeded" in entry] == [texts.exceeded("CPU", NAME, PID, 80, 90)]


def test_no_shell_line_carries_a_hostile_name_and_none_takes_effect(watched):
    assert not watched.exists(OWNED)
    listing = f'/usr/bin/ps -eo pid,command | /usr/bin/egrep "{NAME}|/usr/tarnv"'
    probe = (f'/usr/bin/ps -eo pid,%cpu,command | /usr/bin/egrep "{NAME}|/usr/tarnv" '
             f'| /usr/bin/grep "^[[:space:]]*\\<{PID}\\>"')
    lines = [line for line in watched.shell_lines() if " -eo " in line]
    assert set(lines) == {listing, probe}
    others = [line for line in watched.shell_lines() if " -eo " not in line and "evidence" not in line]
    assert sorted(others) == ['/usr/bin/cat /proc/cpuinfo | /usr/bin/grep "^processor" |/usr/bin/wc -l',
                              '/usr/bin/cat /proc/meminfo | /usr/bin/grep "^MemTotal" |/usr/bin/awk '
                              "'{ print $2 }' "]


def test_a_watched_program_with_hostile_arguments_is_read_all_the_same(make_host):
    hostile = [Process(2000 + number, f"/opt/{NAME} {command}", cpu=90)
               for number, command in enumerate(HOSTILE.values())]
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_DUMP_COUNT": 1}, processes=hostile)
    host.start(environment=ANY_BYTES)
    host.after_pass(5)
    assert [entry for entry in host.log() if "exceeded" in entry] == [
        texts.exceeded("CPU", NAME, one.pid, 80, 90) for one in hostile]
    assert not host.exists(OWNED)


@pytest.mark.parametrize("locale", ["C", "C.UTF-8"])
def test_real_processes_with_hostile_arguments_are_distinguished(make_host, locale):
    """The real ps, with newlines in the arguments that would make lines of their own."""
    host = make_host(real_tools=True, store={"THHS_MONITOR_CPU": f"{NAME}:100", "THHS_VERBOSE": 1})
    host.shell(f"mkdir '/opt/a b' && cp /bin/sleep /opt/{NAME} && cp /bin/sleep '/opt/a b/{NAME}' "
               f"&& cp /bin/dash '/opt/{NAME} '")
    sleeps = ["-c", "sleep 10000; :"]
    honest = host.spawn(f"/opt/{NAME}", "10000")
    in_blanks = host.spawn(f"/opt/a b/{NAME}", "10000")
    unreadable = host.spawn(f"/opt/{NAME} ", *sleeps, "\udcff\udcfe\n\t\x1b[2J", "x" * 4096)
    forged = host.spawn("/bin/dash", *sleeps, f"x\n 7777 /opt/{NAME} forged\n")
    quoted = host.spawn("/bin/dash", *sleeps, f"\udcff\udcfe {NAME}", "'\"`$(touch /owned)`\"'")
    host.start(environment={"LC_ALL": locale})
    host.after_pass(2)
    added = [entry for entry in host.log() if "counter added" in entry]
    assert added == [f"CPU counter added for process {NAME} with PID - {pid} : {NAME}#{pid}"
                     for pid in (honest, unreadable)]
    ids = {entry for entry in host.log() if "processIDAndNameMap" in entry}
    for name, pid in (("a", in_blanks), ("dash", forged), ("dash", quoted), (NAME, unreadable)):
        assert f"Inserting in to multimap processIDAndNameMap <{name} : {pid}> " in ids
    assert not [entry for entry in ids if "7777" in entry]
    assert not host.exists(OWNED)
