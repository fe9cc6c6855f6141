// What may come next in a command, from the forms of the language.
#include "sim/command.h"
#include "sim/command_parts.h"
#include "sim/lines.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace sim {
namespace {

// The words that stand in one place of a form: "low|high", "[WHEN]".
std::vector<std::string> alternatives(std::string place)
{
    std::erase_if(place, [](char c) { return c == '[' || c == ']'; });
    std::vector<std::string> words;
    std::istringstream text(place);
    for (std::string word; std::getline(text, word, '|');) {
        if (word == "WHEN")
            words.insert(words.end(), {"once", "forever", "for", "1/N", "COUNT"});
        else if (word == "LINE")
            for (const LineRow &line : kLines)
                words.emplace_back(line.name);
        else
            words.push_back(word);
    }
    return words;
}

// Rather than typed as it stands.
bool is_filled_in(const std::string &word)
{
    static constexpr const char *kFilledIn[] = {"VALUE",  "DURATION", "HEX-VERSION", "HEX-VALUE", "TEXT",
                                                "OFFSET", "INDEX",    "NUMBER",      "COUNT",     "1/N"};
    return std::find(std::begin(kFilledIn), std::end(kFilledIn), word) != std::end(kFilledIn);
}

bool takes(const std::string &place, const std::string &word)
{
    const auto words = alternatives(place);
    return std::any_of(words.begin(), words.end(),
                       [&](const std::string &known) { return known == word || is_filled_in(known); });
}

} // namespace

std::vector<std::string> command_forms()
{
    std::vector<std::string> forms = set_forms();
    for (const FaultText &fault : fault_texts())
        forms.push_back(fault.form);
    forms.insert(forms.end(), {kSeedForm, kClearForm});
    return forms;
}

std::vector<std::string> next_words(const std::vector<std::string> &before)
{
    std::vector<std::string> next;
    for (const std::string &form : command_forms()) {
        std::istringstream text(form);
        std::string place;
        const bool begins = std::all_of(before.begin(), before.end(),
                                        [&](const std::string &word) { return text >> place && takes(place, word); });
        if (!begins || !(text >> place))
            continue;
        for (const std::string &word : alternatives(place))
            if (!is_filled_in(word) && std::find(next.begin(), next.end(), word) == next.end())
                next.push_back(word);
    }
    return next;
}

} // namespace sim
