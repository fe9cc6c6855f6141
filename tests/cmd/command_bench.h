// A driver whose commands are tried: it gives up after one attempt, and its camera model may be changed.
#pragma once

#include "tests/support/driver_fixture.h"
#include "vcc/model.h"

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

    // What came of an operation: "refused" if it returned false, the packets sent, what was said; " | " between them.
    // The warnings of writes that failed are left out.
    std::string outcome(gboolean done)
    {
        Lines parts = port.take_payloads();
        for (const std::string &line : log.take())
            if (!line.starts_with("warning: Write command failed"))
                parts.push_back(line);
        std::string text = done ? "" : "refused";
        for (const std::string &part : parts)
            text += (text.empty() ? "" : " | ") + part;
        return text;
    }
    static std::string refused(const std::string &error) { return "refused | error: " + error; }
    static std::string refused_by(const std::string &operation, const std::string &expression)
    {
        return "refused | " + guard_line(operation, expression);
    }

    // The outcome while the camera block takes nothing.
    template <typename Run>
    std::string outcome_when_deaf(Run run)
    {
        port.deaf = true;
        std::string text = outcome(run());
        port.deaf = false;
        return text;
    }

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
