#!/usr/bin/python3
"""Usage: tools/check-lists.py [ROOT]

Some things stand in several lists that no compiler holds together: a method of the bus has a handler and a line of the
policy, an option is in the manual. Fails when a list names something that the first list of its kind
lacks, or the other way round; and when a page names a file that is not there.
"""
import pathlib
import re
import sys
from typing import NamedTuple


class Names(NamedTuple):
    """What `pattern` finds in files, or in the part of them that `within` finds; without it the files' names."""

    files: str
    pattern: str | None
    within: str | None = None


def declared_outside(room, prefix):
    """Functions with the prefix that headers of the product's other rooms declare."""
    rooms = [each for each in ("core", "vcc", "port", "utils", "hw", "cmd", "driver") if each != room]
    return Names(" ".join(f"{each}/*.h" for each in rooms), rf"^\w[^\n(/]*?\b({prefix}\w+)\(")


# The first list of each row is where the thing itself is; the others must have the same names.
LISTS = {
    "method of the bus": [
        Names("data/com.orna.PTZ.xml", r'<method name="(\w+)"'),
        Names("platform/ptzorvel/ptzd/face.cpp", r'\{"(\w+)", call_'),
        Names("data/dbus/com.orna.PTZ.conf", r'send_interface="com\.orna\.PTZ" send_member="(\w+)"'),
        Names("docs/rights.md", r"^\| `com\.orna\.PTZ\.(\w+)`"),
    ],
    "method of the presets": [
        Names("data/com.orna.PTZ.Presets.xml", r'<method name="(\w+)"'),
        Names("platform/ptzorvel/ptzd/presets_face.cpp", r'\{"(\w+)", preset_'),
        Names("data/dbus/com.orna.PTZ.conf", r'send_interface="com\.orna\.PTZ\.Presets" send_member="(\w+)"'),
        Names("docs/rights.md", r"^\| `com\.orna\.PTZ com\.orna\.PTZ\.Presets\.(\w+)`"),
    ],
    **{
        f"option of {program}": [
            Names(source, r'^ +\{"([a-z-]+)", (?:\'.\'|0), '),
            Names(f"data/man/{program}.{section}", r"--([a-z-]+)", r"\.SH OPTIONS(.*?)\n\.(?:PP|SH)"),
        ]
        for program, source, section in (
            ("krx-sim", "sim/options.cpp", 1),
            ("krx-image", "sim/image_main.cpp", 1),
            ("ptzd", "platform/ptzorvel/ptzd/main.cpp", 8),
        )
    },
    "image-source parameter": [
        Names("driver/imagesource.cpp", r'"(\w+)"', r'\[\] = \{((?:\s*"\w+",)+\s*nullptr,)'),
        Names("platform/ptzorvel/driver/imaging_params.cpp", r'^    (?:number|level|choice)\("(\w+)"'),
        Names("docs/parameters.md", r"^\| `(\w+)`", r"\n## ImageSource\n(.*?)\n## "),
    ],
    "key of krx_driver.conf": [
        Names("driver/config.cpp", r'^    \{"(\w+)", Kind::'),
        Names("docs/configuration.md", r"^\| `(\w+)`", r"\n## krx_driver\.conf\n(.*?)\n## "),
        Names("data/conf/krx_driver.conf", r"^#?(\w+)="),
    ],
    "key of krx_port.conf": [
        Names("port/config.cpp", r'(?:group|PORTS_GROUP), "(\w+)"'),
        Names("driver/config_check.cpp", r'^        \{"(\w+)", (?:integer|boolean|text|pin),'),
        Names("docs/configuration.md", r"^\| `(\w+)`", r"\n## krx_port\.conf\n(.*)"),
        Names("data/conf/krx_port.conf", r"^#?(\w+)="),
    ],
    "status field": [
        Names("vcc/status.h", r"\bvccif_get_(\w+)\(\)\n\{"),
        Names("docs/protocol.md", r"^\| (?:F8|E0|60|40) \| .*? \| `(\w+)` \|"),
    ],
    "operation of utils/ elsewhere": [
        declared_outside("utils", "ptz_driver_canon_utils_"),
        Names("docs/architecture.md", r"`(ptz_driver_canon_utils_\w+)`"),
    ],
    "operation of cmd/ elsewhere": [
        declared_outside("cmd", "ptz_driver_canon_cmd_"),
        Names("docs/architecture.md", r"`(ptz_driver_canon_cmd_\w+)`"),
    ],
    "operation of vcc/ elsewhere": [
        declared_outside("vcc", "vccif_"),
        Names("docs/architecture.md", r"`(vccif_\w+)`"),
    ],
    "page": [
        Names("docs/*.md", None),
        Names("README.md", r"\(docs/([\w.]+)\)"),
    ],
}

PAGES = "*.md docs/*.md sim/*.md platform/*/*.md"
PATH_IN_PAGE = r"`((?:core|vcc|port|utils|hw|cmd|driver|platform|sim|tools|data|tests|bench|docs)/[\w./*-]*)`"


def files_of(root, globs):
    return [path for glob in globs.split() for path in sorted(root.glob(glob))]


def names_of(root, where):
    files = files_of(root, where.files)
    if where.pattern is None:
        return {path.name for path in files}
    found = set()
    for path in files:
        text = path.read_text(encoding="utf-8").replace("\\-", "-")  # roff's hyphen
        parts = re.findall(where.within, text, re.DOTALL) if where.within else [text]
        for part in parts:
            found |= set(re.findall(where.pattern, part, re.MULTILINE))
    return found


def differing_lists(root):
    for kind, (first, *others) in LISTS.items():
        names = names_of(root, first)
        if not names:
            yield f"{first.files}: no {kind} found; has it moved?"
        for other in others:
            there = names_of(root, other)
            for name in sorted(names - there):
                yield f"{other.files}: lacks the {kind} {name}"
            for name in sorted(there - names):
                yield f"{other.files}: names the {kind} {name}, which {first.files} does not have"


def missing_files(root):
    for page in files_of(root, PAGES):
        for name in re.findall(PATH_IN_PAGE, page.read_text(encoding="utf-8")):
            if not any(root.glob(name)) and not any(page.parent.glob(name)):
                yield f"{page.relative_to(root)}: names {name}, which is not there"


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent).resolve()
    problems = [*differing_lists(root), *missing_files(root)]
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


main()
