// A game controller for a program that runs with this library preloaded: whatever file the program asks, it answers as
// the kernel does for a controller with two sticks; the events are what is written into the file.
#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <initializer_list>
#include <linux/input.h>
#include <sys/ioctl.h>

namespace {

void set_bit(unsigned char *bits, std::size_t size, unsigned bit)
{
    if (bit / 8 < size)
        bits[bit / 8] |= static_cast<unsigned char>(1U << bit % 8);
}

int answer(unsigned number, void *data, std::size_t size)
{
    std::memset(data, 0, size);
    auto *bits = static_cast<unsigned char *>(data);
    if (number == _IOC_NR(EVIOCGNAME(0)))
        return static_cast<int>(std::strlen(std::strncpy(static_cast<char *>(data), "Pad", size - 1)));
    if (number == _IOC_NR(EVIOCGBIT(0, 0)))
        for (const unsigned type : {EV_SYN, EV_KEY, EV_ABS})
            set_bit(bits, size, type);
    if (number == _IOC_NR(EVIOCGBIT(EV_KEY, 0)))
        for (const unsigned key : {BTN_SOUTH, BTN_NORTH, BTN_TL, BTN_TR})
            set_bit(bits, size, key);
    if (number == _IOC_NR(EVIOCGBIT(EV_ABS, 0)))
        for (const unsigned axis : {ABS_X, ABS_Y, ABS_RZ})
            set_bit(bits, size, axis);
    if (number >= _IOC_NR(EVIOCGABS(0)) && number < _IOC_NR(EVIOCGABS(ABS_CNT)) && size >= sizeof(input_absinfo)) {
        const input_absinfo range{0, -1000, 1000, 0, 0, 0};
        std::memcpy(data, &range, sizeof range);
    }
    return 0;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int ioctl(int descriptor, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void *data = va_arg(arguments, void *);
    va_end(arguments);
    if (_IOC_TYPE(request) == 'E' && (_IOC_DIR(request) & _IOC_READ) != 0)
        return answer(_IOC_NR(request), data, _IOC_SIZE(request));
    static const auto real = reinterpret_cast<int (*)(int, unsigned long, ...)>(dlsym(RTLD_NEXT, "ioctl"));
    return real(descriptor, request, data);
}
