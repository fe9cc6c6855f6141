#include "tests/support/fake_hardware.h"

#include "spidev/seam.h"
#include "ugpio/ugpio.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <linux/spi/spidev.h>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

std::vector<std::string> FakeHardware::calls_of(std::initializer_list<std::string> operations) const
{
    std::vector<std::string> wanted;
    for (const std::string &call : calls)
        if (std::find(operations.begin(), operations.end(), call.substr(0, call.find(' '))) != operations.end())
            wanted.push_back(call);
    return wanted;
}

bool FakeHardware::fails(const std::string &call)
{
    calls.push_back(call);
    const auto found =
        std::find_if(failing.begin(), failing.end(), [&](const auto &one) { return call.starts_with(one.first); });
    if (found == failing.end())
        return false;
    errno = found->second;
    return true;
}

int open_descriptors()
{
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

struct ugpio {
    std::string key;
};

static FakeHardware *const &hardware = FakeHardware::current;

// For "request" and "drive" with the label and the level, if any, in `rest`.
static ugpio *new_handle(const char *operation, const std::string &key, const std::string &rest = "")
{
    if (hardware->fails(std::string(operation) + " " + key + rest))
        return nullptr;
    ++hardware->live_handles;
    return new ugpio{key};
}

static int message(const spi_ioc_transfer &burst)
{
    FakeHardware &fake = *hardware;
    if (fake.fails("message " + std::to_string(burst.len)))
        return -1;
    fake.transfer = {burst.speed_hz, burst.delay_usecs, burst.bits_per_word, burst.cs_change, burst.word_delay_usecs};
    const auto *out = reinterpret_cast<const std::uint8_t *>(burst.tx_buf);
    const FakeHardware::Bytes sent(out, out + burst.len);
    FakeHardware::Bytes reply;
    if (fake.partner) {
        reply = fake.partner(sent);
    } else {
        fake.sent.push_back(sent);
        fake.replies.resize(std::max<std::size_t>(fake.replies.size(), 1));
        reply = std::move(fake.replies.front());
        fake.replies.pop_front();
    }
    reply.resize(burst.len, 0xEE);
    std::memcpy(reinterpret_cast<void *>(burst.rx_buf), reply.data(), burst.len);
    return static_cast<int>(burst.len);
}

ugpio *ugpio_request(int number, const char *label)
{
    return new_handle("request", std::to_string(number), label != nullptr ? std::string("/") + label : "");
}

ugpio *ugpio_request_named(const char *name)
{
    return new_handle("request", name);
}

ugpio *ugpio_request_one(int number, unsigned flags, const char *label)
{
    return ugpio_request_one_named((std::to_string(number) + (label != nullptr ? label : "")).c_str(), flags);
}

ugpio *ugpio_request_one_named(const char *name, unsigned flags)
{
    return new_handle("drive", name, flags == 0 ? " low" : flags == 2 ? " high" : " ?");
}

int ugpio_full_open(ugpio *line)
{
    return hardware->result("open " + line->key);
}

int ugpio_get_value(ugpio *line)
{
    if (hardware->fails("value " + line->key))
        return -1;
    FakeHardware::Line &state = hardware->lines[line->key];
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
    return hardware->result("edge " + line->key + " " + std::to_string(flags));
}

int ugpio_fd(ugpio *line)
{
    return hardware->fails("fd " + line->key) ? -1 : open("/dev/null", O_RDONLY);
}

int ugpio_close(ugpio *line)
{
    const int done = hardware->result("close " + line->key);
    if (hardware->on_close)
        hardware->on_close();
    errno = EBADMSG; // what a careless caller would report instead of the failure before
    return done;
}

void ugpio_free(ugpio *line)
{
    hardware->fails("free " + line->key);
    --hardware->live_handles;
    delete line;
    errno = EBADMSG;
}

static int open_text(const std::string &text)
{
    if (text.empty())
        return errno = ENOENT, -1;
    const int fd = memfd_create("text", MFD_CLOEXEC);
    return pwrite(fd, text.data(), text.size(), 0) < 0 ? -1 : fd;
}

// Every device is a fake one while there is fake hardware.
bool spidev_seam_open(const char *path, int flags, int *fd)
{
    if (hardware != nullptr && std::string_view(path) == "/sys/module/spidev/parameters/bufsiz")
        return *fd = open_text(hardware->bufsiz), true;
    if (hardware == nullptr || !std::string_view(path).starts_with("/dev/spidev"))
        return false;
    *fd = hardware->fails(std::string("spi-open ") + path) ? -1 : open("/dev/null", flags | hardware->device_flags);
    return true;
}

static int device_request(unsigned long request, void *arg)
{
    if (request == SPI_IOC_MESSAGE(1))
        return message(*static_cast<const spi_ioc_transfer *>(arg));
    FakeHardware &fake = *hardware;
    const std::map<unsigned long, std::pair<std::string, std::uint32_t *>> settings = {
        {SPI_IOC_WR_MODE32, {"wr-mode ", nullptr}},        {SPI_IOC_RD_MODE32, {"rd-mode", &fake.mode}},
        {SPI_IOC_WR_BITS_PER_WORD, {"wr-bits ", nullptr}}, {SPI_IOC_RD_BITS_PER_WORD, {"rd-bits", &fake.bits}},
        {SPI_IOC_WR_MAX_SPEED_HZ, {"wr-speed ", nullptr}}, {SPI_IOC_RD_MAX_SPEED_HZ, {"rd-speed", &fake.speed}}};
    auto [call, read_back] = settings.at(request);
    auto *byte = static_cast<std::uint8_t *>(arg);
    auto *word = static_cast<std::uint32_t *>(arg);
    const bool is_byte = _IOC_SIZE(request) == 1;
    if (read_back == nullptr)
        call += std::to_string(is_byte ? *byte : *word);
    if (fake.fails(call))
        return -1;
    if (read_back != nullptr && is_byte)
        *byte = static_cast<std::uint8_t>(*read_back);
    else if (read_back != nullptr)
        *word = *read_back;
    return 0;
}

bool spidev_seam_ioctl(int, unsigned long request, void *arg, int *result)
{
    if (hardware == nullptr)
        return false;
    *result = device_request(request, arg);
    return true;
}
