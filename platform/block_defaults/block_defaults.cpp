#include "block_defaults/block_defaults.h"

#include "glib_owned.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <syslog.h>

struct _BlockDefaults {
    std::string model;
    std::string capture_mode;
};

namespace {

std::mutex defaults_mutex;
std::map<std::string, BlockDefaults> defaults_by_block; // nodes stay where they are: handles are their addresses

std::string defaults_path()
{
    const char *folder = std::getenv("PTZ_DATA_DIR");
    return std::string(folder != nullptr && *folder != '\0' ? folder : "/usr/share/ptz") + "/block_defaults.conf";
}

std::string read_text(GKeyFile *file, const char *group, const char *key)
{
    const GText text(g_key_file_get_string(file, group, key, nullptr));
    return text != nullptr ? text.get() : "";
}

BlockDefaultsRecord *new_record(const std::string &text)
{
    if (text.empty())
        return nullptr;
    auto *record = g_new(BlockDefaultsRecord, 1);
    record->size = text.size();
    record->text = g_strdup(text.c_str());
    return record;
}

} // namespace

BlockDefaults *block_defaults_init(const char *block_name, const char *block_version)
{
    if (block_name == nullptr || block_version == nullptr)
        return nullptr;
    const std::string path = defaults_path();
    const GKeyFileOwned file(g_key_file_new());
    GErrorSlot error;
    if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, error)) {
        // A camera without stored defaults is a normal camera; an unreadable store is not.
        if (!g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_NOENT))
            syslog(LOG_WARNING, "Block defaults are not used: %s: %s", path.c_str(), error->message);
        return nullptr;
    }
    if (read_text(file.get(), block_name, "Version") != block_version)
        return nullptr;
    const std::lock_guard lock(defaults_mutex);
    BlockDefaults &defaults = defaults_by_block[block_name];
    defaults.model = read_text(file.get(), block_name, "Model");
    defaults.capture_mode = read_text(file.get(), block_name, "CaptureMode");
    return &defaults;
}

BlockDefaultsRecord *block_defaults_get_block_model(BlockDefaults *defaults)
{
    if (defaults == nullptr)
        return nullptr;
    const std::lock_guard lock(defaults_mutex);
    return new_record(defaults->model);
}

BlockDefaultsRecord *block_defaults_get_capture_mode(BlockDefaults *defaults)
{
    if (defaults == nullptr)
        return nullptr;
    const std::lock_guard lock(defaults_mutex);
    return new_record(defaults->capture_mode);
}

void block_defaults_free(BlockDefaultsRecord *record)
{
    if (record == nullptr)
        return;
    g_free(const_cast<char *>(record->text));
    g_free(record);
}
