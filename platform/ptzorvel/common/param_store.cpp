#include "ptzorvel/common/param_store.h"

#include "ptzorvel/common/quote.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr std::string_view kRangeDots = "..";

std::optional<int> parse_integer(std::string_view text)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::string_view text_or_empty(const char *text)
{
    return text != nullptr ? text : "";
}

// "min..max"
bool parse_bounds(ParamInfo &info)
{
    const auto dots = info.range.find(kRangeDots);
    if (dots == std::string::npos)
        return false;
    const std::string_view range = info.range;
    const auto low = parse_integer(range.substr(0, dots));
    const auto high = parse_integer(range.substr(dots + kRangeDots.size()));
    if (!low || !high || *low > *high)
        return false;
    info.bounds = {*low, *high};
    return true;
}

// "value|Label, value|Label"
bool parse_choices(ParamInfo &info)
{
    std::string_view rest = info.range;
    while (!rest.empty()) {
        const auto comma = rest.find(", ");
        const std::string_view entry = rest.substr(0, comma);
        const auto bar = entry.find('|');
        if (bar == 0 || bar == std::string_view::npos)
            return false;
        info.choices.emplace_back(entry.substr(0, bar), entry.substr(bar + 1));
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 2);
    }
    return !info.choices.empty();
}

// The row as a parameter of `group`; none when the row makes no sense.
std::optional<ParamInfo> parse_row(const std::string &group, const PTZParamDefinition &row)
{
    ParamInfo info;
    info.group = group;
    info.name = text_or_empty(row.name);
    info.display = text_or_empty(row.display_name);
    info.default_text = text_or_empty(row.default_text);
    info.range = text_or_empty(row.range);
    info.kind = row.type;
    info.any_case = (row.flags & PTZ_PARAM_FLAG_ANY_CASE) != 0;
    if (info.name.empty() || param_kind_name(row.type) == nullptr)
        return std::nullopt;
    if (row.control == PTZ_CONTROL_CHOICE) {
        if (!parse_choices(info))
            return std::nullopt;
    } else if (row.type == PTZ_PARAM_INTEGER && !info.range.empty() && !parse_bounds(info)) {
        return std::nullopt;
    }
    // A plain text that nobody is shown by name is something the driver reports, not something to set.
    info.writable = row.type != PTZ_PARAM_STRING || row.control == PTZ_CONTROL_CHOICE || !info.display.empty();
    if (info.default_text.empty())
        return info;
    auto value = param_value_from_text(info.kind, info.default_text);
    if (!value || !param_fit(info, *value).empty())
        return std::nullopt;
    info.value = std::move(*value);
    return info;
}

std::string join_choices(const ParamInfo &info)
{
    std::string text;
    for (const auto &[value, label] : info.choices)
        text += (text.empty() ? "" : ", ") + value;
    return text;
}

// The choice that the text names, as the list spells it.
const std::string *find_choice(const ParamInfo &info, const std::string &text)
{
    for (const auto &[value, label] : info.choices)
        if (value == text || (info.any_case && g_ascii_strcasecmp(value.c_str(), text.c_str()) == 0))
            return &value;
    return nullptr;
}

std::size_t kind_index(guint32 kind)
{
    return kind == PTZ_PARAM_INTEGER ? 1 : kind == PTZ_PARAM_BOOLEAN ? 2 : 3; // alternatives of ParamValue
}

} // namespace

const char *param_kind_name(guint32 kind)
{
    switch (kind) {
    case PTZ_PARAM_STRING:
        return "string";
    case PTZ_PARAM_INTEGER:
        return "integer";
    case PTZ_PARAM_BOOLEAN:
        return "boolean";
    default:
        return nullptr;
    }
}

std::optional<ParamValue> param_value_from_text(guint32 kind, std::string_view text)
{
    if (kind == PTZ_PARAM_STRING)
        return std::string(text);
    if (kind == PTZ_PARAM_BOOLEAN) {
        if (text == "true" || text == "false")
            return text == "true";
        return std::nullopt;
    }
    const auto number = parse_integer(text);
    return number ? std::optional<ParamValue>(*number) : std::nullopt;
}

std::string param_value_to_text(const ParamValue &value)
{
    if (const auto *number = std::get_if<int>(&value))
        return std::to_string(*number);
    if (const auto *on = std::get_if<bool>(&value))
        return *on ? "true" : "false";
    const auto *text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : "";
}

std::string param_fit(const ParamInfo &info, ParamValue &value)
{
    const std::string name = info.group + "." + info.name;
    if (std::holds_alternative<std::monostate>(value))
        return info.kind == PTZ_PARAM_STRING ? "" : name + " must have a value.";
    if (value.index() != kind_index(info.kind))
        return name + " takes a value of kind " + param_kind_name(info.kind) + ".";
    if (const auto *number = std::get_if<int>(&value)) {
        if (info.bounds && (*number < info.bounds->first || *number > info.bounds->second))
            return name + " takes numbers in " + info.range + ", not " + std::to_string(*number) + ".";
    }
    if (info.choices.empty())
        return "";
    const std::string text = param_value_to_text(value);
    const std::string *chosen = find_choice(info, text);
    if (chosen == nullptr)
        return name + " takes one of " + join_choices(info) + ", not " + quoted(text) + ".";
    if (info.kind == PTZ_PARAM_STRING)
        value = *chosen;
    return "";
}

bool PTZDynamicalProperties::add_table(const PTZParamDefinition *table)
{
    if (table == nullptr)
        return false;
    const std::lock_guard lock(mutex_);
    std::vector<ParamInfo> all = params_;
    for (; table->type != PTZ_PARAM_END; table++) {
        auto info = parse_row(name_, *table);
        if (!info || std::any_of(all.begin(), all.end(), [&](const ParamInfo &p) { return p.name == info->name; }))
            return false;
        all.push_back(std::move(*info));
    }
    params_ = std::move(all);
    return true;
}

std::vector<ParamInfo> PTZDynamicalProperties::list() const
{
    const std::lock_guard lock(mutex_);
    return params_;
}

std::optional<ParamInfo> PTZDynamicalProperties::find(std::string_view name) const
{
    const std::lock_guard lock(mutex_);
    for (const ParamInfo &info : params_)
        if (info.name == name)
            return info;
    return std::nullopt;
}

ParamInfo *PTZDynamicalProperties::find_for(std::string_view name, ParamValue &value, std::string &refusal)
{
    for (ParamInfo &info : params_) {
        if (info.name != name)
            continue;
        refusal = param_fit(info, value);
        return refusal.empty() ? &info : nullptr;
    }
    refusal = name_ + " has no parameter " + quoted(name) + ".";
    return nullptr;
}

std::string PTZDynamicalProperties::set(std::string_view name, ParamValue value)
{
    const std::lock_guard lock(mutex_);
    std::string refusal;
    if (ParamInfo *info = find_for(name, value, refusal))
        info->value = std::move(value);
    return refusal;
}

std::string PTZDynamicalProperties::begin_trial(std::string_view name, ParamValue value)
{
    const std::lock_guard lock(mutex_);
    std::string refusal;
    if (ParamInfo *info = find_for(name, value, refusal))
        info->trial = std::move(value);
    return refusal;
}

void PTZDynamicalProperties::end_trial(std::string_view name, bool taken)
{
    const std::lock_guard lock(mutex_);
    for (ParamInfo &info : params_) {
        if (info.name != name || !info.trial)
            continue;
        if (taken)
            info.value = std::move(*info.trial);
        info.trial.reset();
    }
}

PTZDynamicalProperties *ParamStore::group(std::string_view name, bool create)
{
    const std::lock_guard lock(mutex_);
    for (const auto &group : groups_)
        if (group->name() == name)
            return group.get();
    return create ? groups_.emplace_back(std::make_unique<PTZDynamicalProperties>(std::string(name))).get() : nullptr;
}

std::vector<PTZDynamicalProperties *> ParamStore::groups() const
{
    const std::lock_guard lock(mutex_);
    std::vector<PTZDynamicalProperties *> all;
    for (const auto &group : groups_)
        all.push_back(group.get());
    return all;
}

GValue *ptz_dynamical_properties_get(PTZDynamicalProperties *properties, const char *name)
{
    if (properties == nullptr || name == nullptr)
        return nullptr;
    const auto info = properties->find(name);
    const ParamValue shown = info ? info->trial.value_or(info->value) : ParamValue();
    if (std::holds_alternative<std::monostate>(shown))
        return nullptr;
    auto *value = g_new0(GValue, 1);
    if (const auto *number = std::get_if<int>(&shown))
        g_value_set_int(g_value_init(value, G_TYPE_INT), *number);
    else if (const auto *on = std::get_if<bool>(&shown))
        g_value_set_boolean(g_value_init(value, G_TYPE_BOOLEAN), *on);
    else
        g_value_set_string(g_value_init(value, G_TYPE_STRING), std::get<std::string>(shown).c_str());
    return value;
}
