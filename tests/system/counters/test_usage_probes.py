"""What the probes of a process believe, by what ps answers them."""
import re

import pytest

from host import Process, paced, scripted, texts

NAME = "exampled"
READING = re.compile(r"(?:CPU|Memory) usage for process .*\((\d+)\) : (.*) (?:Percent|MB)")

# What ps answers for a process, and whether that is believed.
ROWS = {
    "its row": ("   {pid} {value} /opt/exampled -d\n", True),
    "its name without a path": ("{pid} {value} exampled\n", True),
    "its name in another folder": ("   {pid}    {value}    /usr/tarnv/bin/exampled  -d  \n", True),
    "no row": ("", False),
    "another command, which the filter does not know": ("   {pid} {value} /opt/other -d\n", False),
    "another command, which the filter lets pass": ("   {pid} {value} /opt/other exampled\n", False),
    "a longer name": ("   {pid} {value} /opt/exampled2\n", False),
    "longer ids alone": ("  {pid}0 {value} exampled\n1{pid} {value} exampled\n", False),
    "longer ids after it": ("{pid} {value} exampled\n  {pid}0 99 exampled\n1{pid} 99 exampled\n", True),
    "the id as a reading": ("   77 {pid} exampled\n", False),
    "a reading that is a word": ("   {pid} much exampled\n", False),
    "two rows with a blank between": ("   {pid} {value} exampled\n   {pid} 99 exampled\n", True),
    "two rows with nothing between": ("   {pid} {value} exampled\n{pid} 99 exampled\n", False),
}
PIDS = dict(zip(ROWS, range(4301, 4400)))
# The key of the list, the unit, what ps is asked for, what it answers, and how a reading of that is shown.
PROBES = {
    "CPU": ("CPU", "ABSOLUTE", "cpu", "61.5", "61.50"),
    "percent of memory": ("MEMORY", "PERCENT", "mem", "61.5", "61.50"),
    "kilobytes shown as megabytes": ("MEMORY", "ABSOLUTE", "rss", "62976", "61.50"),
}


def readings_of_first_pass(host, pace):
    """Process id to reading, as the trace of the first pass shows it."""
    assert paced.Paced(host, pace).start().status == 0
    found = (READING.fullmatch(entry) for entry in host.log())
    return {int(one[1]): one[2] for one in found if one}


def probed_host(make_host, key="CPU", unit="ABSOLUTE", **more):
    return make_host(store={f"THHS_MONITOR_{key}": f"{NAME}:80", "THHS_MEMORY_UNIT": unit, "THHS_VERBOSE": 1},
                     processes=[Process(pid, f"/opt/{NAME} -d") for pid in PIDS.values()], **more)


@pytest.mark.parametrize("key, unit, kind, value, shown", PROBES.values(), ids=PROBES.keys())
def test_a_reading_is_believed_for_the_whole_id_and_the_right_name_alone(make_host, pace, key, unit, kind,
                                                                         value, shown):
    """All answers come at once, so each process meets the rows of the others too."""
    host = probed_host(make_host, key, unit)
    host.put(scripted.answer_of_ps(kind), "".join(
        rows.format(pid=PIDS[row], value=value) for row, (rows, _) in ROWS.items()))
    assert readings_of_first_pass(host, pace) == {
        PIDS[row]: shown if is_believed else "0.00" for row, (_, is_believed) in ROWS.items()}


def test_on_red_hat_too_a_reading_is_believed_for_the_whole_id_and_the_right_name_alone(make_host, pace):
    """Here ps is asked for one process, and no filter looks for its id."""
    host = probed_host(make_host, distribution="redhat")
    for row, (rows, _) in ROWS.items():
        host.put(scripted.answer_of_ps(f"cpu-of-{PIDS[row]}"), rows.format(pid=PIDS[row], value="61.5"))
    assert readings_of_first_pass(host, pace) == {
        PIDS[row]: "61.50" if is_believed else "0.00" for row, (_, is_believed) in ROWS.items()}


# What the listing and what the probe shows under one id; whether a reading is believed.
JAVA = "/opt/jre/bin/java -cp x tarn.thx.AdminConsole"
JAVA_PROBES = {
    "itself": (JAVA, True),
    "another Java program": ("/usr/lib/jvm/bin/java -jar other.jar", True),
    "java alone": ("java", True),
    "a program that has java among its words": ("/opt/editor java tarn.thx.AdminConsole", False),
    "a program named like the console": ("/opt/java/adminconsole tarn.thx.AdminConsole", False),
    "a longer name": ("/opt/jre/bin/javac tarn.thx.AdminConsole", False),
}


@pytest.mark.parametrize("distribution", ["none", "redhat"])
@pytest.mark.parametrize("probed, is_believed", JAVA_PROBES.values(), ids=JAVA_PROBES.keys())
def test_a_java_process_is_read_under_java_by_the_base_name_of_its_command(make_host, pace, distribution,
                                                                           probed, is_believed):
    host = make_host(distribution=distribution, store={"THHS_MONITOR_CPU": "adminconsole:80",
                                                       "THHS_VERBOSE": 1},
                     processes=[Process(4321, JAVA, cpu=61.5, probed_as=probed)])
    assert readings_of_first_pass(host, pace) == {4321: "61.50" if is_believed else "0.00"}
    reading = "61.500000" if is_believed else "0.000000"
    log = host.log()
    assert f"CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process java (Pid 4321) {reading}." in log
    assert texts.added("CPU", Process(4321, JAVA), "java")[1] in log
