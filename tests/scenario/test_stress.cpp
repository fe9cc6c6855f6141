// Five clients, camera signals, faults and stops at once, over several lives of ptzd. Whatever two threads touch
// without the lock that is for it is to meet here: under ThreadSanitizer the first time ends ptzd.
#include "tests/scenario/system_fixture.h"

#include <algorithm>
#include <array>
#include <csignal>

namespace {

// What clients ask for in turn, each beginning at another place, with a GetStatus after each.
constexpr std::pair<const char *, const char *> kCalls[] = {
    {"Move", "([('pan', 'continuous', 30.0), ('focus', 'continuous', 10.0)], 0.0, @a{sv} {})"},
    {"SetParameter", "('ImageSource', 'Sharpness', <'70'>)"},
    {"ListParameters", "('Limit',)"},
    {"Move", "([('tilt', 'absolute', 15.0), ('zoom', 'continuous', -50.0)], 50.0, {'id': <uint32 7>})"},
    {"GetPosition", "()"},
    {"Stop", "()"},
    {"GetParameter", "('ImageSource', 'Sharpness')"},
    {"Move", "([('pan', 'relative', -1.0), ('tilt', 'continuous', 1.0)], 0.0, @a{sv} {})"},
    {"GetPublished", "()"},
    {"SetParameter", "('Limit', 'MinPan', <-160>)"},
    {"GetDataCaches", "()"},
    {"Move", "([('zoom', 'absolute', 5000.0)], 0.0, @a{sv} {})"},
    {"SetFocusMode", "('manual',)"},
};

// What befalls the board, one after the other, a few in each life.
constexpr const char *kFaults[] = {
    "bad-checksum 3", "silence 1500ms", "drop-edge", "sensor empty 5s",
    "reboot",         "spi-short 2",    "all-ff 2",  "sensor missing 5s",
};

class Stress : public SystemTest {
  protected:
    static constexpr std::size_t kLives = 4;
    static constexpr std::size_t kDoneBetween = 30; // moves, stops and settings between two faults
    static constexpr std::size_t kInFlight = 6;     // calls of one client
    static constexpr std::size_t kLeaveAfter = 80;

    struct Caller {
        std::unique_ptr<Client> client;
        std::size_t next = 0;
        std::vector<ReplyPtr> waiting;
    };

    void keep_busy(Caller &caller)
    {
        std::erase_if(caller.waiting, [this](const ReplyPtr &reply) {
            done_ += reply->done && reply->said() == "()" ? 1 : 0;
            return reply->done;
        });
        for (; caller.waiting.size() < kInFlight; ++caller.next) {
            const auto &[method, arguments] = kCalls[caller.next / 2 % std::size(kCalls)];
            caller.waiting.push_back(caller.next % 2 == 0 ? caller.client->send(method, arguments)
                                                          : caller.client->send("GetStatus"));
        }
    }

    // An error comes or goes, and the picture is turned so often that one signal comes while another is being handled.
    void unsettle(bool error)
    {
        tell_sim(std::string("set status-bit lens 7 ") + (error ? "on" : "auto"));
        for (int turn = 0; turn < 8; ++turn)
            tell_sim("set rotation " + std::to_string(180 * (turn % 2)));
    }

    void tell_sim(const std::string &line)
    {
        g_dbus_connection_call(client.connection(), "com.orna.KrxSim", "/com/orna/KrxSim", "com.orna.KrxSim", "Command",
                               g_variant_new("(s)", line.c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                               nullptr, nullptr);
    }

    // Until that is so; the fifth client leaves again and again, with whatever of its moves still runs.
    void flood_until(const std::function<bool()> &enough)
    {
        run_until([&] {
            for (Caller &caller : callers_)
                keep_busy(caller);
            if (Caller &leaver = callers_.back(); leaver.next >= kLeaveAfter)
                leaver = new_caller(0);
            if (++looks_ % 32 == 0)
                unsettle(looks_ % 64 == 0);
            return enough();
        });
    }

    Caller new_caller(std::size_t begin) { return {std::make_unique<Client>(address()), begin, {}}; }

    std::array<Caller, 5> callers_;
    std::size_t done_ = 0; // of moves, stops and settings
    std::size_t faults_ = 0;
    std::size_t looks_ = 0;
};

TEST_F(Stress, NothingIsTouchedByTwoThreadsAtOnce)
{
    start_sim();
    for (std::size_t i = 0; i < callers_.size(); ++i)
        callers_[i] = new_caller(6 * i);
    for (std::size_t life = 1; life <= kLives; ++life) {
        SCOPED_TRACE(life);
        start_ptzd();
        while (faults_ < life * std::size(kFaults) / kLives && !ptzd->ended()) {
            const std::size_t enough = done_ + kDoneBetween;
            flood_until([&] { return done_ >= enough || ptzd->ended(); });
            tell_sim(std::string("fault ") + kFaults[faults_++]);
        }
        ASSERT_FALSE(ptzd->ended()) << ptzd->output();
        ptzd->signal(SIGTERM);
        flood_until([this] { return ptzd->ended(); });
        ASSERT_EQ(ptzd->wait(), 0) << ptzd->output();
    }
}

} // namespace
