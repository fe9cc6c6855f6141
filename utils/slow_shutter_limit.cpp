#include "utils/slow_shutter_limit.h"

#include "core/log.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace {

gboolean parse_text(const char *text, int *limit)
{
    char *end = nullptr;
    const long number = text != nullptr ? std::strtol(text, &end, 10) : 0;
    if (end == text) {
        log_error("Unsupported slow shutter limit: %s", text != nullptr ? text : "");
        return FALSE;
    }
    *limit =
        static_cast<int>(std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
    return TRUE;
}

} // namespace

gboolean ptz_driver_canon_utils_parse_slow_shutter_limit(const GValue *value, int *limit)
{
    if (value == nullptr)
        return FALSE;
    if (G_VALUE_HOLDS_STRING(value))
        return parse_text(g_value_get_string(value), limit);
    if (!G_VALUE_HOLDS_INT(value))
        return FALSE;
    *limit = g_value_get_int(value);
    return TRUE;
}
