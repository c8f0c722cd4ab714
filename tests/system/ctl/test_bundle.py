"""`bundle`: what goes into it, what is hidden, and how damage to one is found."""
import json
import os
import stat
import subprocess

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
    return companion.run("bundle", "tbrd/4321", "--evidence", tmp_path / "evidence", "--store", "/absent",
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
    done = companion.run("verify", "--json", "--evidence", tmp_path / "unpacked", "--store", "/absent")
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


def unpack_from(tmp_path, data):
    folder = tmp_path / "again"
    folder.mkdir()
    (tmp_path / "whole").write_bytes(data)
    subprocess.run(["tar", "--zstd", "-xf", tmp_path / "whole", "-C", folder], check=True)
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


def test_what_is_no_bundle_is_refused(tmp_path):
    (tmp_path / "text").write_text("not a bundle")
    (tmp_path / "empty").touch()
    (tmp_path / "link").symlink_to("text")
    for name in ("text", "empty", "link", "absent"):
        assert check(tmp_path / name).status == 3, name
    assert companion.run("bundle").status == 64
    assert companion.run("bundle", "tbrd", "--check", "x").status == 64


def test_a_host_without_the_archive_library_lacks_bundles_alone(tmp_path, evidence):
    (tmp_path / "libarchive.so.13").write_text("no library")
    environment = {"LD_LIBRARY_PATH": str(tmp_path)}
    where = ("--evidence", tmp_path / "evidence", "--store", "/absent")
    assert companion.run("list", *where, environment=environment).status == 0
    done = companion.run("bundle", "tbrd/4321", *where, "-o", tmp_path / "b.tar.zst", environment=environment)
    assert (done.status, done.errors) == (3, "thsentinelctl: bundles need libarchive, which can't be opened: "
                                             f"{tmp_path}/libarchive.so.13: file too short\n")
    assert not (tmp_path / "b.tar.zst").exists()


def test_a_large_core_is_bundled_in_little_memory(tmp_path, evidence):
    with open(evidence[0] / f"{evidence[1]}.4321", "wb") as file:
        file.truncate(300 << 20)
    done = companion.run_measured(tmp_path, "bundle", "tbrd/4321", "--with-cores", "--evidence",
                                  tmp_path / "evidence", "--store", "/absent", "-o", tmp_path / "b.tar.zst")
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
