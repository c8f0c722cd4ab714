"""The evidence of a breach, byte for byte against scripted tools, and once with the real ones."""
import re

import pytest

from host import Process, Tool, missing_tools, texts

NAME = "exampled"
MEMINFO = "MemTotal:        1000000 kB\nMemFree:          250000 kB\n"
SMAPS = "00400000-00401000 r-xp 00000000 08:01 12 /opt/exampled\nRss:                   4 kB\n"
STATUS = "Name:\texampled\nUmask:\t0022\n"
REAL_TOOLS = ["ps", "top", "free", "vmstat", "netstat", "iostat", "mpstat", "pmap"]


def a_process(host, program="/bin/sleep", arguments=("100000",)):
    """Starts a process of the watched name and gives its id."""
    host.shell(f"cp {program} /opt/{NAME}")
    return host.spawn(f"/opt/{NAME}", *arguments)


def freeze(host, pid):
    """Shows fixed texts in place of two files that change even while a process sleeps."""
    host.ask("cover", f"/proc/{pid}/smaps", SMAPS)
    host.ask("cover", f"/proc/{pid}/status", STATUS)


ONE_BREACH = [90] * 5 + [0]


def breaching_host(make_host, store=None, readings=ONE_BREACH, **more):
    """A started host with a running, watched process of these scripted CPU readings; and its process id."""
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:80", **(store or {})}, **more)
    host.ask("cover", "/proc/meminfo", MEMINFO)
    pid = a_process(host)
    host.show(Process(pid, f"/opt/{NAME} 100000", cpu=readings))
    host.start()
    return host, pid


def says(tool, arguments):
    return f"{tool} says: {arguments}\n"


def memory_readings(count=1):
    ps = "faxeo pid,pmem,rss,vsz,sz,size,args --width 120"
    return count * (texts.section("/usr/bin/top -b -n 1", says("top", "-b -n 1"))
                    + texts.section(f"/usr/bin/ps {ps}", says("ps", ps))
                    + texts.section("/usr/bin/free ", says("free", ""))
                    + texts.section("/usr/bin/vmstat ", says("vmstat", ""))
                    + texts.section("/usr/bin/cat /proc/meminfo", MEMINFO))


def disk_samples(tool, arguments):
    return texts.section(f"/usr/bin/{tool} {arguments}", says(tool, arguments))


# What netstat prints by argument line: some of it is for the filters to keep, some to drop.
NETSTAT = {
    "-p --tcp": "tcp 0 0 a:1 b:2 CLOSE_WAIT 7/x\ntcp 0 0 a:1 b:2 ESTABLISHED 7/x\n",
    "-na": "tcp 0 0 1.1.1.1:1 2.2.2.2:2 LISTEN\n",
    "-op": "tcp 0 0 a:1 b:{pid} ESTABLISHED -\ntcp 0 0 a:1 b:3 ESTABLISHED 9/y\n",
    "-tanoxp": "unix 3 STREAM {pid}/exampled\nunix 3 STREAM 1{pid}7/other\nunix 3 STREAM none\n",
}


def network(netstat, pid):
    """The sections of the network file for the answers above."""
    line = f"{netstat} {{}} | /usr/bin/grep {pid}".format
    return (texts.section(f"{netstat} -p --tcp | grep CLOSE_WAIT", "tcp 0 0 a:1 b:2 CLOSE_WAIT 7/x\n")
            + texts.section(f"{netstat} -na | grep CLOSE_WAIT", "")
            + texts.section(f"{netstat} -e", says("netstat", "-e"))
            + texts.section(f"{netstat} -s", says("netstat", "-s"))
            + texts.section(f"{netstat} -nalp", says("netstat", "-nalp"))
            + texts.section(line("-op"), f"tcp 0 0 a:1 b:{pid} ESTABLISHED -\n")
            + texts.section(line("-nop"), "")
            + texts.section(line("-anop"), "")
            + texts.section(line("-tanoxp"), f"unix 3 STREAM {pid}/exampled\nunix 3 STREAM 1{pid}7/other\n"))


def netstat_answers(pid):
    return {arguments: text.format(pid=pid) for arguments, text in NETSTAT.items()}


def process_data(pid):
    return (texts.section(f"/usr/bin/cat /proc/{pid}/smaps", SMAPS)
            + texts.section(f"/usr/bin/cat /proc/{pid}/status", STATUS)
            + texts.section(f"/usr/bin/gstack {pid}", says("gstack", pid))
            + texts.section(f"/usr/bin/pmap {pid}", says("pmap", pid)))


def whole_set(pid, number=1, label="CPU", netstat="/usr/bin/netstat"):
    """Path to text of one evidence set without a process dump."""
    stem = f"{NAME}/{pid}/Evidence{number}/{pid}_<time>_{label}."
    return {stem + "MemoryPerf": memory_readings(), stem + "Netstat": network(netstat, pid),
            stem + "DiskPerf_iostat": disk_samples("iostat", "-xt 1 1"),
            stem + "DiskPerf_mpstat": disk_samples("mpstat", "1 1"),
            stem + "ProcessData": process_data(pid)}


@pytest.mark.parametrize("distribution, netstat", [
    ("none", "/usr/bin/netstat"), ("redhat", "/usr/bin/netstat"), ("oracle", "/usr/bin/netstat"),
    ("suse", "/bin/netstat"), ("several", "/usr/bin/netstat")])
def test_one_breach_leaves_these_files_byte_for_byte(make_host, distribution, netstat):
    host = make_host(distribution=distribution, store={"THHS_MONITOR_CPU": f"{NAME}:80"})
    host.ask("cover", "/proc/meminfo", MEMINFO)
    pid = a_process(host)
    freeze(host, pid)
    host.script_tools({"netstat": Tool(answers=netstat_answers(pid))},
                      [Process(pid, f"/opt/{NAME} 100000", cpu=ONE_BREACH)])
    host.start()
    host.log_says(texts.taking(1, NAME, pid))
    host.evidence_is(whole_set(pid, netstat=netstat))
    assert [one[:3] for one in host.ask("tree", "/evidence") if one[1] == "folder" or ".lock" in one[0]] == [
        ["thsentinel", "folder", 0o755], [f"thsentinel/{NAME}", "folder", 0o755],
        [f"thsentinel/{NAME}/{pid}", "folder", 0o755],
        [f"thsentinel/{NAME}/{pid}/Evidence1", "folder", 0o755],
        [f"thsentinel/{NAME}/{pid}/evidence.lock", "file", 0o600]]


def test_the_file_names_hold_day_before_month_and_no_year(make_host):
    host, pid = breaching_host(make_host)
    host.log_says(texts.taking(1, NAME, pid))
    host.until(lambda: len(host.evidence()) == 5, "five files")
    days = {host.shell("date -d yesterday +%d-%m").strip(), host.shell("date +%d-%m").strip()}
    names = [path.rpartition("/")[2] for path in host.ask("files", "/evidence/thsentinel")
             if not path.endswith(".lock")]
    assert all(re.match(rf"{pid}_({'|'.join(days)})_\d\d\.\d\d\.\d\d_CPU\.", name) for name in names)


def test_every_reading_adds_its_five_sections(make_host):
    host, pid = breaching_host(make_host, {"THHS_NUMBER_OF_READINGS": 3})
    path = f"{NAME}/{pid}/Evidence1/{pid}_<time>_CPU.MemoryPerf"
    host.comes_to(lambda: host.evidence().get(path), memory_readings(3))
    assert ("iostat", "-xt 1 3") in host.calls()
    assert ("mpstat", "1 3") in host.calls()


@pytest.mark.parametrize("key, endings", [
    ("THHS_CAPTURE_NETWORK_STAT", ["DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "ProcessData"]),
    ("THHS_CAPTURE_DISK_IO", ["MemoryPerf", "Netstat", "ProcessData"])])
def test_a_capture_that_is_switched_off_leaves_no_file(make_host, key, endings):
    host, pid = breaching_host(make_host, {key: 0, "THHS_VERBOSE": 1})
    host.log_says("Process specific data collected successfully.")
    host.log_says("Memory Performance data collected successfully.")
    host.comes_to(lambda: sorted(path.rpartition(".")[2] for path in host.evidence()), endings)
    host.after_pass(7)
    assert sorted(path.rpartition(".")[2] for path in host.evidence()) == endings


def test_a_second_breach_gets_a_second_folder(make_host):
    host, pid = breaching_host(make_host, readings=[90] * 11 + [0])
    host.log_says(texts.taking(2, NAME, pid))
    wanted = [f"{NAME}/{pid}/Evidence{number}/{pid}_<time>_CPU.{ending}" for number in (1, 2) for ending in (
        "DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData")]
    host.comes_to(lambda: sorted(host.evidence()), wanted)


def test_a_memory_breach_is_filed_under_its_label(make_host):
    host = make_host(store={"THHS_MONITOR_MEMORY": f"{NAME}:80"},
                     processes=[Process(4321, f"/opt/{NAME}", rss=[90 * 1024] * 5 + [0])])
    host.start()
    host.log_says(texts.taking(1, NAME, 4321))
    host.until(lambda: len(host.evidence()) == 5, "five files")
    assert {path.rpartition("_")[2].partition(".")[0] for path in host.evidence()
            if "DiskPerf" not in path} == {"Memory"}


def test_a_name_that_is_a_path_is_the_name_of_its_folder_as_it_stands(make_host):
    """Below the root of the evidence, the name / is that root itself."""
    host = make_host(store={"THHS_MONITOR_CPU": "/:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1,
                            "THHS_DUMP_COUNT": 1}, processes=[Process(999999, "/", cpu=90)])
    host.start()
    host.log_says(texts.taking(1, "/", 999999))
    host.comes_to(host.evidence_paths, [
        "999999", "999999/Evidence1", *(f"999999/Evidence1/999999_<time>_CPU.{ending}" for ending in (
            "DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData")),
        "999999/evidence.lock"])


def test_a_process_that_is_gone_leaves_only_heads(make_host):
    host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_VERBOSE": 1},
                     processes=[Process(999999, f"/opt/{NAME}", cpu=ONE_BREACH)])
    host.start()
    host.log_says("Process specific data collected successfully.")
    expected = (texts.section("/usr/bin/cat /proc/999999/smaps", "")
                + texts.section("/usr/bin/cat /proc/999999/status", "")
                + texts.section("/usr/bin/gstack 999999", says("gstack", 999999))
                + texts.section("/usr/bin/pmap 999999", says("pmap", 999999)))
    assert host.evidence()[f"{NAME}/999999/Evidence1/999999_<time>_CPU.ProcessData"] == expected


def test_what_a_tool_says_on_standard_error_stays_out(make_host):
    host, pid = breaching_host(make_host, tools={"top": Tool(output="good\n", errors="bad\n", status=3)})
    path = f"{NAME}/{pid}/Evidence1/{pid}_<time>_CPU.MemoryPerf"
    host.until(lambda: "/proc/meminfo" in host.evidence().get(path, ""), "the memory file is written")
    assert host.evidence()[path].startswith(texts.section("/usr/bin/top -b -n 1", "good\n"))
    assert "bad" not in host.evidence()[path]


def test_a_missing_tool_leaves_only_its_head_and_the_service_continues(make_host):
    host, pid = breaching_host(make_host, without=["top", "netstat", "iostat", "gstack", "pmap"])
    host.after_pass(6)
    evidence = host.evidence()
    stem = f"{NAME}/{pid}/Evidence1/{pid}_<time>_CPU."
    assert evidence[stem + "MemoryPerf"].startswith(
        texts.section("/bin/top -b -n 1", "") + texts.section(
            "/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120",
            says("ps", "faxeo pid,pmem,rss,vsz,sz,size,args --width 120")))
    assert evidence[stem + "DiskPerf_iostat"] == texts.section("/bin/iostat -xt 1 1", "")
    assert evidence[stem + "ProcessData"].endswith(
        texts.section(f"/bin/gstack {pid}", "") + texts.section(f"/bin/pmap {pid}", ""))
    assert evidence[stem + "Netstat"].startswith(
        texts.section("/bin/netstat -p --tcp | grep CLOSE_WAIT", ""))


def test_an_evidence_tree_that_vanishes_is_made_anew(make_host):
    host, pid = breaching_host(make_host, readings=[90] * 11 + [0])
    host.log_says(texts.taking(1, NAME, pid))
    host.after_pass(6)
    host.remove("/evidence/thsentinel")
    host.log_says(texts.taking(2, NAME, pid))
    host.until(lambda: len(host.evidence()) == 5, "the second set is whole")
    assert {path.split("/")[2] for path in host.evidence()} == {"Evidence2"}
    assert host.exists(f"/evidence/thsentinel/{NAME}/{pid}/evidence.lock")


def test_old_evidence_outlives_a_restart_and_its_folder_is_used_anew(make_host):
    host, pid = breaching_host(make_host)
    host.log_says(texts.taking(1, NAME, pid))
    host.until(lambda: len(host.evidence()) == 5, "the set is whole")
    host.after_pass(6)
    host.terminate()
    host.configure(THHS_PURGE_OLD_EVIDENCE=1, THHS_VERBOSE=1)
    before = host.ask("files", "/evidence/thsentinel")
    host.start()
    host.log_says("Successfully purged older evidences collected during last runs.")
    host.log_says("Trying to clean up older evidences. Command : rm -f /evidence/thsentinel")
    assert before.items() <= host.ask("files", "/evidence/thsentinel").items()
    host.log_says(texts.taking(1, NAME, pid), times=2)
    host.until(lambda: len(host.ask("files", "/evidence/thsentinel")) == 11, "two sets and the marker")
    assert {path.split("/")[2] for path in host.evidence()} == {"Evidence1"}


def test_the_purge_runs_once_a_start_and_not_on_a_reload(make_host):
    host = make_host(store={"THHS_PURGE_OLD_EVIDENCE": 1})
    host.start()
    host.after_pass(3)
    assert host.shell_lines().count("rm -f /evidence/thsentinel") == 1


def test_the_real_tools_leave_real_output(make_host):
    missing = missing_tools(REAL_TOOLS)
    if missing:
        pytest.skip(f"not installed: {', '.join(missing)}")
    host = make_host(real_tools=True, cpus=None, store={"THHS_MONITOR_CPU": f"{NAME}:0"})
    pid = a_process(host, "/bin/dash", ["-c", "while :; do :; done"])
    host.start()
    host.log_says(texts.taking(1, NAME, pid))
    stem = f"{NAME}/{pid}/Evidence1/{pid}_<time>_CPU."
    tree = "/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120"
    wanted = {
        "MemoryPerf": {"/usr/bin/top -b -n 1": rf"top - .*\n(?s:.*)\b{pid}\b",
                       tree: rf"PID %MEM(?s:.*)\b{pid}\b",
                       "/usr/bin/free ": "Mem:", "/usr/bin/vmstat ": "procs -+memory",
                       "/usr/bin/cat /proc/meminfo": "MemTotal:"},
        "Netstat": {"/usr/bin/netstat -s": "Tcp:", "/usr/bin/netstat -nalp": "Active Internet connections"},
        "DiskPerf_iostat": {"/usr/bin/iostat -xt 1 1": "avg-cpu:"},
        "DiskPerf_mpstat": {"/usr/bin/mpstat 1 1": "%usr"},
        "ProcessData": {f"/usr/bin/cat /proc/{pid}/smaps": "Rss:",
                        f"/usr/bin/cat /proc/{pid}/status": rf"Name:\t{NAME}\n(?s:.*)Pid:\t{pid}\n",
                        f"/usr/bin/pmap {pid}": rf"{pid}:(?s:.*)total"},
    }

    def missing_output():
        found = host.evidence()
        return [(ending, command)
                for ending, sections in wanted.items() for command, pattern in sections.items()
                if not re.search(re.escape(texts.section(command, "")) + f"(?s:.*?){pattern}",
                                 found.get(stem + ending, ""))]

    host.comes_to(missing_output, [])
    assert host.run("-terminate").status == 0
    host.until_gone()
