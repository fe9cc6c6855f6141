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
using Value = std::unique_ptr<GVariant, Unref>;

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

    // The reply, or none with the error's D-Bus name in `error`.
    Value call(const char *interface, const char *method, GVariant *arguments)
    {
        GError *failure = nullptr;
        GVariant *reply =
            g_dbus_connection_call_sync(connection_.get(), "com.orna.KrxSim", "/com/orna/KrxSim", interface, method,
                                        arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, &failure);
        if (failure) {
            char *name = g_dbus_error_get_remote_error(failure);
            error = name ? name : failure->message;
            message = failure->message;
            g_free(name);
            g_error_free(failure);
        }
        return Value(reply);
    }
    Value command(const char *line) { return call("com.orna.KrxSim", "Command", g_variant_new("(s)", line)); }
    std::string property(const char *name)
    {
        const Value reply =
            call("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", "com.orna.KrxSim", name));
        char *text = reply ? g_variant_print(reply.get(), FALSE) : g_strdup("");
        std::string result = text;
        g_free(text);
        return result;
    }
    // A property of one of the image pipeline's services, or the error's name.
    std::string get(const char *name, const char *path, const char *interface, const char *property, int timeout_ms)
    {
        GError *failure = nullptr;
        const Value reply(g_dbus_connection_call_sync(connection_.get(), name, path, "org.freedesktop.DBus.Properties",
                                                      "Get", g_variant_new("(ss)", interface, property), nullptr,
                                                      G_DBUS_CALL_FLAGS_NONE, timeout_ms, nullptr, &failure));
        char *text = reply     ? g_variant_print(reply.get(), TRUE)
                     : failure ? g_dbus_error_get_remote_error(failure)
                               : nullptr;
        std::string result = text ? text : "no answer";
        g_free(text);
        g_clear_error(&failure);
        return result;
    }
    std::string mode(int timeout_ms = 5000)
    {
        return get("com.orna.ImageControl", "/com/orna/ImageControl/0/0", "com.orna.ImageControlStream",
                   "VideoCaptureMode", timeout_ms);
    }
    std::string rotation(int timeout_ms = 5000)
    {
        return get("com.orna.Streamer", "/com/orna/Streamer/Video/Channel/1", "com.orna.Streamer.Video.Channel",
                   "Rotation", timeout_ms);
    }
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
        g_dbus_connection_signal_subscribe(connection_.get(), "com.orna.Streamer", nullptr, nullptr, nullptr, nullptr,
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
    std::string error;
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
    EXPECT_TRUE(command("set pan 12.5"));
    EXPECT_NE(property("Values").find("'Pan': 12.5"), std::string::npos);
    EXPECT_EQ(property("State"), "(<'off'>,)");
    EXPECT_EQ(property("Offences"), "(<@a{su} {}>,)");
    drive_line("cam_reset", true);
    EXPECT_EQ(property("Offences"), "(<{'reset-release-without-power': uint32 1}>,)");
    EXPECT_NE(property("Lines").find("'cam_reset': true"), std::string::npos);
    EXPECT_EQ(property("Records"), "(<@a{su} {}>,)");
    EXPECT_TRUE(command("fault hold-request high"));
    EXPECT_EQ(property("Faults"), "(<{'hold-request': uint32 1}>,)");

    EXPECT_FALSE(command("set pan 1000"));
    EXPECT_EQ(error, "com.orna.KrxSim.Error.BadCommand");
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
    EXPECT_TRUE(command("set video-capture-mode 720p25%n"));
    EXPECT_TRUE(command("set capture-frequency 50"));
    EXPECT_TRUE(command("set rotation 180"));
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
        EXPECT_TRUE(command((std::string("fault image-control ") + fault).c_str()));
        EXPECT_TRUE(command((std::string("fault streamer ") + fault).c_str()));
        EXPECT_EQ(mode(), of_mode);
        EXPECT_EQ(rotation(), of_rotation);
    }
    EXPECT_TRUE(command("fault image-control silent"));
    EXPECT_EQ(mode(50), "no answer");
    EXPECT_TRUE(command("clear"));
    EXPECT_EQ(mode(), "(<'1080p60'>,)");
    EXPECT_EQ(rotation(), "(<0>,)");
    // A missing service is not asked.
    EXPECT_EQ(property("Faults"), "(<{'image-control': uint32 4, 'streamer': 3}>,)");
    EXPECT_EQ(program.stop(SIGTERM), 0);
}

} // namespace
