// A driver record with nothing in it but a camera model, which the test may change.
#pragma once

#include "core/ptz_driver_canon.h"
#include "vcc/vccif_model.h"

struct FakeDriver {
    FakeDriver()
    {
        driver.cam_model = &model;
        driver.max_digital_zoom = 12.0f;
    }

    CameraModel model = *vccif_model_krx131();
    PTZDriverCanon driver{};
};
