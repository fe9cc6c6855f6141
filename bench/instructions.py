#!/usr/bin/python3
"""Usage: bench/instructions.py BUILD_DIR [--top N]

Counts the machine instructions of a refresh with publication and of a move in any build folder that has
bench/instructions (-Dbench=enabled), with valgrind: those of the driver and of the libraries it calls, outside the
calls to the SPI device. The same build gives the same counts, to a few in a thousand, however busy the machine. With
--top also the N functions that take most of them themselves.
"""
import argparse
import pathlib
import subprocess
import sys
import tempfile

TIMES = 500
STEPS = {
    "refresh": "instructions of a refresh with publication, outside the calls to the SPI device",
    "move": "instructions of an absolute zoom plus pan/tilt move, outside the calls to the SPI device",
}


def count(build, step, top=0):
    """Instructions of one step, and the lines of what takes most of them."""
    with tempfile.TemporaryDirectory(prefix="ptz-bench-") as name:
        command = ["valgrind", "--tool=callgrind", "--toggle-collect=counted_step", "--toggle-collect=device_call",
                   f"--callgrind-out-file={name}/%p", "--quiet", build / "bench/instructions", step, str(TIMES)]
        with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True) as process:
            messages = process.communicate(timeout=600)[1]
        if process.returncode != 0:
            raise RuntimeError(f"{step} ended with status {process.returncode}: {messages}")
        profile = pathlib.Path(name) / str(process.pid)  # its children have their own
        total = next(line for line in profile.read_text().splitlines() if line.startswith(("totals:", "summary:")))
        lines = []
        if top > 0:
            listing = subprocess.run(["callgrind_annotate", "--auto=no", profile], check=True, text=True,
                                     stdout=subprocess.PIPE)
            lines = [line for line in listing.stdout.splitlines() if "%)" in line and "PROGRAM" not in line][:top]
        return int(total.split()[1]) / TIMES, lines


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--top", type=int, default=0, metavar="N")
    arguments = parser.parse_args()
    for step, what in STEPS.items():
        instructions, lines = count(arguments.build.resolve(), step, arguments.top)
        print(f"{what}: {instructions:.0f}", *lines, sep="\n  ")
    return 0


if __name__ == "__main__":
    sys.exit(main())
