"""What happens at the same time: many breaches, stops amid captures, reloads under captures, two starts.

Each evidence file is compared whole, so a section that is lost, doubled or mixed with another one shows.
"""
import itertools
import signal
import time

import pytest

from host import NIGHTLY, Process, Tool, product, scripted, texts

NAME = "exampled"
BUSY_LIMIT = 180  # seconds for several hundred shells on a machine that has other work too
EVERYTHING = {"THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_CAPTURE_NETWORK_STAT": 1, "THHS_CAPTURE_DISK_IO": 1}
# Fires in the first pass, once.
AT_ONCE = {"THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 1}
MEMINFO = "MemTotal:        1000000 kB\nMemFree:          250000 kB\n"
SMAPS = "00400000-00401000 r-xp 00000000 08:01 12 /opt/exampled\nRss:                   4 kB\n"
STATUS = "Name:\texampled\nUmask:\t0022\n"
PS_TREE = "faxeo pid,pmem,rss,vsz,sz,size,args --width 120"


def sections(*rows):
    return "".join(texts.section(command, output) for command, output in rows)


def says(tool, arguments):
    return f"/usr/bin/{tool} {arguments}", f"{tool} says: {arguments}\n"


def connections(pids):
    """What netstat prints, whatever it is asked: a row a process."""
    return [f"tcp 1 0 10.0.0.1:80 10.0.0.2:80 CLOSE_WAIT {pid}/{NAME}\n" for pid in pids]


def network(pid, rows):
    def of_process(options):
        return (f"/usr/bin/netstat {options} | /usr/bin/grep {pid}",
                "".join(row for row in rows if str(pid) in row))

    everything = "".join(rows)
    unfiltered = ("-p --tcp | grep CLOSE_WAIT", "-na | grep CLOSE_WAIT", "-e", "-s", "-nalp")
    return sections(*[(f"/usr/bin/netstat {options}", everything) for options in unfiltered],
                    *[of_process(options) for options in ("-op", "-nop", "-anop", "-tanoxp")])


def whole_set(name, pid, rows, readings=1, smaps="", status=""):
    """Path to text of one evidence set with all captures."""
    stem = f"{name}/{pid}/Evidence1/{pid}_<time>_CPU."
    reading = sections(says("top", "-b -n 1"), says("ps", PS_TREE), says("free", ""), says("vmstat", ""),
                       ("/usr/bin/cat /proc/meminfo", MEMINFO))
    return {stem + str(pid): f"core of {pid}\n",
            stem + "MemoryPerf": reading * readings,
            stem + "Netstat": network(pid, rows),
            stem + "DiskPerf_iostat": sections(says("iostat", f"-xt 1 {readings}")),
            stem + "DiskPerf_mpstat": sections(says("mpstat", f"1 {readings}")),
            stem + "ProcessData": sections((f"/usr/bin/cat /proc/{pid}/smaps", smaps),
                                           (f"/usr/bin/cat /proc/{pid}/status", status),
                                           says("gstack", pid), says("pmap", pid))}


def assert_nothing_failed(host):
    assert [entry for entry in host.log() if "Error" in entry] == []


# ----------------------------------------------------------------------------------------------------------
# Many breaches at once
# ----------------------------------------------------------------------------------------------------------

def test_ten_breaches_in_one_pass_leave_ten_whole_sets(make_host):
    names = [f"{NAME}{letter}" for letter in "abcde"]
    host = make_host(store={**EVERYTHING, "THHS_MONITOR_CPU": ",".join(f"{name}:80" for name in names)})
    host.ask("cover", "/proc/meminfo", MEMINFO)
    watched = {}
    for name in names * 2:
        host.shell(f"ln -f /bin/sleep /opt/{name} || cp /bin/sleep /opt/{name}")
        watched[host.spawn(f"/opt/{name}", "100000")] = name
    for pid in watched:
        host.ask("cover", f"/proc/{pid}/smaps", SMAPS)
        host.ask("cover", f"/proc/{pid}/status", STATUS)
    rows = connections(watched)
    listed = [Process(pid, f"/opt/{name} 100000", cpu=[90] * 5 + [0]) for pid, name in watched.items()]
    host.script_tools({"netstat": Tool(output="".join(rows))}, listed)
    daemon = host.start()
    host.after_pass(5)
    expected = {}
    for pid, name in watched.items():
        expected.update(whole_set(name, pid, rows, smaps=SMAPS, status=STATUS))
    host.evidence_is(expected, BUSY_LIMIT)
    log = host.log()
    begin = [place for place, entry in enumerate(log) if entry == texts.MONITORING][4]
    said = [entry for entry in log[begin:log.index(texts.READING, begin)] if "Dump has" not in entry]
    assert said == [texts.MONITORING, *itertools.chain.from_iterable(
        (texts.exceeded("CPU", watched[pid], pid, 80, 90), texts.taking(1, watched[pid], pid))
        for pid in sorted(watched))]
    dumped = "Dump has generated for pid "
    host.comes_to(lambda: sorted(int(entry.rpartition(" ")[2]) for entry in host.log() if dumped in entry),
                  sorted(watched))
    assert_nothing_failed(host)
    host.after_pass(host.passes() + 1)
    assert [one["pid"] for one in host.daemons()] == [daemon]
    host.terminate()


# ----------------------------------------------------------------------------------------------------------
# A stop amid captures
# ----------------------------------------------------------------------------------------------------------

PID = 999901
STEM = f"Evidence1/{PID}_<time>_CPU."
JAVA = "/opt/jdk/bin/jcmd"
CAME_BACK = "came back, CLOSE_WAIT\n"  # so that the filter of the network lines lets it pass
HOLD = """#!/bin/dash
: >/run/held/{name}
until [ -e /run/go ]; do sleep 0.1; done
{end}
"""
SAY = f"printf '{CAME_BACK[:-1]}\\n'"

# What is held; what it does when it is let go; what is in the evidence after that, and nothing after it.
HELD = {
    # It speaks to the daemon, which ends it once the daemon is gone; so the image is written first.
    "gcore": ("/usr/bin/gcore", f'echo "core of $3" >"$2.$3"; {SAY}', {str(PID): f"core of {PID}\n"}),
    "top": ("/usr/bin/top", SAY, {"MemoryPerf": sections(("/usr/bin/top -b -n 1", CAME_BACK))}),
    "netstat": ("/usr/bin/netstat", SAY,
                {"Netstat": sections(("/usr/bin/netstat -p --tcp | grep CLOSE_WAIT", CAME_BACK))}),
    "iostat": ("/usr/bin/iostat", SAY,
               {"DiskPerf_iostat": sections(("/usr/bin/iostat -xt 1 1", CAME_BACK))}),
    "mpstat": ("/usr/bin/mpstat", SAY, {"DiskPerf_mpstat": sections(("/usr/bin/mpstat 1 1", CAME_BACK))}),
    "gstack": ("/usr/bin/gstack", SAY,
               {"ProcessData": sections((f"/usr/bin/cat /proc/{PID}/smaps", ""),
                                        (f"/usr/bin/cat /proc/{PID}/status", ""),
                                        (f"/usr/bin/gstack {PID}", CAME_BACK))}),
    "jcmd": (JAVA, 'echo "heap of $1" >"$3"', {}),
}


def levels(host, target):
    """The levels of a target of the product's log, as its own tool lists them."""
    return host.shell(f"{product.HOME}/bin/txlogcfg -p TH -o {target} -l")


def those_running(host, held):
    """Which of these held tools run."""
    running = {word for one in host.processes() if one["state"] != "Z" for word in one["arguments"][1:2]}
    return [name for name in held if HELD[name][0] in running]


def stopped_amid(make_host, held):
    """A host whose daemon was stopped while these tools hang in a capture; and the name that was watched."""
    name = "adminconsole" if "jcmd" in held else NAME
    command = "/opt/jre/bin/java tarn.thx.AdminConsole" if "jcmd" in held else f"/opt/{NAME}"
    host = make_host(store={**EVERYTHING, **AT_ONCE, "THHS_MONITOR_CPU": f"{name}:80",
                            "THHS_POLL_INTERVAL": 600, "THHS_INCREASE_LOG_LEVEL": 1,
                            "THHS_JDK_HOME": "/opt/jdk"},
                     processes=[Process(PID, command, cpu=90)])
    host.folder("/run/held", 0o777)
    for tool in held:
        path, end, _ = HELD[tool]
        host.put(path, HOLD.format(name=tool, end=end), 0o755)
    host.adopt_orphans()
    daemon = host.start()
    host.log_says(texts.taking(1, name, PID).replace("adminconsole", "java"))
    host.until(lambda: all(host.exists(f"/run/held/{tool}") for tool in held), f"{held} hang")
    host.comes_to(lambda: levels(host, name), texts.levels(6, 6))
    assert host.run("-terminate").status == 0
    assert host.status_of(daemon, limit=30) == 255
    return host, name


@pytest.mark.parametrize("held", [*[[tool] for tool in HELD], [tool for tool in HELD if tool != "jcmd"]],
                         ids=[*HELD, "all of them"])
def test_a_stop_amid_a_capture_ends_the_daemon_and_not_the_tool(make_host, held):
    host, name = stopped_amid(make_host, held)
    assert levels(host, name) == texts.levels(1, 1)
    log = host.log()
    assert log[-3:] == texts.STOPPING
    assert log.count(texts.STOPPED) == 1
    assert those_running(host, held) == held
    host.put("/run/go")
    host.until(lambda: not those_running(host, held), "the tools end")
    expected = {f"{name}/{PID}/{STEM}{suffix}": text
                for tool in held for suffix, text in HELD[tool][2].items()}
    host.comes_to(lambda: {path: text for path, text in host.evidence().items() if path in expected},
                  expected)
    assert host.log() == log  # nobody is left to write
    assert host.daemons() == []


def test_a_heap_dump_that_outlives_the_daemon_stays_where_it_was_written(make_host):
    host, _ = stopped_amid(make_host, ["jcmd"])
    temporary = f"{product.BASE}/tmp/{PID}dump.hprof"
    assert not host.exists(temporary)
    host.put("/run/go")
    host.comes_to(lambda: host.get(temporary), f"heap of {PID}\n")
    host.until(lambda: not those_running(host, ["jcmd"]), "the tool ends")
    assert not [line for line in host.shell_lines() if line.startswith("mv ") or "Thread.print" in line]


# ----------------------------------------------------------------------------------------------------------
# Reloads under captures
# ----------------------------------------------------------------------------------------------------------

RELOADING = 600 if NIGHTLY else 20  # seconds
FIRST_PID = 1000001
READINGS = 3


def comers(count):
    """A process a pass; each goes with the next pass, long before its captures are through."""
    return [Process(FIRST_PID + number, f"/opt/{NAME}", cpu=90, first=number + 1, last=number + 1)
            for number in range(count)]


def taken(host):
    """The ids of the processes that were breached, in order."""
    begin = "Taking Process Dump"
    return [int(entry.rpartition("(")[2].rstrip(").")) for entry in host.log() if entry.startswith(begin)]


def rewrite_every_second(host, seconds):
    """Writes another store each second, as long as asked: nothing of it touches what a capture collects."""
    changes = itertools.cycle([
        {"THHS_VERBOSE": 1}, {"THHS_JDK_HOME": "/opt/jdk"}, {"THHS_MONITOR_MEMORY": "otherd:5000"},
        {"THHS_VERBOSE": 0}, {"THHS_ALWAYS_DUMP": 1}, {"THHS_MONITOR_DEADLOCK": NAME},
        {"THHS_JDK_HOME": None, "THHS_MONITOR_MEMORY": None, "THHS_ALWAYS_DUMP": None,
         "THHS_MONITOR_DEADLOCK": None}])
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        host.configure(next(changes))
        time.sleep(1)  # the pace of the changes; nothing is awaited here


def test_reloads_under_running_captures_lose_no_section(make_host):
    """Each set takes three seconds and more, so that about three of them are always under way."""
    processes = comers(RELOADING)
    rows = [*connections(one.pid for one in processes[:3]),
            "tcp 0 0 10.0.0.1:22 10.0.0.2:22 CLOSE_WAIT 7/x\n"]
    host = make_host(store={**EVERYTHING, **AT_ONCE, "THHS_MONITOR_CPU": f"{NAME}:80",
                            "THHS_NUMBER_OF_READINGS": READINGS})
    host.ask("cover", "/proc/meminfo", MEMINFO)
    host.script_tools({"netstat": Tool(output="".join(rows))}, processes)
    host.adopt_orphans()
    daemon = host.start()
    rewrite_every_second(host, RELOADING)
    loads = host.log().count(texts.READ)
    host.show()  # nobody comes any more
    host.after_pass(host.passes() + 2, BUSY_LIMIT)
    pids = taken(host)
    assert pids == list(range(FIRST_PID, FIRST_PID + len(pids)))
    assert len(pids) >= 5
    assert loads >= len(pids)
    expected = {}
    for pid in pids:
        expected.update(whole_set(NAME, pid, rows, READINGS))
    host.evidence_is(expected, BUSY_LIMIT)
    assert_nothing_failed(host)
    assert [one["pid"] for one in host.daemons()] == [daemon]
    host.terminate()
    assert host.status_of(daemon) == 255


# ----------------------------------------------------------------------------------------------------------
# Two starts
# ----------------------------------------------------------------------------------------------------------

STARTS = 100 if NIGHTLY else 5
STARTED = texts.IS_RUNNING + texts.done("start")
IN_PROGRESS = "Error: Another instance of run action in progressing state\n" + texts.failed("start")
# Both wait for the same file, without a pause.
AT_THE_SIGN = f"until [ -e /run/go ]; do :; done; exec {product.PROGRAM} -start"


def outcome(result):
    """Status and output after the banner; the banner may come twice, once from each side of the fork."""
    return result.status, result.output.replace(texts.begun("start"), "")


# The second one is turned away while the first is at work; on a slow machine it may come after that.
OUTCOMES = [sorted([(0, STARTED), (8, IN_PROGRESS)]),
            sorted([(0, STARTED), (0, texts.ALREADY + STARTED)])]


def test_two_starts_at_the_same_moment_make_one_daemon(make_host):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    host.adopt_orphans()
    for _ in range(STARTS):
        both = [host.spawn("/bin/dash", "-c", AT_THE_SIGN) for _ in range(2)]
        host.put("/run/go")
        results = sorted(outcome(host.wait(one)) for one in both)
        assert results in OUTCOMES
        daemon = host.daemon_pid()
        assert [one["pid"] for one in host.daemons()] == [daemon]
        host.kill(daemon)
        # Its lock falls with the last of its threads, which may be later than it looks gone.
        assert host.status_of(daemon) == -signal.SIGKILL
        host.remove("/run/go")
    assert host.log().count(texts.STARTED) == STARTS
