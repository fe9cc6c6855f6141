// The manual page, written from the table.
#include "help.h"

#include "columns.h"

namespace {

constexpr std::size_t kWidth = 76; // of a line of the page's source, which escapes make longer
constexpr const char *kDate = "2026-11-23";

// A line of text as roff wants it.
std::string escaped(std::string_view line)
{
    std::string text = line.starts_with('.') || line.starts_with('\'') ? "\\&" : "";
    for (const char at : line) {
        if (at == '\\')
            text += "\\e";
        else if (at == '-')
            text += "\\-";
        else if (at == '\'')
            text += "\\(aq";
        else
            text += at;
    }
    return text;
}

std::string filled(std::string_view text)
{
    std::string lines;
    for (const std::string &line : wrap(text, kWidth))
        lines += escaped(line) + "\n";
    return lines;
}

std::string verbatim(std::string_view text)
{
    std::string lines = ".nf\n";
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        lines += escaped(line) + "\n";
    }
    return lines + ".fi\n";
}

std::string paragraphs(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const std::string_view paragraph = text.substr(0, text.find("\n\n"));
        text.remove_prefix(std::min(paragraph.size() + 2, text.size()));
        shown += shown.empty() ? "" : ".PP\n";
        shown += paragraph.starts_with(' ') ? verbatim(paragraph) : filled(paragraph);
    }
    return shown;
}

std::string tagged(const std::string &tag, std::string_view text)
{
    return ".TP\n.B " + escaped(tag) + "\n" + filled(text);
}

std::string command_section(const Command &command)
{
    std::string text = ".SS " + escaped(command.name) + " \\- " + escaped(command.summary) + "\n";
    for (const std::string &line : synopsis(command))
        text += "ptzctl " + escaped(line) + "\n.br\n";
    text.erase(text.size() - 4);
    text += ".PP\n" + paragraphs(command.text);
    for (const Option &option : command.options)
        text += tagged(option_text(option), option.help);
    for (const StatusText &status : command.statuses)
        text += tagged("Exit status " + std::to_string(status.status), status.text);
    std::string examples;
    for (const char *example : command.examples)
        examples += std::string("    ") + example + "\n";
    return text + ".PP\n" + verbatim(examples);
}

} // namespace

std::string manual_page()
{
    std::string text = std::string(".TH PTZCTL 1 ") + kDate +
                       " \"ptz-camera-block\" \"User Commands\"\n"
                       ".SH NAME\nptzctl \\- move, read and set the PTZ camera\n.SH SYNOPSIS\n" +
                       escaped(kSynopsis) + "\n.SH DESCRIPTION\n" + escaped(kPurpose) +
                       "\nIts output has no colours and goes through no pager; tables are as wide as the\nterminal, or "
                       "as\n.BR COLUMNS .\n.SH COMMANDS\n";
    for (const Command &command : all_commands())
        text += command_section(command);
    text += ".SH OPTIONS\nBefore or after the command:\n";
    for (const Option &option : general_options())
        text += tagged(option_text(option), option.help);
    text += ".SH EXIT STATUS\n";
    for (const StatusText &status : all_statuses())
        text += tagged(std::to_string(status.status), status.text);
    text += ".SH ENVIRONMENT\n" +
            tagged("DBUS_SYSTEM_BUS_ADDRESS", "the bus that ptzd uses, when it is not the machine's system bus") +
            tagged("PTZ_TIME_SCALE", "how many times faster a simulated camera's seconds pass, as for ptzd") +
            tagged("COLUMNS", "how wide a table may be that does not go to a terminal");
    return text + ".SH SEE ALSO\n.BR krx-sim (1),\n.BR ptzd (8)\n";
}
