#!/usr/bin/python3
"""Usage: tools/config-pages.py PAGE FILE.conf

Makes of the table of a configuration file in docs/configuration.md its manual page, on stdout.
"""
import re
import sys
import textwrap

ROW = re.compile(r"^\| `(\w+)` \| (.*?) \| (.*?) \| `(.*?)` \| (.*) \|$", re.MULTILINE)
WIDTH = 78


def plain(text):
    """Markdown's words without its marks."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", text)
    text = text.replace("`", "").replace("\\|", "|").replace("*", "")
    return re.sub(r" \([\w/]+\.(?:md|cpp)\)", "", text)


def section(page, name):
    """What stands before the table, and its rows."""
    found = re.search(rf"^## {re.escape(name)}\n\n(.*?)\n\n(\|.*?)(?:\n\n|\Z)", page, re.MULTILINE | re.DOTALL)
    if found is None:
        sys.exit(f"config-pages: no table of {name}")
    rows = [tuple(plain(cell) for cell in row.groups()) for row in ROW.finditer(found[2])]
    return plain(found[1]), rows


def escaped(text):
    text = textwrap.fill(text, WIDTH, break_on_hyphens=False).replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"^([.'])", r"\\&\1", text, flags=re.MULTILINE)


def manual(name, intro, rows):
    what = "hardware and features of the camera driver" if name == "krx_driver.conf" else "ports to the camera block"
    print(f'.TH {name.upper()} 5 2026-11-23 "ptz-camera-block" "File Formats"')
    print(f".SH NAME\n{escaped(name)} \\- {what}")
    print(f".SH SYNOPSIS\n.I /usr/share/ptz/{name}")
    print(f".SH DESCRIPTION\nA key file of GLib: groups, keys with values, and comments that begin with #.\n{escaped(intro)}")
    print(".PP\n.B ptzd \\-\\-check\nsays what is wrong in it.\n.SH KEYS")
    for key, kind, default, example, text in rows:
        kind += ", " + ("" if default == "required" else "default ") + default
        print(f".TP\n.B {key}\n{escaped(f'{kind}: {text}.')}")
        print(f"Example: {escaped(example)}")
    other = "krx_port.conf" if name == "krx_driver.conf" else "krx_driver.conf"
    print(f".SH SEE ALSO\n.BR ptzd (8),\n.BR {escaped(other)} (5)")


def main():
    page, name = sys.argv[1:]
    with open(page, encoding="utf-8") as file:
        manual(name, *section(file.read(), name))


main()
