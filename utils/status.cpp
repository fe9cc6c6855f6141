#include "utils/status.h"

#include "core/clock.h"
#include "core/guard.h"
#include "core/host.h"
#include "core/zenta.h"
#include "glib_owned.h"
#include "port/spi_port.h"
#include "utils/publish.h"
#include "vcc/convert.h"
#include "vcc/model.h"
#include "vcc/status.h"

#include "ptzmath/ptzmath.h"

namespace {

constexpr guint RX_BUFFER_MAX = 1024;
constexpr float ASPECT_RATIO = 1.7777778f;

constexpr int WAIT_POLLS = 300;
constexpr std::int64_t WAIT_INTERVAL_US = 100000;
constexpr std::int64_t FW_REVISION_INTERVAL_US = 5000;

constexpr int STATUS_CHECK_REVISIONS = 3;

void derive_fields_of_view(CameraState &now, const CameraModel &model)
{
    if (now.zoom_magnification > model.max_optical_magnification) {
        ptzmath_get_zoom_fov(now.zoom_magnification, model.wide_hfov, ASPECT_RATIO, &now.hfov, &now.vfov);
    } else {
        now.hfov = vccif_get_hfov();
        now.vfov = vccif_get_vfov();
    }
    if (now.zoom_zenta <= ZENTA_ZOOM_MAX) {
        now.mask_hfov = now.hfov;
        now.mask_vfov = now.vfov;
    } else {
        ptzmath_get_zoom_fov(model.max_optical_magnification, model.wide_hfov, ASPECT_RATIO, &now.mask_hfov,
                             &now.mask_vfov);
    }
}

gboolean wait_until(PTZDriverCanon *self, bool (*reached)(PTZDriverCanon *))
{
    clock_sleep_us(WAIT_INTERVAL_US);
    for (int poll = 0; poll < WAIT_POLLS && !clock_cancelled(); ++poll) {
        if (reached(self))
            return TRUE;
        clock_sleep_us(WAIT_INTERVAL_US);
    }
    return FALSE;
}

} // namespace

void ptz_driver_canon_cmd_receive_status(PTZDriverCanon *self)
{
    if (self->rx_buffer->len >= RX_BUFFER_MAX)
        return;
    guint8 received[RX_BUFFER_MAX];
    int count = 0;
    {
        const GMutexHold hold(self->port_lock);
        const int room = static_cast<int>(RX_BUFFER_MAX - self->rx_buffer->len);
        host_note_status_wanted();
        count = ptz_port_canon_read_data(self->port, received, room, 0, 0);
    }
    if (count <= 0)
        return;
    g_byte_array_append(self->rx_buffer, received, static_cast<guint>(count));
    gboolean publish = FALSE;
    const bool good = ptz_driver_canon_cmd_async_data(self, &publish);
    if (publish)
        ptz_driver_canon_utils_publish_status(self);
    // Last: who sees the count sees what this status brought.
    if (good)
        host_note_status(vccif_is_lens_busy(), vccif_get_fw_revision());
}

gboolean ptz_driver_canon_cmd_update_status(PTZDriverCanon *self)
{
    ptz_driver_canon_cmd_receive_status(self);
    return vccif_is_all_status_available();
}

gboolean ptz_driver_canon_cmd_async_data(PTZDriverCanon *self, gboolean *publish)
{
    GUARD(self, FALSE);
    const bool taken = vccif_append_data(self->rx_buffer->data, self->rx_buffer->len);
    g_byte_array_set_size(self->rx_buffer, 0);

    const CameraModel *model = self->cam_model;
    CameraState &now = self->current;
    now.focus_position = static_cast<int>(vccif_get_focus_position());
    now.focus_zenta = vccif_vcc_to_zenta_focus(model, now.focus_position);
    now.pan_degree = vccif_vcc_to_degree_pan(model, vccif_get_pan_position());
    now.tilt_degree = vccif_vcc_to_degree_tilt(model, vccif_get_tilt_position());
    now.zoom_magnification = vccif_get_zoom_magnification();
    now.zoom_zenta = vccif_magnification_to_zenta_zoom(model, now.zoom_magnification);
    derive_fields_of_view(now, *model);
    now.focus_moving = vccif_is_focus_moving();
    now.zoom_moving = vccif_is_zoom_moving();
    now.pan_moving = vccif_is_pan_moving();
    now.tilt_moving = vccif_is_tilt_moving();
    *publish = TRUE;
    return taken;
}

int vccif_wait_fw_revision(PTZDriverCanon *self)
{
    vccif_clear_status();
    int left = self->cmd_retries - 1;
    while (!vccif_is_available_status(STATUS_CHECK_REVISIONS)) {
        if (clock_cancelled())
            return -1;
        clock_sleep_us(FW_REVISION_INTERVAL_US);
        --left;
        ptz_driver_canon_cmd_update_status(self);
        if (left <= -1)
            return -1;
    }
    return left <= 0 ? -1 : static_cast<int>(vccif_get_fw_revision());
}

int vccif_inq_error_info(const PTZDriverCanon *self)
{
    enum { IO = 2, DSP = 4, ZOOM = 8, FOCUS = 16, IR_CUT = 64, PAN_TILT = 128 };
    if (self == nullptr)
        return -1;
    int errors = vccif_has_status(STATUS_TAG_CAMERA) && vccif_has_status(STATUS_TAG_SYSTEM) ? 0 : IO | DSP;
    if (!vccif_has_status(STATUS_TAG_PAN_TILT))
        errors |= IO | PAN_TILT;
    if (!self->driver_initialized)
        return errors;
    const unsigned lens = vccif_get_lens_status();
    const bool bit1 = lens & (1u << 1);
    const bool bit5 = lens & (1u << 5);
    const bool bit7 = lens & (1u << 7);
    if (bit5)
        errors |= ZOOM;
    if (bit7)
        errors |= FOCUS;
    if (bit1)
        errors |= IR_CUT;
    if (bit1 || bit5)
        errors |= PAN_TILT;
    return errors;
}

gboolean ptz_driver_canon_utils_wait_all_status(PTZDriverCanon *self)
{
    return wait_until(self, [](PTZDriverCanon *driver) { return ptz_driver_canon_cmd_update_status(driver) != FALSE; });
}

gboolean ptz_driver_canon_utils_wait_lens_ready(PTZDriverCanon *self)
{
    return wait_until(self, [](PTZDriverCanon *driver) {
        ptz_driver_canon_cmd_update_status(driver);
        return !vccif_is_lens_busy();
    });
}
