// Firmware upgrades of the simulated block.
#include "glib_owned.h"
#include "host/driver_host.h"
#include "port/request.h"
#include "sim/upgrade.h"
#include "tests/scenario/board_fixture.h"

namespace {

class OnBoardWithFirmware : public OnBoard {
  protected:
    static constexpr int VERSION = 0x01020304;

    OnBoardWithFirmware()
    {
        put_image(VERSION, 70001);
        g_object_set(driver, DRIVER_HOST_CANCEL, cancel.get(), nullptr); // there is a host
    }

    // What the driver tells its host of the image.
    std::string told(const char *key = "result")
    {
        GVariant *variant = nullptr;
        g_object_get(driver, DRIVER_HOST_UPGRADE, &variant, nullptr);
        const GVariantOwned fields(variant);
        const GVariantOwned value(g_variant_lookup_value(variant, key, nullptr));
        return value == nullptr ? "" : GText(g_variant_print(value.get(), FALSE)).get();
    }

    bool up_to_date() { return running() && driver->fw_version == VERSION; }

    const GOwned<GCancellable, g_object_unref> cancel{g_cancellable_new()};
};

TEST_F(OnBoardWithFirmware, IsUpgradedOnce)
{
    ASSERT_TRUE(board.command("fault refuse-chunk 12 2").ok);
    open();
    EXPECT_TRUE(up_to_date());
    EXPECT_EQ(log.count("info: Camera block firmware upgrade needed, starting upgrade."), 1);
    EXPECT_EQ(log.count("warning: Firmware upload retry count: 2"), 1);
    reset();
    EXPECT_TRUE(up_to_date());
    EXPECT_EQ(log.count("info: Camera block firmware upgrade is finished"), 1);
    EXPECT_EQ(board.offences(), sim::Counts{});
}

// The block tells a chunk that was given up from an offence by the time that a host waits.
TEST(RequestPatience, OfTheBlockIsTheTimeOutOfThePort)
{
    EXPECT_EQ(sim::kRequestPatienceUs, REQUEST_TIMEOUT_S * std::int64_t{1000000});
}

TEST_F(OnBoardWithFirmware, AnUpgradeCutOffAnywhereIsMadeUpFor)
{
    const std::string fatal = "error: Fatal error, could not upgrade camera block firmware";
    const std::string no_line = "error: Fatal error, camera block firmware upgrade could not be completed.\n";
    const std::string no_start = "'the camera block did not become ready'";
    const std::string old = "'the camera block still has version 01000000'";
    const std::tuple<const char *, std::string, std::string> faults[] = {
        {"upgrade-cut start", fatal, no_start},
        {"upgrade-cut ready", fatal, no_start},
        {"upgrade-cut end", no_line, old},
        {"upgrade-ready never", fatal, no_start},
        {"refuse-chunks forever", fatal, "'chunk 1 of 69 was refused too often'"},
        {"refuse-chunk 12 forever", fatal, "'chunk 13 of 69 was refused too often'"},
        {"fw-complete never", no_line, "'done'"},
        {"new-firmware never", "info: Camera block firmware upgrade is finished", old},
    };
    open();
    const std::size_t descriptors = open_descriptors();
    for (const auto &[fault, message, words] : faults) {
        SCOPED_TRACE(fault);
        ASSERT_TRUE(board.command("clear faults").ok);
        ASSERT_TRUE(board.command("set firmware 01000000").ok);
        ASSERT_TRUE(board.command(std::string("fault ") + fault).ok);
        log.take();
        reset();
        EXPECT_EQ(log.count(message), 1);
        EXPECT_TRUE(running()); // the block's second boot decides
        EXPECT_EQ(told(), words);
        ASSERT_TRUE(board.command("clear faults").ok);
        reset();
        EXPECT_TRUE(up_to_date());
        EXPECT_EQ(told() + told("from") + told("to") + told("sent"),
                  words == "'done'" ? "" : "'done''01000000''01020304'69");
        EXPECT_EQ(open_descriptors(), descriptors);
    }
}

TEST_F(OnBoardWithFirmware, AHostHoldsAnImageBackByItsName)
{
    ASSERT_TRUE(board.command("fault new-firmware never").ok);
    open();
    const std::string image = told("image");
    EXPECT_TRUE(image.starts_with("'01020304-70001-")) << image;
    ASSERT_TRUE(board.command("clear faults").ok);
    g_object_set(driver, DRIVER_HOST_HELD_IMAGE, image.substr(1, image.size() - 2).c_str(), nullptr);
    reset();
    EXPECT_TRUE(running());
    EXPECT_FALSE(up_to_date());
    EXPECT_EQ(told(), "'held'");
    put_image(VERSION, 70000); // another one
    reset();
    EXPECT_TRUE(up_to_date());
    reset();
    EXPECT_EQ(told("image"), ""); // it is in force: nothing to upgrade to
    folder.write("IMC.APP", "131, but no more");
    reset();
    EXPECT_TRUE(up_to_date());
    EXPECT_EQ(told(), "'the file is no firmware image'");
    EXPECT_EQ(told("image"), "'00000000-16-6d8dacc1b76aac58'");
}

} // namespace
