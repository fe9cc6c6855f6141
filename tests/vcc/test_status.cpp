#include "tests/support/capture.h"
#include "vcc/convert.h"
#include "vcc/status.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<guint8>;

// A block whose byte at offset n (from 4) is n + seed, low 8 bits.
Bytes block(guint8 tag, unsigned length, unsigned seed = 0)
{
    Bytes bytes = {tag, 0x5A, static_cast<guint8>(length >> 8), static_cast<guint8>(length)};
    for (unsigned offset = 4; offset < length + 4; offset++)
        bytes.push_back(static_cast<guint8>(offset + seed));
    return bytes;
}

Bytes operator+(Bytes left, const Bytes &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// Appends the first `size` bytes from memory of just that size: the address sanitizer sees a read past the end.
int append(const Bytes &run, std::size_t size = SIZE_MAX)
{
    const Bytes exact(run.begin(), run.begin() + static_cast<std::ptrdiff_t>(std::min(size, run.size())));
    return vccif_append_data(exact.data(), static_cast<unsigned>(exact.size()));
}

class Status : public testing::Test {
  protected:
    Status() { vccif_clear_status(); }
    ~Status() override { vccif_clear_status(); }

    LogCapture log;
};

const std::string invalid_length = "error: Invalid status length";

TEST_F(Status, FourTagsHaveTheirPlaces)
{
    struct {
        guint8 tag;
        unsigned index, capacity;
    } const cases[] = {{0xF8, 0, 528}, {0xE0, 1, 128}, {0x60, 2, 64}, {0x40, 3, 32}};
    for (const auto &c : cases) {
        EXPECT_FALSE(vccif_is_all_status_available() || vccif_is_available_status(c.index));
        EXPECT_EQ(append(block(c.tag, c.capacity - 4)), 1);
        EXPECT_TRUE(vccif_has_status(c.tag) && vccif_is_available_status(c.index));
        const StatusEntry *entry = vccif_get_status_entry(c.tag);
        ASSERT_NE(entry, nullptr);
        EXPECT_TRUE(entry->capacity == c.capacity && entry->max_length == c.capacity);
        EXPECT_EQ(entry->buffer[c.capacity - 1], (c.capacity - 1) & 0xFF);
    }
    EXPECT_TRUE(vccif_is_all_status_available());
    EXPECT_EQ(vccif_get_status_entry(0x10), nullptr);
    EXPECT_FALSE(vccif_is_available_status(4));
    EXPECT_EQ(log.take(), Lines{guard_line("vccif_is_available_status", "tag < STATUS_CHECK_MAX")});
    EXPECT_EQ(vccif_clear_status(), 1);
    for (const auto &c : cases)
        EXPECT_FALSE(vccif_has_status(c.tag));
}

TEST_F(Status, LastBlockOfATagWinsWholeAndIsCutToTheCapacity)
{
    EXPECT_EQ(append(block(0xE0, 124, 1) + block(0xF8, 600) + block(0xE0, 12, 7)), 1);
    EXPECT_EQ(vccif_read_status_value(0xE0, 15, 1), 22u);
    EXPECT_EQ(vccif_read_status_value(0xE0, 16, 4), 0u) << "the longer block's end must not show through";
    EXPECT_EQ(vccif_get_status_length(vccif_get_status_entry(0xE0)->buffer), 12);
    EXPECT_EQ(vccif_get_status_length(vccif_get_status_entry(0xF8)->buffer), 600);
    EXPECT_EQ(vccif_read_status_value(0xF8, 524, 4), 0x0C0D0E0Fu);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(Status, UnknownTagIsSkippedByItsLength)
{
    EXPECT_EQ(append(block(0x10, 8) + block(0x40, 4) + block(0x00, 1)), 1);
    EXPECT_EQ(vccif_get_fw_revision(), 0x04050607u);
    EXPECT_EQ(log.take(), (Lines{"warning: Ignore unknown status tag: 10", "warning: Ignore unknown status tag: 00"}));
}

TEST_F(Status, LengthZeroEndsTheRunAndKeepsWhatCameBefore)
{
    EXPECT_EQ(append(block(0x40, 28) + block(0xE0, 0) + block(0x60, 60)), 0);
    EXPECT_TRUE(vccif_has_status(0x40));
    EXPECT_FALSE(vccif_has_status(0xE0) || vccif_has_status(0x60));
    EXPECT_EQ(vccif_append_data(nullptr, 0) + vccif_append_data(nullptr, 1), 0);
    EXPECT_EQ(log.take(), (Lines{invalid_length, guard_line("vccif_append_data", "len > 0"),
                                 guard_line("vccif_append_data", "in")}));
}

TEST_F(Status, RunsCutAnywhereDropTheCutBlockOnly)
{
    const Bytes run = block(0xF8, 524) + block(0x10, 8) + block(0xE0, 124) + block(0x60, 1) + block(0x40, 28);
    const std::pair<guint8, std::size_t> ends[] = {{0xF8, 528}, {0x10, 540}, {0xE0, 668}, {0x60, 673}, {0x40, 705}};
    ASSERT_EQ(run.size(), 705u);
    for (std::size_t size = 1; size <= run.size(); size++) {
        vccif_clear_status();
        log.take();
        const int result = append(run, size);
        bool whole = false;
        for (const auto &[tag, end] : ends) {
            whole = whole || size == end;
            ASSERT_EQ(tag == 0x10 ? log.count("warning: Ignore unknown status tag: 10") : vccif_has_status(tag),
                      size >= end)
                << size;
        }
        ASSERT_EQ(result, whole ? 1 : 0) << size;
        ASSERT_EQ(log.count(invalid_length), whole ? 0 : 1) << size;
    }
    EXPECT_EQ(append(block(0x40, 28, 9), 31), 0); // the older block of the tag stays
    EXPECT_EQ(vccif_get_fw_revision(), 0x04050607u);
}

TEST_F(Status, SizesThatWrapGoOnWhereTheyLead)
{
    const std::string unknown = "warning: Ignore unknown status tag: ";
    append(block(0x40, 28));
    EXPECT_EQ(append({0x40, 0, 0xFF, 0xFC, 1, 2, 3, 4}), 0); // 65532 + 4 is 0, which clears the block and ends the run
    EXPECT_FALSE(vccif_has_status(0x40));
    EXPECT_EQ(append({0x33, 0, 0xFF, 0xFC, 1, 2, 3, 4}), 0);
    EXPECT_EQ(log.take(), (Lines{invalid_length, unknown + "33", invalid_length}));
    // 65533 + 4 is 1: the next header is 40 FF FD 60, of tag 40 and length FD60, which runs past the end.
    EXPECT_EQ(append({0xE0, 0x40, 0xFF, 0xFD, 0x60}), 0);
    EXPECT_EQ(vccif_read_status_value(0xE0, 0, 4), 0xE0000000u);
    EXPECT_FALSE(vccif_has_status(0x40));
    // 65534 + 4 is 2: FF FE 00 01 is next, of unknown tag FF and length 1, with its one byte.
    EXPECT_EQ(append({0x60, 0x07, 0xFF, 0xFE, 0x00, 0x01, 0xAA}), 1);
    EXPECT_EQ(vccif_read_status_value(0x60, 0, 4), 0x60070000u);
    // 65535 + 4 is 3: FF 00 00 02 is next, of unknown tag FF and length 2.
    EXPECT_EQ(append({0x40, 0x07, 0xFF, 0xFF, 0x00, 0x00, 0x02, 0xAA, 0xBB}), 1);
    EXPECT_EQ(vccif_read_status_value(0x40, 0, 4), 0x4007FF00u);
    EXPECT_EQ(log.take(), (Lines{invalid_length, unknown + "ff", unknown + "ff"}));
}

TEST_F(Status, ValuesAreReadHighByteFirstAndInsideTheBufferOnly)
{
    append(block(0x60, 60));
    const struct {
        guint8 tag;
        unsigned offset, size;
        guint32 value;
    } cases[] = {{0x60, 8, 0, 0},        {0x60, 8, 1, 0x08},       {0x60, 8, 2, 0x0809},
                 {0x60, 8, 3, 0x08090A}, {0x60, 8, 4, 0x08090A0B}, {0x60, 60, 4, 0x3C3D3E3F},
                 {0x60, 61, 4, 0},       {0x60, 0xFFFFFFFF, 1, 0}, {0x60, 8, 5, 0},
                 {0x61, 8, 1, 0}};
    for (const auto &c : cases)
        EXPECT_EQ(vccif_get_status_value(c.tag, c.offset, c.size), c.value) << c.offset << " " << c.size;
    vccif_get_status_entry(0x60)->buffer[0] = 0; // a block that lost its tag reads only without the test for it
    EXPECT_EQ(vccif_read_status_value(0x60, 8, 2), 0x0809u);
    EXPECT_EQ(vccif_get_status_value(0x60, 8, 2), 0u);
}

TEST_F(Status, FieldsAreReadAtTheirOffsets)
{
    // Every byte is its offset, so a field of two bytes at 34 reads 0x2223.
    append(block(0xF8, 524) + block(0xE0, 124) + block(0x60, 60) + block(0x40, 28));
    // clang-format off
    const std::pair<gint64, gint64> fields[] = {
        {vccif_get_camera_mode(), 2}, {vccif_get_lens_status(), 29}, {vccif_get_focus_position(), 0x2223},
        {vccif_get_zoom_mag_exponent(), 4}, {vccif_get_fov_exponent(), 15}, // 79 is 4F
        {vccif_get_digital_zoom_position(), 0x5051}, {vccif_get_zoom_mag_mantissa(), 0x5859},
        {vccif_get_hfov_mantissa(), 0x5C5D}, {vccif_get_vfov_mantissa(), 0x5E5F},
        {vccif_get_av(), 103}, {vccif_get_tv(), 104}, {vccif_get_sv(), 105}, {vccif_get_pan_tilt_status(), 4},
        {vccif_get_pan_position(), 0x10111213}, {vccif_get_pan_target_position(), 0x14151617},
        {vccif_get_tilt_position(), 0x20212223}, {vccif_get_tilt_target_position(), 0x24252627},
        {vccif_get_pan_actual_speed(), 0x30313233}, {vccif_get_pan_target_speed(), 0x34353637},
        {vccif_get_tilt_actual_speed(), 0x40414243}, {vccif_get_tilt_target_speed(), 0x44454647},
        {vccif_get_model_id(), 28}, {vccif_get_capture_frequency(), 30}, {vccif_get_capture_mode_state(), 31},
        {vccif_get_fw_revision(), 0x04050607},
    };
    // clang-format on
    for (const auto &[value, expected] : fields)
        EXPECT_EQ(value, expected);

    Bytes pan_tilt = block(0xE0, 124); // positions and speeds are signed
    std::fill(pan_tilt.begin() + 4, pan_tilt.end(), guint8{0xFF});
    pan_tilt[19] = 0xF0; // pan position FFFFFFF0
    append(pan_tilt);
    EXPECT_EQ(vccif_get_pan_position(), -16);
    EXPECT_EQ(vccif_get_tilt_position(), -1);
    EXPECT_EQ(vccif_get_pan_actual_speed(), -1);
}

TEST_F(Status, MovingAndBusyFollowTheirBits)
{
    Bytes camera = block(0xF8, 524), pan_tilt = block(0xE0, 124);
    for (unsigned bit = 0; bit < 8; bit++) {
        camera[29] = pan_tilt[4] = static_cast<guint8>(1u << bit);
        append(camera + pan_tilt);
        EXPECT_EQ(vccif_is_zoom_moving(), bit == 4 || bit == 5) << bit;
        EXPECT_EQ(vccif_is_focus_moving(), bit == 6 || bit == 7) << bit;
        EXPECT_EQ(vccif_is_lens_busy(), bit == 1 || bit == 5 || bit == 7) << bit;
        EXPECT_EQ(vccif_is_pan_moving(), bit == 0 || bit == 1) << bit;
        EXPECT_EQ(vccif_is_tilt_moving(), bit == 4 || bit == 5) << bit;
    }
}

TEST_F(Status, MagnificationAndFieldsOfViewCombineTheirFields)
{
    EXPECT_EQ(vccif_get_zoom_magnification(), 0.0f) << "without a camera block";
    Bytes camera = block(0xF8, 524);
    camera[79] = 0xA8;                    // exponents 10 and 8
    camera[80] = 0x01, camera[81] = 0x80; // digital 384 / 256 + 1 = 2.5
    camera[88] = 0x50, camera[89] = 0x00; // 20480 / 1024 = 20
    camera[92] = 0x3E, camera[93] = 0xCD; // 16077 / 256
    camera[94] = 0x24, camera[95] = 0x40; // 9280 / 256
    append(camera);
    EXPECT_EQ(vccif_get_zoom_magnification(), 50.0f);
    EXPECT_EQ(vccif_get_hfov(), 62.80078125f);
    EXPECT_EQ(vccif_get_vfov(), 36.25f);
    camera[79] = 0x00;
    append(camera);
    EXPECT_EQ(vccif_get_hfov(), 16077.0f);
}

} // namespace
