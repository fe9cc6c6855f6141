#include "utils/capabilities.h"

#include "core/fixed_point.h"
#include "core/log.h"
#include "core/value_map.h"
#include "glib_owned.h"
#include "vcc/model.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t VALUE_MAX = 2047;
constexpr std::size_t ENTRIES_MAX = 10;
constexpr int SPEED_PIECES_MAX = 100;
constexpr int SPEED_STEPS = 100; // of pan, tilt and zoom alike

// Entries on their way to the caller.
class Entries {
  public:
    Entries() : texts_(g_new0(char *, ENTRIES_MAX + 1)) {}

    void add(const char *key, int value) { put(g_strdup_printf("%s=%d", key, value)); }
    void add(const char *key, const std::string &value)
    {
        put(g_strdup_printf("%s=%s", key, value.substr(0, VALUE_MAX).c_str()));
    }
    char **release() { return texts_.release(); }

  private:
    void put(char *text) { texts_.get()[count_++] = text; }

    GTexts texts_;
    std::size_t count_ = 0;
};

// One more item of a comma-separated list.
void append(std::string *list, const char *format, auto... values)
{
    const GText item(g_strdup_printf(format, values...));
    list->append(list->empty() ? "" : ",").append(item.get());
}

std::string near_focus_list(const CameraModel &model)
{
    std::string list;
    if (model.near_focus_limit_supported && model.near_focus_limits != nullptr)
        for (const NearFocusLimit *row = model.near_focus_limits; row->distance_cm != -1; ++row)
            append(&list, "value=%d|distance=%d", row->position, row->distance_cm);
    return list;
}

std::string speed_list(const PTZDriverCanon *self)
{
    std::string list;
    if (self->move_speed_enum == nullptr)
        return list;
    const GTexts pieces(g_strsplit(self->move_speed_enum, ",", SPEED_PIECES_MAX));
    for (char **piece = pieces.get(); *piece != nullptr; ++piece) {
        int value = 0;
        float speed = 0;
        if (std::sscanf(*piece, " %d | %f ", &value, &speed) == 2)
            append(&list, "value=%d|speed=%0.2f", value, static_cast<double>(speed));
        else
            log_error("Could not parse speed table entry \"%s\"", *piece);
    }
    return list;
}

void append_zoom_step(std::string *list, const PTZDriverCanon *self, float magnification, int shown)
{
    const float position = ptz_driver_canon_utils_magnification_to_zoom(self, magnification);
    append(list, "value=%d|zoom=%d", truncate_to_int(position), shown);
}

std::string zoom_step_list(const PTZDriverCanon *self)
{
    const float optical = self->cam_model->max_optical_magnification;
    const int whole_optical = truncate_to_int(optical);
    const int whole_digital = truncate_to_int(self->max_digital_zoom);
    std::string list;
    for (int step = 2; step <= whole_optical; ++step)
        append_zoom_step(&list, self, real(step), step);
    // Beyond what the value can hold no step is looked at: the factor comes from a file and may be huge.
    for (int step = 2; step <= whole_digital && list.size() <= VALUE_MAX; step += 2)
        append_zoom_step(&list, self, real(step) * optical, step * whole_optical);
    return list;
}

void add_focus(Entries *entries, const PTZDriverCanon *self)
{
    entries->add("focusSpeed", 20);
    entries->add("minFocus", near_focus_list(*self->cam_model));
}

void add_speed(Entries *entries, const PTZDriverCanon *self)
{
    entries->add("queryInterval", 300);
    entries->add("panSpeed", SPEED_STEPS);
    entries->add("tiltSpeed", SPEED_STEPS);
    if (self->move_speed)
        entries->add("speeds", speed_list(self));
}

void add_zoom(Entries *entries, const PTZDriverCanon *self)
{
    entries->add("maxOpticalZoomMag", truncate_to_int(self->cam_model->max_optical_magnification));
    entries->add("maxDigitalZoomMag", truncate_to_int(self->max_digital_zoom));
    entries->add("zoomSpeed", SPEED_STEPS);
    entries->add("zoomSteps", zoom_step_list(self));
}

constexpr struct {
    const char *name;
    void (*add)(Entries *entries, const PTZDriverCanon *self);
} CATEGORIES[] = {{"focus", add_focus}, {"speed", add_speed}, {"zoom", add_zoom}};

} // namespace

gboolean ptz_driver_canon_utils_get_capabilities(const PTZDriverCanon *self, const char *category, char ***list)
{
    const bool all = category == nullptr || *category == '\0';
    Entries entries;
    for (const auto &known : CATEGORIES)
        if (all || std::strcmp(known.name, category) == 0)
            known.add(&entries, self);
    *list = entries.release();
    return TRUE;
}
