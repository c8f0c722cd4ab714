"""The manual pages and completions as the build makes them: sound, of this release, and at one with the program."""
import pathlib
import re
import subprocess

import pytest

from host import companion, missing_tools, packages, product

BUILD = product.build_folder()
PAGES = ["thsentinel.8", "thsentinel.conf.5", "thsentinel-evidence.5", "thsentinelctl.1"]
# What mandoc says about the machine and not about the page.
OF_THE_MACHINE = ("outdated mandoc.db lacks", "referenced manual not found")


def page(name):
    return (BUILD / "man" / name).read_text()


def filled(folder, mark):
    """The lines that a table of the program gives for a mark of a template."""
    template, result = folder / "template", folder / "result"
    template.write_text(f"%{mark}%\n")
    subprocess.run([BUILD / "packaging/fill_tables", template, result], check=True)
    return result.read_text().splitlines()


@pytest.fixture(name="options")
def _options(tmp_path):
    """The words of the command line from the program's own table."""
    return re.findall(r"'(-\w+):", "\n".join(filled(tmp_path, "OPTIONS_ZSH")))


@pytest.fixture(name="keys")
def _keys(tmp_path):
    """(name, default, range of a number, effect of a bad value) of all keys, in the order in which they are read."""
    return [tuple(line.split("\t")) for line in filled(tmp_path, "KEYS_PLAIN")]


@pytest.mark.parametrize("name", PAGES)
def test_mandoc_has_no_complaint_about_a_page(name):
    if missing_tools(["mandoc"]):
        pytest.skip("not installed: mandoc")
    said = subprocess.run(["mandoc", "-Tlint", BUILD / "man" / name], capture_output=True, text=True, check=False)
    lines = (said.stdout + said.stderr).splitlines()
    assert [line for line in lines if not any(text in line for text in OF_THE_MACHINE)] == []


@pytest.mark.parametrize("name", PAGES)
def test_a_page_names_the_release(name):
    assert f"This page describes release {packages.VERSION}." in page(name)


def test_the_daemons_page_describes_every_option_and_no_other(options):
    described = re.findall(r"^\.It Fl (\w+)", page("thsentinel.8"), re.MULTILINE)
    assert sorted(f"-{word}" for word in described) == sorted(options)


def test_the_page_of_the_settings_describes_every_key_in_order(keys):
    described = re.findall(r"^\.It Ic (_?[A-Z]\w+)", page("thsentinel.conf.5"), re.MULTILINE)
    assert described == [name for name, *_ in keys]
    assert len(keys) == 20


def example_blocks():
    """Key to the comment above its line in the example store; a comment may serve several lines that follow it."""
    found, comment, fresh = {}, [], True
    for line in (product.CHECKOUT / "packaging/master.conf.example").read_text().splitlines():
        key = re.match(r"#?(_?[A-Z][A-Z_]+) = ", line)
        if key:
            found[key[1]], fresh = " ".join(comment), True
        elif line.startswith("# "):
            comment, fresh = ([] if fresh else comment) + [line[2:]], False
    return found


def test_the_example_store_has_every_key_in_order_with_its_default_range_and_effect(keys):
    blocks = example_blocks()
    assert list(blocks) == [name for name, *_ in keys]
    for name, default, allowed, effect in keys:
        if default:
            assert re.search(rf"\bDefault (\d+ and )?{default}\b", blocks[name]), name
        assert allowed.lower() in blocks[name].lower(), name
        if effect in ("stops", "reverts"):
            assert f"bad value {effect}" in blocks[name] or f"bad list {effect}" in blocks[name], name


def readme_rows():
    """Key to the cells of its row in the table of keys."""
    rows = re.findall(r"^\| `(_?[A-Z]\w+)` \| (.*?) \|$", (product.CHECKOUT / "README.md").read_text(), re.MULTILINE)
    return {key: [cell.strip(" `") for cell in cells.split("|")] for key, cells in rows}


def test_the_readme_has_every_key_with_its_default_and_range(keys):
    rows = readme_rows()
    assert sorted(rows) == sorted(name for name, *_ in keys)
    for name, default, allowed, _ in keys:
        assert not default or rows[name][0] == default, name
        assert not allowed or rows[name][1].replace(", ", " or ") == allowed, name


def complete(script):
    """What bash offers after the words that a line of the script sets."""
    source = BUILD / "packaging/completion/thsentinel.bash"
    done = subprocess.run(["bash", "-c", f". {source}; {script}; _thsentinel; printf '%s\\n' \"${{COMPREPLY[@]}}\""],
                          capture_output=True, text=True, check=True)
    return done.stdout.split()


def test_bash_offers_every_option_once_and_nothing_after_it(options):
    assert complete("COMP_WORDS=(thsentinel ''); COMP_CWORD=1") == options
    assert complete("COMP_WORDS=(thsentinel -st); COMP_CWORD=1") == ["-start"]
    assert complete("COMP_WORDS=(thsentinel -start ''); COMP_CWORD=2") == []


def test_zsh_offers_every_option_with_its_meaning(options):
    if missing_tools(["zsh"]):
        pytest.skip("not installed: zsh")
    source = BUILD / "packaging/completion/thsentinel.zsh"
    offered = 'function _describe() { print -rl -- ${(P)3} }; CURRENT=$1; . ' + str(source)
    done = subprocess.run(["zsh", "-f", "-c", offered, "zsh", "2"], capture_output=True, text=True, check=True)
    assert [line.partition(":")[0] for line in done.stdout.splitlines()] == options
    assert all(line.partition(":")[2] for line in done.stdout.splitlines())
    later = subprocess.run(["zsh", "-f", "-c", offered, "zsh", "3"], capture_output=True, text=True, check=False)
    assert later.stdout == ""


def complete_companion(*words):
    """What bash offers for the last of the words after the companion's name."""
    source = BUILD / "packaging/completion/thsentinelctl.bash"
    line = " ".join(f"'{word}'" for word in (BUILD / "ctl/thsentinelctl", *words))
    done = subprocess.run(
        ["bash", "-c", f". {source}; COMP_WORDS=({line}); COMP_CWORD={len(words)}; _thsentinelctl;"
                       " printf '%s\\n' \"${COMPREPLY[@]}\""], capture_output=True, text=True, check=True)
    return done.stdout.split()


def companion_help(*words):
    return subprocess.run([BUILD / "ctl/thsentinelctl", *words, "--help"], capture_output=True, text=True,
                          check=True).stdout


def long_options(text):
    return set(re.findall(r"(?:^|[ ,])--([a-z][a-z-]*)", text, re.MULTILINE))


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_the_companions_page_describes_every_verb_with_its_options_and_no_other():
    parts = re.split(r"^\.It Cm (\w+)", page("thsentinelctl.1"), flags=re.MULTILINE)
    described = {}
    for verb, text in zip(parts[1::2], parts[2::2]):
        described[verb] = described.get(verb, set()) | set(re.findall(r"Fl -([a-z][a-z-]*)", text.partition("\n")[0]))
    verbs = complete_companion("")
    assert sorted(described) == sorted(verbs)
    common = long_options(companion_help()) | {"help", "output"}
    found = {verb: long_options(companion_help(verb)) - common for verb in verbs}
    assert {verb: options - common for verb, options in described.items()} == found
    assert found["verify"] == {"since"}


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_bash_offers_the_companions_verbs_and_options_from_its_help():
    text = subprocess.run([BUILD / "ctl/thsentinelctl", "--help"], capture_output=True, text=True, check=True).stdout
    verbs = re.findall(r"^  (\w+) {2,}\S", text.partition("Verbs:")[2], re.MULTILINE)
    assert "verify" in verbs and complete_companion("") == verbs
    assert complete_companion("--store", "/x", "ver") == ["verify"]
    assert complete_companion("--ev") == ["--evidence"]
    assert complete_companion("verify", "--sin") == ["--since"]
    assert "--json" in complete_companion("verify", "--")
    assert complete_companion("--log", "/usr/shar") == ["/usr/share"]


@pytest.fixture(name="copies")
def _copies(tmp_path):
    """Options that point the companion at a store with two names and at an evidence folder with one set."""
    store = tmp_path / "store"
    store.write_text("THHS_MONITOR_CPU = tbrd:5, two words:5, thwmc:7\n")
    companion.write_set(tmp_path / "evidence")
    return "--store", store, "--evidence", tmp_path / "evidence"


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_both_shells_offer_watched_names_and_sets_of_the_copies_on_the_line(copies):
    for offered in (complete_companion, complete_companion_in_zsh):
        assert {"tbrd", "thwmc"} <= set(offered(*copies, "explain", "t"))
        assert len(offered(*copies, "report", "tbrd/")) == 1 and offered(*copies, "pin", "")[0].startswith("tbrd/4321/")
        assert offered("status", "") in ([], [""])


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_neither_shell_runs_what_the_name_of_a_folder_holds(tmp_path, monkeypatch):
    monkeypatch.setenv("MADE", str(tmp_path / "made"))
    companion.write_set(tmp_path / "evidence", process="$(touch${IFS}$MADE)")
    where = ("--store", "/absent", "--evidence", tmp_path / "evidence")
    for offered in (complete_companion, complete_companion_in_zsh):
        assert offered(*where, "report", "")[0].startswith("$(touch${IFS}$MADE)/4321/")
    assert not (tmp_path / "made").exists()


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_bash_completes_a_value_after_an_equals_sign():
    assert complete_companion("--evidence", "=", "/usr/shar") == ["/usr/share"]
    assert complete_companion("--store", "=", "/x", "ver") == ["verify"]


def complete_companion_in_zsh(*words):
    """What zsh is given to offer for the last of the words after the companion's name."""
    if missing_tools(["zsh"]):
        pytest.skip("not installed: zsh")
    source = BUILD / "packaging/completion/thsentinelctl.zsh"
    offered = ("function compadd() { print -rl -- ${(P)2} }; function _describe() { print -rl -- ${(P)3} };"
               f" function _files() {{ print files $* }}; words=(\"$@\"); CURRENT=$#words; . {source}")
    done = subprocess.run(["zsh", "-f", "-c", offered, "zsh", BUILD / "ctl/thsentinelctl", *words],
                          capture_output=True, text=True, check=True)
    assert done.stderr == ""
    return done.stdout.splitlines()


@pytest.mark.skipif(not packages.HOLDS_COMPANION, reason="the companion isn't built")
def test_zsh_offers_the_companions_verbs_with_their_meaning_its_options_and_files():
    verbs = [line.partition(":") for line in complete_companion_in_zsh("")]
    assert [verb for verb, _, _ in verbs] == complete_companion("")
    assert all(meaning for _, _, meaning in verbs)
    assert complete_companion_in_zsh("--store", "/x", "ver")[0] == ":".join(verbs[0][::2])
    assert {"--since", "--json", "--store"} <= set(complete_companion_in_zsh("verify", "--"))
    assert "--since" not in complete_companion_in_zsh("--ev")
    assert complete_companion_in_zsh("verify", "--evidence", "/usr/shar") == ["files -/"]
    assert complete_companion_in_zsh("--store", "") == ["files"]
    assert complete_companion_in_zsh("report", "-o", "") == ["files"]


def test_an_unknown_mark_of_a_template_is_refused(tmp_path):
    template = pathlib.Path(tmp_path, "template")
    template.write_text("100 %\n# %NO_SUCH_TABLE%\n")
    done = subprocess.run([BUILD / "packaging/fill_tables", template, tmp_path / "result"], capture_output=True,
                          text=True, check=False)
    assert (done.returncode, done.stderr) == (1, "fill_tables: unknown mark: # %NO_SUCH_TABLE%\n")
