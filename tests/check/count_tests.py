"""Counts a test run: the cases of GoogleTest programs, and each other test as one. The last line
is "N passed, N failed"; the exit code is 1 when anything failed or nothing ran."""
import glob
import os
import sys
import xml.etree.ElementTree as ElementTree


def cases_of(path):
    """(passed, failed) of one GoogleTest report; a skipped case counts as failed, for no test of
    ours may be skipped."""
    root = ElementTree.parse(path).getroot()
    total = int(root.get("tests", 0))
    failed = int(root.get("failures", 0)) + int(root.get("errors", 0)) + int(root.get("skipped", 0))
    return total - failed, failed


def count(folder):
    passed = failed = 0
    junit = os.path.join(folder, "ctest.junit")
    if not os.path.exists(junit):
        return 0, 1
    reports = {os.path.basename(path)[:-4]: path for path in glob.glob(os.path.join(folder, "*.xml"))}
    for case in ElementTree.parse(junit).getroot().iter("testcase"):
        ran_well = case.get("status") == "run"
        report = reports.get(case.get("name"))
        good, bad = cases_of(report) if report else (1 if ran_well else 0, 0)
        # a program that died after its report, or before it
        if not ran_well and bad == 0:
            bad = 1
        passed += good
        failed += bad
    return passed, failed


def main():
    passed, failed = count(sys.argv[1])
    if int(sys.argv[2]) != 0 and failed == 0:
        failed = 1
    print(f"{passed} passed, {failed} failed")
    sys.exit(1 if failed or not passed else 0)


if __name__ == "__main__":
    main()
