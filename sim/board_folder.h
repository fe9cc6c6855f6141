// The folder of a simulated board: sockets, thermal zone and sample configuration. One simulator at a time owns it.
#pragma once

#include "sim/camera.h"
#include "sim/fd.h"

#include <optional>
#include <string>

namespace sim {

class BoardFolder {
  public:
    ~BoardFolder();

    // Makes the folder if needed, takes its lock, removes sockets that a killed simulator left, and writes the
    // configuration files that are missing (all of them when `overwrite`). Gives a message when that failed.
    std::optional<std::string> open(const std::string &path, const CameraOptions &camera, bool overwrite);
    // Removes the sockets and gives up the lock.
    void close();

    // Absolute; empty until opened.
    const std::string &path() const { return path_; }
    std::string gpio_socket() const { return path_ + "/gpio"; }
    std::string spi_socket(unsigned port) const { return path_ + "/spi" + std::to_string(port); }
    // The thermal zone's file, with `text`; false and errno on failure.
    bool write_sensor(const std::string &text) const;
    // None there; or one that nobody writes to.
    bool remove_sensor() const;
    bool make_sensor_fifo() const;
    // What the block keeps without power, from its file; none without one, or when it makes no sense.
    std::optional<Kept> read_kept() const;
    bool write_kept(const Kept &kept) const;

  private:
    std::optional<std::string> take_lock();
    void remove_sockets() const;
    std::string sensor_file() const { return path_ + "/thermal_zone0/temp"; }

    std::string path_;
    Fd lock_;
};

} // namespace sim
