// D-Bus values as JSON, on one line.
#pragma once

#include <glib.h>

#include <string>
#include <string_view>

// A JSON text with its quotes. Invalid UTF-8 is replaced, control characters are escaped.
std::string json_text(std::string_view text);

// A text as it stands but printable, any other value as JSON writes it: on, 25, true.
std::string value_text(GVariant *value);
// That of a value in a dictionary of texts and variants; "" when it is not there.
std::string lookup_text(GVariant *dictionary, const char *key);

// The value as JSON: dictionaries as objects (keys as texts), other containers as arrays, a variant as what it holds,
// an empty maybe and numbers that are not finite as null. `value` stays the caller's.
std::string json_from_variant(GVariant *value);
