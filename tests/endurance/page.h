// What a test shares with a program that preload.cpp is loaded into ahead of the C library.
#pragma once

#include <atomic>
#include <cstdint>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

inline constexpr char kPageVariable[] = "PTZ_TEST_PAGE"; // its file

struct Page {
    std::atomic<std::int64_t> clock_step_s; // how far the program's wall clock is from the machine's
    std::atomic<std::int64_t> heap_blocks;  // how many the program has at present
};

// Zeros at first. Stays until the process ends; null when it cannot be had.
inline Page *map_page(const char *file)
{
    const int fd = open(file, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    void *page = fd >= 0 && ftruncate(fd, sizeof(Page)) == 0
                     ? mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                     : MAP_FAILED;
    close(fd);
    return page != MAP_FAILED ? static_cast<Page *>(page) : nullptr;
}
