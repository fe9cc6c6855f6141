// A camera's life with the waits left out: start-up, parameters, polls and a firmware upgrade on a simulated board in
// this process, whose time is virtual.
#include "bench/camera.h"
#include "bench/samples.h"
#include "bench/wire.h"
#include "core/log.h"
#include "driver/operations.h"
#include "driver/params.h"
#include "driver/type.h"
#include "hw/fw_upgrade.h"
#include "port/config.h"
#include "port/settings.h"
#include "sim/board.h"
#include "sim/bus.h"
#include "sim/image.h"
#include "tests/support/virtual_clock.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/status.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

constexpr std::size_t IMAGE_SIZE = 4 * 1024 * 1024;
constexpr std::size_t CHUNK_SIZE = 1016;
constexpr std::size_t SURROUNDINGS = 8; // exchanges before and after the chunks
constexpr int POLLS = 100000;
constexpr int CHANGES = 10000;

std::string make_folder()
{
    camera_put_away(); // while the environment still names its own
    char name[] = "/tmp/ptz-bench-XXXXXX";
    const char *folder = g_mkdtemp(name);
    g_setenv("PTZ_DATA_DIR", folder, TRUE);
    g_setenv("PTZ_BOARD", folder, TRUE);
    return folder;
}

// A board and its services; a driver object on it, which is not opened yet.
class Life {
  public:
    Life()
    {
        camera_use_bus();
        log_set_sink([](int, const char *) {});
        started_ = !board_.start();
        services_ = std::make_unique<sim::Bus>(board_);
        clock_.on_advance = [this](std::int64_t us) { board_.advance(us); };
        clock_.wait_slice_us = 1000;
        renew_driver();
    }
    ~Life()
    {
        put_driver_away();
        services_.reset();
        board_.stop();
        std::filesystem::remove_all(folder_);
        log_set_sink(nullptr);
    }
    Life(const Life &) = delete;
    Life &operator=(const Life &) = delete;

    // A driver that knows nothing of the one before.
    void renew_driver()
    {
        put_driver_away();
        port_transfer_settings = {};
        ptz_port_canon_forget_config();
        vccif_clear_status();
        driver_ = ptz_driver_canon_new(1, 1);
        PTZ_DRIVER_GET_CLASS(driver_)->install_params(ptz_driver_of(driver_));
    }

    bool open()
    {
        ptz_driver_canon_op_open(ptz_driver_of(driver_));
        return started_ && driver_->driver_initialized;
    }

    PTZDriverCanon *driver() { return driver_; }

    // The board is in this process: what it keeps of the packets it heard would count as the driver's.
    void forget_packets()
    {
        board_.take_heard();
        board_.take_packets();
    }

  private:
    void put_driver_away()
    {
        if (driver_ == nullptr)
            return;
        ptz_driver_canon_op_close(ptz_driver_of(driver_));
        g_clear_object(&driver_);
    }

    std::string folder_ = make_folder();
    sim::Board board_{{.folder = folder_, .manual_time = true}};
    std::unique_ptr<sim::Bus> services_;
    VirtualClock clock_;
    PTZDriverCanon *driver_ = nullptr;
    bool started_ = false;
};

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
    Life life;
    Samples samples(state.max_iterations);
    std::int64_t bursts = 0;
    for (auto _ : state) {
        life.renew_driver();
        const std::int64_t bursts_before = wire_meter().bursts;
        const std::int64_t began = monotonic_ns();
        if (!life.open())
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
    Life life;
    if (!life.open())
        return state.SkipWithError("the camera does not start");
    ::Life::stop(life.driver()); // as during start-up
    std::int64_t bursts = 0;
    for (auto _ : state) {
        const std::int64_t before = wire_meter().bursts;
        if (!ptz_driver_canon_apply_params(life.driver()))
            state.SkipWithError("a parameter is refused");
        bursts = wire_meter().bursts - before;
    }
    state.counters["bursts"] = static_cast<double>(bursts);
}
BENCHMARK(apply_all_parameters)->UseRealTime();

void parameter_changes(benchmark::State &state)
{
    Life life;
    if (!life.open())
        return state.SkipWithError("the camera does not start");
    const auto change = [&life](int times) {
        static constexpr const char *NAMES[] = {"Sharpness", "WhiteBalance", "MaxGain", "Exposure", "ColorHue"};
        for (int i = 0; i < times; ++i)
            ptz_driver_canon_op_imagesource_changed(ptz_driver_of(life.driver()), NAMES[i % 5]);
    };
    change(CHANGES);
    life.forget_packets();
    std::size_t growth = 0;
    for (auto _ : state) {
        const std::size_t before = mallinfo2().uordblks;
        change(CHANGES);
        life.forget_packets();
        growth = mallinfo2().uordblks - before;
    }
    state.counters["heap_bytes"] = static_cast<double>(static_cast<std::int64_t>(growth));
}
BENCHMARK(parameter_changes)->Iterations(1)->UseRealTime();

void polls(benchmark::State &state)
{
    Life life;
    if (!life.open())
        return state.SkipWithError("the camera does not start");
    const auto poll = [&life](int times) {
        for (int i = 0; i < times; ++i) {
            ptz_driver_canon_cmd_update_status(life.driver());
            ptz_driver_canon_utils_status_job(life.driver());
        }
    };
    poll(POLLS / 10);
    life.forget_packets();
    long growth = 0;
    for (auto _ : state) {
        const long before = resident_kb();
        poll(POLLS);
        life.forget_packets();
        growth = resident_kb() - before;
    }
    state.counters["resident_kb"] = static_cast<double>(growth);
}
BENCHMARK(polls)->Iterations(1)->UseRealTime();

void firmware_upgrade(benchmark::State &state)
{
    Life life;
    if (!life.open())
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
