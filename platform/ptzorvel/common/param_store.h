// The parameters that drivers declare, with their values. For the framework and ptzd; drivers see
// ptz_dynamical_properties.h. Everything here may be called on any thread.
#pragma once

#include "ptzorvel/ptz_dynamical_properties.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

// No value, or a value of the parameter's kind.
using ParamValue = std::variant<std::monostate, int, bool, std::string>;

struct ParamInfo {
    std::string group;
    std::string name;
    std::string display;
    std::string default_text;
    std::string range; // as declared
    guint32 kind = PTZ_PARAM_STRING;
    std::optional<std::pair<int, int>> bounds;                // integers with a range
    std::vector<std::pair<std::string, std::string>> choices; // value and label
    bool any_case = false;                                    // of the choices
    bool writable = true;                                     // by the user; the driver may always write
    ParamValue value;
    std::optional<ParamValue> trial; // what the driver reads instead while it is being asked to take it
};

// A flag of rows that are the framework's own: texts name a choice in any letter case. Drivers take theirs to the
// letter.
constexpr guint32 PTZ_PARAM_FLAG_ANY_CASE = 0x100;

// "string", "integer" or "boolean".
const char *param_kind_name(guint32 kind);

// The text as a value of that kind: an integer in decimal, "true" or "false", any string. None when it is not one.
std::optional<ParamValue> param_value_from_text(guint32 kind, std::string_view text);
// The reverse; no value: "".
std::string param_value_to_text(const ParamValue &value);

// Why `value` cannot be the parameter's value, as a sentence for the user; empty when it can: a choice is then spelled
// as in the list. No value is allowed for strings only.
std::string param_fit(const ParamInfo &info, ParamValue &value);

// One group; the handle that drivers hold.
struct _PTZDynamicalProperties {
  public:
    explicit _PTZDynamicalProperties(std::string name) : name_(std::move(name)) {}

    const std::string &name() const { return name_; }

    // Takes the rows of a table, with their defaults as values (an empty default is no value). False, and nothing is
    // taken, when a row has an unknown type, no name, a name already in the group, or a default or range that its type
    // does not allow.
    bool add_table(const PTZParamDefinition *table);

    std::vector<ParamInfo> list() const;
    std::optional<ParamInfo> find(std::string_view name) const;

    // Sets a value. A sentence when there is no such parameter or the value does not fit; empty when it is set.
    std::string set(std::string_view name, ParamValue value);

    // Shows the driver a value, and nobody else; a sentence, and nothing is shown, as for set().
    std::string begin_trial(std::string_view name, ParamValue value);
    // The driver has taken it, which makes it the parameter's value, or has not.
    void end_trial(std::string_view name, bool taken);

  private:
    // The parameter and its value made fit, or null and why not; under the mutex.
    ParamInfo *find_for(std::string_view name, ParamValue &value, std::string &refusal);

    const std::string name_;
    mutable std::mutex mutex_;
    std::vector<ParamInfo> params_;
};

// The groups of one driver.
class ParamStore {
  public:
    // The group of that name; null when there is none and `create` is not asked for. Lives as long as the store.
    PTZDynamicalProperties *group(std::string_view name, bool create = false);

    std::vector<PTZDynamicalProperties *> groups() const;

  private:
    mutable std::mutex mutex_;
    std::vector<std::unique_ptr<PTZDynamicalProperties>> groups_;
};
