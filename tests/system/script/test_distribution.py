"""script/distribution on a machine of the test's own: what it makes, takes along, and says where it can't."""
import os
import shutil
import subprocess

import pytest

from host import product

RELEASE = "trixie"
# The machine's tools. debootstrap leaves what the script needs of a Debian; unshare stops before the new root.
TOOLS = {
    "id": "echo 0",
    "dpkg-query": 'shift 3; for name; do echo "$name installed"; done',
    "apt-get": 'sed -n "s/^VERSION_CODENAME=//p" /etc/os-release | while read -r name; do '
               'echo "mirror:elsewhere other"; echo "mirror:main $name"; done',
    "apt-config": 'case $1 in dump) echo "Acquire::http::Proxy \\"mirror:proxy\\";" ;; esac',
    "wget": '[ ! -e unreachable ]',
    "debootstrap": 'echo "$*" >>made; for last; do before=$tree; tree=$last; done; '
                   'mkdir -p "$before/etc/apt/apt.conf.d" "$before/usr/sbin"; [ ! -e broken ]',
    "unshare": 'case "$*" in *" true") exit 0 ;; esac; printf "%s\\n" "$@" >entered',
}


@pytest.fixture(name="machine")
def make_machine(tmp_path):
    """A folder with the tools and a checkout; call it to run the script there."""
    checkout = tmp_path / "checkout"
    (checkout / "script").mkdir(parents=True)
    for name in ("distribution", "bootstrap"):
        shutil.copy(product.CHECKOUT / "script" / name, checkout / "script")
    (tmp_path / "bin").mkdir()
    for name, body in TOOLS.items():
        (tmp_path / "bin" / name).write_text(f"#!/bin/sh\ncd {tmp_path}\n{body}\n")
        (tmp_path / "bin" / name).chmod(0o755)
    subprocess.run(["git", "init", "-q", checkout], check=True)
    (checkout / ".gitignore").write_text("/build/\n")

    def run(*arguments, **environment):
        return subprocess.run(
            [checkout / "script/distribution", *arguments], capture_output=True, text=True, timeout=60, check=False,
            env={"PATH": f"{tmp_path}/bin:/usr/bin:/bin", "XDG_CACHE_HOME": str(tmp_path / "cache"),
                 **environment})

    run.folder, run.checkout = tmp_path, checkout
    run.tree = tmp_path / "cache/thsentinel/distributions" / RELEASE / "tree"
    return run


def test_the_first_run_makes_the_folder_and_later_ones_find_it(machine):
    for _ in range(2):
        done = machine(RELEASE, "true")
        assert (done.returncode, done.stderr) == (0, "")
    made = (machine.folder / "made").read_text().splitlines()
    assert len(made) == 1 and made[0].endswith(f" {RELEASE} {machine.tree.parent}/being-made mirror:main")


def test_the_archive_is_that_of_the_machine_and_so_is_the_way_to_it(machine):
    machine(RELEASE, "true")
    assert (machine.tree / "etc/apt/sources.list").read_text() == f"deb mirror:main {RELEASE} main\n"
    assert "mirror:proxy" in (machine.tree / "etc/apt/apt.conf.d/00machine").read_text()
    machine(RELEASE, "true", THSENTINEL_MIRROR="mirror:chosen")
    assert (machine.tree / "etc/apt/sources.list").read_text() == f"deb mirror:chosen {RELEASE} main\n"


def test_the_command_is_run_in_the_new_root_with_its_words_as_they_are(machine):
    assert machine(RELEASE, "a command", "--with", "two words").returncode == 0
    words = (machine.folder / "entered").read_text().splitlines()
    assert words[-7:] == ["--inside", str(machine.tree), f"{machine.folder}/cache/thsentinel/packages/{RELEASE}",
                          f"{machine.checkout}/build/{RELEASE}", "a command", "--with", "two words"]


def test_the_copy_is_the_checkout_as_it_is_now_without_what_git_ignores(machine):
    gone, kept, ignored = (machine.checkout / name for name in ("a file that goes", "a file", "build/product"))
    gone.touch()
    machine(RELEASE, "true")
    gone.unlink()
    kept.write_text("text")
    os.utime(kept, (1, 1))
    ignored.touch()
    machine(RELEASE, "true")
    copy = machine.tree / "usr/src/thsentinel"
    assert (copy / "a file").read_text() == "text" and (copy / "a file").stat().st_mtime == 1
    assert not (copy / gone.name).exists() and not (copy / "build/product").exists()


def test_a_folder_that_was_not_finished_is_made_anew(machine):
    (machine.folder / "broken").touch()
    done = machine(RELEASE, "true")
    assert (done.returncode, machine.tree.exists()) == (77, False)
    assert done.stderr == "script/distribution: no Debian trixie can be made here: debootstrap failed\n"
    (machine.folder / "broken").unlink()
    assert machine(RELEASE, "true").returncode == 0


def test_without_a_way_to_the_archive_it_says_so(machine):
    (machine.folder / "unreachable").touch()
    done = machine(RELEASE, "true")
    assert (done.returncode, done.stderr) == (
        77, "script/distribution: no Debian trixie can be made here: mirror:main can't be reached\n")


def test_without_root_it_says_so(machine):
    (machine.folder / "bin/id").write_text("#!/bin/sh\necho 1000\n")
    done = machine(RELEASE, "true")
    assert (done.returncode, done.stderr) == (
        77, "script/distribution: no Debian trixie can be made here: it needs root\n")


@pytest.mark.parametrize("words", [[], ["sid", "true"], [RELEASE]])
def test_another_release_or_no_command_gets_the_usage(machine, words):
    done = machine(*words)
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr.startswith("usage: script/distribution RELEASE COMMAND [ARG...]\n")


@pytest.mark.parametrize("words, handed_on", [
    ([], ["--unit", "--system", "--clang"]),
    (["--unit"], ["--unit"]),
    (["--system", "--until", "5", "--nightly"], ["--system", "--nightly", "--until", "5"]),
])
def test_tests_on_a_release_are_the_same_tests_there_and_clang_besides(tmp_path, words, handed_on):
    (tmp_path / "script").mkdir()
    shutil.copy(product.CHECKOUT / "script/test", tmp_path / "script")
    (tmp_path / "script/distribution").write_text('#!/bin/sh\necho "$@"\nexit 7\n')
    (tmp_path / "script/distribution").chmod(0o755)
    done = subprocess.run([tmp_path / "script/test", "--on", RELEASE, *words], capture_output=True, text=True,
                          timeout=60, check=False)
    assert (done.returncode, done.stderr) == (7, "")
    assert done.stdout.split() == [RELEASE, "script/test", *handed_on]
