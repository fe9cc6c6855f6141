#!/usr/bin/python3
"""Usage: bench/figures.py BUILD_DIR [--repetitions N]

Runs the benchmarks of a build (5 repetitions) and starts ptzd with the plug-in on a simulated camera for its memory,
processor time and calls.
Prints every figure beside its target as the table of docs/performance.md, and the machine that they come from; each
figure is the median of the repetitions. Status 1 when a target is missed or something could not be measured.
"""
import argparse
import json
import os
import pathlib
import platform
import signal
import subprocess
import sys
import tempfile
import time

# what it is, benchmark, its value, unit, digits, target ("<=" or ">=" and a number; None: for information)
FIGURES = [
    ("frame encode plus check, 1 KiB payload", "frame_encode_and_check", "cpu_time", "ns", 0, ("<=", 200)),
    ("append and derivation of a full status run", "status_append_and_derive", "cpu_time", "ns", 0, ("<=", 1000)),
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
    ("resident memory of `ptzd` with the plug-in", "ptzd_memory", "resident_mb", "MB", 1, ("<=", 10)),
    ("the same, after 10000 calls of 200 clients", "ptzd_calls", "resident_mb", "MB", 1, ("<=", 9)),
    ("stop, from the call to its answer over the bus, which comes behind the record, median", "ptzd_calls", "stop_us",
     "us", 0, ("<=", 1000)),
    ("the same behind 10000 moves of 200 clients", "ptzd_calls", "stop_behind_us", "us", 0, ("<=", 5000)),
    ("position, median", "ptzd_calls", "position_us", "us", 0, None),
    ("position while a reset runs, median", "ptzd_calls", "position_reset_us", "us", 0, ("<=", 1000)),
]

MOVES = (["move", "pan=10", "tilt=5", "zoom=2000", "--wait"], ["move", "pan=-10", "tilt=15", "zoom=4000", "--wait"])

IDLE_SECONDS = 10

BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path={folder}/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default"><allow send_destination="*"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>
"""


class Processes:
    """Programs with their output in the folder; all are ended, the last one first, at the end of a with block."""

    def __init__(self, folder, environment):
        self.folder, self.environment, self.running = folder, environment, []

    def __enter__(self):
        return self

    def start(self, name, *command):
        """The running program; what it prints can be read from its stdout, its messages go to NAME.log."""
        errors = open(self.folder / f"{name}.log", "w", encoding="utf-8")
        process = subprocess.Popen(command, env=self.environment, stdout=subprocess.PIPE, stderr=errors, text=True)
        self.running.append(process)
        return process

    def __exit__(self, *_):
        for process in reversed(self.running):
            process.send_signal(signal.SIGTERM)
            try:
                process.wait(timeout=20)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


def resident_mb(pid):
    for line in pathlib.Path(f"/proc/{pid}/status").read_text(encoding="ascii").splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1]) / 1024
    raise RuntimeError("ptzd has no resident memory")


def processor_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def measure_ptzd(build):
    """What ptzd takes: its memory after start-up and a few moves, and its processor time while it idles."""
    with tempfile.TemporaryDirectory(prefix="ptz-bench-") as name:
        folder = pathlib.Path(name)
        board = folder / "board"
        (folder / "bus.conf").write_text(BUS_CONFIG.format(folder=folder), encoding="ascii")
        environment = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=f"unix:path={folder}/bus", PTZ_DATA_DIR=str(board),
                           PTZ_BOARD=str(board))
        environment.pop("PTZ_TIME_SCALE", None)
        with Processes(folder, environment) as processes:
            bus = processes.start("bus", "dbus-daemon", f"--config-file={folder}/bus.conf", "--nofork", "--nopidfile",
                                  "--print-address=1")
            bus.stdout.readline()
            simulator = processes.start("sim", build / "sim/krx-sim", "--board", board, "--quiet")
            if simulator.stdout.readline() != "ready\n":
                raise RuntimeError("krx-sim does not start: " + (folder / "sim.log").read_text())
            ptzd = processes.start("ptzd", build / "platform/ptzorvel/ptzd/ptzd", "--plugin",
                                   build / "driver/plugin/libptz_driver_canon.so")

            def ptzctl(*words):
                subprocess.run([build / "tools/ptzctl/ptzctl", *words], env=environment, check=True,
                               stdout=subprocess.DEVNULL, timeout=120)
            ptzctl("state", "--wait", "1", "--within", "60")
            for words in MOVES * 2:
                ptzctl(*words)
            ptzctl("published")
            began, used = time.monotonic(), processor_seconds(ptzd.pid)
            time.sleep(IDLE_SECONDS)
            idle = 100 * (processor_seconds(ptzd.pid) - used) / (time.monotonic() - began)
            resident = resident_mb(ptzd.pid)
            calls = json.loads(subprocess.run([build / "bench/service_calls", str(ptzd.pid)], env=environment, check=True, timeout=300,
                                              stdout=subprocess.PIPE).stdout)
            return {"ptzd_memory": {"resident_mb": resident}, "ptzd_idle": {"cpu_percent": idle}, "ptzd_calls": calls}


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


def machine(built_with):
    model = "unknown processor"
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    release = platform.freedesktop_os_release().get("PRETTY_NAME", "Linux")
    return (f"{os.cpu_count()} x {model}, {memory:.0f} GB, {release}, Linux {platform.release()}, "
            f"{built_with}")


def target_text(target, unit):
    if target is None:
        return ""
    return f"{'at most' if target[0] == '<=' else 'at least'} {target[1]} {unit}".rstrip()


def print_table(values):
    """True when every target is met."""
    good = True
    print("| what | target | measured |\n|---|---|---|")
    for what, benchmark, key, unit, digits, target in FIGURES:
        value = values.get(benchmark, {}).get(key)
        if value is None:
            text = "not measured"
        else:
            text = f"{value:.{digits}f} {unit}".rstrip()
        met = value is not None and (
            target is None or (value <= target[1] if target[0] == "<=" else value >= target[1]))
        print(f"| {what} | {target_text(target, unit)} | {text}{'' if met or value is None else ' (missed)'} |")
        good = good and met
    return good


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--repetitions", type=int, default=5)
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    load_before = os.getloadavg()[0]
    try:
        values, built_with = run_benchmarks(build, arguments.repetitions)
        values.update(measure_ptzd(build))
    except (OSError, RuntimeError, ValueError, subprocess.SubprocessError) as problem:
        print(f"figures: {problem}", file=sys.stderr)
        return 1
    good = print_table(values)
    print(f"\nThe machine: {machine(built_with)}. Medians of {arguments.repetitions} repetitions; "
          f"the load average was {load_before:.1f} at the start.")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
