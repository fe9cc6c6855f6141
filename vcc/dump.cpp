#include "vcc/dump.h"

#include "core/clock.h"
#include "core/descriptor.h"
#include "core/guard.h"
#include "core/log.h"
#include "vcc/status.h"

#include <algorithm>
#include <cstdarg>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr unsigned HEADER_SIZE = 4;
constexpr guint8 DUMPED_TAGS[] = {STATUS_TAG_CAMERA, STATUS_TAG_PAN_TILT, STATUS_TAG_SYSTEM, STATUS_TAG_REVISION};

constexpr guint8 CAM = STATUS_TAG_CAMERA, UNIT = STATUS_TAG_PAN_TILT, SYS = STATUS_TAG_SYSTEM,
                 REV = STATUS_TAG_REVISION;

// One field, printed as its offset and its value; a format without either only ends a row.
struct Field {
    const char *format;
    guint8 tag = 0;
    unsigned offset = 0;
    unsigned width = 0; // bytes
};

constexpr Field FIELDS[] = {
    {"\n\n"},
    {"Lens Temp.(%03x):%04x ", CAM, 20, 2},
    {"Sensor Temp.(%03x):%04x ", CAM, 22, 2},
    {"NTSC/PAL(%03x):%02x ", SYS, 30, 1},
    {"CameraMode(%03x):%02x ", CAM, 28, 1},
    {"LensSts(%03x):%02x \n", CAM, 29, 1},
    {"\n"},
    {"AE:(%03x):%04x ", CAM, 96, 2},
    {"AEZONE:(%03x):%02x ", CAM, 98, 1},
    {"Av(%03x):%02x ", CAM, 103, 1},
    {"Tv(%03x):%02x ", CAM, 104, 1},
    {"Sv(%03x):%02x ", CAM, 105, 1},
    {"Brt(%03x):%d ", CAM, 121, 1},
    {"\n"},
    {"ShutterLim(Min) (%03x):%02x ", CAM, 132, 1},
    {"ShutterLim(Max) (%03x):%02x ", CAM, 133, 1},
    {"MaxGain:(%03x):%02x \n", CAM, 130, 1},
    {"\n"},
    {"DayNight stat(%03x):%02x ", CAM, 144, 1},
    {"Mode:(%03x):%02x ", CAM, 145, 1},
    {"Thres:(%03x):%02x \n", CAM, 146, 1},
    {"\n"},
    {"Color:(%03x):%02x ", CAM, 210, 1},
    {"WB:(%03x):%02x ", CAM, 208, 1},
    {"WB R Gain:(%03x):%04x ", CAM, 192, 2},
    {"WB B Gain:(%03x):%04x \n", CAM, 194, 2},
    {"\n"},
    {"PTSts(%03x):%02x \n", CAM, 4, 1},
    {"PanPos (%03x):%08x \n", UNIT, 16, 4},
    {"TiltPos(%03x):%08x \n", UNIT, 32, 4},
    {"PanSpd (%03x):%08x \n", UNIT, 48, 4},
    {"TiltSpd(%03x):%08x \n", UNIT, 64, 4},
    {"FocusPos:(%03x):%04x \n", CAM, 34, 2},
    {"OZoomPos:(%03x):%04x \n", CAM, 64, 2},
    {"DZoomPos:(%03x):%04x \n", CAM, 80, 2},
    {"ZoomSpd:(%03x):%02x \n", CAM, 72, 1},
    {"FocusSpd:(%03x):%02x \n", CAM, 43, 1},
    {"\n"},
    {"Camera Block Model ID 1:(%03x):%02x \n", CAM, 28, 2},
    {"NTSC/PAL(%03x):%02x ", SYS, 30, 1},
    {"Capture Framerate(%03x):%02x ", SYS, 34, 1},
    {"Video Format(%03x):%02x ", SYS, 33, 1},
    {"Video Scan Type(%03x):%02x ", SYS, 35, 1},
    {"Temperature 1:(%03x):%04x \n", CAM, 16, 2},
    {"Temperature 2:(%03x):%04x \n", CAM, 18, 2},
    {"\n"},
    {"FW Revision:(%03x):%08x \n", REV, 4, 4},
    {"SubSystem Revision:(%03x):%08x \n", REV, 8, 4},
    {"\n"},
    {"\n[EOF]\n"},
};

// Adds formatted text to a dump.
class Writer {
  public:
    Writer(char *buffer, int position) : buffer_(buffer), start_(position), position_(position) {}

    void add(const char *format, ...) __attribute__((format(printf, 2, 3)))
    {
        va_list args;
        va_start(args, format);
        const int room = VCCIF_DUMP_SIZE - position_;
        const int count = g_vsnprintf(buffer_ + position_, static_cast<gulong>(room), format, args);
        va_end(args);
        position_ += std::clamp(count, 0, room - 1);
    }

    int written() const { return position_ - start_; }

  private:
    char *const buffer_;
    const int start_;
    int position_;
};

// Says how much of the block there is to see, and returns that.
unsigned add_length(Writer &text, const StatusEntry &entry)
{
    const unsigned length = vccif_get_status_length(entry.buffer);
    if (length == 0) {
        text.add("No status data (Len = %d)\n\n", 0);
        return 0;
    }
    const bool too_long = length + HEADER_SIZE > entry.capacity;
    text.add(too_long ? "Invalid status  Len = %u  \n\n" : "Len = %u  \n\n", too_long ? entry.capacity : length);
    return too_long ? entry.capacity : length + HEADER_SIZE;
}

void add_bytes(Writer &text, const StatusEntry &entry, unsigned count)
{
    text.add("xxx +  00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F ");
    for (unsigned i = 0; i < count; ++i) {
        if (i % 16 == 0)
            text.add("\n%03x |", i);
        if (i % 8 == 0)
            text.add(" ");
        text.add(" %02x", vccif_get_status_value(entry.tag, i, 1));
    }
}

void add_fields(Writer &text)
{
    for (const Field &field : FIELDS)
        text.add(field.format, field.offset, vccif_get_status_value(field.tag, field.offset, field.width));
}

// The file, emptied, or no descriptor. The folder may be one that everybody writes to, so the name may be a trap: a
// link elsewhere, or a pipe that nobody reads.
int open_emptied(const char *filename)
{
    const int fd = open(filename, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
    struct stat status {};
    if (fd < 0 || (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 && ftruncate(fd, 0) == 0))
        return fd;
    close(fd);
    return -1;
}

} // namespace

int vccif_dump_status(char *buffer, int position, guint8 tag)
{
    GUARD(buffer, -1);
    GUARD(position >= 0 && position < VCCIF_DUMP_SIZE, -1);
    const StatusEntry *entry = vccif_get_status_entry(tag);
    if (entry == nullptr) {
        log_error("Unknown status tag");
        return -1;
    }
    Writer text(buffer, position);
    text.add("TAG %02x Status now: %ld\n", tag, static_cast<long>(clock_calendar_time()));
    if (const unsigned count = add_length(text, *entry); count > 0)
        add_bytes(text, *entry, count);
    text.add("\n *************************** %d byte write\n", text.written());
    return text.written();
}

bool vccif_dump_status_to_file(const char *filename)
{
    GUARD(filename, false);
    char buffer[VCCIF_DUMP_SIZE];
    int length = 0;
    for (const guint8 tag : DUMPED_TAGS) {
        const int count = vccif_dump_status(buffer, length, tag);
        if (count < 0)
            return false;
        length += count;
    }
    Writer text(buffer, length);
    add_fields(text);
    length += text.written();
    const auto size = static_cast<std::size_t>(length);
    const Descriptor file(open_emptied(filename));
    return file && file.write_all(buffer, size) == size;
}
