#include "port/gpio_handle.h"

#include <cerrno>

namespace {

ugpio *request_line(const GpioLine &line, const char *label)
{
    if (line.number != -1)
        return ugpio_request(line.number, label);
    if (line.name != nullptr)
        return ugpio_request_named(line.name);
    errno = EINVAL;
    return nullptr;
}

} // namespace

GpioHandle::GpioHandle(const GpioLine &line, const char *label) : handle_(request_line(line, label))
{
}

GpioHandle::~GpioHandle()
{
    if (handle_ == nullptr)
        return;
    if (opened_)
        ugpio_close(handle_);
    ugpio_free(handle_);
}

bool GpioHandle::full_open()
{
    opened_ = ugpio_full_open(handle_) >= 0;
    return opened_;
}

GpioReading gpio_read_level(const GpioLine &line, const char *label)
{
    // The error number is taken before the handle goes, which may change it.
    GpioHandle handle(line, label);
    if (!handle)
        return {-1, "request", errno};
    if (!handle.full_open())
        return {-1, "open", errno};
    const int level = handle.value();
    if (level < 0)
        return {-1, "get value of", errno};
    return {level, nullptr, 0};
}
