// krx-sim on a private bus.
#include "program.h"
#include "sim_fixture.h"

#include <gio/gio.h>
#include <memory>

namespace {

struct Unref {
    void operator()(GVariant *value) const { g_variant_unref(value); }
    void operator()(gpointer object) const { g_object_unref(object); }
};

class DBus : public testing::Test {
  protected:
    void SetUp() override
    {
        g_test_dbus_up(bus_.get());
        address_ = std::make_unique<Environment>("DBUS_SYSTEM_BUS_ADDRESS", g_test_dbus_get_bus_address(bus_.get()));
        connection_.reset(g_dbus_connection_new_for_address_sync(
            g_test_dbus_get_bus_address(bus_.get()),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr));
        ASSERT_TRUE(connection_);
    }
    void TearDown() override
    {
        connection_.reset();
        g_test_dbus_stop(bus_.get());
    }

    struct Object {
        const char *name, *path, *interface;
    };
    static constexpr Object kSim{"com.orna.KrxSim", "/com/orna/KrxSim", "com.orna.KrxSim"};
    static constexpr Object kImageControl{"com.orna.ImageControl", "/com/orna/ImageControl/0/0",
                                          "com.orna.ImageControlStream"};
    static constexpr Object kStreamer{"com.orna.Streamer", "/com/orna/Streamer/Video/Channel/1",
                                      "com.orna.Streamer.Video.Channel"};

    // The reply in GVariant's text form; else the error's D-Bus name, with its text in `message`.
    std::string call(const Object &object, const char *interface, const char *method, GVariant *arguments,
                     int timeout_ms = 5000)
    {
        GError *error = nullptr;
        const std::unique_ptr<GVariant, Unref> reply(
            g_dbus_connection_call_sync(connection_.get(), object.name, object.path, interface, method, arguments,
                                        nullptr, G_DBUS_CALL_FLAGS_NONE, timeout_ms, nullptr, &error));
        char *text = reply ? g_variant_print(reply.get(), TRUE) : g_dbus_error_get_remote_error(error);
        std::string result = text ? text : "no answer";
        message = error ? error->message : "";
        g_free(text);
        g_clear_error(&error);
        return result;
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
    std::string property(const char *name) { return get(kSim, name); }
    std::string mode(int timeout_ms = 5000) { return get(kImageControl, "VideoCaptureMode", timeout_ms); }
    std::string rotation() { return get(kStreamer, "Rotation"); }
    // Gathers the pipeline's signals in `heard`; those sent before an answer are there when next_signals() returns.
    void listen()
    {
        const auto on_signal = [](GDBusConnection *, const char *, const char *path, const char *, const char *signal,
                                  GVariant *body, gpointer heard) {
            char *text = g_variant_print(body, TRUE);
            *static_cast<std::string *>(heard) += std::string(path) + " " + signal + " " + text + "\n";
            g_free(text);
        };
        // Both names belong to one connection.
        g_dbus_connection_signal_subscribe(connection_.get(), kStreamer.name, nullptr, nullptr, nullptr, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, on_signal, &heard_, nullptr);
    }
    std::string next_signals()
    {
        while (g_main_context_iteration(nullptr, FALSE))
            ;
        return std::exchange(heard_, {});
    }

    TempFolder folder;
    Environment board{"PTZ_BOARD", folder.path()};
    std::string message;

  private:
    std::string heard_;
    std::unique_ptr<GTestDBus, Unref> bus_{g_test_dbus_new(G_TEST_DBUS_NONE)};
    std::unique_ptr<Environment> address_;
    std::unique_ptr<GDBusConnection, Unref> connection_;
};

TEST_F(DBus, CommandsAndPropertiesReachTheBoard)
{
    Program program({"--board", folder.path(), "--quiet"});
    ASSERT_TRUE(program.wait_for("ready"));
    EXPECT_EQ(command("set pan 12.5"), "('done',)");
    EXPECT_NE(property("Values").find("'Pan': 12.5"), std::string::npos);
    EXPECT_EQ(property("State"), "(<'off'>,)");
    EXPECT_EQ(property("Offences"), "(<@a{su} {}>,)");
    drive_line("cam_reset", true);
    EXPECT_EQ(property("Offences"), "(<{'reset-release-without-power': uint32 1}>,)");
    EXPECT_NE(property("Lines").find("'cam_reset': true"), std::string::npos);
    EXPECT_EQ(property("Records"), "(<@a{su} {}>,)");
    command("fault hold-request high");
    EXPECT_EQ(property("Faults"), "(<{'hold-request': uint32 1}>,)");

    EXPECT_EQ(command("set pan 1000"), "com.orna.KrxSim.Error.BadCommand");
    EXPECT_NE(message.find("usage: set pan VALUE, -170 to 170 degrees"), std::string::npos);

    Program second({"--board", folder.file("second")});
    ASSERT_TRUE(second.wait_for("krx-sim: the bus name com.orna.KrxSim belongs to somebody else"));
    EXPECT_EQ(second.stop(SIGTERM), 0);
    EXPECT_EQ(program.stop(SIGTERM), 0);
}

TEST_F(DBus, TheImagePipelineTellsItsModeAndItsChanges)
{
    Program program({"--board", folder.path(), "--quiet"});
    ASSERT_TRUE(program.wait_for("ready"));
    listen();
    EXPECT_EQ(mode(), "(<'1080p60'>,)");
    EXPECT_EQ(rotation(), "(<0>,)");
    command("set video-capture-mode 720p25%n");
    command("set capture-frequency 50");
    command("set rotation 180");
    EXPECT_EQ(mode(), "(<'720p25%n'>,)");
    EXPECT_EQ(rotation(), "(<180>,)");
    EXPECT_EQ(next_signals(),
              "/com/orna/ImageControl/0/0 PropertiesChanged ('com.orna.ImageControlStream', {'VideoCaptureMode': "
              "<'720p25%n'>}, @as [])\n"
              "/com/orna/ImageControl/0/0 PropertiesChanged ('com.orna.ImageControlStream', {'CaptureFrequency': "
              "<uint32 50>}, @as [])\n"
              "/com/orna/Streamer/Video/Channel/1 PropertiesChanged ('com.orna.Streamer.Video.Channel', {'Rotation': "
              "<180>}, @as [])\n"
              "/com/orna/Streamer/Video/Channel/1 CurrentRotationChanged (180,)\n");
    EXPECT_EQ(program.stop(SIGTERM), 0);
}

TEST_F(DBus, TheImagePipelineFailsInEveryWay)
{
    Program program({"--board", folder.path(), "--quiet"});
    ASSERT_TRUE(program.wait_for("ready"));
    const std::array<const char *, 3> cases[] = {
        {"missing", "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.ServiceUnknown"},
        {"error", "com.orna.KrxSim.Error.Fault", "com.orna.KrxSim.Error.Fault"},
        {"wrong-type", "(<1080>,)", "(<'fifty'>,)"},
        {"garbage", "('%s%n garbage\\n',)", "('%s%n garbage\\n',)"},
    };
    for (const auto &[fault, of_mode, of_rotation] : cases) {
        command(std::string("fault image-control ") + fault);
        command(std::string("fault streamer ") + fault);
        EXPECT_EQ(mode(), of_mode);
        EXPECT_EQ(rotation(), of_rotation);
    }
    command("fault image-control silent");
    EXPECT_EQ(mode(50), "no answer");
    command("clear");
    EXPECT_EQ(mode(), "(<'1080p60'>,)");
    EXPECT_EQ(rotation(), "(<0>,)");
    // A missing service is not asked.
    EXPECT_EQ(property("Faults"), "(<{'image-control': uint32 4, 'streamer': 3}>,)");
    EXPECT_EQ(program.stop(SIGTERM), 0);
}

} // namespace
