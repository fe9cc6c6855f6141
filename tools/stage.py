"""A bus of its own, a simulated camera, ptzd and whoever else is looked at, as programs of a build."""
import os
import pathlib
import signal
import subprocess
import time

BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path={folder}/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default"><allow send_destination="*"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>
"""


class Stage:
    """The programs, with their output in the folder; all are ended, ptzd first, at the end of a with block."""

    def __init__(self, build, folder, time_scale=None):
        self.build, self.folder, self.running = build, folder, []
        self.address = None  # of the page of a board that has one
        board = folder / "board"
        self.environment = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=f"unix:path={folder}/bus", PTZ_DATA_DIR=str(board),
                                PTZ_BOARD=str(board))
        self.environment.pop("PTZ_TIME_SCALE", None)
        if time_scale is not None:
            self.environment["PTZ_TIME_SCALE"] = str(time_scale)

    def __enter__(self):
        (self.folder / "bus.conf").write_text(BUS_CONFIG.format(folder=self.folder), encoding="ascii")
        bus = self.start("dbus-daemon", f"--config-file={self.folder}/bus.conf", "--nofork", "--nopidfile",
                         "--print-address=1")
        bus.stdout.readline()
        return self

    def start(self, program, *words):
        """The running program of the machine, or of the build; its messages go to NAME.log."""
        name = pathlib.Path(program).name
        command = self.build / program if "/" in program else program
        with open(self.folder / f"{name}.log", "w", encoding="utf-8") as errors:
            process = subprocess.Popen([command, *words], env=self.environment, stdout=subprocess.PIPE, stderr=errors,
                                       text=True)
        self.running.append(process)
        return process

    def start_board(self, *words):
        """A simulated board, ready; with "--view" its page is at `address`."""
        simulator = self.start("sim/krx-sim", "--board", self.folder / "board", "--quiet", *words)
        for line in simulator.stdout:
            if line == "ready\n":
                return simulator
            self.address = line.removeprefix("view ").rstrip("/\n")
        raise RuntimeError("krx-sim does not start: " + (self.folder / "krx-sim.log").read_text())

    def start_ptzd(self, **variables):
        """A ptzd that starts the camera up, with further variables of the environment."""
        self.environment.update(variables)
        plugin = self.build / "driver/plugin/libptz_driver_canon.so"
        ptzd = self.start("platform/ptzorvel/ptzd/ptzd", "--plugin", plugin)
        for name in variables:
            del self.environment[name]
        return ptzd

    def start_camera(self):
        """A ptzd whose camera runs."""
        self.start_board()
        ptzd = self.start_ptzd()
        self.wait_running()
        return ptzd

    def wait_running(self):
        """Until the camera runs."""
        self.ptzctl("state", "--wait", "1", "--within", "60")

    def ptzctl(self, *words):
        """Runs ptzctl."""
        self.run("tools/ptzctl/ptzctl", *words)

    def run(self, program, *words):
        """What a program of the build prints."""
        return subprocess.run([self.build / program, *words], env=self.environment, check=True, stdout=subprocess.PIPE,
                              text=True, timeout=300).stdout

    def ask_to_end(self):
        """Tells the last program to end; __exit__ waits for all."""
        self.running[-1].send_signal(signal.SIGTERM)

    def __exit__(self, *_):
        for process in reversed(self.running):
            end(process)


def end(process):
    """Asks it to end, and sees that it does."""
    process.terminate()
    try:
        process.wait(timeout=60)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
    if process.stdout:
        process.stdout.close()


def memory_mb(pid, kind):
    """Its memory: "Rss", resident, or "Pss", where what several processes share counts a part for each."""
    for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii").splitlines():
        if line.startswith(kind + ":"):
            return int(line.split()[1]) / 1024
    raise RuntimeError(f"there is no {kind} memory")


def processor_seconds(pid):
    """Processor time that all its threads have used."""
    return time.clock_gettime((~pid << 3) | 2)  # the kernel's number for that clock
