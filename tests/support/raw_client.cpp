#include "tests/support/raw_client.h"

#include <gio/gunixfdlist.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

constexpr int kMostDescriptors = 16; // of one message, as the system bus has it

std::vector<char> bytes_of(const std::string &text)
{
    return {text.begin(), text.end()};
}

GDBusMessage *call_of(const char *service, const char *path, const char *method, GVariant *arguments)
{
    GDBusMessage *message = g_dbus_message_new_method_call(service, path, service, method);
    if (arguments != nullptr)
        g_dbus_message_set_body(message, arguments);
    return message;
}

// The kernel tells the bus whose connection it is: who makes it.
GSocketConnection *connect_as(uid_t user, const std::string &address)
{
    const uid_t before = geteuid();
    EXPECT_EQ(seteuid(user), 0);
    GIOStream *stream = g_dbus_address_get_stream_sync(address.c_str(), nullptr, nullptr, nullptr);
    EXPECT_EQ(seteuid(before), 0);
    return G_SOCKET_CONNECTION(stream);
}

} // namespace

RawClient::RawClient(const std::string &address, uid_t user)
    : stream_(connect_as(user, address)), fd_(g_socket_get_fd(g_socket_connection_get_socket(stream_)))
{
    std::string name;
    for (const char digit : std::to_string(user))
        name += "3" + std::string(1, digit); // in hexadecimal
    write(bytes_of(std::string(1, '\0') + "AUTH EXTERNAL " + name + "\r\n"), 0);
    EXPECT_TRUE(read_line().starts_with("OK "));
    write(bytes_of("NEGOTIATE_UNIX_FD\r\n"), 0);
    EXPECT_EQ(read_line(), "AGREE_UNIX_FD");
    write(bytes_of("BEGIN\r\n"), 0);
    ask_bus("Hello");
    read();
}

RawClient::~RawClient()
{
    g_object_unref(stream_);
}

bool RawClient::readable(int wait_ms) const
{
    pollfd ready{fd_, POLLIN, 0};
    return poll(&ready, 1, wait_ms) > 0;
}

std::string RawClient::read_line()
{
    std::string line;
    char byte = 0;
    while (!line.ends_with("\r\n") && readable() && ::recv(fd_, &byte, 1, 0) == 1)
        line += byte;
    return line.substr(0, line.find('\r'));
}

bool RawClient::call(const char *method, GVariant *arguments, int descriptors)
{
    return send(call_of("com.orna.PTZ", "/com/orna/PTZ", method, arguments), descriptors);
}

bool RawClient::ask_bus(const char *method, GVariant *arguments)
{
    return send(call_of("org.freedesktop.DBus", "/", method, arguments));
}

bool RawClient::send(GDBusMessage *message, int descriptors)
{
    g_dbus_message_set_serial(message, ++serial_);
    GUnixFDList *list = g_unix_fd_list_new(); // the message is written only when it has what it says it has
    for (int i = 0; i < descriptors; ++i)
        g_unix_fd_list_append(list, STDIN_FILENO, nullptr);
    g_dbus_message_set_unix_fd_list(message, descriptors > 0 ? list : nullptr);
    gsize size = 0;
    guchar *blob = g_dbus_message_to_blob(message, &size, G_DBUS_CAPABILITY_FLAGS_UNIX_FD_PASSING, nullptr);
    const std::vector<char> bytes(blob, blob + size);
    g_free(blob);
    g_object_unref(message);
    g_object_unref(list);
    return write(bytes, descriptors);
}

bool RawClient::write(const std::vector<char> &bytes, int descriptors)
{
    alignas(cmsghdr) char control[CMSG_SPACE(kMostDescriptors * sizeof(int))] = {};
    std::size_t done = 0;
    while (done < bytes.size()) {
        iovec part{const_cast<char *>(bytes.data()) + done, bytes.size() - done};
        msghdr header{};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        if (done == 0 && descriptors > 0) {
            header.msg_control = control;
            header.msg_controllen = CMSG_SPACE(static_cast<std::size_t>(descriptors) * sizeof(int));
            cmsghdr *rights = CMSG_FIRSTHDR(&header);
            rights->cmsg_level = SOL_SOCKET;
            rights->cmsg_type = SCM_RIGHTS;
            rights->cmsg_len = CMSG_LEN(static_cast<std::size_t>(descriptors) * sizeof(int));
            const std::vector<int> same(static_cast<std::size_t>(descriptors), STDIN_FILENO);
            std::memcpy(CMSG_DATA(rights), same.data(), same.size() * sizeof(int));
        }
        const ssize_t sent = sendmsg(fd_, &header, MSG_NOSIGNAL);
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
            continue;
        }
        pollfd ready{fd_, POLLOUT, 0};
        if (errno != EAGAIN || poll(&ready, 1, 5000) <= 0)
            return false;
    }
    return true;
}

std::size_t RawClient::read(int wait_ms)
{
    guchar part[65536];
    std::size_t replies = 0;
    while (replies == 0 && readable(wait_ms)) {
        const ssize_t got = ::recv(fd_, part, sizeof part, 0);
        if (got <= 0)
            break; // the bus has closed it
        unread_.insert(unread_.end(), part, part + got);
        replies += take_messages();
    }
    return replies;
}

std::size_t RawClient::take_messages()
{
    std::size_t replies = 0;
    std::size_t at = 0;
    while (unread_.size() - at >= 16) {
        guchar *head = unread_.data() + at;
        const auto size = static_cast<std::size_t>(g_dbus_message_bytes_needed(head, unread_.size() - at, nullptr));
        if (size > unread_.size() - at)
            break;
        GDBusMessage *message = g_dbus_message_new_from_blob(head, size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
        if (g_dbus_message_get_reply_serial(message) != 0) {
            const char *error = g_dbus_message_get_error_name(message);
            last_error_ = error != nullptr ? error : "";
            ++replies;
        }
        name_ = g_dbus_message_get_destination(message);
        g_object_unref(message);
        at += size;
    }
    unread_.erase(unread_.begin(), unread_.begin() + static_cast<std::ptrdiff_t>(at));
    return replies;
}
