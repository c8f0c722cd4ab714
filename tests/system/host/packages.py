"""The packages of the build under test, made once a session, and what a test does with them."""
import fcntl
import pathlib
import re
import shutil
import subprocess

import pytest

from . import product, texts
from .machine import missing_tools

VERSION = texts.VERSION.strip().partition("_")[2]
HIGHER = "99.1"
MAIN, BASE, COMPANION = "thsentinel", "thsentinel-standalone", "thsentinel-ctl"
HOLDS_COMPANION = (product.build_folder() / "ctl/thsentinelctl").exists()
NAMES = [MAIN, BASE, COMPANION] if HOLDS_COMPANION else [MAIN, BASE]


def make(folder, kind):
    """The folder with the packages of a kind, "deb" or "rpm"; several test processes may ask at once."""
    missing = missing_tools(["cpack", {"deb": "dpkg-deb", "rpm": "rpmbuild"}[kind]])
    if missing:
        pytest.skip(f"not installed: {', '.join(missing)}")
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    with open(folder / "lock", "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if not (folder / "made").exists():
            done = subprocess.run(["cpack", "-G", kind.upper(), "-B", str(folder), "--config",
                                   str(product.build_folder() / "CPackConfig.cmake")],
                                  capture_output=True, text=True, check=False)
            if done.returncode != 0:
                raise RuntimeError(f"cpack failed:\n{done.stdout}{done.stderr}")
            (folder / "made").touch()
    return folder


def path_of(folder, name, kind="deb"):
    """The file of the package of that name."""
    divider = {"deb": "_", "rpm": "-"}[kind]
    (found,) = [one for one in folder.glob(f"{name}{divider}*.{kind}") if one.name[len(name) + 1].isdigit()]
    return found


def higher(folder, name, into):
    """The same package with a higher version."""
    tree = into / f"{name}-tree"
    subprocess.run(["dpkg-deb", "-R", path_of(folder, name), tree], check=True)
    control = tree / "DEBIAN/control"
    control.write_text(re.sub(re.escape(VERSION), HIGHER, control.read_text()))
    made = into / f"{name}_{HIGHER}.deb"
    subprocess.run(["dpkg-deb", "--root-owner-group", "-b", tree, made], check=True, capture_output=True)
    shutil.rmtree(tree)
    return made
