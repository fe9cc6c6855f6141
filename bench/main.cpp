// ptz_bench: the benchmarks; takes the options of Google Benchmark (--help).
#include "bench/camera.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

int main(int argc, char **argv)
{
    // GLib reads this before main(): its small pieces then come from malloc one by one, where they are counted.
    if (std::getenv("G_SLICE") == nullptr) {
        setenv("G_SLICE", "always-malloc", 1);
        execv("/proc/self/exe", argv);
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    benchmark::AddCustomContext("built_with", BUILT_WITH);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (camera_put_away())
        return 0;
    std::fputs("ptz_bench: the simulator ended with an error or counted an offence.\n", stderr);
    return 1;
}
