#include "ptzorvel/ptzd/changes.h"

#include "ptzorvel/driver/driver_private.h"

#include <memory>
#include <syslog.h>
#include <utility>

namespace {

// A camera that has not answered for so long is not asked again at once.
constexpr double kSilenceSeconds = 1.0;
constexpr std::int64_t kAgainUs = 500000;

} // namespace

Changes::Outcome Changes::attempt(PTZDriver *driver, const Apply &apply)
{
    const unsigned before = host_.sends_failed();
    const bool done = apply(driver);
    return host_.sends_failed() != before ? Outcome::lost : done ? Outcome::done : Outcome::refused;
}

std::optional<CallError> Changes::carry_out(PTZDriver *driver, const Change &change)
{
    if (attempt(driver, change.make) == Outcome::done) {
        unsettled_.erase(change.what);
        return std::nullopt;
    }
    change.revert(driver);
    const std::string problem = "The camera did not take " + change.what;
    const bool silent = host_.silence().value_or(0.0) > kSilenceSeconds;
    const Outcome back = !change.apply ? Outcome::refused : silent ? Outcome::lost : attempt(driver, change.apply);
    switch (back) {
    case Outcome::done:
        unsettled_.erase(change.what);
        return CallError{ErrorKind::failed, problem + "; it has its former value again. See the system log."};
    case Outcome::refused:
        return CallError{ErrorKind::failed,
                         problem + ", nor its former value again: it is not known which of them is in force. See the "
                                   "system log."};
    case Outcome::lost:
        break;
    }
    apply_later(change.what, change.apply);
    return CallError{ErrorKind::failed, problem + " for certain: until it answers again it is not known what is in "
                                                  "force. It will then be given the former value."};
}

void Changes::state_changed(int state)
{
    if (state == PTZ_STATE_INITIALISING) {
        // A start applies everything.
        unsettled_.clear();
        failed_before_start_ = host_.sends_failed();
    } else if (state == PTZ_STATE_RUNNING) {
        // The driver takes itself for started only when it has told of the state.
        queue_.post([this] {
            if (PTZDriver *driver = running_())
                after_start(driver);
        });
    }
}

void Changes::after_start(PTZDriver *driver)
{
    host_.settle();
    if (host_.sends_failed() == failed_before_start_ || running_() != driver)
        return;
    syslog(LOG_WARNING, "The camera has not taken every parameter at its start: applying them again");
    apply_later("every parameter", [this](PTZDriver *again) { return apply_all(again); });
}

bool Changes::apply_all(PTZDriver *driver)
{
    bool applied = host_.apply();
    // Limits are the driver's own but for what the camera block has to know of them.
    for (const ParamInfo &info : driver->limit_params->list())
        applied &= ptz_driver_param_changed(driver, info.group, info.name) != FALSE;
    return applied;
}

void Changes::apply_later(const std::string &what, Apply apply)
{
    unsettled_[what] = std::move(apply);
    if (!queued_)
        settle_later();
}

void Changes::settle_later()
{
    const auto run = [](PTZTask *task) -> gboolean { return static_cast<Changes *>(task->data)->settle_some(); };
    const auto end = [](gpointer ended) {
        const std::unique_ptr<PTZTask> task(static_cast<PTZTask *>(ended));
        static_cast<Changes *>(task->data)->queued_ = false;
    };
    queued_ = true;
    queue_.add(new PTZTask{run, this, end, {}}, kAgainUs);
}

// True as long as there is something to settle. A camera that is silent is left alone: whoever polls it sees it come
// back.
bool Changes::settle_some()
{
    PTZDriver *driver = running_();
    if (driver != nullptr && host_.silence().value_or(0.0) > 0.0)
        return true;
    while (driver != nullptr && !unsettled_.empty()) {
        const auto [what, apply] = *unsettled_.begin();
        const Outcome outcome = attempt(driver, apply);
        if (outcome == Outcome::lost)
            return true;
        syslog(LOG_NOTICE, outcome == Outcome::done ? "Applied again: %s" : "Cannot be applied again: %s",
               what.c_str());
        unsettled_.erase(what);
        driver = running_(); // applying may restart the camera
    }
    return !unsettled_.empty();
}
