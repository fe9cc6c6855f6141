#include "hw/fw_file.h"

#include "core/descriptor.h"
#include "core/host.h"
#include "core/log.h"
#include "glib_owned.h"
#include "hw/fw_upgrade.h"

#include <algorithm>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <new>
#include <sys/stat.h>

namespace {

constexpr std::size_t HEADER_SIZE = 128;
constexpr guint8 MAGIC[8] = {'1', '3', '1'};
constexpr std::size_t VERSION_OFFSET = 40;

// Not waiting: what is there may be a pipe.
int open_image(const char *path)
{
    return open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

bool unreadable()
{
    host_note_transfer_failure("the file cannot be read");
    return false;
}

} // namespace

guint32 ptz_driver_canon_fw_file_version(const char *path)
{
    const Descriptor file(open_image(path));
    if (!file) {
        log_warning("Can't open firmware file");
        return 0;
    }
    guint8 header[HEADER_SIZE];
    const std::size_t size = file.read_up_to(header, HEADER_SIZE);
    const bool whole = size == HEADER_SIZE;
    const bool ours = whole && std::equal(MAGIC, std::end(MAGIC), header);
    if (whole && !ours)
        log_warning("firmware file format error");
    if (!ours) {
        log_warning("file read len: %d", static_cast<int>(size));
        return 0;
    }
    guint32 version = 0;
    for (std::size_t i = 4; i-- > 0;)
        version = version << 8 | header[VERSION_OFFSET + i];
    return version;
}

std::string ptz_driver_canon_fw_file_id(const char *path, guint32 version)
{
    const Descriptor file(open_image(path));
    if (!file)
        return "";
    const GOwned<GChecksum, g_checksum_free> checksum(g_checksum_new(G_CHECKSUM_SHA256));
    guint8 block[65536];
    std::size_t size = 0;
    // One byte too many is enough to be refused.
    while (size <= FW_IMAGE_MAX) {
        const std::size_t count = file.read_up_to(block, sizeof block);
        g_checksum_update(checksum.get(), block, static_cast<gssize>(count));
        size += count;
        if (count < sizeof block)
            break;
    }
    char id[64];
    g_snprintf(id, sizeof id, "%08x-%zu-%.16s", version, size, g_checksum_get_string(checksum.get()));
    return id;
}

bool ptz_driver_canon_fw_upgrade_file(const char *path)
{
    const Descriptor file(open_image(path));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return unreadable();
    const auto size = static_cast<std::size_t>(status.st_size);
    // What is too long is refused for that, unread.
    const std::size_t wanted = size <= FW_IMAGE_MAX ? size : 0;
    const std::unique_ptr<guint8[]> image(new (std::nothrow) guint8[wanted]);
    if (image == nullptr || file.read_up_to(image.get(), wanted) != wanted)
        return unreadable();
    return ptz_driver_canon_fw_upgrade(image.get(), size);
}
