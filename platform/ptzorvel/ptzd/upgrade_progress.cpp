#include "ptzorvel/ptzd/upgrade_progress.h"

#include "ptzorvel/ptzd/face.h"
#include "ptzorvel/ptzd/service.h"

namespace {

constexpr double kLookEveryUs = 250'000;

} // namespace

UpgradeProgress::UpgradeProgress(PtzService &service)
    : service_(service), timer_(kLookEveryUs, [this] { return look(); })
{
}

void UpgradeProgress::state_changed(int state)
{
    const std::lock_guard lock(mutex_);
    const bool was_under_way = std::exchange(under_way_, state == PTZ_STATE_UPGRADING);
    if (under_way_)
        return timer_.start();
    if (!was_under_way)
        return;
    // The end of the way is told before the state that follows, and then that it is over.
    tell();
    told_ = {};
    service_.property_changed("Upgrading", g_variant_new("(uu)", 0, 0));
}

UpgradeProgress::Far UpgradeProgress::now() const
{
    const std::lock_guard lock(mutex_);
    return told_;
}

bool UpgradeProgress::look()
{
    const std::lock_guard lock(mutex_);
    if (under_way_)
        tell();
    return under_way_;
}

void UpgradeProgress::tell()
{
    const auto image = service_.image();
    const Far far = image ? Far(image->sent, image->chunks) : Far();
    if (std::exchange(told_, far) == far)
        return;
    service_.property_changed("Upgrading", g_variant_new("(uu)", far.first, far.second));
    service_.emit(kInterfaceName, "UpgradeProgress", g_variant_new("(uu)", far.first, far.second));
}
