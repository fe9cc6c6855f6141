// The last firmware upgrade, and which image is not tried again.
#include "glib_owned.h"
#include "ptzorvel/ptzd/upgrade_log.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

namespace {

TEST(UpgradeLog, HoldsAnImageBackThatFailedThreeTimesInARow)
{
    const TempFolder folder;
    const std::string failed = "the camera block did not become ready";
    const struct {
        ImageReport report;
        bool counts; // not when the service's end cut it off
        const char *held;
    } upgrades[] = {
        {{"a", "01", "02", 9, 9, failed}, true, ""},
        {{"a", "01", "02", 9, 9, "given up"}, false, ""},
        {{"a", "01", "02", 0, 9, failed}, true, ""},
        {{"a", "unknown", "02", 0, 9, failed}, true, ""}, // that block said nothing at all
        {{"b", "01", "02", 9, 9, failed}, true, ""},      // another one begins anew
        {{"a", "unknown", "02", 1, 9, failed}, true, ""},
        {{"a", "01", "02", 9, 9, failed}, true, ""},
        {{"a", "01", "02", 9, 9, failed}, true, "a"},
        {{"a", "01", "02", 0, 0, "held"}, true, "a"}, // was no upgrade
        {{"b", "01", "02", 9, 9, "done"}, true, ""},
        {{"b", "02", "02", 9, 9, failed}, true, ""},
        {{"b", "02", "02", 9, 9, failed}, true, ""},
        {{"b", "02", "02", 9, 9, failed}, true, "b"},
    };
    int line = 0;
    for (const auto &[report, counts, held] : upgrades) {
        UpgradeLog(folder.path()).ended(report, counts);
        EXPECT_EQ(UpgradeLog(folder.path()).held_image(), held) << line++;
    }
    UpgradeLog(folder.path()).forget_failures();
    EXPECT_EQ(UpgradeLog(folder.path()).held_image(), "");
    const GVariantOwned last(g_variant_ref_sink(UpgradeLog(folder.path()).variant()));
    const char *result = nullptr;
    g_variant_lookup(last.get(), "result", "&s", &result);
    EXPECT_EQ(result, failed);
    for (const char *version : {"01", "unknown", "02"})
        UpgradeLog(folder.path()).seen(version);
    const GVariantOwned after(g_variant_ref_sink(UpgradeLog(folder.path()).variant()));
    g_variant_lookup(after.get(), "result", "&s", &result);
    EXPECT_STREQ(result, "done");
}

} // namespace
