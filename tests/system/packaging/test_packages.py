"""What the packages hold and what they ask for, without installing them on a host."""
import re
import subprocess

import pytest

from host import missing_tools, packages, product
from host.packages import BASE, COMPANION, MAIN, NAMES, VERSION

HOME = "/usr/tarnv/tarnhaven"
# What both kinds of package hold, apart from the folders.
MAIN_FILES = {f"{HOME}/bin/thsentinel": "-rwxr-xr-x",
              "/usr/sbin/thsentinel": "lrwxrwxrwx",
              "/usr/lib/systemd/system/thsentinel.service": "-rw-r--r--",
              "/usr/lib/thsentinel/daemon-control": "-rwxr-xr-x",
              "/usr/lib/tmpfiles.d/thsentinel.conf": "-rw-r--r--",
              "/usr/share/bash-completion/completions/thsentinel": "-rw-r--r--",
              "/usr/share/doc/thsentinel/examples/master.conf.example": "-rw-r--r--",
              "/usr/share/doc/thsentinel/examples/thsentinel-logs.conf": "-rw-r--r--",
              **{f"/usr/share/doc/thsentinel/{name}.md": "-rw-r--r--"
                 for name in ("operations", "messages", "sizing", "store", "json")},
              "/usr/share/man/man5/thsentinel-evidence.5.gz": "-rw-r--r--",
              "/usr/share/man/man5/thsentinel.conf.5.gz": "-rw-r--r--",
              "/usr/share/man/man8/thsentinel.8.gz": "-rw-r--r--",
              "/var/lib/thsentinel/evidence": "drwx------"}
BASE_FILES = {f"{HOME}/bin/txlogcfg": "-rwxr-xr-x",
              f"{HOME}/logs": "drwxr-xr-x",
              "/usr/tarnv/tmp": "drwxr-xr-x",
              "/usr/tarnv/wmc/webserver/temp": "drwxr-xr-x"}
LIBRARY = f"{HOME}/lib/libthbase.so"
OF_DEB = {MAIN: {**MAIN_FILES,
                 "/etc/init.d/thsentinel": "-rwxr-xr-x",
                 "/usr/share/doc/thsentinel/changelog.gz": "-rw-r--r--",
                 "/usr/share/doc/thsentinel/copyright": "-rw-r--r--",
                 "/usr/share/lintian/overrides/thsentinel": "-rw-r--r--",
                 "/usr/share/zsh/vendor-completions/_thsentinel": "-rw-r--r--"},
          BASE: {**BASE_FILES, LIBRARY: "-rw-r--r--",
                 "/usr/share/doc/thsentinel-standalone/changelog.gz": "-rw-r--r--",
                 "/usr/share/doc/thsentinel-standalone/copyright": "-rw-r--r--",
                 "/usr/share/lintian/overrides/thsentinel-standalone": "-rw-r--r--"}}
OF_RPM = {MAIN: {**MAIN_FILES,
                 "/usr/share/doc/thsentinel/CHANGELOG.md": "-rw-r--r--",
                 "/usr/share/doc/thsentinel/LICENSE": "-rw-r--r--",
                 "/usr/share/doc/thsentinel/examples/thsentinel.init": "-rwxr-xr-x",
                 "/usr/share/zsh/site-functions/_thsentinel": "-rw-r--r--"},
          BASE: {**BASE_FILES, LIBRARY: "-rwxr-xr-x",
                 "/usr/share/doc/thsentinel-standalone/CHANGELOG.md": "-rw-r--r--",
                 "/usr/share/doc/thsentinel-standalone/LICENSE": "-rw-r--r--"}}


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def field(package, name):
    return output_of("dpkg-deb", "-f", package, name).strip()


def leaves(listing):
    """Path to mode of what is no folder that only leads to others, from lines that begin and end so."""
    found = {}
    for line in listing.splitlines():
        path = "/" + line.partition(" -> ")[0].split()[-1].removeprefix(".").strip("/")
        found[path] = line.split()[0]
    return {path: mode for path, mode in found.items()
            if path != "/" and (mode[0] != "d" or not any(other.startswith(path + "/") for other in found))}


@pytest.mark.parametrize("name", [MAIN, BASE])
def test_a_deb_holds_these_files_in_these_modes(debs, name):
    listing = output_of("dpkg-deb", "-c", packages.path_of(debs, name))
    assert leaves(listing) == OF_DEB[name]
    assert {line.split()[1] for line in listing.splitlines()} == {"root/root"}


@pytest.mark.parametrize("name", [MAIN, BASE])
def test_an_rpm_holds_these_files_in_these_modes(rpms, name):
    listing = output_of("rpm", "-qplv", packages.path_of(rpms, name, "rpm"))
    assert leaves(listing) == OF_RPM[name]
    assert {tuple(line.split()[2:4]) for line in listing.splitlines()} == {("root", "root")}


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_the_companion_is_an_ordinary_program(debs, rpms):
    listings = [output_of("dpkg-deb", "-c", packages.path_of(debs, COMPANION)),
                output_of("rpm", "-qplv", packages.path_of(rpms, COMPANION, "rpm"))]
    for listing, completion in zip(listings, ["vendor-completions", "site-functions"]):
        held = leaves(listing)
        assert held["/usr/bin/thsentinelctl"] == "-rwxr-xr-x"
        assert {"/usr/share/man/man1/thsentinelctl.1.gz", f"/usr/share/zsh/{completion}/_thsentinelctl",
                "/usr/share/bash-completion/completions/thsentinelctl"} <= held.keys()


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_the_companion_asks_for_the_library_that_it_opens_itself(debs, rpms):
    asked = field(packages.path_of(debs, COMPANION), "Depends").split(", ")
    assert "libarchive13t64 | libarchive13" in asked
    assert any(one.startswith("libnettle") for one in asked)  # of what is linked, found by the tools of the distribution
    asked = output_of("rpm", "-qp", "--requires", packages.path_of(rpms, COMPANION, "rpm")).splitlines()
    assert "libarchive.so.13()(64bit)" in asked


def test_no_rpm_owns_a_folder_of_the_system(rpms):
    owned = {path for name in NAMES for path in output_of("rpm", "-qpl", packages.path_of(rpms, name, "rpm")).split()}
    system = {"/usr", "/usr/bin", "/usr/sbin", "/usr/lib", "/usr/lib/systemd", "/usr/lib/systemd/system", "/usr/share",
              "/usr/share/man", "/usr/share/man/man8", "/usr/share/doc", "/usr/share/zsh", "/var", "/var/lib"}
    assert owned & system == set()


@pytest.mark.parametrize("name", NAMES)
def test_the_version_of_every_package_is_the_programs(debs, rpms, name):
    assert field(packages.path_of(debs, name), "Version") == VERSION
    query = ["rpm", "-qp", "--queryformat", "%{VERSION}", packages.path_of(rpms, name, "rpm")]
    assert output_of(*query) == VERSION


@pytest.mark.parametrize("name", NAMES)
def test_both_kinds_of_a_package_are_described_alike(debs, rpms, name):
    said = field(packages.path_of(debs, name), "Description").partition("\n")[2]
    paragraphs = "\n".join(line[1:].removesuffix(".") if line == " ." else line[1:] for line in said.splitlines())
    query = ["rpm", "-qp", "--queryformat", "%{DESCRIPTION}", packages.path_of(rpms, name, "rpm")]
    assert output_of(*query) == paragraphs
    assert paragraphs.count("\n") > 2


def test_the_daemons_deb_asks_for_a_base_library_and_the_tools_of_its_lines(debs):
    package = packages.path_of(debs, MAIN)
    asked = [re.sub(r" \(.*?\)", "", one) for one in field(package, "Depends").split(", ")]
    assert asked[:7] == ["thsentinel-standalone | tarnhaven-base", "procps", "grep", "mawk | gawk", "coreutils",
                         "util-linux", "bash"]
    assert field(package, "Recommends") == "gdb, sysstat, net-tools"
    assert not any("libthbase" in one for one in asked)


def test_the_daemons_rpm_asks_for_a_base_library_by_package_and_not_by_file(rpms):
    package = packages.path_of(rpms, MAIN, "rpm")
    asked = set(output_of("rpm", "-qp", "--requires", package).splitlines())
    assert {"tarnhaven-base", "procps", "grep", "gawk", "coreutils", "util-linux", "bash"} <= asked
    assert not any("libthbase" in one for one in asked)
    assert output_of("rpm", "-qp", "--recommends", package).split() == ["gdb", "net-tools", "sysstat"]


def test_whoever_brings_a_base_library_excludes_the_others(debs, rpms):
    deb, rpm = packages.path_of(debs, BASE), packages.path_of(rpms, BASE, "rpm")
    assert (field(deb, "Provides"), field(deb, "Conflicts")) == ("tarnhaven-base", "tarnhaven-base")
    assert f"tarnhaven-base = {VERSION}" in output_of("rpm", "-qp", "--provides", rpm).splitlines()
    assert output_of("rpm", "-qp", "--conflicts", rpm).split() == ["tarnhaven-base"]


def release_of(program):
    """The release of a checker as numbers, none when it isn't there."""
    if missing_tools([program]):
        return ()
    said = subprocess.run([program, "--version"], capture_output=True, text=True, check=False).stdout
    return tuple(int(one) for one in re.findall(r"\d+", said)[:2])


def test_lintian_finds_nothing_without_a_reason(debs, plain_build):
    if release_of("lintian") < (2, 115):
        pytest.skip("lintian is missing, or so old that it reads overrides of another form")
    found = [subprocess.run(["lintian", "--allow-root", "--pedantic", "-I", "-E", packages.path_of(debs, name)],
                            capture_output=True, text=True, check=False).stdout for name in NAMES]
    # The hardening is that of the distribution's flags, which script/package sets and this build doesn't. Bytes of
    # code that look like misspelt words change with every build, so that no override can name them.
    lines = [line for text in found for line in text.splitlines()
             if ": hardening-no-" not in line and ": spelling-error-in-binary" not in line]
    assert lines == []


def test_rpmlint_finds_nothing_without_a_reason(rpms):
    if release_of("rpmlint") < (2, 0):
        pytest.skip("rpmlint is missing, or so old that it reads rules of another form")
    rules = product.CHECKOUT / "packaging/rpm/rpmlint.toml"
    found = subprocess.run(["rpmlint", "-c", rules, *(packages.path_of(rpms, name, "rpm") for name in NAMES)],
                           capture_output=True, text=True, check=False).stdout
    assert [line for line in found.splitlines() if re.search(r": [EW]: ", line)] == []


def test_an_rpm_installs_into_a_folder(rpms, tmp_path):
    files = [packages.path_of(rpms, name, "rpm") for name in (MAIN, BASE)]
    subprocess.run(["rpm", "--root", tmp_path, "--dbpath", "/rpm", "--nodeps", "--noscripts", "-i", *files], check=True)
    assert (tmp_path / "usr/tarnv/tarnhaven/bin/thsentinel").exists()
    assert (tmp_path / "usr/sbin/thsentinel").readlink().name == "thsentinel"
    query = ["rpm", "--root", tmp_path, "--dbpath", "/rpm", "-q", "--queryformat", "%{NAME} %{VERSION}\n"]
    assert output_of(*query, MAIN, BASE).splitlines() == [f"{MAIN} {VERSION}", f"{BASE} {VERSION}"]
