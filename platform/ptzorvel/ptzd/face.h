// The service's object on the bus: which call goes to which handler.
#pragma once

#include "ptzorvel/ptzd/service.h"

#include <span>
#include <string_view>

inline constexpr char kObjectPath[] = "/com/orna/PTZ";
inline constexpr char kInterfaceName[] = "com.orna.PTZ";

struct MethodRow {
    std::string_view name;
    void (*handler)(PtzService &service, const CallPtr &call);
};
// Has the method's row answer the call; refused when there is none.
void answer_call(PtzService &service, const CallPtr &call, const char *method, std::span<const MethodRow> methods);

// Exports the first interface of that description on the service's object; 0 and an error when that fails. The vtable
// gets the service, which must outlive the registration and ends it.
guint register_interface(PtzService &service, const char *xml, const GDBusInterfaceVTable &vtable, GError **error);

// The interface of the camera, and that of the presets (presets_face.cpp).
guint register_face(PtzService &service, GError **error);
guint register_presets_face(PtzService &service, GError **error);
