// A driver whose commands are tried: it gives up after one attempt, and its camera model may be changed.
#pragma once

#include "tests/support/driver_fixture.h"
#include "vcc/vccif_model.h"

class CommandBench : public DriverBench {
  protected:
    CommandBench()
    {
        make_driver();
        driver->cam_model = &model;
        driver->cmd_retries = 1;
    }

    void set_capture_mode(const char *mode)
    {
        g_free(driver->current.capture_mode);
        driver->current.capture_mode = g_strdup(mode);
    }

    CameraState &now() { return driver->current; }

    // The error messages so far, without their level; forgets them and all else that was said.
    Lines take_errors()
    {
        Lines errors;
        for (const std::string &line : log.take())
            if (line.starts_with("error: "))
                errors.push_back(line.substr(7));
        return errors;
    }

    CameraModel model = *vccif_model_krx131();
};
