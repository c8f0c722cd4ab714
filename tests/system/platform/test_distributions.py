"""The shell lines that each distribution gets, whole and in order."""
import pytest

from host import Process, texts

NAME, PID = "exampled", 4321
FILTER = f'/usr/bin/egrep "{NAME}|/usr/tarnv"'
AT_THIS_PID = f'/usr/bin/grep "^[[:space:]]*\\<{PID}\\>"'
LISTING = f"/usr/bin/ps -eo pid,command | {FILTER}"
GENERAL_PROBE = f"/usr/bin/ps -eo pid,%cpu,command | {FILTER} | {AT_THIS_PID}"
OWN_PROBE = f"/usr/bin/ps -q {PID} -o pid,%cpu,command | {FILTER}"
MEMORY_PROBE = f"/usr/bin/ps -eo pid,rss,command | {FILTER} | {AT_THIS_PID}"
PERCENT_PROBE = f"/usr/bin/ps -eo pid,%mem,command | {FILTER} | {AT_THIS_PID}"
START = ['/usr/bin/cat /proc/cpuinfo | /usr/bin/grep "^processor" |/usr/bin/wc -l',
         "/usr/bin/cat /proc/meminfo | /usr/bin/grep \"^MemTotal\" |/usr/bin/awk '{ print $2 }' "]
CPU_PROBES = [("redhat", OWN_PROBE), ("oracle", OWN_PROBE), ("several", OWN_PROBE), ("suse", GENERAL_PROBE),
              ("none", GENERAL_PROBE)]


def a_host(make_host, distribution, **settings):
    lists = {"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_MONITOR_MEMORY": f"{NAME}:80"}
    host = make_host(distribution=distribution, store={**lists, **settings},
                     processes=[Process(PID, f"/opt/{NAME} -d", cpu=7, mem=5, rss=9000)])
    host.start()
    return host


@pytest.mark.parametrize("distribution, probe", CPU_PROBES)
@pytest.mark.parametrize("unit, memory_probe", [("ABSOLUTE", MEMORY_PROBE), ("PERCENT", PERCENT_PROBE)])
def test_a_quiet_pass_sends_these_lines_in_order(make_host, distribution, probe, unit, memory_probe):
    host = a_host(make_host, distribution, THHS_MEMORY_UNIT=unit)
    host.after_pass(2)
    lines = host.shell_lines()
    assert lines[:2] == START
    one_pass = [LISTING, LISTING, probe, memory_probe]
    assert lines[2:10] == one_pass * 2


@pytest.mark.parametrize("distribution, probe", CPU_PROBES)
def test_the_reading_is_the_same_on_every_distribution(make_host, distribution, probe):
    host = a_host(make_host, distribution, THHS_VERBOSE=1)
    host.after_pass(1)
    log = host.log()
    assert f"CPU usage for process {NAME}({PID}) : 7.00 Percent" in log
    assert f"Memory usage for process {NAME}({PID}) : 8.79 MB" in log
    assert f"Cmd:{probe}" in log


@pytest.mark.parametrize("distribution, netstat", [
    ("redhat", "/usr/bin/netstat"), ("oracle", "/usr/bin/netstat"), ("several", "/usr/bin/netstat"),
    ("suse", "/bin/netstat"), ("none", "/usr/bin/netstat")])
def test_a_breach_sends_these_lines_each_file_in_its_order(make_host, distribution, netstat):
    host = a_host(make_host, distribution, THHS_CAPTURE_WITHOUT_THRESHOLD=1, THHS_DUMP_COUNT=1,
                  THHS_MONITOR_MEMORY="otherd:1")
    host.after_pass(3)
    sent = {}
    for line in host.shell_lines():
        command, redirected, path = line.partition(" >> ")
        if redirected:
            sent.setdefault(path.rpartition(".")[2], []).append(command)
    filtered = f" | /usr/bin/grep {PID}"
    assert sent == {
        "MemoryPerf": ["/usr/bin/top -b -n 1", "/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120",
                       "/usr/bin/free ", "/usr/bin/vmstat ", "/usr/bin/cat /proc/meminfo"],
        "Netstat": [f"{netstat} -p --tcp | grep CLOSE_WAIT", f"{netstat} -na | grep CLOSE_WAIT",
                    f"{netstat} -e", f"{netstat} -s", f"{netstat} -nalp", f"{netstat} -op{filtered}",
                    f"{netstat} -nop{filtered}", f"{netstat} -anop{filtered}",
                    f"{netstat} -tanoxp{filtered}"],
        "DiskPerf_iostat": ["/usr/bin/iostat -xt 1 1"], "DiskPerf_mpstat": ["/usr/bin/mpstat 1 1"],
        "ProcessData": [f"/usr/bin/cat /proc/{PID}/smaps", f"/usr/bin/cat /proc/{PID}/status",
                        f"/usr/bin/gstack {PID}", f"/usr/bin/pmap {PID}"]}
    assert texts.taking(1, NAME, PID) in host.log()
