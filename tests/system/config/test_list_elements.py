"""The elements of the monitoring lists, odd ones too: what is taken and as what, what is refused and how."""
from host import texts

CPU, MEMORY, DEADLOCK = "THHS_MONITOR_CPU", "THHS_MONITOR_MEMORY", "THHS_MONITOR_DEADLOCK"
LABELS = {CPU: "CPU", MEMORY: "Memory"}


def watched(key, elements):
    """The lines of a list whose elements are (name, limit)."""
    if key == DEADLOCK:
        return [f"Process {name} requested monitoring for Deadlock conditions." for name, _ in elements]
    return [f"Process {name} requested monitoring of {LABELS[key]} threshold of {limit} ABSOLUTE."
            for name, limit in elements]


# Key, value, and what its elements are taken for.
TAKEN = [
    (CPU, "a:0,b:100", [("a", 0), ("b", 100)]),
    (CPU, "a\t:\t10,\tb : 5", [("a\t", 10), ("\tb", 5)]),
    (CPU, "a b:3,a/b:4,a\\b:5,@-_.:6", [("a b", 3), ("a/b", 4), ("a\\b", 5), ("@-_.", 6)]),
    (CPU, "a:1.9,b:0x10,c:-0,d:7-", [("a", 1), ("b", 0), ("c", 0), ("d", 7)]),
    (CPU, "a:5:6,b::7", [("a", 5), ("b", 0)]),
    (CPU, "a:4294967297,b:-4294967290", [("a", 1), ("b", 6)]),
    (CPU, "thwmc:1,adminconsole:2,java:3,THWMC:4", [("java", 1), ("java", 2), ("java", 3), ("THWMC", 4)]),
    (MEMORY, "a:101,b:2147483647", [("a", 101), ("b", 2147483647)]),
    (MEMORY, "thwmc:0", [("java", 0)]),
    (DEADLOCK, "a,b:0,c : 0x,d:0:3,e:no", [("a", 0), ("b", 0), ("c", 0), ("d", 0), ("e", 0)]),
    (DEADLOCK, ":5,: 0", [(":5", 0), (": 0", 0)]),
    (DEADLOCK, "thwmc,a b", [("java", 0), ("a b", 0)]),
]


def test_an_element_is_a_name_and_the_number_that_its_text_begins_with(live):
    """The next list is there with the next pass; the lists of the passes before are gone."""
    daemon = live()
    end = [texts.JDK_NOT_SET, *texts.end_of_load(daemon.host.store), texts.MONITORING]
    for key, value, elements in TAKEN:
        changes = {**dict.fromkeys((CPU, MEMORY, DEADLOCK)), key: value}
        assert daemon.next_pass(**changes) == [texts.READING, *watched(key, elements), *end], value


def bad_value(key, element):
    return f"Invalid configuration value {element} for the {key} in Tarnhaven configuration file."


def above_100(name, limit):
    return (f"Invalid Value for CPU threshold. Process {name} requested threshold of {limit} percent. Use a "
            "value less than 100.")


# Key, value, the elements before the bad one, and the complaint.
REFUSED = [
    (CPU, "a:1,b,c:101", [("a", 1)], bad_value(CPU, "b")),
    (CPU, "a:1,  ,b:1", [("a", 1)], bad_value(CPU, "  ")),
    (CPU, "a:1,,b:1", [("a", 1)], bad_value(CPU, "")),
    (CPU, ",", [], bad_value(CPU, "")),
    (CPU, " : 5", [], bad_value(CPU, ": 5")),
    (CPU, "a : -1", [], bad_value(CPU, "a : -1")),
    (CPU, "a:2147483648", [], bad_value(CPU, "a:2147483648")),
    (CPU, "a:9223372036854775808", [], bad_value(CPU, "a:9223372036854775808")),
    (CPU, "a:101x", [], above_100("a", 101)),
    (CPU, "a:4294967397", [], above_100("a", 101)),
    (CPU, "thwmc:2147483647", [], above_100("thwmc", 2147483647)),
    (MEMORY, "a", [], bad_value(MEMORY, "a")),
    (MEMORY, "a:-7", [], bad_value(MEMORY, "a:-7")),
    (MEMORY, "a:1, b", [("a", 1)], bad_value(MEMORY, "b")),
    (DEADLOCK, "a,,b", [("a", 0)], bad_value(DEADLOCK, "")),
    (DEADLOCK, "a:-1", [], bad_value(DEADLOCK, "a:-1")),
    (DEADLOCK, "a :", [], bad_value(DEADLOCK, "a :")),
    (DEADLOCK, "a:4x", [], f"Invalid Value a for the {DEADLOCK} in Tarnhaven configuration file."),
]


def test_the_first_bad_element_is_told_and_none_behind_it_is_looked_at(host):
    for key, value, before, complaint in REFUSED:
        log = host.log()
        host.configure({**dict.fromkeys((CPU, MEMORY, DEADLOCK)), key: value})
        expected = texts.begun("start") + complaint + "\n" + texts.failed("start")
        assert host.run("-start") == (8, expected, ""), value
        assert host.log()[len(log):] == [texts.READING, *watched(key, before), complaint], value


def test_an_empty_list_is_told_with_its_key_in_the_log_alone(host):
    for key in (CPU, MEMORY, DEADLOCK):
        log = host.log()
        host.configure({**dict.fromkeys((CPU, MEMORY, DEADLOCK)), key: ""})
        assert host.run("-start") == (8, texts.begun("start") + texts.failed("start"), "")
        assert host.log()[len(log):] == [
            texts.READING, f"Unable to read the {key} data from Tarnhaven configuration file."]
