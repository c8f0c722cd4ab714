#!/usr/bin/python3
"""Checks the text of files: script/lib/lint_text.py FILE...

Prints `FILE:LINE: what is wrong` a finding; the status is 1 when there is one.

 - No text points at what a reader of this tree does not have: papers it was written from and their headings,
   numbered tasks, addresses on the net, folders of one machine.
 - C and C++ define no function-like macros, keep to 110 columns and 500 lines a file.
"""
import pathlib
import re
import sys

MAX_COLUMNS = 110
MAX_LINES = 500
SOURCE_ENDINGS = {".c", ".cpp", ".h", ".hpp"}

# Each pattern is broken up, so that this file doesn't match itself.
FOREIGN = [
    (r"\bspecific" r"ations?\b", "points at a paper that is not in this tree"),
    (r"\bthe\s+sp" r"ec\b|\bspec" r"\.md\b", "points at a paper that is not in this tree"),
    (r"\bpa" r"rts?\s+[1-9]\.[0-9]\b", "points at a heading that is not in this tree"),
    ("\u00a7", "points at a heading that is not in this tree"),
    (r"\biss" r"ues?\s+#?[0-9]+\b", "points at a task that is not in this tree"),
    (r"(?<![\w.])/(?:wo" r"rk|ro" r"ot)/", "names a folder of one machine"),
    (r"\b(?:https?|ftp|git|ssh):" r"//", "names an address on the net"),
]
FOREIGN = [(re.compile(pattern, re.IGNORECASE), message) for pattern, message in FOREIGN]
FUNCTION_LIKE_MACRO = re.compile(r"^\s*#\s*define\s+\w+\(")


def line_findings(line, is_source):
    for pattern, message in FOREIGN:
        found = pattern.search(line)
        if found:
            yield f"'{found.group(0)}' {message}"
    if is_source:
        if FUNCTION_LIKE_MACRO.search(line):
            yield "defines a function-like macro"
        if len(line) > MAX_COLUMNS:
            yield f"has {len(line)} columns, more than {MAX_COLUMNS}"


def file_findings(path):
    """Yields (line number, message); line 0 stands for the file as a whole."""
    for pattern, message in FOREIGN:
        found = pattern.search(str(path))
        if found:
            yield 0, f"the file name: '{found.group(0)}' {message}"
    data = path.read_bytes()
    if b"\0" in data:
        return
    lines = data.decode("utf-8", "replace").splitlines()
    is_source = path.suffix in SOURCE_ENDINGS
    for number, line in enumerate(lines, 1):
        for message in line_findings(line, is_source):
            yield number, message
    # A text may break the line within one of the patterns.
    for number, (first, second) in enumerate(zip(lines, lines[1:]), 1):
        joined = first.rstrip() + " " + second.lstrip(" \t#/*")
        for pattern, message in FOREIGN:
            for found in pattern.finditer(joined):
                if found.start() < len(first.rstrip()) < found.end():
                    yield number, f"'{found.group(0)}' {message}"
    if is_source and len(lines) > MAX_LINES:
        yield len(lines), f"the file has more than {MAX_LINES} lines"


def main(names):
    findings = [f"{name}:{number}: {message}" for name in names
                for number, message in file_findings(pathlib.Path(name))]
    print("\n".join(findings), end="\n" if findings else "")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
