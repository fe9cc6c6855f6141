// The group "Limit": how far movements and lens may go.
#include "driver/params.h"

#include "cmd/focus.h"
#include "core/log.h"
#include "driver/operations.h"
#include "glib_owned.h"
#include "vcc/model.h"

#include <array>

namespace {

constexpr guint32 FLAGS = 0x81;

// Where a limit is kept; the field angles are kept nowhere.
struct Limit {
    const char *name;
    int PTZDriverCanon::*field;
};

constexpr Limit LIMITS[] = {
    {"MinPan", &PTZDriverCanon::limit_min_pan},
    {"MaxPan", &PTZDriverCanon::limit_max_pan},
    {"MinTilt", &PTZDriverCanon::limit_min_tilt},
    {"MaxTilt", &PTZDriverCanon::limit_max_tilt},
    {"MinZoom", &PTZDriverCanon::limit_min_zoom},
    {"MaxZoom", &PTZDriverCanon::limit_max_zoom},
    {"MinFocus", &PTZDriverCanon::limit_min_focus},
    {"MaxFocus", &PTZDriverCanon::limit_max_focus},
    {"MinIris", &PTZDriverCanon::limit_min_iris},
    {"MaxIris", &PTZDriverCanon::limit_max_iris},
    {"MinBrightness", &PTZDriverCanon::limit_min_brightness},
    {"MaxBrightness", &PTZDriverCanon::limit_max_brightness},
    {"MinFieldAngle", nullptr},
    {"MaxFieldAngle", nullptr},
};

bool read_limit(PTZDriverCanon *self, const Limit &limit, int *value)
{
    const Parameter parameter(self->parent_instance.limit_params, limit.name);
    if (!parameter.is_integer())
        return false;
    *value = parameter.integer();
    return true;
}

void apply_limit(PTZDriverCanon *self, const Limit &limit, int value)
{
    if (limit.field == nullptr)
        return;
    self->*limit.field = value;
    if (limit.field == &PTZDriverCanon::limit_min_focus && self->cam_model->near_focus_limit_supported)
        ptz_driver_canon_cmd_auto_focus_limit(self, value);
}

PTZParamDefinition row(const char *name, const char *display_name, const char *default_text, const char *range)
{
    return {PTZ_PARAM_INTEGER, name, display_name, default_text, FLAGS, PTZ_CONTROL_PLAIN, range};
}

// As the framework takes it: 14 limits and an empty row.
using LimitTable = std::array<PTZParamDefinition, 15>;

LimitTable limit_table(MinMax angles, int near_focus)
{
    const auto interned = [](char *text) { return g_intern_string(GText(text).get()); };
    const char *min_angle = interned(g_strdup_printf("%d", angles.min));
    const char *min_angle_range = interned(g_strdup_printf("%d..%d", angles.min, angles.min));
    const char *max_angle = interned(g_strdup_printf("%d", angles.max));
    const char *max_angle_range = interned(g_strdup_printf("%d..%d", angles.max, angles.max));
    const char *min_focus = interned(g_strdup_printf("%d", near_focus));
    return {
        row("MinZoom", "Zoom Wide", "1", "1..1054"),
        row("MaxZoom", "Zoom Tele", "9999", "1..19999"),
        row("MinFieldAngle", "Min Field Angle", min_angle, min_angle_range),
        row("MaxFieldAngle", "Max Field Angle", max_angle, max_angle_range),
        row("MinPan", "Pan Min", "-170", "-170..170"),
        row("MaxPan", "Pan Max", "170", "-170..170"),
        row("MinTilt", "Tilt Min", "-20", "-20..90"),
        row("MaxTilt", "Tilt Max", "90", "-20..90"),
        row("MinFocus", "Focus Near", min_focus, "1..9999"),
        row("MaxFocus", "Focus Far", "9999", "9999..9999"),
        row("MinIris", "Iris Min", "1", "1..9999"),
        row("MaxIris", "Iris Max", "9999", "1..9999"),
        row("MinBrightness", "Brightness Min", "1", "1..9999"),
        row("MaxBrightness", "Brightness Max", "9999", "1..9999"),
        {},
    };
}

// The table that a model's numbers make. The framework may keep the addresses of rows and texts, so both last as long
// as the process: each table is made once and never freed.
struct KeptTable {
    MinMax angles;
    int near_focus;
    LimitTable rows;
    const KeptTable *next;
};

const PTZParamDefinition *table_for(const CameraModel &model)
{
    static const KeptTable *tables = nullptr;
    const MinMax &angles = model.field_angle_limits;
    const int near_focus = model.near_focus_limit_default;
    for (const KeptTable *table = tables; table != nullptr; table = table->next)
        if (table->angles.min == angles.min && table->angles.max == angles.max && table->near_focus == near_focus)
            return table->rows.data();
    tables = new KeptTable{angles, near_focus, limit_table(angles, near_focus), tables};
    return tables->rows.data();
}

} // namespace

void ptz_driver_canon_install_limits(PTZDriverCanon *self)
{
    PTZDriver *base = ptz_driver_of(self);
    if (!PTZ_DRIVER_GET_CLASS(base)->add_params(base, "Limit", table_for(*self->cam_model)))
        log_error("Installing Limit properties failed");
}

void ptz_driver_canon_read_limits(PTZDriverCanon *self)
{
    for (const Limit &limit : LIMITS) {
        int value = 0;
        if (limit.field != nullptr && read_limit(self, limit, &value))
            apply_limit(self, limit, value);
    }
}

gboolean ptz_driver_canon_op_limit_changed(PTZDriver *driver, const char *name)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    if (!self->driver_initialized)
        return TRUE;
    for (const Limit &limit : LIMITS) {
        if (g_strcmp0(limit.name, name) != 0)
            continue;
        int value = 0;
        if (!read_limit(self, limit, &value)) {
            log_error("Faulty type of Limit parameter value for %s", name);
            return FALSE;
        }
        apply_limit(self, limit, value);
        return TRUE;
    }
    return TRUE;
}
