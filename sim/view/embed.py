#!/usr/bin/python3
"""Usage: embed.py OUTPUT FILE...

Writes a C++ header with each file's content as a constant named for it: view.css is kPage_view_css.
"""
import pathlib
import re
import sys

lines = ["#pragma once", "#include <string_view>", "namespace sim::view {"]
for path in map(pathlib.Path, sys.argv[2:]):
    data = path.read_bytes()
    octal = "".join(f"\\{byte:03o}" for byte in data)
    name = re.sub(r"\W", "_", path.name)
    lines.append(f'inline constexpr std::string_view kPage_{name}{{"{octal}", {len(data)}}};')
lines.append("} // namespace sim::view")
pathlib.Path(sys.argv[1]).write_text("\n".join(lines) + "\n")
