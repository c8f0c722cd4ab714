#!/usr/bin/python3
"""Measures the verbs that ask: `status`, `check`, `metrics` and their neighbours. Run it on an isolated host.

usage: companion_bench.py PROGRAM [RUNS]      (default 15 runs)

A lock is held and a log is written as a daemon with 100 counters would, among 2,000 processes. Prints the median time and
processor time of each verb, each with what it may be; `ps` over the same processes stands beside them, since a busy
machine makes all of them slow. Then the most memory of each verb beside a log of 200 MB. Asserts nothing.
"""
import fcntl
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import time

MARKER = pathlib.Path("/run/thsentinel-isolated-host")
LOCKS = pathlib.Path("/usr/tarnv/tmp")
RUN_LOCK = LOCKS / "976AF287-9C13-4F28-AC99-AD456ABE5383.RUN"
CHILD_LOCK = LOCKS / "41938320-72B9-4818-A4F2-16EBF79F40F0.CHILD"
STORE = pathlib.Path("/usr/tarnv/tarnhaven/master.conf")
LOGS = pathlib.Path("/usr/tarnv/tarnhaven/logs/thsentinel")
NAMES = 50      # in both lists, so that there are 100 counters
PROCESSES = 2000
PASSES = 144    # a day of passes ten minutes apart
LOG_BYTES = 200_000_000
TITLE = "Tarnhaven Health Sentinel Service"
VERBOSE = "Cmd:/usr/bin/ps -eo pid,%cpu,command | /bin/egrep 'worker00|worker01|/usr/tarnv'"


def names():
    return [f"worker{number:02}" for number in range(NAMES)]


def spawn():
    """The processes: one for each name, and idle ones of another."""
    started = {}
    for name in names():
        shutil.copy("/bin/sleep", f"/opt/{name}")
        started[name] = os.posix_spawn(f"/opt/{name}", [f"/opt/{name}", "10000"], os.environ)
    for _ in range(PROCESSES - NAMES):
        os.posix_spawn("/bin/sleep", ["/usr/bin/some-other-program", "10000"], os.environ)
    return started


def write_store():
    lists = ",".join(f"{name}:80" for name in names())
    STORE.parent.mkdir(parents=True, exist_ok=True)
    pathlib.Path("/evidence").mkdir(exist_ok=True)
    STORE.write_text(f"THHS_MONITOR_CPU = {lists}\nTHHS_MONITOR_MEMORY = {lists}\nTHHS_EVIDENCE_PATH = /evidence\n",
                     encoding="utf-8")


def hold_lock():
    LOCKS.mkdir(parents=True, exist_ok=True)
    RUN_LOCK.write_text(str(os.getpid()), encoding="utf-8")
    lock = open(CHILD_LOCK, "w", encoding="utf-8")
    fcntl.lockf(lock, fcntl.LOCK_EX)
    return lock


def log_name(seconds):
    return LOGS / time.strftime("root.%m%d%y_00001.log", time.localtime(seconds))


def write_log(started):
    """The lines that are always written, over the last minutes: their number counts, not their times."""
    LOGS.mkdir(parents=True, exist_ok=True)
    now = time.time()
    stamp = time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(now)) + ":045 - "
    requested = [f"Process {name} requested monitoring of {label} threshold of 80 ABSOLUTE." for label in ("CPU", "Memory")
                 for name in names()]
    load = ["Reading the configuration from Tarnhaven configuration.", *requested,
            "Configuration file successfully read."]
    texts = [f"{TITLE} started", *load]
    texts += [f"{label} counter added for process {name} with PID - {pid} : {name}#{pid}" for label in ("CPU", "Memory")
              for name, pid in started.items()]
    for _ in range(PASSES):
        texts += [f"{TITLE} is monitoring the resources.", *load]
    log_name(now).write_text("".join(stamp + text + "\n" for text in texts), encoding="utf-8")
    return stamp


def grow_log(stamp):
    """As a day of verbose lines leaves it."""
    block = "".join(stamp + text + "\n" for text in (VERBOSE, "CPU usage for process worker00(7) : 1.00 Percent")) * 5000
    log = log_name(time.time())
    with open(log, "a", encoding="utf-8") as file:
        while log.stat().st_size < LOG_BYTES:
            file.write(block)
            file.flush()


def measure(command):
    """Milliseconds, milliseconds of processor time and MiB of memory of a run."""
    began = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in (0, 1, 2):
        sys.exit(f"{' '.join(command)} ended with {process.returncode}")
    return (time.monotonic() - began) * 1000, (usage.ru_utime + usage.ru_stime) * 1000, usage.ru_maxrss / 1024


def median(command, runs):
    return [statistics.median(column) for column in zip(*(measure(command) for _ in range(runs)))]


def main():
    if not MARKER.exists():
        sys.exit("run it with script/host: it writes to fixed paths and starts 2,000 processes")
    program = sys.argv[1]
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 15
    write_store()
    started = spawn()
    lock = hold_lock()
    stamp = write_log(started)
    counters = subprocess.run([program, "status"], capture_output=True, text=True, check=False).stdout.count("worker")
    print(f"{counters} counters, {sum(name.isdigit() for name in os.listdir('/proc'))} processes; medians of {runs} runs")
    listing = median(["ps", "-eo", "pid,command"], runs)
    print(f"ps -eo pid,command: {listing[0]:.0f} ms, {listing[1]:.0f} ms processor time")
    for verb, most in (("status", "50 ms"), ("check", "100 ms"), ("metrics", "20 ms of processor time")):
        wall, processor, _ = median([program, verb], runs)
        print(f"{verb}: {wall:.0f} ms, {processor:.0f} ms processor time (at most {most})")
    grow_log(stamp)
    print(f"beside a log of {log_name(time.time()).stat().st_size / 1e6:.0f} MB:")
    for arguments in (["status"], ["check"], ["metrics"], ["explain", "worker00"], ["events"], ["preflight"]):
        wall, processor, memory = measure([program, *arguments])
        print(f"{arguments[0]}: {memory:.1f} MiB (below 64), {wall:.0f} ms, {processor:.0f} ms processor time")
    lock.close()


main()
