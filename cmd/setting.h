// Families of settings: each is one function and a row per setting.
//
//   a level   0..100, scaled through a range of the camera model
//   a mode    of a table of the camera model, by its name
//   a choice  of a few fixed texts
//
// The operation that the framework calls guards its own arguments; then it hands its row and the value to the family.
#pragma once

#include "cmd/send.h"
#include "core/guard.h"
#include "core/instance.h"
#include "core/log.h"
#include "core/zenta.h"
#include "vcc/command.h"
#include "vcc/model.h"
#include "vcc/rows.h"

// The guards below return FALSE from the operation that uses them, with a warning that names it and the argument as it
// is called there. A function could do neither, so they are macros.

// Refuses a level outside of 0..100; `level` is unsigned, so that a negative one counts as too large.
#define GUARD_LEVEL(level)                                                                                             \
    GUARD_AS((level) <= ZENTA_PARAMETER_RANGE_MAX,                                                                     \
             "(ZENTA_PARAMETER_RANGE_MIN <= " #level ") && (" #level " <= ZENTA_PARAMETER_RANGE_MAX)", FALSE)

// Refuses when the model lacks the ModelRange, then a level outside of 0..100.
#define GUARD_SCALED(range, level)                                                                                     \
    GUARD_AS(self->cam_model->*(range).field, (range).expression, FALSE);                                              \
    GUARD_LEVEL(level)

// Refuses a missing driver, then a missing text.
#define GUARD_TEXT(text)                                                                                               \
    GUARD(self, FALSE);                                                                                                \
    GUARD(text, FALSE)

// A range of the camera model that levels are scaled through, and the expression with which a guard reports its lack.
struct ModelRange {
    const Range *CameraModel::*field;
    const char *expression;
};
#define MODEL_RANGE(name) &CameraModel::name, "self->cam_model->" #name // the two of them

// The camera value of a level 0..100; both have been guarded.
int ptz_driver_canon_cmd_scaled(const PTZDriverCanon *self, const ModelRange &range, unsigned level);

struct LevelSetting {
    const VccRow<3, 1> &row;
    ModelRange range;
    const char *failure; // said when the camera block did not take it
};

// Sends the level; it has been guarded.
gboolean ptz_driver_canon_cmd_send_level(PTZDriverCanon *self, const LevelSetting &setting, unsigned level);

struct ModeTable {
    const ModeRow *CameraModel::*rows;
    const char *unavailable; // said when the model has no such table
    LogMessage unsupported;  // said of a name that the table does not have
};

struct ModeSetting {
    const VccRow<3, 1> &row;
    ModeTable table;
    const char *failure;
};

struct ChoiceSetting {
    const VccRow<3, 1> &row;
    const ModeRow *choices;
    const char *unsupported; // said when the text is none of the choices
    const char *failure;
};

// The row of that name, in any letter case, or null. Neither argument may be null.
const ModeRow *ptz_driver_canon_cmd_find_mode(const ModeRow *rows, const char *name);

// The row of that name in the model's table; null with the table's message when there is no table or no such row.
const ModeRow *ptz_driver_canon_cmd_choose_mode(const PTZDriverCanon *self, const ModeTable &table, const char *name);

// Send the code that `name` or `text` stands for, which may not be null.
gboolean ptz_driver_canon_cmd_send_mode(PTZDriverCanon *self, const ModeSetting &setting, const char *name);
gboolean ptz_driver_canon_cmd_send_choice(PTZDriverCanon *self, const ChoiceSetting &setting, const char *text);

// Sends the one record that the row makes of the values.
template <typename Row, typename... Values>
gboolean ptz_driver_canon_cmd_send_record(PTZDriverCanon *self, const char *failure, const Row &row, Values... values)
{
    CommandBuffer commands;
    commands.add(row, values...);
    return ptz_driver_canon_cmd_send_buffer(self, commands, failure);
}
