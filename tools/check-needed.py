#!/usr/bin/python3
"""Usage: tools/check-needed.py PLUGIN LIST [--update]

A board loads the plug-in against its own libraries: it may need those that LIST names, and of each the symbols that
stand below it, no others. Names what is too much. With --update, writes LIST anew from the libraries that the plug-in
was linked with; look at the difference before you keep it.
"""
import pathlib
import re
import subprocess
import sys

HEAD = """# What the plug-in needs of a board: each library, and the symbols that it takes from it.
# A symbol more is a symbol that every board must have: think first, then tools/check-needed.py PLUGIN LIST --update.
"""


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def needed(file, wanted):
    """Libraries by the names that a board has; the version of a stand-in's is left out."""
    for name in re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "-dW", file)):
        plain = name.removesuffix(".1")
        yield plain if plain in wanted else name


# What the compiler itself takes of its runtime, on some machines.
RUNTIME = re.compile(r"__aeabi_\w+|__cxa_end_cleanup|__getauxval")


def symbols(file, *options):
    """Symbols without the versions that the C library gives them; weak ones may be missing and do not count."""
    for line in run("nm", "-D", *options, file).splitlines():
        kind, name = line.split()[-2:]
        if kind != "w" and not RUNTIME.match(name):
            # Sizes are of another type where addresses have 32 bits.
            yield re.sub(r"^(_Zn[wa]|_Zd[la]Pv)j", r"\1m", name.split("@")[0])


def read(path):
    wanted = {}
    library = None
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.startswith("["):
            library = wanted.setdefault(line.strip("[]"), set())
        elif line and not line.startswith("#"):
            library.add(line.strip())
    return wanted


def paths(plugin):
    for line in run("ldd", plugin).splitlines():
        match = re.match(r"\s*(\S+) => (/\S+)", line)
        if match:
            yield match.group(1), match.group(2)
            yield match.group(1).removesuffix(".1"), match.group(2)


def update(plugin, path):
    found = dict(paths(plugin))
    left = set(symbols(plugin, "--undefined-only"))
    text = HEAD
    for library in sorted(needed(plugin, read(path))):
        taken = left & set(symbols(found[library], "--defined-only"))
        left -= taken
        text += "\n[" + library + "]\n" + "".join(name + "\n" for name in sorted(taken))
    path.write_text(text, encoding="utf-8")
    return left


def main():
    plugin, path = sys.argv[1], pathlib.Path(sys.argv[2])
    if "--update" in sys.argv[3:]:
        sys.exit("nobody defines " + ", ".join(sorted(left)) if (left := update(plugin, path)) else 0)
    wanted = read(path)
    problems = [f"needs the library {library}" for library in needed(plugin, wanted) if library not in wanted]
    known = set().union(*wanted.values())
    problems += [f"needs the symbol {name}" for name in sorted(set(symbols(plugin, "--undefined-only")) - known)]
    for problem in problems:
        print(f"{plugin} {problem}, which a board need not have ({path})")
    sys.exit(1 if problems else 0)


main()
