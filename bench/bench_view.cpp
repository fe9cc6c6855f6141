// The simulated camera's picture: what one takes, how many a moving camera gives, and what they cost the board.
#include "bench/samples.h"
#include "bench/wire.h"
#include "sim/view/picture.h"
#include "sim/view/view.h"
#include "ugpio/ugpio.h"

#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

sim::view::Look a_look()
{
    sim::view::Look look;
    look.video = true;
    look.pan = 18;
    look.magnification = 2;
    return look;
}

// Out of focus, with noise, sharpened, and as a JPEG; the scene's parts are painted.
void view_picture(benchmark::State &state)
{
    sim::view::Picture picture;
    sim::view::Look look = a_look();
    look.defocus = 6;
    look.noise = 10;
    look.sharpen = 0.5;
    picture.draw(look);
    for (auto _ : state) {
        picture.draw(look);
        benchmark::DoNotOptimize(picture.jpeg());
    }
}
BENCHMARK(view_picture)->Unit(benchmark::kMillisecond);

// All the way from end to end at 100 degrees a second, 15 pictures a second, with that magnification: nothing of the
// scene has been painted before.
void view_moving(benchmark::State &state, double magnification)
{
    sim::view::Picture picture;
    sim::view::Look look = a_look();
    look.magnification = magnification;
    look.pan = -170;
    for (auto _ : state) {
        picture.draw(look);
        benchmark::DoNotOptimize(picture.jpeg());
        look.pan += 100.0 / 15;
    }
    state.counters["per_second"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void view_moving_wide(benchmark::State &state)
{
    view_moving(state, 1);
}
BENCHMARK(view_moving_wide)->Iterations(50);

void view_moving_drawn_out(benchmark::State &state)
{
    view_moving(state, 30);
}
BENCHMARK(view_moving_drawn_out)->Iterations(50);

void power_up(sim::Board &board)
{
    for (const char *line : {"cam_power", "cam_pcie_clk", "cam_reset"}) {
        ugpio_free(ugpio_request_one_named(line, UGPIO_OUT_HIGH));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    while (board.reading().state != sim::BlockState::running)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

// Takes one picture after another while it is let to.
class Watcher {
  public:
    explicit Watcher(const std::string &address)
        : port_(static_cast<std::uint16_t>(std::atoi(address.c_str() + address.rfind(':') + 1))),
          thread_([this] { run(); })
    {
    }
    ~Watcher()
    {
        ended_ = true;
        thread_.join();
    }
    Watcher(const Watcher &) = delete;
    Watcher &operator=(const Watcher &) = delete;
    std::atomic<bool> looks{false};

  private:
    void run()
    {
        while (!ended_) {
            if (looks)
                take();
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    void take() const
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port_);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        constexpr std::string_view kAsk = "GET /picture HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
        std::array<char, 65536> bytes;
        if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
            write(fd, kAsk.data(), kAsk.size()) > 0) {
            while (read(fd, bytes.data(), bytes.size()) > 0) {
            }
        }
        close(fd);
    }

    std::uint16_t port_;
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

// Exchanges at the pace of a driver (200 a second) beside a page that is looked at while the camera moves, and beside
// one that is not, in turns.
void view_exchange(benchmark::State &state)
{
    char folder[] = "/tmp/ptz-bench-view-XXXXXX";
    if (mkdtemp(folder) == nullptr)
        return state.SkipWithError("no folder");
    setenv("PTZ_BOARD", folder, 1);
    sim::Board board({.folder = folder});
    sim::View view(board, {.folder = folder});
    if (board.start() || view.start())
        return state.SkipWithError("no board");
    power_up(board);
    Watcher watcher(view.address());
    const int spi = open((std::string(folder) + "/spi0").c_str(), O_RDWR);
    std::array<std::uint8_t, 1024> out{}, in{};
    spi_ioc_transfer transfer{};
    transfer.tx_buf = reinterpret_cast<std::uintptr_t>(out.data());
    transfer.rx_buf = reinterpret_cast<std::uintptr_t>(in.data());
    transfer.len = out.size();
    transfer.speed_hz = 3'000'000;
    transfer.bits_per_word = 8;
    transfer.delay_usecs = 1;
    Samples samples[] = {Samples(state.max_iterations), Samples(state.max_iterations)};
    std::int64_t number = 0;
    for (auto _ : state) {
        watcher.looks = number / 200 % 2 != 0;
        if (number++ % 20 == 0)
            (void)board.command("set pan " + std::to_string(number / 20 % 300 - 150));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const std::int64_t start = monotonic_ns();
        if (ioctl(spi, SPI_IOC_MESSAGE(1), &transfer) < 0)
            state.SkipWithError("an exchange failed");
        samples[watcher.looks ? 1 : 0].add(monotonic_ns() - start);
    }
    close(spi);
    state.counters["unwatched_us"] = samples[0].median_us();
    state.counters["watched_us"] = samples[1].median_us();
    state.counters["slower_percent"] = 100 * (samples[1].median_us() / samples[0].median_us() - 1);
    std::filesystem::remove_all(folder);
}
BENCHMARK(view_exchange)->Iterations(4000);

} // namespace
