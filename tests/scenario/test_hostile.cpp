// What ptzd meets on this side of the bus: a board that is none, and files that somebody or something has spoilt.
#include "sim/image.h"
#include "spidev/wire.h"
#include "tests/scenario/system_fixture.h"
#include "tests/support/machine.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace {

namespace wire = spidev_wire;
using testing::HasSubstr;

// How many files of a kind are spoilt.
const char *const WANTED = std::getenv("HOSTILE_ROUNDS");
const int ROUNDS = WANTED != nullptr ? std::atoi(WANTED) : HOSTILE_ROUNDS;

enum class Manner { honest, bytes, headers, says_nothing, hangs_up };

// Stands between ptzd and the board on the way of one SPI device: hands on what they say, until it turns hostile.
class Peer {
  public:
    Peer(const std::string &path, const std::string &board) : board_(board)
    {
        listener_ = make_socket(path, bind);
        EXPECT_EQ(listen(listener_, 1), 0);
        thread_ = std::thread([this] {
            while ((host_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
                serve(host_);
                close(host_.exchange(-1));
            }
        });
    }
    ~Peer()
    {
        manner = Manner::honest;
        shutdown(listener_, SHUT_RDWR);
        shutdown(host_, SHUT_RDWR);
        thread_.join();
        close(listener_);
    }
    Peer(const Peer &) = delete;

    std::atomic<Manner> manner{Manner::honest};

  private:
    static int make_socket(const std::string &path, int (*name_it)(int, const sockaddr *, socklen_t))
    {
        sockaddr_un name{AF_UNIX, {}};
        path.copy(name.sun_path, sizeof name.sun_path - 1);
        const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        EXPECT_EQ(name_it(fd, reinterpret_cast<const sockaddr *>(&name), sizeof name), 0);
        return fd;
    }

    // Until the host leaves.
    void serve(int host)
    {
        const int board = make_socket(board_, connect);
        std::array<std::uint8_t, 8192> message{};
        for (ssize_t size = 0; (size = recv(host, message.data(), message.size(), 0)) > 0;) {
            while (manner == Manner::says_nothing)
                g_usleep(1000);
            wire::Request request{};
            std::memcpy(&request, message.data(), sizeof request);
            send(board, message.data(), static_cast<std::size_t>(size), MSG_NOSIGNAL);
            size = recv(board, message.data(), message.size(), 0);
            answer(host, request.op == wire::Op::transfer ? manner.load() : Manner::honest,
                   std::span(message).first(static_cast<std::size_t>(size)));
        }
        close(board);
    }

    void answer(int host, Manner how, std::span<std::uint8_t> reply)
    {
        const std::size_t known = how == Manner::bytes ? 0
                                  : chance_() % 2 == 0 ? offsetof(wire::Reply, status)
                                                       : offsetof(wire::Reply, value);
        if (how == Manner::hangs_up)
            shutdown(host, SHUT_RDWR);
        for (int copies = how == Manner::bytes ? 200 : 1; copies > 0; --copies) { // most are others' answers
            if (how == Manner::bytes || how == Manner::headers)
                std::generate(reply.begin() + known, reply.begin() + sizeof(wire::Reply), std::ref(chance_));
            send(host, reply.data(), how == Manner::bytes ? chance_() % 64 + 1 : reply.size(),
                 MSG_NOSIGNAL | MSG_DONTWAIT);
        }
    }

    const std::string board_;
    std::independent_bits_engine<std::mt19937, 8, unsigned> chance_{20260101u};
    int listener_;
    std::atomic<int> host_{-1};
    std::thread thread_;
};

// Something between a slip of the pen and a disk that dies.
std::string spoilt(std::string text)
{
    static std::mt19937 chance(20260101);
    static const std::string kEnds[] = {"-1",     "99999999999999999999", "nan", "1e400", "",
                                        "\\\xff", std::string(5000, '9')};
    const auto below = [&](std::size_t bound) { return chance() % bound; };
    for (std::size_t changes = 1 + below(3); changes > 0 && !text.empty(); --changes) {
        const std::size_t at = below(text.size()), size = below(text.size() - at);
        const std::size_t value = text.find('=', at) + 1; // 0: there is none
        const std::size_t kind = below(value > 0 ? 7 : 4);
        if (kind < 2)
            text.replace(at, size, kind == 0 ? "" : text.substr(at, size) + text.substr(at, size));
        else if (kind == 2)
            text.replace(at, 1, below(20), static_cast<char>(below(256)));
        else if (kind == 3)
            text[at] = static_cast<char>(text[at] ^ (1 << below(8)));
        else
            text.replace(value, std::min(text.find('\n', value), text.size()) - value, kEnds[below(std::size(kEnds))]);
    }
    return text;
}

using Hostile = SystemTest;

TEST_F(Hostile, ABoardThatTurnsMadIsLivedWithAndComesBack)
{
    start_sim();
    std::string ports = folder.read("krx_port.conf");
    folder.write("krx_port.conf", ports.replace(ports.find("/spi0"), 5, "/peer"));
    Peer peer(folder.file("peer"), folder.file("spi0"));
    start_ptzd();
    await_state(1);
    double pan = 0;
    for (const Manner manner :
         {Manner::honest, Manner::bytes, Manner::headers, Manner::says_nothing, Manner::hangs_up}) {
        SCOPED_TRACE(static_cast<int>(manner));
        if (manner == Manner::honest)
            sim_command("fault garbage-blocks forever"); // it is honest about frames of nonsense
        peer.manner = manner;
        for (const gint64 until = g_get_monotonic_time() + G_USEC_PER_SEC / 2; g_get_monotonic_time() < until;) {
            state_at_once();
            for (const char *method : {"GetPosition", "GetStatus", "GetPublished"})
                client.send(method);
        }
        expect_life();
        peer.manner = Manner::honest;
        sim_command("clear faults");
        await_state(1);
        run_until([&] { return client.call("GetStatus").text.find("'link': <'up'>") != std::string::npos; });
        pan += 5;
        EXPECT_EQ(client.call("Move", ("([('pan', 'absolute', " + std::to_string(pan) + ")], 0.0, @a{sv} {})").c_str())
                      .said(),
                  "()");
        await_sim("Pan", pan, 0.1);
    }
    ptzd->signal(SIGTERM);
    EXPECT_EQ(ptzd->wait(), 0) << ptzd->output();
}

TEST_F(Hostile, AConfigurationIsTakenOrRefusedInWords)
{
    time_scale = "400";
    start_sim();
    folder.write("parameters.conf", "[ImageSource]\nSharpness=77\nWDR=on\nManualShutter=1/100\n"
                                    "[PTZ]\nPanLeftLimit=-90.5\n[UserAdv]\nMoveSpeed=2\n");
    folder.write("upgrade.conf", "[LastUpgrade]\nImage=01020304-5000-0123456789abcdef\nFrom=01000000\nTo=01020304\n"
                                 "Result=done\nWhen=1700000000\nFailures=2\n");
    // What may keep others from being read has a turn of its own.
    const std::vector<std::string> turns[] = {{"krx_driver.conf", "parameters.conf", "upgrade.conf"},
                                              {"krx_port.conf", "block_defaults.conf"}};
    std::map<std::string, std::string> good;
    for (const auto &files : turns)
        for (const std::string &file : files)
            good[file] = folder.read(file);
    for (int round = 0; round < 2 * ROUNDS && !HasFailure(); ++round) {
        std::string spoilt_ones;
        for (const auto &[file, text] : good)
            folder.write(file, text);
        for (const std::string &file : turns[round % 2]) {
            folder.write(file, spoilt(good[file]));
            spoilt_ones += "--- " + file + "\n" + folder.read(file);
        }
        SCOPED_TRACE(spoilt_ones);
        start_ptzd();
        run_until([&] { return ptzd->ended() || client.call("GetState").error.empty(); });
        const gint64 latest = g_get_monotonic_time() + 30000; // some wait for a line that never comes
        std::string state = state_at_once();
        while ((state == "(0, 'not opened')" || state == "(4, 'starting')") && g_get_monotonic_time() < latest)
            state = state_at_once();
        if (state == "(7, 'failed')") {
            EXPECT_THAT(client.call("GetStatus").text, HasSubstr("'failure': <'"));
        }
        expect_life();
        ptzd->signal(SIGTERM);
        EXPECT_EQ(ptzd->wait(), 0) << ptzd->output();
    }
    for (const auto &[file, text] : good)
        folder.write(file, text);
    start_ptzd(); // as good as ever
    await_state(1);
}

TEST_F(Hostile, AnImageIsTakenOrRefusedInWords)
{
    time_scale = "400"; // an upgrade takes a quarter of a minute
    start_sim();
    start_ptzd({"--start-timeout", "0"});
    await_state(1);
    const auto good = sim::make_image(0x01020304, 1100);
    const std::string image{good.begin(), good.end()};
    std::map<std::string, int> results;
    for (int round = 0; round < ROUNDS && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        folder.write("IMC.APP", round > 2 ? spoilt(image) : round == 2 ? "no image" : image);
        if (round == 1)
            std::filesystem::resize_file(folder.file("IMC.APP"), 40'000'000);
        sim_command("set firmware 01000000");
        const ReplyPtr reset = client.send("RunSpecialCommand", "('reset',)");
        while (!reset->done)
            state_at_once();
        ++results[reset->said()];
        expect_life();
    }
    const std::string refused = "Failed: The camera runs, but its firmware was not upgraded: ";
    for (const std::string &result :
         {std::string("()"), refused + "the image is too long.", refused + "the file is no firmware image."})
        EXPECT_GT(results[result], 0) << result;
}

} // namespace
