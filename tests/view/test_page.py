#!/usr/bin/python3
"""Usage: test_page.py BUILD_DIR

The page of krx-sim --view: who gets what over HTTP, then what a person sees and hears of it in a headless Chromium while
the camera is driven through the real plug-in. Ends with status 77, skipped, where there is no Chromium.
"""
import http.client
import importlib.util
import pathlib
import re
import socket
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent.parent / "tools"))
import page_driver  # noqa: E402
from page_driver import Browser, Camera, wait_for  # noqa: E402

BUILD = pathlib.Path(sys.argv.pop(1)).resolve()

# The picture in the page as 96 by 54 pixels: mean brightness and colour, and a text by which to tell two apart.
LOOK = """(() => {
  const picture = document.getElementById("picture");
  if (!picture?.naturalWidth) return {bright: -1, colour: 0, blue: 0, number: 0, alt: ""};
  const canvas = document.createElement("canvas");
  [canvas.width, canvas.height] = [96, 54];
  const context = canvas.getContext("2d");
  context.drawImage(picture, 0, 0, 96, 54);
  const data = context.getImageData(0, 0, 96, 54).data;
  let [bright, colour, blue] = [0, 0, 0];
  for (let i = 0; i < data.length; i += 4) {
    bright += data[i + 1];
    blue += data[i + 2] - data[i];
    colour += Math.abs(data[i] - data[i + 1]) + Math.abs(data[i + 2] - data[i + 1]);
  }
  const share = 4 / data.length;
  return {bright: bright * share, colour: colour * share, blue: blue * share, number: +picture.dataset.number, alt: picture.alt};
})()"""


def ask(camera, method, path, body=None, **headers):
    connection = http.client.HTTPConnection(camera.address.removeprefix("http://"), timeout=page_driver.PATIENCE)
    connection.request(method, path, body, headers)
    answer = connection.getresponse()
    text = answer.read()
    connection.close()
    return answer, text


def drawn(camera):
    """The number of the picture that was drawn last."""
    return int(ask(camera, "GET", "/picture")[0].getheader("X-Picture"))


def drawn_at_rest(camera):
    """The same, once the automatic exposure has nothing more to do."""
    wait_for("the automatic exposure", lambda: len({drawn(camera) for _ in range(6)}) == 1)
    return drawn(camera)


def has_room(camera):
    """Whether it takes another connection."""
    try:
        return ask(camera, "GET", "/")[0].status == 200
    except ConnectionError:
        return False


class Served(unittest.TestCase):
    def silent(self, camera):
        """A connection that asks for nothing."""
        host, port = camera.address.removeprefix("http://").rstrip("/").split(":")
        return self.enterContext(socket.create_connection((host, int(port)), page_driver.PATIENCE))

    def test_who_gets_what(self):
        with Camera(BUILD, "--view-controls") as camera:
            held = [self.silent(camera) for _ in range(64)]
            self.assertEqual(self.silent(camera).recv(1), b"")
            for each in held[1:]:
                each.close()
            wait_for("room for another", lambda: has_room(camera))
            # Only its own page gives commands.
            own = {"Origin": camera.address}
            light = "set scene-light 9"
            cases = [
                ("GET", "/", None, {}, 200), ("GET", "/nothing", None, {}, 404), ("DELETE", "/", None, {}, 405),
                ("GET", "/command", None, own, 405), ("POST", "/picture", "", own, 405),
                ("GET", "/", None, {"Host": "localhost:1"}, 200), ("GET", "/", None, {"Host": "elsewhere.example"}, 403),
                ("GET", "/picture", None, {"Host": "127.0.0.1.elsewhere.example"}, 403),
                ("POST", "/command", light, {}, 403), ("POST", "/command", light, {"Origin": "null"}, 403),
                ("POST", "/command", light, {"Origin": "http://elsewhere.example"}, 403),
                ("POST", "/command", light, {"Origin": "http://rebound.example", "Host": "rebound.example"}, 403),
                ("POST", "/command", light, own, 200), ("POST", "/command", "fault nonsense", own, 400),
                ("POST", "/command", "set scene-light 9\nclear", own, 400), ("POST", "/command", "s" * 300, own, 400)]
            for method, path, body, headers, status in cases:
                self.assertEqual(ask(camera, method, path, body, **headers)[0].status, status, (method, path, body, headers))
            # What no command needs is not kept.
            self.assertEqual(ask(camera, "POST", "/command", b"s" * 100_000_000, **own)[0].status, 400)
            process = pathlib.Path(f"/proc/{camera.running[1].pid}")
            if not re.search("lib[at]san", (process / "maps").read_text(encoding="utf-8")):  # which keep all for long
                status = (process / "status").read_text(encoding="utf-8")
                self.assertLess(int(re.search(r"VmHWM:\s+(\d+)", status)[1]), 80_000)
            # Nothing is computed while nothing changes.
            drawn_at_rest(camera)
            first = ask(camera, "GET", "/picture")
            self.assertTrue(first[1].startswith(b"\xff\xd8") and first[1].endswith(b"\xff\xd9"))
            self.assertEqual(drawn(camera), int(first[0].getheader("X-Picture")))
            camera.simulator("set pan 20")
            after = ask(camera, "GET", f"/picture?after={first[0].getheader('X-Picture')}")
            self.assertEqual(int(after[0].getheader("X-Picture")), int(first[0].getheader("X-Picture")) + 1)
            self.assertNotEqual(after[1], first[1])
            taken = subprocess.run([BUILD / "sim/krx-sim", "--board", camera.folder / "second", "--view",
                                    camera.address.removeprefix("http://")], text=True, capture_output=True,
                                   env=camera.environment, timeout=page_driver.PATIENCE, check=False)
            self.assertEqual(taken.returncode, 1)
            self.assertRegex(taken.stderr, r"krx-sim: Cannot show the picture on 127\.0\.0\.1:\d+: .*in use")
            self.assertEqual(held[0].recv(1), b"")  # given up by now, or soon


@unittest.skipUnless(page_driver.find() and importlib.util.find_spec("websocket"), "no Chromium, or no python3-websocket")
class Seen(unittest.TestCase):
    def setUp(self):
        self.camera = self.enterContext(Camera(BUILD))
        self.browser = self.enterContext(Browser(self.camera.address))
        self.look(lambda seen: seen["bright"] > 20)

    def look(self, is_right):
        """Waits for a picture that is right, and gives it."""
        seen = {}

        def right():
            seen.update(self.browser.value(LOOK))
            return is_right(seen)
        try:
            wait_for("the picture", right)
        except TimeoutError:
            self.fail(f"the picture stays {seen}")
        return seen

    def look_at_rest(self):
        """The picture that was drawn last, in the page: words may be there before the picture they belong to."""
        number = drawn_at_rest(self.camera)
        return self.look(lambda seen: seen["number"] == number)

    def text(self, element):
        return self.browser.value(f"document.getElementById('{element}').textContent")

    def test_pictures_follow_the_camera(self):
        ptzctl = self.camera.ptzctl
        self.look(lambda seen: seen["colour"] > 5)
        first = self.look_at_rest()
        ptzctl("move", "pan=40", "zoom=2000", "--wait")
        self.look(lambda seen: "40 degrees to the right" in seen["alt"])
        moved = self.look_at_rest()
        self.assertGreater(moved["number"], first["number"])
        self.assertGreater(abs(moved["bright"] - first["bright"]) + abs(moved["blue"] - first["blue"]), 1)
        wait_for("the words", lambda: "40 degrees to the right" in self.text("announce"))
        self.assertEqual(self.text("pan"), "40.00°")
        self.assertIn("40 degrees of pan", self.browser.value("document.getElementById('top').getAttribute('aria-label')"))
        self.assertIn("Pan position 40000", self.text("records"))
        ptzctl("params", "set", "ImageSource.WhiteBalance", "manual")
        ptzctl("params", "set", "ImageSource.RedBalance", "20")
        self.look(lambda seen: seen["blue"] > moved["blue"] + 15)
        ptzctl("params", "set", "ImageSource.WhiteBalance", "auto")
        ptzctl("mode", "iris", "manual")
        ptzctl("move", "iris=2600", "--wait")
        self.look(lambda seen: seen["bright"] < moved["bright"] / 2)
        ptzctl("mode", "iris", "auto")
        self.look(lambda seen: seen["bright"] > moved["bright"] * 0.8)
        ptzctl("params", "set", "ImageSource.IrCutFilter", "no")
        self.look(lambda seen: seen["colour"] < 2 and "grey" in seen["alt"])
        ptzctl("params", "set", "ImageSource.IrCutFilter", "yes")
        # Frozen while it moves, and live again where it stands.
        self.look(lambda seen: seen["colour"] > 5)
        ptzctl("params", "set", "UserAdv.CamImageFreeze", "on")
        self.camera.simulator("fault stall pan")
        kept = self.look_at_rest()["number"]
        ptzctl("move", "pan=41", "tilt=20")
        frozen = self.look(lambda seen: "Frozen" in seen["alt"] and "20 degrees up" in seen["alt"])
        self.assertEqual(frozen["number"], kept)
        self.camera.simulator("clear faults")
        self.look(lambda seen: seen["number"] > frozen["number"] and "Frozen" not in seen["alt"])
        self.camera.simulator("fault power-loss")
        self.look(lambda seen: seen["bright"] == 0 and seen["alt"] == "Black: the camera block is off.")

    def test_keys_and_controls(self):
        value = self.browser.value
        pressed = "document.getElementById('{}').getAttribute('aria-pressed')"
        for key, button in (("p", "pause"), ("f", "large")):
            for state in ("true", "false"):
                self.browser.key(key, ord(key.upper()))
                self.assertEqual(value(pressed.format(button)), state)
        reached = set()
        for _ in range(8):
            self.browser.key("Tab", 9)
            reached.add(value("document.activeElement.id || document.activeElement.className"))
        self.assertLessEqual({"skip", "pause", "large", "say", "records"}, reached)
        self.assertTrue(value("document.getElementById('controls').hidden"))
        self.assertEqual(value("fetch('/command', {method: 'POST', body: 'fault reboot'}).then(answer => answer.status)"), 403)
        # Nothing without a name: buttons, inputs, drawings, the picture.
        self.assertEqual(value("[...document.querySelectorAll('button,[role=img],img')].filter(each => !(each.textContent"
                               ".trim() || each.alt || each.getAttribute('aria-label'))).length"), 0)


if __name__ == "__main__":
    ran = unittest.main(exit=False, verbosity=2).result
    sys.exit(1 if not ran.wasSuccessful() else 77 if ran.skipped else 0)
