// What comes back in a burst, at any length of the burst: read as status, and as the answer to a command.
#include "fuzz/target.h"
#include "port/frame.h"
#include "port/settings.h"
#include "port/spi_port.h"
#include "sim/frame.h"
#include "tests/support/fake_hardware.h"
#include "tests/support/virtual_clock.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// The length that the frame's header states when the frame is good, or -1.
int good_length(const Bytes &frame, bool big_endian)
{
    const auto word = [&](std::size_t at) {
        return static_cast<unsigned>(big_endian ? frame[at] << 8 | frame[at + 1] : frame[at + 1] << 8 | frame[at]);
    };
    const std::size_t length = word(0);
    if (length + 4 > frame.size())
        return -1;
    unsigned sum = word(2);
    for (std::size_t i = 0; i < length; ++i)
        sum += frame[4 + i];
    return sum % 0x10000 == 0 ? static_cast<int>(length) : -1;
}

void mend_checksum(Bytes &frame)
{
    unsigned sum = 0;
    for (std::size_t i = 4; i < std::min<std::size_t>(frame.size(), 4u + frame[0] + frame[1] * 256u); ++i)
        sum += frame[i];
    frame[2] = static_cast<std::uint8_t>(0u - sum);
    frame[3] = static_cast<std::uint8_t>((0u - sum) >> 8);
}

} // namespace

FUZZ_TARGET(reply_frame)
{
    fuzz::Reader reader(input);
    const auto flags = reader.take<std::uint8_t>();
    const auto burst = std::clamp<int>(reader.take<std::uint16_t>(), 16, PORT_FRAME_MAX);
    const auto capacity = reader.take<std::uint16_t>() % 2000;
    const VirtualClock clock;
    FakeHardware hardware;
    hardware.lines["imc_req"].level = 1;
    port_transfer_settings = {};
    port_transfer_settings.big_endian = (flags & 1) != 0;
    const GOwned<PTZPort, g_object_unref> port(static_cast<PTZPort *>(
        g_object_new(ptz_port_canon_get_type(), "device", "/dev/spidev1.0", "request_pin", -1, "request_pin_named",
                     "imc_req", "burst_len", burst, "trig_mode", 0, nullptr)));
    HOLDS(PTZ_PORT_GET_CLASS(port.get())->port_open(port.get()) >= 0);

    Bytes frame(reader.rest().begin(), reader.rest().end());
    frame.resize(static_cast<std::size_t>(burst), 0xEE);
    if ((flags & 2) != 0) // so that the search gets past it
        mend_checksum(frame);
    const int good = good_length(frame, port_transfer_settings.big_endian);
    hardware.replies = {frame, frame};
    const bool failing = (flags & 12) != 0;
    if (failing)
        hardware.failing[(flags & 4) != 0 ? "message" : "value"] = EIO;

    Bytes read(static_cast<std::size_t>(capacity), 0);
    const int count = failing ? -1 : std::min(good, capacity);
    HOLDS(ptz_port_canon_read_data(port.get(), read.data(), capacity, 0, 0) == count);
    HOLDS(count <= 0 || std::equal(read.begin(), read.begin() + count, frame.begin() + 4));

    // What was received goes out again, and the block would take it.
    const int size = std::min(burst, PORT_PAYLOAD_MAX);
    HOLDS(ptz_port_canon_write_data(port.get(), frame.data(), burst, 0, 0) == (failing || good <= 0 ? -1 : size));
    PortFrame out;
    ptz_port_canon_encode_frame(out, frame.data(), size);
    const sim::HostFrame taken = sim::check_host_frame(out.bytes);
    HOLDS(taken.problem == nullptr && std::equal(taken.payload.begin(), taken.payload.end(), frame.begin()));
    HOLDS(failing || std::equal(hardware.sent[1].begin(), hardware.sent[1].end(), out.bytes));
    PTZ_PORT_GET_CLASS(port.get())->port_close(port.get());
    HOLDS(hardware.live_handles == 0);
}
