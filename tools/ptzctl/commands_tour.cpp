// tour: the camera shown in action, each step checked against what the camera reports.
#include "camera.h"
#include "command.h"
#include "json.h"
#include "loop.h"
#include "numbers.h"

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

// Operations by a method of the service with a word.
struct Mode {
    const char *method;
    const char *word;
};
constexpr Mode kModes[] = {
    {"SetIrisMode", "manual"}, {"SetIrisMode", "auto"},    {"SetFocusMode", "manual"},
    {"SetFocusMode", "auto"},  {"SetBacklightMode", "on"}, {"SetBacklightMode", "off"},
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

    // `good` false ends the tour: Failure (EXIT_REFUSED) with what was found.
    void step(const std::string &name, bool good, const std::string &found)
    {
        require(name, good, found);
        steps_++;
        if (!context_.json()) {
            context_.line("ok: " + name + ": " + found);
            return;
        }
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&object, "{sv}", "step", g_variant_new_string(name.c_str()));
        g_variant_builder_add(&object, "{sv}", "found", g_variant_new_string(found.c_str()));
        context_.object(g_variant_builder_end(&object));
    }

    void running()
    {
        const auto state = wait_for_state(service_, 1, kStartSeconds);
        step("the camera runs", true, printable(state.second));
    }

    void places()
    {
        for (const Place &place : kPlaces) {
            const bool relative = place.type == std::string_view("relative");
            const double wanted = place.value + (relative ? at(place.axis) : 0);
            send_move(service_, {{place.axis, place.type, place.value}});
            stay(service_);
            const double found = at(place.axis);
            step(std::string(place.axis) + " " + number_text(place.value) + " " + place.type,
                 std::fabs(found - wanted) <= place.tolerance, "at " + number_text(found));
        }
    }

    // Narrower than at the widest, as the zoom is in by now.
    void field_of_view()
    {
        VariantOwned fields = service_.result("GetFieldOfView", nullptr, "(a{sd})");
        double now = 0, widest = 0;
        g_variant_lookup(fields.get(), "horizontal", "d", &now);
        g_variant_lookup(fields.get(), "widest", "d", &widest);
        step("the field of view follows the zoom", now > 0 && now < widest / 2,
             number_text(now) + " of " + number_text(widest) + " degrees");
    }

    void continuous_and_stop()
    {
        const double before = at("pan");
        send_move(service_, {{"pan", "continuous", 20}});
        const gint64 latest = steady_now() + kSetOffUs;
        run_loop(kLookEveryMs, [&] { return at("pan") < before + 2 && steady_now() < latest; });
        service_.call("Stop", nullptr, "()");
        const double stopped = (stay(service_), at("pan"));
        step("pan on and on to the right, and a stop", stopped >= before + 2 && stopped < 169,
             "from " + number_text(before) + " to " + number_text(stopped));
    }

    void modes()
    {
        for (const Mode &mode : kModes) {
            service_.call(mode.method, g_variant_new("(s)", mode.word), "()");
            step(mode.method, true, mode.word);
        }
    }

    void settings()
    {
        for (const auto &[group, name, value] : kSettings) {
            const std::string former = value_text(get_parameter(service_, group, name).get());
            set_parameter(service_, group, name, value);
            const std::string found = value_text(get_parameter(service_, group, name).get());
            set_parameter(service_, group, name, former);
            step(std::string(group) + "." + name, found == value, former + " -> " + found + " -> " + former);
        }
    }

    void capabilities()
    {
        for (const auto &[category, count] : {std::pair("focus", 2u), std::pair("speed", 3u), std::pair("zoom", 4u)}) {
            VariantOwned list = service_.result("GetCapabilities", g_variant_new("(s)", category), "(as)");
            const gsize found = g_variant_n_children(list.get());
            step(std::string("capabilities of ") + category, found >= count, std::to_string(found) + " entries");
        }
    }

    void special(const char *command)
    {
        service_.call("RunSpecialCommand", g_variant_new("(s)", command), "()");
        step(std::string("special command ") + command, true, wait_for_state(service_, 1, kStartSeconds).second);
    }

    unsigned steps() const { return steps_; }

  private:
    static void require(const std::string &name, bool good, const std::string &found)
    {
        if (!good)
            throw Failure(EXIT_REFUSED, "TourFailed", "the tour stopped at '" + name + "': " + found);
    }

    double at(const char *axis)
    {
        const Position position = service_.position();
        const auto found = position.find(axis);
        require(axis, found != position.end(), "ptzd reports no such position");
        return found->second;
    }

    Context &context_;
    Service &service_;
    unsigned steps_ = 0;
};

} // namespace

ExitStatus run_tour(Context &context, Arguments &arguments)
{
    const bool no_reset = arguments.flag("--no-reset");
    arguments.words(0, 0);
    Tour tour(context);
    tour.running();
    tour.places();
    tour.field_of_view();
    tour.continuous_and_stop();
    tour.modes();
    tour.settings();
    tour.capabilities();
    tour.special("wbonep");
    if (!no_reset)
        tour.special("reset");
    context.done(std::to_string(tour.steps()) + " steps, all good");
    return EXIT_DONE;
}
