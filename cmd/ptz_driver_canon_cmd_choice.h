// Settings that choose one of a few fixed texts, each with its code.
#pragma once

#include "core/ptz_driver_canon.h"
#include "vcc/vcc_rows.h"

#include <span>

struct TextChoice {
    const char *text; // matched without regard to ASCII case
    int value;
};

struct TextSetting {
    const VccRow<3, 1> &row;
    std::span<const TextChoice> choices;
    const char *unsupported; // said when the text is none of the choices
    const char *failure;     // said when the camera block did not take it
};

// The choice that `text` names, or null.
const TextChoice *ptz_driver_canon_cmd_find_choice(std::span<const TextChoice> choices, const char *text);

// Sends the code that `text` chooses. Neither argument may be null.
gboolean ptz_driver_canon_cmd_send_choice(PTZDriverCanon *self, const TextSetting &setting, const char *text);
