#!/usr/bin/python3
"""Mutation run: script/lib/mutate.py [--jobs N] BUILD [SOURCE...]

Changes the sources one place at a time, builds each mutant against the unit tests in the folder BUILD, and runs them:
a mutant that no test notices survives. A mutant that doesn't compile counts for nothing. Prints the survivors that
equivalent_mutants.txt doesn't list, the rows there that name no survivor any more, and one line of counts; the status
is 1 when there are any of either. Called by script/mutate, which builds.
"""
import argparse
import concurrent.futures
import functools
import json
import pathlib
import re
import subprocess
import sys
import tempfile

from mutants import mutants

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIMIT = 120  # seconds for the tests of one mutant, which take five

# Below thbase/ only what decides, scans and reads texts: the tests of the rest run against the installed library.
SOURCES = ["src/*/*.cpp", "thbase/BoundedScan.cpp", "thbase/ConfigurationStore.cpp", "thbase/ScanConversion.cpp",
           "thbase/StoreText.cpp"]
# Not linked into the test programs: main, and what the tests put functions of their own in place of.
WITHOUT_TESTS = {"src/cli/main.cpp", "src/config/ConfigurationFile.cpp", "src/platform/ProductLogPath.cpp",
                 "src/platform/UnixHelperFactoryMethod.cpp"}
EQUIVALENT = "script/lib/equivalent_mutants.txt"


def all_sources():
    paths = {str(path.relative_to(ROOT)) for pattern in SOURCES for path in ROOT.glob(pattern)}
    return sorted(paths - WITHOUT_TESTS)


class Build:
    """A build folder whose unit tests are linked anew with the object of a mutant in front of the archive's."""

    def __init__(self, folder):
        self.folder = folder
        commands = json.loads((folder / "compile_commands.json").read_text())
        self.compile = {entry["file"]: entry["command"] for entry in commands}
        ninja = ["ninja", "-C", folder, "-t", "commands", "thsentinel_tests", "thbase_tests"]
        lines = subprocess.run(ninja, check=True, capture_output=True, text=True).stdout.splitlines()
        # After the linker a test program's line lists its tests, which no mutant needs.
        self.link = {name: next(line.removeprefix(": && ").split(" && ")[0] for line in lines
                                if f"-o {name} " in line)
                     for name in ("tests/unit/thsentinel_tests", "tests/unit/thbase_tests", "thbase/libthbase.so")}

    def run(self, command):
        return subprocess.run(["sh", "-c", command], cwd=self.folder, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False).returncode == 0

    def compiles(self, source, text, work):
        """Makes `work`/mutant.o of the text, in place of the source's own object."""
        (work / "mutant.cpp").write_text(text)
        original = str(ROOT / source)
        command = re.sub(r" -M[TF] \S+| -MD| -o \S+| -c \S+", "", self.compile[original])
        include = (ROOT / source).parent
        return self.run(f"{command} -w -I{include} -o {work}/mutant.o -c {work}/mutant.cpp")

    def links(self, name, work, replaced):
        """Links the program or library of this name into `work`, with the mutant in front."""
        command = self.link[name]
        for old, new in replaced.items():
            command = command.replace(old, new)
        output = work / pathlib.Path(name).name
        archives = re.search(r"\S+\.(?:a|so)\b(?! -Wl)", command[command.index(f"-o {name} ") + len(name) + 4:])
        return self.run(command.replace(f"-o {name} ", f"-o {output} ")
                        .replace(f" {archives.group()}", f" {work}/mutant.o {archives.group()}", 1))

    def link_tests(self, source, work):
        """The path of the test program that holds the mutant, or None where it can't be linked."""
        if source.startswith("src/"):
            return work / "thsentinel_tests" if self.links("tests/unit/thsentinel_tests", work, {}) else None
        replaced = {f"-Wl,-rpath,{self.folder}/thbase": f"-Wl,-rpath,{work}",
                    "thbase/libthbase.so": f"{work}/libthbase.so"}
        # The tests look for the program in C beside the library; it keeps the one that it was linked with.
        (work / "thbase_c_caller").symlink_to(self.folder / "thbase/thbase_c_caller")
        linked = (self.links("thbase/libthbase.so", work, {})
                  and self.links("tests/unit/thbase_tests", work, replaced))
        return work / "thbase_tests" if linked else None


@functools.cache
def suites_of(folder):
    """A filter of the test suites that lie in this folder of tests/unit; they are asked first."""
    names = set()
    for path in (ROOT / "tests/unit" / folder).glob("*.cpp"):
        names.update(re.findall(r"^TEST(?:_F|_P)?\((\w+),", path.read_text(), re.MULTILINE))
    return ":".join(f"{name}.*:*/{name}.*" for name in sorted(names))


def notice(program, work, tests):
    """Whether a test of this filter fails, crashes or hangs."""
    command = [ROOT / "script/host", "--share", work.parent, "--", program, f"--gtest_filter={tests}",
               "--fail-fast"]
    try:
        return subprocess.run(command, timeout=LIMIT, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False).returncode != 0
    except subprocess.TimeoutExpired:
        return True


def judge(build, source, text):
    """"unbuilt", "killed" or "survived", of one mutant."""
    with tempfile.TemporaryDirectory(dir=build.folder) as folder:
        work = pathlib.Path(folder)
        program = build.compiles(source, text, work) and build.link_tests(source, work)
        if not program:
            return "unbuilt"
        first = suites_of(pathlib.Path(source).parent.name)
        return "killed" if notice(program, work, first) or notice(program, work, f"-{first}") else "survived"


def check_without_mutant(build, sources):
    """Ends the run where the tests fail or the unchanged source doesn't build: every mutant would seem killed."""
    for source in sources:
        outcome = judge(build, source, (ROOT / source).read_text())
        if outcome != "survived":
            sys.exit(f"script/mutate: {source} without any change is {outcome}")


def read_equivalents(text):
    """The rows (source, before, after) of a list of equivalent mutants; ends the run at a row that has not its form."""
    rows = set()
    for paragraph in re.split(r"\n\s*\n", re.sub(r"^#.*\n?", "", text, flags=re.MULTILINE).strip("\n")):
        row = re.fullmatch(r"(\S+)\n- (.*)\n\+ (.*)\n  \S.*", paragraph)
        if not row and paragraph:
            sys.exit(f"script/mutate: {EQUIVALENT}: not a row of source, before, after and reason:\n{paragraph}")
        if row:
            rows.add(row.groups())
    return rows


def run(build, sources, jobs):
    """The survivors as ((source, before, after), line number), in order, and how many mutants were judged."""
    survivors, judged = [], 0
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for source in sources:
            text = (ROOT / source).read_text()
            made = mutants(text)
            outcomes = list(pool.map(lambda mutant: judge(build, source, mutant.apply(text)), made))
            survived = [mutant for mutant, outcome in zip(made, outcomes) if outcome == "survived"]
            survivors += [((source, *mutant.before_and_after(text)), mutant.line_number(text)) for mutant in survived]
            built = len(made) - outcomes.count("unbuilt")
            judged += built
            print(f"{source}: {built} mutants, {len(survived)} not noticed", flush=True)
    return survivors, judged


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("sources", nargs="*")
    arguments = parser.parse_args()
    sources = arguments.sources or all_sources()
    build = Build(arguments.build.resolve())
    check_without_mutant(build, sources)
    survivors, judged = run(build, sources, arguments.jobs)
    equivalents = {row for row in read_equivalents((ROOT / EQUIVALENT).read_text()) if row[0] in sources}
    unknown = [(row, line) for row, line in survivors if row not in equivalents]
    stale = sorted(equivalents - {row for row, _ in survivors})
    for (source, before, after), line in unknown:
        print(f"not noticed by any test: {source}:{line}: {before} -> {after}")
    for source, before, after in stale:
        print(f"listed as equivalent, and noticed or gone: {source}: {before} -> {after}")
    print(f"{judged} mutants, {judged - len(survivors)} killed, {len(survivors) - len(unknown)} equivalent, "
          f"{len(unknown)} survived")
    sys.exit(1 if unknown or stale else 0)


if __name__ == "__main__":
    main()
