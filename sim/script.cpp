#include "sim/script.h"

#include "sim/command.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>
#include <vector>

namespace sim {
namespace {

std::string_view trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Splits "at TIME COMMAND"; a line without "at" is due at once.
bool parse_line(std::string_view text, std::int64_t &us, std::string_view &command)
{
    us = 0;
    command = text;
    if (text.substr(0, 3) != "at ")
        return true;
    text = trim(text.substr(3));
    const std::size_t end = text.find_first_of(" \t");
    if (end == std::string_view::npos || !parse_duration(text.substr(0, end), us))
        return false;
    command = trim(text.substr(end));
    return true;
}

} // namespace

std::optional<std::string> load_script(const std::string &path, Board &board)
{
    std::ifstream file(path);
    if (!file)
        return "Cannot read the script " + path + ": " + std::strerror(errno);
    std::vector<std::pair<std::int64_t, std::string>> commands;
    Board rehearsal({.manual_time = true}); // finds what is wrong before anything is done
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::string_view text = trim(line);
        if (text.empty() || text.front() == '#')
            continue;
        std::int64_t us = 0;
        std::string_view command;
        if (!parse_line(text, us, command))
            return path + ":" + std::to_string(number) +
                   ": expected \"at TIME COMMAND\", such as \"at 1.5s set zoom 30\"";
        if (const CommandResult result = rehearsal.command(command); !result.ok)
            return path + ":" + std::to_string(number) + ": " + result.text;
        commands.emplace_back(us, command);
    }
    if (file.bad()) // a folder
        return "Cannot read the script " + path + ": it is no file of text";
    for (auto &[us, command] : commands)
        board.at(us, std::move(command));
    return std::nullopt;
}

} // namespace sim
