#include "cmd/ptz_driver_canon_cmd_choice.h"

#include "cmd/ptz_driver_canon_cmd_send.h"
#include "core/log.h"

const TextChoice *ptz_driver_canon_cmd_find_choice(std::span<const TextChoice> choices, const char *text)
{
    for (const TextChoice &choice : choices)
        if (g_ascii_strcasecmp(choice.text, text) == 0)
            return &choice;
    return nullptr;
}

gboolean ptz_driver_canon_cmd_send_choice(PTZDriverCanon *self, const TextSetting &setting, const char *text)
{
    const TextChoice *choice = ptz_driver_canon_cmd_find_choice(setting.choices, text);
    if (choice == nullptr) {
        log_error("%s", setting.unsupported);
        return FALSE;
    }
    CommandBuffer commands;
    commands.add(setting.row, choice->value);
    return ptz_driver_canon_cmd_send_buffer(self, commands, setting.failure);
}
