// The status store: the latest status block of each kind that the camera block sends.
//
// A block is [tag][not interpreted][payload length, 16 bits, most significant byte first][payload]. The store belongs
// to the process, not to a driver, and has no lock: a reader may see a block while it is being replaced. A block keeps
// its place until a newer one of its tag arrives or the store is cleared; a shorter one leaves zeroes behind its end.
#pragma once

#include <cstring>
#include <glib.h>

inline constexpr guint8 STATUS_TAG_CAMERA = 0xF8;   // lens, exposure, image
inline constexpr guint8 STATUS_TAG_PAN_TILT = 0xE0; // pan/tilt unit
inline constexpr guint8 STATUS_TAG_SYSTEM = 0x60;   // system and video
inline constexpr guint8 STATUS_TAG_REVISION = 0x40; // revisions

// Number of tags; check indices 0 to 3 are camera, pan/tilt, system, revision.
inline constexpr unsigned STATUS_CHECK_MAX = 4;

struct StatusEntry {
    guint8 tag;
    guint8 *buffer;    // the latest block, header included; all zero when there is none
    unsigned capacity; // bytes of `buffer`
    unsigned max_length;

    bool is_available() const { return buffer[0] == tag; }
};

// The store itself, here so that a field whose place is known when the code is compiled is found then.
namespace status_store {

inline constexpr unsigned CAMERA_SIZE = 528, PAN_TILT_SIZE = 128, SYSTEM_SIZE = 64, REVISION_SIZE = 32;
// Behind the end, so that four bytes can be read from the place of the last one on; always zero.
inline constexpr unsigned SLACK = 3;

inline guint8 camera[CAMERA_SIZE + SLACK];
inline guint8 pan_tilt[PAN_TILT_SIZE + SLACK];
inline guint8 system_video[SYSTEM_SIZE + SLACK];
inline guint8 revision[REVISION_SIZE + SLACK];

} // namespace status_store

// By check index.
inline constexpr StatusEntry STATUS_ENTRIES[STATUS_CHECK_MAX] = {
    {STATUS_TAG_CAMERA, status_store::camera, status_store::CAMERA_SIZE, status_store::CAMERA_SIZE},
    {STATUS_TAG_PAN_TILT, status_store::pan_tilt, status_store::PAN_TILT_SIZE, status_store::PAN_TILT_SIZE},
    {STATUS_TAG_SYSTEM, status_store::system_video, status_store::SYSTEM_SIZE, status_store::SYSTEM_SIZE},
    {STATUS_TAG_REVISION, status_store::revision, status_store::REVISION_SIZE, status_store::REVISION_SIZE},
};

// The store's entry of a tag, null for an unknown one. Constant for the life of the process.
constexpr const StatusEntry *vccif_get_status_entry(guint8 tag)
{
    switch (tag) {
    case STATUS_TAG_CAMERA:
        return &STATUS_ENTRIES[0];
    case STATUS_TAG_PAN_TILT:
        return &STATUS_ENTRIES[1];
    case STATUS_TAG_SYSTEM:
        return &STATUS_ENTRIES[2];
    case STATUS_TAG_REVISION:
        return &STATUS_ENTRIES[3];
    default:
        return nullptr;
    }
}

// Takes a run of `len` bytes of status blocks into the store. Blocks with unknown tags are skipped with a warning.
// False for an empty or missing run (guards) and, with the error "Invalid status length", at a block whose length is 0
// or whose end is not within the run; the blocks before it have been taken.
bool vccif_append_data(const guint8 *in, unsigned len);

// Empties the store; always true.
bool vccif_clear_status();

// Whether a block of this tag is there.
bool vccif_has_status(guint8 tag);
// The same by check index; an index of 4 or more is a guard failure and false.
bool vccif_is_available_status(unsigned tag);
bool vccif_is_all_status_available();

// The unsigned number of `size` bytes (1 to 4; 0 gives 0), most significant first, at `offset` of the tag's block,
// counted from its tag byte. What lies outside the buffer, or belongs to an unknown tag, reads as 0.
inline unsigned vccif_read_status_value(guint8 tag, unsigned offset, unsigned size)
{
    const StatusEntry *entry = vccif_get_status_entry(tag);
    if (entry == nullptr || size == 0 || size > 4 || offset > entry->capacity || size > entry->capacity - offset)
        return 0;
    guint32 four = 0;
    std::memcpy(&four, entry->buffer + offset, sizeof four);
    return GUINT32_FROM_BE(four) >> 8 * (4 - size);
}
// The same, 0 while no block of this tag is there.
inline unsigned vccif_get_status_value(guint8 tag, unsigned offset, unsigned size)
{
    const StatusEntry *entry = vccif_get_status_entry(tag);
    return entry != nullptr && entry->is_available() ? vccif_read_status_value(tag, offset, size) : 0;
}

// The payload length that the header of `block` (at least 4 bytes) states.
unsigned vccif_get_status_length(const guint8 *block);

// The fields, one accessor each. Offsets count from the tag byte; a field of an absent block is 0.

// Camera block

inline unsigned vccif_get_camera_mode()
{
    return (vccif_get_status_value(STATUS_TAG_CAMERA, 28, 1) >> 1) & 3;
}

inline constexpr unsigned LENS_ZOOM_MOVING = 0x30;
inline constexpr unsigned LENS_FOCUS_MOVING = 0xC0;
inline constexpr unsigned LENS_BUSY = 0xA2; // bits 1, 5 and 7: not yet initialised, or in error

inline unsigned vccif_get_lens_status()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 29, 1);
}
inline bool vccif_is_zoom_moving()
{
    return (vccif_get_lens_status() & LENS_ZOOM_MOVING) != 0;
}
inline bool vccif_is_focus_moving()
{
    return (vccif_get_lens_status() & LENS_FOCUS_MOVING) != 0;
}
inline bool vccif_is_lens_busy()
{
    return (vccif_get_lens_status() & LENS_BUSY) != 0;
}

// Camera units.
inline unsigned vccif_get_focus_position()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 34, 2);
}
// The magnification is mantissa / 2^exponent, times the digital one.
inline unsigned vccif_get_zoom_mag_exponent()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 79, 1) >> 4;
}
inline unsigned vccif_get_zoom_mag_mantissa()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 88, 2);
}
// 1/256 steps above a digital magnification of 1.
inline unsigned vccif_get_digital_zoom_position()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 80, 2);
}
// Fields of view in degrees are mantissa / 2^exponent.
inline unsigned vccif_get_fov_exponent()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 79, 1) & 15;
}
inline unsigned vccif_get_hfov_mantissa()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 92, 2);
}
inline unsigned vccif_get_vfov_mantissa()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 94, 2);
}
// Aperture, shutter and gain codes in force.
inline unsigned vccif_get_av()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 103, 1);
}
inline unsigned vccif_get_tv()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 104, 1);
}
inline unsigned vccif_get_sv()
{
    return vccif_get_status_value(STATUS_TAG_CAMERA, 105, 1);
}

// Pan/tilt unit; positions and speeds in camera units

inline constexpr unsigned PAN_MOVING = 0x03;
inline constexpr unsigned TILT_MOVING = 0x30;

inline unsigned vccif_get_pan_tilt_status()
{
    return vccif_get_status_value(STATUS_TAG_PAN_TILT, 4, 1);
}
inline bool vccif_is_pan_moving()
{
    return (vccif_get_pan_tilt_status() & PAN_MOVING) != 0;
}
inline bool vccif_is_tilt_moving()
{
    return (vccif_get_pan_tilt_status() & TILT_MOVING) != 0;
}

inline int vccif_get_pan_tilt_signed(unsigned offset)
{
    return static_cast<int>(vccif_get_status_value(STATUS_TAG_PAN_TILT, offset, 4));
}

inline int vccif_get_pan_position()
{
    return vccif_get_pan_tilt_signed(16);
}
inline int vccif_get_pan_target_position()
{
    return vccif_get_pan_tilt_signed(20);
}
inline int vccif_get_tilt_position()
{
    return vccif_get_pan_tilt_signed(32);
}
inline int vccif_get_tilt_target_position()
{
    return vccif_get_pan_tilt_signed(36);
}
inline int vccif_get_pan_actual_speed()
{
    return vccif_get_pan_tilt_signed(48);
}
inline int vccif_get_pan_target_speed()
{
    return vccif_get_pan_tilt_signed(52);
}
inline int vccif_get_tilt_actual_speed()
{
    return vccif_get_pan_tilt_signed(64);
}
inline int vccif_get_tilt_target_speed()
{
    return vccif_get_pan_tilt_signed(68);
}

// System and video

inline unsigned vccif_get_model_id()
{
    return vccif_get_status_value(STATUS_TAG_SYSTEM, 28, 1);
}
// Code of the sensor's capture frequency in force.
inline unsigned vccif_get_capture_frequency()
{
    return vccif_get_status_value(STATUS_TAG_SYSTEM, 30, 1);
}
// Greater than 1 once a change of the capture mode has completed.
inline unsigned vccif_get_capture_mode_state()
{
    return vccif_get_status_value(STATUS_TAG_SYSTEM, 31, 1);
}

// Revisions

inline unsigned vccif_get_fw_revision()
{
    return vccif_get_status_value(STATUS_TAG_REVISION, 4, 4);
}
