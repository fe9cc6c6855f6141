// A call from the bus on its way through the service.
#pragma once

#include <gio/gio.h>

#include <memory>
#include <optional>
#include <string>

enum class ErrorKind {
    invalid_argument,
    out_of_range,
    unknown_parameter,
    unknown_preset,
    not_ready,
    busy,
    not_supported,
    cancelled,
    limits_exceeded,
    not_kept,
    still_moving,
    failed,
};

// What went wrong and what to do about it, in a sentence for the caller.
struct CallError {
    ErrorKind kind;
    std::string text;
};

// Whether a text from a client can name something or be a value: at most 256 bytes without control characters. If not,
// what is wrong with it. `what` names it: "command".
std::optional<CallError> check_text(const std::string &what, const std::string &text);

// "com.orna.PTZ.Error.NotReady" and so on.
const char *error_name(ErrorKind kind);

// Answered exactly once: one that is dropped unanswered (the service shuts down) is refused. Any thread may answer.
class Call {
  public:
    // Keeps references of its own on both. `stops_before`: how many stops had come when it came.
    Call(GDBusConnection *connection, GDBusMessage *message, unsigned stops_before);
    ~Call();
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

    // A tuple. Both live as long as the call.
    GVariant *parameters() const { return parameters_; }
    const char *sender() const { return g_dbus_message_get_sender(message_); }
    // A move that is to begin when there were more stops is not to be carried out.
    unsigned stops_before() const { return stops_before_; }

    // `result`: the tuple of the out arguments, floating or not; null when there are none.
    void answer(GVariant *result = nullptr);
    void refuse(const CallError &error);

  private:
    void send(GDBusMessage *reply);

    GDBusConnection *connection_;
    GDBusMessage *message_;
    GVariant *parameters_;
    const unsigned stops_before_;
    bool answered_ = false;
};

using CallPtr = std::shared_ptr<Call>;
