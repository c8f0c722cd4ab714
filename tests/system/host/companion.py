"""The companion program, thsentinelctl: how tests run it, and evidence to run it on."""
import json
import os
import pathlib
import subprocess

from . import product

DEFAULTS = pathlib.Path(__file__).with_name("defaults.conf")  # without a store nothing is called complete
RULE = "-" * 82
MEMORY_TOOLS = ["/usr/bin/top -b -n 1", "/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120",
                "/usr/bin/free ", "/usr/bin/vmstat ", "/usr/bin/cat /proc/meminfo"]


def program():
    """The built program; None where its packages are missing."""
    path = product.build_folder() / "ctl/thsentinelctl"
    return path if path.exists() else None


class Outcome:
    """What a run of the program gave."""

    def __init__(self, status, output, errors, peak=None):
        self.status = status
        self.output = output
        self.errors = errors
        self.peak = peak  # most resident memory, in KiB

    @property
    def document(self):
        return json.loads(self.output)


def run(*arguments, environment=None, user=None, limit=120):
    """Runs the program on this machine; as another user, if one is given."""
    command = [str(program()), *(str(argument) for argument in arguments)]
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                               text=True, errors="surrogateescape", user=user,
                               env={**os.environ, "NO_COLOR": "1", **(environment or {})})
    output, errors = process.communicate(timeout=limit)
    return Outcome(process.returncode, output, errors)


# A child begins with the memory of the process that starts it as its peak, so a small one does.
MEASURING = """
import os, sys
child = os.fork()
if child == 0:
    os.execv(sys.argv[2], sys.argv[2:])
_, status, usage = os.wait4(child, 0)
with open(sys.argv[1], "w") as result:
    print(os.waitstatus_to_exitcode(status), usage.ru_maxrss, usage.ru_utime + usage.ru_stime, file=result)
"""


def measure(result, command, **streams):
    """Runs a command; gives its status, its peak of resident memory in KiB and its processor time in seconds."""
    subprocess.run(["/usr/bin/python3", "-I", "-S", "-c", MEASURING, result, *(str(word) for word in command)],
                   stdin=subprocess.DEVNULL, check=True, **streams)
    status, peak, seconds = pathlib.Path(result).read_text(encoding="ascii").split()
    return int(status), int(peak), float(seconds)


def run_on(host, *arguments, **options):
    """Runs the program on an isolated host."""
    result = host.run(str(program()), *arguments, **options)
    return Outcome(result.status, result.output, result.errors)


def run_measured(folder, *arguments):
    """Runs the program with its output in files of the folder, and measures its memory."""
    folder = pathlib.Path(folder)
    with open(folder / "output", "wb") as output, open(folder / "errors", "wb") as errors:
        status, peak, _ = measure(folder / "measured", [program(), *arguments], stdout=output, stderr=errors)
    return Outcome(status, (folder / "output").read_text(errors="surrogateescape"),
                   (folder / "errors").read_text(errors="surrogateescape"), peak)


def head(command):
    return f"\n\n{RULE}\nCommand: {command}\n{RULE}\n"


def sections(*commands):
    return "".join(f"{head(command)}output of {command}\n" for command in commands)


def memory_perf(readings):
    return sections(*MEMORY_TOOLS) * readings


def netstat(pid):
    return (head("/usr/bin/netstat -p --tcp | grep CLOSE_WAIT") + head("/usr/bin/netstat -na | grep CLOSE_WAIT")
            + sections("/usr/bin/netstat -e", "/usr/bin/netstat -s", "/usr/bin/netstat -nalp")
            + "".join(head(f"/usr/bin/netstat {options} | /usr/bin/grep {pid}")
                      for options in ("-op", "-nop", "-anop", "-tanoxp")))


def process_data(pid):
    return sections(f"/usr/bin/cat /proc/{pid}/smaps", f"/usr/bin/cat /proc/{pid}/status",
                    f"/usr/bin/gstack {pid}", f"/usr/bin/pmap {pid}")


def iostat(interval, asked, samples):
    sample = "avg-cpu:  %user\n           1.00\n\nDevice            r/s\nvda              1.00\n\n\n"
    return head(f"/usr/bin/iostat -xt {interval} {asked}") + "Linux 6.1.0 (host)\n\n" + sample * samples


def mpstat(interval, asked, samples):
    return (head(f"/usr/bin/mpstat {interval} {asked}") + "Linux 6.1.0 (host)\n\n02:10:28     CPU    %usr\n"
            + "02:10:29     all    1.00\n" * samples
            + ("Average:     all    1.00\n" if samples >= asked else ""))


def write_set(root, process="tbrd", pid=4321, number=1, stamp="13-11_02.10.28", label="CPU", readings=2):
    """Writes a whole set of statistics below the evidence folder `root`; gives its folder and its stem."""
    folder = pathlib.Path(root) / "thsentinel" / process / str(pid) / f"Evidence{number}"
    folder.mkdir(parents=True, exist_ok=True)
    stem = f"{pid}_{stamp}_{label}"
    for suffix, text in (("MemoryPerf", memory_perf(readings)), ("Netstat", netstat(pid)),
                         ("DiskPerf_iostat", iostat(1, readings, readings)),
                         ("DiskPerf_mpstat", mpstat(1, readings, readings)), ("ProcessData", process_data(pid))):
        (folder / f"{stem}.{suffix}").write_text(text)
    return folder, stem
