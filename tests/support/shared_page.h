// Memory that a test shares with a program, by a file.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

// Zeros at first. Stays until the process ends; null when it cannot be had.
template <typename Page>
Page *map_page(const char *file)
{
    const int fd = open(file, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    void *page = fd >= 0 && ftruncate(fd, sizeof(Page)) == 0
                     ? mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                     : MAP_FAILED;
    close(fd);
    return page != MAP_FAILED ? static_cast<Page *>(page) : nullptr;
}
