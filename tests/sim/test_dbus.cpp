// The board's faces on a bus.
#include "sim/bus.h"
#include "sim_fixture.h"
#include "tests/platform/bus_fixture.h"

#include <optional>

namespace {

class DBus : public BusTest {
  protected:
    void SetUp() override
    {
        ASSERT_EQ(board.start(), std::nullopt);
        faces.emplace(board);
    }

    // The reply in GVariant's text form, or what the error says.
    std::string call(const char *name, const char *path, const char *interface, const char *method, GVariant *arguments,
                     int timeout_ms = 5000)
    {
        GError *error = nullptr;
        GVariant *reply = g_dbus_connection_call_sync(client.connection(), name, path, interface, method, arguments,
                                                      nullptr, G_DBUS_CALL_FLAGS_NONE, timeout_ms, nullptr, &error);
        std::string text = reply ? print(reply) : error->message;
        g_clear_pointer(&reply, g_variant_unref);
        g_clear_error(&error);
        return text;
    }
    std::string get(const char *name, const char *path, const char *interface, const char *property, int timeout_ms)
    {
        return call(name, path, "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", interface, property),
                    timeout_ms);
    }
    std::string command(const std::string &line)
    {
        return call(kName, kPath, kName, "Command", g_variant_new("(s)", line.c_str()));
    }
    std::string property(const char *name) { return get(kName, kPath, kName, name, 5000); }
    std::string mode(int timeout_ms = 5000)
    {
        return get("com.orna.ImageControl", "/com/orna/ImageControl/0/0", "com.orna.ImageControlStream",
                   "VideoCaptureMode", timeout_ms);
    }
    std::string rotation()
    {
        return get("com.orna.Streamer", "/com/orna/Streamer/Video/Channel/1", "com.orna.Streamer.Video.Channel",
                   "Rotation", 5000);
    }
    static constexpr const char *kName = "com.orna.KrxSim";
    static constexpr const char *kPath = "/com/orna/KrxSim";

    TempFolder folder;
    Environment board_dir{"PTZ_BOARD", folder.path()};
    Environment system_bus{"DBUS_SYSTEM_BUS_ADDRESS", address()};
    sim::Board board{{.folder = folder.path(), .manual_time = true}};
    std::optional<sim::Bus> faces;
    Client client{address()};
};

TEST_F(DBus, CommandsAndPropertiesReachTheBoard)
{
    EXPECT_EQ(command("set pan 12.5"), "('done',)");
    EXPECT_DOUBLE_EQ(board.reading().pan, 12.5);
    drive_line("cam_reset", true);
    EXPECT_EQ(property("Offences"), "(<{'reset-release-without-power': uint32 1}>,)");
    EXPECT_NE(property("Lines").find("'cam_reset': true"), std::string::npos);
    EXPECT_EQ(command("set pan 1000"), "GDBus.Error:com.orna.KrxSim.Error.BadCommand: usage: set pan VALUE, -170 to "
                                       "170 degrees");
    testing::internal::CaptureStderr();
    sim::Bus second(board);
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("krx-sim: the bus name com.orna.KrxSim belongs to"));
}

TEST_F(DBus, TheImagePipelineFailsInEveryWay)
{
    const std::array<const char *, 3> cases[] = {
        {"missing", "GDBus.Error:org.freedesktop.DBus.Error.ServiceUnknown: ",
         "GDBus.Error:org.freedesktop.DBus.Error.ServiceUnknown: "},
        {"error", "GDBus.Error:com.orna.KrxSim.Error.Fault: ", "GDBus.Error:com.orna.KrxSim.Error.Fault: "},
        {"wrong-type", "(<1080>,)", "(<'fifty'>,)"},
        {"garbage", "('%s%n garbage\\n',)", "('%s%n garbage\\n',)"},
    };
    for (const auto &[fault, of_mode, of_rotation] : cases) {
        command(std::string("fault image-control ") + fault);
        command(std::string("fault streamer ") + fault);
        EXPECT_TRUE(mode().starts_with(of_mode)) << fault;
        EXPECT_TRUE(rotation().starts_with(of_rotation)) << fault;
    }
    command("fault image-control silent");
    EXPECT_EQ(mode(50), "Timeout was reached");
    command("clear");
    EXPECT_EQ(mode() + rotation(), "(<'1080p60'>,)(<0>,)");
    // A missing service is not asked.
    EXPECT_EQ(property("Faults"), "(<{'image-control': uint32 4, 'streamer': 3}>,)");
}

} // namespace
