// Changes of parameters and modes: what the camera has really taken, and what it is to be given again.
//
// The driver says whether an operation succeeded, the host interface whether each of its commands was taken; a command
// that was not answered may be in force all the same. Only a change of which every command was taken is made. After any
// other the former value is applied again; where that fails for want of an answer, it is done as soon as the camera
// answers. Everything here runs on the command thread.
#pragma once

#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/ptz_driver.h"
#include "ptzorvel/ptzd/call.h"
#include "ptzorvel/ptzd/driver_host.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

class Changes {
  public:
    using Apply = std::function<bool(PTZDriver *driver)>;
    // The driver while the camera is running, else null.
    using Running = std::function<PTZDriver *()>;

    struct Change {
        std::string what;                              // "ImageSource.WDR", "the iris mode"; a name of its own
        Apply make;                                    // shows the driver the new value and has it applied
        std::function<void(PTZDriver *driver)> revert; // shows it the former value again
        Apply apply; // has it apply what it is shown then; empty: there is nothing to apply
    };

    Changes(TaskQueue &queue, DriverHost &host, Running running)
        : queue_(queue), host_(host), running_(std::move(running))
    {
    }
    Changes(const Changes &) = delete;
    Changes &operator=(const Changes &) = delete;

    // Makes the change; an error when it is not, which says what is in force.
    std::optional<CallError> carry_out(PTZDriver *driver, const Change &change);

    // The driver is in that state now. When the camera has started, what the start has left undone follows.
    void state_changed(int state);

  private:
    enum class Outcome { done, refused, lost };
    Outcome attempt(PTZDriver *driver, const Apply &apply);
    void apply_later(const std::string &what, Apply apply);
    void after_start(PTZDriver *driver);
    bool apply_all(PTZDriver *driver);
    void settle_later();
    bool settle_some();

    TaskQueue &queue_;
    DriverHost &host_;
    const Running running_;
    std::map<std::string, Apply> unsettled_; // of which is not known what is in force
    bool queued_ = false;                    // the task that settles them
    unsigned failed_before_start_ = 0;
};
