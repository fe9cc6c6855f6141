#include "condition.h"

#include "failure.h"
#include "numbers.h"
#include "table.h"

#include <algorithm>

namespace {

constexpr const char *kLinks[] = {"up", "down", "off"};

Failure no_condition(const std::string &text)
{
    return usage_failure("there is no condition '" + printable(text) + "'; 'ptzctl wait --help' names them");
}

std::string moving_now(Service &service)
{
    const GVariantOwned moving = service.property("Moving", "as");
    std::string axes;
    for (gsize i = 0; i < g_variant_n_children(moving.get()); i++) {
        const char *axis = nullptr;
        g_variant_get_child(moving.get(), i, "&s", &axis);
        axes += (axes.empty() ? "" : ", ") + printable(axis);
    }
    return axes;
}

// The axes are asked first: the service notes the end of a move before it says that they stand.
bool reached(Service &service, std::string &now)
{
    const std::string moving = moving_now(service);
    guint32 id = 0;
    gboolean there = FALSE;
    const char *reason = "";
    const GVariantOwned last = service.property("LastMove", "(ubs)");
    g_variant_get(last.get(), "(ub&s)", &id, &there, &reason);
    now = !moving.empty() ? "moving: " + moving : "no move has ended yet";
    if (!moving.empty() || id == 0)
        return false;
    if (!there)
        throw Failure(EXIT_NOT_REACHED, "NotReached", "the last move has not come to its place: " + printable(reason));
    return true;
}

} // namespace

Condition parse_condition(const std::string &text)
{
    if (text == "reached" || text == "standing")
        return {text, '\0', {}, 0};
    const std::size_t at = text.find_first_of("=<>");
    if (at == std::string::npos)
        throw no_condition(text);
    Condition condition{text.substr(0, at), text[at], text.substr(at + 1), 0};
    const bool equal = condition.relation == '=';
    const std::string &word = condition.word;
    if (condition.subject == "temperature" && !equal) {
        condition.number = parse_number(word, "temperature");
        return condition;
    }
    if (condition.subject == "link" && equal &&
        std::find(std::begin(kLinks), std::end(kLinks), word) != std::end(kLinks))
        return condition;
    if (condition.subject != "state" || !equal || find_state(word) == nullptr)
        throw no_condition(text);
    condition.number = find_state(word)->number;
    return condition;
}

std::vector<std::string> all_conditions()
{
    std::vector<std::string> all{"reached", "standing", "temperature<", "temperature>"};
    for (const char *link : kLinks)
        all.push_back(std::string("link=") + link);
    for (const StateName &state : all_states())
        all.push_back(std::string("state=") + state.name);
    return all;
}

bool holds(const Condition &condition, Service &service, std::string &now)
{
    if (condition.subject == "reached")
        return reached(service, now);
    if (condition.subject == "standing") {
        now = moving_now(service);
        return now.empty();
    }
    if (condition.subject == "state") {
        const auto [number, text] = service.state();
        now = printable(text);
        return number == static_cast<int>(condition.number);
    }
    if (condition.subject == "link") {
        const GVariantOwned link = service.property("Link", "s");
        now = printable(g_variant_get_string(link.get(), nullptr));
        return now == condition.word;
    }
    const GVariantOwned status = service.status();
    double degrees = 0;
    const bool known = g_variant_lookup(status.get(), "temperature", "d", &degrees) != FALSE;
    now = known ? number_text(degrees) : "not known";
    return known && (condition.relation == '<' ? degrees < condition.number : degrees > condition.number);
}
