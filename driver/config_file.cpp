#include "driver/config_file.h"

#include "core/paths.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace {

// How many letters have to be changed to make one word of the other.
std::size_t distance(const std::string &from, const std::string &to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const bool same = g_ascii_tolower(from[i]) == g_ascii_tolower(to[j]);
            const std::size_t cost = std::min({row[j] + 1, row[j + 1] + 1, diagonal + (same ? 0 : 1)});
            diagonal = std::exchange(row[j + 1], cost);
        }
    }
    return row.back();
}

// "; did you mean ...?", or nothing when no word is like it.
std::string suggestion(const std::string &word, const std::vector<std::string> &words)
{
    const auto far = [&](const std::string &one) { return distance(word, one); };
    const auto best =
        std::min_element(words.begin(), words.end(), [&](const auto &a, const auto &b) { return far(a) < far(b); });
    if (best == words.end() || far(*best) > std::max<std::size_t>(1, best->size() / 3))
        return "";
    return "; did you mean " + *best + "?";
}

std::string trimmed(const std::string &text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// By ConfigKind.
constexpr std::array<const char *, 6> KINDS{"neither the number of a line, 0 or more, nor its name",
                                            "neither true nor false",
                                            "no whole number",
                                            "no number",
                                            "no number",
                                            "no text"};

std::string short_number(double value)
{
    std::array<char, G_ASCII_DTOSTR_BUF_SIZE> text{};
    return g_ascii_formatd(text.data(), text.size(), "%g", value);
}

} // namespace

ConfigFile::ConfigFile(const char *name, ConfigReport &report)
    : path_(data_path(name)), report_(report), file_(g_key_file_new())
{
}

bool ConfigFile::load()
{
    GErrorSlot error;
    char *contents = nullptr;
    gsize length = 0;
    if (g_file_test(path_.c_str(), G_FILE_TEST_IS_DIR) != FALSE) {
        tell("error", path_, "is a folder; put the configuration file in its place");
        return false;
    }
    if (g_file_get_contents(path_.c_str(), &contents, &length, error) == FALSE) {
        const bool missing = g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_NOENT) != FALSE;
        tell("error", path_,
             missing ? "is not there; copy the sample and fill in the lines of the board"
                     : std::string("cannot be read: ") + error->message);
        return false;
    }
    const GText text(contents);
    read_lines(std::string(contents, length));
    if (g_key_file_load_from_data(file_.get(), contents, length, G_KEY_FILE_NONE, error) != FALSE)
        return true;
    if (readable_) // it was none of the lines
        tell("error", path_, error->message);
    return false;
}

void ConfigFile::read_lines(const std::string &text)
{
    const GTexts lines(g_strsplit(text.c_str(), "\n", -1));
    Group *group = nullptr;
    for (int number = 1; lines.get()[number - 1] != nullptr; ++number) {
        const std::string line = trimmed(lines.get()[number - 1]);
        if (line.empty() || line[0] == '#')
            continue;
        if (line[0] == '[' && line.back() == ']') {
            group = &groups_.try_emplace(line.substr(1, line.size() - 2), Group{number, {}}).first->second;
            continue;
        }
        const std::size_t equals = line.find('=');
        const char *fault = equals == std::string::npos || equals == 0 ? "is neither KEY=VALUE, [GROUP] nor a # comment"
                            : group == nullptr                         ? "stands before the first [GROUP]"
                                                                       : nullptr;
        if (fault != nullptr) {
            readable_ = false;
            tell("error", at(number), "\"" + line + "\" " + fault);
            continue;
        }
        const std::string key = trimmed(line.substr(0, equals));
        if (!group->keys.insert_or_assign(key, number).second)
            tell("warning", at(number), key + " stands there twice; this one counts");
    }
}

void ConfigFile::tell(const char *weight, const std::string &place, const std::string &text)
{
    GText clean(g_utf8_make_valid(text.c_str(), -1));
    report_.problems.push_back(place + ": " + weight + ": " + clean.get());
}

std::string ConfigFile::place(const std::string &group, const std::string &key) const
{
    const auto found = groups_.find(group);
    if (found == groups_.end())
        return path_;
    const auto line = found->second.keys.find(key);
    return at(line == found->second.keys.end() ? found->second.line : line->second);
}

bool ConfigFile::has(const char *group, const char *key) const
{
    const auto found = groups_.find(group);
    return found != groups_.end() && found->second.keys.contains(key);
}

void ConfigFile::check(const char *group, const std::vector<ConfigRule> &rules)
{
    std::vector<std::string> names;
    names.reserve(rules.size());
    for (const ConfigRule &rule : rules)
        names.emplace_back(rule.name);
    if (has(group))
        for (const auto &[key, line] : groups_.at(group).keys)
            if (std::find(names.begin(), names.end(), key) == names.end())
                tell("warning", at(line), key + " is no key of [" + group + "]" + suggestion(key, names));
    for (const ConfigRule &rule : rules) {
        if (has(group, rule.name))
            check_value(group, rule);
        else if (rule.required)
            tell(rule.strict ? "error" : "warning", place(group, ""),
                 std::string(rule.name) + " is missing from [" + group + "]");
    }
}

void ConfigFile::check_groups(const std::vector<std::string> &known)
{
    for (const auto &[name, group] : groups_)
        if (std::find(known.begin(), known.end(), name) == known.end())
            tell("warning", at(group.line), "[" + name + "] is no group of this file" + suggestion(name, known));
}

std::string ConfigFile::text(const std::string &group, const char *key) const
{
    GErrorSlot error;
    const GText text(g_key_file_get_string(file_.get(), group.c_str(), key, error));
    return error || text == nullptr ? "" : text.get();
}

std::optional<double> ConfigFile::number(const char *group, const char *key) const
{
    GErrorSlot error;
    const double value = g_key_file_get_double(file_.get(), group, key, error);
    return error ? std::nullopt : std::optional(value);
}

void ConfigFile::check_value(const char *group, const ConfigRule &rule)
{
    GErrorSlot error;
    GText text;
    double value = 0;
    bool good = true;
    switch (rule.kind) {
    case ConfigKind::pin:
        value = g_key_file_get_integer(file_.get(), group, rule.name, error);
        good = error || value >= 0;
        if (!error)
            break;
        text.reset(g_key_file_get_string(file_.get(), group, rule.name, error));
        good = text != nullptr && *text != '\0';
        if (good && !error)
            report_.lines.push_back({place(group, rule.name), rule.name, text.get()});
        break;
    case ConfigKind::boolean:
        g_key_file_get_boolean(file_.get(), group, rule.name, error);
        break;
    case ConfigKind::text:
        text.reset(g_key_file_get_string(file_.get(), group, rule.name, error));
        break;
    case ConfigKind::integer:
        value = g_key_file_get_integer(file_.get(), group, rule.name, error);
        break;
    default:
        value = g_key_file_get_double(file_.get(), group, rule.name, error);
    }
    if (!error && good) {
        check_range(group, rule, value);
        return;
    }
    const GText raw(g_key_file_get_value(file_.get(), group, rule.name, nullptr));
    tell(rule.strict ? "error" : "warning", place(group, rule.name),
         std::string(rule.name) + ": \"" + (raw != nullptr ? raw.get() : "") + "\" is " +
             KINDS[static_cast<std::size_t>(rule.kind)]);
}

void ConfigFile::check_range(const char *group, const ConfigRule &rule, double value)
{
    if (rule.lowest == rule.highest || (value >= rule.lowest && value <= rule.highest))
        return;
    tell(rule.strict_range ? "error" : "warning", place(group, rule.name),
         std::string(rule.name) + ": " + short_number(value) + " is not between " + short_number(rule.lowest) +
             " and " + short_number(rule.highest));
}
