// A parameter of one of the framework's groups, as it was when it was read.
#pragma once

#include "glib_owned.h"
#include "ptzorvel/ptz_dynamical_properties.h"

#include <cstring>

class Parameter {
  public:
    // `group`: the framework's handle, e.g. limit_params; a null one has no parameters.
    Parameter(PTZDynamicalProperties *group, const char *name) : value_(ptz_dynamical_properties_get(group, name)) {}

    bool is_integer() const { return value_ && G_VALUE_HOLDS_INT(value_.get()); }
    bool is_boolean() const { return value_ && G_VALUE_HOLDS_BOOLEAN(value_.get()); }
    bool is_text() const { return value_ && G_VALUE_HOLDS_STRING(value_.get()); }

    // Each only of a parameter that is one.
    int integer() const { return g_value_get_int(value_.get()); }
    bool boolean() const { return g_value_get_boolean(value_.get()) != FALSE; }

    // Null when it is no text, or a text without a value; valid as long as the parameter.
    const char *text() const { return is_text() ? g_value_get_string(value_.get()) : nullptr; }
    bool says(const char *word) const { return text() != nullptr && std::strcmp(text(), word) == 0; }

    // Null when the group has no such parameter; valid as long as the parameter.
    const GValue *value() const { return value_.get(); }

  private:
    static void value_delete(GValue *value)
    {
        g_value_unset(value);
        g_free(value);
    }
    GOwned<GValue, value_delete> value_;
};
