#include "json.h"

#include "clean_text.h"
#include "glib_owned.h"
#include "numbers.h"

#include <cmath>
#include <cstdio>

namespace {

std::string json_number(double number)
{
    return std::isfinite(number) ? number_text(number) : "null";
}

std::string join_children(GVariant *value, char open, char close)
{
    std::string text(1, open);
    for (gsize i = 0; i < g_variant_n_children(value); i++) {
        if (i > 0)
            text += ',';
        GVariantOwned child(g_variant_get_child_value(value, i));
        text += json_from_variant(child.get());
    }
    return text + close;
}

// "key":value, the key of any basic type.
std::string json_entry(GVariant *entry)
{
    GVariantOwned key(g_variant_get_child_value(entry, 0));
    GVariantOwned value(g_variant_get_child_value(entry, 1));
    const std::string name = json_from_variant(key.get());
    return (name.starts_with('"') ? name : json_text(name)) + ":" + json_from_variant(value.get());
}

} // namespace

std::string json_text(std::string_view text)
{
    std::string json = "\"";
    for (const char at : valid_text(text)) {
        const auto byte = static_cast<unsigned char>(at);
        if (byte == '"' || byte == '\\') {
            json += '\\';
            json += at;
        } else if (byte < 0x20 || byte == 0x7f) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            json += escape;
        } else {
            json += at;
        }
    }
    return json + "\"";
}

std::string json_from_variant(GVariant *value)
{
    switch (g_variant_classify(value)) {
    case G_VARIANT_CLASS_BOOLEAN:
        return g_variant_get_boolean(value) ? "true" : "false";
    case G_VARIANT_CLASS_BYTE:
        return std::to_string(g_variant_get_byte(value));
    case G_VARIANT_CLASS_INT16:
        return std::to_string(g_variant_get_int16(value));
    case G_VARIANT_CLASS_UINT16:
        return std::to_string(g_variant_get_uint16(value));
    case G_VARIANT_CLASS_INT32:
        return std::to_string(g_variant_get_int32(value));
    case G_VARIANT_CLASS_UINT32:
        return std::to_string(g_variant_get_uint32(value));
    case G_VARIANT_CLASS_INT64:
        return std::to_string(g_variant_get_int64(value));
    case G_VARIANT_CLASS_UINT64:
        return std::to_string(g_variant_get_uint64(value));
    case G_VARIANT_CLASS_HANDLE:
        return std::to_string(g_variant_get_handle(value));
    case G_VARIANT_CLASS_DOUBLE:
        return json_number(g_variant_get_double(value));
    case G_VARIANT_CLASS_STRING:
    case G_VARIANT_CLASS_OBJECT_PATH:
    case G_VARIANT_CLASS_SIGNATURE:
        return json_text(g_variant_get_string(value, nullptr));
    case G_VARIANT_CLASS_VARIANT: {
        GVariantOwned inner(g_variant_get_variant(value));
        return json_from_variant(inner.get());
    }
    case G_VARIANT_CLASS_MAYBE: {
        GVariantOwned inner(g_variant_get_maybe(value));
        return inner ? json_from_variant(inner.get()) : "null";
    }
    case G_VARIANT_CLASS_DICT_ENTRY:
        return json_entry(value);
    case G_VARIANT_CLASS_ARRAY:
        if (g_variant_type_is_dict_entry(g_variant_type_element(g_variant_get_type(value))))
            return join_children(value, '{', '}');
        return join_children(value, '[', ']');
    case G_VARIANT_CLASS_TUPLE:
        return join_children(value, '[', ']');
    }
    return "null";
}

std::string value_text(GVariant *value)
{
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
        return printable(g_variant_get_string(value, nullptr));
    return json_from_variant(value);
}

std::string lookup_text(GVariant *dictionary, const char *key)
{
    const GVariantOwned value(g_variant_lookup_value(dictionary, key, nullptr));
    return value ? value_text(value.get()) : "";
}
