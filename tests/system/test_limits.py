"""Which limit is in force for which process, and what of a reading is compared with it."""
import pytest

from host import Process, texts

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
