"""The installed tree: what lies where, in which mode, and what the program needs to run."""
import os
import pathlib
import stat
import subprocess

import pytest

from host import product, texts

DAEMON = {"/usr/tarnv/tarnhaven/bin/thsentinel": 0o755}
STANDALONE = {"/usr/tarnv/tarnhaven/bin/txlogcfg": 0o755, "/usr/tarnv/tarnhaven/lib/libthbase.so": None}
COMPANION = {"/usr/local/bin/thsentinelctl": 0o755} if product.has_companion() else {}
EMPTY_FOLDERS = ["/usr/tarnv/tmp", "/usr/tarnv/tarnhaven/logs", "/usr/tarnv/wmc/webserver/temp"]
EVIDENCE = "/var/lib/thsentinel/evidence"
SYSTEM_LIBRARIES = {"libstdc++.so.6", "libgcc_s.so.1", "libc.so.6", "libm.so.6", "ld-linux-x86-64.so.2",
                    "libpthread.so.0"}


def files_of(root):
    """Path to mode of every file below a stage."""
    return {f"/{path.relative_to(root)}": stat.S_IMODE(path.stat().st_mode)
            for path in pathlib.Path(root).rglob("*") if path.is_file() or path.is_symlink()}


def folders_of(root):
    return {f"/{path.relative_to(root)}": stat.S_IMODE(path.stat().st_mode)
            for path in pathlib.Path(root).rglob("*") if path.is_dir()}


def with_parents(paths):
    return {str(one) for path in map(pathlib.PurePath, paths) for one in (path, *path.parents)}


def readelf(path, *options):
    """The lines that readelf prints of a program."""
    done = subprocess.run(["readelf", "-W", *options, path], capture_output=True, text=True, check=True)
    return done.stdout.splitlines()


def dynamic(path, tag):
    """The values of one tag in the dynamic section of a program."""
    return [line.partition("[")[2].rstrip("]") for line in readelf(path, "-d") if f"({tag})" in line]


def test_the_tree_holds_the_program_its_library_and_the_empty_folders(installed):
    files = files_of(installed.staged)
    assert files.keys() == DAEMON.keys() | STANDALONE.keys() | COMPANION.keys()
    assert all(files[path] == mode for path, mode in {**DAEMON, **STANDALONE, **COMPANION}.items()
               if mode is not None)
    assert files[product.LIBRARY] in (0o644, 0o755)  # either is the habit of one distribution


def test_the_tree_holds_no_other_folder_and_the_evidence_is_for_root_alone(installed):
    folders = folders_of(installed.staged)
    programs = map(os.path.dirname, [*DAEMON, *STANDALONE, *COMPANION])
    expected = with_parents([*EMPTY_FOLDERS, EVIDENCE, *programs]) - {"/"}
    assert folders == {path: 0o700 if path == EVIDENCE else 0o755 for path in expected}
    assert [path for path in [*EMPTY_FOLDERS, EVIDENCE] if list(installed.at(path).iterdir())] == []


def test_the_companion_alone_follows_the_prefix(tmp_path):
    other = product.Product.install(tmp_path, "--prefix", "/opt/elsewhere")
    moved = {path.replace("/usr/local", "/opt/elsewhere") for path in COMPANION}
    assert files_of(other.staged).keys() == {*DAEMON, *STANDALONE, *moved}


@pytest.mark.skipif(not COMPANION, reason="thsentinelctl is not built")
def test_the_unit_that_prunes_runs_the_program_of_its_own_prefix(tmp_path):
    part = product.Product.install(tmp_path, "--component", "ctl_extra", "--prefix", "/opt/elsewhere")
    unit = part.at("/usr/lib/systemd/system/thsentinel-prune.service").read_text()
    assert "\nExecStart=/opt/elsewhere/bin/thsentinelctl prune --delete $PRUNE_RULES\n" in unit


@pytest.mark.parametrize("component, files", [("daemon", DAEMON), ("standalone", STANDALONE),
                                              pytest.param("ctl", COMPANION, marks=pytest.mark.skipif(
                                                  not COMPANION, reason="thsentinelctl is not built"))])
def test_each_component_installs_its_own_files_alone(tmp_path, component, files):
    part = product.Product.install(tmp_path, "--component", component)
    assert files_of(part.staged).keys() == files.keys()


def test_the_empty_folders_come_with_what_stands_in_for_the_product(tmp_path):
    part = product.Product.install(tmp_path, "--component", "standalone")
    assert folders_of(part.staged).keys() >= set(EMPTY_FOLDERS)


def test_the_stripped_program_holds_the_release_marker(installed, plain_build):
    program = installed.at(product.PROGRAM)
    assert not [line for line in readelf(program, "-S") if ".symtab" in line]
    assert f"\n@(#) {texts.VERSION[:-1]}\0".encode() in program.read_bytes()


def test_the_program_needs_the_base_library_and_the_language_alone(installed, plain_build):
    needed = set(dynamic(installed.at(product.PROGRAM), "NEEDED"))
    assert "libthbase.so" in needed
    assert needed - {"libthbase.so"} <= SYSTEM_LIBRARIES


def test_the_program_finds_its_library_relative_to_itself(installed):
    program = installed.at(product.PROGRAM)
    assert dynamic(program, "RUNPATH") + dynamic(program, "RPATH") == ["$ORIGIN/../lib"]


def test_a_tree_that_was_moved_still_runs_with_its_own_library(host):
    host.shell("mkdir -p /opt/moved && cp -r /usr/tarnv/tarnhaven/bin /usr/tarnv/tarnhaven/lib /opt/moved "
               "&& rm -r /usr/tarnv/tarnhaven/lib")
    assert host.run("/opt/moved/bin/thsentinel", "-version") == (0, texts.VERSION, "")
    host.remove("/opt/moved/lib")
    assert host.run("/opt/moved/bin/thsentinel", "-version").status == 127


def test_the_base_library_exports_its_six_calls_alone(installed):
    listing = readelf(installed.at(product.LIBRARY), "--dyn-syms")
    rows = [line.split() for line in listing if line.strip()[:1].isdigit()]
    exported = {row[7].partition("@")[0] for row in rows
                if row[4] in ("GLOBAL", "WEAK") and row[6] not in ("UND", "ABS")}
    assert exported == {"get_master_config_ptr", "thconfGetKeyValPair", "thconfGetKeyValPairAsInt",
                        "TH_forced_read_master_config", "T_localtime", "T_fscanf"}
