"""Sequences over time: random passes on which a model, written from the rules alone, predicts every line.

Each seed describes a host: its processes with their readings, its settings, and how both change from pass to
pass. The daemon is let through its passes one at a time. Ten seeds each ordinarily, 200 nightly; the number
in a test's name is the seed, and THSENTINEL_SEED=N runs that one alone.
"""
import collections
import random

import pytest

from host import SEEDS, Process, paced, product, scripted, texts

PASSES = 24
MARKERS = {"adminconsole": "tarn.thx.AdminConsole", "thwmc": "Dthwmc"}
LISTS = {"CPU": "THHS_MONITOR_CPU", "Memory": "THHS_MONITOR_MEMORY"}


# ----------------------------------------------------------------------------------------------------------
# The model
# ----------------------------------------------------------------------------------------------------------

Breach = collections.namedtuple("Breach", "folder pid label number")


class Watched:
    """One process that is watched for one resource."""

    def __init__(self, name, java):
        self.name, self.java, self.values, self.sets = name, java, [], 0


class Model:
    """What the daemon must say, pass by pass, of the listings, the readings and the settings in force."""

    def __init__(self, cpus):
        self.cpus, self.known = cpus, set()
        self.watched = {"CPU": {}, "Memory": {}}
        self.lines, self.warnings, self.breaches = [], [], []

    def configure(self, settings):
        """The settings as the load before the next pass finds them; a list has its limits by name."""
        self.settings = settings
        self.known |= {"java" if name in MARKERS else name for label in LISTS for name in settings[label]}

    def trace(self, line):
        if self.settings["THHS_VERBOSE"]:
            self.lines.append(line)

    def visible(self, rows):
        """The rows that mention a name that is or was watched, or the folder of the product."""
        return [row for row in rows if any(name in row.command for name in [*self.known, product.BASE])]

    def make_pass(self, rows, rows_of_ids, number):
        self.lines, self.warnings, self.breaches = [], [], []
        rows = self.visible(rows)
        named = [row for row in rows if name_of(row) in self.known]
        for row in named:
            self.trace(f"Inserting in to multimap processNameAndIDMap <{name_of(row)} : {row.pid}> ")
        alive = self.visible(rows_of_ids)
        for row in alive:
            self.trace(f"Inserting in to multimap processIDAndNameMap <{name_of(row)} : {row.pid}> ")
        for label, watched in self.watched.items():
            for configured in sorted(self.settings[label]):
                self.clean_up(watched, {row.pid for row in alive})
                self.add(label, watched, configured, rows)
        self.lines.append(texts.MONITORING)
        for label, watched in self.watched.items():
            if self.settings["THHS_MEMORY_UNIT"] == "ABSOLUTE":
                self.trace("Memory unit is ABSOLUTE.")
            for pid in sorted(watched):
                self.look_at(label, pid, watched[pid], rows, number)

    def clean_up(self, watched, alive):
        """Removes the dead, but for one: when the first goes, the second gets away once."""
        order = sorted(watched)
        spared = order[1:2] if order and order[0] not in alive else []
        for pid in order:
            if pid not in alive and pid not in spared:
                name = watched.pop(pid).name
                self.trace(f"ProcessId ({pid}) is not alive. Removing performance counter (Index : {pid}) "
                           f"{name}#{pid}")
                self.trace(f"Removing from ProcessIDAndCouterMap Process {name} (PID : {pid}) with Counter "
                           f"Index : {pid} and Counter Name {name}#{pid}")

    def add(self, label, watched, configured, rows):
        name = "java" if configured in MARKERS else configured
        pids = [row.pid for row in rows if name_of(row) == name]
        self.trace(f"Inside CounterMgr::AddCounterHelper() for {label} processes.")
        self.trace(f"GetProcessNameAndProcessIDMap.count({name}) : {len(pids)} ")
        for pid in pids:
            for other in sorted(watched):
                self.trace(f"<{other}(For {label}) : {watched[other].name} (index : {other}) >")
            found = watched.get(pid)
            self.trace(f"Finding process id {pid} inside mProcessIDAndCouterMap and "
                       f"{'Found' if found else 'Not Found'}.")
            if found:
                self.trace(f"{label} counter already added for process {name} with PID - {pid} with index : "
                           f"{pid} : {found.name}#{pid}")
                continue
            self.lines.append(f"CounterName {name}#{pid}")
            if configured in MARKERS:
                marked = [row.pid for row in rows if MARKERS[configured] in row.command] + [-1]
                if marked[0] != pid:
                    self.lines.append("Skipping the add of counter as pid not matching with counter index. "
                                      f"PID - {marked[0]} : counter Index {pid}")
                    continue
            watched[pid] = Watched(name, configured if configured in MARKERS else "")
            self.lines.append(f"{label} counter added for process {name} with PID - {pid} : {name}#{pid}")

    def reading(self, label, pid, name, rows, number):
        """What the probe finds, and the line about it. Nothing is believed of a process of another name."""
        row = next((row for row in rows if row.pid == pid and name_of(row) == name), None)
        if label == "CPU":
            value = float(row.reading("cpu", number)) / self.cpus if row else 0.0
            return value, (f"CPUCounterMgr::ReadCounterIndexValue Getting CPU for Process {name} (Pid {pid}) "
                           f"{value:f}.")
        usage = "MemoryCounterMgr::ReadCounterIndexValue Memory Usage :"
        if self.settings["THHS_MEMORY_UNIT"] == "ABSOLUTE":
            value = row.reading("rss", number) / 1024 if row else 0.0
            return value, f"{usage} {value:.2f} MB for process {name} ."
        value = float(row.reading("mem", number)) if row else 0.0
        return value, f"{usage} {value:.2f} PERCENT of memory for process {name}."

    def look_at(self, label, pid, one, rows, number):
        usage, line = self.reading(label, pid, one.name, rows, number)
        self.trace(line)
        shown = one.java or one.name
        limit = self.settings[label].get(shown, -1)
        if limit == -1:
            self.trace(f"Could not find threshold value for process {shown}")
        unit = "MB" if label == "Memory" and self.settings["THHS_MEMORY_UNIT"] == "ABSOLUTE" else "Percent"
        self.trace(f"{label} usage for process {shown}({pid}) : {usage:.2f} {unit}")
        self.trace(f"{label} threshold for process {shown}({pid}) : {limit} {unit}")

        place = len(one.values) % 6  # five readings that count, and a sixth that is lost
        one.values.append(int(usage))
        window = one.values[len(one.values) - 1 - place:] if place < 5 else [0]
        average = sum(window) // len(window)
        if place < 5:
            self.trace(f"Sum : {sum(window)} {unit}, Reading# : {len(window)}, Running Average : {average} "
                       f"{unit} for {label} for process {shown}({pid})")
        self.trace(f"Running Average : {average} for {label} for process {one.name}({pid})")

        always = self.settings["THHS_CAPTURE_WITHOUT_THRESHOLD"]
        if always:
            self.lines.append(f"{label} Capturing evidence for process {shown} ({pid}) without threshold , "
                              f"Threshold : {limit} {unit} , Usage : {usage:.2f} {unit}")
        elif (place == 4 and int(usage) > limit != -1
              and (self.settings["THHS_ALWAYS_DUMP"] or average > limit)):
            text = texts.exceeded(label, shown, pid, limit, usage, unit)
            self.lines.append(text)
            self.warnings.append(text)
        else:
            return
        if one.sets >= self.settings["THHS_DUMP_COUNT"]:
            self.lines.append(f"Dump count reached max allowed for process {one.name} : "
                              f"{self.settings['THHS_DUMP_COUNT']}")
            return
        one.sets += 1
        self.lines.append(texts.taking(one.sets, one.name, pid))
        self.breaches.append(Breach(shown, pid, label, one.sets))

    def sections(self, breach):
        """The files of one evidence set by what ends their names, and how many sections each has."""
        stem = f"{breach.pid}_<time>_{breach.label}."
        found = {stem + "MemoryPerf": 5, stem + "ProcessData": 4}
        if self.settings["THHS_CAPTURE_NETWORK_STAT"]:
            found[stem + "Netstat"] = 9
        if self.settings["THHS_CAPTURE_DISK_IO"]:
            found.update({stem + "DiskPerf_iostat": 1, stem + "DiskPerf_mpstat": 1})
        if self.settings["THHS_CAPTURE_PROCESS_DUMP"] and breach.folder not in MARKERS:
            found[stem + str(breach.pid)] = 1
        return found


def name_of(row):
    return row.command.split()[0].rpartition("/")[2]


# ----------------------------------------------------------------------------------------------------------
# The daemon beside the model
# ----------------------------------------------------------------------------------------------------------

def store_of(settings):
    """The keys of the store; a list that is empty is not there at all."""
    store = {key: value for key, value in settings.items() if key not in LISTS}
    for label, key in LISTS.items():
        store[key] = ",".join(f"{name}:{limit}" for name, limit in settings[label].items()) or None
    return store


def is_predicted(entry):
    """Whether the model speaks of such an entry; shell lines, captures and loads have tests of their own."""
    if entry == "Memory Performance data collected successfully.":
        return False
    return (entry.startswith(("Inserting in to ", "ProcessId (", "Removing from ", "Inside CounterMgr::", "<",
                              "GetProcessNameAndProcessIDMap.", "Finding process id ", "CPU ", "Memory ",
                              "CounterName ", "Skipping the add ", "CPUCounterMgr::", "MemoryCounterMgr::",
                              "Could not find threshold ", "Sum : ", "Running Average : ", "Taking Process ",
                              "Dump count reached "))
            or entry == texts.MONITORING)


def sections_by_file(host):
    """Path to number of sections of every evidence file; a core image counts as one."""
    return collections.Counter({path: text.count("\nCommand: ") or text.count("core of ")
                                for path, text in host.evidence().items()})


def check_evidence(model, fresh):
    """The evidence of one pass: whole sets, each in the folder of its number.

    A capture finds the number when it names its file. So where a later breach of the pass has another
    number, a file may lie there as well.
    """
    for place, breach in enumerate(model.breaches):
        numbers = {later.number for later in model.breaches[place:]}
        for name, sections in model.sections(breach).items():
            paths = [f"{breach.folder}/{breach.pid}/Evidence{number}/{name}" for number in numbers]
            assert sum(fresh.pop(path, 0) for path in paths) == sections, (breach, name)
    assert not fresh


def run_beside_model(host, library, cpus, settings, rows_of_pass, rows_of_ids):
    """Runs all passes; settings by pass, the first of them by 1."""
    model = Model(cpus)
    daemon = paced.Paced(host, library)
    host.configure(store_of(settings[1]))
    evidence, warnings, seen = collections.Counter(), [], 0
    for number in range(1, PASSES + 1):
        if number in settings:
            model.configure(settings[number])
        if number == 1:
            assert daemon.start().status == 0
        else:
            if number in settings:
                host.configure(store_of(settings[number]))
            assert daemon.step(), host.report("the daemon is gone")
        model.make_pass(rows_of_pass(number), rows_of_ids(number), number)
        if model.breaches:
            daemon.captures_end()
        log = host.log()
        assert [entry for entry in log[seen:] if is_predicted(entry)] == model.lines, f"pass {number}"
        seen = len(log)
        warnings += [("warning", f"<stamp>{text}") for text in model.warnings]
        host.comes_to(lambda: [entry for entry in host.system_log() if entry.level == "warning"], warnings)
        if model.breaches:
            now = sections_by_file(host)
            check_evidence(model, now - evidence)
            evidence = now
    assert sections_by_file(host) == evidence


# ----------------------------------------------------------------------------------------------------------
# The window
# ----------------------------------------------------------------------------------------------------------

def some_settings(random_, names, limits):
    without = random_.random() < 0.15
    chance = {"THHS_ALWAYS_DUMP": 0.3, "THHS_CAPTURE_PROCESS_DUMP": 0.5, "THHS_CAPTURE_NETWORK_STAT": 0.5,
              "THHS_CAPTURE_DISK_IO": 0.5, "THHS_VERBOSE": 0.9}
    return {"CPU": {name: limits[name] for name in names if random_.random() < 0.9},
            "Memory": {name: limits[name] for name in names if random_.random() < 0.7},
            "THHS_MEMORY_UNIT": random_.choice(["ABSOLUTE", "PERCENT"]),
            "THHS_DUMP_COUNT": random_.choice([1, 2] if without else [1, 2, 3, 10]),
            "THHS_CAPTURE_WITHOUT_THRESHOLD": int(without),
            **{key: int(random_.random() < share) for key, share in chance.items()}}


def around(random_, limit, busy):
    """Readings that are mostly above a limit or mostly below, and often right at it."""
    return [round(max(0.0, limit + random_.choice([0, 0.9, 1, 1, 1.5, -1, 40 * busy, 25 * busy, -30])), 1)
            for _ in range(PASSES)]


@pytest.mark.parametrize("seed", SEEDS)
def test_a_model_of_the_window_predicts_every_line_and_every_evidence(make_host, pace, seed):
    random_ = random.Random(f"window {seed}")
    cpus = random_.choice([1, 2, 4])
    names = random_.sample(["exampled", "tbrd", "otherd", "adminconsole"], random_.randint(1, 3))
    limits = {name: random_.choice([0, 1, 50, 99, random_.randint(0, 90)]) for name in names}
    commands = [f"/opt/jre/bin/java -cp x {MARKERS[name]}" if name in MARKERS else f"/opt/{name} -d"
                for name in names]
    owners = [*zip(commands, names), *[(commands[0] + " second", names[0])] * (names[0] not in MARKERS)]
    rows = []
    for place, (command, name) in enumerate(owners):
        busy = random_.choice([0, 1, 1, 2])
        rows.append(Process(scripted.FIRST_UNREAL_ID + 7 * place, command,
                            cpu=[f"{value * cpus:.1f}" for value in around(random_, limits[name], busy)],
                            mem=around(random_, limits[name], busy),
                            rss=[int(value * 1024) for value in around(random_, limits[name], busy)]))
    settings = {number: some_settings(random_, names, limits)
                for number in [1, *random_.sample(range(2, PASSES + 1), random_.randint(0, 3))]}
    host = make_host(processes=rows, cpus=cpus, distribution=random_.choice(["none", "redhat", "suse"]))
    run_beside_model(host, pace, cpus, settings, lambda number: rows, lambda number: rows)


# ----------------------------------------------------------------------------------------------------------
# The registry
# ----------------------------------------------------------------------------------------------------------

COMMANDS = ["/opt/exampled -d", "/opt/exampled second", "tbrd", "/opt/tbrd -Dthwmc", "/usr/tarnv/bin/otherd",
            "/opt/jre/bin/java -Dthwmc x", "/opt/jre/bin/java tarn.thx.AdminConsole",
            "/opt/jre/bin/java -jar x", "/opt/idle exampled", "/opt/idle", "/usr/tarnv/bin/idle", "otherd"]


class Population:
    """Processes that come, go, fork and take over the ids of others, from pass to pass."""

    def __init__(self, random_):
        self.random, self.rows = random_, []
        for number in range(1, PASSES + 1):
            self.live_through(number)

    def live_through(self, number):
        before = self.alive(number)
        if self.random.random() < 0.08:
            leaving = before  # all of them
        else:
            leaving = [row for row in before if self.random.random() < 0.25]
        for row in leaving:
            row.last = number - 1
            if self.random.random() < 0.3:
                self.come(row.pid, self.random.choice(COMMANDS), number)
        for row in self.alive(number):
            if self.random.random() < 0.1:
                self.come(self.free_id(number), row.command, number)
        for _ in range(self.random.choice([0, 0, 1, 1, 2, 6 if number == 1 else 3])):
            self.come(self.free_id(number), self.random.choice(COMMANDS), number)

    def alive(self, number):
        return [row for row in self.rows if row.lives_in(number)]

    def free_id(self, number):
        taken = {row.pid for row in self.alive(number)}
        ids = range(scripted.FIRST_UNREAL_ID, scripted.FIRST_UNREAL_ID + 50)
        return self.random.choice([pid for pid in ids if pid not in taken])

    def come(self, pid, command, number):
        readings = [self.random.randint(0, 60) for _ in range(PASSES)]
        self.rows.append(Process(pid, command, cpu=readings, rss=[1024 * value for value in readings],
                                 first=number))

    def ids(self, number):
        """What the second listing of a pass shows: mostly the same, at times of a moment later."""
        if number % 3:
            return self.alive(number)
        now = self.alive(number)
        later = [row for row in self.alive(number + 1) if row.pid not in {one.pid for one in now}]
        return [row for row in now if row.lives_in(number + 1)] + later


def some_lists(random_):
    lists = {label: {name: 20 for name in ("adminconsole", "exampled", "otherd", "tbrd", "thwmc")
                     if random_.random() < random_.choice([0, 0.3, 0.6, 1])} for label in LISTS}
    return {**lists, "THHS_MEMORY_UNIT": "ABSOLUTE", "THHS_DUMP_COUNT": 1, "THHS_ALWAYS_DUMP": 0,
            "THHS_CAPTURE_WITHOUT_THRESHOLD": 0, "THHS_CAPTURE_PROCESS_DUMP": 0,
            "THHS_CAPTURE_NETWORK_STAT": 0, "THHS_CAPTURE_DISK_IO": 0,
            "THHS_VERBOSE": int(random_.random() < 0.9)}


@pytest.mark.parametrize("seed", SEEDS)
def test_a_model_of_the_registry_predicts_who_is_watched(make_host, pace, seed):
    random_ = random.Random(f"registry {seed}")
    population = Population(random_)
    settings = {number: some_lists(random_)
                for number in [1, *random_.sample(range(2, PASSES + 1), random_.randint(0, 5))]}
    host = make_host(processes=population.rows)
    host.ask("put", [[f"{scripted.SCENARIO}/ps/{number}/ids",
                      "".join(f"{row.pid:7d} {row.command}\n" for row in population.ids(number)), 0o644]
                     for number in range(1, PASSES + 1)])
    run_beside_model(host, pace, 1, settings, population.alive, population.ids)
