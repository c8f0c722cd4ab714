"""Where the outside tools are found, and what a daemon makes of tools and release files that come and go."""
import pytest

from host import Process, paced, texts

NAME, PID = "exampled", 4321
EVERY_PASS = {"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1, "THHS_DUMP_COUNT": 10}
# All tools that the program calls by a path of its own; gcore is the one that has but one place.
MOVABLE = ["awk", "cat", "egrep", "free", "grep", "gstack", "iostat", "mpstat", "netstat", "pmap", "ps",
           "top", "vmstat", "wc"]


def own_bin(host, *moved):
    """Makes /bin a folder of its own that holds the shells and these tools, which then lie there alone."""
    host.ask("remove", "/bin")  # a link to /usr/bin
    host.folder("/bin")
    for shell in ("sh", "dash", "bash"):
        host.ask("link", f"/usr/bin/{shell}", f"/bin/{shell}")
    if "cat" not in moved:
        host.ask("link", "/usr/bin/cat", "/bin/cat")  # for the scripts of this host
    for tool in moved:
        host.shell(f"/usr/bin/mv /usr/bin/{tool} /bin/{tool}")


def breached(make_host, pace, prepare, **description):
    """A host after a first pass with a breach and its captures, prepared before the start."""
    store = {**EVERY_PASS, "THHS_DUMP_COUNT": 1, **description.pop("store", {})}
    host = make_host(store=store, processes=[Process(PID, f"/opt/{NAME}", cpu=7)], **description)
    prepare(host)
    daemon = paced.Paced(host, pace, PATH="/usr/bin:/bin")
    assert daemon.start().status == 0
    daemon.captures_end()
    return host


def commands(host):
    """Every line of a shell without its redirection."""
    return [line.partition(" >> ")[0] for line in host.shell_lines()]


def of_captures(netstat="/bin/netstat", place="/bin"):
    """The lines of all captures but the core, with all tools at one place."""
    filtered = f" | {place}/grep {PID}"
    return [f"{place}/top -b -n 1", f"{place}/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120",
            f"{place}/free ", f"{place}/vmstat ", f"{place}/cat /proc/meminfo",
            f"{netstat} -p --tcp | grep CLOSE_WAIT", f"{netstat} -na | grep CLOSE_WAIT",
            *(f"{netstat} {options}" for options in ("-e", "-s", "-nalp")),
            *(f"{netstat} {options}{filtered}" for options in ("-op", "-nop", "-anop", "-tanoxp")),
            f"{place}/iostat -xt 1 1", f"{place}/mpstat 1 1", f"{place}/cat /proc/{PID}/smaps",
            f"{place}/cat /proc/{PID}/status", f"{place}/gstack {PID}", f"{place}/pmap {PID}"]


def test_tools_that_lie_in_bin_alone_are_called_there_and_do_their_work(make_host, pace):
    host = breached(make_host, pace, lambda host: own_bin(host, *MOVABLE),
                    store={"THHS_CAPTURE_PROCESS_DUMP": 1, "THHS_VERBOSE": 1})
    lines = commands(host)
    watching = ['/bin/cat /proc/cpuinfo | /bin/grep "^processor" |/bin/wc -l',
                "/bin/cat /proc/meminfo | /bin/grep \"^MemTotal\" |/bin/awk '{ print $2 }' ",
                *[f'/bin/ps -eo pid,command | /bin/egrep "{NAME}|/usr/tarnv"'] * 2,
                f'/bin/ps -eo pid,%cpu,command | /bin/egrep "{NAME}|/usr/tarnv" '
                f'| /bin/grep "^[[:space:]]*\\<{PID}\\>"']
    assert lines[:5] == watching
    core = [line for line in lines if "gcore" in line]
    assert [line.split()[0] for line in core] == ["/usr/bin/gcore"]
    assert sorted(lines[5:]) == sorted([*of_captures(), *core])
    log = host.log()
    assert [one for one in host.machine_lines() if one not in log] == []
    assert f"CPU usage for process {NAME}({PID}) : 7.00 Percent" in log
    statuses = [entry.rpartition(" return the ")[2] for entry in log if " return the " in entry]
    assert len(statuses) == len(of_captures())
    assert set(statuses) <= {"0", "256"}  # 256: nothing passed a filter, or a file isn't there


@pytest.mark.parametrize("distribution, netstat, status", [("suse", "/bin/netstat", "32512"),
                                                           ("none", "/usr/bin/netstat", "0")])
def test_on_suse_a_netstat_that_lies_in_usr_bin_alone_is_not_found(make_host, pace, distribution, netstat,
                                                                  status):
    host = breached(make_host, pace, own_bin, distribution=distribution, store={"THHS_VERBOSE": 1})
    said = [texts.without_file_times(entry) for entry in host.log() if "/netstat -e >> " in entry]
    line = f"{netstat} -e >> /evidence/thsentinel/{NAME}/{PID}/Evidence1/{PID}_<time>_CPU.Netstat"
    assert said == [f"CollectCommandData : Command to execute : {line}",
                    f"CollectCommandData : command {line} return the {status}"]


# What lies at /usr/bin/top, whose name is all that a shell is given; the line for it, and its status.
IN_PLACE = {
    "a file that can't be run": (lambda host: host.put("/usr/bin/top", "#!/bin/dash\n", 0o644),
                                 "/usr/bin/top", 126),
    "an empty folder": (lambda host: (host.remove("/usr/bin/top"), host.folder("/usr/bin/top")),
                        "/usr/bin/top", 126),
    "a link to a tool": (lambda host: host.shell("mv /usr/bin/top /opt/top && ln -s /opt/top /usr/bin/top"),
                         "/usr/bin/top", 0),
    "a link to nothing": (lambda host: host.shell("rm /usr/bin/top && ln -s /no/such /usr/bin/top"),
                          "/bin/top", 127),
}


@pytest.mark.parametrize("prepare, tool, status", IN_PLACE.values(), ids=IN_PLACE.keys())
def test_a_tool_is_taken_for_there_when_anything_bears_its_name(make_host, pace, prepare, tool, status):
    host = breached(make_host, pace, prepare, store={"THHS_VERBOSE": 1})
    line = (f"{tool} -b -n 1 >> /evidence/thsentinel/{NAME}/{PID}/Evidence1/{PID}_<time>_CPU.MemoryPerf")
    assert [texts.without_file_times(entry) for entry in host.log() if "-b -n 1" in entry] == [
        f"CollectCommandData : Command to execute : {line}",
        f"CollectCommandData : command {line} return the {status << 8}"]


# ----------------------------------------------------------------------------------------------------------
# Under a running daemon
# ----------------------------------------------------------------------------------------------------------

def lines_of_pass(daemon):
    """The lines that the next pass gives to shells, its captures included, without redirections."""
    before = len(daemon.host.shell_lines())
    assert daemon.step()
    daemon.captures_end()
    return commands(daemon.host)[before:]


def lines_with(listing, probe):
    """The lines of a quiet pass, with the places of the filters of its listings and of its probe."""
    return [*[f'/usr/bin/ps -eo pid,command | {listing}/egrep "{NAME}|/usr/tarnv"'] * 2,
            f'/usr/bin/ps -eo pid,%cpu,command | {probe}/egrep "{NAME}|/usr/tarnv" '
            f'| {probe}/grep "^[[:space:]]*\\<{PID}\\>"']


def test_each_probe_looks_for_its_tools_anew_and_the_listing_keeps_those_of_the_start(make_host, pace):
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:80"},
                     processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    own_bin(host, "egrep", "grep")
    daemon = paced.Paced(host, pace, PATH="/usr/bin:/bin")
    assert daemon.start().status == 0
    assert lines_of_pass(daemon) == lines_with(listing="/bin", probe="/bin")
    host.shell("cp -P /bin/egrep /bin/grep /usr/bin")
    assert lines_of_pass(daemon) == lines_with(listing="/bin", probe="/usr/bin")
    host.shell("rm /usr/bin/egrep /usr/bin/grep")
    assert lines_of_pass(daemon) == lines_with(listing="/bin", probe="/bin")


def test_a_tool_that_is_installed_later_serves_the_next_breach(live):
    daemon = live(store={**EVERY_PASS, "THHS_CAPTURE_PROCESS_DUMP": 1}, without=["gcore", "iostat"],
                  processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    host = daemon.host
    daemon.captures_end()
    assert "/bin/iostat -xt 1 1" in commands(host)
    host.put("/usr/bin/gcore", "#!/bin/dash\n", 0o755)
    host.put("/usr/bin/iostat", "#!/bin/dash\necho samples\n", 0o755)
    lines = lines_of_pass(daemon)
    assert "/usr/bin/iostat -xt 1 1" in lines
    assert [line.split()[0] for line in lines if "gcore" in line] == ["/usr/bin/gcore"]
    assert host.evidence()[f"{NAME}/{PID}/Evidence2/{PID}_<time>_CPU.DiskPerf_iostat"] == texts.section(
        "/usr/bin/iostat -xt 1 1", "samples\n")


GENERAL = texts.probe_line("%cpu", NAME, PID)
OWN = f'/usr/bin/ps -q {PID} -o pid,%cpu,command | /usr/bin/egrep "{NAME}|/usr/tarnv"'
# What comes to a host without a release file, in turn; the CPU probe and the netstat that follow.
RELEASES = [
    (lambda host: host.put("/etc/SuSE-release", ""), GENERAL, "/bin/netstat"),
    (lambda host: host.put("/etc/oracle-release", "SUSE Linux\n", 0o000), OWN, "/usr/bin/netstat"),
    (lambda host: host.remove("/etc/oracle-release"), GENERAL, "/bin/netstat"),
    (lambda host: host.folder("/etc/redhat-release"), OWN, "/usr/bin/netstat"),
    (lambda host: (host.remove("/etc/redhat-release"), host.remove("/etc/SuSE-release")),
     GENERAL, "/usr/bin/netstat"),
]


def test_a_release_file_counts_from_its_coming_to_its_going_whatever_it_holds(live):
    daemon = live(store=EVERY_PASS, processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
    for change, cpu_probe, netstat in RELEASES:
        change(daemon.host)
        lines = lines_of_pass(daemon)
        assert [line for line in lines if "%cpu" in line] == [cpu_probe]
        assert [line for line in lines if line.endswith("netstat -s")] == [f"{netstat} -s"]
