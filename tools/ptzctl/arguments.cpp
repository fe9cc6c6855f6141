#include "arguments.h"

#include "failure.h"

#include <algorithm>

Arguments::Arguments(std::string command, std::vector<std::string> words) : command_(std::move(command))
{
    const auto separator = std::find(words.begin(), words.end(), "--");
    words_.assign(words.begin(), separator);
    if (separator != words.end())
        plain_.assign(separator + 1, words.end());
}

bool Arguments::flag(std::string_view name)
{
    return std::erase(words_, name) > 0;
}

std::optional<std::string> Arguments::value(std::string_view name)
{
    std::optional<std::string> found;
    const std::string with_value = std::string(name) + "=";
    for (auto at = words_.begin(); at != words_.end();) {
        if (*at != name && !at->starts_with(with_value)) {
            ++at;
            continue;
        }
        if (found)
            throw usage_failure("option " + std::string(name) + " is given twice; give it once");
        if (*at == name) {
            at = words_.erase(at);
            if (at == words_.end())
                throw usage_failure("option " + std::string(name) + " needs a value; see 'ptzctl " + command_ +
                                    " --help'");
            found = *at;
        } else {
            found = at->substr(with_value.size());
        }
        at = words_.erase(at);
    }
    return found;
}

std::optional<std::string> Arguments::take_first()
{
    const auto found =
        std::find_if(words_.begin(), words_.end(), [](const auto &word) { return !word.starts_with("--"); });
    if (found == words_.end())
        return std::nullopt;
    std::string word = std::move(*found);
    words_.erase(found);
    return word;
}

std::vector<std::string> Arguments::words(size_t least, size_t most) const
{
    const std::string hint = "; see 'ptzctl " + command_ + " --help'";
    for (const std::string &word : words_) {
        if (word.starts_with("--"))
            throw usage_failure("'" + command_ + "' has no option '" + printable(word) + "'" + hint);
    }
    std::vector<std::string> all = words_;
    all.insert(all.end(), plain_.begin(), plain_.end());
    if (all.size() < least)
        throw usage_failure("'" + command_ + "' needs more words" + hint);
    if (all.size() > most)
        throw usage_failure("'" + command_ + "' does not know what to do with '" + printable(all[most]) + "'" + hint);
    return all;
}
