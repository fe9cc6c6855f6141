// Usage: instructions STEP TIMES. Runs a step of a driver that is warm; what runs within counted_step() and outside
// device_call() is to be counted (bench/instructions.py). Status 1 when a step fails.
#include "bench/camera.h"
#include "bench/virtual_camera.h"
#include "utils/publish.h"
#include "utils/status.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int WARM_UP = 50;

bool refresh(PTZDriverCanon *driver)
{
    const bool good = ptz_driver_canon_cmd_update_status(driver) != FALSE;
    ptz_driver_canon_utils_status_job(driver);
    return good;
}

bool move_there_and_back(PTZDriverCanon *driver)
{
    static bool there = false;
    there = !there;
    return camera_move(driver, there) != FALSE;
}

struct Step {
    const char *name;
    bool (*run)(PTZDriverCanon *driver);
};

constexpr Step STEPS[] = {{"refresh", refresh}, {"move", move_there_and_back}};

} // namespace

// The linker leads the driver's calls to the SPI device here: how often it has to ask the board for its answer hangs on
// the machine. Both functions have C names for the counter's command line.
extern "C" {
int __real_ioctl(int fd, unsigned long request, ...);
[[gnu::noinline]] int device_call(int fd, unsigned long request, void *arg);
[[gnu::noinline]] bool counted_step(const Step *step, PTZDriverCanon *driver);
int __wrap_ioctl(int fd, unsigned long request, ...);
}

int device_call(int fd, unsigned long request, void *arg)
{
    return __real_ioctl(fd, request, arg);
}

int __wrap_ioctl(int fd, unsigned long request, ...)
{
    va_list rest;
    va_start(rest, request);
    void *const arg = va_arg(rest, void *);
    va_end(rest);
    return device_call(fd, request, arg);
}

bool counted_step(const Step *step, PTZDriverCanon *driver)
{
    return step->run(driver);
}

int main(int argc, char *argv[])
{
    const Step *step = nullptr;
    for (const Step &candidate : STEPS)
        if (argc == 3 && std::strcmp(candidate.name, argv[1]) == 0)
            step = &candidate;
    if (step == nullptr) {
        std::fputs("usage: instructions STEP TIMES\n", stderr);
        return 2;
    }
    VirtualCamera camera;
    bool good = camera.open();
    for (int i = 0; i < WARM_UP; ++i)
        good = good && step->run(camera.driver());
    for (int i = std::atoi(argv[2]); i > 0 && good; --i) {
        good = counted_step(step, camera.driver());
        camera.forget_packets();
    }
    return good ? 0 : 1;
}
