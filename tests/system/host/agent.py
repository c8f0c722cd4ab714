"""Does on an isolated host what a test asks for, one JSON line a request and one an answer.

It is started by script/host as the host's only program and ends, and with it the whole host, when its input
ends. Every text is UTF-8 with surrogate escapes, so any bytes pass through unharmed. It runs on Debian's own
Python with nothing but its standard library.
"""
import contextlib
import ctypes
import json
import os
import pty
import select
import shutil
import signal
import socket
import stat
import subprocess
import sys
import threading
import time


PR_SET_CHILD_SUBREAPER = 36


def text_of(data):
    return data.decode("utf-8", "surrogateescape")


def bytes_of(text):
    return text.encode("utf-8", "surrogateescape")


class Job:
    """A started program and all that it says. Its streams are read on threads, so it can't block on them."""

    def __init__(self, arguments, environment, folder, given, terminal):
        self.said = {"output": b"", "errors": b""}
        self.readers = []
        environment = dict(os.environ, **environment)
        master = None
        if terminal:
            master, output = pty.openpty()
        else:
            output = subprocess.PIPE
        self.process = subprocess.Popen(arguments, env=environment, cwd=folder, stdin=subprocess.PIPE,
                                        stdout=output, stderr=subprocess.PIPE)
        if terminal:
            os.close(output)
        self.process.stdin.write(bytes_of(given))
        self.process.stdin.close()
        self.read("output", master if terminal else self.process.stdout.fileno())
        self.read("errors", self.process.stderr.fileno())

    def read(self, stream, descriptor):
        def body():
            while True:
                try:
                    data = os.read(descriptor, 65536)
                except OSError:  # how a terminal ends
                    return
                if not data:
                    return
                self.said[stream] += data

        thread = threading.Thread(target=body, daemon=True)
        thread.start()
        self.readers.append(thread)

    def wait(self, limit):
        """The status (negative: the signal) and what was said, or None when the program still runs."""
        end = time.monotonic() + limit
        try:
            status = self.process.wait(limit)
        except subprocess.TimeoutExpired:
            return None
        for reader in self.readers:  # until the last process that holds a stream has closed it
            reader.join(max(0.0, end - time.monotonic()))
        return {"status": status, "open": any(reader.is_alive() for reader in self.readers),
                **{stream: text_of(data) for stream, data in self.said.items()}}


class SystemLog:
    """Stands where the system's log daemon listens and keeps every datagram."""

    def __init__(self):
        self.datagrams = []
        self.socket = None
        self.turn = threading.Lock()

    def listen(self):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind("/dev/log")
        os.chmod("/dev/log", 0o666)
        threading.Thread(target=self.collect, daemon=True).start()

    def collect(self):
        """Keeps the queue short, for a sender waits when it is full."""
        while True:
            select.select([self.socket], [], [])
            self.received()

    def received(self):
        """All datagrams that were sent up to now."""
        with self.turn:
            try:
                while self.socket:
                    self.datagrams.append(self.socket.recv(65536, socket.MSG_DONTWAIT))
            except BlockingIOError:
                pass
            return list(self.datagrams)


def process_of(pid):
    """What /proc says of one process, or None when it goes away meanwhile."""
    folder = f"/proc/{pid}/"
    try:
        with open(folder + "stat", "rb") as file:
            fields = file.read().rpartition(b")")[2].split()
        with open(folder + "comm", "rb") as file:
            name = file.read()[:-1]
        with open(folder + "cmdline", "rb") as file:
            arguments = file.read().split(b"\0")[:-1]
        return {"pid": pid, "parent": int(fields[1]), "state": text_of(fields[0]), "name": text_of(name),
                "arguments": [text_of(one) for one in arguments], "threads": int(fields[17]),
                "resident_kb": int(fields[21]) * (os.sysconf("SC_PAGESIZE") // 1024),
                "descriptors": len(os.listdir(folder + "fd"))}
    except OSError:
        return None


class Agent:
    """The requests by name; every public operation is one."""

    def __init__(self):
        self.jobs = {}
        self.log = SystemLog()
        self.covers = 0

    def spawn(self, arguments, environment, folder, given, terminal):
        job = Job(arguments, environment, folder, given, terminal)
        self.jobs[job.process.pid] = job
        return job.process.pid

    def wait(self, pid, limit):
        return self.jobs[pid].wait(limit)

    def put(self, files):
        """Writes [path, text, mode] each, whatever stood there before; readers see old or new, never half."""
        for path, text, mode in files:
            os.makedirs(os.path.dirname(path), exist_ok=True)
            fresh = os.path.join(os.path.dirname(path), ".being-put")
            with open(fresh, "wb") as file:
                file.write(bytes_of(text))
            os.chmod(fresh, mode)
            os.rename(fresh, path)

    def get(self, path):
        try:
            with open(path, "rb") as file:
                return text_of(file.read())
        except (FileNotFoundError, NotADirectoryError, ProcessLookupError):
            return None

    def exists(self, path):
        return os.path.lexists(path)

    def copy(self, source, target):
        shutil.copytree(source, target, symlinks=True, dirs_exist_ok=True)

    def folder(self, path, mode):
        os.makedirs(path, exist_ok=True)
        os.chmod(path, mode)

    def remove(self, path):
        if os.path.isdir(path) and not os.path.islink(path):
            shutil.rmtree(path)
        elif os.path.lexists(path):
            os.unlink(path)

    def rename(self, source, target):
        os.rename(source, target)

    def link(self, target, path):
        os.symlink(target, path)

    def mode(self, path, mode):
        os.chmod(path, mode)

    def owner(self, path, user, group):
        os.chown(path, user, group, follow_symlinks=False)

    def tree(self, path):
        """[path below, kind, mode, owner, size] of everything below a folder, in order."""
        kinds = {stat.S_IFDIR: "folder", stat.S_IFREG: "file", stat.S_IFLNK: "link"}
        found = []
        for folder, folders, files in os.walk(path):
            for name in folders + files:
                whole = os.path.join(folder, name)
                try:
                    status = os.lstat(whole)
                except FileNotFoundError:  # a temporary file of a program that runs meanwhile
                    continue
                found.append([os.path.relpath(whole, path), kinds.get(stat.S_IFMT(status.st_mode), "other"),
                              stat.S_IMODE(status.st_mode), status.st_uid, status.st_size])
        return sorted(found)

    def files(self, path):
        """Everything readable below a folder: path below and text."""
        return {one[0]: self.get(os.path.join(path, one[0])) for one in self.tree(path) if one[1] == "file"}

    def cover(self, path, text):
        """Shows this text at a path that can't be replaced, such as one below /proc."""
        self.covers += 1
        source = f"/run/covers/{self.covers}"
        self.put([[source, text, 0o444]])
        subprocess.run(["mount", "-n", "--bind", source, path], check=True)

    def processes(self):
        found = [process_of(int(name)) for name in os.listdir("/proc") if name.isdigit()]
        return [one for one in found if one is not None]

    def kill(self, pid, number):
        os.kill(pid, number)

    def adopt(self):
        """From now on processes that lose their parent become ours, so that their status can be reported."""
        if ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
            raise OSError(ctypes.get_errno(), "prctl")

    def status_of(self, pid):
        """The status of an adopted process that has ended (negative: the signal), None while it runs."""
        ended = os.waitid(os.P_PID, pid, os.WEXITED | os.WNOHANG)
        if ended is None:
            return None
        return ended.si_status if ended.si_code == os.CLD_EXITED else -ended.si_status

    def listen(self):
        self.log.listen()

    def datagrams(self):
        return [text_of(one) for one in self.log.received()]


def leave_room_for_scripted_ids():
    """Lets real process ids begin above those that tests give to scripted processes by hand.

    A kernel without this setting counts on from where it is, and then a test that starts very many processes could
    meet one of them.
    """
    with contextlib.suppress(OSError):
        with open("/proc/sys/kernel/ns_last_pid", "w") as file:
            file.write("10000")


def main():
    leave_room_for_scripted_ids()
    # The test decides when the host ends, not its terminal. A handler, for it isn't inherited as ignoring is.
    signal.signal(signal.SIGINT, lambda *_: None)
    agent = Agent()
    for line in sys.stdin:
        operation, arguments = json.loads(line)
        try:
            answer = {"answer": getattr(agent, operation)(*arguments)}
        except Exception as error:  # whatever went wrong is for the test to check
            answer = {"error": f"{type(error).__name__}: {error}"}
        print(json.dumps(answer), flush=True)


if __name__ == "__main__":
    main()
