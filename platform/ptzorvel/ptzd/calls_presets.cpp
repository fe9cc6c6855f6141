// Setting, listing and going to presets.
#include "glib_owned.h"
#include "ptzorvel/ptzd/calls.h"

#include <string_view>

namespace {

std::vector<std::string> texts_of(GVariant *list)
{
    std::vector<std::string> texts;
    for (gsize i = 0; i < g_variant_n_children(list); i++) {
        const GVariantOwned text(g_variant_get_child_value(list, i));
        texts.emplace_back(g_variant_get_string(text.get(), nullptr));
    }
    return texts;
}

bool mode_is(PtzService &service, const char *property, const char *word)
{
    const GVariantOwned mode(g_variant_ref_sink(service.modes().property(property)));
    return std::string_view(g_variant_get_string(mode.get(), nullptr)) == word;
}

// The axes that stay where they are put, as the driver has its modes.
std::vector<std::string> axes_by_hand(PtzService &service)
{
    std::vector<std::string> axes{"pan", "tilt", "zoom"};
    if (mode_is(service, "FocusMode", "manual"))
        axes.emplace_back("focus");
    axes.emplace_back(mode_is(service, "IrisMode", "manual") ? "iris" : "brightness");
    return axes;
}

// Takes the present places of these axes into the preset. One that need not be there may be not known.
std::optional<CallError> take_places(const std::vector<std::string> &axes, bool named, Preset &preset)
{
    const AxisPositions now = published_positions();
    for (const std::string &name : axes) {
        const auto axis = find_axis(name);
        if (!axis)
            return no_axis(name);
        const bool known = now[*axis] && !check_place(kAxes[*axis], *now[*axis], kAxes[*axis].absolute);
        if (known)
            preset.position[*axis] = now[*axis];
        else if (named || *axis == AXIS_PAN || *axis == AXIS_TILT || *axis == AXIS_ZOOM)
            return CallError{ErrorKind::failed, name + ": it is not known where it stands."};
    }
    return std::nullopt;
}

std::optional<CallError> take_settings(ParamStore *params, const std::vector<std::string> &names, Preset &preset)
{
    for (const std::string &name : names) {
        const auto [group, parameter] = setting_names(name);
        const PTZDynamicalProperties *properties = params != nullptr ? params->group(group) : nullptr;
        const auto info = properties != nullptr ? properties->find(parameter) : std::nullopt;
        const std::string value = info ? param_value_to_text(info->value) : "";
        if (auto error = check_setting(params, name, value))
            return error;
        preset.settings[name] = value;
    }
    return std::nullopt;
}

std::optional<CallError> read_preset(ParamStore *params, GVariant *entry, Preset &preset)
{
    const char *name = nullptr;
    GVariant *position = nullptr;
    GVariant *settings = nullptr;
    g_variant_get(entry, "(&s@a{sd}@a{ss})", &name, &position, &settings);
    const GVariantOwned position_owned(position);
    const GVariantOwned settings_owned(settings);
    preset.name = name;
    const char *key = nullptr;
    double place = 0;
    for (gsize i = 0; i < g_variant_n_children(position); i++) {
        g_variant_get_child(position, i, "{&sd}", &key, &place);
        const auto axis = find_axis(key);
        if (!axis)
            return no_axis(key);
        preset.position[*axis] = place;
    }
    const char *value = nullptr;
    for (gsize i = 0; i < g_variant_n_children(settings); i++) {
        g_variant_get_child(settings, i, "{&s&s}", &key, &value);
        if (auto error = check_setting(params, key, value))
            return error;
        preset.settings[key] = value;
    }
    return std::nullopt;
}

// The trace has what a Goto comes to, each at its turn: a replay has the camera's traffic again without the presets.
void note_setting(const PtzService &service, const std::string &group, const std::string &parameter, GVariant *value)
{
    const GVariantOwned arguments(g_variant_ref_sink(g_variant_new("(ssv)", group.c_str(), parameter.c_str(), value)));
    service.note_call("SetParameter", arguments.get());
}

void note_move(const PtzService &service, const Preset &preset, double speed, guint32 id)
{
    GVariantBuilder axes;
    g_variant_builder_init(&axes, G_VARIANT_TYPE("a(ssd)"));
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if (const auto &place = preset.position[axis])
            g_variant_builder_add(&axes, "(ssd)", kAxes[axis].name, "absolute", *place);
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "preset", g_variant_new_boolean(TRUE));
    if (id != 0)
        g_variant_builder_add(&options, "{sv}", "id", g_variant_new_uint32(id));
    const GVariantOwned arguments(g_variant_ref_sink(g_variant_new("(a(ssd)da{sv})", &axes, speed, &options)));
    service.note_call("Move", arguments.get());
}

// Gives the camera those values of the preset that it does not have.
std::optional<CallError> give_settings(PtzService &service, PTZDriver *driver, const Preset &preset)
{
    const auto store = service.params();
    for (const auto &[name, text] : preset.settings) {
        const auto [group, parameter] = setting_names(name);
        const PTZDynamicalProperties *properties = store->group(group);
        const auto info = properties != nullptr ? properties->find(parameter) : std::nullopt;
        if (info && param_value_to_text(info->value) == text)
            continue;
        const GVariantOwned value(g_variant_ref_sink(g_variant_new_string(text.c_str())));
        ParamValue wanted;
        if (auto error = check_parameter(info, group, parameter, value.get(), wanted))
            return error;
        note_setting(service, group, parameter, value.get());
        if (auto error = give_parameter(service, driver, store, group, parameter, wanted))
            return error;
        service.param_was_set(group, parameter, {});
    }
    return std::nullopt;
}

} // namespace

void preset_set(PtzService &service, const CallPtr &call)
{
    const char *name = nullptr;
    GVariant *axes = nullptr;
    GVariant *settings = nullptr;
    g_variant_get(call->parameters(), "(&s@as@as)", &name, &axes, &settings);
    const GVariantOwned axes_owned(axes);
    const GVariantOwned settings_owned(settings);
    Preset preset{name, {}, {}};
    const std::vector<std::string> named = texts_of(axes);
    service.presets().change(call, [&](PresetList &list) {
        auto error = check_preset_name(preset.name);
        if (!error)
            error = take_places(named.empty() ? axes_by_hand(service) : named, !named.empty(), preset);
        if (!error)
            error = take_settings(service.params().get(), texts_of(settings), preset);
        return error ? error : list.put({preset});
    });
}

void preset_list(PtzService &service, const CallPtr &call)
{
    GVariantBuilder presets;
    g_variant_builder_init(&presets, G_VARIANT_TYPE("a(sa{sd}a{ss})"));
    for (const Preset &preset : service.presets().all()) {
        GVariantBuilder settings;
        g_variant_builder_init(&settings, G_VARIANT_TYPE("a{ss}"));
        for (const auto &[name, value] : preset.settings)
            g_variant_builder_add(&settings, "{ss}", name.c_str(), value.c_str());
        g_variant_builder_add(&presets, "(s@a{sd}a{ss})", preset.name.c_str(), axis_positions_variant(preset.position),
                              &settings);
    }
    call->answer(g_variant_new("(a(sa{sd}a{ss}))", &presets));
}

void preset_remove(PtzService &service, const CallPtr &call)
{
    const char *name = nullptr;
    g_variant_get(call->parameters(), "(&s)", &name);
    service.presets().change(call, [name](PresetList &list) { return list.remove(name); });
}

void preset_rename(PtzService &service, const CallPtr &call)
{
    const char *name = nullptr;
    const char *to = nullptr;
    g_variant_get(call->parameters(), "(&s&s)", &name, &to);
    service.presets().change(call, [name, to](PresetList &list) { return list.rename(name, to); });
}

void preset_goto(PtzService &service, const CallPtr &call)
{
    const char *name = nullptr;
    double speed = 0;
    guint32 id = 0;
    g_variant_get(call->parameters(), "(&sdu)", &name, &speed, &id);
    const Preset *found = service.presets().find(name);
    auto error =
        found == nullptr ? std::optional(unknown_preset(name)) : check_number("speed", speed, 0, 100, " percent");
    if (!error && id > G_MAXINT32)
        error = check_number("id", id, 0, G_MAXINT32, "");
    if (error) {
        call->refuse(*error);
        return;
    }
    MoveRequest move;
    move.preset = true;
    if (speed > 0)
        move.speed = PTZSpeed{to_fixed(speed), {}};
    if (id != 0)
        move.id = id;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if (const auto &place = found->position[axis])
            move.axes[axis] = {to_fixed(*place), {}, PTZ_MOVE_ABSOLUTE};
    move_camera(service, call, move, [&service, preset = *found, speed, id](PTZDriver *driver) {
        auto refusal = give_settings(service, driver, preset);
        if (!refusal)
            note_move(service, preset, speed, id);
        return refusal;
    });
}

void preset_import(PtzService &service, const CallPtr &call)
{
    guint32 part = 0;
    guint32 parts = 0;
    gboolean alone = FALSE;
    GVariant *entries = nullptr;
    g_variant_get(call->parameters(), "(uub@a(sa{sd}a{ss}))", &part, &parts, &alone, &entries);
    const GVariantOwned owned(entries);
    const auto params = service.params();
    std::vector<Preset> presets;
    std::optional<CallError> error;
    for (gsize i = 0; i < g_variant_n_children(entries) && !error; i++) {
        const GVariantOwned entry(g_variant_get_child_value(entries, i));
        error = read_preset(params.get(), entry.get(), presets.emplace_back());
        if (error)
            error = of_preset(presets.back(), *error);
    }
    std::vector<Preset> whole;
    if (!error && !service.presets().take_part(call->sender(), part, parts, std::move(presets), whole))
        error =
            CallError{ErrorKind::invalid_argument, "This part of a list is not the next one, or there are more than "
                                                   "256 presets; begin again with part 0."};
    if (error) {
        service.presets().drop_parts(call->sender());
        call->refuse(*error);
    } else if (part + 1 < parts) {
        call->answer();
    } else {
        service.presets().change(call, [&](PresetList &list) { return list.put(std::move(whole), alone != FALSE); });
    }
}

void preset_which(PtzService &service, const CallPtr &call)
{
    const GVariantOwned given(g_variant_get_child_value(call->parameters(), 0));
    AxisTolerances tolerances = default_tolerances();
    for (gsize i = 0; i < g_variant_n_children(given.get()); i++) {
        const char *name = nullptr;
        double tolerance = 0;
        g_variant_get_child(given.get(), i, "{&sd}", &name, &tolerance);
        const auto axis = find_axis(name);
        const auto error = axis ? check_number(name, tolerance, 0, kAxes[*axis].whole ? 20000 : 400, kAxes[*axis].unit)
                                : std::optional(no_axis(name));
        if (error) {
            call->refuse(*error);
            return;
        }
        tolerances[*axis] = tolerance;
    }
    GVariantBuilder names;
    g_variant_builder_init(&names, G_VARIANT_TYPE("as"));
    for (const std::string &name : service.presets().within(published_positions(), tolerances))
        g_variant_builder_add(&names, "s", name.c_str());
    call->answer(g_variant_new("(as)", &names));
}
