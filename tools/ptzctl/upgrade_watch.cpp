#include "upgrade_watch.h"

#include "loop.h"

#include <cstdio>
#include <optional>
#include <unistd.h>

namespace {

constexpr unsigned kLookEveryMs = 20;
constexpr unsigned kBarWidth = 40;

} // namespace

UpgradeWatch::UpgradeWatch(Context &context) : context_(context), bar_(!context.json() && isatty(STDOUT_FILENO) != 0)
{
    subscription_ = g_dbus_connection_signal_subscribe(context.service().connection(), kServiceName, kServiceInterface,
                                                       "UpgradeProgress", kServicePath, nullptr,
                                                       G_DBUS_SIGNAL_FLAGS_NONE, on_progress, this, nullptr);
}

UpgradeWatch::~UpgradeWatch()
{
    g_dbus_connection_signal_unsubscribe(context_.service().connection(), subscription_);
    if (bar_shown_)
        std::putchar('\n');
}

void UpgradeWatch::restart()
{
    bool over = false;
    std::optional<Failure> failure;
    // An image that is asked for by name is tried, however often it has failed.
    context_.service().call_later("RetryUpgrade", nullptr, "()", [&](const GVariantOwned &, const Failure *failed) {
        over = true;
        if (failed != nullptr)
            failure = *failed;
    });
    if (run_loop(kLookEveryMs, [&] { return !over && !failure_; }) == LoopEnd::Interrupted)
        throw Interrupted();
    if (failure_)
        std::rethrow_exception(failure_);
    if (failure)
        throw Failure(*failure);
}

void UpgradeWatch::on_progress(GDBusConnection *, const char *, const char *, const char *, const char *,
                               GVariant *parameters, gpointer data)
{
    auto *self = static_cast<UpgradeWatch *>(data);
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(uu)")))
        return;
    guint32 sent = 0, chunks = 0;
    g_variant_get(parameters, "(uu)", &sent, &chunks);
    if (chunks == 0 || sent > chunks)
        return;
    try {
        self->show(sent, chunks);
    } catch (...) {
        self->failure_ = std::current_exception();
    }
}

void UpgradeWatch::show(unsigned sent, unsigned chunks)
{
    const auto of = [&](std::uint64_t whole) { return static_cast<unsigned>(whole * sent / chunks); };
    if (bar_) {
        const unsigned full = of(kBarWidth);
        std::printf("\r[%s%s] %3u %%  %u of %u chunks", std::string(full, '#').c_str(),
                    std::string(kBarWidth - full, '.').c_str(), of(100), sent, chunks);
        std::fflush(stdout);
        bar_shown_ = true;
        return;
    }
    const int tenths = static_cast<int>(of(10));
    if (tenths == tenths_)
        return;
    tenths_ = tenths;
    if (!context_.json())
        return context_.line(format_text("%d %%, %u of %u chunks", tenths * 10, sent, chunks));
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "sent", g_variant_new_uint32(sent));
    g_variant_builder_add(&object, "{sv}", "chunks", g_variant_new_uint32(chunks));
    context_.object(g_variant_builder_end(&object));
}
