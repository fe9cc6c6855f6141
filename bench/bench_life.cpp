// A camera's life with the waits left out: start-up, parameters, polls and a firmware upgrade on a simulated board in
// this process, whose time is virtual.
#include "bench/samples.h"
#include "bench/virtual_camera.h"
#include "bench/wire.h"
#include "driver/operations.h"
#include "driver/params.h"
#include "hw/fw_upgrade.h"
#include "sim/image.h"
#include "utils/publish.h"
#include "utils/status.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <malloc.h>
#include <unistd.h>

namespace {

constexpr std::size_t IMAGE_SIZE = 4 * 1024 * 1024;
constexpr std::size_t CHUNK_SIZE = 1016;
constexpr std::size_t SURROUNDINGS = 8; // exchanges before and after the chunks
constexpr int POLLS = 100000;
constexpr int CHANGES = 10000;

long resident_kb()
{
    long total = 0, resident = 0;
    std::FILE *file = std::fopen("/proc/self/statm", "re");
    if (file == nullptr || std::fscanf(file, "%ld %ld", &total, &resident) != 2)
        resident = 0;
    if (file != nullptr)
        std::fclose(file);
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

void cold_start(benchmark::State &state)
{
    VirtualCamera camera;
    Samples samples(state.max_iterations);
    std::int64_t bursts = 0;
    for (auto _ : state) {
        camera.renew_driver();
        const std::int64_t bursts_before = wire_meter().bursts;
        const std::int64_t began = monotonic_ns();
        if (!camera.open())
            state.SkipWithError("the camera does not start");
        samples.add(monotonic_ns() - began);
        bursts = wire_meter().bursts - bursts_before;
    }
    state.counters["median_ms"] = samples.median_us() / 1e3;
    state.counters["bursts"] = static_cast<double>(bursts);
}
BENCHMARK(cold_start)->Iterations(20)->UseRealTime();

void apply_all_parameters(benchmark::State &state)
{
    VirtualCamera camera;
    if (!camera.open())
        return state.SkipWithError("the camera does not start");
    Life::stop(camera.driver()); // as during start-up
    std::int64_t bursts = 0;
    for (auto _ : state) {
        const std::int64_t before = wire_meter().bursts;
        if (!ptz_driver_canon_apply_params(camera.driver()))
            state.SkipWithError("a parameter is refused");
        bursts = wire_meter().bursts - before;
    }
    state.counters["bursts"] = static_cast<double>(bursts);
}
BENCHMARK(apply_all_parameters)->UseRealTime();

void parameter_changes(benchmark::State &state)
{
    VirtualCamera camera;
    if (!camera.open())
        return state.SkipWithError("the camera does not start");
    const auto change = [&camera](int times) {
        static constexpr const char *NAMES[] = {"Sharpness", "WhiteBalance", "MaxGain", "Exposure", "ColorHue"};
        for (int i = 0; i < times; ++i)
            ptz_driver_canon_op_imagesource_changed(ptz_driver_of(camera.driver()), NAMES[i % 5]);
    };
    change(CHANGES);
    camera.forget_packets();
    std::size_t growth = 0;
    for (auto _ : state) {
        const std::size_t before = mallinfo2().uordblks;
        change(CHANGES);
        camera.forget_packets();
        growth = mallinfo2().uordblks - before;
    }
    state.counters["heap_bytes"] = static_cast<double>(static_cast<std::int64_t>(growth));
}
BENCHMARK(parameter_changes)->Iterations(1)->UseRealTime();

void polls(benchmark::State &state)
{
    VirtualCamera camera;
    if (!camera.open())
        return state.SkipWithError("the camera does not start");
    const auto poll = [&camera](int times) {
        for (int i = 0; i < times; ++i) {
            ptz_driver_canon_cmd_update_status(camera.driver());
            ptz_driver_canon_utils_status_job(camera.driver());
        }
    };
    poll(POLLS / 10);
    camera.forget_packets();
    long growth = 0;
    for (auto _ : state) {
        const long before = resident_kb();
        poll(POLLS);
        camera.forget_packets();
        growth = resident_kb() - before;
    }
    state.counters["resident_kb"] = static_cast<double>(growth);
}
BENCHMARK(polls)->Iterations(1)->UseRealTime();

void firmware_upgrade(benchmark::State &state)
{
    VirtualCamera camera;
    if (!camera.open())
        return state.SkipWithError("the camera does not start");
    const std::vector<std::uint8_t> image = sim::make_image(0x02000000, IMAGE_SIZE);
    std::int64_t bursts = 0;
    for (auto _ : state) {
        const std::int64_t before = wire_meter().bursts;
        if (!ptz_driver_canon_fw_upgrade(image.data(), image.size()))
            state.SkipWithError("the image is not taken");
        bursts = wire_meter().bursts - before;
    }
    state.counters["bursts"] = static_cast<double>(bursts);
    state.counters["least"] = static_cast<double>((IMAGE_SIZE + CHUNK_SIZE - 1) / CHUNK_SIZE + SURROUNDINGS);
}
BENCHMARK(firmware_upgrade)->Iterations(1)->UseRealTime();

} // namespace
