// The PTZ service as ptzctl sees it: calls on com.orna.PTZ, and failures put in words.
#pragma once

#include "failure.h"
#include "glib_owned.h"

#include <functional>
#include <gio/gio.h>
#include <map>
#include <optional>
#include <string>
#include <utility>

using Position = std::map<std::string, double>; // axis, degrees or position

// Of a variant of type a{sd}.
Position position_from(GVariant *axes);

inline constexpr const char *kServiceName = "com.orna.PTZ";
inline constexpr const char *kServicePath = "/com/orna/PTZ";
inline constexpr const char *kServiceInterface = "com.orna.PTZ";
inline constexpr const char *kPresetsInterface = "com.orna.PTZ.Presets";

class Service {
  public:
    // Connects to the system bus (DBUS_SYSTEM_BUS_ADDRESS). timeout_s: how long a call may take, in seconds.
    // Throws Failure (EXIT_NO_SERVICE) when there is no bus.
    explicit Service(double timeout_s);

    // Calls a method and returns its results, a tuple of the type `reply`. A floating `arguments` is taken over.
    // Throws Failure: what the service says is wrong, no service, no answer in time; Interrupted on Ctrl-C.
    GVariantOwned call(const char *method, GVariant *arguments, const char *reply)
    {
        return call_of(kServiceInterface, method, arguments, reply);
    }
    // The same for a method of another interface of the service.
    GVariantOwned call_of(const char *interface, const char *method, GVariant *arguments, const char *reply);

    // The same for a method with one result: that.
    GVariantOwned result(const char *method, GVariant *arguments, const char *reply)
    {
        return GVariantOwned(g_variant_get_child_value(call(method, arguments, reply).get(), 0));
    }

    // A property of the service. Throws Failure as call() does, WrongVersion when it is not of that type.
    GVariantOwned property(const char *name, const char *type);
    // Calls without waiting: `answer` comes from the main loop, with the results or with what went wrong. The service
    // must still be there then.
    using Answer = std::function<void(GVariantOwned results, const Failure *failure)>;
    void call_later(const char *method, GVariant *arguments, const char *reply, Answer answer,
                    const char *interface = kServiceInterface);

    // Has every answer that is still to come be a failure, now.
    void drop_calls();

    // GetStatus, an a{sv}.
    GVariantOwned status() { return result("GetStatus", nullptr, "(a{sv})"); }
    // GetPosition, its age in seconds apart (where the service gives it), and GetState's number and words.
    Position position(std::optional<double> *age = nullptr);
    std::pair<int, std::string> state();

    GDBusConnection *connection() { return connection_.get(); }

  private:
    int timeout_ms_;
    unsigned later_ = 0; // calls whose answers are still to come
    GOwned<GCancellable, g_object_unref> dropping_{g_cancellable_new()};
    GOwned<GDBusConnection, g_object_unref> connection_;
};
