#!/usr/bin/python3
"""Usage: bench/peers.py BUILD_DIR [--page FILE]

What this project costs beside others, in one run of two minutes: the same work done in turns by it and by libraries
and bare services (bench/peers/), memory and processor time, the publishing grid, and several cameras on the machine.
Prints each figure beside the peer's and beside the goal where there is one; with --page also into that page. Status 1
when something could not be measured; a missed goal is told, and is no failure: it is said in the page why.
"""
import argparse
import array
import contextlib
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time
from typing import NamedTuple

import page

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "tools"))
import stage  # noqa: E402

SECONDS = 10  # of each look at processors and grids
PERIOD_US = 33000
TIME_SCALE = 1000
CAMERAS = (1, 4, 16)
PROGRAM = "bench/peers/peers"


class Row(NamedTuple):
    """A figure, with a line for each peer that has it, or one of its own."""

    what: str
    metric: str
    unit: str
    digits: int
    scale: float = 1
    most: float | None = None  # goal, in the row's unit
    most_beside: str | None = None  # goal: at most what that peer takes


def cameras_rows(count):
    """What is told of that many cameras at once."""
    who = f"{count} camera{'s' * (count > 1)}"
    last = count == CAMERAS[-1]
    return [
        Row(f"{who}: processor time of each `ptzd`", f"each_{count}", "% of a core", 2),
        Row(f"{who}: of all `ptzd`", f"all_{count}", "% of a core", 2, most=6 if last else None),
        Row(f"{who}: of all simulators", f"simulators_{count}", "% of a core", 2),
        Row(f"{who}: largest error of a period of 33 ms", f"error_{count}", "ms", 2, most=2 if last else None)]


ROWS = [
    Row("status run of 24 numbers: encode, check, decode", "status median_ns", "ns", 0),
    Row("largest command: encode, check, decode", "command median_ns", "ns", 0),
    Row("exchange of 1 KiB with another process, median", "exchange median_ns", "us", 1, 1e-3),
    Row("exchange, 99th percentile", "exchange p99_ns", "us", 1, 1e-3, most=45),
    Row("call that gets a position, median", "get median_ns", "us", 0, 1e-3),
    Row("call that sets a mode, median", "set median_ns", "us", 0, 1e-3),
    Row("call that sets, without its {exchanges} exchanges", "set_beside_exchanges", "us", 0, 1e-3,
        most_beside="GDBus"),
    Row("processor time of 1000 calls that get", "get server_us", "ms", 0),
    Row("processor time of 1000 calls that set", "set server_us", "ms", 0),
    Row("processor time at rest", "idle", "% of a core", 2, most=0.4),
    Row("resident memory after 4000 calls", "rss", "MB", 1),
    Row("the same, of what is shared only its part", "pss", "MB", 1),
    Row("largest error of a period of 33 ms", "period_error", "ms", 2),
    Row("drift of 33 ms in {seconds} s", "drift", "ms", 2),
    Row("cold start", "start median_ns", "ms", 1, 1e-6),
    *(row for count in CAMERAS for row in cameras_rows(count)),
]


class Figures:
    """{metric: {contender: [a value for each repetition]}}"""

    def __init__(self):
        self.all = {}

    def add(self, metric, contender, *values):
        """Notes a figure."""
        self.all.setdefault(metric, {})[contender] = values

    def contest(self, lines):
        """Notes what the program printed."""
        for entry in map(json.loads, lines.splitlines()):
            for key in ("median_ns", "p99_ns", "server_us"):
                if any(entry[key]):
                    self.add(f"{entry['contest']} {key}", entry["contender"], *entry[key])


def start_ptzd(here):
    """A ptzd whose bursts are noted."""
    return here.start_ptzd(LD_PRELOAD=str(here.build / "bench/peers/libburst_times.so"),
                           BURST_TIMES=str(here.folder / "bursts"))


def bursts(here):
    """When its bursts were, in microseconds; negative where one carried something."""
    return array.array("q", (here.folder / "bursts").read_bytes())


def grid(times):
    """Largest error of a period and the drift over all of them, in ms; a period that was left out is no drift."""
    periods = [later - former for former, later in zip(times, times[1:])]
    drift = sum(period - PERIOD_US * max(1, round(period / PERIOD_US)) for period in periods)
    return max(abs(period - PERIOD_US) for period in periods) / 1000, abs(drift) / 1000


def bursts_of_a_call(here):
    """Exchanges of a call that sets: how far two of its commands are apart that follow one another."""
    at = [number for number, time_us in enumerate(bursts(here)) if time_us < 0]
    return statistics.mode(later - former for former, later in zip(at, at[1:]))


def percent_of(pids, seconds):
    """How much of a core each process takes."""
    began, used = time.monotonic(), [stage.processor_seconds(pid) for pid in pids]
    time.sleep(seconds)
    elapsed = time.monotonic() - began
    return [100 * (stage.processor_seconds(pid) - before) / elapsed for pid, before in zip(pids, used)]


def beside_bare_services(build, figures):
    """ptzd at rest and called, beside services that do nothing. Exchanges that a call takes."""
    with tempfile.TemporaryDirectory(prefix="ptz-peers-") as name, stage.Stage(build, pathlib.Path(name)) as here:
        here.start_board()
        pids = {"GDBus": here.start("bench/peers/bare_gdbus").pid, "sd-bus": here.start("bench/peers/bare_sdbus").pid}
        pids["ours"] = start_ptzd(here).pid
        here.wait_running()
        so_far = len(bursts(here))
        ticker = here.start("bench/peers/ticker", str(SECONDS))
        for contender, percent in zip(pids, percent_of(pids.values(), SECONDS)):
            figures.add("idle", contender, percent)
        for contender, times in (("ours", bursts(here)[so_far:]),
                                 ("g_timeout_add", list(map(int, ticker.communicate()[0].split())))):
            error, drift = grid(times)
            figures.add("period_error", contender, error)
            figures.add("drift", contender, drift)
        figures.contest(here.run(PROGRAM, "get", "set"))
        for contender, pid in pids.items():
            figures.add("rss", contender, stage.memory_mb(pid, "Rss"))
            figures.add("pss", contender, stage.memory_mb(pid, "Pss"))
        return bursts_of_a_call(here)


def cold_start(build, figures):
    """ptzd and bare services from their start on, with the camera's waits a thousand times shorter."""
    with tempfile.TemporaryDirectory(prefix="ptz-peers-") as name, \
            stage.Stage(build, pathlib.Path(name), TIME_SCALE) as here:
        here.start_board()
        figures.contest(here.run(PROGRAM, "start"))


def cameras_at_once(build, count, figures):
    """That many cameras, each with its own bus, board and ptzd."""
    with contextlib.ExitStack() as stack:
        stages = []
        for _ in range(count):
            name = stack.enter_context(tempfile.TemporaryDirectory(prefix="ptz-peers-"))
            stages.append(stack.enter_context(stage.Stage(build, pathlib.Path(name))))
        boards = [each.start_board() for each in stages]
        drivers = [start_ptzd(each) for each in stages]
        for each in stages:
            each.wait_running()
        time.sleep(1)
        so_far = [len(bursts(each)) for each in stages]
        percents = percent_of([process.pid for process in drivers + boards], SECONDS)
        errors = [grid(bursts(each)[begin:])[0] for each, begin in zip(stages, so_far)]
        for each in stages:
            each.ask_to_end()
    figures.add(f"each_{count}", "ours", *percents[:count])
    figures.add(f"all_{count}", "ours", sum(percents[:count]))
    figures.add(f"simulators_{count}", "ours", sum(percents[count:]))
    figures.add(f"error_{count}", "ours", max(errors))


def ratio_text(ours, theirs):
    """Median of the ratios of repetitions that followed each other, and their spread."""
    ratios = [mine / other for mine, other in zip(ours, theirs) if other]
    if not ratios:
        return ""
    spread = f" ({min(ratios):.2f}..{max(ratios):.2f})" if len(ratios) > 1 else ""
    return f"{statistics.median(ratios):.2f}{spread}"


def table(figures, **words):
    """The page's table, how many goals there are, and what missed its own."""
    lines = ["| what | ours | peer | the peer's | ours / the peer's | goal |", "|---|---|---|---|---|---|"]
    goals, missed = 0, []
    for row in ROWS:
        contenders = figures.all[row.metric]
        middle = {name: statistics.median(values) * row.scale for name, values in contenders.items()}
        ours = middle["ours"]
        what = row.what.format(**words)
        goal, good = "", True
        if row.most is not None:
            goal, good = f"at most {row.most} {row.unit}", ours <= row.most
        elif row.most_beside is not None:
            goal, good = f"at most {row.most_beside}'s", ours <= middle[row.most_beside]
        goals += bool(goal)
        missed += [] if good else [what]
        goal += "" if good else " (missed)"
        others = [name for name in contenders if name != "ours"]
        for name in others or [""]:
            theirs = f"{middle[name]:.{row.digits}f} {row.unit}" if name else ""
            ratio = ratio_text(contenders["ours"], contenders[name]) if name else ""
            lines.append(f"| {what} | {ours:.{row.digits}f} {row.unit} | {name} | {theirs} | {ratio} | {goal} |")
            what, goal = "", ""
    return "\n".join(lines), goals, missed


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--page", type=pathlib.Path)
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    began, load_before, figures = time.monotonic(), os.getloadavg()[0], Figures()
    try:
        contests = subprocess.run([build / PROGRAM, "status", "command", "exchange"], check=False, text=True,
                                  capture_output=True, timeout=300)
        if contests.returncode != 0:
            raise RuntimeError(contests.stderr)
        figures.contest(contests.stdout)
        exchanges = beside_bare_services(build, figures)
        cold_start(build, figures)
        for count in CAMERAS:
            cameras_at_once(build, count, figures)
    except (OSError, RuntimeError, ValueError, subprocess.SubprocessError) as problem:
        print(f"bench-peers: {problem}", file=sys.stderr)
        return 1
    exchange = statistics.median(figures.all["exchange median_ns"]["ours"])
    for contender, values in figures.all["set median_ns"].items():
        own = exchanges * exchange if contender == "ours" else 0
        figures.add("set_beside_exchanges", contender, *(value - own for value in values))
    text, goals, missed = table(figures, exchanges=exchanges, seconds=SECONDS)
    page.put(arguments.page, "peers", f"{text}\n\nThe machine: {page.machine()}. "
             f"The load average was {load_before:.1f} at the start.")
    behind = f"; missed: {'; '.join(missed)}" if missed else ""
    print(f"\nbench-peers: compared in {time.monotonic() - began:.0f} s, "
          f"{goals - len(missed)} of {goals} goals met{behind}.")
    return 0


if __name__ == "__main__":
    sys.exit(main())
