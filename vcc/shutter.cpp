#include "vcc/shutter.h"

#include "core/instance.h"
#include "core/log.h"

namespace {

// The rows for the current capture mode; a message when there are none.
template <typename Table>
auto current_rows(const PTZDriverCanon *self, const Table *tables)
{
    const auto *rows = ptz_driver_canon_utils_get_shutter_table(tables, self->current.capture_mode);
    if (rows == nullptr)
        log_error("Unavailable shutter table");
    return rows;
}

// The row that ends a table holds -1 as its code and time, which is the answer when nothing fits. It would pass for any
// number below it, so it is looked for first.

int code_of_slow_limit(const PTZDriverCanon *self, int limit)
{
    const SlowShutterRow *row = current_rows(self, self->cam_model->slow_shutter_tbls);
    if (row == nullptr)
        return -1;
    while (row->limit != 0 && row->limit > limit)
        row++;
    return row->code;
}

// The code of the first row that has at least `value` in that column.
int code_of_at_least(const PTZDriverCanon *self, int ShutterRow::*column, int value)
{
    const ShutterRow *row = current_rows(self, self->cam_model->shutter_tbls);
    if (row == nullptr)
        return -1;
    while (row->percent != -1 && row->*column < value)
        row++;
    return row->code;
}

int slowest_time(const ShutterRow *row)
{
    int time = -1;
    for (; row->percent != -1; row++) {
        time = row->exposure_us;
        if (row->percent > 99)
            break;
    }
    return time;
}

int max_exposure_time(const PTZDriverCanon *self, const char *mode)
{
    const char *capture_mode = self->current.capture_mode;
    const ShutterRow *rows = ptz_driver_canon_utils_get_shutter_table(self->cam_model->shutter_tbls, capture_mode);
    const SlowShutterRow *slow_rows =
        ptz_driver_canon_utils_get_shutter_table(self->cam_model->slow_shutter_tbls, capture_mode);
    if (rows == nullptr || slow_rows == nullptr) {
        log_error("Unavailable shutter table");
        return -1;
    }
    if (g_ascii_strcasecmp(mode, "on") == 0)
        return slowest_time(rows);
    if (g_ascii_strcasecmp(mode, "off") == 0)
        return slow_rows->exposure_us; // limits fall from -1: the first row, or the end of an empty table
    log_error("Unsupported shutter mode: %s", mode);
    return -1;
}

} // namespace

int vccif_percent_to_vcc_shutter(const PTZDriverCanon *self, int value)
{
    return value < 0 ? code_of_slow_limit(self, value) : code_of_at_least(self, &ShutterRow::percent, value);
}

int vccif_exposure_time_to_vcc_shutter(const PTZDriverCanon *self, int value)
{
    return value < 0 ? code_of_slow_limit(self, value) : code_of_at_least(self, &ShutterRow::exposure_us, value);
}

int vccif_vcc_to_exposure_time_shutter(const PTZDriverCanon *self, int value)
{
    GUARD(value >= 0, -1);
    const ShutterRow *row = current_rows(self, self->cam_model->shutter_tbls);
    if (row == nullptr)
        return -1;
    while (row->percent != -1 && row->code > value)
        row++;
    return row->exposure_us;
}

int ptz_driver_canon_utils_get_max_exposure_time(const PTZDriverCanon *self, const char *mode)
{
    GUARD(mode, -1);
    const int time = max_exposure_time(self, mode);
    if (time == -1)
        log_error("Could not get maximum exposure time");
    return time;
}
