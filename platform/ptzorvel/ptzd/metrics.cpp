#include "ptzorvel/ptzd/metrics.h"

#include <cstdarg>
#include <glib.h>
#include <memory>

namespace {

constexpr double kQuantiles[] = {0.5, 0.9, 0.99};

// One family after another.
class Page {
  public:
    void family(const char *name, const char *type, const char *help)
    {
        text += std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
    }
    // `labels` without its braces; empty: none.
    void sample(const std::string &name, const std::string &labels, double value)
    {
        char number[G_ASCII_DTOSTR_BUF_SIZE];
        text += name + (labels.empty() ? "" : "{" + labels + "}") + " " +
                g_ascii_formatd(number, sizeof number, "%.10g", value) + "\n";
    }
    void single(const char *name, const char *type, const char *help, double value)
    {
        family(name, type, help);
        sample(name, "", value);
    }
    void summary(const std::string &name, const std::string &labels, const Histogram &histogram)
    {
        const std::string more = labels.empty() ? "" : labels + ",";
        for (const double part : kQuantiles) {
            char number[G_ASCII_DTOSTR_BUF_SIZE];
            sample(name, more + "quantile=\"" + g_ascii_formatd(number, sizeof number, "%g", part) + "\"",
                   histogram.quantile_us(part) / 1e6);
        }
        sample(name + "_sum", labels, static_cast<double>(histogram.sum_us()) / 1e6);
        sample(name + "_count", labels, static_cast<double>(histogram.count()));
    }

    std::string text;
};

std::string label(const char *name, const char *value)
{
    std::string text = std::string(name) + "=\"";
    for (const char *at = value; *at != '\0'; at++) {
        if (*at == '"' || *at == '\\')
            text += '\\';
        text += *at == '\n' ? "\\n" : std::string(1, *at);
    }
    return text + "\"";
}

} // namespace

Metrics::Metrics()
    : observer_{this,
                [](void *data, DriverHostFrame outcome) {
                    auto *self = static_cast<Metrics *>(data);
                    const std::lock_guard lock(self->mutex_);
                    self->counts_.frames[outcome]++;
                },
                [](void *data, const char *record, long long us, int taken) {
                    auto *self = static_cast<Metrics *>(data);
                    const std::lock_guard lock(self->mutex_);
                    Command &command = self->counts_.command(record);
                    command.latency.add(us);
                    command.failures += taken != 0 ? 0 : 1;
                },
                [](void *data) {
                    auto *self = static_cast<Metrics *>(data);
                    const std::lock_guard lock(self->mutex_);
                    self->counts_.retries++;
                },
                [](void *data, long long us) {
                    auto *self = static_cast<Metrics *>(data);
                    const std::lock_guard lock(self->mutex_);
                    self->counts_.refresh.add(us);
                }}
{
}

// Names are told apart by where they stand.
Metrics::Command &Metrics::Counts::command(const char *record)
{
    for (Command &known : commands) {
        if (known.record == nullptr)
            known.record = record;
        if (known.record == record)
            return known;
    }
    return commands.back();
}

std::string Metrics::text(const MetricsNow &now) const
{
    static constexpr const char *kOutcomes[] = {"good", "failed", "length", "checksum"};
    std::unique_ptr<const Counts> counts;
    {
        const std::lock_guard lock(mutex_); // no longer than a copy takes
        counts = std::make_unique<const Counts>(counts_);
    }
    Page page;
    page.family("ptz_frames_total", "counter", "Bursts to the camera block, by what became of them.");
    for (std::size_t i = 0; i < counts->frames.size(); i++)
        page.sample("ptz_frames_total", label("outcome", kOutcomes[i]), static_cast<double>(counts->frames[i]));
    page.single("ptz_retries_total", "counter", "Attempts to send commands beyond the first.",
                static_cast<double>(counts->retries));
    page.family("ptz_command_failures_total", "counter", "Commands that the camera block has not taken, by record.");
    const auto each_command = [&counts](auto tell) {
        for (const Command &command : counts->commands)
            if (command.record != nullptr)
                tell(command, label("record", command.record));
    };
    each_command([&](const Command &command, const std::string &record) {
        page.sample("ptz_command_failures_total", record, static_cast<double>(command.failures));
    });
    page.family("ptz_command_seconds", "summary", "From the first attempt until the command was taken or given up.");
    each_command([&](const Command &command, const std::string &record) {
        page.summary("ptz_command_seconds", record, command.latency);
    });
    page.family("ptz_refresh_age_seconds", "summary", "Age of the camera's status when the next one came.");
    page.summary("ptz_refresh_age_seconds", "", counts->refresh);
    if (now.status_age_s)
        page.single("ptz_status_age_seconds", "gauge", "Since the camera last told of itself.", *now.status_age_s);
    page.family("ptz_queue_tasks", "gauge", "Pieces of work of the driver's thread.");
    page.sample("ptz_queue_tasks", label("kind", "waiting"), static_cast<double>(now.waiting));
    page.sample("ptz_queue_tasks", label("kind", "repeating"), static_cast<double>(now.repeating));
    if (now.temperature)
        page.single("ptz_temperature_celsius", "gauge", "Of the camera.", *now.temperature);
    page.single("ptz_state", "gauge", "The camera's state; 1: running.", now.state);
    page.single("ptz_link_up", "gauge", "Whether the camera block answers.", now.link_up ? 1 : 0);
    page.single("ptz_link_outages_total", "counter", "How often it ceased to.", now.outages);
    page.single("ptz_resets", "gauge", "Resets of the block since the link went down.", now.resets);
    page.single("ptz_block_starts_total", "counter", "Starts of the block by itself.", now.reboots);
    return page.text;
}
