#include "port/request.h"

#include "core/clock.h"
#include "core/log.h"
#include "port/gpio_handle.h"
#include "port/settings.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

namespace {

constexpr char LABEL[] = "request";
constexpr int TIMEOUT_US = REQUEST_TIMEOUT_S * 1000000;
constexpr int POLL_INTERVAL_US = 1000;
constexpr int POLLS = TIMEOUT_US / POLL_INTERVAL_US;
constexpr unsigned RISING_EDGE = 8;
// After a longer pause the level at the first edge does not count.
constexpr std::uint32_t LONG_PAUSE_US = 2800000;

const char *text_of(const char *text)
{
    return text != nullptr ? text : "";
}

void log_timeout()
{
    log_warning("Timeout (%ds) occurred while waiting for request!", REQUEST_TIMEOUT_S);
}

struct Moment {
    std::uint32_t seconds, microseconds;
};

Moment now()
{
    const std::int64_t us = clock_get().now_us();
    return {static_cast<std::uint32_t>(us / 1000000), static_cast<std::uint32_t>(us % 1000000)};
}

void note_request(const Moment &when)
{
    port_transfer_settings.last_request_time = {when.seconds, when.microseconds};
}

// Whether the line has to be read afresh before it counts: at the first edge of the process, and at the first after a
// long pause. The difference is kept in 32 bits: a pause of more than 4294 seconds wraps.
bool first_edge_is_passed_over(bool *first_edge)
{
    const auto &last = port_transfer_settings.last_request_time;
    const Moment current = now();
    if (last.seconds == 0 && last.microseconds == 0) {
        note_request(current);
        *first_edge = false;
        return true;
    }
    const std::uint32_t pause_us =
        (current.seconds - last.seconds) * 1000000u + (current.microseconds - last.microseconds);
    if (pause_us <= LONG_PAUSE_US)
        return false;
    *first_edge = false;
    return true;
}

// The descriptor on which the edges are announced; closed once, before its line.
class EdgeDescriptor {
  public:
    explicit EdgeDescriptor(int fd) : fd_(fd)
    {
        if (fd_ >= 0)
            fcntl(fd_, F_SETFD, FD_CLOEXEC);
    }
    ~EdgeDescriptor()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    EdgeDescriptor(const EdgeDescriptor &) = delete;
    EdgeDescriptor &operator=(const EdgeDescriptor &) = delete;
    int get() const { return fd_; }

  private:
    int fd_;
};

bool wait_for_high_level(GpioHandle &line, int fd)
{
    bool first_edge = true;
    bool unreadable_at_edge = false;
    for (;;) {
        const int level = line.value();
        if (level == 1)
            return true;
        // An edge is acknowledged by reading the level: when that goes on failing, waiting again would return at once.
        if (level < 0 && unreadable_at_edge) {
            log_error("Failed to get gpio value");
            return false;
        }
        if (clock_wait_exceptional(fd, TIMEOUT_US) <= 0) {
            log_timeout();
            return false;
        }
        const int level_at_edge = line.value();
        unreadable_at_edge = level_at_edge < 0;
        if (first_edge && first_edge_is_passed_over(&first_edge))
            continue;
        if (level_at_edge == 1)
            return true;
    }
}

int fail(const GpioLine &request, const char *step, int error)
{
    log_error("%d - (%s) ERROR: Not possible to %s GPIO %d/%s %s!", error, g_strerror(error), step, request.number,
              text_of(request.name), LABEL);
    return -1;
}

int poll_request(const GpioLine &request)
{
    for (int poll = 0; poll < POLLS && !clock_cancelled(); ++poll) {
        if (poll > 0)
            clock_sleep_us(POLL_INTERVAL_US);
        int level = 0;
        if (ptz_port_canon_get_request_level(request, &level) < 0) {
            log_error("Failed to get gpio value");
            return -1;
        }
        if (level == 1)
            return 0;
    }
    log_timeout();
    return -1;
}

} // namespace

int ptz_port_canon_get_request_level(const GpioLine &request, int *level)
{
    const GpioReading reading = gpio_read_level(request, LABEL);
    if (reading.failed != nullptr) {
        log_error("%d - (%s) ERROR: Failed to %s gpio %d/%s %s!", reading.error, g_strerror(reading.error),
                  reading.failed, request.number, text_of(request.name), LABEL);
        return -1;
    }
    *level = reading.level;
    return 0;
}

int ptz_port_canon_wait_request_edge(const GpioLine &request)
{
    GpioHandle line(request, LABEL);
    if (!line)
        return fail(request, "request", errno);
    if (!line.full_open())
        return fail(request, "full open", errno);
    if (ugpio_set_edge(line.get(), RISING_EDGE) < 0)
        return fail(request, "set edge on", errno);
    const EdgeDescriptor edges(ugpio_fd(line.get()));
    if (edges.get() < 0)
        return fail(request, "get fd on", errno);
    if (!wait_for_high_level(line, edges.get()))
        return -1;
    note_request(now());
    return 1;
}

int ptz_port_canon_wait_request(const GpioLine &request, int trigger_mode)
{
    if (trigger_mode == PORT_TRIGGER_POLL_LEVEL)
        return poll_request(request);
    if (trigger_mode == PORT_TRIGGER_EDGE)
        return ptz_port_canon_wait_request_edge(request);
    int level = 0;
    if (ptz_port_canon_get_request_level(request, &level) < 0)
        log_error("Failed to get gpio value");
    else if (level == 1)
        return 0;
    return ptz_port_canon_wait_request_edge(request);
}
