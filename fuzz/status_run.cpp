// Two runs of status blocks, one after the other, against a store that is written down again here.
#include "fuzz/target.h"
#include "vcc/status.h"

namespace {

struct Place {
    std::uint8_t tag;
    std::vector<std::uint8_t> bytes;
};

class Model {
  public:
    bool append(fuzz::Input run)
    {
        if (run.empty())
            return false;
        std::size_t at = 0;
        while (at < run.size()) {
            const std::size_t left = run.size() - at;
            const unsigned length = left < 4 ? 0u : run[at + 2] * 256u + run[at + 3];
            const std::size_t size = (length + 4) % 65536;
            if (length == 0 || size > left) // a block that does not end within the run is none
                return false;
            for (Place &place : places) {
                if (place.tag != run[at])
                    continue;
                for (std::size_t i = 0; i < place.bytes.size(); ++i)
                    place.bytes[i] = i < size ? run[at + i] : 0;
            }
            if (size == 0)
                return false;
            at += size;
        }
        return true;
    }

    unsigned number(unsigned index, unsigned offset, unsigned size) const
    {
        const Place &place = places[index];
        unsigned value = 0;
        for (unsigned i = offset; i < offset + size && place.bytes[0] == place.tag; ++i)
            value = value * 256 + place.bytes[i];
        return value;
    }

    std::array<Place, 4> places{{{0xF8, std::vector<std::uint8_t>(528)},
                                 {0xE0, std::vector<std::uint8_t>(128)},
                                 {0x60, std::vector<std::uint8_t>(64)},
                                 {0x40, std::vector<std::uint8_t>(32)}}};
};

struct Field {
    unsigned (*get)();
    unsigned place, offset, size;
    unsigned shift = 0, mask = 0xFFFFFFFF;
};

#define SIGNED(name) [] { return static_cast<unsigned>(name()); }
#define TRUTH(name) [] { return name() ? 1u : 0u; }

constexpr Field FIELDS[] = {
    {vccif_get_camera_mode, 0, 28, 1, 1, 3},
    {vccif_get_lens_status, 0, 29, 1},
    {vccif_get_focus_position, 0, 34, 2},
    {vccif_get_zoom_mag_exponent, 0, 79, 1, 4},
    {vccif_get_fov_exponent, 0, 79, 1, 0, 15},
    {vccif_get_digital_zoom_position, 0, 80, 2},
    {vccif_get_zoom_mag_mantissa, 0, 88, 2},
    {vccif_get_hfov_mantissa, 0, 92, 2},
    {vccif_get_vfov_mantissa, 0, 94, 2},
    {vccif_get_av, 0, 103, 1},
    {vccif_get_tv, 0, 104, 1},
    {vccif_get_sv, 0, 105, 1},
    {vccif_get_pan_tilt_status, 1, 4, 1},
    {SIGNED(vccif_get_pan_position), 1, 16, 4},
    {SIGNED(vccif_get_pan_target_position), 1, 20, 4},
    {SIGNED(vccif_get_tilt_position), 1, 32, 4},
    {SIGNED(vccif_get_tilt_target_position), 1, 36, 4},
    {SIGNED(vccif_get_pan_actual_speed), 1, 48, 4},
    {SIGNED(vccif_get_pan_target_speed), 1, 52, 4},
    {SIGNED(vccif_get_tilt_actual_speed), 1, 64, 4},
    {SIGNED(vccif_get_tilt_target_speed), 1, 68, 4},
    {vccif_get_model_id, 2, 28, 1},
    {vccif_get_capture_frequency, 2, 30, 1},
    {vccif_get_capture_mode_state, 2, 31, 1},
    {vccif_get_fw_revision, 3, 4, 4},
};
// Whether any of the bits is set.
constexpr Field BITS[] = {
    {TRUTH(vccif_is_zoom_moving), 0, 29, 1, 0, 0x30}, {TRUTH(vccif_is_focus_moving), 0, 29, 1, 0, 0xC0},
    {TRUTH(vccif_is_lens_busy), 0, 29, 1, 0, 0xA2},   {TRUTH(vccif_is_pan_moving), 1, 4, 1, 0, 0x03},
    {TRUTH(vccif_is_tilt_moving), 1, 4, 1, 0, 0x30},
};

unsigned expected(const Model &model, const Field &field)
{
    return model.number(field.place, field.offset, field.size) >> field.shift & field.mask;
}

void compare(const Model &model)
{
    bool all = true;
    for (unsigned i = 0; i < model.places.size(); ++i) {
        const auto &[tag, bytes] = model.places[i];
        const StatusEntry *entry = vccif_get_status_entry(tag);
        HOLDS(entry->capacity == bytes.size() && entry->max_length == bytes.size());
        HOLDS(std::equal(bytes.begin(), bytes.end(), entry->buffer));
        const bool there = bytes[0] == tag;
        HOLDS(vccif_has_status(tag) == there && vccif_is_available_status(i) == there);
        all = all && there;
    }
    HOLDS(vccif_is_all_status_available() == all);
    for (const Field &field : FIELDS)
        HOLDS(field.get() == expected(model, field));
    for (const Field &field : BITS)
        HOLDS(field.get() == (expected(model, field) != 0 ? 1u : 0u));
}

} // namespace

FUZZ_TARGET(status_run)
{
    fuzz::Reader reader(input);
    const auto cut = reader.take<std::uint8_t>(); // in 256ths of what follows
    const fuzz::Input rest = reader.rest();
    vccif_clear_status();
    Model model;
    const std::size_t first = rest.size() * cut / 256;
    for (const fuzz::Input run : {rest.first(first), rest.subspan(first)}) {
        HOLDS(vccif_append_data(run.data(), static_cast<unsigned>(run.size())) == model.append(run));
        compare(model);
    }
    // Anywhere at all, to the last byte and beyond.
    const unsigned offset = cut * 3u, size = static_cast<unsigned>(rest.size()) % 7;
    for (const auto &[tag, bytes] : model.places) {
        const bool within = size <= 4 && offset <= bytes.size() && size <= bytes.size() - offset;
        HOLDS(within || vccif_read_status_value(tag, offset, size) == 0);
    }
    HOLDS(vccif_read_status_value(cut, 0, 4) == vccif_get_status_value(cut, 0, 4));
    HOLDS(!vccif_is_available_status(4 + cut));
    vccif_clear_status();
    compare(Model());
}
