// The dump of any store: said as it must be, and never beyond its buffer.
#include "fuzz/target.h"
#include "tests/support/temp_folder.h"
#include "tests/support/virtual_clock.h"
#include "vcc/dump.h"
#include "vcc/status.h"

namespace {

std::string formatted(const char *format, unsigned value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value); // NOLINT: the formats stand below
    return text;
}

std::string expected(std::uint8_t tag)
{
    const StatusEntry &entry = *vccif_get_status_entry(tag);
    const unsigned length = entry.buffer[2] * 256u + entry.buffer[3];
    std::string text = formatted("TAG %02x Status now: 1000000000\n", tag);
    unsigned count = length + 4;
    if (count > entry.capacity) {
        count = entry.capacity;
        text += formatted("Invalid status  Len = %d  \n\n", count);
    } else if (length != 0) {
        text += formatted("Len = %d  \n\n", length);
    } else {
        count = 0;
        text += "No status data (Len = 0)\n\n";
    }
    if (count != 0)
        text += "xxx +  00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F ";
    for (unsigned i = 0; i < count; ++i) {
        text += (i % 16 == 0 ? formatted("\n%03x |", i) : "") + (i % 8 == 0 ? " " : "");
        text += formatted(" %02x", entry.buffer[0] == tag ? entry.buffer[i] : 0u);
    }
    return text + formatted("\n *************************** %d byte write\n", static_cast<unsigned>(text.size()));
}

} // namespace

FUZZ_TARGET(status_dump)
{
    fuzz::Reader reader(input);
    const int position = reader.take<std::uint16_t>() % VCCIF_DUMP_SIZE;
    const VirtualClock clock(1'000'000'000'000'000);
    vccif_clear_status();
    vccif_append_data(reader.rest().data(), static_cast<unsigned>(reader.rest().size()));

    const std::vector<char> filled(VCCIF_DUMP_SIZE, '#');
    std::string whole;
    for (const std::uint8_t tag : {STATUS_TAG_CAMERA, STATUS_TAG_PAN_TILT, STATUS_TAG_SYSTEM, STATUS_TAG_REVISION}) {
        std::vector<char> buffer = filled; // on the heap, where every byte beyond is seen
        const std::string text = expected(tag);
        whole += text;
        HOLDS(vccif_dump_status(buffer.data(), 0, tag) == static_cast<int>(text.size()));
        HOLDS(text == buffer.data());
        buffer = filled;
        const int written = vccif_dump_status(buffer.data(), position, tag);
        HOLDS(written >= 0 && position + written < VCCIF_DUMP_SIZE);
        HOLDS(std::memchr(buffer.data() + position, 0, buffer.size() - static_cast<std::size_t>(position)) ==
              buffer.data() + position + written);
        HOLDS(position == 0 || std::all_of(buffer.begin(), buffer.begin() + position, [](char c) { return c == '#'; }));
    }
    const auto any = static_cast<std::uint8_t>(position);
    std::vector<char> buffer = filled;
    HOLDS((vccif_dump_status(buffer.data(), 0, any) >= 0) == (vccif_get_status_entry(any) != nullptr));
    static const TempFolder folder;
    HOLDS(!vccif_dump_status_to_file(folder.path().c_str()));
    HOLDS(vccif_dump_status_to_file(folder.file("dump").c_str()));
    const std::string file = folder.read("dump");
    HOLDS(file.size() < VCCIF_DUMP_SIZE && file.starts_with(whole + "\n\nLens Temp.(014):"));
    HOLDS(file.ends_with("\n\n\n[EOF]\n"));
    HOLDS(file.find(formatted("PanPos (010):%08x \n", vccif_get_status_value(0xE0, 16, 4))) != std::string::npos);
}
