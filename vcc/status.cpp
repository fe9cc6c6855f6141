#include "vcc/status.h"

#include "core/guard.h"
#include "core/log.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr unsigned HEADER_SIZE = 4;
constexpr unsigned CAMERA_SIZE = 528, PAN_TILT_SIZE = 128, SYSTEM_SIZE = 64, REVISION_SIZE = 32;

guint8 camera[CAMERA_SIZE];
guint8 pan_tilt[PAN_TILT_SIZE];
guint8 system_video[SYSTEM_SIZE];
guint8 revision[REVISION_SIZE];

constexpr StatusEntry ENTRIES[STATUS_CHECK_MAX] = {
    {STATUS_TAG_CAMERA, camera, CAMERA_SIZE, CAMERA_SIZE},
    {STATUS_TAG_PAN_TILT, pan_tilt, PAN_TILT_SIZE, PAN_TILT_SIZE},
    {STATUS_TAG_SYSTEM, system_video, SYSTEM_SIZE, SYSTEM_SIZE},
    {STATUS_TAG_REVISION, revision, REVISION_SIZE, REVISION_SIZE},
};

bool is_available(const StatusEntry &entry)
{
    return entry.buffer[0] == entry.tag;
}

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
    for (const StatusEntry &entry : ENTRIES)
        std::memset(entry.buffer, 0, entry.capacity);
    return true;
}

bool vccif_has_status(guint8 tag)
{
    const StatusEntry *entry = vccif_get_status_entry(tag);
    return entry != nullptr && is_available(*entry);
}

bool vccif_is_available_status(unsigned tag)
{
    GUARD(tag < STATUS_CHECK_MAX, false);
    return is_available(ENTRIES[tag]);
}

bool vccif_is_all_status_available()
{
    return std::all_of(std::begin(ENTRIES), std::end(ENTRIES), is_available);
}

unsigned vccif_read_status_value(guint8 tag, unsigned offset, unsigned size)
{
    const StatusEntry *entry = vccif_get_status_entry(tag);
    if (entry == nullptr || size > 4 || offset > entry->capacity || size > entry->capacity - offset)
        return 0;
    unsigned value = 0;
    for (unsigned i = 0; i < size; i++)
        value = value << 8 | entry->buffer[offset + i];
    return value;
}

unsigned vccif_get_status_value(guint8 tag, unsigned offset, unsigned size)
{
    return vccif_has_status(tag) ? vccif_read_status_value(tag, offset, size) : 0;
}

const StatusEntry *vccif_get_status_entry(guint8 tag)
{
    const auto *entry =
        std::find_if(std::begin(ENTRIES), std::end(ENTRIES), [tag](const StatusEntry &e) { return e.tag == tag; });
    return entry != std::end(ENTRIES) ? entry : nullptr;
}

unsigned vccif_get_status_length(const guint8 *block)
{
    return unsigned{block[2]} << 8 | block[3];
}
