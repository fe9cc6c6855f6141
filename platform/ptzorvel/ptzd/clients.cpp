#include "ptzorvel/ptzd/clients.h"

#include <iterator>

std::optional<Clients::Kind> Clients::call_came(const std::string &client, guint32 serial, Kind kind, bool wants_reply,
                                                unsigned stops)
{
    const std::lock_guard lock(mutex_);
    Account &account = accounts_[client];
    const bool mute = does_not_read(account) && kind != Kind::stop;
    if (mute || account.waiting.size() >= kMostUnanswered || account.waiting.count(serial) != 0)
        return std::nullopt;
    if (full(account, kind))
        kind = Kind::refusal;
    if (kind == Kind::refusal && (!wants_reply || full(account, kind)))
        return std::nullopt;
    if (!account.waiting.empty())
        account.modest = false;
    account.waiting[serial] = {kind, wants_reply, stops};
    account.in_work[static_cast<std::size_t>(kind)]++;
    in_work_[static_cast<std::size_t>(kind)]++;
    return kind;
}

std::optional<unsigned> Clients::stops_before(const std::string &client, guint32 serial) const
{
    const std::lock_guard lock(mutex_);
    const auto account = accounts_.find(client);
    if (account == accounts_.end())
        return std::nullopt;
    const auto waiting = account->second.waiting.find(serial);
    return waiting != account->second.waiting.end() ? std::optional(waiting->second.stops) : std::nullopt;
}

bool Clients::reply_goes(const std::string &client, guint32 serial, std::size_t size)
{
    const std::lock_guard lock(mutex_);
    const auto found = accounts_.find(client);
    if (found == accounts_.end()) {
        abandoned_ -= abandoned_ > 0 ? 1 : 0;
        return false; // it has left
    }
    Account &account = found->second;
    const auto waiting = account.waiting.find(serial);
    if (waiting != account.waiting.end()) {
        const Waiting call = waiting->second;
        account.waiting.erase(waiting);
        account.in_work[static_cast<std::size_t>(call.kind)]--;
        in_work_[static_cast<std::size_t>(call.kind)]--;
        if (!call.wants_reply)
            return false;
    }
    if (does_not_read(account) || size > kMostUnread)
        return false;
    if (size > kSmallReply)
        account.modest = false;
    account.sent += size;
    unread_ += size;
    return true;
}

bool Clients::worth_asking(const std::string &client, Witness witness) const
{
    const std::lock_guard lock(mutex_);
    const auto found = accounts_.find(client);
    return found != accounts_.end() && found->second.sent - found->second.read > kAskAfter &&
           !found->second.asked[static_cast<std::size_t>(witness)] &&
           (witness == Witness::client ? pings_ < kMostPings : daemon_tells_);
}

void Clients::asked(const std::string &client, Witness witness, guint32 serial)
{
    const std::lock_guard lock(mutex_);
    const auto found = accounts_.find(client);
    if (found == accounts_.end())
        return;
    found->second.asked[static_cast<std::size_t>(witness)] = true;
    questions_[serial] = {client, witness, found->second.sent};
    pings_ += witness == Witness::client ? 1 : 0;
}

bool Clients::answered(const std::string &sender, guint32 serial, std::optional<std::size_t> left)
{
    const std::lock_guard lock(mutex_);
    const auto found = questions_.find(serial);
    if (found == questions_.end() || (found->second.witness == Witness::client && found->second.client != sender))
        return false;
    const Question question = found->second;
    forget(found);
    const auto entry = accounts_.find(question.client);
    if (question.witness == Witness::client)
        left = 0; // it has read the question, and all before it
    else if (!left)
        daemon_tells_ = false;
    if (entry == accounts_.end())
        return true;
    Account &account = entry->second;
    account.asked[static_cast<std::size_t>(question.witness)] = false;
    if (left && *left < question.sent && question.sent - *left > account.read) {
        unread_ -= question.sent - *left - account.read;
        account.read = question.sent - *left;
    }
    return true;
}

bool Clients::signal_came(const std::string &client)
{
    const std::lock_guard lock(mutex_);
    Account &account = accounts_[client];
    if (account.signals >= kMostSignals)
        return false;
    account.signals++;
    return true;
}

void Clients::signals_handled()
{
    const std::lock_guard lock(mutex_);
    for (auto &[client, account] : accounts_)
        account.signals = 0;
}

void Clients::left(const std::string &client)
{
    const std::lock_guard lock(mutex_);
    const auto found = accounts_.find(client);
    if (found == accounts_.end())
        return;
    unread_ -= found->second.sent - found->second.read;
    abandoned_ += found->second.waiting.size();
    for (std::size_t kind = 0; kind < in_work_.size(); ++kind)
        in_work_[kind] -= found->second.in_work[kind];
    accounts_.erase(found);
    for (auto asked = questions_.begin(); asked != questions_.end();)
        asked = asked->second.client == client ? forget(asked) : std::next(asked);
}

bool Clients::drop_abandoned(const std::string &client)
{
    const std::lock_guard lock(mutex_);
    if (abandoned_ <= kMostOfGone || accounts_.count(client) != 0)
        return false;
    abandoned_--;
    return true;
}

std::size_t Clients::unread() const
{
    const std::lock_guard lock(mutex_);
    return unread_;
}

Clients::Questions::iterator Clients::forget(Questions::iterator question)
{
    pings_ -= question->second.witness == Witness::client ? 1 : 0;
    return questions_.erase(question);
}

bool Clients::full(const Account &account, Kind kind) const
{
    const auto at = static_cast<std::size_t>(kind);
    const Limit &limit = kLimits[at];
    return account.in_work[at] >= (in_work_[at] < limit.together ? limit.each : limit.then);
}

bool Clients::does_not_read(const Account &account) const
{
    const std::size_t unread = account.sent - account.read;
    if (unread_ > kMostTogether)
        return unread > kMostThen;
    // A client that waits for each reply before it calls again reads, though many such never answer when they are
    // asked: nothing in them runs between two calls.
    return unread > kMostUnread && !account.modest;
}
