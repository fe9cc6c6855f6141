#include "driver/type.h"

#include "core/host.h"
#include "core/log.h"
#include "core/paths.h"
#include "driver/config.h"
#include "driver/host.h"
#include "driver/operations.h"
#include "driver/port_hold.h"
#include "driver/startup.h"
#include "port/config.h"
#include "port/spi_port.h"
#include "utils/publish.h"
#include "utils/services.h"
#include "vcc/model.h"

namespace {

constexpr guint RX_BUFFER_RESERVED = 1024;
constexpr GpioLine NO_LINE{-1, nullptr};

struct PTZDriverCanonClass {
    PTZDriverClass parent_class;
};

} // namespace

G_DEFINE_TYPE(PTZDriverCanon, ptz_driver_canon, PTZ_TYPE_DRIVER)

namespace {

void set_state_defaults(CameraState *state)
{
    state->zoom_magnification = 1.0f;
    state->zoom_zenta = 1;
    state->hfov = state->vfov = -1.0f;
    state->mask_hfov = state->mask_vfov = -1.0f;
    state->focus_zenta = state->focus_position = -1;
    state->iris_zenta = -1;
    state->auto_iris = TRUE;
    state->focus_manual_mode = 1;
    state->zoom_moving = state->focus_moving = state->iris_moving = -1;
    state->pan_moving = state->tilt_moving = -1;
    state->image_freeze_mode = IMAGE_FREEZE_OFF;
    state->adjustable_zoom_speed = TRUE;
    state->broadcast_frame_rate = TRUE;
    state->video_output = "hdmi";
    state->scan_mode = "progressive";
    state->sdi_mapping = "level_a";
}

void set_config_defaults(PTZDriverCanon *self)
{
    self->power_pin = self->power_good_pin = self->reset_pin = self->reset_pcie_pin = NO_LINE;
    self->init_done_pin = self->enable_pcie_clk_pin = self->fw_upgrade_complete_pin = NO_LINE;
    self->fpga_reset_pin = GpioLine{0, nullptr};
    self->temp_controller_type = PTZ_TYPE_TEMPERATURE_CONTROLLER;
    self->temperature_upper_limit = 9999;
    self->temperature_lower_limit = -273;
    self->temperature_hysteresis_cooling = 1.0;
    self->temperature_hysteresis_generic = 0.5;
    self->firmware_do_upgrade = TRUE;
    self->max_digital_zoom = 1.0f;
    self->config_min_focus = 1.0f;
}

void set_limit_defaults(PTZDriverCanon *self)
{
    self->limit_min_zoom = 1;
    self->limit_max_zoom = 19999;
    self->limit_min_pan = self->limit_min_tilt = self->limit_min_focus = 1;
    self->limit_min_iris = self->limit_min_brightness = 1;
    self->limit_max_pan = self->limit_max_tilt = self->limit_max_focus = 9999;
    self->limit_max_iris = self->limit_max_brightness = 9999;
}

void set_block_identity(PTZDriver *base)
{
    g_free(base->block_name);
    g_free(base->block_version);
    base->block_name = g_strdup("KRX_camblock");
    base->block_version = g_strdup("1.00");
}

void publish_capabilities(PTZDriver *base, const CameraModel &model)
{
    base->capability_ref = model.capabilities;
    base->capability_flags[0] |= model.capabilities[0];
    base->capability_flags[1] |= model.capabilities[1];
}

void free_line_name(GpioLine *line)
{
    g_clear_pointer(&line->name, g_free);
}

} // namespace

static void ptz_driver_canon_init(PTZDriverCanon *self)
{
    host_forget();
    self->cam_model_id = self->fw_version = self->block_model_id = -1;
    self->status_update = TRUE;
    self->cmd_retries = 10;
    g_mutex_init(&self->port_lock);
    g_mutex_init(&self->status_lock);
    set_config_defaults(self);
    set_limit_defaults(self);
    set_state_defaults(&self->current);
    self->rx_buffer = g_byte_array_sized_new(RX_BUFFER_RESERVED);

    PTZDriver *base = ptz_driver_of(self);
    set_block_identity(base);
    ptz_driver_canon_read_block_defaults(self);
    self->target = self->current;
    if (!ptz_driver_canon_load_config(self, data_path("krx_driver.conf").c_str()))
        log_error("Failed to load config file");
    self->port = ptz_port_canon_new(0);
    ptz_driver_canon_take_image_source_control(self);
    self->temp_controller = ptz_temperature_controller_new(self->temp_controller_type, base);
    PTZ_TEMPERATURE_CONTROLLER_GET_CLASS(self->temp_controller)->start(self->temp_controller);
    publish_capabilities(base, *self->cam_model);
    self->dbus_connection = nullptr;
}

static void ptz_driver_canon_finalize(GObject *object)
{
    auto *self = reinterpret_cast<PTZDriverCanon *>(object);
    ptz_driver_canon_release_port(self);
    g_clear_object(&self->port);
    g_clear_object(&self->temp_controller);
    // After the port, whose last operations may still fill it.
    g_clear_pointer(&self->rx_buffer, g_byte_array_unref);
    g_free(self->current.capture_mode);
    g_free(self->current.default_capture_mode);
    for (GpioLine *line :
         {&self->power_pin, &self->power_good_pin, &self->reset_pin, &self->reset_pcie_pin, &self->init_done_pin,
          &self->enable_pcie_clk_pin, &self->fw_upgrade_complete_pin, &self->fpga_reset_pin})
        free_line_name(line);
    g_free(self->move_speed_enum);
    ptz_driver_canon_utils_unsubscribe_capture_changes(self);
    g_clear_object(&self->dbus_connection);
    // A driver that was never closed still has its picture control.
    g_clear_pointer(&self->image_source_control, image_source_control_free);
    ptz_driver_canon_utils_forget_records(self);
    g_mutex_clear(&self->status_lock);
    g_mutex_clear(&self->port_lock);
    G_OBJECT_CLASS(ptz_driver_canon_parent_class)->finalize(object);
}

static void ptz_driver_canon_class_init(PTZDriverCanonClass *klass)
{
    G_OBJECT_CLASS(klass)->finalize = ptz_driver_canon_finalize;
    ptz_driver_canon_install_host(G_OBJECT_CLASS(klass));
    PTZDriverClass *base = &klass->parent_class;
    base->move = ptz_driver_canon_op_move;
    base->stop = ptz_driver_canon_op_stop;
    base->get_field_of_view = ptz_driver_canon_op_get_field_of_view;
    base->run_special_command = ptz_driver_canon_op_run_special_command;
    base->get_special_commands = ptz_driver_canon_op_get_special_commands;
    base->angle_to_zoom = ptz_driver_canon_op_angle_to_zoom;
    base->get_position = ptz_driver_canon_op_get_position;
    base->useradv_changed = ptz_driver_canon_op_useradv_changed;
    base->imagesource_changed = ptz_driver_canon_op_imagesource_changed;
    base->limit_changed = ptz_driver_canon_op_limit_changed;
    base->iris_mode_changed = ptz_driver_canon_op_iris_mode_changed;
    base->focus_mode_changed = ptz_driver_canon_op_focus_mode_changed;
    base->backlight_changed = ptz_driver_canon_op_backlight_changed;
    base->speed_factor_changed = ptz_driver_canon_op_speed_factor_changed;
    base->open = ptz_driver_canon_op_open;
    base->close = ptz_driver_canon_op_close;
    base->install_params = ptz_driver_canon_op_install_params;
    base->signal_received = ptz_driver_canon_op_signal_received;
    base->get_capabilities = ptz_driver_canon_op_get_capabilities;
}

PTZDriverCanon *ptz_driver_canon_new(int video_channel_nbr, int id)
{
    return static_cast<PTZDriverCanon *>(
        g_object_new(ptz_driver_canon_get_type(), "video_channel_nbr", video_channel_nbr, "id", id, nullptr));
}

void ptz_driver_canon_set_state(PTZDriverCanon *self, int state)
{
    g_object_set(self, "state", state, nullptr);
}
