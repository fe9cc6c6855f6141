#!/usr/bin/python3
"""Usage: tools/count-tests.py BUILD_DIR|FILE...

Counts the test cases of the last `meson test` in each folder, or what a file says in its last line, and prints
"N passed, N failed" as its only line on stdout. Status 1 when one failed. A test program counts by its GoogleTest cases,
any other by its result; a folder or file without results counts as one failure, and so does a program that failed
without a failed case (a crash, a leak, a time-out).
"""
import json
import os
import re
import sys

CASE_PASSED = re.compile(r"\[       OK \] .*\(\d+ ms\)$", re.MULTILINE)
CASE_FAILED = re.compile(r"\[  FAILED  \] .*\(\d+ ms\)$", re.MULTILINE)
GOOD_RESULTS = ("OK", "EXPECTEDFAIL")


def count_program(entry):
    """(passed, failed) of one line of meson's log."""
    if entry["result"] == "SKIP":
        return 0, 0
    output = entry.get("stdout") or ""
    passed = len(CASE_PASSED.findall(output))
    failed = len(CASE_FAILED.findall(output))
    good = entry["result"] in GOOD_RESULTS
    if good and passed == 0 and failed == 0:
        passed = 1
    if not good and failed == 0:
        failed = 1
    return passed, failed


def count_file(path):
    try:
        with open(path, encoding="utf-8") as results:
            passed, failed = re.fullmatch(r"(\d+) passed, (\d+) failed", results.read().splitlines()[-1]).groups()
        return int(passed), int(failed)
    except (OSError, IndexError, AttributeError) as problem:
        print(f"count-tests: {path}: no test results ({problem})", file=sys.stderr)
        return 0, 1


def count_folder(build_dir):
    try:
        with open(build_dir + "/meson-logs/testlog.json", encoding="utf-8") as log:
            counts = [count_program(json.loads(line)) for line in log if line.strip()]
    except (OSError, ValueError) as problem:
        print(f"count-tests: {build_dir}: no test results ({problem})", file=sys.stderr)
        counts = []
    return (sum(p for p, _ in counts), sum(f for _, f in counts)) if counts else (0, 1)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    totals = [count_folder(place) if os.path.isdir(place) else count_file(place) for place in sys.argv[1:]]
    passed, failed = sum(p for p, _ in totals), sum(f for _, f in totals)
    print(f"{passed} passed, {failed} failed", flush=True)
    sys.exit(1 if failed else 0)


main()
