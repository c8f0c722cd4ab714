"""Random settings, good and bad ones, for the models of a load."""

NUMBERS_THAT_ARE_NONE = ["abc", "", "1x", "2147483648", "0x1", "1 2", "-"]
FLAGS = [0, 1, 0, 1, 0, 1, 2, -1, 255]
COUNTS = [1, 2, 7, 50, 200, 0, -5]

# What a key may hold: what lets the load go on, and what ends it.
KEYS = {
    "THHS_MEMORY_UNIT": (["PERCENT", "ABSOLUTE", "percent", "Absolute"], ["KB", "", "PER;CENT", "MB.."]),
    "THHS_MONITOR_CPU": (["a:10", "a:100,b : 20", "adminconsole:0,", " a:5 ,a:7", "a:x", "a:9z,thwmc:1"],
                         ["", "a", "a:", ":5", "a:101", "a:10,b:101", "a:-1", ",a:10", "../a:1", "a;b:1"]),
    "THHS_MONITOR_MEMORY": (["a:5000", "b:0,c:1", "thwmc:300"], ["", "a:1,,b:1", "a:-7", "a*:1", "a=b:2"]),
    "THHS_MONITOR_DEADLOCK": (["a", "a,b", "a:0", "thwmc , b"], ["", "a:3", "a:", "a,,b", "a!"]),
    "THHS_POLL_INTERVAL": ([1, 2, 30, 60, 101, 151, 201, 600], [0, -3, "ten", "", "2147483648"]),
    "THHS_DUMP_COUNT": ([1, 10, 0, 11, 5, -1], []),
    "THHS_CAPTURE_NETWORK_STAT": (FLAGS, []),
    "THHS_DEADLOCK_INTERVAL": (COUNTS, []),
    "THHS_INCREASE_LOG_LEVEL": (FLAGS, []),
    "THHS_CAPTURE_PROCESS_DUMP": (FLAGS, []),
    "THHS_ALWAYS_DUMP": (FLAGS, []),
    "THHS_CAPTURE_DISK_IO": (FLAGS, []),
    "_FORCE_READING_INTERVAL_": ([0, 0, 0, 1, -2], []),
    "THHS_NUMBER_OF_READINGS": (COUNTS + [65536, 50000], []),
    "THHS_READING_INTERVAL": (COUNTS + [65536, 50000], []),
    "THHS_PURGE_OLD_EVIDENCE": (FLAGS, []),
    "THHS_CAPTURE_WITHOUT_THRESHOLD": (FLAGS, []),
    "THHS_JDK_HOME": (["/opt/jdk", "", "/opt/../jdk", "/opt/jdk$", "/no/such"], []),
    "THHS_EVIDENCE_PATH": (["/evidence", "/srv", "/evidence/"],
                           ["", "/no/such", "/proc", "/a/../b", "/a b&"]),
    "THHS_VERBOSE": ([0, 1, 1, 1, 2], []),
}


def some_value(random_, key):
    """A value, or None for a key that is not there."""
    going_on, ending = KEYS[key]
    if ending and random_.random() < 0.05:
        return random_.choice(ending)
    if random_.random() < 0.15 and (key != "THHS_EVIDENCE_PATH" or random_.random() < 0.2):
        return None
    if not ending and key != "THHS_JDK_HOME" and random_.random() < 0.1:
        return random_.choice(NUMBERS_THAT_ARE_NONE)
    return random_.choice(going_on)
