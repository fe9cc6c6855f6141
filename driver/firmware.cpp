#include "driver/firmware.h"

#include "core/clock.h"
#include "core/host.h"
#include "core/log.h"
#include "core/paths.h"
#include "driver/type.h"
#include "host/driver_host.h"
#include "hw/boot.h"
#include "hw/fw_file.h"
#include "hw/power.h"
#include "utils/status.h"

#include <string>

namespace {

// Of a firmware file that is no image.
constexpr guint32 NO_VERSION = 0;

std::string version_text(guint32 version, guint32 unknown)
{
    char text[] = "01234567";
    g_snprintf(text, sizeof text, "%08x", version);
    return version == unknown ? "unknown" : text;
}

// For a host: which image there is, of another version than the camera block's. False when the host holds it back.
bool note_image(PTZDriverCanon *self, const char *file, guint32 version)
{
    const std::string image = host_is_there() ? ptz_driver_canon_fw_file_id(file, version) : "";
    if (image.empty())
        return true;
    host_note_upgrade(image, ptz_driver_canon_firmware_text(static_cast<guint32>(self->fw_version)),
                      version_text(version, NO_VERSION));
    const bool held = image == host_held_image();
    if (held)
        host_note_upgrade_result(DRIVER_HOST_UPGRADE_HELD);
    else if (version == NO_VERSION)
        host_note_upgrade_result("the file is no firmware image");
    return !held;
}

// For a host: how an upgrade to `version` has ended.
void note_upgrade_end(PTZDriverCanon *self, guint32 version, bool back)
{
    const std::string failure = host_transfer_failure();
    const auto now = static_cast<guint32>(self->fw_version);
    std::string result = failure;
    if (back && now == version)
        result = DRIVER_HOST_UPGRADE_DONE;
    else if (clock_cancelled())
        result = HOST_GIVEN_UP;
    else if (!back)
        result += (failure.empty() ? "" : ", and ") + std::string("the camera block did not come back");
    else if (failure.empty())
        result = now == HOST_NO_REVISION ? "the camera block does not tell its version"
                                         : "the camera block still has version " + ptz_driver_canon_firmware_text(now);
    host_note_upgrade_result(result);
}

} // namespace

std::string ptz_driver_canon_firmware_file()
{
    return data_path("IMC.APP");
}

std::string ptz_driver_canon_firmware_text(guint32 revision)
{
    return version_text(revision, HOST_NO_REVISION);
}

gboolean ptz_driver_canon_upgrade_firmware(PTZDriverCanon *self)
{
    if (!self->firmware_do_upgrade || clock_cancelled())
        return TRUE;
    const std::string file = ptz_driver_canon_firmware_file();
    const guint32 version = ptz_driver_canon_fw_file_version(file.c_str());
    if (version == static_cast<guint32>(self->fw_version) || !note_image(self, file.c_str(), version) ||
        version == NO_VERSION)
        return TRUE;
    log_info("Camera block firmware upgrade needed, starting upgrade.");
    ptz_driver_canon_set_state(self, PTZ_STATE_UPGRADING);
    ptz_driver_canon_fw_upgrade_file(file.c_str());
    ptz_driver_canon_wait_fw_upgrade_complete(self);
    const bool back = ptz_driver_canon_boot(self);
    if (back)
        self->fw_version = vccif_wait_fw_revision(self);
    note_upgrade_end(self, version, back);
    if (!back)
        return FALSE;
    ptz_driver_canon_set_state(self, PTZ_STATE_INITIALISING);
    log_info("Camera block firmware upgrade is finished");
    return TRUE;
}
