// The driver instance record that every room works on.
//
// Plain data: construction gives the defaults (driver/), every other writer is named beside the field. Texts are owned
// copies, released at finalization, unless a comment says otherwise. Booleans are 0 or 1.
#pragma once

#include <glib-object.h>

#include "core/gpio_line.h"
#include "core/life.h"
#include "image_source_control/image_source_control.h"
#include "ptzorvel/ptz_driver.h"
#include "ptzorvel/ptz_temperature_controller.h"

#include <gio/gio.h>

struct CameraModel; // vcc/model.h

// What the camera block does (`current`) or was last asked to do (`target`).
struct CameraState {
    float zoom_magnification;
    int zoom_zenta;   // 1..9999 optical, 10000..19999 digital
    float hfov, vfov; // degrees, -1 before any status
    float mask_hfov, mask_vfov;
    int focus_zenta;    // 1..9999, -1 not known
    int focus_position; // camera units
    float pan_degree, tilt_degree;
    int iris_zenta;       // 1..9999, -1 not known
    int brightness_zenta; // 1..9999
    int brightness_level; // used as signed 8 bits
    gboolean auto_focus;
    gboolean auto_iris;
    int pan_speed, tilt_speed;
    guint8 focus_manual_mode;  // 1, 4 or 5: sent when auto focus is switched off
    const char *exposure_mode; // not owned
    gboolean backlight_on;
    int response_profile;                       // 0 "stage", 1 "sport"
    int zoom_moving, focus_moving, iris_moving; // -1 not known, 0 or 1
    int brightness_moving;
    int pan_moving, tilt_moving; // -1 not known, 0 or 1
    int flip;
    int freeze_pending;
    int image_freeze_mode; // ImageFreezeMode
    gboolean image_frozen;
    gboolean adjustable_zoom_speed;
    char *capture_mode;         // owned through `current` alone
    char *default_capture_mode; // owned through `current` alone
    gboolean broadcast_frame_rate;
    const char *video_output;          // constant: "hdmi" or "sdi"
    const char *scan_mode;             // constant: "progressive" or "interlaced"
    const char *sdi_mapping;           // constant: "level_a" or "level_b"
    int pan_move_mode, tilt_move_mode; // PTZ_MOVE_* last sent
};

enum ImageFreezeMode { IMAGE_FREEZE_ON = 1, IMAGE_FREEZE_OFF = 2, IMAGE_FREEZE_AUTO = 3 };

struct PTZDriverCanon {
    PTZDriver parent_instance;

    // Identity and life cycle
    int cam_model_id; // as the camera block reports it after boot, -1 before
    int fw_version;   // camera-block firmware, -1 not known
    guint32 device_error;
    const CameraModel *cam_model; // of the block defaults, from the boot on of the camera block itself
    int block_model_id;           // from the block defaults, -1 not known
    LifeFlag driver_initialized;  // core/life.h
    gboolean camera_powered;
    gboolean camera_reset_released;
    gboolean status_update; // the status poll reads the error information
    PTZPort *port;          // may be null: no usable port configuration
    PTZTemperatureController *temp_controller;

    // Configuration (krx_driver.conf)
    gboolean config_loaded;
    GpioLine power_pin;
    gboolean power_pins_active_low;
    GpioLine power_good_pin;
    GpioLine reset_pin;
    GpioLine reset_pcie_pin;
    gboolean reset_pins_active_low;
    GpioLine init_done_pin;
    GpioLine enable_pcie_clk_pin;
    GpioLine fw_upgrade_complete_pin;
    GpioLine fpga_reset_pin;
    gboolean fpga_reset_pins_active_low;
    GType temp_controller_type;
    int temperature_upper_limit; // degrees Celsius
    int temperature_lower_limit;
    double temperature_hysteresis_cooling;
    double temperature_hysteresis_generic;
    int temperature_sensor;
    gboolean firmware_do_upgrade;
    gboolean audio_init;
    gboolean fpga_is_used;
    gboolean datacache_is_used;
    gboolean keep_stream;
    float max_digital_zoom; // how much the driver offers of the model's max_digital_magnification
    float config_min_focus;
    gboolean move_speed;
    char *move_speed_enum;
    gboolean dbg_status_dump;

    CameraState current;
    CameraState target; // a byte copy of `current`, changed by moves; its texts belong to `current`

    // Limit parameters
    int limit_min_zoom, limit_max_zoom;
    int limit_min_pan, limit_max_pan;
    int limit_min_tilt, limit_max_tilt;
    int limit_min_focus, limit_max_focus;
    int limit_min_iris, limit_max_iris;
    int limit_min_brightness, limit_max_brightness;

    // Run time
    GByteArray *rx_buffer; // received and not yet parsed, at most 1024 bytes
    int cmd_retries;       // write attempts per command
    gboolean pan_move_requested, tilt_move_requested;
    int poll_holdoff; // status-poll ticks to skip after a move
    LifeFlag status_poll_active, status_dump_active;
    LifeFlag publishing_active; // the publishing job is queued
    GDBusConnection *dbus_connection;
    guint props_subscription;
    int fov_speed_factor; // the framework's speed_factor
    int rotation;         // degrees, as last received
    GMutex port_lock;     // around each single write to and read from `port`, around nothing else
    GMutex status_lock;   // around one publication

    ImageSourceControl *image_source_control; // null when it could not be had, and after close
    gboolean port_open_held;                  // start-up holds an open of `port` and its reference
    gboolean ports_locked;                    // start-up holds the framework's port locks
    LifeFlag closed;                          // from close until open or a reset by command
};

// The record of a framework driver or controller callback; the object must be one of ours.
inline PTZDriverCanon *ptz_driver_canon_of(PTZDriver *driver)
{
    return reinterpret_cast<PTZDriverCanon *>(driver);
}

inline PTZDriver *ptz_driver_of(PTZDriverCanon *self)
{
    return &self->parent_instance;
}
