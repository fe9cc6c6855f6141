// A bus of one's own, clients on it, and the main loop that serves both ends in the test's thread.
#pragma once

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

// What a call came back with: the short name of its error ("NotReady") and the message, or the result as text.
struct Reply {
    bool done = false;
    std::string error;
    std::string text;
    // The result, or "Error: message".
    std::string said() const { return error.empty() ? text : error + ": " + text; }
};
using ReplyPtr = std::shared_ptr<Reply>;

// The value as GVariant text without types; a floating one is released.
std::string print(GVariant *value);

// Runs the main loop until the condition holds, but no longer than that; whether it does.
bool comes_true(const std::function<bool()> &condition, int seconds);
// The same; a test that waits in vain fails.
void run_until(const std::function<bool()> &condition, int seconds = 60);

// A client with a name of its own on the bus; leaves it on destruction.
class Client {
  public:
    explicit Client(const std::string &address);
    Client(const Client &) = delete;
    ~Client()
    {
        g_dbus_connection_close_sync(connection_, nullptr, nullptr);
        g_object_unref(connection_);
    }

    GDBusConnection *connection() const { return connection_; }
    void take_name(const char *name);

    // Calls com.orna.PTZ; the reply comes while the main loop runs. `arguments` in GVariant text, "()" for none.
    ReplyPtr send(const char *method, const char *arguments = "()");
    // The same, and waits for the reply.
    Reply call(const char *method, const char *arguments = "()") { return wait(send(method, arguments)); }
    static Reply wait(const ReplyPtr &reply)
    {
        run_until([&] { return reply->done; });
        return *reply;
    }
    // Any method of any object of com.orna.PTZ.
    ReplyPtr send_to(const char *path, const char *interface, const char *method, GVariant *arguments);
    // What the presets answer; `arguments` in GVariant text.
    std::string preset(const char *method, const std::string &arguments);
    // A property of com.orna.PTZ, as text: "(<true>,)".
    std::string property(const char *name);

  private:
    GDBusConnection *connection_;
};

class BusTest : public testing::Test {
  protected:
    // A bus on which everybody may do all; with an address, that one, which is somebody else's.
    explicit BusTest(std::string address = "");
    ~BusTest() override { stop_bus(); }

    const std::string &address() const { return address_; }
    void stop_bus();

  private:
    GTestDBus *bus_;
    std::string address_;
};
