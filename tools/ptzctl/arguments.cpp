#include "arguments.h"

#include "condition.h"
#include "glib_owned.h"
#include "numbers.h"

#include <algorithm>

namespace {

using Found = std::map<std::string, std::string, std::less<>>;

gboolean on_option(const char *name, const char *value, gpointer data, GError **error) noexcept
{
    // Of a flag that is given twice nobody complains.
    const bool is_new = static_cast<Found *>(data)->emplace(name, value != nullptr ? value : "").second;
    if (is_new || value == nullptr)
        return TRUE;
    g_set_error(error, G_OPTION_ERROR, G_OPTION_ERROR_FAILED, "Option %s is given twice", name);
    return FALSE;
}

bool has_value(const Option &option)
{
    return *option.value.name != '\0';
}

bool fits(const Field &field, const std::string &word)
{
    switch (field.kind) {
    case Kind::Word:
        return word == field.name;
    case Kind::Choice: {
        const std::vector<std::string> choices = choices_of(field);
        return std::find(choices.begin(), choices.end(), word) != choices.end();
    }
    case Kind::Parameter:
        return word.find('.') != std::string::npos;
    default:
        return true; // said more about by who reads it
    }
}

// What a number or a state has to be, beyond its place.
void check_field(const Field &field, const std::string &what, const std::string &word)
{
    if (field.kind == Kind::Number)
        (void)parse_number(word, what, field.least, field.most);
    else if (field.kind == Kind::Whole)
        (void)parse_integer(word, what, static_cast<int>(field.least), static_cast<int>(field.most));
    else if (field.kind == Kind::State && find_state(word) == nullptr)
        throw usage_failure("there is no state '" + printable(word) + "'; 'ptzctl state --help' names them");
    else if (field.kind == Kind::Condition)
        (void)parse_condition(word);
}

// A word that no form has a place for.
Failure misfit(const Command &command, const std::vector<const Form *> &forms, std::size_t index,
               const std::string &word)
{
    std::string wanted;
    for (const Form *form : forms) {
        if (const Field *field = field_at(*form, index))
            wanted += (wanted.empty() ? "" : ", ") + std::string(field->name);
    }
    const std::string name = std::string("'") + command.name + "'";
    if (wanted.empty())
        return usage_failure(name + " does not know what to do with '" + printable(word) + "'" + see_help(&command));
    return usage_failure(name + " takes " + wanted + " here, not '" + printable(word) + "'" + see_help(&command));
}

// The form that the words fill.
const Form &filled_form(const Command &command, const std::vector<const Form *> &forms, std::size_t count)
{
    std::string wanted;
    for (const Form *form : forms) {
        const Field *next = field_at(*form, count);
        if (next == nullptr || next->need == Need::Optional || (next->need == Need::Many && count >= form->size()))
            return *form;
        wanted += (wanted.empty() ? "" : " or ") + std::string(next->name);
    }
    throw usage_failure(std::string("'") + command.name + "' needs " + wanted + see_help(&command));
}

} // namespace

std::string see_help(const Command *command)
{
    return "; see 'ptzctl " + (command != nullptr ? command->name + std::string(" ") : "") + "--help'";
}

const Field *field_at(const Form &form, std::size_t index)
{
    if (index < form.size())
        return &form[index];
    return !form.empty() && form.back().need == Need::Many ? &form.back() : nullptr;
}

std::vector<const Form *> forms_taking(const Command &command, std::vector<std::string> &words)
{
    std::vector<const Form *> forms;
    for (const Form &form : command.forms)
        forms.push_back(&form);
    for (std::size_t i = 0; i < words.size(); i++) {
        const auto wants_parameter = [i](const Form *form) {
            const Field *field = field_at(*form, i);
            return field != nullptr && field->kind == Kind::Parameter;
        };
        if (std::any_of(forms.begin(), forms.end(), wants_parameter) && words[i].find('.') == std::string::npos &&
            i + 1 < words.size()) {
            words[i] += "." + words[i + 1];
            words.erase(words.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        }
        std::vector<const Form *> left;
        std::copy_if(forms.begin(), forms.end(), std::back_inserter(left), [&](const Form *form) {
            const Field *field = field_at(*form, i);
            return field != nullptr && fits(*field, words[i]);
        });
        if (left.empty())
            throw misfit(command, forms, i, words[i]);
        forms = left;
    }
    return forms;
}

// GLib finds the options; those of one word with "-" are none of ours: "-5" is a number.
void Arguments::take_options(std::vector<std::string> &words, std::span<const Option> known)
{
    std::vector<GOptionEntry> entries;
    for (const Option &option : known) {
        // GLib would take it for the flag.
        const std::string with_value = std::string(option.name) + "=";
        for (const std::string &word : words)
            if (!has_value(option) && word.starts_with(with_value))
                throw usage_failure(std::string("option ") + option.name + " takes no value" + see_help(command_));
        const int flags = G_OPTION_FLAG_FILENAME | (has_value(option) ? 0 : G_OPTION_FLAG_NO_ARG); // any bytes
        entries.push_back({option.name + 2, 0, flags, G_OPTION_ARG_CALLBACK, reinterpret_cast<gpointer>(&on_option),
                           nullptr, nullptr});
    }
    entries.push_back({});
    const GOptionContextOwned context(g_option_context_new(nullptr));
    GOptionGroup *group = g_option_group_new("main", "", "", &options_, nullptr);
    g_option_group_add_entries(group, entries.data());
    g_option_context_set_main_group(context.get(), group);
    g_option_context_set_help_enabled(context.get(), FALSE);
    g_option_context_set_ignore_unknown_options(context.get(), TRUE);

    GStrvBuilder *builder = g_strv_builder_new();
    g_strv_builder_add(builder, "ptzctl");
    for (const std::string &word : words)
        g_strv_builder_add(builder, word.c_str());
    char **left = g_strv_builder_end(builder);
    g_strv_builder_unref(builder);
    GErrorSlot error;
    const bool good = g_option_context_parse_strv(context.get(), &left, error) != FALSE;
    const GTexts owned(left);
    if (!good)
        throw usage_failure(printable(error->message) + see_help(command_));
    words.assign(left + 1, left + g_strv_length(left));
    for (const Option &option : known) {
        if (has_value(option) && flag(option.name))
            check_field(option.value, option.name, *value(option.name));
    }
}

Arguments::Arguments(std::vector<std::string> words)
{
    const auto separator = std::find(words.begin(), words.end(), "--");
    const std::vector<std::string> plain(separator == words.end() ? separator : separator + 1, words.end());
    words.erase(separator, words.end());
    std::replace(words.begin(), words.end(), std::string("-h"), std::string("--help"));
    take_options(words, general_options());
    const bool asks = flag("--help") || flag("--version");

    const auto is_option = [](const std::string &word) { return word.starts_with("--"); };
    const auto name = std::find_if_not(words.begin(), words.end(), is_option);
    if (name != words.end()) {
        command_ = find_command(*name);
        if (command_ == nullptr)
            throw usage_failure("there is no command '" + printable(*name) + "'" + see_help(nullptr));
        words.erase(name);
    } else if (!asks) {
        throw usage_failure("no command given; 'ptzctl --help' lists them");
    }
    if (asks)
        return;
    take_options(words, command_->options);
    if (const auto unknown = std::find_if(words.begin(), words.end(), is_option); unknown != words.end())
        throw usage_failure(std::string("'") + command_->name + "' has no option '" + printable(*unknown) + "'" +
                            see_help(command_));
    words_ = std::move(words);
    words_.insert(words_.end(), plain.begin(), plain.end());
    const std::vector<const Form *> forms = forms_taking(*command_, words_);
    const Form &form = filled_form(*command_, forms, words_.size());
    for (std::size_t i = 0; i < words_.size(); i++)
        check_field(*field_at(form, i), field_at(form, i)->name, words_[i]);
}

std::optional<std::string> Arguments::value(std::string_view name) const
{
    const auto found = options_.find(name);
    return found == options_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<double> Arguments::number(std::string_view name) const
{
    const auto text = value(name);
    return text ? std::optional(parse_number(*text, std::string(name))) : std::nullopt;
}
