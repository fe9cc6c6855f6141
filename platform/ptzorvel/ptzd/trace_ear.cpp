// What the services of the image pipeline tell the process: the driver acts on it, so a replay needs it.
#include "glib_owned.h"
#include "ptzorvel/ptzd/trace.h"

#include <map>
#include <string_view>

namespace {

constexpr const char *kServices[] = {"com.orna.ImageControl", "com.orna.Streamer"};
constexpr const char *kPaths[] = {"/com/orna/ImageControl/", "/com/orna/Streamer/"};

} // namespace

// Of the connection's thread alone.
struct TraceEar::Heard {
    explicit Heard(Trace &for_trace) : trace(for_trace) {}

    struct Question {
        std::string service, property;
    };
    Trace &trace;
    std::atomic<bool> over{false};
    std::map<guint32, Question> asked; // by the serial of the call

    void goes(GDBusMessage *message)
    {
        constexpr std::size_t kMostAsked = 16; // without an answer; the driver asks one at a time
        const char *to = g_dbus_message_get_destination(message);
        GVariant *body = g_dbus_message_get_body(message);
        if (g_strcmp0(g_dbus_message_get_member(message), "Get") != 0 || body == nullptr ||
            !g_variant_is_of_type(body, G_VARIANT_TYPE("(ss)")))
            return;
        for (const char *service : kServices) {
            if (g_strcmp0(to, service) != 0)
                continue;
            const char *property = nullptr;
            g_variant_get(body, "(&s&s)", nullptr, &property);
            if (asked.size() >= kMostAsked)
                asked.clear();
            asked[g_dbus_message_get_serial(message)] = {service, property};
        }
    }

    void answer_came(GDBusMessage *message)
    {
        const auto question = asked.extract(g_dbus_message_get_reply_serial(message));
        GVariant *body = g_dbus_message_get_body(message);
        if (!question || body == nullptr || !g_variant_is_of_type(body, G_VARIANT_TYPE("(v)")))
            return;
        GVariant *value = nullptr;
        g_variant_get(body, "(v)", &value);
        const GVariantOwned owned(value);
        trace.told(question.mapped().service.c_str(), question.mapped().property.c_str(), value);
    }

    void signal_came(GDBusMessage *message)
    {
        const char *path = g_dbus_message_get_path(message);
        GVariant *body = g_dbus_message_get_body(message);
        for (const char *known : kPaths)
            if (body != nullptr && path != nullptr && g_str_has_prefix(path, known))
                trace.signal(path, g_dbus_message_get_interface(message), g_dbus_message_get_member(message), body);
    }

    void look_at(GDBusMessage *message, bool incoming)
    {
        const GDBusMessageType type = g_dbus_message_get_message_type(message);
        if (!incoming && type == G_DBUS_MESSAGE_TYPE_METHOD_CALL)
            goes(message);
        else if (incoming && type == G_DBUS_MESSAGE_TYPE_METHOD_RETURN)
            answer_came(message);
        else if (incoming && type == G_DBUS_MESSAGE_TYPE_SIGNAL)
            signal_came(message);
    }
};

TraceEar::TraceEar(GDBusConnection *connection, Trace &trace)
    : connection_(G_DBUS_CONNECTION(g_object_ref(connection))), heard_(std::make_shared<Heard>(trace))
{
    filter_ = g_dbus_connection_add_filter(
        connection_,
        [](GDBusConnection *, GDBusMessage *message, gboolean incoming, gpointer data) {
            const auto &heard = *static_cast<std::shared_ptr<Heard> *>(data);
            if (!heard->over)
                heard->look_at(message, incoming != FALSE);
            return message;
        },
        new std::shared_ptr<Heard>(heard_), [](gpointer data) { delete static_cast<std::shared_ptr<Heard> *>(data); });
}

TraceEar::~TraceEar()
{
    heard_->over = true;
    g_dbus_connection_remove_filter(connection_, filter_);
    g_object_unref(connection_);
}
