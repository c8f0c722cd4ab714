#!/usr/bin/python3
"""Checks what the sources of the daemon include: script/lib/lint_layers.py FILE...

Prints `FILE:LINE: what is wrong` a finding; the status is 1 when there is one. Files outside src/ are passed over.

 - A file includes its own layer and those below: thbase < base < platform < config < counters, evidence, logcontrol < cli.
   The leaves below count as part of base, so that every layer may include them.
 - No circle of files. A header and its source count as one.
"""
import pathlib
import re
import sys

LAYERS = [{"base"}, {"platform"}, {"config"}, {"counters", "evidence", "logcontrol"}, {"cli"}]
LEAVES = {"config/Mutex", "config/THCrossPlatformMapping", "platform/THUEnv"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"(\w+/[\w/]+)\.h"')


def unit_of(path):
    """The file below src/ without its ending: "config/Mutex"; None for a file elsewhere."""
    parts = pathlib.PurePath(path).with_suffix("").parts
    return "/".join(parts[parts.index("src") + 1:]) if "src" in parts[:-2] else None


def layer_of(unit):
    folder = "base" if unit in LEAVES else unit.split("/")[0]
    return next((rank for rank, folders in enumerate(LAYERS) if folder in folders), None)


def read_includes(names):
    """Yields (file, line number, its unit, the unit that it includes)."""
    for name in names:
        unit = unit_of(name)
        if unit is None:
            continue
        for number, line in enumerate(pathlib.Path(name).read_text().splitlines(), 1):
            found = INCLUDE.match(line)
            if found and found.group(1) != unit:
                yield name, number, unit, found.group(1)


def upward_findings(includes):
    for name, number, unit, included in includes:
        own, other = layer_of(unit), layer_of(included)
        if own is None or other is None:
            yield f"{name}:{number}: {unit if own is None else included} lies in no layer"
        elif other > own:
            yield f"{name}:{number}: includes {included}, which lies in a higher layer"


def circles(includes):
    """The sets of units that include one another, smallest name first."""
    reached = {}
    for _, _, unit, included in includes:
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
    findings += [f"src: these include one another: {', '.join(units)}" for units in circles(includes)]
    print("\n".join(findings), end="\n" if findings else "")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
