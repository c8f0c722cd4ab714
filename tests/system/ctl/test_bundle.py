"""`bundle`: what goes into it, what is hidden, and how damage to one is found."""
import hashlib
import io
import json
import os
import stat
import subprocess
import tarfile

import pytest

from host import companion


@pytest.fixture(name="evidence")
def _evidence(tmp_path):
    """An evidence folder with one set, a core and a secret in its environment: folder, stem."""
    folder, stem = companion.write_set(tmp_path / "evidence")
    (folder / f"{stem}.4321").write_bytes(b"\x7fELF core of a secret process")
    memory = folder / f"{stem}.MemoryPerf"
    memory.write_text(memory.read_text().replace(
        "output of /usr/bin/ps", "4321 /opt/tbrd --token abc123 DB_PASSWORD=hunter2 LANG=C\noutput of /usr/bin/ps"))
    return folder, stem


def bundle(tmp_path, *more):
    return companion.run("bundle", "tbrd/4321", "--evidence", tmp_path / "evidence", "--store", companion.DEFAULTS,
                         "-o", tmp_path / "b.tar.zst", *more)


def unpack(tmp_path):
    """The names and contents of the bundle, by tar itself."""
    folder = tmp_path / "unpacked"
    folder.mkdir()
    subprocess.run(["tar", "--zstd", "-xf", tmp_path / "b.tar.zst", "-C", folder], check=True)
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


def check(path):
    return companion.run("bundle", "--check", path)


def test_a_bundle_holds_the_set_without_cores_and_secrets(tmp_path, evidence):
    done = bundle(tmp_path)
    path = tmp_path / "b.tar.zst"
    assert stat.S_IMODE(path.stat().st_mode) == 0o600
    files = unpack(tmp_path)
    stem = f"thsentinel/tbrd/4321/Evidence1/{evidence[1]}"
    assert sorted(files) == sorted(["MANIFEST.json", *(f"{stem}.{suffix}" for suffix in (
        "MemoryPerf", "Netstat", "DiskPerf_iostat", "DiskPerf_mpstat", "ProcessData"))])
    text = files[f"{stem}.MemoryPerf"].decode()
    assert "4321 /opt/tbrd --token [hidden] DB_PASSWORD=[hidden] LANG=C\n" in text
    assert "hunter2" not in text and "abc123" not in text
    manifest = json.loads(files["MANIFEST.json"])
    assert manifest["schema"] == "thsentinelctl.manifest/1"
    assert [one["path"] for one in manifest["leftOut"]] == [f"{stem}.4321"]
    assert "4 values hidden" in done.output
    good = check(path)
    assert (good.status, good.output) == (0, f"{path}: good, 5 files, {good.output.split(', ')[-1]}")


def test_cores_come_only_when_asked_for(tmp_path, evidence):
    assert bundle(tmp_path, "--with-cores", "--no-redact").status in (0, 1)
    files = unpack(tmp_path)
    stem = f"thsentinel/tbrd/4321/Evidence1/{evidence[1]}"
    assert files[f"{stem}.4321"] == b"\x7fELF core of a secret process"
    assert b"hunter2" in files[f"{stem}.MemoryPerf"]


def test_a_list_hides_more(tmp_path, evidence):
    listed = tmp_path / "hide"
    listed.write_text("# the customer's words\nlang\ntext:/opt/tbrd\n")
    bundle(tmp_path, "--redact", listed)
    text = unpack(tmp_path)[f"thsentinel/tbrd/4321/Evidence1/{evidence[1]}.MemoryPerf"].decode()
    assert "4321 [hidden] --token [hidden] DB_PASSWORD=[hidden] LANG=[hidden]\n" in text


def test_a_bundle_opens_as_evidence(tmp_path, evidence):
    (evidence[0] / f"{evidence[1]}.4321").unlink()
    assert bundle(tmp_path).status == 0
    unpack(tmp_path)
    done = companion.run("verify", "--json", "--evidence", tmp_path / "unpacked", "--store", companion.DEFAULTS)
    assert [one["state"] for one in done.document["sets"]] == ["complete"]


def test_no_file_is_replaced_unless_told_to(tmp_path, evidence):
    (tmp_path / "b.tar.zst").write_text("mine")
    refused = bundle(tmp_path)
    assert (refused.status, refused.errors) == (
        3, f"thsentinelctl: {tmp_path}/b.tar.zst exists; --force replaces it\n")
    assert (tmp_path / "b.tar.zst").read_text() == "mine"
    bundle(tmp_path, "--force")
    assert check(tmp_path / "b.tar.zst").status == 0
    assert sorted(os.listdir(tmp_path)) == ["b.tar.zst", "evidence"]


def test_each_damage_of_a_bundle_is_found(tmp_path, evidence):
    bundle(tmp_path, "--no-redact")
    path = tmp_path / "b.tar.zst"
    whole = path.read_bytes()
    path.write_bytes(whole[:len(whole) // 2])
    cut = check(path)
    assert cut.status in (2, 3)
    files = unpack_from(tmp_path, whole)
    name = next(name for name in files if name.endswith("Netstat"))
    (tmp_path / "again" / name).write_text("other text")
    (tmp_path / "again/extra").write_text("x")
    subprocess.run(["tar", "--zstd", "-cf", path, "-C", tmp_path / "again", *sorted(files), "extra"], check=True)
    changed = check(path)
    assert changed.status == 2
    assert changed.output.splitlines()[:-1] == [
        f"{name}: has 10 bytes, {len(files[name])} by the manifest", "extra: is not in the manifest"]


def change_one_letter(folder, name):
    text = (folder / name).read_bytes()
    (folder / name).write_bytes(text[:-1] + bytes([text[-1] ^ 1]))
    return f"{name}: is not what was bundled; its SHA-256 differs"


def remove_a_file(folder, name):
    (folder / name).unlink()
    return f"{name}: is missing"


def put_a_link(folder, name):
    (folder / name).unlink()
    (folder / name).symlink_to("/etc/passwd")
    return f"{name}: is no plain file\n{name}: is missing"


def damage_the_manifest(folder, _):
    (folder / "MANIFEST.json").write_text('{"files": [{"path": 1}]}')
    return "MANIFEST.json: is damaged"


def empty_the_manifest(folder, _):
    (folder / "MANIFEST.json").write_text("")
    return "MANIFEST.json: is missing"


@pytest.mark.parametrize("damage", [change_one_letter, remove_a_file, put_a_link, damage_the_manifest,
                                    empty_the_manifest])
def test_each_other_damage_of_a_bundle_has_its_words(tmp_path, evidence, damage):
    assert evidence
    bundle(tmp_path, "--no-redact")
    path, again = tmp_path / "b.tar.zst", tmp_path / "again"
    files = unpack_from(tmp_path, path.read_bytes())
    expected = damage(again, next(name for name in files if name.endswith("Netstat")))
    left = sorted(str(one.relative_to(again)) for one in again.rglob("*") if one.is_symlink() or one.is_file())
    subprocess.run(["tar", "--zstd", "-cf", path, "-C", again, *left], check=True)
    done = check(path)
    assert done.status == 2
    assert done.output.startswith(expected + "\n")
    assert f"{path}: damaged, " in done.output.splitlines()[-1]


def test_a_hostile_bundle_takes_little_memory(tmp_path):
    (tmp_path / "MANIFEST.json").write_text('{"files":[' + ",".join("1" * 450_000) + "]}")
    subprocess.run(["tar", "--zstd", "-cf", tmp_path / "b.tar.zst", "-C", tmp_path, "MANIFEST.json"], check=True)
    done = companion.run_measured(tmp_path, "bundle", "--check", tmp_path / "b.tar.zst")
    assert done.status == 2 and done.output.splitlines()[99:101] == [
        "MANIFEST.json: is damaged", "and 449901 problems more"]
    assert done.peak < 64 * 1024
    (tmp_path / "MANIFEST.json").write_text(" " * 1_100_000)
    subprocess.run(["tar", "--zstd", "-cf", tmp_path / "b.tar.zst", "-C", tmp_path, "MANIFEST.json"], check=True)
    done = check(tmp_path / "b.tar.zst")
    assert (done.status, done.errors) == (3, f"thsentinelctl: {tmp_path}/b.tar.zst: the manifest is too long\n")


def unpack_from(tmp_path, data):
    folder = tmp_path / "again"
    folder.mkdir()
    (tmp_path / "whole").write_bytes(data)
    subprocess.run(["tar", "--zstd", "-xf", tmp_path / "whole", "-C", folder], check=True)
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


def pack(members):
    """A tar of names and contents."""
    data = io.BytesIO()
    with tarfile.open(fileobj=data, mode="w", format=tarfile.PAX_FORMAT) as tar:
        for name, text in members:
            entry = tarfile.TarInfo(name)
            entry.size = len(text)
            tar.addfile(entry, io.BytesIO(text))
    return data.getvalue()


def manifest(*listed, **more):
    """A manifest that lists these names and contents; members may be given another value."""
    files = [{"path": name, "bytes": len(text), "sha256": hashlib.sha256(text).hexdigest(), "hidden": 0}
             for name, text in listed]
    return "MANIFEST.json", json.dumps({"schema": "thsentinelctl.manifest/1", "files": files, **more}).encode()


GOOD = ("thsentinel/tbrd/1/Evidence1/x", b"text")
UP = ("../../etc/cron.d/x", b"evil")
ROOT = ("/etc/cron.d/x", b"evil")
SECOND = ("MANIFEST.json", b"{}")
ACCENT = ("thsentinel/tbr\u00e9/1/Evidence1/x", b"text")
HOSTILE = {
    "a way up": (pack([GOOD, UP, manifest(GOOD, UP)]), f"{UP[0]}: would be unpacked outside the folder of the bundle"),
    "the root": (pack([ROOT, manifest(ROOT)]), f"{ROOT[0]}: would be unpacked outside the folder of the bundle"),
    "a schema": (pack([GOOD, manifest(GOOD, schema="x/9")]),
                 "MANIFEST.json: is of another schema than thsentinelctl.manifest/1"),
    "nothing": (pack([manifest()]), "MANIFEST.json: names no file"),
    "two manifests": (pack([GOOD, manifest(GOOD, SECOND), SECOND]), "MANIFEST.json: is there twice"),
    "a path twice": (pack([GOOD, manifest(GOOD, GOOD)]), f"{GOOD[0]}: stands twice in the manifest"),
    "a second tar": (pack([GOOD, manifest(GOOD)]) + pack([("thsentinel/x", b"evil")]),
                     "thsentinel/x: is not in the manifest"),
    "junk": (pack([GOOD, manifest(GOOD)]) + b"junk" * 1000, "the bundle is cut short or damaged: "),
}


@pytest.mark.parametrize("data, expected", HOSTILE.values(), ids=HOSTILE)
def test_a_hostile_bundle_is_called_damaged(tmp_path, data, expected):
    path = tmp_path / "b.tar.zst"
    path.write_bytes(subprocess.run(["zstd", "-qc"], input=data, stdout=subprocess.PIPE, check=True).stdout)
    done = check(path)
    assert done.status == 2
    assert done.output.startswith(expected), done.output
    assert f"{path}: damaged, " in done.output.splitlines()[-1]


def test_what_follows_the_end_of_the_compressed_bundle_is_damage(tmp_path, evidence):
    assert evidence
    bundle(tmp_path)
    path = tmp_path / "b.tar.zst"
    with open(path, "ab") as file:
        file.write(b"junk" * 100)
    assert check(path).status in (2, 3)  # a small one is read with the junk at once, and is no bundle


def test_a_bundle_without_compression_is_none_of_ours(tmp_path):
    path = tmp_path / "b.tar"
    path.write_bytes(pack([GOOD, manifest(GOOD)]))
    done = check(path)
    assert (done.status, done.output.splitlines()[0]) == (2, "the bundle is not compressed by zstd")


@pytest.mark.parametrize("locale", ["C", "C.UTF-8"])
@pytest.mark.parametrize("process", ["tbr\u00e9", "tbr\udce9"], ids=["utf-8", "latin-1"])
def test_names_of_any_letters_are_bundled_in_any_locale(tmp_path, locale, process):
    folder, _ = companion.write_set(tmp_path / "evidence", process=process)
    path = tmp_path / "b.tar.zst"
    environment = {"LC_ALL": locale, "LANG": locale}
    done = companion.run("bundle", f"{process}/4321", "--evidence", tmp_path / "evidence", "--store",
                         companion.DEFAULTS, "-o", path, environment=environment)
    assert (done.status, done.errors) == (0, "")
    good = companion.run("bundle", "--check", path, environment=environment)
    assert (good.status, ": good, 5 files, " in good.output) == (0, True), good.output
    assert set(os.listdir(folder)) < {name.rsplit("/", 1)[-1] for name in unpack(tmp_path)}


def test_a_name_that_is_not_ascii_is_no_damage(tmp_path):
    path = tmp_path / "b.tar.zst"
    data = pack([ACCENT, manifest(ACCENT)])
    path.write_bytes(subprocess.run(["zstd", "-qc"], input=data, stdout=subprocess.PIPE, check=True).stdout)
    done = companion.run("bundle", "--check", path, environment={"LC_ALL": "C"})
    assert (done.status, done.output) == (0, f"{path}: good, 1 file, 4 B\n")


def test_standard_output_holds_the_bundle_alone(tmp_path, evidence):
    assert evidence
    with open(tmp_path / "piped", "wb") as piped:
        command = [companion.program(), "bundle", "tbrd/4321", "--evidence", tmp_path / "evidence", "--store",
                   companion.DEFAULTS, "-o", "-"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, cwd=tmp_path) as process:
            piped.write(process.stdout.read())
    assert process.returncode in (0, 1)
    assert check(tmp_path / "piped").status == 0
    assert not (tmp_path / "-").exists()


def test_no_bundle_is_written_to_a_terminal(tmp_path, evidence):
    assert evidence
    control, terminal = os.openpty()
    done = subprocess.run([companion.program(), "bundle", "tbrd/4321", "--evidence", tmp_path / "evidence", "-o", "-"],
                          stdout=terminal, stderr=subprocess.PIPE, text=True, check=False)
    os.close(control)
    os.close(terminal)
    assert done.returncode == 64
    assert done.stderr.splitlines()[0] == "--output: a bundle is not written to a terminal"


def test_what_is_no_bundle_is_refused(tmp_path):
    (tmp_path / "text").write_text("not a bundle")
    (tmp_path / "empty").touch()
    (tmp_path / "link").symlink_to("text")
    for name in ("text", "empty", "link", "absent"):
        done = check(tmp_path / name)
        assert (done.status, done.errors.startswith(f"thsentinelctl: {tmp_path}/{name}")) == (3, True), done
    assert companion.run("bundle").status == 64
    assert companion.run("bundle", "tbrd", "--check", "x").status == 64


def test_a_host_without_the_archive_library_lacks_bundles_alone(tmp_path, evidence):
    (tmp_path / "libarchive.so.13").write_text("no library")
    environment = {"LD_LIBRARY_PATH": str(tmp_path)}
    where = ("--evidence", tmp_path / "evidence", "--store", companion.DEFAULTS)
    assert companion.run("list", *where, environment=environment).status == 1  # its core is none
    done = companion.run("bundle", "tbrd/4321", *where, "-o", tmp_path / "b.tar.zst", environment=environment)
    assert (done.status, done.errors) == (3, "thsentinelctl: bundles need libarchive, which can't be opened: "
                                             f"{tmp_path}/libarchive.so.13: file too short\n")
    assert not (tmp_path / "b.tar.zst").exists()


def test_a_large_core_is_bundled_in_little_memory(tmp_path, evidence):
    with open(evidence[0] / f"{evidence[1]}.4321", "wb") as file:
        file.truncate(300 << 20)
    done = companion.run_measured(tmp_path, "bundle", "tbrd/4321", "--with-cores", "--evidence",
                                  tmp_path / "evidence", "--store", companion.DEFAULTS, "-o", tmp_path / "b.tar.zst")
    assert done.status == 1  # the set is no longer complete
    checked = companion.run_measured(tmp_path, "bundle", "--check", tmp_path / "b.tar.zst")
    assert checked.status == 0
    assert max(done.peak, checked.peak) < 64 * 1024


def test_what_is_no_bundle_is_named(tmp_path):
    path = tmp_path / "notes.txt"
    path.write_text("not packed\n" * 100)
    done = companion.run("bundle", "--check", path)
    assert (done.status, done.output) == (3, "")
    assert done.errors.startswith(f"thsentinelctl: {path}: is no bundle: "), done.errors
