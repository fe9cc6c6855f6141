// Command records: a row of rows.def filled with its parameters.
#pragma once

#include "vcc/row.h"

#include <array>
#include <concepts>
#include <cstddef>

// Bytes that one operation may put together for one packet.
inline constexpr std::size_t VCC_COMMAND_BUFFER_SIZE = 256;

// Writes the record of `row` with the parameters `values`, one for each width, to `place` and returns its size. When
// there is no place, or `room` bytes are too few, nothing is written, an error is logged and the result is 0.
std::size_t vcc_command_write(guint8 *place, std::size_t room, const VccRowInfo &row, std::span<const guint32> values);

// The same for a row of the table, whose number of parameters the compiler checks.
template <std::size_t fixed_count, std::size_t param_count, std::integral... Args>
requires(sizeof...(Args) == param_count) std::size_t
    vcc_command_build(guint8 *place, std::size_t room, const VccRow<fixed_count, param_count> &row, Args... args)
{
    const std::array<guint32, param_count> values{static_cast<guint32>(args)...};
    return vcc_command_write(place, room, row.info(), values);
}

// The payload of one packet, records laid end to end, for the length of one operation.
class CommandBuffer {
  public:
    // Appends a record and returns its size; 0, with an error logged, when it no longer fits: it is then left out.
    template <std::size_t fixed_count, std::size_t param_count, std::integral... Args>
    requires(sizeof...(Args) == param_count) std::size_t add(const VccRow<fixed_count, param_count> &row, Args... args)
    {
        const std::size_t written = vcc_command_build(bytes_.data() + size_, bytes_.size() - size_, row, args...);
        size_ += written;
        return written;
    }

    const guint8 *data() const { return bytes_.data(); }
    std::size_t size() const { return size_; }

  private:
    std::array<guint8, VCC_COMMAND_BUFFER_SIZE> bytes_;
    std::size_t size_ = 0;
};
