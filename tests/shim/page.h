// What the shim inside ptzd and the test outside share: a page of memory, mapped from a file.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace shim {

inline constexpr char kVariable[] = "PTZ_SHIM_PAGE"; // names the file

// One place that calls: it has the same name in every process of one build.
struct Site {
    std::array<char, 64> name;
    std::array<int, 4> errors;        // that this call may end with; 0: none
    std::atomic<std::uint32_t> calls; // while armed, since the test has put it to 0
};

struct Page {
    std::atomic<std::uint32_t> ballast; // descriptors that the process opens before it begins
    std::atomic<std::uint32_t> loaded;  // the process that has the shim, once signals may come
    std::atomic<std::uint32_t> signals; // that have come
    std::atomic<std::uint32_t> armed;   // calls are counted
    std::atomic<std::uint32_t> site;    // whose call number `nth`, from 1, fails with `error`
    std::atomic<std::uint32_t> nth;     // 0: none
    std::atomic<std::int32_t> error;
    std::atomic<std::uint32_t> struck; // how many have failed
    std::atomic<std::uint32_t> used;   // of the sites
    std::array<Site, 256> sites;
};

} // namespace shim
