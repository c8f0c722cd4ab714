"""A host of its own, and the person in front of it."""
import collections
import glob
import json
import os
import re
import signal
import subprocess
import time

from . import product, scripted, texts

LIMIT = 60  # seconds that a condition may take before the test fails; far more than a busy machine needs
INTERVAL = 0.05
SANITIZER_REPORTS = "/run/sanitizer"
SANITIZER_THREADS = 2  # the thread sanitizer's own in a process that has made a process and a thread

RELEASE_FILES = {"redhat": ["redhat-release"], "oracle": ["oracle-release"], "suse": ["SuSE-release"],
                 "none": [], "several": ["redhat-release", "SuSE-release"]}

Result = collections.namedtuple("Result", "status output errors")
SystemLogEntry = collections.namedtuple("SystemLogEntry", "level text")

SYSTEM_LOG_FORM = re.compile(r"<(\d+)>\w{3} [ \d]\d \d\d:\d\d:\d\d thsentinel\[\d+\]: (.*)", re.S)


class HostFailed(Exception):
    pass


class Host:
    """An isolated host that is driven through its agent; it and all its processes end with close()."""

    def __init__(self, tree, distribution="none", store=None, defaults=True, processes=(), cpus=1, tools=None,
                 real_tools=False, without=(), evidence="/evidence", system_log=True, share=()):
        """Makes the host as it is described.

        distribution: "redhat", "oracle", "suse", "none", "several"; store: keys that are set besides the
        defaults below, or taken out where the value is None; processes: what the scripted ps lists; cpus: how
        many processors /proc/cpuinfo shows (None: the machine's own); tools: Tool by name, where the scripted
        answer is to differ; real_tools: nothing is scripted; without: tools that are missing; evidence: the
        folder that THHS_EVIDENCE_PATH names; system_log: whether somebody listens at /dev/log; share: further
        folders of the machine that the host sees.
        """
        self.product = tree
        self.evidence_path = evidence
        self.store = {}
        self._begin(share)
        if product.is_built_with("-fsanitize="):
            self.folder(SANITIZER_REPORTS, 0o1777)
        self.ask("copy", str(tree.at(product.BASE)), product.BASE)
        self.ask("folder", evidence, 0o755)
        for name in RELEASE_FILES[distribution]:
            self.put(f"/etc/{name}", "a release\n")
        if defaults:
            self.store = {"THHS_POLL_INTERVAL": "1", "_FORCE_READING_INTERVAL_": "1",
                          "THHS_NUMBER_OF_READINGS": "1", "THHS_READING_INTERVAL": "1",
                          "THHS_EVIDENCE_PATH": evidence}
        self.configure(store or {})
        self.record_shell()
        if not real_tools:
            self.script_tools(tools or {}, processes)
        if cpus is not None:
            self.ask("cover", "/proc/cpuinfo", "".join(f"processor\t: {one}\n\n" for one in range(cpus)))
        for tool in without:
            self.ask("remove", f"/usr/bin/{tool}")
        if system_log:
            self.ask("listen")

    def _begin(self, share):
        agent = os.path.join(os.path.dirname(__file__), "agent.py")
        command = [str(product.CHECKOUT / "script/host"), "--share", str(self.product.staged)]
        if self.product.build.exists():
            command += ["--share", str(self.product.build)]
        for folder in share:
            command += ["--share", str(folder)]
        command += ["--cwd", "/", "--", "/usr/bin/python3", "-I", "-S", agent]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def close(self):
        """Ends the host. A daemon that writes coverage data is asked to end first, so that it can. What a sanitizer
        has reported fails the test."""
        try:
            if product.measures_coverage() and self.process.poll() is None:
                self._end_daemons()
            if product.is_built_with("-fsanitize=") and self.process.poll() is None:
                reports = self.ask("files", SANITIZER_REPORTS)
                assert not reports, "".join(reports.values())
        finally:
            self.process.stdin.close()
            try:
                self.process.wait(60)
            except subprocess.TimeoutExpired:
                self.process.terminate()
                self.process.wait(10)
                raise
            finally:
                self.process.stdout.close()

    def _end_daemons(self):
        for one in self.daemons():
            self.kill(one["pid"], signal.SIGTERM)
        end = time.monotonic() + 10
        while self.daemons() and time.monotonic() < end:
            time.sleep(INTERVAL)

    # ------------------------------------------------------------------------------------------------------
    # Files and programs
    # ------------------------------------------------------------------------------------------------------

    def ask(self, operation, *arguments):
        """One request to the agent and its answer."""
        self.process.stdin.write(json.dumps([operation, arguments]).encode() + b"\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        if not line:
            raise HostFailed(f"the host ended at the request {operation}, status {self.process.wait()}")
        answer = json.loads(line)
        if "error" in answer:
            raise HostFailed(f"{operation}: {answer['error']}")
        return answer["answer"]

    def put(self, path, text="", mode=0o644):
        self.ask("put", [[path, text, mode]])

    def get(self, path):
        """The text of a file, or None when there is none."""
        return self.ask("get", path)

    def folder(self, path, mode=0o755):
        self.ask("folder", path, mode)

    def remove(self, path):
        self.ask("remove", path)

    def exists(self, path):
        return self.ask("exists", path)

    def spawn(self, *arguments, environment=None, folder="/", given="", terminal=False):
        """Starts a program and gives its process id."""
        environment = {**product.sanitizer_reports_to(f"{SANITIZER_REPORTS}/report"), **(environment or {})}
        return self.ask("spawn", arguments, environment, folder, given, terminal)

    def wait(self, pid, limit=LIMIT):
        """Waits for a spawned program to end and to leave its streams."""
        said = self.ask("wait", pid, limit)
        if said is None:
            raise AssertionError(self.report(f"process {pid} didn't end within {limit} s"))
        if said["open"]:
            raise AssertionError(self.report(f"somebody kept a stream of process {pid} for {limit} s"))
        return Result(said["status"], said["output"], said["errors"])

    def run(self, *arguments, **options):
        """Runs a program to its end. A bare option runs the installed program with it."""
        if not arguments or arguments[0].startswith("-"):
            arguments = (product.PROGRAM, *arguments)
        limit = options.pop("limit", LIMIT)
        return self.wait(self.spawn(*arguments, **options), limit)

    def shell(self, line):
        """Runs a line of a test's own in a shell that isn't recorded; it must succeed."""
        result = self.run("/bin/dash", "-c", line)
        assert result.status == 0, result
        return result.output

    def processes(self):
        """The processes of the host; threads that a sanitizer has in the daemon for itself don't count."""
        found = self.ask("processes")
        if product.is_built_with("-fsanitize=thread"):
            for one in found:
                if one["name"] == "thsentinel":
                    one["threads"] = max(1, one["threads"] - SANITIZER_THREADS)
        return found

    def process_of(self, pid):
        return next((one for one in self.processes() if one["pid"] == pid), None)

    def kill(self, pid, number=signal.SIGKILL):
        self.ask("kill", pid, int(number))

    # ------------------------------------------------------------------------------------------------------
    # The description of the host, which may change under a running daemon
    # ------------------------------------------------------------------------------------------------------

    def configure(self, changes=None, **more):
        """Changes keys of the store; None takes a key out."""
        for key, value in {**(changes or {}), **more}.items():
            if value is None:
                self.store.pop(key, None)
            else:
                self.store[key] = str(value)
        self.put(product.STORE, "".join(f"{key} = {value}\n" for key, value in self.store.items()))

    def script_tools(self, tools, processes):
        files = [["/usr/bin/ps", scripted.PS, 0o755], ["/usr/bin/gcore", scripted.GCORE, 0o755],
                 [f"{scripted.SCENARIO}/ps/listings", "0\n", 0o644]]
        for name in [*scripted.TOOLS, *(name for name in tools if name not in scripted.TOOLS)]:
            if name in tools or name not in ("ps", "gcore"):
                files += tools.get(name, scripted.Tool()).files(name)
        self.ask("put", files + scripted.ps_files(processes))

    def show(self, *processes):
        """Changes what the scripted ps lists from now on; passes go on counting."""
        self.ask("put", scripted.ps_files(processes))

    def rewind(self):
        """Lets the scripted ps begin with its first pass again."""
        self.put(f"{scripted.SCENARIO}/ps/listings", "0\n")

    def record_shell(self):
        self.ask("put", [["/usr/bin/sh", scripted.SHELL, 0o755], [f"{scripted.SCENARIO}/shell", "", 0o666],
                         [f"{scripted.SCENARIO}/calls", "", 0o666]])

    def shell_lines(self):
        """Every line that was handed to a shell on this host, in order."""
        return self.get(f"{scripted.SCENARIO}/shell").split("\0")[:-1]

    def calls(self, tool=None):
        """The argument lines of the calls of one scripted tool, or (tool, argument line) of all."""
        made = [tuple(line.split("\t", 1)) for line in self.get(f"{scripted.SCENARIO}/calls").splitlines()]
        return made if tool is None else [arguments for name, arguments in made if name == tool]

    # ------------------------------------------------------------------------------------------------------
    # The daemon
    # ------------------------------------------------------------------------------------------------------

    def start(self, option="-start", **options):
        """Starts the daemon, as an operator does, and gives its process id; options as for spawn()."""
        if not self.daemons():
            self.rewind()
        result = self.run(product.PROGRAM, *([option] if option else []), **options)
        assert result.status == 0, self.report(f"the daemon wasn't started: {result}")
        return self.daemon_pid()

    def terminate(self):
        """Ends the daemon, as an operator does, and waits until it is gone."""
        result = self.run("-terminate")
        assert result.status == 0, result
        self.until_gone()

    def daemon_pid(self):
        """What the run lock file says."""
        text = self.get(product.RUN_LOCK)
        return int(text) if text else None

    def daemons(self):
        """The processes of the installed program, as long as one of their threads lives: it may hold the lock.

        A child of a daemon at work is a tool that hasn't taken its own name yet, and no daemon.
        """
        named = [one for one in self.processes()
                 if one["name"] == "thsentinel" and (one["state"] != "Z" or one["threads"] > 1)]
        at_work = {one["pid"] for one in named if one["threads"] > 1}
        return [one for one in named if one["parent"] not in at_work]

    def adopt_orphans(self):
        """Lets status_of() report how a daemon ended that is started after this."""
        self.ask("adopt")

    def status_of(self, pid, limit=LIMIT):
        """Waits for an adopted process to end and gives its status."""
        found = []
        self.until(lambda: found.append(self.ask("status_of", pid)) or found[-1] is not None,
                   f"process {pid} ends", limit)
        return found[-1]

    def until_gone(self, limit=LIMIT):
        self.until(lambda: not self.daemons(), "no daemon", limit)

    def passes(self):
        """How many passes the latest start of the service has ended: looked at all, slept, and read again."""
        entries = self.log()
        starts = [place for place, entry in enumerate(entries) if entry == texts.STARTED]
        latest = entries[starts[-1]:] if starts else []
        looked = [place for place, entry in enumerate(latest) if entry == texts.MONITORING]
        return sum(texts.READING in latest[place:following]
                   for place, following in zip(looked, looked[1:] + [len(latest)]))

    def after_pass(self, number, limit=None):
        """Waits until the daemon has done with that pass, its sleep included."""
        limit = limit or LIMIT + 3 * number
        self.until(lambda: self.passes() >= number, f"pass {number} is over", limit)

    # ------------------------------------------------------------------------------------------------------
    # What it says and leaves behind
    # ------------------------------------------------------------------------------------------------------

    def log_text(self):
        """The diagnostic log as it is, all days in order."""
        files = self.ask("files", product.LOGS)
        order = sorted(files, key=lambda name: (name[9:11], name[5:9]))
        return "".join(files[name] for name in order)

    def log(self):
        """The entries of the diagnostic log without their stamps."""
        return texts.entries_of(self.log_text())

    def machine_lines(self):
        """The two lines about the machine that a start writes."""
        memory = dict(line.split()[:2] for line in self.get("/proc/meminfo").splitlines())
        processors = self.get("/proc/cpuinfo").count("processor\t")
        return [f"Number of CPUs = {processors}", f"Total size of Memory = {memory['MemTotal:']}"]

    def log_of_start(self):
        """The log of a start up to its first pass, where nothing is watched and nothing is wrong."""
        load = texts.load(self.store)
        return [*load, texts.STARTED, *load, *self.machine_lines(), texts.MONITORING]

    def times_of(self, entry):
        """When each entry of this text was written, in seconds of one day, each up to one second wrong.

        The milliseconds of a stamp may belong to the second beside its own, as the clock is read for them alone.
        """
        lines = (re.fullmatch(r"\S+ (\d\d):(\d\d):(\d\d):(\d{3}) - (.*)", line)
                 for line in self.log_text().splitlines())
        return [int(one[1]) * 3600 + int(one[2]) * 60 + int(one[3]) + int(one[4]) / 1000
                for one in lines if one and one[5] == entry]

    def log_says(self, entry, times=1, limit=LIMIT):
        """Waits until the log holds this whole entry that many times."""
        self.until(lambda: self.log().count(entry) >= times, f"the log says {times} times: {entry}", limit)

    def system_log(self):
        """(level, text) of every entry of the program in the system log; all must bear its identity."""
        levels = ["emergency", "alert", "critical", "error", "warning", "notice", "info", "debug"]
        found = []
        for datagram in self.ask("datagrams"):
            parts = SYSTEM_LOG_FORM.fullmatch(datagram)
            if not parts:
                continue
            facility, level = divmod(int(parts[1]), 8)
            assert facility == 1, f"not of the facility user: {datagram}"
            found.append(SystemLogEntry(levels[level], texts.without_stamps(parts[2])))
        return found

    def system_log_says(self, level, text, times=1):
        """Waits until the system log holds this whole entry that many times."""
        self.until(lambda: self.system_log().count((level, text)) >= times, f"the system log says: {text}")

    def other_system_log(self):
        """The entries of the system log that are not the program's, the library's among them."""
        return [one for one in self.ask("datagrams") if " thsentinel[" not in one]

    def evidence_paths(self):
        """Every path of the evidence tree, the times in file names left out."""
        found = self.ask("tree", f"{self.evidence_path}/thsentinel")
        return sorted(texts.without_file_times(one[0]) for one in found)

    def evidence(self):
        """Path to text of every evidence file but the markers, the times in the names left out."""
        found = {}
        for path, text in self.ask("files", f"{self.evidence_path}/thsentinel").items():
            if not path.endswith("/evidence.lock"):
                name = texts.without_file_times(path)
                found[name] = found.get(name, "") + text
        return found

    def evidence_is(self, expected, limit=LIMIT):
        """Waits until the evidence is exactly this, path to text; else says where it differs."""
        self.comes_to(self.evidence, expected, limit)

    # ------------------------------------------------------------------------------------------------------
    # Waiting
    # ------------------------------------------------------------------------------------------------------

    def until(self, condition, wish, limit=LIMIT):
        """Waits until a condition holds; with a wish that names it in the failure."""
        end = time.monotonic() + limit
        while not condition():
            if time.monotonic() > end:
                raise AssertionError(self.report(f"not within {limit} s: {wish}"))
            time.sleep(INTERVAL)

    def comes_to(self, look, expected, limit=LIMIT):
        """Waits until what is looked at equals what is expected, and compares it in sight of the test."""
        end = time.monotonic() + limit
        while True:
            seen = look()
            if seen == expected or time.monotonic() > end:
                assert seen == expected
                return
            time.sleep(INTERVAL)

    def report(self, complaint):
        """The complaint with what an operator would look at first."""
        processes = [f"  {one['pid']} {one['state']} {' '.join(one['arguments'])}"
                     for one in self.processes()]
        return "\n".join([complaint, "processes:", *processes, "log:",
                          *[f"  {line}" for line in self.log_text().splitlines()[-60:]]])


def missing_tools(names):
    """Those of the real tools that this machine doesn't have."""
    return [name for name in names if not glob.glob(f"/usr/bin/{name}") and not glob.glob(f"/bin/{name}")]
