#!/usr/bin/python3
"""Writes the report of `ctest -T Test` as JUnit: script/lib/ctest_junit.py BUILD_FOLDER REPORT

For a ctest that is too old to write such a report itself. The newest report of the build folder is taken. The status
is 1 when there is none.
"""
import pathlib
import sys
import xml.etree.ElementTree as tree


def junit_case(test):
    """One test of ctest as the element testcase."""
    measured = {one.get("name"): one.findtext("Value") or "" for one in test.iter("NamedMeasurement")}
    completion = measured.get("Completion Status", "")
    output = test.findtext("Results/Measurement/Value") or ""
    status = {"passed": "run", "failed": "fail"}.get(test.get("Status"), "notrun")
    case = tree.Element("testcase", name=test.findtext("Name"), status=status,
                        time=measured.get("Execution Time", "0"))
    if status == "fail":
        tree.SubElement(case, "failure", message=f"{measured.get('Exit Code', '')} {measured.get('Exit Value', '')}")
    elif status == "notrun":
        tree.SubElement(case, "skipped", message=completion)
    tree.SubElement(case, "system-out").text = output
    return case


def main(build, report):
    found = sorted(pathlib.Path(build).glob("Testing/*/Test.xml"))
    if not found:
        print(f"script/lib/ctest_junit.py: no report of ctest below {build}", file=sys.stderr)
        return 1
    suite = tree.Element("testsuite", name="ctest")
    suite.extend(junit_case(test) for test in tree.parse(found[-1]).iterfind("Testing/Test"))
    tree.ElementTree(suite).write(report, encoding="utf-8", xml_declaration=True)
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
