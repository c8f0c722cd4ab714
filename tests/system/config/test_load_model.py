"""Random stores beside a model of the load: every line, what the console shows, and how the program ends.

The stores of a seed follow each other. Where no daemon runs, the program is started on the next one; else the
daemon finds it at its next pass. Ten seeds ordinarily, 200 nightly; the number in a test's name is the seed.
"""
import collections
import random

import pytest

from host import SEEDS, paced, texts
from host.random_stores import KEYS, NUMBERS_THAT_ARE_NONE, some_value

STORES = 12
MANDATORY = ("THHS_EVIDENCE_PATH is not set. It is a mandatory value. Please specify the path on the file "
             "system, that has sufficient space to store logs.")
UNAUTHORIZED = "There are unauthorized characters detected in the input. Returning Error."

# ----------------------------------------------------------------------------------------------------------
# The model
# ----------------------------------------------------------------------------------------------------------

RANGES = {  # lowest, highest, default, how the line about another value ends
    "THHS_DUMP_COUNT": (
        1, 10, 3, "Value should be greater between 1 and 10. Proceeding with default value of 3."),
    "THHS_CAPTURE_NETWORK_STAT": (
        0, 1, 1, "Value should be either 0 or 1. Proceeding with default value of 1"),
    "THHS_DEADLOCK_INTERVAL": (
        1, None, 60, "Value should be greater than 0. Proceeding with default value of 60 minutes. "),
    "THHS_NUMBER_OF_READINGS": (1, None, 50, "Value should be greater than 0. "),
    "THHS_READING_INTERVAL": (1, None, 5, "Value should be greater than 0."),
    **{key: (0, 1, default,
             f"Value should be either 0 or 1. Proceeding with default value of {default}.")
       for key, default in (("THHS_INCREASE_LOG_LEVEL", 0), ("THHS_CAPTURE_PROCESS_DUMP", 0),
                            ("THHS_ALWAYS_DUMP", 0), ("THHS_CAPTURE_DISK_IO", 1),
                            ("THHS_PURGE_OLD_EVIDENCE", 0), ("THHS_CAPTURE_WITHOUT_THRESHOLD", 0),
                            ("THHS_VERBOSE", 0))},
}


class Ended(Exception):
    """The load ends with this result."""


class Load:
    """The settings of one process of the program over its loads."""

    def __init__(self):
        self.kept = {key: default for key, (_, _, default, _) in RANGES.items()}
        self.lines, self.console = [], []

    def say(self, line):
        self.lines.append(line)

    def show(self, line):
        self.lines.append(line)
        self.console.append(line)

    def trace(self, line):
        if self.kept["THHS_VERBOSE"] == 1:
            self.lines.append(line)

    def make(self, store):
        """One load: its result; lines and console are those of this load."""
        self.store, self.lines, self.console, self.reverted = store, [], [], False
        try:
            self.walk()
            return 0
        except Ended as end:
            return end.args[0]

    def walk(self):
        self.say(texts.READING)
        unit = self.text("THHS_MEMORY_UNIT", 102)
        if unit is not None and unit.lower() not in ("percent", "absolute"):
            self.show(f"Invalid value for THHS_MEMORY_UNIT : {unit}. Can only have values PERCENT or "
                      "ABSOLUTE.")
            raise Ended(101)
        for key, label in (("THHS_MONITOR_CPU", "CPU"), ("THHS_MONITOR_MEMORY", "Memory"),
                           ("THHS_MONITOR_DEADLOCK", "Deadlock")):
            self.list(key, label)
        self.interval = self.number("THHS_POLL_INTERVAL", 600, must=True)
        if self.interval <= 0:
            self.show(f"Invalid value for THHS_POLL_INTERVAL : {self.interval}. Value should be greater than "
                      "0.")
            raise Ended(101)
        for key in list(KEYS)[5:12]:
            self.in_range(key)
        forced = self.number("_FORCE_READING_INTERVAL_", 0)
        self.in_range("THHS_NUMBER_OF_READINGS")
        self.in_range("THHS_READING_INTERVAL")
        if not forced:
            self.fit_readings()
        self.in_range("THHS_PURGE_OLD_EVIDENCE")
        self.in_range("THHS_CAPTURE_WITHOUT_THRESHOLD")
        self.jdk()
        self.evidence()
        self.in_range("THHS_VERBOSE")
        self.say(texts.READ)
        self.say(f"Processes will be monitored regularly after {self.interval} seconds. It can be modified "
                 "by changing THHS_POLL_INTERVAL value in Tarnhaven configuration.")
        if self.reverted:
            self.show(texts.REVERTED)

    def text(self, key, result_of_bad):
        """The text of a key that passed the filter; None when it is not there."""
        value = self.store.get(key)
        if value is None:
            self.trace(f"{key} not defined in Tarnhaven configuration.")
            return None
        value = str(value).strip(" ")
        bad = [one for one in value if not (one.isascii() and one.isalnum()) and one not in "@_.\\/-:, \t"]
        if ".." in value or "*" in value or ".?" in value:
            self.say(UNAUTHORIZED)
        elif bad:
            self.say(f"There are non alpha numeric characters in the input '{bad[0]}'. Returning Error.")
        else:
            return value
        self.show(f"There are invalid characters in the input for {key}.")
        if result_of_bad:
            raise Ended(result_of_bad)
        return False

    def number(self, key, otherwise, must=False):
        """The number of a key, or the other one when there is none."""
        value = self.store.get(key)
        if value is None:
            self.trace(f"{key} not defined in Tarnhaven configuration.")
        elif value in NUMBERS_THAT_ARE_NONE + ["ten"]:
            self.show(f"Invalid numeric value for {key} key in Tarnhaven configuration.")
            if must:
                raise Ended(101)
        else:
            return value
        return otherwise

    def in_range(self, key):
        lowest, highest, default, ending = RANGES[key]
        value = self.number(key, self.kept[key])
        if value < lowest or (highest is not None and value > highest):
            self.say(f"Invalid value for {key} : {value}. {ending}")
            if key == "THHS_PURGE_OLD_EVIDENCE":
                self.say("Make sure that required evidences are copied before setting it to 1.")
            self.reverted, value = True, default
        self.kept[key] = value

    def list(self, key, label):
        value = self.text(key, 102)
        if value is None:
            return
        elements = value.split(",")
        if elements[-1] == "":
            elements.pop()
        if not elements:
            self.say(f"Unable to read the {key} data from Tarnhaven configuration file.")
            raise Ended(101)
        for element in elements:
            self.element(key, label, element.strip(" "))

    def element(self, key, label, element):
        name, colon, digits = (one.strip(" ") for one in element.partition(":"))
        limit = int("".join(one for one in digits if one in "-0123456789") or 0) if digits else -1
        is_deadlock = label == "Deadlock"
        if is_deadlock and (not colon or not name):
            name, limit = element, 0
        if not colon and not is_deadlock:
            name = ""
        if not name or limit < 0:
            self.show(f"Invalid configuration value {element} for the {key} in Tarnhaven configuration file.")
            raise Ended(101)
        if label == "CPU" and limit > 100:
            self.show(f"Invalid Value for CPU threshold. Process {name} requested threshold of {limit} "
                      "percent. Use a value less than 100.")
            raise Ended(101)
        if is_deadlock and limit != 0:
            self.show(f"Invalid Value {name} for the {key} in Tarnhaven configuration file.")
            raise Ended(101)
        shown = "java" if name in ("adminconsole", "thwmc") else name
        if is_deadlock:
            self.say(f"Process {shown} requested monitoring for Deadlock conditions.")
        else:
            self.say(f"Process {shown} requested monitoring of {label} threshold of {limit} ABSOLUTE.")

    def fit_readings(self):
        apart, count, interval = (self.kept["THHS_READING_INTERVAL"], self.kept["THHS_NUMBER_OF_READINGS"],
                                  self.interval)
        if (apart * count + 2 ** 31) % 2 ** 32 - 2 ** 31 < interval:  # a product of 32 bits
            return
        pair = "THHS_READING_INTERVAL", "THHS_NUMBER_OF_READINGS"
        self.say(f"Invalid combination of {pair[0]} : {apart} and {pair[1]} : {count} and "
                 f"THHS_POLL_INTERVAL : {interval}. The product of {pair[0]} and {pair[1]} should be less "
                 "than the THHS_POLL_INTERVAL.")
        if apart > 1:
            apart, count = 1 + sum(interval > bound for bound in (100, 150, 200)), 50
        if apart == 1 and count >= interval:
            count = min(49, interval - 1)
        for key, value in zip(pair, (apart, count)):
            self.kept[key] = value
            self.say(f"{key} is set to : {value}, optimized based on the value of THHS_POLL_INTERVAL")

    def jdk(self):
        home = self.text("THHS_JDK_HOME", None)
        if home:
            self.trace(f"JDK Home is set to {home} . ")
        elif home is not False:
            self.say(texts.JDK_NOT_SET)

    def evidence(self):
        path = self.text("THHS_EVIDENCE_PATH", 102)
        complaint = "Invalid value for THHS_EVIDENCE_PATH : "
        if not path:
            self.show(MANDATORY)
        elif path == "/no/such":
            self.show(f"{complaint}{path}. Specified folder does not exist. thsentinel will not start.")
        elif path == "/proc":
            self.show(f"{complaint}{path}/thsentinel. Failed to create the evidences folder. thsentinel will "
                      "not start.")
        else:
            self.say(f"THHS_EVIDENCE_PATH is set to {path}/thsentinel. Check the folder for collected logs.")
            self.path = path
            return
        raise Ended(101)


# ----------------------------------------------------------------------------------------------------------
# The program beside the model
# ----------------------------------------------------------------------------------------------------------

def is_of_the_load(entry):
    """Leaves out what a pass and the look at the machine say."""
    return not entry.startswith(("Cmd:", "Output:", "ReturnCode:", "Inside CounterMgr::", "Number of CPUs",
                                 "GetProcessNameAndProcessIDMap.", "Memory unit is ", "Total size of "))


REASONS = {101: texts.INVALID_STOPS, 102: texts.BAD_CHARACTERS_STOP}


class Beside:
    """The program on its host, and all that the model says it must have said and done."""

    def __init__(self, host, library, random_):
        self.host, self.random = host, random_
        self.daemon = paced.Paced(host, library)
        self.model = self.pid = self.option = None
        self.lines, self.sleeps, self.stops = [], [], collections.Counter()
        host.adopt_orphans()

    def find(self, store):
        for key in KEYS:
            self.host.store.pop(key, None)
        self.host.configure({key: value for key, value in store.items() if value is not None})
        if self.pid is None:
            self.start(store)
        else:
            self.reload(store)
        assert [entry for entry in self.host.log() if is_of_the_load(entry)] == self.lines

    def load(self, store):
        result = self.model.make(store)
        self.lines += self.model.lines
        return result

    def start(self, store):
        self.model = Load()
        self.option = self.random.choice(["-start", None])
        label = "start" if self.option else "run"
        failed = self.load(store)
        before = texts.begun(label) + "".join(f"{line}\n" for line in self.model.console)
        said = self.daemon.start(self.option)
        if failed:
            assert said == (8 if self.option else 10, before + texts.failed(label), "")
            return
        # The daemon takes what the console is still to show with it, and ends that as its own.
        assert said == (0, before * 2 + texts.IS_RUNNING + texts.done(label), "")
        self.pid = self.host.daemon_pid()
        self.lines.append(texts.STARTED)
        assert self.load(store) == 0  # nothing that ends a load comes from an earlier one
        if self.model.kept["THHS_PURGE_OLD_EVIDENCE"]:
            self.model.lines = []
            self.model.trace("Trying to clean up older evidences. Command : rm -f "
                             f"{self.model.path}/thsentinel")
            self.model.trace("Successfully purged older evidences collected during last runs.")
            self.lines += self.model.lines
        self.lines.append(texts.MONITORING)
        self.sleeps = [self.model.interval]
        assert self.daemon.sleeps() == self.sleeps

    def reload(self, store):
        went_on = self.daemon.step()
        failed = self.load(store)
        assert went_on == (failed == 0), self.host.report(f"the load ought to end with {failed}")
        if not failed:
            self.lines.append(texts.MONITORING)
            self.sleeps.append(self.model.interval)
            assert self.daemon.sleeps() == self.sleeps
            return
        assert self.host.status_of(self.pid) == (8 if self.option else 10)
        self.lines += [f"Error:{REASONS[failed]}", texts.STOPPED, *texts.STOPPING, *texts.STOPPING]
        self.stops[failed] += 1
        self.host.system_log_says("error", REASONS[failed], self.stops[failed])
        self.pid = None


@pytest.mark.parametrize("seed", SEEDS)
def test_a_model_of_the_load_predicts_lines_results_and_statuses(make_host, pace, seed):
    random_ = random.Random(f"load {seed}")
    beside = Beside(make_host(defaults=False), pace, random_)
    store = {}
    for _ in range(STORES):
        share = 0.3 if beside.pid else 1  # a daemon meets stores that are partly rewritten
        store = {key: some_value(random_, key) if random_.random() < share else store[key] for key in KEYS}
        beside.find(store)
