#include "cmd/ptz_driver_canon_cmd_focus.h"
#include "tests/support/driver_fixture.h"

namespace {

class Focus : public DriverBench {
  protected:
    Focus() { make_driver(); }
};

constexpr const char *AUTO_FOCUS = "ptz_driver_canon_cmd_auto_focus";

TEST_F(Focus, AutoFocusSwitchesOnOnce)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_auto_focus(driver, 1));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 01 00 00"}));
    EXPECT_EQ(port.reads, 1);
    EXPECT_EQ(driver->parent_instance.focus_mode, 1);
    EXPECT_EQ(driver->target.focus_zenta, -1);
    EXPECT_TRUE(driver->current.auto_focus);
    EXPECT_EQ(driver->current.focus_moving, -1);
    EXPECT_FALSE(framework().take().empty()); // published

    EXPECT_TRUE(ptz_driver_canon_cmd_auto_focus(driver, 1));
    EXPECT_TRUE(port.packets.empty());
}

TEST_F(Focus, SwitchingOffRestoresTheManualMode)
{
    driver->current.auto_focus = TRUE;
    driver->current.focus_manual_mode = 4;
    EXPECT_TRUE(ptz_driver_canon_cmd_auto_focus(driver, 2));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 01 00 04"}));
    EXPECT_FALSE(driver->current.auto_focus);
}

TEST_F(Focus, OnlyOnOrOffIsComparedBeforeTheModeIsLookedAt)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_auto_focus(driver, 7));
    EXPECT_TRUE(log.take().empty());
    driver->current.auto_focus = TRUE;
    EXPECT_FALSE(ptz_driver_canon_cmd_auto_focus(driver, 7));
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported auto focus mode"}));
    EXPECT_TRUE(framework().take().empty()); // not published
    EXPECT_TRUE(port.packets.empty());
}

TEST_F(Focus, BeforeStartUpItWarnsAndHoldsTrue)
{
    driver->driver_initialized = FALSE;
    EXPECT_TRUE(ptz_driver_canon_cmd_auto_focus(driver, 1));
    EXPECT_EQ(log.take(), (Lines{guard_line(AUTO_FOCUS, "self->driver_initialized")}));
    EXPECT_FALSE(ptz_driver_canon_cmd_auto_focus(nullptr, 1));
    EXPECT_EQ(log.take(), (Lines{guard_line(AUTO_FOCUS, "self")}));
    EXPECT_TRUE(port.packets.empty());
}

TEST_F(Focus, FailedAutoFocusLeavesOnlyTheMotionUnknown)
{
    port.deaf = true;
    driver->cmd_retries = 1;
    driver->current.focus_moving = 0;
    driver->target.focus_zenta = 12;
    driver->parent_instance.focus_mode = 2;
    EXPECT_FALSE(ptz_driver_canon_cmd_auto_focus(driver, 1));
    EXPECT_EQ(log.take().back(), "error: Failed to auto focus mode setup command");
    EXPECT_EQ(driver->current.focus_moving, -1);
    EXPECT_EQ(driver->target.focus_zenta, 12);
    EXPECT_EQ(driver->parent_instance.focus_mode, 2);
    EXPECT_FALSE(driver->current.auto_focus);
    EXPECT_FALSE(framework().take().empty());
}

TEST_F(Focus, NearLimitTakesTheStepAtOrBelow)
{
    for (const int limit : {1, 2123, 2124, 9999})
        EXPECT_TRUE(ptz_driver_canon_cmd_auto_focus_limit(driver, limit));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 01 10 00", "04 00 01 10 00", "04 00 01 10 01", "04 00 01 10 0B"}));
    for (const int limit : {0, -1, 10000}) {
        EXPECT_FALSE(ptz_driver_canon_cmd_auto_focus_limit(driver, limit));
        EXPECT_EQ(log.take(),
                  (Lines{guard_line("ptz_driver_canon_cmd_auto_focus_limit",
                                    "(ZENTA_RANGE_MIN <= focus_limit) && (focus_limit <= ZENTA_RANGE_MAX)")}));
    }
    EXPECT_TRUE(port.packets.empty());
}

struct TextCase {
    gboolean (*operation)(PTZDriverCanon *, const char *);
    const char *name;
    std::vector<std::pair<const char *, const char *>> payloads; // text, bytes
    const char *unsupported;
    const char *failure;
};

TEST_F(Focus, TextModesInAnyLetterCase)
{
    const TextCase cases[] = {
        {ptz_driver_canon_cmd_focus_auto_mode,
         "ptz_driver_canon_cmd_focus_auto_mode",
         {{"AUTO", "04 00 01 0B 00"}, {"zOOm", "04 00 01 0B 01"}, {"interval", "04 00 01 0B 02"}},
         "Unsupported auto focus mode",
         "Failed to send auto focus mode setup command"},
        {ptz_driver_canon_cmd_focus_manual_mode,
         "ptz_driver_canon_cmd_focus_manual_mode",
         {{"Manual", "04 00 01 00 01"}, {"INF", "04 00 01 00 04"}, {"push", "04 00 01 00 05"}},
         "Unsupported manual focus mode",
         "Failed to send manual focus mode setup command"},
        {ptz_driver_canon_cmd_auto_focus_sensitivity,
         "ptz_driver_canon_cmd_auto_focus_sensitivity",
         {{"Normal", "04 00 01 0A 7F"}, {"LOW", "04 00 01 0A 40"}},
         "Unsupported focus sensitivity mode",
         "Failed to send auto focus sensitivity setup command"},
    };
    driver->cmd_retries = 1;
    for (const TextCase &c : cases) {
        SCOPED_TRACE(c.name);
        for (const auto &[text, payload] : c.payloads) {
            EXPECT_TRUE(c.operation(driver, text));
            EXPECT_EQ(port.take_payloads(), Lines{payload});
        }
        EXPECT_FALSE(c.operation(driver, ""));
        EXPECT_FALSE(c.operation(driver, nullptr));
        EXPECT_FALSE(c.operation(nullptr, "x"));
        EXPECT_EQ(log.take(), (Lines{std::string("error: ") + c.unsupported, guard_line(c.name, "mode"),
                                     guard_line(c.name, "self")}));
        port.deaf = true;
        EXPECT_FALSE(c.operation(driver, c.payloads.front().first));
        port.deaf = false;
        EXPECT_EQ(log.take().back(), std::string("error: ") + c.failure);
    }
}

TEST_F(Focus, ManualModeIsKeptEvenWhenItCouldNotBeSent)
{
    port.deaf = true;
    driver->cmd_retries = 1;
    EXPECT_FALSE(ptz_driver_canon_cmd_focus_manual_mode(driver, "push"));
    EXPECT_EQ(driver->current.focus_manual_mode, 5);
    driver->current.auto_focus = TRUE;
    EXPECT_TRUE(ptz_driver_canon_cmd_focus_manual_mode(driver, "inf"));
    EXPECT_EQ(driver->current.focus_manual_mode, 5);
    EXPECT_EQ(port.attempts, 1);
}

TEST_F(Focus, TimesAreUnsigned)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_focus_active_time(driver, 0));
    EXPECT_TRUE(ptz_driver_canon_cmd_focus_interval_time(driver, 255));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 01 0D 00", "04 00 01 0C FF"}));
    EXPECT_FALSE(ptz_driver_canon_cmd_focus_active_time(driver, 256));
    EXPECT_FALSE(ptz_driver_canon_cmd_focus_interval_time(driver, static_cast<unsigned>(-1)));
    EXPECT_EQ(log.take(),
              (Lines{"error: Unsupported auto focus activity time", "error: Unsupported auto focus interval time"}));
}

} // namespace
