#!/usr/bin/python3
"""Measures the memory of the verbs that read evidence, on evidence of three sorts that are large.

usage: evidence_memory_bench.py PROGRAM [SETS] [FOLDER]      (default 5,000 sets, a folder of its own)

A sparse core of 20 GB, a file of sections of 500 MB, and a tree of many sets. Prints for each verb the most resident
memory, which may be 64 MiB, with time and processor time. Asserts nothing. Takes about 700 MB of disk and some minutes.
"""
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/system"))
from host import companion  # noqa: E402 pylint: disable=wrong-import-position

CORE_BYTES = 20 << 30
SECTION_BYTES = 500_000_000
MOST = 64
PROCESS = "4321 0.1 12345 234567 58641 23456 /usr/lib/product/bin/process --with several --arguments\n"


def write_core(path):
    """A core with one segment, nearly all of it a hole."""
    head = b"\x7fELF\x02\x01\x01" + bytes(9) + struct.pack("<HHIQQQIHHHHHH", 4, 62, 1, 0, 64, 0, 0, 64, 56, 1, 0, 0, 0)
    segment = struct.pack("<IIQQQQQQ", 1, 6, 120, 65536, 0, CORE_BYTES - 120, CORE_BYTES - 120, 4096)
    with open(path, "wb") as file:
        file.write(head + segment)
        file.seek(CORE_BYTES // 2)
        file.write(b"x" * (50 << 20))
        file.truncate(CORE_BYTES)


def write_large(root):
    folder, stem = companion.write_set(root)
    write_core(folder / f"{stem}.4321")
    reading = companion.memory_perf(1).replace("output of /usr/bin/ps", PROCESS * 20_000 + "output of /usr/bin/ps")
    with open(folder / f"{stem}.MemoryPerf", "w", encoding="utf-8") as file:
        for _ in range(SECTION_BYTES // len(reading)):
            file.write(reading)


def write_many(root, sets):
    """A process id has three sets here, a process a hundred."""
    for number in range(sets):
        stamp = time.strftime("%d-%m_%H.%M.%S", time.localtime(time.time() - 2 * 86400 - number * 3600))
        companion.write_set(root, process=f"p{number % 50}", pid=4_000_000 + number // 150, number=number % 150 // 50 + 1,
                            stamp=stamp)


def measure(folder, what, command):
    began = time.monotonic()
    status, peak, seconds = companion.measure(folder / "measured", command, stdout=subprocess.DEVNULL,
                                              stderr=subprocess.DEVNULL)
    print(f"{what:30s} {peak / 1024:6.1f} MiB (below {MOST}), {time.monotonic() - began:6.2f} s, "
          f"{seconds:6.2f} s processor time, status {status}", flush=True)


def main():
    program = sys.argv[1]
    sets = int(sys.argv[2]) if len(sys.argv) > 2 else 5000
    folder = pathlib.Path(tempfile.mkdtemp(dir=sys.argv[3] if len(sys.argv) > 3 else None))
    try:
        write_large(folder / "large")
        write_many(folder / "many", sets)
        for kind, name in (("large", "20 GB core, 500 MB of sections"), ("many", f"{sets} sets")):
            where = ["--evidence", folder / kind, "--store", "/absent"]
            print(f"== {name}")
            for verb in (["list"], ["list", "--json"], ["verify"], ["verify", "--json"], ["prune", "--older", "30d"],
                         ["prune", "--older", "30d", "--json"], ["report", "--last", "-o", folder / "page.html"]):
                measure(folder, " ".join(str(word) for word in verb[:2]), [program, *verb, *where])
            one = "tbrd" if kind == "large" else "p0/4000000/Evidence1"
            measure(folder, "bundle", [program, "bundle", one, "-o", folder / f"{kind}.tar.zst", *where])
            measure(folder, "bundle --check", [program, "bundle", "--check", folder / f"{kind}.tar.zst"])
        measure(folder, "rehearse", [program, "rehearse", str(os.getpid()), "--store", "/absent"])
    finally:
        shutil.rmtree(folder)


main()
