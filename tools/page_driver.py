"""A simulated camera with its page, and a headless Chromium to look at it: for tests/view and tools/pictures.py."""
import base64
import itertools
import json
import pathlib
import shutil
import subprocess
import tempfile
import time
import urllib.request

import stage

PATIENCE = 60  # seconds, for whatever is waited for


def wait_for(what, condition):
    """Gives what the condition gives as soon as that is true."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.05)
    raise TimeoutError(f"{what} did not come within {PATIENCE} s")


class Camera(stage.Stage):
    """A bus, krx-sim with a page, and ptzd, in a folder of their own; to be used in a with statement."""

    def __init__(self, build, *options):
        super().__init__(pathlib.Path(build).resolve(), pathlib.Path(tempfile.mkdtemp(prefix="ptz-page.")))
        self.options = options
        self.environment["ALSA_CONFIG_PATH"] = str(pathlib.Path(__file__).parent.parent / "data/asound.conf")

    def __enter__(self):
        try:
            super().__enter__()
            self.start_board("--view", *self.options)
            self.start_ptzd()
            self.wait_running()
        except BaseException as problem:
            self.__exit__(type(problem))
            raise
        return self

    def __exit__(self, kind=None, *_):
        super().__exit__()
        log = "".join(path.read_text(errors="replace")[-4000:] for path in self.folder.glob("*.log"))
        shutil.rmtree(self.folder, ignore_errors=True)
        # A sanitizer speaks at the end.
        if kind is None and any(process.returncode for process in self.running):
            raise RuntimeError(f"a program did not end well: {log}")

    def simulator(self, line):
        """A line of the simulator's language, over the bus."""
        self.run("sim/krx-simctl", *line.split())

    def picture(self):
        """The JPEG of this moment."""
        with urllib.request.urlopen(f"{self.address}/picture", timeout=PATIENCE) as answer:
            return answer.read()


class Browser:
    """A page in a headless Chromium, driven by its DevTools; to be used in a with statement."""

    def __init__(self, address, width=1400, height=1040, dark=False):
        import websocket  # Debian's python3-websocket
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ptz-chromium."))
        self.numbers = itertools.count(1)
        self.process = subprocess.Popen(
            [find(), "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--remote-debugging-port=0", "--remote-allow-origins=*", "--disable-background-networking",
             f"--user-data-dir={self.folder}", f"--window-size={width},{height}", "about:blank"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            file = self.folder / "DevToolsActivePort"
            port = wait_for("Chromium", lambda: file.exists() and file.read_text().split("\n")[0])
            page = wait_for("Chromium's page", lambda: self.pages(port))[0]
            self.socket = websocket.create_connection(page["webSocketDebuggerUrl"], timeout=PATIENCE)
            self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                      mobile=False)
            self.call("Emulation.setEmulatedMedia", features=[
                {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])
            self.call("Page.navigate", url=address)
        except BaseException:
            self.__exit__()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        stage.end(self.process)
        shutil.rmtree(self.folder, ignore_errors=True)

    @staticmethod
    def pages(port):
        with urllib.request.urlopen(f"http://127.0.0.1:{port}/json", timeout=PATIENCE) as answer:
            return [page for page in json.load(answer) if page["type"] == "page"]

    def call(self, method, **parameters):
        number = next(self.numbers)
        self.socket.send(json.dumps({"id": number, "method": method, "params": parameters}))
        while True:
            answer = json.loads(self.socket.recv())
            if answer.get("id") == number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]

    def value(self, script):
        """What a script gives in the page; it may be a promise."""
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(f"{script}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def key(self, key, code=0):
        for kind in ("rawKeyDown", "char", "keyUp") if len(key) == 1 else ("rawKeyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, windowsVirtualKeyCode=code,
                      **({"text": key} if kind == "char" else {}))

    def screenshot(self, path):
        kind = {"format": "jpeg", "quality": 85} if pathlib.Path(path).suffix == ".jpg" else {"format": "png"}
        data = self.call("Page.captureScreenshot", **kind)["data"]
        pathlib.Path(path).write_bytes(base64.b64decode(data))


def find():
    """The Chromium of this machine; none: None."""
    return shutil.which("chromium") or shutil.which("chromium-browser")
