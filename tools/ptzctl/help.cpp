#include "help.h"

#include "columns.h"

namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kMostOptions = 2; // that a synopsis names

using Rows = std::vector<std::vector<std::string>>;

// Paragraphs, each with an empty line behind it.
std::string paragraphs(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const std::string_view paragraph = text.substr(0, text.find("\n\n"));
        text.remove_prefix(std::min(paragraph.size() + 2, text.size()));
        if (paragraph.starts_with(' '))
            shown += std::string(paragraph) + "\n";
        else
            for (const std::string &line : wrap(paragraph, kWidth))
                shown += line + "\n";
        shown += "\n";
    }
    return shown;
}

// Rows of two columns behind a margin.
std::string listed(Rows rows)
{
    for (auto &row : rows)
        row[0].insert(0, "  ");
    return in_columns(rows, kWidth);
}

template <typename Options>
Rows option_rows(const Options &options)
{
    Rows rows;
    for (const Option &option : options)
        rows.push_back({option_text(option), option.help});
    return rows;
}

template <typename Statuses>
Rows status_rows(const Statuses &statuses)
{
    Rows rows;
    for (const StatusText &status : statuses)
        rows.push_back({std::to_string(status.status), status.text});
    return rows;
}

} // namespace

std::string form_text(const Form &form)
{
    std::string text;
    std::string close;
    for (const Field &field : form) {
        text += text.empty() ? "" : " ";
        if (field.need == Need::Optional) {
            text += "[";
            close += "]";
        }
        text += std::string(field.name) + (field.need == Need::Many ? "..." : "");
    }
    return text + close;
}

std::string option_text(const Option &option)
{
    return option.name + (*option.value.name != '\0' ? std::string(" ") + option.value.name : "");
}

std::vector<std::string> synopsis(const Command &command)
{
    std::string options;
    if (command.options.size() > kMostOptions)
        options = " [OPTION...]";
    else
        for (const Option &option : command.options)
            options += " [" + option_text(option) + "]";
    std::vector<std::string> lines;
    for (const Form &form : command.forms)
        lines.push_back(command.name + options + (form.empty() ? "" : " " + form_text(form)));
    return lines;
}

std::string general_help()
{
    Rows commands;
    for (const Command &command : all_commands())
        commands.push_back({command.name, command.summary});
    return "Usage: " + std::string(kSynopsis) + "\n\n" + std::string(kPurpose) + "\n\nCommands:\n" + listed(commands) +
           "\nOptions, before or after the command:\n" + listed(option_rows(general_options())) +
           "\n'ptzctl COMMAND --help' explains a command, with examples.\n\nExit status:\n" +
           listed(status_rows(all_statuses()));
}

std::string command_help(const Command &command)
{
    std::string text;
    for (const std::string &line : synopsis(command))
        text += (text.empty() ? "Usage: ptzctl " : "       ptzctl ") + line + "\n";
    text += "\n" + paragraphs(command.text);
    if (!command.options.empty())
        text += "Options:\n" + listed(option_rows(command.options)) + "\n";
    if (!command.statuses.empty())
        text += "Exit status, besides those of 'ptzctl --help':\n" + listed(status_rows(command.statuses)) + "\n";
    text += command.examples.size() == 1 ? "Example:\n" : "Examples:\n";
    for (const char *example : command.examples)
        text += std::string("  ") + example + "\n";
    return text;
}
