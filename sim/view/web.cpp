#include "sim/view/web.h"

#include "glib_owned.h"
#include "sim/view/gate.h"
#include "sim/view/page.h"

#include <algorithm>
#include <libsoup/soup.h>
#include <list>

namespace sim::view {
namespace {

constexpr long kMostConnections = 64;
constexpr std::size_t kMostWaiting = 32; // pictures and events together
constexpr guint kSilenceS = 10;          // of a connection that is to ask for something
constexpr std::size_t kMostCommand = 256;
constexpr std::int64_t kPatienceUs = 10'000'000; // of a request for a picture, and between two signs of life

void answer(SoupServerMessage *message, guint status, std::string_view type, std::string_view content)
{
    soup_server_message_set_status(message, status, nullptr);
    soup_server_message_set_response(message, std::string(type).c_str(), SOUP_MEMORY_COPY, content.data(),
                                     content.size());
}

void refuse(SoupServerMessage *message, guint status, std::string_view why)
{
    answer(message, status, "text/plain; charset=utf-8", std::string(why) + "\n");
}

// Of nothing longer is the body gathered: it has all the memory that somebody sends.
bool has_short_body(SoupServerMessage *message)
{
    SoupMessageHeaders *headers = soup_server_message_get_request_headers(message);
    return soup_message_headers_get_encoding(headers) != SOUP_ENCODING_CHUNKED &&
           soup_message_headers_get_content_length(headers) <= static_cast<goffset>(kMostCommand);
}

// What every answer carries: nothing is loaded from elsewhere, nobody else may show it.
void protect(SoupServerMessage *message)
{
    SoupMessageHeaders *headers = soup_server_message_get_response_headers(message);
    constexpr std::pair<const char *, const char *> kHeaders[] = {
        {"Content-Security-Policy", "default-src 'self'; img-src 'self' blob:; frame-ancestors 'none'"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cache-Control", "no-store"}};
    for (const auto &[name, value] : kHeaders)
        soup_message_headers_replace(headers, name, value);
}

} // namespace

struct Web::Impl {
    // Somebody whose answer is not complete: a picture that is not there yet, or events without an end.
    struct Waiting {
        SoupServerMessage *message;
        bool events;
        std::uint64_t after;  // of pictures: the number that is there already
        std::int64_t since;   // g_get_monotonic_time(): of the request, or of what was sent last
        bool sending = false; // of events: the last one is not out yet
        std::string told;     // and what it was
    };

    explicit Impl(Hooks wanted)
        : hooks(std::move(wanted)), server(soup_server_new("server-header", "krx-sim ", nullptr)),
          listener(g_socket_service_new())
    {
        soup_server_add_early_handler(server, nullptr, begins, this, nullptr);
        soup_server_add_handler(server, nullptr, serve, this, nullptr);
        g_signal_connect(listener, "incoming", G_CALLBACK(incoming), this);
    }
    ~Impl()
    {
        g_socket_service_stop(listener);
        g_socket_listener_close(G_SOCKET_LISTENER(listener));
        g_object_unref(listener);
        soup_server_disconnect(server);
        g_object_unref(server);
    }
    Impl(const Impl &) = delete;
    Impl &operator=(const Impl &) = delete;

    // The server's own listener (libsoup 3.2) would lose a socket a connection. Each that is there holds a share of
    // `open`; one too many is closed when nobody holds it any more, which is at once.
    static gboolean incoming(GSocketService *, GSocketConnection *connection, GObject *, gpointer data)
    {
        auto &open = static_cast<Impl *>(data)->open;
        if (open.use_count() > kMostConnections)
            return TRUE;
        g_object_set_data_full(G_OBJECT(connection), "open", new std::shared_ptr<void>(open),
                               [](gpointer share) { delete static_cast<std::shared_ptr<void> *>(share); });
        g_socket_set_timeout(g_socket_connection_get_socket(connection), kSilenceS);
        GSocketAddress *local = g_socket_connection_get_local_address(connection, nullptr);
        GSocketAddress *remote = g_socket_connection_get_remote_address(connection, nullptr);
        GErrorSlot error; // somebody who has gone already
        soup_server_accept_iostream(static_cast<Impl *>(data)->server, G_IO_STREAM(connection), local, remote, error);
        g_clear_object(&local);
        g_clear_object(&remote);
        return TRUE;
    }

    static void begins(SoupServer *, SoupServerMessage *message, const char *, GHashTable *, gpointer)
    {
        if (!has_short_body(message))
            soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
    }

    static void serve(SoupServer *, SoupServerMessage *message, const char *path, GHashTable *query, gpointer data)
    {
        protect(message);
        static_cast<Impl *>(data)->serve(message, path, query);
    }

    void serve(SoupServerMessage *message, std::string_view path, GHashTable *query)
    {
        const std::string_view method = soup_server_message_get_method(message);
        SoupMessageHeaders *headers = soup_server_message_get_request_headers(message);
        const char *host = soup_message_headers_get_one(headers, "Host");
        if (!host || !is_own_host(host)) {
            refuse(message, SOUP_STATUS_FORBIDDEN, "This page is served under the machine's address only.");
        } else if (path == "/command") {
            if (method != SOUP_METHOD_POST)
                refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, "Commands are posted.");
            else
                serve_command(message, headers, host);
        } else if (method != SOUP_METHOD_GET) {
            refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, "This is only to be looked at.");
        } else if (const PageFile *file = find_page_file(path)) {
            answer(message, SOUP_STATUS_OK, file->type, file->content);
        } else if (path == "/picture" || path == "/events") {
            const char *after = query ? static_cast<const char *>(g_hash_table_lookup(query, "after")) : nullptr;
            await(message, path == "/events", after ? g_ascii_strtoull(after, nullptr, 10) : 0);
        } else {
            refuse(message, SOUP_STATUS_NOT_FOUND, "There is no such page.");
        }
    }

    void serve_command(SoupServerMessage *message, SoupMessageHeaders *headers, const char *host)
    {
        SoupMessageBody *body = soup_server_message_get_request_body(message);
        const std::string line(body->length != 0 ? body->data : "", static_cast<std::size_t>(body->length));
        const char *origin = soup_message_headers_get_one(headers, "Origin");
        if (!hooks.command) {
            refuse(message, SOUP_STATUS_FORBIDDEN, "This page only looks: krx-sim runs without --view-controls.");
        } else if (!is_own_origin(origin, host)) {
            refuse(message, SOUP_STATUS_FORBIDDEN, "Commands are taken from this page alone.");
        } else if (!has_short_body(message) || !is_one_line(line)) {
            refuse(message, SOUP_STATUS_BAD_REQUEST, "A command is one line.");
        } else {
            const CommandResult result = hooks.command(line);
            refuse(message, result.ok ? SOUP_STATUS_OK : SOUP_STATUS_BAD_REQUEST, result.text);
        }
    }

    void await(SoupServerMessage *message, bool events, std::uint64_t after)
    {
        if (waiting.size() >= kMostWaiting) {
            refuse(message, SOUP_STATUS_SERVICE_UNAVAILABLE, "Too many are looking.");
            return;
        }
        waiting.push_back({message, events, after, g_get_monotonic_time(), false, {}});
        g_signal_connect(message, "finished", G_CALLBACK(finished), this);
        if (events) {
            SoupMessageHeaders *headers = soup_server_message_get_response_headers(message);
            soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
            soup_message_headers_replace(headers, "Content-Type", "text/event-stream");
            soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
            soup_message_body_set_accumulate(soup_server_message_get_response_body(message), FALSE);
            g_signal_connect(message, "wrote-chunk", G_CALLBACK(wrote_chunk), this);
        }
        soup_server_message_pause(message);
        hooks.watched();
    }

    static void finished(SoupServerMessage *message, gpointer data)
    {
        static_cast<Impl *>(data)->waiting.remove_if([&](const Waiting &each) { return each.message == message; });
    }

    static void wrote_chunk(SoupServerMessage *message, gpointer data)
    {
        for (Waiting &each : static_cast<Impl *>(data)->waiting) {
            if (each.message == message)
                each.sending = false;
        }
    }

    // The message goes on; it is no longer waited for when its answer is complete.
    std::list<Waiting>::iterator send(std::list<Waiting>::iterator each)
    {
        SoupServerMessage *message = each->message;
        each->since = g_get_monotonic_time();
        const auto next = each->events ? std::next(each) : waiting.erase(each);
        soup_server_message_unpause(message);
        return next;
    }

    void show(std::span<const std::uint8_t> jpeg, std::uint64_t number)
    {
        const std::int64_t now = g_get_monotonic_time();
        for (auto each = waiting.begin(); each != waiting.end();) {
            const bool impatient = now - each->since > kPatienceUs;
            if (each->events || (each->after == number && !impatient)) {
                ++each;
                continue;
            }
            SoupMessageHeaders *headers = soup_server_message_get_response_headers(each->message);
            soup_message_headers_replace(headers, "X-Picture", std::to_string(number).c_str());
            if (each->after == number)
                soup_server_message_set_status(each->message, SOUP_STATUS_NO_CONTENT, nullptr);
            else
                answer(each->message, SOUP_STATUS_OK, "image/jpeg",
                       {reinterpret_cast<const char *>(jpeg.data()), jpeg.size()});
            each = send(each);
        }
    }

    // A reader that is slow gets the newest state when it has taken the one before. One that has gone is found out by
    // writing to it.
    void tell(const std::string &state)
    {
        const std::int64_t now = g_get_monotonic_time();
        for (auto each = waiting.begin(); each != waiting.end();) {
            const bool quiet = now - each->since > kPatienceUs;
            if (!each->events || each->sending || (each->told == state && !quiet)) {
                ++each;
                continue;
            }
            const std::string event = each->told == state ? ":\n\n" : "data: " + state + "\n\n";
            each->told = state;
            each->sending = true;
            soup_message_body_append(soup_server_message_get_response_body(each->message), SOUP_MEMORY_COPY,
                                     event.data(), event.size());
            each = send(each);
        }
    }

    Hooks hooks;
    SoupServer *server;
    GSocketService *listener;
    std::string address; // of the page
    std::list<Waiting> waiting;
    std::shared_ptr<void> open = std::make_shared<char>(); // shared with every connection
};

Web::Web(Hooks hooks) : impl_(std::make_unique<Impl>(std::move(hooks)))
{
}

Web::~Web() = default;

std::optional<std::string> Web::listen(const std::string &where)
{
    GSocketAddress *wanted = parse_address(where);
    if (!wanted)
        return "--view takes ADDRESS:PORT, such as 127.0.0.1:8080, not " + where;
    GErrorSlot error;
    GSocketAddress *taken = nullptr;
    const bool listens = g_socket_listener_add_address(G_SOCKET_LISTENER(impl_->listener), wanted, G_SOCKET_TYPE_STREAM,
                                                       G_SOCKET_PROTOCOL_TCP, nullptr, &taken, error);
    g_object_unref(wanted);
    if (!listens)
        return "Cannot show the picture on " + (where.empty() ? "127.0.0.1" : where) + ": " + error->message;
    const GText text(g_socket_connectable_to_string(G_SOCKET_CONNECTABLE(taken)));
    impl_->address = std::string("http://") + text.get() + "/";
    g_object_unref(taken);
    return std::nullopt;
}

std::string Web::address() const
{
    return impl_->address;
}

bool Web::is_watched() const
{
    return !impl_->waiting.empty();
}

void Web::show(std::span<const std::uint8_t> jpeg, std::uint64_t number)
{
    impl_->show(jpeg, number);
}

void Web::tell(const std::string &state)
{
    impl_->tell(state);
}

} // namespace sim::view
