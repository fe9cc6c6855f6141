// GPIO lines and SPI devices that exist only in the test: linked in the place of libugpio and of the far
// side of the seam under open() and ioctl().
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

// In force from construction to destruction; one at a time.
//
// Every call is recorded as text: "request imc_req/request", "drive 12 high", "open imc_req", "value imc_req",
// "edge imc_req 8", "fd imc_req", "close imc_req", "free imc_req", "spi-open /dev/spidev1.0", "wr-mode 9", "rd-mode",
// "wr-bits 8", "rd-bits", "wr-speed 3000000", "rd-speed", "message 1024". A line goes by its number or name.
class FakeHardware {
  public:
    FakeHardware() { current = this; }
    ~FakeHardware() { current = nullptr; }
    FakeHardware(const FakeHardware &) = delete;

    struct Line {
        std::deque<int> script; // what the next reads give, -1: the read fails
        int level = 0;          // what they give after that
    };
    std::map<std::string, Line> lines;

    std::vector<std::string> calls;
    std::vector<std::string> calls_of(std::initializer_list<std::string> operations) const;
    // Calls whose record begins with `call` fail with this errno.
    std::map<std::string, int> failing;
    int live_handles = 0;
    std::function<void()> on_close; // called in ugpio_close

    int device_flags = 0;                              // what the device is opened with besides the driver's own
    std::uint32_t mode = 9, bits = 8, speed = 3000000; // what the device reads back
    std::string bufsiz;                                // what the kernel tells of its buffer, if anything

    using Bytes = std::vector<std::uint8_t>;
    std::vector<Bytes> sent;                         // what each burst clocked out
    std::deque<Bytes> replies;                       // what the next bursts clock in, filled up with 0xEE
    std::function<Bytes(const Bytes &sent)> partner; // answers in the place of `replies`; nothing is kept in `sent`
    std::vector<unsigned> transfer;                  // the last burst: speed, delay, bits, cs, word delay

    // Used by the C functions.
    static inline FakeHardware *current = nullptr;
    bool fails(const std::string &call);
    int result(const std::string &call) { return fails(call) ? -1 : 0; }
};

// How many descriptors this process holds.
int open_descriptors();
