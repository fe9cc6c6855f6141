// What a host process sees of the GPIO lines, from whatever library: linked into the host (ugpio_watch_dep), the
// functions in watch.cpp stand ahead of libugpio.so, hand every call on to it, and tell a watcher of levels.
#pragma once

// A line by its name, or by its number where it has none: driven by the host, or seen by it when that is another level
// than it saw last. On the thread that made the call, right after it. A line whose level the host has not read yet is
// told of at the first look.
using UgpioWatcher = void (*)(const char *line, bool by_host, bool high);

// Null: nobody is told. What was seen before does not count.
void ugpio_watch(UgpioWatcher watcher);
