// tour: the camera shown in action, each step checked against what the camera reports.
#include "camera.h"
#include "command.h"
#include "json.h"
#include "loop.h"
#include "move_wait.h"
#include "numbers.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kStartSeconds = 60; // for a camera that starts
constexpr unsigned kLookEveryMs = 20;
constexpr gint64 kSetOffUs = 5000000; // what a camera may take to set off

// One axis driven somewhere, and how near the camera must say it came.
struct Place {
    const char *axis;
    const char *type;
    double value;
    double tolerance;
};

// A relative move starts where the one before it ended.
constexpr Place kPlaces[] = {
    {"pan", "absolute", 10, 0.01},   {"tilt", "absolute", 5, 0.01},       {"zoom", "absolute", 2000, 8},
    {"pan", "relative", -15, 0.01},  {"tilt", "relative", -4, 0.01},      {"zoom", "relative", 1000, 8},
    {"focus", "absolute", 5000, 12}, {"focus", "relative", -2000, 24},    {"iris", "absolute", 4000, 1},
    {"iris", "relative", 500, 1},    {"brightness", "absolute", 7000, 1}, {"brightness", "relative", -1000, 1},
};

// A move that is stopped on its way.
struct Way {
    const char *axis;
    const char *type;
    double value;
    double least; // how far it must have gone before the stop, with the direction as its sign
    double end;   // where it must not have come
};
const std::vector<Way> kOnAndOn = {
    {"pan", "continuous", 20, 2, 170}, {"tilt", "continuous", 10, 1, 90}, {"zoom", "continuous", 40, 50, 9999}};
const std::vector<Way> kFarAway = {{"pan", "absolute", -160, -1, -160}};

// Operations by a method of the service with a word.
struct Mode {
    const char *name;
    const char *method;
    const char *word;
};
constexpr Mode kModes[] = {
    {"iris mode", "SetIrisMode", "manual"},   {"iris mode", "SetIrisMode", "auto"},
    {"focus mode", "SetFocusMode", "manual"}, {"focus mode", "SetFocusMode", "auto"},
    {"backlight", "SetBacklightMode", "on"},  {"backlight", "SetBacklightMode", "off"},
};

// A parameter of each family; has its former value again after its step.
struct Setting {
    const char *group;
    const char *name;
    const char *value;
};
constexpr Setting kSettings[] = {
    {"ImageSource", "Sharpness", "80"},
    {"ImageSource", "NoiseReductionTuning", "70"},
    {"ImageSource", "ColorHueRed", "60"},
    {"ImageSource", "ColorLevelBlue", "40"},
    {"ImageSource", "RedBalance", "70"},
    {"ImageSource", "WhiteBalance", "fixed_indoor"},
    {"ImageSource", "WDR", "on"},
    {"ImageSource", "Defog", "on"},
    {"ImageSource", "Gamma", "straight"},
    {"ImageSource", "ChromaSuppress", "2"},
    {"ImageSource", "Exposure", "manual"},
    {"ImageSource", "ExposureWindow", "center"},
    {"ImageSource", "SpotExposureX", "30"},
    {"ImageSource", "ManualShutter", "10000"},
    {"ImageSource", "MaxExposureTime", "-2"},
    {"ImageSource", "MaxGain", "50"},
    {"ImageSource", "IrCutFilter", "no"},
    {"ImageSource", "ShiftLevel", "100"},
    {"ImageSource", "FocusAutoMode", "zoom"},
    {"ImageSource", "FocusActiveTime", "20"},
    {"Limit", "MaxZoom", "15000"},
    {"Limit", "MinFocus", "2124"},
    {"UserAdv", "MoveSpeed", "50"},
    {"UserAdv", "CamImageFreeze", "auto"},
    // Another table of frame rates: the block changes its capture mode.
    {"UserAdv", "BroadcastFrameRateEnabled", "false"},
};

class Tour {
  public:
    explicit Tour(Context &context) : context_(context), service_(context.service()) {}

    // What the tour is at, for the messages.
    const std::string &at_step() const { return step_; }

    void running()
    {
        step_ = "the camera runs";
        end(true, printable(wait_for_state(service_, 1, kStartSeconds).second));
    }

    void places()
    {
        for (const Place &place : kPlaces) {
            step_ = std::string(place.axis) + " " + number_text(place.value) + " " + place.type;
            const bool relative = place.type == std::string_view("relative");
            const double wanted = place.value + (relative ? at(place.axis) : 0);
            const auto result = move_to_its_end(service_, {{place.axis, place.type, place.value}});
            if (!result)
                throw Interrupted();
            const double found = at(place.axis);
            end(result->reached && std::fabs(found - wanted) <= place.tolerance,
                "at " + number_text(found) + (result->reached ? "" : " (" + printable(result->reason) + ")"));
        }
    }

    // Narrower than at the widest, as the zoom is in by now.
    void field_of_view()
    {
        step_ = "the field of view follows the zoom";
        GVariantOwned fields = service_.result("GetFieldOfView", nullptr, "(a{sd})");
        double now = 0, widest = 0;
        g_variant_lookup(fields.get(), "horizontal", "d", &now);
        g_variant_lookup(fields.get(), "widest", "d", &widest);
        end(now > 0 && now < widest / 2, number_text(now) + " of " + number_text(widest) + " degrees");
    }

    // Sets off, and stops everything once each axis is under way.
    void stop_in_mid_move(const std::vector<Way> &ways, double speed)
    {
        step_ = std::string(ways[0].axis) + " " + ways[0].type + ", stopped on the way";
        Position before;
        std::vector<AxisMove> moves;
        for (const Way &way : ways) {
            before[way.axis] = at(way.axis);
            moves.push_back({way.axis, way.type, way.value});
        }
        const auto gone = [&](const Way &way) { return at(way.axis) - before.at(way.axis); };
        const auto under_way = [&](const Way &way) { return gone(way) / way.least >= 1; };
        send_move(service_, moves, speed);
        const gint64 latest = steady_now() + kSetOffUs;
        run_loop(kLookEveryMs,
                 [&] { return !std::all_of(ways.begin(), ways.end(), under_way) && steady_now() < latest; });
        service_.call("Stop", nullptr, "()"); // answered when it stands
        for (const Way &way : ways) {
            step_ = std::string(way.axis) + " " + way.type + ", stopped on the way";
            const double found = at(way.axis);
            end(under_way(way) && found != way.end,
                "from " + number_text(before.at(way.axis)) + " to " + number_text(found));
        }
    }

    void modes()
    {
        for (const Mode &mode : kModes) {
            step_ = mode.name;
            service_.call(mode.method, g_variant_new("(s)", mode.word), "()");
            end(true, mode.word);
        }
    }

    void settings()
    {
        for (const auto &[group, name, value] : kSettings) {
            step_ = std::string(group) + "." + name;
            const std::string former = value_text(get_parameter(service_, group, name).get());
            set_parameter(service_, group, name, value);
            const std::string found = value_text(get_parameter(service_, group, name).get());
            set_parameter(service_, group, name, former);
            end(found == value, format_text("%s -> %s -> %s", former.c_str(), found.c_str(), former.c_str()));
        }
    }

    // Kept somewhere, found again from elsewhere, and forgotten.
    void presets()
    {
        step_ = "a preset is kept, left and found again";
        const char *const name = "ptzctl tour";
        const double pan = 30, tilt = 10;
        const auto there = move_to_its_end(
            service_, {{"pan", "absolute", pan}, {"tilt", "absolute", tilt}, {"zoom", "absolute", 3000}});
        const auto preset = [&](const char *method, GVariant *arguments) {
            return service_.call_of(kPresetsInterface, method, arguments, "()");
        };
        const char *const axes[] = {"pan", "tilt", "zoom", nullptr}, *const none[] = {nullptr};
        preset("Set", g_variant_new("(s^as^as)", name, axes, none));
        const auto away = move_to_its_end(service_, {{"pan", "relative", -20}});
        FollowedMove back(service_);
        preset("Goto", g_variant_new("(sdu)", name, 0.0, back.id()));
        const auto result = back.wait();
        preset("Remove", g_variant_new("(s)", name));
        if (!there || !away || !result)
            throw Interrupted();
        end(there->reached && away->reached && result->reached && std::fabs(at("pan") - pan) <= 0.05 &&
                std::fabs(at("tilt") - tilt) <= 0.05,
            "at " + number_text(at("pan")) + ", " + number_text(at("tilt")));
    }

    void capabilities()
    {
        for (const auto &[category, count] : {std::pair("focus", 2u), std::pair("speed", 3u), std::pair("zoom", 4u)}) {
            step_ = std::string("capabilities of ") + category;
            GVariantOwned list = service_.result("GetCapabilities", g_variant_new("(s)", category), "(as)");
            const gsize found = g_variant_n_children(list.get());
            end(found >= count, std::to_string(found) + " entries");
        }
    }

    void special(const char *command)
    {
        step_ = std::string("special command ") + command;
        service_.call("RunSpecialCommand", g_variant_new("(s)", command), "()");
        end(true, wait_for_state(service_, 1, kStartSeconds).second);
    }

    unsigned steps() const { return steps_; }

  private:
    // The end of a step: `found` is what the camera reports, and `good` whether that is right.
    void end(bool good, const std::string &found)
    {
        if (!good)
            throw Failure(EXIT_REFUSED, "TourFailed", found);
        steps_++;
        if (!context_.json()) {
            context_.line("ok: " + step_ + ": " + found);
            return;
        }
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&object, "{sv}", "step", g_variant_new_string(step_.c_str()));
        g_variant_builder_add(&object, "{sv}", "found", g_variant_new_string(found.c_str()));
        context_.object(g_variant_builder_end(&object));
    }

    double at(const char *axis)
    {
        const Position position = service_.position();
        const auto found = position.find(axis);
        if (found == position.end())
            throw Failure(EXIT_REFUSED, "TourFailed", std::string("ptzd reports no position of ") + axis);
        return found->second;
    }

    Context &context_;
    Service &service_;
    std::string step_;
    unsigned steps_ = 0;
};

} // namespace

ExitStatus run_tour(Context &context, const Arguments &arguments)
{
    const bool no_reset = arguments.flag("--no-reset");
    Tour tour(context);
    try {
        tour.running();
        tour.places();
        tour.field_of_view();
        tour.stop_in_mid_move(kOnAndOn, 0);
        tour.stop_in_mid_move(kFarAway, 40);
        tour.presets();
        tour.modes();
        tour.settings();
        tour.capabilities();
        tour.special("wbonep");
        if (!no_reset)
            tour.special("reset");
    } catch (const Failure &failure) {
        throw Failure(failure.status(), failure.code(),
                      "the tour stopped at '" + tour.at_step() + "': " + failure.what());
    }
    context.done(std::to_string(tour.steps()) + " steps, all good");
    return EXIT_DONE;
}
