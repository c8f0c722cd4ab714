"""The program under test: where it was built, and the tree that its installation lays out.

The build folder comes from the environment variable THSENTINEL_BUILD or THSENTINEL_BUILD_DIR, else it is
build/dev of the checkout.
"""
import fcntl
import functools
import os
import pathlib
import re
import shutil
import subprocess

CHECKOUT = pathlib.Path(__file__).resolve().parents[3]
RELEASE = re.search(r"project\(thsentinel VERSION (\S+)", (CHECKOUT / "CMakeLists.txt").read_text())[1]
BASE = "/usr/tarnv"
HOME = BASE + "/tarnhaven"
PROGRAM = HOME + "/bin/thsentinel"
LIBRARY = HOME + "/lib/libthbase.so"
STORE = HOME + "/master.conf"
LOGS = HOME + "/logs/thsentinel"
RUN_LOCK = BASE + "/tmp/976AF287-9C13-4F28-AC99-AD456ABE5383.RUN"
CHILD_LOCK = BASE + "/tmp/41938320-72B9-4818-A4F2-16EBF79F40F0.CHILD"


def build_folder():
    named = os.environ.get("THSENTINEL_BUILD") or os.environ.get("THSENTINEL_BUILD_DIR") or "build/dev"
    return (CHECKOUT / named).resolve()


@functools.cache
def is_built_with(option):
    """Whether the compiler was given an option that begins so."""
    cache = build_folder() / "CMakeCache.txt"
    return cache.exists() and option in cache.read_text()


def sanitizer_reports_to(path):
    """The environment that has a sanitizer of the build write its reports to PATH.PID: a daemon has no streams."""
    if not is_built_with("-fsanitize="):
        return {}
    names = ["ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"]
    return {name: ":".join(filter(None, [os.environ.get(name), f"log_path={path}"])) for name in names}


def has_companion():
    """Whether the build has the companion program; where its packages are missing, cmake leaves it out."""
    return (build_folder() / "ctl" / "thsentinelctl").exists()


def measures_coverage():
    return is_built_with("--coverage")


class Product:
    """The staged tree, as `DESTDIR=X cmake --install` lays it out."""

    def __init__(self, staged):
        self.staged = pathlib.Path(staged)
        self.build = build_folder()

    def at(self, path):
        """Where an absolute path of the installed tree lies in the stage."""
        return self.staged / path.lstrip("/")

    @staticmethod
    def install(folder, *options):
        """Installs into a folder; several test processes may ask at once, the first of them does it."""
        folder = pathlib.Path(folder)
        folder.mkdir(parents=True, exist_ok=True)
        staged = folder / "tree"
        with open(folder / "lock", "w", encoding="ascii") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            if not staged.exists():
                # What a sanitizer is to say nothing of goes by the names of functions.
                strip = [] if is_built_with("-fsanitize=") else ["--strip"]
                command = ["cmake", "--install", str(build_folder()), *strip, *options]
                fresh = folder / "being-installed"
                shutil.rmtree(fresh, ignore_errors=True)
                environment = dict(os.environ, DESTDIR=str(fresh))
                done = subprocess.run(command, env=environment, capture_output=True, text=True, check=False)
                if done.returncode != 0:
                    raise RuntimeError(f"{' '.join(command)} failed:\n{done.stdout}{done.stderr}")
                fresh.rename(staged)  # only a whole tree bears the name
        return Product(staged)
