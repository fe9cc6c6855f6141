#include "ptzorvel/ptzd/service_manager.h"

#include "ptzorvel/ptz_driver.h"

#include <algorithm>
#include <string>
#include <systemd/sd-daemon.h>
#include <utility>

namespace {

constexpr std::uint64_t kUsualPatienceUs = 60'000'000; // where the manager has no watchdog
constexpr std::uint64_t kLongestPauseUs = 5'000'000;   // between two looks

std::uint64_t watchdog_us()
{
    std::uint64_t us = 0;
    return sd_watchdog_enabled(0, &us) > 0 ? us : kUsualPatienceUs;
}

} // namespace

ServiceManager::ServiceManager(TaskQueue &queue, DriverHost &host, const Deadlines &deadlines)
    : queue_(queue), host_(host), deadlines_(deadlines), patience_us_(watchdog_us()),
      timer_(static_cast<double>(std::min<std::uint64_t>(patience_us_ / 4, kLongestPauseUs)), [this] { return look(); })
{
    if (g_getenv("NOTIFY_SOCKET") != nullptr)
        timer_.start();
}

void ServiceManager::state_changed(int state, const char *words)
{
    const bool starts =
        state == PTZ_STATE_NOT_OPENED || state == PTZ_STATE_INITIALISING || state == PTZ_STATE_UPGRADING;
    const bool becomes_ready = !starts && !ready_.exchange(true);
    sd_notifyf(0, "%sSTATUS=Camera: %s", becomes_ready ? "READY=1\n" : "", words);
}

void ServiceManager::end()
{
    sd_notify(0, "STOPPING=1");
}

bool ServiceManager::look()
{
    const unsigned waits = host_.waits();
    const bool waited = std::exchange(waits_, waits) != waits;
    const bool came_round = came_round_.exchange(false);
    if (came_round)
        queue_.post([this] { came_round_ = true; }, TaskQueue::Lane::urgent);
    else if (!waited)
        return true;
    std::string text = "WATCHDOG=1";
    if (!ready_ || deadlines_.waits_for_upgrade())
        text += "\nEXTEND_TIMEOUT_USEC=" + std::to_string(patience_us_);
    sd_notify(0, text.c_str());
    return true;
}
