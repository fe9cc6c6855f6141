// How much each client of the bus has in work, and how much it was told that it may not have read yet. Any thread.
#pragma once

#include <glib.h>

#include <array>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

class Clients {
  public:
    static constexpr unsigned kMostUnanswered = 1024; // calls of one client, with the refusals that are on their way
    static constexpr unsigned kMostOfGone = 64;       // calls of clients that have left
    static constexpr unsigned kMostSignals = 64;      // of one client that are not handled yet
    static constexpr unsigned kMostPings = 64;        // unanswered; the bus allows 128 calls
    static constexpr std::size_t kAskAfter = std::size_t{16} * 1024;       // bytes that may be unread
    static constexpr std::size_t kMostUnread = std::size_t{1024} * 1024;   // of one client
    static constexpr std::size_t kMostTogether = std::size_t{8192} * 1024; // of all; beyond it one client may have
    static constexpr std::size_t kMostThen = std::size_t{32} * 1024;       // this much
    static constexpr std::size_t kSmallReply = std::size_t{4} * 1024;

    enum class Kind { work, stop, refusal };
    // How many calls of a kind one client may have; when all together have many, how many then.
    struct Limit {
        unsigned each, together, then;
    };
    static constexpr std::array<Limit, 3> kLimits{{{32, 64, 1}, {32, 64, 32}, {1024, 256, 4}}};

    // A call has come in. What it is to be treated as, refusal when the client has as many of that kind as it may;
    // nothing when it is to be dropped without an answer: the client wants none, or has as many refusals on their way
    // as it may, or does not read and it is no stop.
    // `stops`: how many stops had come before it.
    std::optional<Kind> call_came(const std::string &client, guint32 serial, Kind kind, bool wants_reply,
                                  unsigned stops = 0);
    // That number of a call that is not answered yet; nothing when there is none.
    std::optional<unsigned> stops_before(const std::string &client, guint32 serial) const;
    // The reply to that call is about to go, `size` bytes. Whether it may.
    bool reply_goes(const std::string &client, guint32 serial, std::size_t size);

    // Whom to ask what a client has read: itself, or the bus daemon.
    enum class Witness { client, daemon };
    // Whether it is time to ask that one about this client.
    bool worth_asking(const std::string &client, Witness witness) const;
    // It was asked, with the message of that serial.
    void asked(const std::string &client, Witness witness, guint32 serial);
    // An answer from `sender` with that serial has come: `left` bytes were not read then, all of them when it is
    // nothing (the daemon did not say, and is not asked any more). False when that was not asked.
    bool answered(const std::string &sender, guint32 serial, std::optional<std::size_t> left);

    // A signal has come; whether it may pass on. signals_handled(): every one that passed before has been handled.
    bool signal_came(const std::string &client);
    void signals_handled();

    // It is not on the bus any more. What it has called for is carried out all the same, unless more than kMostOfGone
    // such calls wait: drop_abandoned() then forgets this one, whose client has left, and says so.
    void left(const std::string &client);
    bool drop_abandoned(const std::string &client);

    std::size_t unread() const; // by all together

  private:
    struct Waiting {
        Kind kind;
        bool wants_reply;
        unsigned stops;
    };
    struct Account {
        std::unordered_map<guint32, Waiting> waiting; // by the serial of the call
        std::array<unsigned, 3> in_work{};            // by kind
        std::size_t sent = 0;                         // bytes
        std::size_t read = 0;                         // so many of them for certain
        std::array<bool, 2> asked{};                  // by witness
        bool modest = true;                           // never more than one call at a time, and small replies
        unsigned signals = 0;
    };
    struct Question {
        std::string client;
        Witness witness;
        std::size_t sent; // to the client by then
    };

    using Questions = std::map<guint32, Question>;

    bool does_not_read(const Account &account) const;
    bool full(const Account &account, Kind kind) const;
    Questions::iterator forget(Questions::iterator question);

    mutable std::mutex mutex_;
    std::unordered_map<std::string, Account> accounts_;
    Questions questions_;               // by the serial of the message that asks
    std::array<unsigned, 3> in_work_{}; // calls of all, by kind
    std::size_t pings_ = 0;             // those of them that clients are to answer
    std::size_t unread_ = 0;
    std::size_t abandoned_ = 0; // calls of clients that have left
    bool daemon_tells_ = true;
};
