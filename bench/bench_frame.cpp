// Transport frames as bytes.
#include "port/frame.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>

namespace {

void frame_encode_and_check(benchmark::State &state)
{
    std::array<std::uint8_t, 1024> payload{};
    for (std::size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<std::uint8_t>(i * 7 + 3);
    PortFrame frame;
    for (auto _ : state) {
        benchmark::DoNotOptimize(payload);
        ptz_port_canon_encode_frame(frame, payload.data(), static_cast<int>(payload.size()));
        benchmark::ClobberMemory();
        const PortFrameHeader header = ptz_port_canon_decode_header(frame, true);
        if (ptz_port_canon_checksum(frame.payload(), header.length) != header.checksum)
            state.SkipWithError("the frame does not check");
    }
}
BENCHMARK(frame_encode_and_check);

} // namespace
