// What other services tell, in GVariant's text form: a line with the arguments of a change, one with a capture mode,
// one with a rotation, as the bus would bring them.
#include "driver/capture.h"
#include "fuzz/bench.h"
#include "fuzz/target.h"
#include "tests/support/bus_fake.h"
#include "utils/services.h"

namespace {

// The text, where it stands for a value.
void answer(const char *property, const std::string &text)
{
    bus().replies.erase(property);
    if (fuzz::variant(nullptr, text))
        bus().replies[property] = text;
}

std::size_t wanted_refreshes(GVariant *change)
{
    if (change == nullptr || !g_variant_is_of_type(change, G_VARIANT_TYPE("(sa{sv}as)")))
        return 0;
    const GVariantOwned interface(g_variant_get_child_value(change, 0)), changed(g_variant_get_child_value(change, 1));
    std::size_t count = 0;
    for (gsize i = 0; i < g_variant_n_children(changed.get()); ++i) {
        const GVariantOwned entry(g_variant_get_child_value(changed.get(), i));
        const GVariantOwned key(g_variant_get_child_value(entry.get(), 0));
        count += std::string_view(g_variant_get_string(key.get(), nullptr)) == "CaptureFrequency" ? 1 : 0;
    }
    return std::string_view(g_variant_get_string(interface.get(), nullptr)) == "com.orna.ImageControlStream" ? count
                                                                                                             : 0;
}

} // namespace

FUZZ_TARGET(properties_changed)
{
    std::vector<std::string> lines = fuzz::lines(input);
    lines.resize(3);
    FuzzBench bench;
    bench.make_driver();
    answer("VideoCaptureMode", lines[1]);
    answer("Rotation", lines[2]);

    const GVariantOwned change = fuzz::variant(nullptr, lines[0]);
    HOLDS(ptz_driver_canon_utils_subscribe_capture_changes(bench.driver, ptz_driver_canon_utils_on_properties_changed));
    if (change)
        bus().emit(lines[0]);
    else
        ptz_driver_canon_utils_on_properties_changed(bench.driver, nullptr);
    HOLDS(framework().queued.size() == wanted_refreshes(change.get()));

    bench.driver->camera_powered = TRUE;
    for (std::size_t i = 0; i < 3; ++i) { // also without an order of its own
        gboolean restart = FALSE;
        const bool taken = ptz_driver_canon_take_capture_mode(bench.driver, i == 0, FALSE, &restart) != FALSE;
        HOLDS(!restart || taken);
        ptz_driver_canon_catch_up_capture_mode(bench.driver);
    }
    HOLDS(framework().run_tasks() == 0);
    int rotation = -1;
    const GVariantOwned reply = fuzz::variant("(v)", lines[2]);
    const bool got = ptz_driver_canon_utils_get_rotation(bench.driver, &rotation) != FALSE;
    HOLDS(got || rotation == -1);
    HOLDS(!got || reply);
}
