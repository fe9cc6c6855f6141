#!/usr/bin/python3
"""Usage: tools/wireshark-tables.py docs/protocol.md TEMPLATE

Writes the template, a dissector in Lua, with the page's command records and status fields in their places.
"""
import pathlib
import re
import sys

RECORD = re.compile(r"^\| ([^|`]+) \| `([0-9A-F]{2}(?: (?:[0-9A-F]{2}|pp|qq|rr|ss))+)` \| (.*) \|$", re.MULTILINE)
FIELD = re.compile(r"^\| (F8|E0|60|40) \| (\d+) \| (\d)( s)?(?:, bits (\d)-(\d))? \| `(\w+)` \| (.*?) ?\|$", re.MULTILINE)


def text(words):
    return '"' + words.replace("\\", "").replace("`", "").replace('"', '\\"') + '"'


def records(page):
    """The rows with parameters, and those that stand for one whole record."""
    rows, exact = [], []
    for name, pattern, parameters in RECORD.findall(page):
        head, tail = pattern.split()[:4], pattern.split()[4:]
        if tail and tail[0] not in "pp qq rr ss":
            exact.append(f'    ["{"".join(head + tail)}"] = {text(name)},')
            continue
        widths = [str(tail.count(letter)) for letter in ("pp", "qq", "rr", "ss") if letter in tail]
        rows.append(f"    [0x{''.join(head[1:])}] = {{ name = {text(name)}, widths = {{ {', '.join(widths)} }}, "
                    f"text = {text(parameters)} }},")
    return rows, exact


def fields(page):
    for block, offset, size, signed, low, high, name, meaning in FIELD.findall(page):
        bits = f"{{ {low}, {int(high) - int(low) + 1} }}" if low else "nil"
        yield (f"    {{ 0x{block}, {offset}, {size}, {'true' if signed else 'false'}, {bits}, {text(name)}, "
               f"{text(meaning)} }},")


def main():
    page, template = (pathlib.Path(name).read_text(encoding="utf-8") for name in sys.argv[1:3])
    rows, exact = records(page)
    tables = {"RECORDS": rows, "EXACT": exact, "FIELDS": list(fields(page))}
    for name, lines in tables.items():
        if not lines:
            sys.exit(f"wireshark-tables: nothing for {name} on the page; has it changed its form?")
        template = template.replace(f"@{name}@", "\n".join(lines))
    sys.stdout.write(template)


main()
