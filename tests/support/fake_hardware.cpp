#include "tests/support/fake_hardware.h"

#include "spidev/spidev_link.h"
#include "ugpio/ugpio.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <linux/spi/spidev.h>
#include <utility>

FakeHardware *FakeHardware::current = nullptr;

FakeHardware::FakeHardware()
{
    if (std::exchange(current, this) != nullptr)
        std::abort();
}

FakeHardware::~FakeHardware()
{
    current = nullptr;
}

std::vector<std::string> FakeHardware::calls_of(std::initializer_list<std::string> operations) const
{
    std::vector<std::string> wanted;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(wanted), [&](const std::string &call) {
        return std::any_of(operations.begin(), operations.end(),
                           [&](const std::string &operation) { return call.starts_with(operation + " "); });
    });
    return wanted;
}

bool FakeHardware::fails(const std::string &call)
{
    calls.push_back(call);
    for (const auto &[prefix, error] : failing) {
        if (call.starts_with(prefix)) {
            errno = error;
            return true;
        }
    }
    return false;
}

int open_descriptors()
{
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

struct ugpio {
    std::string key;
};

namespace {

FakeHardware &hardware()
{
    return *FakeHardware::current;
}

ugpio *new_handle(const std::string &key, const std::string &call)
{
    if (hardware().fails(call))
        return nullptr;
    ++hardware().live_handles;
    return new ugpio{key};
}

std::string with_label(const std::string &text, const char *label)
{
    return label != nullptr ? text + "/" + label : text;
}

const char *level_name(unsigned flags)
{
    return flags == 0 ? " low" : flags == 2 ? " high" : " ?";
}

int result(const std::string &call)
{
    return hardware().fails(call) ? -1 : 0;
}

template <typename T>
int written(const char *call, const void *arg)
{
    return result(call + (" " + std::to_string(*static_cast<const T *>(arg))));
}

template <typename T>
int read_back(const char *call, std::uint32_t value, void *arg)
{
    if (hardware().fails(call))
        return -1;
    *static_cast<T *>(arg) = static_cast<T>(value);
    return 0;
}

int message(const spi_ioc_transfer &burst)
{
    FakeHardware &fake = hardware();
    if (fake.fails("message " + std::to_string(burst.len)))
        return -1;
    fake.transfer = "speed " + std::to_string(burst.speed_hz) + " delay " + std::to_string(burst.delay_usecs) +
                    " bits " + std::to_string(burst.bits_per_word) + " cs " + std::to_string(burst.cs_change) + " tx " +
                    std::to_string(burst.tx_nbits) + " rx " + std::to_string(burst.rx_nbits) + " word " +
                    std::to_string(burst.word_delay_usecs);
    const auto *out = reinterpret_cast<const std::uint8_t *>(burst.tx_buf);
    fake.sent.emplace_back(out, out + burst.len);
    FakeHardware::Bytes reply;
    if (!fake.replies.empty()) {
        reply = fake.replies.front();
        fake.replies.pop_front();
    }
    reply.resize(burst.len, 0xEE);
    std::memcpy(reinterpret_cast<void *>(burst.rx_buf), reply.data(), burst.len);
    return static_cast<int>(burst.len);
}

} // namespace

ugpio *ugpio_request(int number, const char *label)
{
    const std::string key = std::to_string(number);
    return new_handle(key, "request " + with_label(key, label));
}

ugpio *ugpio_request_named(const char *name)
{
    return new_handle(name, std::string("request ") + name);
}

ugpio *ugpio_request_one(int number, unsigned flags, const char *label)
{
    const std::string key = std::to_string(number);
    return new_handle(key, "drive " + with_label(key, label) + level_name(flags));
}

ugpio *ugpio_request_one_named(const char *name, unsigned flags)
{
    return new_handle(name, std::string("drive ") + name + level_name(flags));
}

int ugpio_full_open(ugpio *line)
{
    return result("open " + line->key);
}

int ugpio_get_value(ugpio *line)
{
    if (hardware().fails("value " + line->key))
        return -1;
    FakeHardware::Line &state = hardware().lines[line->key];
    if (state.script.empty())
        return state.level;
    const int level = state.script.front();
    state.script.pop_front();
    if (level < 0)
        errno = EIO;
    return level;
}

int ugpio_set_edge(ugpio *line, unsigned flags)
{
    return result("edge " + line->key + " " + std::to_string(flags));
}

int ugpio_fd(ugpio *line)
{
    return hardware().fails("fd " + line->key) ? -1 : open("/dev/null", O_RDONLY);
}

int ugpio_close(ugpio *line)
{
    const int done = result("close " + line->key);
    if (hardware().on_close)
        hardware().on_close();
    errno = EBADMSG; // what a careless caller would report instead of the failure before
    return done;
}

void ugpio_free(ugpio *line)
{
    hardware().fails("free " + line->key);
    --hardware().live_handles;
    delete line;
    errno = EBADMSG;
}

int spidev_open(const char *path, int flags)
{
    FakeHardware &fake = hardware();
    fake.opened_flags = flags;
    if (fake.fails(std::string("spi-open ") + path))
        return -1;
    return fake.device != nullptr ? open(fake.device, flags | fake.device_flags) : 900;
}

int spidev_ioctl(int, unsigned long request, void *arg)
{
    const FakeHardware &fake = hardware();
    switch (request) {
    case SPI_IOC_WR_MODE32:
        return written<std::uint32_t>("wr-mode", arg);
    case SPI_IOC_RD_MODE32:
        return read_back<std::uint32_t>("rd-mode", fake.mode, arg);
    case SPI_IOC_WR_BITS_PER_WORD:
        return written<std::uint8_t>("wr-bits", arg);
    case SPI_IOC_RD_BITS_PER_WORD:
        return read_back<std::uint8_t>("rd-bits", fake.bits, arg);
    case SPI_IOC_WR_MAX_SPEED_HZ:
        return written<std::uint32_t>("wr-speed", arg);
    case SPI_IOC_RD_MAX_SPEED_HZ:
        return read_back<std::uint32_t>("rd-speed", fake.speed, arg);
    case SPI_IOC_MESSAGE(1):
        return message(*static_cast<const spi_ioc_transfer *>(arg));
    default:
        errno = ENOTTY;
        return -1;
    }
}
