"""Which limit is in force for which process, and what of a reading is compared with it."""
import pytest

from host import Process, paced, texts

ROWS = [Process(100, "/opt/exampled", cpu=60), Process(200, "/opt/Exampled", cpu=60)]


def five_passes(daemon):
    """What the log says of the limits in force in the first of five passes, and of breaches in all of them."""
    limits = [entry for entry in daemon.says() if entry.startswith("CPU threshold for process ")]
    for _ in range(4):
        daemon.next_pass()
    return limits, [entry for entry in daemon.host.log() if " threshold exceeded by process : " in entry]


# A list, the limit in force by name, the names that breach it.
IN_FORCE = {
    "names that differ in case": ("exampled:50,Exampled:90", {"exampled": 50, "Exampled": 90}, ["exampled"]),
    "a name in another case than the process": ("Exampled:50", {"Exampled": 50}, ["Exampled"]),
    "a name in a case that no process has": ("EXAMPLED:50", {}, []),
    "a name twice, the lower limit first": ("exampled:50,exampled:90", {"exampled": 50}, ["exampled"]),
    "a name twice, the higher limit first": ("exampled:90,exampled:50", {"exampled": 90}, []),
    "a second colon": ("exampled:50:90", {"exampled": 50}, ["exampled"]),
    "blanks on either side of the colon": ("exampled : 50", {"exampled": 50}, ["exampled"]),
}


@pytest.mark.parametrize("listed, in_force, breaching", IN_FORCE.values(), ids=IN_FORCE.keys())
def test_a_process_has_the_limit_of_exactly_its_name(live, listed, in_force, breaching):
    daemon = live(store={"THHS_MONITOR_CPU": listed, "THHS_VERBOSE": 1}, processes=ROWS)
    watched = [(pid, name) for pid, name in ((100, "exampled"), (200, "Exampled")) if name in in_force]
    assert five_passes(daemon) == (
        [f"CPU threshold for process {name}({pid}) : {in_force[name]} Percent" for pid, name in watched],
        [texts.exceeded("CPU", name, pid, 50, 60) for pid, name in watched if name in breaching])


@pytest.mark.parametrize("machine", [{"cpus": 0}, {"cpus": 4, "without": ["wc"]}],
                         ids=["none is shown", "nobody can count them"])
def test_a_reading_is_not_divided_by_an_unknown_number_of_processors(live, machine):
    daemon = live(store={"THHS_MONITOR_CPU": "exampled:100"}, **machine,
                  processes=[Process(100, "/opt/exampled", cpu=[101.5] * 4 + [200.25])])
    _, breaches = five_passes(daemon)
    assert breaches == [texts.exceeded("CPU", "exampled", 100, 100, 200.25)]
    assert "Number of CPUs = 0" in daemon.host.log()


# What wc and awk print about the machine; how many processors and how much memory the log then shows; the share
# of a reading of 100 that is compared.
MACHINES = {
    "blanks around": ("   4  ", "  2048  ", 4, 2048, 25),
    "words after": ("2 processors", "2048 kB", 2, 2048, 50),
    "digits and letters": ("3x9", "12e5", 3, 12, 100 / 3),
    "more than one line": ("4\\n8", "16\\n32", 4, 16, 25),
    "words alone": ("many", "much", 0, 0, 100),
    "below zero": ("-4", "-1", -4, -1, 100),
    "beyond 32 bits": ("4294967298", "4294967298", 2, 4294967298, 50),
}


@pytest.mark.parametrize("count, size, processors, memory, share", MACHINES.values(), ids=MACHINES.keys())
def test_the_machine_is_as_large_as_the_digits_say_that_an_answer_begins_with(make_host, pace, count, size,
                                                                             processors, memory, share):
    host = make_host(store={"THHS_MONITOR_CPU": "exampled:80", "THHS_VERBOSE": 1},
                     processes=[Process(100, "/opt/exampled", cpu=100)])
    for tool, answer in (("wc", count), ("awk", size)):
        host.remove(f"/usr/bin/{tool}")  # it may be a link to one that others use
        host.put(f"/usr/bin/{tool}", f"#!/bin/dash\nprintf '%b\\n' '{answer}'\n", 0o755)
    assert paced.Paced(host, pace).start().status == 0
    shown = ("Number of CPUs", "Total size", "CPUCounterMgr", "CPU usage")
    assert [entry for entry in host.log() if entry.startswith(shown)] == [
        f"Number of CPUs = {processors}", f"Total size of Memory = {memory}",
        f"CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process exampled (Pid 100) {share:f}.",
        f"CPU usage for process exampled(100) : {share:.2f} Percent"]
