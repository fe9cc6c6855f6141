#include "ptzorvel/ptzd/driver_host.h"

#include "glib_owned.h"

#include <utility>

namespace {

bool has_property(PTZDriver *driver, const char *name)
{
    return g_object_class_find_property(G_OBJECT_GET_CLASS(driver), name) != nullptr;
}

bool has_action(PTZDriver *driver, const char *name)
{
    return g_signal_lookup(name, G_OBJECT_TYPE(driver)) != 0;
}

std::optional<double> seconds(gint64 us)
{
    return us < 0 ? std::nullopt : std::optional(static_cast<double>(us) / 1e6);
}

} // namespace

DriverHost::DriverHost() : cancel_(g_cancellable_new()), interrupt_(g_cancellable_new())
{
}

DriverHost::~DriverHost()
{
    detach();
    g_object_unref(interrupt_);
    g_object_unref(cancel_);
}

void DriverHost::attach(PTZDriver *driver, double time_scale, const DriverHostObserver *observer)
{
    if (has_property(driver, DRIVER_HOST_OBSERVER))
        g_object_set(driver, DRIVER_HOST_OBSERVER, observer, nullptr);
    if (has_property(driver, DRIVER_HOST_TIME_SCALE))
        g_object_set(driver, DRIVER_HOST_TIME_SCALE, time_scale, nullptr);
    if (has_property(driver, DRIVER_HOST_CANCEL))
        g_object_set(driver, DRIVER_HOST_CANCEL, cancel_, nullptr);
    if (has_property(driver, DRIVER_HOST_INTERRUPT))
        g_object_set(driver, DRIVER_HOST_INTERRUPT, interrupt_, nullptr);
    const std::lock_guard lock(mutex_);
    driver_ = static_cast<PTZDriver *>(g_object_ref(driver));
}

void DriverHost::detach()
{
    PTZDriver *driver = nullptr;
    {
        const std::lock_guard lock(mutex_);
        driver = std::exchange(driver_, nullptr);
    }
    if (driver == nullptr)
        return;
    if (has_property(driver, DRIVER_HOST_OBSERVER))
        g_object_set(driver, DRIVER_HOST_OBSERVER, nullptr, nullptr);
    g_object_unref(driver);
}

void DriverHost::cancel()
{
    g_cancellable_cancel(cancel_);
    g_cancellable_cancel(interrupt_);
}

void DriverHost::resume()
{
    g_cancellable_reset(interrupt_);
    g_cancellable_reset(cancel_);
}

void DriverHost::interrupt()
{
    g_cancellable_cancel(interrupt_);
}

void DriverHost::interrupt_over()
{
    if (!g_cancellable_is_cancelled(cancel_))
        g_cancellable_reset(interrupt_);
}

bool DriverHost::read(const char *property, GValue *value) const
{
    const std::lock_guard lock(mutex_);
    if (driver_ == nullptr || !has_property(driver_, property))
        return false;
    g_object_get_property(G_OBJECT(driver_), property, value);
    return true;
}

std::optional<double> DriverHost::status_age() const
{
    GValue age = G_VALUE_INIT;
    return read(DRIVER_HOST_STATUS_AGE, &age) ? seconds(g_value_get_int64(&age)) : std::nullopt;
}

std::optional<double> DriverHost::silence() const
{
    GValue silence = G_VALUE_INIT;
    return read(DRIVER_HOST_SILENCE, &silence) ? seconds(g_value_get_int64(&silence)) : std::nullopt;
}

unsigned DriverHost::count_of(const char *property) const
{
    GValue count = G_VALUE_INIT;
    return read(property, &count) ? g_value_get_uint(&count) : 0;
}

unsigned DriverHost::sends_failed() const
{
    return count_of(DRIVER_HOST_SENDS_FAILED);
}

unsigned DriverHost::waits() const
{
    return count_of(DRIVER_HOST_WAITS);
}

unsigned DriverHost::reboots() const
{
    return count_of(DRIVER_HOST_REBOOTS);
}

std::optional<double> DriverHost::chunk_age() const
{
    GValue age = G_VALUE_INIT;
    return read(DRIVER_HOST_CHUNK_AGE, &age) ? seconds(g_value_get_int64(&age)) : std::nullopt;
}

std::string DriverHost::text_of(const char *property) const
{
    GValue value = G_VALUE_INIT;
    if (!read(property, &value))
        return "";
    const GText text(g_value_dup_string(&value));
    g_value_unset(&value);
    return text != nullptr ? text.get() : "";
}

std::string DriverHost::failure() const
{
    return text_of(DRIVER_HOST_FAILURE);
}

std::string DriverHost::firmware() const
{
    return text_of(DRIVER_HOST_FIRMWARE);
}

std::string DriverHost::image_file() const
{
    const std::string file = text_of(DRIVER_HOST_IMAGE_FILE);
    const GText whole(file.empty() ? nullptr : g_canonicalize_filename(file.c_str(), nullptr));
    return whole != nullptr ? whole.get() : "";
}

std::optional<ImageReport> DriverHost::upgrade() const
{
    GValue value = G_VALUE_INIT;
    if (!read(DRIVER_HOST_UPGRADE, &value))
        return std::nullopt;
    const GVariantOwned fields(g_value_dup_variant(&value));
    g_value_unset(&value);
    ImageReport report;
    const auto text = [&](const char *key, std::string &field) {
        const char *found = nullptr;
        if (fields != nullptr && g_variant_lookup(fields.get(), key, "&s", &found) != FALSE)
            field = found;
    };
    text("image", report.image);
    if (report.image.empty())
        return std::nullopt;
    text("from", report.from);
    text("to", report.to);
    text("result", report.result);
    g_variant_lookup(fields.get(), "sent", "u", &report.sent);
    g_variant_lookup(fields.get(), "chunks", "u", &report.chunks);
    return report;
}

void DriverHost::hold_image(const std::string &image)
{
    if (driver_ != nullptr && has_property(driver_, DRIVER_HOST_HELD_IMAGE))
        g_object_set(driver_, DRIVER_HOST_HELD_IMAGE, image.c_str(), nullptr);
}

std::optional<unsigned> DriverHost::statuses() const
{
    GValue count = G_VALUE_INIT;
    return read(DRIVER_HOST_STATUSES, &count) ? std::optional(g_value_get_uint(&count)) : std::nullopt;
}

bool DriverHost::apply()
{
    gboolean applied = TRUE;
    if (has_action(driver_, DRIVER_HOST_APPLY))
        g_signal_emit_by_name(driver_, DRIVER_HOST_APPLY, &applied);
    return applied != FALSE;
}

void DriverHost::settle()
{
    if (has_action(driver_, DRIVER_HOST_SETTLE))
        g_signal_emit_by_name(driver_, DRIVER_HOST_SETTLE);
}

void DriverHost::refresh()
{
    if (has_action(driver_, DRIVER_HOST_REFRESH))
        g_signal_emit_by_name(driver_, DRIVER_HOST_REFRESH);
}
