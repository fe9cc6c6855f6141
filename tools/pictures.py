#!/usr/bin/python3
"""Usage: tools/pictures.py BUILD_DIR

Makes the pictures in docs/pictures from the page of a running camera, by a headless Chromium.
"""
import pathlib
import sys
import tempfile
import time

from page_driver import Browser, Camera, wait_for

# Four pictures beside each other: what is done before each.
LOOKS = [
    ["set scene-light 0", "set pan -33", "set tilt 2", "set zoom 1"],
    ["set scene-light 9", "set pan 18.5", "set tilt -3", "set zoom 8"],
    ["set pan -20", "set tilt 1", "set zoom 2", "set focus 1700"],
    ["set focus 1400", "set scene-light 13", "set pan 105", "set tilt 3", "set zoom 1.4"],
]
SHEET = "<style>body{{margin:0;display:grid;grid-template-columns:1fr 1fr;gap:8px;background:#fff}}img{{width:100%}}</style>{}"


def settled(camera):
    """The picture when it no longer changes."""
    last = [None]

    def same():
        now = camera.picture()
        last[0], before = now, last[0]
        return before == now
    wait_for("a picture that stands", lambda: time.sleep(0.5) or same())
    return last[0]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    pictures = pathlib.Path(__file__).parent.parent / "docs/pictures"
    pictures.mkdir(exist_ok=True)
    with Camera(sys.argv[1], "--view-controls") as camera:
        with Browser(camera.address, 1400, 1230) as browser:
            camera.ptzctl("move", "pan=5", "tilt=3", "zoom=100", "--wait")
            camera.simulator("set scene-light 9")
            settled(camera)
            time.sleep(2)
            browser.screenshot(pictures / "page.png")
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            for number, lines in enumerate(LOOKS):
                for line in lines:
                    camera.simulator(line)
                (folder / f"{number}.jpg").write_bytes(settled(camera))
            images = "".join(f"<img src='{number}.jpg'>" for number in range(len(LOOKS)))
            (folder / "sheet.html").write_text(SHEET.format(images))
            with Browser(f"file://{folder}/sheet.html", 1400, 792) as browser:
                wait_for("the sheet", lambda: browser.value(
                    "document.images.length == 4 && [...document.images].every(each => each.naturalWidth)"))
                browser.screenshot(pictures / "looks.jpg")


main()
