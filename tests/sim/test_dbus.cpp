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
    // The name is taken a moment after the program is ready.
    bool wait_for_name()
    {
        for (;;) {
            const Value reply(g_dbus_connection_call_sync(connection_.get(), "org.freedesktop.DBus",
                                                          "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                                          "NameHasOwner", g_variant_new("(s)", "com.orna.KrxSim"),
                                                          nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr));
            gboolean owned = FALSE;
            if (!reply)
                return false;
            g_variant_get(reply.get(), "(b)", &owned);
            if (owned)
                return true;
        }
    }

    TempFolder folder;
    Environment board{"PTZ_BOARD", folder.path()};
    std::string error;
    std::string message;

  private:
    std::unique_ptr<GTestDBus, Unref> bus_{g_test_dbus_new(G_TEST_DBUS_NONE)};
    std::unique_ptr<Environment> address_;
    std::unique_ptr<GDBusConnection, Unref> connection_;
};

TEST_F(DBus, CommandsAndPropertiesReachTheBoard)
{
    Program program({"--board", folder.path(), "--quiet"});
    ASSERT_TRUE(program.wait_for("ready"));
    ASSERT_TRUE(wait_for_name());
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

} // namespace
