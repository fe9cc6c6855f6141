// A line of ptzd's own between GDBus and the bus daemon, which lets through only what GDBus can take.
//
// GDBus closes its connection for good over a message that it cannot decode, and the daemon carries some of those:
// variants nested more deeply than GDBus allows. It also takes descriptors from everybody, and decodes messages of any
// length before anyone may look at them. So the relay does not ask the daemon for descriptors, which then refuses them
// to the sender, and drops messages that are too long or do not decode.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

class BusRelay {
  public:
    // Longer ones do not reach the service.
    static constexpr std::size_t kLongestMessage = std::size_t{128} * 1024;

    // Connects to the system bus. Null, and why, when that cannot be done.
    static std::unique_ptr<BusRelay> create(std::string &problem);
    // Ends what it carries.
    ~BusRelay();
    BusRelay(const BusRelay &) = delete;
    BusRelay &operator=(const BusRelay &) = delete;

    // Where GDBus reaches the bus through it: once, and from this process alone.
    const std::string &address() const { return address_; }

  private:
    using Bytes = std::vector<unsigned char>;

    class Descriptor {
      public:
        explicit Descriptor(int fd = -1) : fd_(fd) {}
        ~Descriptor();
        Descriptor(const Descriptor &) = delete;
        Descriptor &operator=(const Descriptor &) = delete;
        void take(int fd) { fd_ = fd; }
        int get() const { return fd_; }

      private:
        int fd_;
    };

    BusRelay() = default;
    bool listen(std::string &problem);
    bool accept_own();
    void run();
    bool carry(); // one step; false when either side has ended
    void say_hello(std::string_view text);
    void let_through(std::span<const unsigned char> part);

    std::string address_;
    Descriptor listener_;
    Descriptor bus_;     // the daemon
    Descriptor gdbus_;   // the thread's
    bool begun_ = false; // the greeting is over, messages follow
    std::string greeting_;
    Bytes message_;           // the beginning of one from the daemon
    std::size_t carried_ = 0; // bytes from the daemon since the last rest
    std::size_t skip_ = 0;    // bytes of a message that is too long
    Bytes to_bus_;            // accepted, not written yet
    Bytes to_gdbus_;
    std::thread thread_;
};
