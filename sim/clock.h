// The simulator's only source of time: microseconds since the start, real (N times faster on request) or moved by hand.
#pragma once

#include <atomic>
#include <cstdint>

namespace sim {

class Clock {
  public:
    // scale: how many times faster than the wall time runs (above 0); ignored by manual time.
    explicit Clock(bool manual, double scale = 1.0);

    bool manual() const { return manual_; }
    // Microseconds since construction.
    std::int64_t now() const;
    // Sets manual time; it never goes back.
    void set(std::int64_t us);
    // How long to wait in real nanoseconds until `us`; 0 when that has passed.
    std::int64_t real_ns_until(std::int64_t us) const;
    // How long `us` microseconds on the wall are in the board's time.
    std::int64_t from_wall(std::int64_t us) const;
    // How long `ns` nanoseconds of the board's time take on the wall; 0 on manual time.
    std::int64_t wall_ns(std::int64_t ns) const;

  private:
    bool manual_;
    double scale_;
    std::int64_t start_ns_;
    std::atomic<std::int64_t> manual_us_{0};
};

} // namespace sim
