#include "cmd/send.h"

#include "core/clock.h"
#include "core/guard.h"
#include "core/host.h"
#include "core/log.h"
#include "glib_owned.h"
#include "port/spi_port.h"
#include "vcc/packet.h"
#include "vcc/rows.h"

#include <algorithm>
#include <span>

namespace {

constexpr std::int64_t RETRY_PAUSE_US = 5000;

// The result of port_write: above 0 when the port has taken the packet.
int write_packet(PTZDriverCanon *self, const std::uint8_t *packet)
{
    const std::size_t size = vcc_packet_size(packet);
    if (size >= VCC_PACKET_PAYLOAD_MAX) {
        log_error("Failed to create the command");
        return -1;
    }
    const GMutexHold hold(self->port_lock);
    host_note_command();
    const int written = ptz_port_canon_write_data(self->port, packet, static_cast<int>(size), 0, 0);
    if (written > 0)
        host_note_answer();
    return written;
}

// For a host that observes: each record that was sent, by its name.
void note_records(std::span<const std::uint8_t> records, std::int64_t since, bool taken)
{
    if (!host_is_observed())
        return;
    while (!records.empty()) {
        const std::size_t size = std::min<std::size_t>(1 + records[0], records.size());
        const VccRowInfo *row = vcc_row_of(records.first(size));
        host_note_record(row != nullptr ? row->name : "other", since, taken);
        records = records.subspan(size);
    }
}

} // namespace

gboolean ptz_driver_canon_cmd_send(PTZDriverCanon *self, const std::uint8_t *cmd_data, std::size_t cmd_data_size,
                                   int retries)
{
    GUARD(cmd_data, FALSE);
    GUARD(cmd_data_size < VCC_PACKET_PAYLOAD_MAX, FALSE);
    const VccPacket send_packet = vcc_packet_build(cmd_data, cmd_data_size);
    GUARD(send_packet, FALSE);
    const std::int64_t since = clock_get().monotonic_us();
    for (int attempt = 0; attempt < retries && !clock_cancelled(); ++attempt) {
        if (attempt > 0)
            host_note_retry();
        const int written = write_packet(self, send_packet.get());
        if (written > 0) {
            note_records({cmd_data, cmd_data_size}, since, true);
            return TRUE;
        }
        log_warning("Write command failed: %d, retry: %d", written, attempt);
        clock_sleep_us(RETRY_PAUSE_US);
    }
    host_note_failed_send();
    note_records({cmd_data, cmd_data_size}, since, false);
    return FALSE;
}

gboolean ptz_driver_canon_cmd_send_buffer(PTZDriverCanon *self, const CommandBuffer &commands, const char *failure)
{
    if (ptz_driver_canon_cmd_send(self, commands.data(), commands.size(), self->cmd_retries))
        return TRUE;
    if (failure != nullptr)
        log_error("%s", failure);
    return FALSE;
}
