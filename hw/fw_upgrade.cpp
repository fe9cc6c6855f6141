#include "hw/fw_upgrade.h"

#include "core/clock.h"
#include "core/guard.h"
#include "core/host.h"
#include "core/log.h"
#include "port/config.h"
#include "port/frame.h"
#include "port/settings.h"
#include "port/spi_port.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

namespace {

constexpr int UPGRADE_PORT = 1;
constexpr int BURST_LENGTH = 1024; // bytes

constexpr int READ_MAX = BURST_LENGTH - PORT_FRAME_HEADER; // bytes of payload in a burst
// The two further words of the framework's read operation. The SPI port looks at neither.
constexpr int READ_WORD_A = 0, READ_WORD_B = 45000;
constexpr int FLUSH_READS = 3;

constexpr std::int64_t SECOND_US = 1000000;
constexpr int READY_ATTEMPTS = 5;

constexpr std::size_t CHUNK_SIZE = 1016;
static_assert(FW_IMAGE_MAX / CHUNK_SIZE == 32767); // a chunk's index is a signed 16-bit number
constexpr int REWIND_CHUNKS = 5;
constexpr int FAILURES_MAX = 1000; // of the whole image

constexpr guint8 START[] = {0x10, 0x01, 0x00, 0x0C, 0x0B, 0x02, 0x08, 0x11, 0xAA, 0x55, 0xAA, 0x55};
constexpr guint8 READY_QUERY[] = {0xFF, 0x01};
constexpr guint8 READY_REPLY[] = {0xFE, 0x00};
constexpr guint8 CHUNK[] = {0xFF, 0x02};
constexpr guint8 END[] = {0xFF, 0x03};

// `reason`: for a host.
bool upgrade_failed(const std::string &reason)
{
    host_note_transfer_failure(reason);
    log_error("Fatal error, could not upgrade camera block firmware");
    return false;
}

// One upgrade command, put together piece by piece.
class Command {
  public:
    template <std::size_t n>
    explicit Command(const guint8 (&head)[n])
    {
        add(head, n);
    }

    void add(const guint8 *bytes, std::size_t count)
    {
        std::memcpy(bytes_ + size_, bytes, count);
        size_ += count;
    }

    // The low `count` bytes of a number, most significant first.
    void add_number(guint32 number, std::size_t count)
    {
        while (count-- > 0)
            bytes_[size_++] = static_cast<guint8>(number >> (8 * count));
    }

    const guint8 *bytes() const { return bytes_; }
    int size() const { return static_cast<int>(size_); }

  private:
    guint8 bytes_[4 + CHUNK_SIZE];
    std::size_t size_ = 0;
};

// Port 1 with both its references: the one of its creation and the one of its opening.
class UpgradePort {
  public:
    UpgradePort() : port_(ptz_port_canon_new(UPGRADE_PORT)) {}
    ~UpgradePort()
    {
        if (open_)
            ptz_port_canon_close_unref(port_);
        if (port_ != nullptr)
            g_object_unref(port_);
    }
    UpgradePort(const UpgradePort &) = delete;
    UpgradePort &operator=(const UpgradePort &) = delete;

    bool open()
    {
        if (port_ == nullptr) {
            log_error("Failed to create the port");
            return false;
        }
        open_ = ptz_port_canon_open_ref(port_);
        if (!open_)
            log_error("Failed to open the port");
        return open_;
    }

    int burst_length() const
    {
        int length = 0;
        g_object_get(port_, "burst_len", &length, nullptr);
        return length;
    }

    void set_transfer(int burst_length, PortTriggerMode trigger_mode)
    {
        ptz_port_canon_set_transfer(port_, burst_length, trigger_mode);
    }

    int read(guint8 *bytes, int size) { return ptz_port_canon_read_data(port_, bytes, size, READ_WORD_A, READ_WORD_B); }

    bool write(const Command &command)
    {
        return ptz_port_canon_write_data(port_, command.bytes(), command.size(), 0, 0) > 0;
    }

  private:
    PTZPort *const port_;
    bool open_ = false;
};

// Takes away what the camera block still has to say.
bool flush(UpgradePort &port)
{
    guint8 ignored[READ_MAX];
    for (int i = 0; i < FLUSH_READS; ++i) {
        if (port.read(ignored, READ_MAX) < 0) {
            log_error("Fatal error, could not reflesh the port");
            return false;
        }
    }
    return true;
}

// Announces an image of `length` bytes. Whether the camera block has understood shows at the ready query.
void announce(UpgradePort &port, std::size_t length)
{
    Command start(START);
    start.add_number(static_cast<guint32>(length), 4);
    port.write(start);
    clock_sleep_us(SECOND_US);
    port.set_transfer(BURST_LENGTH, PORT_TRIGGER_POLL_LEVEL);
    guint8 ignored[READ_MAX];
    port.read(ignored, READ_MAX);
    clock_sleep_us(3 * SECOND_US);
}

bool wait_ready(UpgradePort &port)
{
    for (int attempt = 0; attempt < READY_ATTEMPTS && !clock_cancelled(); ++attempt) {
        clock_sleep_us(SECOND_US);
        port.write(Command(READY_QUERY));
        clock_sleep_us(SECOND_US);
        guint8 reply[sizeof READY_REPLY];
        if (port.read(reply, sizeof reply) >= int{sizeof reply} && std::equal(reply, std::end(reply), READY_REPLY))
            return true;
    }
    log_error("Fatal error, could not start camera block firmware upgrading");
    return false;
}

void report_retries(int failures)
{
    log_warning("Firmware upload retry count: %d", failures);
}

bool send_chunk(UpgradePort &port, const guint8 *image, std::size_t length, int index)
{
    const std::size_t start = static_cast<std::size_t>(index) * CHUNK_SIZE;
    Command chunk(CHUNK);
    chunk.add_number(static_cast<guint32>(index), 2);
    chunk.add(image + start, std::min(CHUNK_SIZE, length - start));
    return port.write(chunk);
}

// Sends all chunks. A chunk that does not get through may have taken earlier ones with it: some of them go again.
bool send_image(UpgradePort &port, const guint8 *image, std::size_t length, int *failures)
{
    const int count = static_cast<int>((length + CHUNK_SIZE - 1) / CHUNK_SIZE);
    for (int index = 0; index < count;) {
        if (!clock_cancelled() && send_chunk(port, image, length, index)) {
            host_note_chunk(index++, count);
            continue;
        }
        if (++*failures > FAILURES_MAX || clock_cancelled()) {
            log_error("Fatal error, could not transfer camera block firmware: %d/%d", index + 1, count);
            return upgrade_failed("chunk " + std::to_string(index + 1) + " of " + std::to_string(count) +
                                  " was refused too often");
        }
        index = std::max(index - REWIND_CHUNKS, 0);
    }
    return true;
}

bool transfer(UpgradePort &port, const guint8 *image, std::size_t length)
{
    port.set_transfer(port.burst_length(), PORT_TRIGGER_LEVEL_THEN_EDGE);
    port.set_transfer(BURST_LENGTH, PORT_TRIGGER_LEVEL_THEN_EDGE);
    if (!flush(port))
        return upgrade_failed("the camera block did not answer");
    announce(port, length);
    if (!wait_ready(port))
        return upgrade_failed("the camera block did not become ready");
    clock_sleep_us(SECOND_US);
    int failures = 0;
    if (!send_image(port, image, length, &failures)) {
        report_retries(failures);
        return false;
    }
    port.write(Command(END));
    log_info("Camera block firmware upgrade is complete. ");
    if (failures != 0)
        report_retries(failures);
    return true;
}

} // namespace

bool ptz_driver_canon_fw_upgrade(const guint8 *image, std::size_t length)
{
    GUARD(image != nullptr || length == 0, false);
    if (length > FW_IMAGE_MAX)
        return upgrade_failed("the image is too long");
    UpgradePort port;
    return port.open() ? transfer(port, image, length) : upgrade_failed("port 1 cannot be opened");
}
