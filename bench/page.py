"""What benchmarks write: tables between two markers of a page, and the machine that they come from."""
import os
import pathlib
import platform


def put(page, name, text):
    """Prints the text; with a page (a path) also puts it between its markers <!-- NAME --> and <!-- NAME ends -->."""
    print(text)
    if page is None:
        return
    begin, end = f"<!-- {name} -->\n", f"\n<!-- {name} ends -->"
    before, begin, rest = page.read_text(encoding="utf-8").partition(begin)
    old, end, after = rest.partition(end)
    if not begin or not end:
        raise RuntimeError(f"{page} has no place for {name}: {old[:40]}")
    page.write_text(before + begin + "\n" + text + "\n" + end + after, encoding="utf-8")


def machine():
    """Processors, memory and system, in words."""
    model = "unknown processor"
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    release = platform.freedesktop_os_release().get("PRETTY_NAME", "Linux")
    return (f"{os.cpu_count()} x {model}, {memory:.0f} GB, {release}, Linux {platform.release()}")
