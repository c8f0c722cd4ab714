"""What the program says, word for word, and how the files it writes are split for a comparison."""
import re

from . import product

TITLE = "Tarnhaven Health Sentinel"
VERSION = f"Tarnhaven_{product.RELEASE}\n"
RULE = "-" * 82
STAMP = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d:\d{3} - ")
FILE_TIME = re.compile(r"/(-?\d+)_\d\d-\d\d_\d\d\.\d\d\.\d\d_")
HELP = """

{} [-install] [-uninstall] [-start] [-terminate] [-version] [-help]

-install:               This will configure the daemon.
-uninstall:             This will unconfigure the daemon.
-start:                 This will start the daemon.
-terminate:             This will terminate the daemon.
-version:               This will display the version information of binary.
-help:                  This will display the help options.

default:                This will start the daemon.
"""
MONITORING = f"{TITLE} Service is monitoring the resources."
STARTED = f"{TITLE} Service started"
STOPPED = f"{TITLE} Service stopped."
# What the system log has of the life of a daemon, level and text.
ENTRY = ("info", "===== Daemon Entry Point =====\n")
UP = ("info", f"{TITLE} Service successfully started")
DOWN = ("info", STOPPED)
EXIT = ("info", "===== Daemon Exit Point =====\n")
READING = "Reading the configuration from Tarnhaven configuration."
READ = "Configuration file successfully read."
JDK_NOT_SET = "JDK Home is not set. Java stack dump will not be captured."
REVERTED = ("Warning, invalid value found in Tarnhaven configuration for thsentinel. Reverted value to "
            "default. Please refer the log file for details.")
INVALID_STOPS = ("Tarnhaven configuration has invalid values. Check thsentinel log for details. "
                 f"Stopping {TITLE} Service/Daemon.")
BAD_CHARACTERS_STOP = ("Non alpha numeric characters are detected in the input. Please correct the input in "
                       f"Tarnhaven configuration. Stopping {TITLE} Service/Daemon.")
STOPPING = ["Cleaning up the resources used by the service.",
            "Resetting the original log levels for the processes.",
            STOPPED]
IS_RUNNING = "Info: Daemon is running\n"
ALREADY = "Error: Already instance of daemon is running, not starting new instance\n"
NO_DETAILS = "Error: Failed to retrieve the process details of the daemon\n"
NO_DAEMON = "Error: Could not found valid daemon instance.\n"
NOT_STARTED = "Error: Failed to start the daemon, please check the log for the reason\n"


def begun(label):
    return f"Performing the {label} operation\n\n"


def done(label):
    return f"\nPerformed the {label} operation successfully.\n"


def failed(label):
    return f"\nThe {label} operation failed.\n"


def without_stamps(text):
    return STAMP.sub("<stamp>", text)


def without_file_times(text):
    """The text with the times in the names of evidence files left out."""
    return FILE_TIME.sub(r"/\1_<time>_", text)


def entries_of(text):
    """The entries of a diagnostic log, each after its stamp and without the last line end.

    An entry extends to the next line that starts with a stamp. Text that isn't after any stamp is an
    error.
    """
    found = []
    for line in text.splitlines(keepends=True):
        stamp = STAMP.match(line)
        if stamp:
            found.append(line[stamp.end():])
        elif found:
            found[-1] += line
        else:
            raise AssertionError(f"the log starts without a time stamp: {line!r}")
    return [one.removesuffix("\n") for one in found]


def elements_of(text):
    """The names and limits of a monitoring list, as the list gives them."""
    parts = (one.strip(" ").partition(":") for one in text.split(",") if one.strip(" "))
    return [(name.strip(" "), limit.strip(" ")) for name, _, limit in parts]


def listed(store):
    """The lines of the three monitoring lists of a load."""
    java = {"adminconsole": "java", "thwmc": "java"}
    for key, label in (("THHS_MONITOR_CPU", "CPU"), ("THHS_MONITOR_MEMORY", "Memory")):
        for name, limit in elements_of(store.get(key, "")):
            yield (f"Process {java.get(name, name)} requested monitoring of {label} threshold of {limit} "
                   "ABSOLUTE.")
    for name, _ in elements_of(store.get("THHS_MONITOR_DEADLOCK", "")):
        yield f"Process {java.get(name, name)} requested monitoring for Deadlock conditions."


def end_of_load(store):
    interval = store.get("THHS_POLL_INTERVAL", "600")
    return [f"THHS_EVIDENCE_PATH is set to {store['THHS_EVIDENCE_PATH']}/thsentinel. "
            "Check the folder for collected logs.",
            READ,
            f"Processes will be monitored regularly after {interval} seconds. It can be modified by changing "
            "THHS_POLL_INTERVAL value in Tarnhaven configuration."]


def load(store):
    """The always lines of a load without a complaint and without a JDK."""
    return [READING, *listed(store), JDK_NOT_SET, *end_of_load(store)]


def added(label, process, name):
    """The lines of a counter that is added for a process of that table name."""
    return [f"CounterName {name}#{process.pid}",
            f"{label} counter added for process {name} with PID - {process.pid} : {name}#{process.pid}"]


def exceeded(label, name, pid, limit, reading, unit="Percent"):
    return (f"{label} threshold exceeded by process : {name} ({pid}), Threshold : {limit} {unit} , "
            f"Usage : {reading:.2f} {unit}")


def taking(count, name, pid):
    return f"Taking Process Dump (Count #{count}) for process {name} ({pid})."


def traced(line, output, status=0):
    """What a command that is read leaves in a verbose log."""
    return [f"Cmd:{line}", f"Output:{output}", f"ReturnCode:{status}"]


def listing_line(names):
    """The shell line that lists processes, for watched names in the form of a pattern."""
    return f'/usr/bin/ps -eo pid,command | /usr/bin/egrep "{names}|/usr/tarnv"'


def probe_line(column, names, pid):
    """The shell line that reads a column of one process in the general form."""
    return (f'/usr/bin/ps -eo pid,{column},command | /usr/bin/egrep "{names}|/usr/tarnv" '
            f'| /usr/bin/grep "^[[:space:]]*\\<{pid}\\>"')


def is_of_a_capture(entry):
    """Whether a verbose line reports the start or the work of a thread that captures."""
    return entry.startswith(("Thread (TID : ", "CollectCommandData : ")) or entry.endswith(
        " data collected successfully.")


def section(command, output):
    """One section of an evidence file."""
    return f"\n\n{RULE}\nCommand: {command}\n{RULE}\n{output}"


def levels(debug, diagnostic):
    """How the log configuration tool lists the levels of a target."""
    return f"DebugLevel = {debug}\nDiagnosticLevel = {diagnostic}\n"
