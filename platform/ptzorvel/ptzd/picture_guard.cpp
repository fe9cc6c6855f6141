#include "ptzorvel/ptzd/picture_guard.h"

#include "image_source_control/image_source_control_read.h"

#include <syslog.h>
#include <utility>

namespace {

constexpr double kLookEveryUs = 250000;
// The driver does it within two of its statuses.
constexpr std::int64_t kDriverTakesUs = 500000;
// No picture is so old, however slow the move.
constexpr std::int64_t kLongestUs = 60000000;

bool is_frozen()
{
    gboolean blanked = FALSE;
    gboolean frozen = FALSE;
    image_source_control_read(&blanked, &frozen);
    return frozen != FALSE;
}

} // namespace

PictureGuard::PictureGuard(Service service, double time_scale)
    : service_(std::move(service)), time_scale_(time_scale), picture_(image_source_control_init()),
      timer_(kLookEveryUs / time_scale, [this] { return tick(); })
{
}

PictureGuard::~PictureGuard()
{
    if (is_frozen())
        let_live("at the end");
    image_source_control_free(picture_);
}

void PictureGuard::let_live(const char *why)
{
    if (image_source_control_freeze_video(picture_, FALSE) != FALSE)
        syslog(LOG_NOTICE, "The picture was left frozen: it lives again, %s", why);
}

bool PictureGuard::tick()
{
    const bool moves = service_.moves();
    if (!is_frozen()) {
        frozen_since_us_ = unwanted_since_us_ = -1;
        return moves;
    }
    const std::int64_t now = g_get_monotonic_time();
    const auto passed = [&](std::int64_t since, std::int64_t us) {
        return static_cast<double>(now - since) * time_scale_ >= static_cast<double>(us);
    };
    if (frozen_since_us_ < 0)
        frozen_since_us_ = now;
    const bool all = service_.freezes_all();
    const bool too_long = !all && passed(frozen_since_us_, kLongestUs);
    const bool running = service_.running();
    const bool wanted = running && !too_long && (all ? moves : service_.to_preset());
    if (wanted)
        unwanted_since_us_ = -1;
    else if (unwanted_since_us_ < 0)
        unwanted_since_us_ = now;
    if (!wanted && (!running || passed(unwanted_since_us_, kDriverTakesUs)))
        let_live(!running   ? "as the camera does not answer"
                 : too_long ? "after a minute"
                 : moves    ? "as the camera moves elsewhere"
                            : "as the camera stands");
    return true;
}
