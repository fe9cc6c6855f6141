#include "vcc/command.h"

#include "core/log.h"

std::size_t vcc_command_write(guint8 *place, std::size_t room, const VccRowInfo &row, std::span<const guint32> values)
{
    const std::size_t size = row.size();
    if (place == nullptr || room < size || values.size() != row.widths.size()) {
        log_error("Failed to create the command");
        return 0;
    }
    *place++ = static_cast<guint8>(size - 1);
    place = std::copy(row.fixed.begin(), row.fixed.end(), place);
    for (std::size_t i = 0; i < values.size(); i++) {
        for (int shift = 8 * (static_cast<int>(row.widths[i]) - 1); shift >= 0; shift -= 8)
            *place++ = static_cast<guint8>(values[i] >> shift);
    }
    return size;
}
