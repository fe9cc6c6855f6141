// Exchanges with the simulated camera over its sockets.
#include "bench/allocations.h"
#include "bench/camera.h"
#include "bench/samples.h"
#include "bench/wire.h"
#include "port/spi_port.h"
#include "utils/publish.h"
#include "utils/status.h"

#include <array>
#include <benchmark/benchmark.h>

namespace {

constexpr int WARM_UP = 100;

// Times each run of `step`, which returns false when it failed.
template <typename Step>
void measure_each(benchmark::State &state, Step step)
{
    PTZDriverCanon *driver = camera_driver(Wire::at_once);
    if (driver == nullptr)
        return state.SkipWithError("no camera");
    const int messages = camera_messages();
    Samples samples(state.max_iterations);
    for (auto _ : state) {
        const std::int64_t start = monotonic_ns();
        const bool good = step(driver);
        samples.add(monotonic_ns() - start);
        if (!good)
            state.SkipWithError("an exchange failed");
    }
    if (camera_messages() != messages)
        return state.SkipWithError("the driver complained");
    state.counters["median_us"] = samples.median_us();
    state.counters["p99_us"] = samples.quantile_us(0.99);
}

void link_exchange(benchmark::State &state)
{
    std::array<guint8, 1024> run;
    measure_each(state, [&](PTZDriverCanon *driver) {
        return ptz_port_canon_read_data(driver->port, run.data(), static_cast<int>(run.size()), 0, 0) > 0;
    });
}
BENCHMARK(link_exchange)->UseRealTime();

void link_refresh_with_publication(benchmark::State &state)
{
    measure_each(state, [](PTZDriverCanon *driver) { return ptz_driver_canon_cmd_update_status(driver) != FALSE; });
}
BENCHMARK(link_refresh_with_publication)->UseRealTime();

void refresh_allocations(benchmark::State &state)
{
    PTZDriverCanon *driver = camera_driver(Wire::at_once);
    if (driver == nullptr)
        return state.SkipWithError("no camera");
    allocations_start();
    g_free(g_malloc(1));
    if (allocations_stop().driver != 1)
        return state.SkipWithError("allocations are not seen");
    for (int i = 0; i < WARM_UP; ++i) {
        ptz_driver_canon_cmd_update_status(driver);
        ptz_driver_canon_utils_status_job(driver);
    }
    const int messages = camera_messages();
    Allocations total;
    for (auto _ : state) {
        allocations_start();
        ptz_driver_canon_cmd_update_status(driver);
        ptz_driver_canon_utils_status_job(driver);
        const Allocations now = allocations_stop();
        total.driver += now.driver;
        total.stand_ins += now.stand_ins;
    }
    if (camera_messages() != messages)
        return state.SkipWithError("the driver complained");
    state.counters["driver"] =
        benchmark::Counter(static_cast<double>(total.driver), benchmark::Counter::kAvgIterations);
    state.counters["stand_ins"] =
        benchmark::Counter(static_cast<double>(total.stand_ins), benchmark::Counter::kAvgIterations);
}
BENCHMARK(refresh_allocations)->Iterations(2000);

} // namespace
