#!/usr/bin/python3
"""Usage: tools/check-includes.py [ROOT]

Reads every #include of the tree and fails on a door between rooms that is not open: a room may include only itself
and the rooms named for it in DOORS. Where a lower room calls a higher one all the same, the call goes through a
header named *_door.h in the lower room; each is listed in docs/architecture.md, and this check keeps the list true.
"""
import pathlib
import re
import sys

DOORS = {
    "core": {"platform"},
    "vcc": {"core", "platform"},
    "port": {"core", "platform"},
    "utils": {"port", "vcc", "core", "platform"},
    "hw": {"utils", "port", "vcc", "core", "platform"},
    "cmd": {"hw", "utils", "port", "vcc", "core", "platform"},
    "driver": {"cmd", "hw", "utils", "port", "vcc", "core", "platform"},
    "platform": set(),
    "sim": {"platform"},
    "tools": {"sim", "platform"},
    "fuzz": {"tests", "tools", "sim", "driver", "cmd", "hw", "utils", "port", "vcc", "core", "platform"},
}
# Rooms that other rooms may never include, whatever is written above: what stands outside the product.
ROOMS = set(DOORS) | {"tests", "bench", "data", "docs"}
SUFFIXES = {".c", ".cc", ".cpp", ".h", ".hpp"}
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)


def room_of(root, path):
    return path.relative_to(root).parts[0]


def target_room(root, source, name):
    """The room that an include leads to, or None when it leads out of the tree."""
    for base in (source.parent, root, root / "platform"):
        candidate = (base / name).resolve()
        if candidate.is_file() and candidate.is_relative_to(root):
            return room_of(root, candidate)
    # Not there (generated, or gone): a path that names a room still leads into that room.
    steps = [step for step in name.split("/")[:-1] if step not in ("..", ".")]
    return steps[0] if steps and steps[0] in ROOMS else None


def closed_doors(root):
    for room, open_doors in DOORS.items():
        for source in sorted((root / room).rglob("*")):
            if source.suffix not in SUFFIXES:
                continue
            text = source.read_text(encoding="utf-8", errors="replace")
            for match in INCLUDE.finditer(text):
                name = match.group(1) or match.group(2)
                target = target_room(root, source, name)
                if target is None or target == room or target in open_doors:
                    continue
                line = text.count("\n", 0, match.start()) + 1
                yield (f"{source.relative_to(root)}:{line}: {room}/ may not include \"{name}\": "
                       f"no door leads from {room}/ to {target}/")


def unlisted_doors(root):
    page = root / "docs" / "architecture.md"
    text = page.read_text(encoding="utf-8") if page.is_file() else ""
    listed = set(re.findall(r"[\w./-]+_door\.h", text))
    present = {str(path.relative_to(root)) for room in DOORS for path in (root / room).rglob("*_door.h")}
    for door in sorted(present - listed):
        yield f"{door}: an upward door that docs/architecture.md does not list"
    for door in sorted(listed - present):
        yield f"docs/architecture.md: lists the upward door {door}, which is not there"


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent).resolve()
    problems = [*closed_doors(root), *unlisted_doors(root)]
    for problem in problems:
        print(problem)
    if problems:
        print("Doors open downwards only: driver > cmd > hw > utils > {port, vcc} > core > platform. "
              "See docs/architecture.md.")
    sys.exit(1 if problems else 0)


main()
