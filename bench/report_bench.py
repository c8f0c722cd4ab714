#!/usr/bin/python3
"""Measures `report` on a default set: 50 samples of 2,000 processes.

usage: report_bench.py PROGRAM [RUNS]      (default 9 runs)

Prints the median time, the processor time, the size of the page and the most memory of a run, each with what it may be;
the reading of the same files by cat stands beside it, since a busy machine makes both slow. Asserts nothing.
"""
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

SAMPLES = pathlib.Path(__file__).resolve().parents[1] / "script/lib/sample_evidence.py"


def measure(command):
    """Seconds, seconds of processor time and KiB of memory of a run."""
    began = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in (0, 1):
        sys.exit(f"{command[0]} ended with {process.returncode}")
    return time.monotonic() - began, usage.ru_utime + usage.ru_stime, usage.ru_maxrss


def medians(command, runs):
    return [statistics.median(column) for column in zip(*(measure(command) for _ in range(runs)))]


def main():
    program = sys.argv[1]
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 9
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([sys.executable, SAMPLES, folder], check=True)
        page = pathlib.Path(folder) / "report.html"
        wall, processor, memory = medians([program, "report", "--last", "--evidence", folder, "--log", f"{folder}/logs",
                                           "--store", "/absent", "-o", page], runs)
        files = sorted(str(path) for path in pathlib.Path(folder, "thsentinel/tbrd/4321/Evidence2").iterdir())
        reading, _, _ = medians(["cat", *files], runs)
        size = sum(os.path.getsize(path) for path in files)
        print(f"report of {size / 1e6:.1f} MB: {wall * 1000:.0f} ms (at most 1000), of which {processor * 1000:.0f} ms "
              f"processor time; cat of the same: {reading * 1000:.0f} ms")
        print(f"the page: {os.path.getsize(page) / 1e6:.2f} MB (below 3); memory: {memory / 1024:.1f} MiB (below 64)")


main()
