#include "ptzorvel/ptzd/upgrade_log.h"

#include "glib_owned.h"
#include "host/driver_host.h"
#include "ptzorvel/ptzd/state_file.h"

#include <algorithm>
#include <syslog.h>
#include <utility>

namespace {

constexpr int FAILURES_MAX = 3;
constexpr char FILE_NAME[] = "upgrade.conf";
constexpr char GROUP[] = "LastUpgrade";

struct Field {
    const char *key;
    std::string ImageReport::*text;
};
constexpr Field FIELDS[] = {{"Image", &ImageReport::image},
                            {"From", &ImageReport::from},
                            {"To", &ImageReport::to},
                            {"Result", &ImageReport::result}};

// A block that said nothing before and took nothing tells nothing of the image.
bool tells_of_the_image(const ImageReport &report)
{
    return report.from != "unknown" || report.sent > 0;
}

} // namespace

UpgradeLog::UpgradeLog(const std::string &folder) : folder_(folder)
{
    remove_stray_state_files(folder_, FILE_NAME);
    std::string problem;
    const GKeyFileOwned file = read_state_file(folder_, FILE_NAME, problem);
    if (!problem.empty())
        syslog(LOG_WARNING, "The last firmware upgrade is not known: %s", problem.c_str());
    if (file == nullptr)
        return;
    for (const auto &[key, text] : FIELDS)
        if (const GText value(g_key_file_get_string(file.get(), GROUP, key, nullptr)); value != nullptr)
            last_.*text = value.get();
    when_ = g_key_file_get_int64(file.get(), GROUP, "When", nullptr);
    failures_ = std::clamp(g_key_file_get_integer(file.get(), GROUP, "Failures", nullptr), 0, FAILURES_MAX);
}

void UpgradeLog::ended(const ImageReport &report, bool counts)
{
    if (report.result.empty() || report.result == DRIVER_HOST_UPGRADE_HELD)
        return;
    const std::lock_guard lock(mutex_);
    const bool done = report.result == DRIVER_HOST_UPGRADE_DONE;
    if (done || report.image != last_.image)
        failures_ = 0;
    if (!done && counts && tells_of_the_image(report))
        failures_ = std::min(failures_ + 1, FAILURES_MAX);
    last_ = report;
    when_ = g_get_real_time() / G_USEC_PER_SEC;
    if (!done)
        syslog(LOG_WARNING, "The camera's firmware was not upgraded from %s to %s: %s%s", report.from.c_str(),
               report.to.c_str(), report.result.c_str(),
               failures_ == FAILURES_MAX ? ". This image is not tried again; ptzctl upgrade --retry does." : "");
    save();
}

void UpgradeLog::seen(const std::string &version)
{
    const std::lock_guard lock(mutex_);
    if (last_.to != version || last_.result.empty() || last_.result == DRIVER_HOST_UPGRADE_DONE || version == "unknown")
        return;
    last_.result = DRIVER_HOST_UPGRADE_DONE;
    failures_ = 0;
    syslog(LOG_INFO, "The camera's firmware is %s after all", version.c_str());
    save();
}

std::string UpgradeLog::held_image() const
{
    const std::lock_guard lock(mutex_);
    return failures_ == FAILURES_MAX ? last_.image : "";
}

void UpgradeLog::forget_failures()
{
    const std::lock_guard lock(mutex_);
    if (std::exchange(failures_, 0) != 0)
        save();
}

GVariant *UpgradeLog::variant() const
{
    const std::lock_guard lock(mutex_);
    if (last_.result.empty())
        return nullptr;
    GVariantBuilder fields;
    g_variant_builder_init(&fields, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&fields, "{sv}", "from", g_variant_new_string(last_.from.c_str()));
    g_variant_builder_add(&fields, "{sv}", "to", g_variant_new_string(last_.to.c_str()));
    g_variant_builder_add(&fields, "{sv}", "when", g_variant_new_int64(when_));
    g_variant_builder_add(&fields, "{sv}", "result", g_variant_new_string(last_.result.c_str()));
    g_variant_builder_add(&fields, "{sv}", "held", g_variant_new_boolean(failures_ == FAILURES_MAX));
    return g_variant_builder_end(&fields);
}

void UpgradeLog::save() const
{
    const GKeyFileOwned file(g_key_file_new());
    for (const auto &[key, text] : FIELDS)
        g_key_file_set_string(file.get(), GROUP, key, (last_.*text).c_str());
    g_key_file_set_int64(file.get(), GROUP, "When", when_);
    g_key_file_set_integer(file.get(), GROUP, "Failures", failures_);
    const GText text(g_key_file_to_data(file.get(), nullptr, nullptr));
    if (const std::string problem = write_state_file(folder_, FILE_NAME, text.get()); !problem.empty())
        syslog(LOG_WARNING, "The last firmware upgrade is not kept: %s", problem.c_str());
}
