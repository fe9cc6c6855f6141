// A call from the bus on its way through the service.
#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>

enum class ErrorKind {
    invalid_argument,
    out_of_range,
    unknown_parameter,
    not_ready,
    busy,
    not_supported,
    cancelled,
    still_moving,
    failed,
};

// What went wrong and what to do about it, in a sentence for the caller.
struct CallError {
    ErrorKind kind;
    std::string text;
};

// "com.orna.PTZ.Error.NotReady" and so on.
const char *error_name(ErrorKind kind);

// Answered exactly once: one that is dropped unanswered (the service shuts down) is refused. Any thread may answer.
class Call {
  public:
    // Takes over the invocation's reference, as GDBus hands it to a method handler.
    explicit Call(GDBusMethodInvocation *invocation) : invocation_(invocation) {}
    ~Call();
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

    // Valid until the call is answered.
    GVariant *parameters() const { return g_dbus_method_invocation_get_parameters(invocation_); }
    const char *sender() const { return g_dbus_method_invocation_get_sender(invocation_); }

    // `result`: the tuple of the out arguments, floating or not; null when there are none.
    void answer(GVariant *result = nullptr);
    void refuse(const CallError &error);

  private:
    GDBusMethodInvocation *invocation_;
};

using CallPtr = std::shared_ptr<Call>;
