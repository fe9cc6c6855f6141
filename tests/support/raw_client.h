// A client of the bus that speaks to it by hand: it sends what no library would, and reads only when it is told to.
#pragma once

#include <gio/gio.h>

#include <string>
#include <unistd.h>
#include <vector>

// Whom the bus takes a client for, by what the shipped policy allows. Only root can be somebody else.
namespace user {
inline const bool MANY = geteuid() == 0;                       // these are several
inline const uid_t STRANGER = MANY ? uid_t{65534} : geteuid(); // may look
} // namespace user

class RawClient {
  public:
    explicit RawClient(const std::string &address, uid_t user = geteuid());
    RawClient(const RawClient &) = delete;
    ~RawClient();

    // Takes over the message; `descriptors` go along. False when the bus has closed the connection, or does not take
    // it for five seconds.
    bool send(GDBusMessage *message, int descriptors = 0);
    // A call of com.orna.PTZ; `arguments` floating, null for none.
    bool call(const char *method, GVariant *arguments = nullptr, int descriptors = 0);
    bool ask_bus(const char *method, GVariant *arguments = nullptr);
    // Reads until there was a reply, or nothing for that long, and answers nothing: how many replies it was.
    std::size_t read(int wait_ms = 5000);
    const std::string &last_error() const { return last_error_; } // the name of the latest reply's, or nothing
    const std::string &name() const { return name_; }             // on the bus

  private:
    bool write(const std::vector<char> &bytes, int descriptors);
    std::string read_line();
    std::size_t take_messages();
    bool readable(int wait_ms = 5000) const;

    GSocketConnection *stream_;
    int fd_;
    guint32 serial_ = 0;
    std::string name_;
    std::string last_error_;
    std::vector<guchar> unread_; // the beginning of a message
};
