// The sockets of the board folder: accepts the host's GPIO and SPI connections and answers their requests.
#pragma once

#include "sim/fd.h"
#include "spidev/wire.h"
#include "ugpio/ugpio_wire.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

namespace sim {

// What the board does about requests; called from the thread that runs the server.
class Requests {
  public:
    virtual ~Requests() = default;
    // Drives a host output: 0, or minus errno.
    virtual int drive(std::uint32_t line, bool high) = 0;
    // Claims a line, and reads one's level (0 or 1); minus errno when that is not to be.
    virtual int claim(std::uint32_t line) = 0;
    virtual int read(std::uint32_t line) = 0;
    // A new edge descriptor and the board's side of it; empty on failure.
    virtual Fd open_edge(std::uint32_t line, int &slave) = 0;
    virtual void close_edge(int slave) = 0;
    virtual int lines_page() = 0;
    // Which lines there are.
    virtual ugpio_wire::Hello hello() = 0;
    // One burst; `request` holds its settings, `mode` what was set on the device. Gives the bytes clocked, or minus
    // errno, and how long the call lasts at least.
    struct Transferred {
        std::int32_t status;
        std::int64_t busy_ns;
    };
    virtual Transferred transfer(unsigned port, const spidev_wire::Request &request, std::uint32_t mode,
                                 std::span<const std::uint8_t> host, std::span<std::uint8_t> answer) = 0;
    // Any other request to an SPI device: 0, or minus errno when it fails.
    virtual int set_up() = 0;
    // The timer is due, or the server was woken: gives the nanoseconds until the next one, none to wait for ever.
    virtual std::optional<std::int64_t> idle() = 0;
};

class Server {
  public:
    explicit Server(Requests &requests) : requests_(requests) {}

    // Listens; gives a message on failure.
    std::optional<std::string> open(const std::string &gpio_path, const std::string &spi0_path,
                                    const std::string &spi1_path);
    // Answers requests until stop() is called from any thread.
    void run();
    void stop();
    // Has run() call idle() soon; from any thread.
    void wake();

  private:
    enum class Kind : std::uint8_t { gpio_listener, spi_listener, gpio, spi, edge, timer, waker };
    struct Source {
        Kind kind;
        unsigned port = 0;
        Fd fd; // empty for edges, which the board owns
    };
    struct SpiDevice {
        std::uint32_t mode = 0;
        std::uint32_t bits = 8;
        std::uint32_t speed_hz = 500'000;
    };

    bool watch(int fd, Source source);
    std::optional<std::string> listen_on(const std::string &path, Kind kind, unsigned port);
    void serve(int fd);
    void accept_host(int listener, const Source &source);
    bool serve_gpio(int fd);
    bool serve_spi(int fd, unsigned port);
    void answer_spi(unsigned port, const spidev_wire::Request &request, spidev_wire::Reply &reply);
    void forget(int fd);
    void set_timer();

    Requests &requests_;
    Fd epoll_;
    int timer_ = -1;
    int waker_ = -1;
    bool stop_ = false;
    std::map<int, Source> sources_;
    std::array<SpiDevice, 2> devices_;
    std::array<std::uint8_t, spidev_wire::kMaxTransfer> host_bytes_{};
    std::array<std::uint8_t, spidev_wire::kMaxTransfer> answer_bytes_{};
};

} // namespace sim
