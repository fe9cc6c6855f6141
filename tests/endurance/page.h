// What a test shares with a program that preload.cpp is loaded into ahead of the C library.
#pragma once

#include <atomic>
#include <cstdint>

inline constexpr char kPageVariable[] = "PTZ_TEST_PAGE"; // its file

struct Page {
    std::atomic<std::int64_t> clock_step_s; // how far the program's wall clock is from the machine's
    std::atomic<std::int64_t> heap_blocks;  // how many the program has at present
};
