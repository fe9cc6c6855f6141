// What a shell may offer for the word under the cursor.
#include "help.h"

#include "arguments.h"
#include "axes.h"
#include "camera.h"
#include "condition.h"
#include "json.h"
#include "preset_file.h"

namespace {

constexpr double kPatience = 1; // seconds for the service; somebody waits at the keyboard

struct Offer {
    std::string word;
    std::string text; // what it is
};

struct Offers {
    const char *kind = "words";
    std::vector<Offer> list{};
};

void offer_parameters(Offers &offers, Kind kind, const std::string &named)
{
    Service service(kPatience);
    const GVariantOwned list = list_parameters(service, "");
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        const GVariantOwned entry(g_variant_get_child_value(list.get(), i));
        const std::string group = lookup_text(entry.get(), "group");
        const std::string name = group + "." + lookup_text(entry.get(), "name");
        if (kind == Kind::Group && (offers.list.empty() || offers.list.back().word != group))
            offers.list.push_back({group, "parameters"});
        if (kind == Kind::Parameter)
            offers.list.push_back({name, lookup_text(entry.get(), "value")});
        if (kind != Kind::Value || name != named)
            continue;
        for (const auto &[value, label] : parameter_choices(entry.get()))
            offers.list.push_back({value, label});
    }
}

void offer_special(Offers &offers)
{
    Service service(kPatience);
    const GVariantOwned list = service.result("ListSpecialCommands", nullptr, "(as)");
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        const GVariantOwned entry(g_variant_get_child_value(list.get(), i));
        offers.list.push_back({g_variant_get_string(entry.get(), nullptr), "special command"});
    }
}

void offer_presets(Offers &offers)
{
    Service service(kPatience);
    const GVariantOwned list = list_presets(service);
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        const char *name = nullptr;
        g_variant_get_child(list.get(), i, "(&s@a{sd}@a{ss})", &name, nullptr, nullptr);
        offers.list.push_back({name, "preset"});
    }
}

// `before`: the word ahead of it, which may be the parameter of a value.
void offer_field(Offers &offers, const Field &field, const std::string &before)
{
    switch (field.kind) {
    case Kind::Word:
        offers.list.push_back({field.name, ""});
        break;
    case Kind::Choice:
        for (const std::string &choice : choices_of(field))
            offers.list.push_back({choice, ""});
        break;
    case Kind::State:
        for (const StateName &state : all_states())
            offers.list.push_back({state.name, state.text});
        break;
    case Kind::Axis:
        offers.kind = "open";
        for (const char *axis : axis_names())
            offers.list.push_back({std::string(axis) + "=", ""});
        break;
    case Kind::Command:
        for (const Command &command : all_commands())
            offers.list.push_back({command.name, command.summary});
        break;
    case Kind::Group:
    case Kind::Parameter:
    case Kind::Value:
        offer_parameters(offers, field.kind, before);
        break;
    case Kind::Special:
        offer_special(offers);
        break;
    case Kind::Preset:
        offer_presets(offers);
        break;
    case Kind::Condition:
        for (const std::string &condition : all_conditions())
            offers.list.push_back({condition, ""});
        break;
    case Kind::File:
        offers.kind = "files";
        break;
    case Kind::Number:
    case Kind::Whole:
    case Kind::Text:
        break;
    }
}

// The line up to the word under the cursor, as far as it makes sense.
struct Line {
    const Command *command = nullptr;
    const Option *open = nullptr; // an option that waits for its value
    bool plain = false;           // "--" has been
    std::vector<std::string> words{};
};

const Option *find_option(const Command *command, std::string_view name)
{
    for (const Option &option : general_options())
        if (name == option.name)
            return &option;
    if (command != nullptr)
        for (const Option &option : command->options)
            if (name == option.name)
                return &option;
    return nullptr;
}

Line read_line(const std::vector<std::string> &words)
{
    Line line;
    for (const std::string &word : words) {
        if (line.open != nullptr) {
            line.open = nullptr;
        } else if (!line.plain && word == "--") {
            line.plain = true;
        } else if (!line.plain && word.starts_with("--")) {
            const Option *option = find_option(line.command, word);
            line.open = option != nullptr && *option->value.name != '\0' ? option : nullptr;
        } else if (line.command == nullptr) {
            line.command = find_command(word);
            if (line.command == nullptr)
                throw usage_failure("no such command");
        } else {
            line.words.push_back(word);
        }
    }
    return line;
}

void offer_options(Offers &offers, const Command *command)
{
    if (command != nullptr)
        for (const Option &option : command->options)
            offers.list.push_back({option.name, option.help});
    for (const Option &option : general_options())
        offers.list.push_back({option.name, option.help});
}

// What was offered before a Failure stays.
void offer_next(Offers &offers, const std::vector<std::string> &before, const std::string &current)
{
    Line line = read_line(before);
    const std::size_t equals = current.find('=');
    if (line.open != nullptr) {
        offer_field(offers, line.open->value, "");
    } else if (!line.plain && current.starts_with("--") && equals != std::string::npos) {
        if (const Option *option = find_option(line.command, current.substr(0, equals)))
            offer_field(offers, option->value, "");
        for (Offer &offer : offers.list)
            offer.word.insert(0, current, 0, equals + 1);
    } else if (!line.plain && current.starts_with('-')) {
        offer_options(offers, line.command);
    } else if (line.command == nullptr) {
        offer_field(offers, {.kind = Kind::Command}, "");
    } else {
        for (const Form *form : forms_taking(*line.command, line.words)) {
            if (const Field *field = field_at(*form, line.words.size()))
                offer_field(offers, *field, line.words.empty() ? "" : line.words.back());
        }
    }
}

} // namespace

std::string completions(std::vector<std::string> words)
{
    const std::string current = words.empty() ? "" : words.back();
    if (!words.empty())
        words.pop_back();
    Offers offers;
    try {
        offer_next(offers, words, current);
    } catch (const Failure &) {
        // Nothing more is offered behind what makes no sense, nor without a service.
    }
    std::string text = std::string(offers.kind) + "\n";
    for (const Offer &offer : offers.list) {
        // What a terminal cannot show cannot be typed either.
        if (offer.word.starts_with(current) && printable(offer.word) == offer.word)
            text += offer.word + "\t" + printable(offer.text) + "\n";
    }
    return text;
}
