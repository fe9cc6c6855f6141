// A PTZ service on a private bus that answers as a test wants and keeps what it was asked.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class FakeService {
  public:
    // Answers a call: returns the results (floating, null for none) or fills in the name and message of an error.
    using Answer =
        std::function<GVariant *(const std::string &method, std::string &error_name, std::string &error_text)>;

    explicit FakeService(Answer answer);
    ~FakeService();
    FakeService(const FakeService &) = delete;
    FakeService &operator=(const FakeService &) = delete;

    const std::string &address() const { return address_; }
    // "Method(arguments)" of each call so far.
    std::vector<std::string> calls();

  private:
    static void on_call(GDBusConnection *connection, const char *sender, const char *path, const char *interface,
                        const char *method, GVariant *arguments, GDBusMethodInvocation *invocation, gpointer data);

    Answer answer_;
    GTestDBus *bus_;
    std::string address_;
    GMainContext *context_;
    GMainLoop *loop_;
    GDBusNodeInfo *interface_ = nullptr;
    std::mutex lock_;
    std::vector<std::string> calls_;
    std::thread thread_;
};
