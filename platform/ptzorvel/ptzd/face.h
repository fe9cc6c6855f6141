// The service's object on the bus: which call goes to which handler.
#pragma once

#include "ptzorvel/ptzd/service.h"

inline constexpr char kObjectPath[] = "/com/orna/PTZ";
inline constexpr char kInterfaceName[] = "com.orna.PTZ";

// Exports the object on the service's connection; 0 and an error when that fails. The service must outlive the
// registration, which it ends itself.
guint register_face(PtzService &service, GError **error);
// The same of the interface of the presets on that object (presets_face.cpp).
guint register_presets_face(PtzService &service, GError **error);
