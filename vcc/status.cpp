#include "vcc/status.h"

#include "core/guard.h"
#include "core/log.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr unsigned HEADER_SIZE = 4;

// Takes the block of `size` bytes, or skips it when nobody knows its tag.
void store_block(const guint8 *block, unsigned size)
{
    const StatusEntry *entry = vccif_get_status_entry(block[0]);
    if (entry == nullptr) {
        log_warning("Ignore unknown status tag: %02x", block[0]);
        return;
    }
    const unsigned kept = std::min(size, entry->capacity);
    std::memcpy(entry->buffer, block, kept);
    std::memset(entry->buffer + kept, 0, entry->capacity - kept);
}

} // namespace

bool vccif_append_data(const guint8 *in, unsigned len)
{
    GUARD(len > 0, false);
    GUARD(in, false);
    for (unsigned position = 0; position < len;) {
        const guint8 *block = in + position;
        const unsigned left = len - position;
        const unsigned length = left >= HEADER_SIZE ? vccif_get_status_length(block) : 0;
        // A block's size is counted in 16 bits: the four largest lengths wrap round to 0..3.
        const unsigned size = (length + HEADER_SIZE) & 0xFFFF;
        if (length == 0 || size > left) {
            log_error("Invalid status length");
            return false;
        }
        store_block(block, size);
        if (size == 0) {
            log_error("Invalid status length");
            return false;
        }
        position += size;
    }
    return true;
}

bool vccif_clear_status()
{
    for (const StatusEntry &entry : STATUS_ENTRIES)
        std::memset(entry.buffer, 0, entry.capacity);
    return true;
}

bool vccif_has_status(guint8 tag)
{
    const StatusEntry *entry = vccif_get_status_entry(tag);
    return entry != nullptr && entry->is_available();
}

bool vccif_is_available_status(unsigned tag)
{
    GUARD(tag < STATUS_CHECK_MAX, false);
    return STATUS_ENTRIES[tag].is_available();
}

bool vccif_is_all_status_available()
{
    return std::all_of(std::begin(STATUS_ENTRIES), std::end(STATUS_ENTRIES),
                       [](const StatusEntry &entry) { return entry.is_available(); });
}

unsigned vccif_get_status_length(const guint8 *block)
{
    return unsigned{block[2]} << 8 | block[3];
}
