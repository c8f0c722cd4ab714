#!/usr/bin/python3
"""Checks what the sources of the daemon and of its companion include: script/lib/lint_layers.py FILE...

Prints `FILE:LINE: what is wrong` a finding; the status is 1 when there is one. Files outside src/ and ctl/ are passed over.

 - A file includes its own layer and those below:
     src   base < platform < config < counters, evidence, logcontrol < cli; the leaves count as part of base
     ctl   base < store, log < evidence < processes, page < the verbs, which are the files named *Verb
 - No circle of files. A header and its source count as one.

What a file of ctl/ includes from src/ is not looked at: those are tables and what logs nothing.
"""
import pathlib
import re
import sys

LAYERS = {
    "src": [{"base"}, {"platform"}, {"config"}, {"counters", "evidence", "logcontrol"}, {"cli"}],
    "ctl": [{"base"}, {"store", "log"}, {"evidence"}, {"processes", "page"}, {"the verbs"}],
}
LEAVES = {"config/Mutex", "config/THCrossPlatformMapping", "platform/THUEnv"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"(\w+/[\w/]+)\.h"')


def place_of(path):
    """The tree of a file and its unit, its path there without the ending; None twice for a file elsewhere."""
    parts = pathlib.PurePath(path).with_suffix("").parts
    for tree in LAYERS:
        if tree in parts[:-2]:
            return tree, "/".join(parts[parts.index(tree) + 1:])
    return None, None


def layer_of(tree, unit):
    folder = "base" if tree == "src" and unit in LEAVES else unit.split("/")[0]
    if tree == "ctl" and re.search(r"Verbs?$", unit):
        folder = "the verbs"
    return next((rank for rank, folders in enumerate(LAYERS[tree]) if folder in folders), None)


def root_of(path, tree):
    """The folder that the includes of a file begin at."""
    parts = pathlib.PurePath(path).parts
    return pathlib.Path(*parts[:parts.index(tree) + 1])


def read_includes(names):
    """Yields (file, line number, its tree, its unit, the unit that it includes)."""
    for name in names:
        tree, unit = place_of(name)
        if unit is None:
            continue
        for number, line in enumerate(pathlib.Path(name).read_text().splitlines(), 1):
            found = INCLUDE.match(line)
            if not found or found.group(1) == unit:
                continue
            if tree == "src" or (root_of(name, tree) / f"{found.group(1)}.h").exists():
                yield name, number, tree, unit, found.group(1)


def upward_findings(includes):
    for name, number, tree, unit, included in includes:
        own, other = layer_of(tree, unit), layer_of(tree, included)
        if own is None or other is None:
            yield f"{name}:{number}: {unit if own is None else included} lies in no layer"
        elif other > own:
            yield f"{name}:{number}: includes {included}, which lies in a higher layer"


def circles(includes, tree):
    """The sets of units of a tree that include one another, smallest name first."""
    reached = {}
    for _, _, where, unit, included in includes:
        if where == tree:
            reached.setdefault(unit, set()).add(included)
            reached.setdefault(included, set())
    changed = True
    while changed:
        changed = False
        for units in reached.values():
            more = set().union(*(reached[unit] for unit in units)) - units
            changed |= bool(more)
            units |= more
    return sorted({tuple(sorted(other for other in reached[unit] if unit in reached[other]))
                   for unit in reached if unit in reached[unit]})


def main(names):
    includes = list(read_includes(names))
    findings = list(upward_findings(includes))
    findings += [f"{tree}: these include one another: {', '.join(units)}"
                 for tree in LAYERS for units in circles(includes, tree)]
    print("\n".join(findings), end="\n" if findings else "")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
