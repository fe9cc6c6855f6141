#include "move_wait.h"

#include "camera.h"
#include "command.h"
#include "failure.h"
#include "loop.h"

namespace {

constexpr unsigned kLookEveryMs = 20;

} // namespace

void show_move(Context &context, const MoveResult &result)
{
    GVariantBuilder axes;
    g_variant_builder_init(&axes, G_VARIANT_TYPE("a{sd}"));
    std::string text;
    for (const auto &[axis, value] : result.position) {
        text += (text.empty() ? ": " : ", ") + printable(axis) + format_text(" %.10g", value);
        g_variant_builder_add(&axes, "{sd}", axis.c_str(), value);
    }
    if (!context.json()) {
        context.line(printable(result.reason) + text);
        g_variant_builder_clear(&axes);
        return;
    }
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "reached", g_variant_new_boolean(result.reached));
    g_variant_builder_add(&object, "{sv}", "reason", g_variant_new_string(result.reason.c_str()));
    g_variant_builder_add(&object, "{sv}", "position", g_variant_builder_end(&axes));
    context.object(g_variant_builder_end(&object));
}

// Numbers of others do no harm as long as they are not under way at the same time.
FollowedMove::FollowedMove(Service &service)
    : service_(service), id_(static_cast<guint32>(g_random_int_range(1, G_MAXINT32)))
{
    subscription_ =
        g_dbus_connection_signal_subscribe(service.connection(), kServiceName, kServiceInterface, "MoveDone",
                                           kServicePath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE, on_done, this, nullptr);
    watch_ = g_bus_watch_name_on_connection(service.connection(), kServiceName, G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
                                            on_vanished, this, nullptr);
}

FollowedMove::~FollowedMove()
{
    g_bus_unwatch_name(watch_);
    g_dbus_connection_signal_unsubscribe(service_.connection(), subscription_);
}

void FollowedMove::send(const std::vector<AxisMove> &moves, double speed, bool preset)
{
    send_move(service_, moves, speed, preset, id_);
}

std::optional<MoveResult> FollowedMove::wait(std::optional<double> seconds)
{
    const gint64 start = camera_now();
    run_loop(kLookEveryMs, [&] {
        const bool in_time = !seconds || static_cast<double>(camera_now() - start) < *seconds * 1e6;
        return !result_ && !service_gone_ && in_time;
    });
    if (!result_ && service_gone_)
        throw Failure(EXIT_NO_SERVICE, "NoService",
                      "ptzd left the bus before the move was over; start it (systemctl "
                      "start ptzd)");
    return result_;
}

void FollowedMove::on_done(GDBusConnection *, const char *, const char *, const char *, const char *,
                           GVariant *parameters, gpointer data)
{
    auto *self = static_cast<FollowedMove *>(data);
    guint32 id = 0;
    gboolean reached = FALSE;
    const char *reason = nullptr;
    GVariant *position = nullptr;
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ubsa{sd})")))
        return;
    g_variant_get(parameters, "(ub&s@a{sd})", &id, &reached, &reason, &position);
    const GVariantOwned owned(position);
    if (id == self->id_)
        self->result_ = {reached != FALSE, reason, position_from(position)};
}

void FollowedMove::on_vanished(GDBusConnection *, const char *, gpointer data)
{
    static_cast<FollowedMove *>(data)->service_gone_ = true;
}

std::optional<MoveResult> move_to_its_end(Service &service, const std::vector<AxisMove> &moves)
{
    FollowedMove move(service);
    move.send(moves);
    return move.wait();
}
