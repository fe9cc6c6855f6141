#include "port/transfer.h"

#include "core/guard.h"
#include "core/host.h"
#include "core/log.h"
#include "port/request.h"
#include "port/settings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>

namespace {

// What the device made of the burst; negative with errno on failure.
int send_message(int fd, PortFrame &received, const PortFrame &sent, int clocked)
{
    if (clocked < PORT_FRAME_HEADER) {
        errno = EINVAL;
        return -1;
    }
    spi_ioc_transfer transfer{};
    transfer.tx_buf = reinterpret_cast<std::uintptr_t>(sent.bytes);
    transfer.rx_buf = reinterpret_cast<std::uintptr_t>(received.bytes);
    transfer.len = static_cast<std::uint32_t>(clocked);
    transfer.speed_hz = port_transfer_settings.max_speed_hz;
    transfer.delay_usecs = 1;
    transfer.bits_per_word = port_transfer_settings.bits_per_word;
    return ioctl(fd, SPI_IOC_MESSAGE(1), &transfer);
}

// The payload length of the frame that came back, or -1 after a message.
int check_frame(const PortFrame &frame, bool empty_allowed)
{
    const PortFrameHeader header = ptz_port_canon_decode_header(frame, port_transfer_settings.big_endian);
    if (header.length == 0 && !empty_allowed) {
        host_note_frame(DRIVER_HOST_FRAME_LENGTH);
        log_warning("Transports payload data size is invalid: %d(%04x)", 0, 0u);
        return -1;
    }
    const int size = header.length + PORT_FRAME_HEADER;
    if (size > ptz_port_canon_clocked_length(port_transfer_settings.burst_length)) {
        host_note_frame(DRIVER_HOST_FRAME_LENGTH);
        log_warning("Transports data size is invalid: %d(%04x)", size, static_cast<unsigned>(size));
        return -1;
    }
    const std::uint16_t calculated = ptz_port_canon_checksum(frame.payload(), header.length);
    if (calculated != header.checksum) {
        host_note_frame(DRIVER_HOST_FRAME_CHECKSUM);
        log_warning("Checksum does not match, received checksum: %04x calculated checksum: %04x", header.checksum,
                    calculated);
        return -1;
    }
    host_note_frame(DRIVER_HOST_FRAME_GOOD);
    return header.length;
}

bool port_is_open(const PTZPortCanon *self)
{
    if (self->parent_instance.fd >= 0)
        return true;
    log_warning("The port is not open");
    return false;
}

int transfer_of_port(PTZPortCanon *self, PortFrame &received, const PortFrame &sent)
{
    // What a burst leaves untouched must not be read as an answer; what it does not reach is not read at all.
    const int reached = std::max(ptz_port_canon_clocked_length(port_transfer_settings.burst_length), 0);
    std::memset(received.bytes, 0, static_cast<std::size_t>(reached));
    return ptz_port_canon_transfer(self->parent_instance.fd, received, sent, self->request,
                                   port_transfer_settings.burst_length, port_transfer_settings.trigger_mode);
}

} // namespace

int ptz_port_canon_clocked_length(int burst_length)
{
    return std::min(burst_length, PORT_FRAME_MAX);
}

int ptz_port_canon_transfer(int fd, PortFrame &received, const PortFrame &sent, const GpioLine &request,
                            int burst_length, int trigger_mode)
{
    if (ptz_port_canon_wait_request(request, trigger_mode) < 0) {
        log_warning("Abort waiting the request for communication start");
        return -1;
    }
    const int clocked = ptz_port_canon_clocked_length(burst_length);
    const int result = send_message(fd, received, sent, clocked);
    if (result < 0) {
        const int error = errno; // before the log changes it
        log_warning("Could not send spi message");
        log_warning("A burst of %d bytes failed. (%s:%d)", clocked, g_strerror(error), error);
        return -1;
    }
    return result;
}

int ptz_port_canon_read_frame(PTZPortCanon *self, void *destination, int capacity)
{
    GUARD(self, -1);
    GUARD(destination != nullptr || capacity <= 0, -1);
    if (!port_is_open(self))
        return -1;
    static constexpr PortFrame EMPTY{};
    PortFrame received;
    if (transfer_of_port(self, received, EMPTY) < 0) {
        host_note_frame(DRIVER_HOST_FRAME_FAILED);
        log_error("Failed to communicate, could not read data");
        return -1;
    }
    const int length = check_frame(received, true);
    if (length < 0)
        return -1;
    const int count = std::clamp(capacity, 0, length);
    if (count > 0)
        std::memcpy(destination, received.payload(), static_cast<std::size_t>(count));
    return count;
}

int ptz_port_canon_write_frame(PTZPortCanon *self, const void *source, int length)
{
    GUARD(self, -1);
    GUARD(source != nullptr || length <= 0, -1);
    if (!port_is_open(self))
        return -1;
    const int count = std::clamp(length, 0, PORT_PAYLOAD_MAX);
    PortFrame sent;
    PortFrame received;
    ptz_port_canon_encode_frame(sent, source, count);
    if (transfer_of_port(self, received, sent) < 0) {
        host_note_frame(DRIVER_HOST_FRAME_FAILED);
        log_error("Failed to communicate, could not write data");
        return -1;
    }
    return check_frame(received, false) < 0 ? -1 : count;
}
