// Whole absolute moves of zoom, pan and tilt, from the framework's call to its return.
#include "bench/camera.h"
#include "bench/samples.h"
#include "bench/wire.h"

#include <benchmark/benchmark.h>

namespace {

void measure_moves(benchmark::State &state, Wire wire)
{
    PTZDriverCanon *driver = camera_driver(wire);
    if (driver == nullptr)
        return state.SkipWithError("no camera");
    const int messages = camera_messages();
    Samples whole(state.max_iterations);   // the move
    Samples outside(state.max_iterations); // its time outside the calls to the SPI device
    const WireMeter start = wire_meter();
    bool there = false;
    for (auto _ : state) {
        there = !there;
        const std::int64_t began = monotonic_ns();
        const std::int64_t calls_before = wire_meter().call_ns;
        if (!camera_move(driver, there))
            state.SkipWithError("a move failed");
        const std::int64_t elapsed = monotonic_ns() - began;
        whole.add(elapsed);
        outside.add(elapsed - (wire_meter().call_ns - calls_before));
    }
    if (camera_messages() != messages)
        return state.SkipWithError("the driver complained");
    const WireMeter end = wire_meter();
    const auto moves = static_cast<double>(state.iterations());
    const double wire_us = static_cast<double>(end.wire_ns - start.wire_ns) / moves / 1e3;
    state.counters["bursts"] = static_cast<double>(end.bursts - start.bursts) / moves;
    state.counters["median_us"] = whole.median_us();
    state.counters["outside_us"] = outside.median_us();
    if (wire == Wire::at_once)
        return;
    state.counters["wire_us"] = wire_us;
    state.counters["wire_percent"] = 100.0 * wire_us / whole.median_us();
    state.counters["device_percent"] = 100.0 * (1.0 - outside.median_us() / whole.median_us());
}

void move_zoom_pan_tilt(benchmark::State &state)
{
    measure_moves(state, Wire::at_once);
}
BENCHMARK(move_zoom_pan_tilt)->UseRealTime()->Unit(benchmark::kMicrosecond);

void move_zoom_pan_tilt_on_real_wire(benchmark::State &state)
{
    measure_moves(state, Wire::real_time);
}
BENCHMARK(move_zoom_pan_tilt_on_real_wire)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace
