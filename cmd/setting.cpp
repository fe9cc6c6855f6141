#include "cmd/setting.h"

#include "core/log.h"
#include "vcc/convert.h"

int ptz_driver_canon_cmd_scaled(const PTZDriverCanon *self, const ModelRange &range, unsigned level)
{
    return vccif_percent_to_vcc_range(self->cam_model->*range.field, static_cast<int>(level));
}

gboolean ptz_driver_canon_cmd_send_level(PTZDriverCanon *self, const LevelSetting &setting, unsigned level)
{
    return ptz_driver_canon_cmd_send_record(self, setting.failure, setting.row,
                                            ptz_driver_canon_cmd_scaled(self, setting.range, level));
}

const ModeRow *ptz_driver_canon_cmd_find_mode(const ModeRow *rows, const char *name)
{
    for (const ModeRow *row = rows; row->name != nullptr; ++row)
        if (g_ascii_strcasecmp(row->name, name) == 0)
            return row;
    return nullptr;
}

const ModeRow *ptz_driver_canon_cmd_choose_mode(const PTZDriverCanon *self, const ModeTable &table, const char *name)
{
    const ModeRow *rows = self->cam_model->*table.rows;
    if (rows == nullptr) {
        log_error("%s", table.unavailable);
        return nullptr;
    }
    const ModeRow *row = ptz_driver_canon_cmd_find_mode(rows, name);
    if (row == nullptr)
        table.unsupported(name);
    return row;
}

gboolean ptz_driver_canon_cmd_send_mode(PTZDriverCanon *self, const ModeSetting &setting, const char *name)
{
    const ModeRow *row = ptz_driver_canon_cmd_choose_mode(self, setting.table, name);
    return row != nullptr && ptz_driver_canon_cmd_send_record(self, setting.failure, setting.row, row->code);
}

gboolean ptz_driver_canon_cmd_send_choice(PTZDriverCanon *self, const ChoiceSetting &setting, const char *text)
{
    const ModeRow *choice = ptz_driver_canon_cmd_find_mode(setting.choices, text);
    if (choice == nullptr) {
        log_error("%s", setting.unsupported);
        return FALSE;
    }
    return ptz_driver_canon_cmd_send_record(self, setting.failure, setting.row, choice->code);
}
