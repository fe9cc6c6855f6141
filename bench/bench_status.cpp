// A full run of the four status blocks: into the store, and what the driver derives of it.
#include "bench/camera.h"
#include "port/spi_port.h"
#include "utils/status.h"

#include <array>
#include <benchmark/benchmark.h>

namespace {

constexpr int FULL_RUN = 528 + 128 + 64 + 32;

void status_append_and_derive(benchmark::State &state)
{
    PTZDriverCanon *driver = camera_driver(Wire::at_once);
    if (driver == nullptr)
        return state.SkipWithError("no camera");
    std::array<guint8, 1024> run{};
    if (ptz_port_canon_read_data(driver->port, run.data(), static_cast<int>(run.size()), 0, 0) != FULL_RUN)
        return state.SkipWithError("the camera's status is not a full run");
    gboolean publish = FALSE;
    for (auto _ : state) {
        g_byte_array_append(driver->rx_buffer, run.data(), FULL_RUN);
        if (!ptz_driver_canon_cmd_async_data(driver, &publish))
            state.SkipWithError("the run is refused");
    }
}
BENCHMARK(status_append_and_derive);

} // namespace
