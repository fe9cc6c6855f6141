#!/usr/bin/python3
"""Usage: bench/figures.py BUILD_DIR [--repetitions N] [--page FILE]

Runs the benchmarks of a build (5 repetitions) and starts ptzd with the plug-in on a simulated camera for its memory,
processor time and calls.
Prints every figure beside its target as the table of docs/performance.md, and the machine that they come from, and
with --page writes them into that page; each figure is the median of the repetitions. Status 1 when a target is missed
or something could not be measured.
"""
import argparse
import json
import os
import pathlib
import pty
import select
import statistics
import subprocess
import sys
import tempfile
import time

import instructions
import page

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "tools"))
import stage  # noqa: E402

# what it is, benchmark, its value, unit, digits, target ("<=" or ">=" and a number; None: for information)
FIGURES = [
    ("frame encode plus check, 1 KiB payload", "frame_encode_and_check", "cpu_time", "ns", 0, ("<=", 200)),
    ("append and derivation of a full status run", "status_append_and_derive", "cpu_time", "ns", 0, ("<=", 1000)),
    (instructions.STEPS["refresh"], "refresh", "instructions", "", 0, ("<=", 10000)),
    (instructions.STEPS["move"], "move", "instructions", "", 0, ("<=", 35000)),
    ("heap allocations of the plug-in per refresh with publication, steady state",
     "refresh_allocations", "driver", "", 0, ("<=", 0)),
    ("the same, in the libraries of `platform/`", "refresh_allocations", "stand_ins", "", 0, None),
    ("conversion and build of the largest payload", "exposure_payload", "cpu_time", "ns", 0, ("<=", 100)),
    ("heap allocations of the plug-in per full manual exposure, beside the packet that every send takes",
     "exposure_allocations", "beside_packet", "", 0, ("<=", 0)),
    ("one exchange over the simulated link, median", "link_exchange", "median_us", "us", 1, ("<=", 60)),
    ("the same, 99th percentile", "link_exchange", "p99_us", "us", 1, None),
    ("refresh with publication over the link, median", "link_refresh_with_publication", "median_us", "us", 1, None),
    ("absolute zoom plus pan/tilt move, virtual wire time, median", "move_zoom_pan_tilt", "median_us", "us", 1, None),
    ("its bursts", "move_zoom_pan_tilt", "bursts", "", 0, None),
    ("the same move, real wire time (1024 bytes at 3 MHz), median",
     "move_zoom_pan_tilt_on_real_wire", "median_us", "us", 0, None),
    ("of it, what the bytes take at their speed", "move_zoom_pan_tilt_on_real_wire", "wire_us", "us", 0, None),
    ("of it, outside the calls to the SPI device", "move_zoom_pan_tilt_on_real_wire", "outside_us", "us", 1, None),
    ("share of the move within the calls to the SPI device", "move_zoom_pan_tilt_on_real_wire", "device_percent", "%", 2, None),
    ("share of the move that its bytes need on the wire", "move_zoom_pan_tilt_on_real_wire", "wire_percent", "%", 2, (">=", 99)),
    ("cold start to state 1, waits virtual, median", "cold_start", "median_ms", "ms", 1, ("<=", 50)),
    ("its bursts", "cold_start", "bursts", "", 0, None),
    ("of them, applying all parameters", "apply_all_parameters", "bursts", "", 0, None),
    ("heap growth over 10000 parameter changes", "parameter_changes", "heap_bytes", "bytes", 0, ("<=", 1024)),
    ("growth of resident memory over 100000 polls", "polls", "resident_kb", "kB", 0, ("<=", 100)),
    ("bursts of a 4 MiB firmware upgrade", "firmware_upgrade", "bursts", "", 0, None),
    ("the least that it can take", "firmware_upgrade", "least", "", 0, None),
    ("the simulated camera's picture of 960x540 with blur and noise", "view_picture", "cpu_time", "ms", 1,
     ("<=", 12)),
    ("pictures of a camera that pans at its fastest, at the wide end", "view_moving_wide", "per_second", "1/s", 0, (">=", 15)),
    ("the same with the lens drawn out", "view_moving_drawn_out", "per_second", "1/s", 0, (">=", 15)),
    ("how much slower an exchange is while the picture is looked at, median", "view_exchange", "slower_percent", "%", 1,
     ("<=", 5)),
    ("processor time of `ptzd` idling at state 1", "ptzd_idle", "cpu_percent", "% of a core", 2, ("<=", 3)),
    ("the same while it writes a trace, more", "ptzd_trace", "cpu_percent", "% of a core", 2, ("<=", 1)),
    ("the same while it keeps a file of metrics, more", "ptzd_metrics", "cpu_percent", "% of a core", 2, ("<=", 0.1)),
    ("while the camera moves, with 20 listeners to its position, more", "ptzd_listeners", "cpu_percent", "% of a core", 2,
     ("<=", 0.5)),
    ("position signals a second", "ptzd_listeners", "signals", "", 1, ("<=", 30)),
    ("lines of a trace that `ptzctl decode` puts into words in a minute", "decode", "lines", "million", 1, (">=", 2)),
    ("resident memory of `ptzd` with the plug-in", "ptzd_memory", "resident_mb", "MB", 1, ("<=", 10)),
    ("the same, after 10000 calls of 200 clients", "ptzd_calls", "resident_mb", "MB", 1, ("<=", 9)),
    ("stop, from the call to its answer over the bus, which comes behind the record, median", "ptzd_calls", "stop_us",
     "us", 0, ("<=", 1000)),
    ("the same behind 10000 moves of 200 clients", "ptzd_calls", "stop_behind_us", "us", 0, ("<=", 5000)),
    ("position, median", "ptzd_calls", "position_us", "us", 0, None),
    ("`ptzctl drive`, from the key to its record on the wire, median", "drive", "key_us", "us", 0, ("<=", 5000)),
    ("position while a reset runs, median", "ptzd_calls", "position_reset_us", "us", 0, ("<=", 1000)),
]

MOVES = (["move", "pan=10", "tilt=5", "zoom=2000", "--wait"], ["move", "pan=-10", "tilt=15", "zoom=4000", "--wait"])

IDLE_SECONDS = 10

LISTENERS = 20

KEYS = 50
LOOK = 0.0001  # seconds between two looks at the trace
# As a terminal sends them that tells when a key is let go.
TELLS_RELEASES, RIGHT, RIGHT_RELEASED = b"\x1b[?11u", b"\x1b[C", b"\x1b[1;1:3C"
PAN_SPEED = "07010200"  # how its record begins


def share_of_a_core(pid):
    """What it takes of a core while it idles, in percent."""
    began, used = time.monotonic(), stage.processor_seconds(pid)
    time.sleep(IDLE_SECONDS)
    return 100 * (stage.processor_seconds(pid) - used) / (time.monotonic() - began)


def measure_ptzd(build):
    """What ptzd takes: its memory after start-up and a few moves, and its processor time while it idles."""
    with tempfile.TemporaryDirectory(prefix="ptz-bench-") as name, stage.Stage(build, pathlib.Path(name)) as here:
        ptzd = here.start_camera()
        for words in MOVES * 2:
            here.ptzctl(*words)
        here.ptzctl("published")
        idle = share_of_a_core(ptzd.pid)
        resident = stage.memory_mb(ptzd.pid, "Rss")
        calls = json.loads(here.run("bench/service_calls", str(ptzd.pid)))
        here.ptzctl("trace", "on")
        tracing = share_of_a_core(ptzd.pid) - idle
        here.ptzctl("trace", "off")
        return {"ptzd_memory": {"resident_mb": resident}, "ptzd_idle": {"cpu_percent": idle}, "ptzd_calls": calls,
                "ptzd_trace": {"cpu_percent": tracing}, "decode": decode_speed(here)}


def measure_drive(build):
    """How long a key of 'ptzctl drive' takes to the wire, as the simulator's trace shows it."""
    with tempfile.TemporaryDirectory(prefix="ptz-bench-") as name, stage.Stage(build, pathlib.Path(name)) as here:
        wire = here.folder / "wire"
        here.start_board("--trace", wire)
        here.start_ptzd()
        here.wait_running()
        pid, terminal = pty.fork()
        if pid == 0:
            os.execve(build / "tools/ptzctl/ptzctl", ["ptzctl", "drive", "--speed", "1"],
                      here.environment | {"TERM": "xterm"})
        shown = b""
        while b"link up" not in shown:
            shown += os.read(terminal, 65536)
        os.write(terminal, TELLS_RELEASES)
        took = []
        with open(wire, encoding="ascii") as trace:
            for _ in range(KEYS):
                trace.seek(0, os.SEEK_END)
                began = time.monotonic()
                os.write(terminal, RIGHT)
                text = ""
                while PAN_SPEED not in text:  # not spinning: whoever is measured needs the processor
                    text += trace.read()
                    time.sleep(LOOK)
                took.append(1e6 * (time.monotonic() - began))
                os.write(terminal, RIGHT_RELEASED)
                time.sleep(0.2)
                while select.select([terminal], [], [], 0)[0]:
                    os.read(terminal, 65536)
        os.write(terminal, b"q")
        os.waitpid(pid, 0)
        os.close(terminal)
        return {"drive": {"key_us": statistics.median(took)}}


def measure_listeners(build):
    """What it takes more while the camera moves and twenty listen to where it is, and how often they are told."""
    with tempfile.TemporaryDirectory(prefix="ptz-bench-") as name, stage.Stage(build, pathlib.Path(name)) as here:
        ptzd = here.start_camera()
        idle = share_of_a_core(ptzd.pid)
        here.ptzctl("move", "pan=-170", "--wait")
        heard = [open(here.folder / f"listener{i}", "w+", encoding="utf-8") for i in range(LISTENERS)]
        program = build / "tools/ptzctl/ptzctl"
        listeners = [subprocess.Popen([program, "monitor", "--positions"], env=here.environment, stdout=file)
                     for file in heard]
        mover = subprocess.Popen([program, "move", "--continuous", "pan=10", "--for", "30"], env=here.environment,
                                 stdout=subprocess.DEVNULL)
        time.sleep(1)
        before = heard[0].seek(0, os.SEEK_END)
        moving = share_of_a_core(ptzd.pid)
        heard[0].seek(before)
        signals = len(heard[0].readlines()) / IDLE_SECONDS
        still = mover.poll() is None
        for process in [mover, *listeners]:
            process.terminate()
            process.wait()
        for file in heard:
            file.close()
        if not still:
            raise RuntimeError("the camera came to its end too soon")
        return {"ptzd_listeners": {"cpu_percent": moving - idle, "signals": signals}}


def measure_metrics(build):
    """What ptzd takes more while it keeps a file of metrics; at rest, in turns with one that does not."""
    with tempfile.TemporaryDirectory(prefix="ptz-bench-") as name:
        shares = {}
        for words in ((), ("--metrics", f"{name}/prom")) * 2:
            folder = pathlib.Path(name) / f"{len(words)}-{len(shares.get(words, []))}"
            folder.mkdir()
            with stage.Stage(build, folder) as here:
                here.start_board()
                ptzd = here.start("platform/ptzorvel/ptzd/ptzd", "--plugin",
                                  build / "driver/plugin/libptz_driver_canon.so", *words)
                here.wait_running()
                shares.setdefault(words, []).append(share_of_a_core(ptzd.pid))
        plain, kept = (statistics.mean(share) for share in shares.values())
        return {"ptzd_metrics": {"cpu_percent": kept - plain}}


def decode_speed(here):
    """Of what was traced a hundred times."""
    trace = here.folder / "board/ptzd.trace"
    text = trace.read_text(encoding="ascii")
    big = trace.with_suffix(".big")
    big.write_text(text * 100, encoding="ascii")
    began = time.monotonic()
    here.run("tools/ptzctl/ptzctl", "decode", big)
    lines = 100 * sum(not line.startswith("#") for line in text.splitlines())
    return {"lines": lines / (time.monotonic() - began) * 60 / 1e6}


def run_benchmarks(build, repetitions):
    """{benchmark: {value: median}}, and what compiled them."""
    command = [build / "bench/ptz_bench", f"--benchmark_repetitions={repetitions}",
               "--benchmark_report_aggregates_only=true", "--benchmark_format=json"]
    result = subprocess.run(command, stdout=subprocess.PIPE, check=False)
    report = json.loads(result.stdout)
    medians = {}
    for entry in report["benchmarks"]:
        if entry.get("error_occurred"):
            print(f"figures: {entry['name']}: {entry['error_message']}", file=sys.stderr)
        elif entry.get("aggregate_name") == "median":
            medians[entry["run_name"].split("/")[0]] = entry
    if result.returncode != 0:
        raise RuntimeError(f"ptz_bench ended with status {result.returncode}")
    return medians, report["context"]["built_with"]


def target_text(target, unit):
    if target is None:
        return ""
    return f"{'at most' if target[0] == '<=' else 'at least'} {target[1]} {unit}".rstrip()


def table(values):
    """The page's table, and whether every target is met."""
    good = True
    lines = ["| what | target | measured |", "|---|---|---|"]
    for what, benchmark, key, unit, digits, target in FIGURES:
        value = values.get(benchmark, {}).get(key)
        if value is None:
            text = "not measured"
        else:
            text = f"{value:.{digits}f} {unit}".rstrip()
        met = value is not None and (
            target is None or (value <= target[1] if target[0] == "<=" else value >= target[1]))
        lines.append(f"| {what} | {target_text(target, unit)} | {text}{'' if met or value is None else ' (missed)'} |")
        good = good and met
    return "\n".join(lines), good


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--page", type=pathlib.Path)
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    load_before = os.getloadavg()[0]
    try:
        values, built_with = run_benchmarks(build, arguments.repetitions)
        values.update({step: {"instructions": instructions.count(build, step)[0]} for step in instructions.STEPS})
        values.update(measure_ptzd(build))
        for measure in (measure_listeners, measure_metrics, measure_drive):
            values.update(measure(build))
    except (OSError, RuntimeError, ValueError, subprocess.SubprocessError) as problem:
        print(f"figures: {problem}", file=sys.stderr)
        return 1
    text, good = table(values)
    page.put(arguments.page, "figures", f"{text}\n\nThe machine: {page.machine()}, {built_with}. Medians of "
             f"{arguments.repetitions} repetitions; the load average was {load_before:.1f} at the start.")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
