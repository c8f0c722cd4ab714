#!/usr/bin/python3
"""Sums up test suites: script/lib/summary.py RESULTS SUITE...

A suite has left two files in the folder RESULTS: SUITE.xml, a JUnit report, and SUITE.status, the exit status of
its runner. Where an entry of that report is a whole program of tests, SUITE/ENTRY.xml is the program's own report and
counts in its place. Prints the failed and the skipped tests with the reason of each skip, and last one line
`N passed, N failed, N skipped`. The status is 0 only when nothing failed. A suite whose runner crashed, left no
report, or ran nothing counts as one failure, so that silence is never taken for success.
"""
import pathlib
import re
import sys
import xml.etree.ElementTree

# The words by which ctest says that a test chose not to run; its other words for "not run" are failures.
CHOSEN_SKIP = re.compile(r"SKIP_REGULAR_EXPRESSION_MATCHED|SKIP_RETURN_CODE")
GTEST_SKIP_TEXT = re.compile(r": Skipped\n(.*?)\n?\[  SKIPPED \]", re.DOTALL)


def skip_reason(case, message):
    """What a skipped test gave as its reason, in one line."""
    if CHOSEN_SKIP.match(message):
        output = case.findtext("system-out") or ""
        said = GTEST_SKIP_TEXT.search(output)
        message = said.group(1) if said else output
    return " ".join(message.split()) or "no reason given"


def outcome(case):
    """("passed" | "failed" | "skipped", reason) of one testcase element."""
    for word in ("failure", "error"):
        element = case.find(word)
        if element is not None:
            return "failed", " ".join((element.get("message") or "").split())[:200]
    skipped = case.find("skipped")
    status = case.get("status", "run")
    if status == "disabled":
        return "failed", "the test is disabled"
    if skipped is not None:
        message = skipped.get("message") or ""
        if status == "notrun" and not CHOSEN_SKIP.match(message):
            return "failed", message
        return "skipped", skip_reason(case, message)
    return ("passed", "") if status == "run" else ("failed", status)


def case_name(case):
    name, folder = case.get("name", ""), case.get("classname", "")
    return name if folder in ("", name) else f"{folder}.{name}"


def read_program(path, entry):
    """The outcomes of the program of tests that ran as this entry; the entry's own where the program left none."""
    try:
        rows = [(case_name(case), *outcome(case)) for case in xml.etree.ElementTree.parse(path).iter("testcase")]
    except (OSError, xml.etree.ElementTree.ParseError):
        rows = []
    if not rows or (entry[1] == "failed" and all(row[1] != "failed" for row in rows)):
        rows.append(entry)
    return rows


def read_suite(results, suite):
    """The outcomes of one suite as (suite, test, outcome, reason), the runner's own failure included."""
    rows, trouble = [], ""
    try:
        status = int((results / f"{suite}.status").read_text())
    except (OSError, ValueError):
        status = None
    try:
        tree = xml.etree.ElementTree.parse(results / f"{suite}.xml")
        rows = [(suite, *row) for case in tree.iter("testcase")
                for row in read_program(results / suite / f"{case_name(case)}.xml",
                                        (case_name(case), *outcome(case)))]
        if not rows:
            trouble = "no test ran"
    except (OSError, xml.etree.ElementTree.ParseError) as error:
        trouble = f"no readable report ({error})"
    failed = any(row[2] == "failed" for row in rows)
    if status is None:
        trouble = "the runner was not run to its end"
    elif status != 0 and not failed and not trouble:
        trouble = f"the runner ended with status {status}"
    elif trouble:
        trouble += f", the runner ended with status {status}"
    if trouble:
        rows.append((suite, "(runner)", "failed", trouble))
    return rows


def main(arguments):
    results = pathlib.Path(arguments[0])
    rows = [row for suite in arguments[1:] for row in read_suite(results, suite)]
    if not rows:
        rows.append(("none", "(runner)", "failed", "no suite was named"))
    count = {"passed": 0, "failed": 0, "skipped": 0}
    for suite, test, result, reason in rows:
        count[result] += 1
        if result != "passed":
            print(f"{result}: {suite}: {test}" + (f": {reason}" if reason else ""))
    print("{passed} passed, {failed} failed, {skipped} skipped".format(**count))
    return 1 if count["failed"] else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
