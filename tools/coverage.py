#!/usr/bin/python3
"""Usage: tools/coverage.py BUILD_DIR [--update]

Runs the test suite of a build that counts what it runs (-Db_coverage=true) and prints lines and branches of every room,
with the lines that no test ran. Red when a test fails, when a room misses more lines than tools/coverage.list says, or
when it has less than its share; --update writes that list anew. The last line says how it went.
"""
import json
import os
import pathlib
import subprocess
import sys

LIST = pathlib.Path(__file__).with_name("coverage.list")
ROOT = LIST.parent.parent
# Each with the share of its lines that has to be run, in percent. A file belongs to the first that its path begins with.
ROOMS = {"core": 99, "vcc": 99, "port": 99, "utils": 99, "hw": 99, "cmd": 99, "driver": 99, "platform/ptzorvel": 92,
         "platform/spidev": 92, "platform/ugpio": 92, "platform": 0, "sim": 0, "tools": 0}
# Lines that one run meets and another does not, where threads and processes run beside each other.
CHANCE = {"core": 1, "port": 2, "utils": 2, "hw": 2, "driver": 2, "platform/ptzorvel": 25,
          "platform/ugpio": 4, "platform/spidev": 4, "sim": 20, "tools": 25}
HEAD = "# The lines that no test runs: a room's number, then its files. Written by `make coverage UPDATE=1`.\n"


class Room:
    def __init__(self):
        self.lines = self.branches = self.branches_run = 0
        self.missed = {}  # lines by file

    def add(self, file):
        lines = [line for line in file["lines"] if not line["gcovr/noncode"]]
        branches = [branch for line in lines for branch in line["branches"]]
        self.lines += len(lines)
        self.branches += len(branches)
        self.branches_run += sum(branch["count"] > 0 for branch in branches)
        missed = sorted(line["line_number"] for line in lines if line["count"] == 0)
        if missed:
            self.missed[file["file"]] = missed

    def missed_lines(self):
        return sum(len(lines) for lines in self.missed.values())


def run_suite(build):
    for counts in pathlib.Path(build).rglob("*.gcda"):
        counts.unlink()
    suite = ["meson", "test", "-C", build, "--no-rebuild", "--print-errorlogs", "--timeout-multiplier", "4"]
    if subprocess.run(suite, check=False).returncode == 0:
        return True
    # Whether the tests pass is what other runs are for; here a slow machine is given another try.
    with open(os.path.join(build, "meson-logs", "testlog.json"), encoding="utf-8") as log:
        failed = [test["name"].split(" / ")[-1] for test in map(json.loads, log) if test["result"] not in ("OK", "SKIP")]
    return subprocess.run([*suite, *failed], check=False).returncode == 0


def read_counts(build):
    report = os.path.join(build, "coverage.json")
    filters = [option for room in ROOMS for option in ("--filter", f"{ROOT}/{room}/")]
    subprocess.run(["gcovr", "--root", ROOT, *filters, "--exclude-throw-branches", "--exclude-unreachable-branches",
                    "-j", str(os.cpu_count()), "--json", report, build], check=True)
    rooms = {name: Room() for name in ROOMS}
    with open(report, encoding="utf-8") as file:
        for entry in json.load(file)["files"]:
            rooms[next(name for name in ROOMS if entry["file"].startswith(name + "/"))].add(entry)
    return rooms


def ranges(lines):
    """[1, 2, 3, 7] as "1-3 7"."""
    spans = []
    for line in lines:
        if spans and line == spans[-1][1] + 1:
            spans[-1][1] = line
        else:
            spans.append([line, line])
    return " ".join(str(a) if a == b else f"{a}-{b}" for a, b in spans)


def list_text(rooms):
    text = HEAD
    for name, room in rooms.items():
        text += f"{name} {room.missed_lines()}\n"
        text += "".join(f"  {file}: {ranges(lines)}\n" for file, lines in sorted(room.missed.items()))
    return text


def kept_numbers():
    rows = [line.split() for line in LIST.read_text(encoding="utf-8").splitlines() if not line.startswith((" ", "#"))]
    return {name: int(number) for name, number in rows}


def percent(part, whole):
    return 100 * part / whole if whole else 100


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    passed = run_suite(sys.argv[1])
    rooms = read_counts(sys.argv[1])
    text = list_text(rooms)
    print(text)
    if passed and "--update" in sys.argv[2:]:
        LIST.write_text(text, encoding="utf-8")
    kept = kept_numbers()
    red = [] if passed else ["tests failed"]
    print(f"{'room':18}    lines         branches      missed (kept)")
    for name, room in rooms.items():
        missed = room.missed_lines()
        share = percent(room.lines - missed, room.lines)
        print(f"{name:18} {share:6.2f} % of {room.lines:<5} {percent(room.branches_run, room.branches):4.0f} % of "
              f"{room.branches:<5} {missed:4} ({kept.get(name, 0)})")
        if missed > kept.get(name, 0) + CHANCE.get(name, 0):
            red.append(f"{name} misses {missed} lines, {kept.get(name, 0)} before")
        if share < ROOMS[name]:
            red.append(f"{name} has {share:.2f} % of its lines, not {ROOMS[name]}")
    lines, missed = sum(room.lines for room in rooms.values()), sum(room.missed_lines() for room in rooms.values())
    told = f"coverage: {percent(lines - missed, lines):.1f} % of {lines} lines, {missed} missed"
    print(f"{told}: RED: {'; '.join(red)}" if red else f"{told}, in no room more than before")
    sys.exit(1 if red else 0)


main()
