// Full manual exposure: the largest payload there is, and the operation that sends it.
#include "bench/allocations.h"
#include "bench/camera.h"
#include "cmd/move_iris.h"
#include "cmd/payload.h"
#include "vcc/rows.h"
#include "vcc/shutter.h"

#include <benchmark/benchmark.h>

namespace {

void exposure_payload(benchmark::State &state)
{
    const PTZDriverCanon *driver = camera_driver(Wire::at_once);
    if (driver == nullptr)
        return state.SkipWithError("no camera");
    int percent = 0;
    for (auto _ : state) {
        percent = (percent + 7) % 100;
        CommandBuffer commands;
        commands.add(ROW_SHUTTER, vccif_exposure_time_to_vcc_shutter(driver, 100 * (percent + 1)));
        payload_add_iris(commands, payload_iris_code(driver, percent, percent));
        commands.add(ROW_GAIN, payload_gain_code(driver, percent));
        benchmark::DoNotOptimize(commands.data());
        benchmark::ClobberMemory();
        if (commands.size() != 20)
            state.SkipWithError("the payload is not whole");
    }
}
BENCHMARK(exposure_payload);

void exposure_allocations(benchmark::State &state)
{
    PTZDriverCanon *driver = camera_driver(Wire::at_once);
    if (driver == nullptr)
        return state.SkipWithError("no camera");
    ptz_driver_canon_cmd_full_manual_exposure(driver, 1); // the first one also switches to manual exposure
    const int messages = camera_messages();
    int position = 0;
    std::int64_t total = 0;
    for (auto _ : state) {
        position = position % 9999 + 1;
        allocations_start();
        if (!ptz_driver_canon_cmd_full_manual_exposure(driver, position))
            state.SkipWithError("the exposure is not taken");
        total += allocations_stop().driver;
    }
    if (camera_messages() != messages)
        return state.SkipWithError("the driver complained");
    const std::int64_t beside_packet = total - static_cast<std::int64_t>(state.iterations());
    state.counters["beside_packet"] =
        benchmark::Counter(static_cast<double>(beside_packet), benchmark::Counter::kAvgIterations);
}
BENCHMARK(exposure_allocations)->Iterations(2000);

} // namespace
