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

    struct Object {
        const char *name, *path, *interface;
    };
    static constexpr Object kSim{"com.orna.KrxSim", "/com/orna/KrxSim", "com.orna.KrxSim"};
    static constexpr Object kImageControl{"com.orna.ImageControl", "/com/orna/ImageControl/0/0",
                                          "com.orna.ImageControlStream"};
    static constexpr Object kStreamer{"com.orna.Streamer", "/com/orna/Streamer/Video/Channel/1",
                                      "com.orna.Streamer.Video.Channel"};

    // The reply in GVariant's text form, or what the error says.
    std::string call(const Object &object, const char *interface, const char *method, GVariant *arguments,
                     int timeout_ms = 5000)
    {
        GError *error = nullptr;
        GVariant *reply =
            g_dbus_connection_call_sync(client.connection(), object.name, object.path, interface, method, arguments,
                                        nullptr, G_DBUS_CALL_FLAGS_NONE, timeout_ms, nullptr, &error);
        const std::string text = reply ? print(reply) : error->message;
        g_clear_pointer(&reply, g_variant_unref);
        g_clear_error(&error);
        return text;
    }
    std::string command(const std::string &line)
    {
        return call(kSim, kSim.interface, "Command", g_variant_new("(s)", line.c_str()));
    }
    std::string get(const Object &object, const char *property, int timeout_ms = 5000)
    {
        return call(object, "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", object.interface, property),
                    timeout_ms);
    }
    std::string mode(int timeout_ms = 5000) { return get(kImageControl, "VideoCaptureMode", timeout_ms); }
    std::string rotation() { return get(kStreamer, "Rotation"); }

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
    EXPECT_EQ(get(kSim, "Offences"), "(<{'reset-release-without-power': uint32 1}>,)");
    EXPECT_NE(get(kSim, "Lines").find("'cam_reset': true"), std::string::npos);
    EXPECT_EQ(command("set pan 1000"), "GDBus.Error:com.orna.KrxSim.Error.BadCommand: usage: set pan VALUE, -170 to "
                                       "170 degrees");
    testing::internal::CaptureStderr();
    sim::Bus second(board);
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("krx-sim: the bus name com.orna.KrxSim belongs to"));
}

TEST_F(DBus, TheImagePipelineTellsItsModeAndItsChanges)
{
    std::string heard;
    const auto on_signal = [](GDBusConnection *, const char *, const char *, const char *, const char *signal,
                              GVariant *body,
                              gpointer lines) { *static_cast<std::string *>(lines) += signal + print(body) + "\n"; };
    // Both names belong to one connection.
    g_dbus_connection_signal_subscribe(client.connection(), kStreamer.name, nullptr, nullptr, nullptr, nullptr,
                                       G_DBUS_SIGNAL_FLAGS_NONE, on_signal, &heard, nullptr);
    EXPECT_EQ(mode() + rotation(), "(<'1080p60'>,)(<0>,)");
    for (const char *line : {"set video-capture-mode 720p25%n", "set capture-frequency 50", "set rotation 180"})
        command(line);
    EXPECT_EQ(mode() + rotation(), "(<'720p25%n'>,)(<180>,)");
    while (g_main_context_iteration(nullptr, FALSE)) // what was sent before an answer is there
        ;
    EXPECT_EQ(heard, "PropertiesChanged('com.orna.ImageControlStream', {'VideoCaptureMode': <'720p25%n'>}, [])\n"
                     "PropertiesChanged('com.orna.ImageControlStream', {'CaptureFrequency': <uint32 50>}, [])\n"
                     "PropertiesChanged('com.orna.Streamer.Video.Channel', {'Rotation': <180>}, [])\n"
                     "CurrentRotationChanged(180,)\n");
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
    EXPECT_EQ(get(kSim, "Faults"), "(<{'image-control': uint32 4, 'streamer': 3}>,)");
}

} // namespace
