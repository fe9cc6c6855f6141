// A trace as a capture file for Wireshark, whose packets data/wireshark/ptz_block.lua takes apart.
#pragma once

#include "sim/trace.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

class PcapngWriter {
  public:
    // "-": standard output. Throws Failure when it cannot be written.
    explicit PcapngWriter(const std::string &path);

    // One packet: four bytes that say what it is (kind, port, 0 for the host and 1 for the block, byte order), then the
    // burst or the words.
    void add(const sim::TraceLine &line, std::optional<bool> big_endian);
    // Throws Failure when not all of it got there.
    void flush();
    std::size_t packets() const { return packets_; }

  private:
    struct Close {
        void operator()(std::FILE *file) const;
    };
    void block(std::uint32_t type, const std::string &body);

    const std::string path_;
    std::unique_ptr<std::FILE, Close> file_;
    std::size_t packets_ = 0;
};
