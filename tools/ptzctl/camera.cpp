#include "camera.h"

#include "failure.h"
#include "loop.h"
#include "table.h"

namespace {

constexpr unsigned kStateEveryMs = 50;

} // namespace

void send_move(Service &service, const std::vector<AxisMove> &moves, double speed, bool preset, guint32 id)
{
    GVariantBuilder axes;
    g_variant_builder_init(&axes, G_VARIANT_TYPE("a(ssd)"));
    for (const AxisMove &move : moves)
        g_variant_builder_add(&axes, "(ssd)", move.axis.c_str(), move.type.c_str(), move.value);
    GVariantBuilder extras;
    g_variant_builder_init(&extras, G_VARIANT_TYPE_VARDICT);
    if (preset)
        g_variant_builder_add(&extras, "{sv}", "preset", g_variant_new_boolean(TRUE));
    if (id != 0)
        g_variant_builder_add(&extras, "{sv}", "id", g_variant_new_uint32(id));
    service.call("Move", g_variant_new("(a(ssd)da{sv})", &axes, speed, &extras), "()");
}

GVariantOwned list_parameters(Service &service, const std::string &group)
{
    return service.result("ListParameters", g_variant_new("(s)", group.c_str()), "(aa{sv})");
}

std::vector<std::pair<std::string, std::string>> parameter_choices(GVariant *entry)
{
    const GVariantOwned list(g_variant_lookup_value(entry, "choices", G_VARIANT_TYPE("a(ss)")));
    std::vector<std::pair<std::string, std::string>> choices;
    for (gsize i = 0; list && i < g_variant_n_children(list.get()); i++) {
        const GVariantOwned choice(g_variant_get_child_value(list.get(), i));
        const char *value = nullptr;
        const char *label = nullptr;
        g_variant_get(choice.get(), "(&s&s)", &value, &label);
        choices.emplace_back(value, label);
    }
    return choices;
}

GVariantOwned get_parameter(Service &service, const std::string &group, const std::string &name)
{
    GVariantOwned boxed = service.result("GetParameter", g_variant_new("(ss)", group.c_str(), name.c_str()), "(v)");
    return GVariantOwned(g_variant_get_variant(boxed.get()));
}

void set_parameter(Service &service, const std::string &group, const std::string &name, const std::string &text)
{
    GVariant *value = g_variant_new_string(text.c_str());
    service.call("SetParameter", g_variant_new("(ssv)", group.c_str(), name.c_str(), value), "()");
}

std::pair<int, std::string> wait_for_state(Service &service, int wanted, double seconds)
{
    const gint64 deadline = steady_now() + static_cast<gint64>(seconds * 1e6);
    std::pair<int, std::string> state{-1, "no ptzd"};
    const LoopEnd end = run_loop(kStateEveryMs, [&] {
        try {
            state = service.state();
        } catch (const Failure &failure) {
            if (failure.code() != "NoService")
                throw;
        }
        return state.first != wanted && steady_now() < deadline;
    });
    if (state.first != wanted && end == LoopEnd::Interrupted)
        throw Interrupted();
    if (state.first != wanted)
        throw Failure(EXIT_NO_ANSWER, "NoAnswer",
                      "the camera did not come to state " + std::to_string(wanted) + " (" +
                          all_states()[static_cast<size_t>(wanted)].text + ")" +
                          "; it is at: " + printable(state.second) + "; the system log says what ptzd does");
    return state;
}
