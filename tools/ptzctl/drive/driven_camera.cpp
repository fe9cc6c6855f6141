#include "drive/driven_camera.h"

#include <utility>

namespace {

constexpr unsigned kSlowerLook = 5; // one look of so many asks for what seldom changes
constexpr char kPresets[] = "com.orna.PTZ.Presets";

} // namespace

void DrivenCamera::complain(const Failure *failure)
{
    // What our own stop has cancelled is as wanted.
    if (failure != nullptr && failure->code() != "Cancelled")
        complaint_ = failure->what();
}

void DrivenCamera::drive(const Speeds &wanted)
{
    if (wanted == wanted_)
        return;
    wanted_ = wanted;
    complaint_.clear();
    if (wanted_.empty())
        stop();
    else
        send();
}

void DrivenCamera::stop()
{
    wanted_.clear();
    sent_.clear();
    driven_ = false;
    service_.call_later("Stop", nullptr, "()",
                        [this](const GVariantOwned &, const Failure *failure) { complain(failure); });
}

void DrivenCamera::send()
{
    if (moving_ || wanted_ == sent_)
        return;
    GVariantBuilder axes;
    g_variant_builder_init(&axes, G_VARIANT_TYPE("a(ssd)"));
    Speeds all = sent_; // what is not wanted any more stands
    for (auto &[axis, speed] : all)
        speed = 0;
    for (const auto &[axis, speed] : wanted_)
        all[axis] = speed;
    for (const auto &[axis, speed] : all)
        if (const auto was = sent_.find(axis); was == sent_.end() || was->second != speed)
            g_variant_builder_add(&axes, "(ssd)", axis.c_str(), "continuous", speed);
    sent_ = wanted_;
    moving_ = driven_ = true;
    service_.call_later("Move", g_variant_new("(a(ssd)da{sv})", &axes, 0.0, nullptr), "()",
                        [this](const GVariantOwned &, const Failure *failure) {
                            moving_ = false;
                            complain(failure);
                            if (!wanted_.empty())
                                send();
                        });
}

void DrivenCamera::call(const char *method, GVariant *arguments, const char *interface)
{
    const GVariantOwned owned(arguments != nullptr ? g_variant_ref_sink(arguments) : nullptr);
    if (std::exchange(calling_, true))
        return;
    complaint_.clear();
    service_.call_later(
        method, owned.get(), "()",
        [this](const GVariantOwned &, const Failure *failure) {
            calling_ = false;
            complain(failure);
        },
        interface);
}

void DrivenCamera::step(const char *axis, double by)
{
    GVariantBuilder axes;
    g_variant_builder_init(&axes, G_VARIANT_TYPE("a(ssd)"));
    g_variant_builder_add(&axes, "(ssd)", axis, "relative", by);
    call("Move", g_variant_new("(a(ssd)da{sv})", &axes, 0.0, nullptr));
}

void DrivenCamera::set_focus_mode(const char *mode)
{
    call("SetFocusMode", g_variant_new("(s)", mode));
}

void DrivenCamera::go_to(const std::string &preset)
{
    driven_ = true;
    call("Goto", g_variant_new("(sdu)", preset.c_str(), 0.0, 0U), kPresets);
}

void DrivenCamera::ask(bool &asked, const char *method, const char *reply, std::function<void(GVariant *)> take,
                       const char *interface)
{
    if (std::exchange(asked, true))
        return;
    service_.call_later(
        method, nullptr, reply,
        [this, &asked, take = std::move(take)](const GVariantOwned &results, const Failure *failure) {
            asked = false;
            if (failure == nullptr)
                take(GVariantOwned(g_variant_get_child_value(results.get(), 0)).get());
            else if (failure->status() == EXIT_NO_SERVICE)
                state_ = link_ = "no service";
        },
        interface);
}

void DrivenCamera::look()
{
    ask(asked_position_, "GetPosition", "(a{sd})", [this](GVariant *axes) {
        position_ = position_from(axes);
        const auto age = position_.extract("age");
        age_ = age ? std::optional(age.mapped()) : std::nullopt;
    });
    if (looks_++ % kSlowerLook != 0)
        return;
    ask(asked_fields_, "GetFieldOfView", "(a{sd})", [this](GVariant *axes) { fields_ = position_from(axes); });
    ask(asked_status_, "GetStatus", "(a{sv})", [this](GVariant *status) {
        const char *text = "";
        if (g_variant_lookup(status, "text", "&s", &text) != FALSE)
            state_ = text;
        if (g_variant_lookup(status, "link", "&s", &text) != FALSE)
            link_ = text;
    });
    ask(
        asked_presets_, "List", "(a(sa{sd}a{ss}))",
        [this](GVariant *list) {
            presets_.clear();
            for (gsize i = 0; i < g_variant_n_children(list); i++) {
                const char *name = nullptr;
                g_variant_get_child(list, i, "(&sa{sd}a{ss})", &name, nullptr, nullptr);
                presets_.emplace_back(name);
            }
        },
        kPresets);
}

void DrivenCamera::leave()
{
    if (!driven_)
        left_ = true;
    else
        service_.call_later("Stop", nullptr, "()",
                            [this](const GVariantOwned &, const Failure *failure) { left_ = failure == nullptr; });
}
