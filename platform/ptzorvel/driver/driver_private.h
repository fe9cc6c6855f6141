// The framework's own side of a driver object. For the framework and ptzd; drivers see ptz_driver.h.
#pragma once

#include "ptzorvel/common/param_store.h"
#include "ptzorvel/ptz_driver.h"
#include "ptzorvel/ptz_temperature_controller.h"

#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>

// Kept in PTZDriver.priv. Used on the command thread only, but for the store, which locks itself.
struct DriverPrivate {
    std::shared_ptr<ParamStore> params = std::make_shared<ParamStore>();
    std::set<std::string> imaging_names;                   // "ImageSource" parameters that the driver applies
    PTZTemperatureController *controller = nullptr;        // cleared when the controller goes
    PTZRequest request{};                                  // storage of current_request
    std::array<gint32, PTZ_STATUS_SPARE_RECORDS> report{}; // what report_status_params points at
    gint32 moves = 0;                                      // moves begun, as prepare_move counted them
    unsigned moving = 0; // axes that move, as last reported: bit 0 the first of a move
};

DriverPrivate &driver_private(PTZDriver *driver);

// The fill of the class operation report_status_params (driver/status_report.cpp).
int driver_report_status(PTZDriver *driver, int pan_moving, int tilt_moving, int zoom_moving, int focus_moving,
                         int iris_moving, int brightness_moving, guint32 position_result, guint32 speed_result, int one,
                         int max, ScParam *spare);

// Tells who hears "moving-changed" which axes move now.
void driver_emit_moving(PTZDriver *driver, unsigned axes);

// Why requests are refused at this temperature, null when they are not. Constant text.
const char *ptz_driver_busy_text(PTZDriver *driver);

// What the camera's sensor says now, in degrees Celsius; none when there is no sensor. Any thread.
std::optional<double> ptz_camera_temperature();

// What is wrong with the sensor that protects the camera, and what that means; empty when nothing is. Any thread.
std::string ptz_temperature_problem();

// What a driver's operations are called with: the request being served, until the next one. Null: none any more.
void ptz_driver_set_request(PTZDriver *driver, const PTZRequest *request);

// Calls the driver's operation for a changed parameter of that group; TRUE as well when nothing is to be called.
gboolean ptz_driver_param_changed(PTZDriver *driver, const std::string &group, const std::string &name);
