#include "firmware_image.h"

#include "failure.h"
#include "glib_owned.h"

#include "sim/image.h"

#include <glib/gstdio.h>
#include <span>
#include <sys/stat.h>

namespace {

constexpr goffset kMostBytes = 33'291'272; // 32767 chunks of 1016 bytes, as a camera block counts them

Failure unreadable(const std::string &path, const std::string &why)
{
    return {EXIT_REFUSED, "Image", "cannot read '" + printable(path) + "': " + printable(why)};
}

// What stands in a file's place may be a pipe, which would never end.
std::string read_file(const std::string &path)
{
    GStatBuf status{};
    if (g_stat(path.c_str(), &status) != 0)
        throw unreadable(path, g_strerror(errno));
    if (!S_ISREG(status.st_mode))
        throw unreadable(path, "it is no file");
    if (status.st_size > kMostBytes)
        throw unreadable(path, "a camera block takes no image of " + std::to_string(status.st_size) +
                                   " bytes, the most is " + std::to_string(kMostBytes));
    GErrorSlot error;
    char *text = nullptr;
    gsize size = 0;
    if (g_file_get_contents(path.c_str(), &text, &size, error) == FALSE)
        throw unreadable(path, error->message);
    const GText owned(text);
    return {text, size};
}

} // namespace

std::string version_text(unsigned version)
{
    const GText text(g_strdup_printf("%08x", version));
    return text.get();
}

FirmwareImage read_image(const std::string &path)
{
    std::string bytes = read_file(path);
    const auto version = sim::image_version({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()});
    if (!version)
        throw Failure(EXIT_REFUSED, "Image",
                      "'" + printable(path) + "' is no firmware image (" + std::to_string(bytes.size()) + " bytes)");
    return {std::move(bytes), version_text(*version)};
}

bool holds_image(const std::string &path, const FirmwareImage &image)
{
    try {
        return read_file(path) == image.bytes;
    } catch (const Failure &) {
        return false;
    }
}

void install_image(const std::string &path, const FirmwareImage &image)
{
    GErrorSlot error;
    constexpr auto kWhole =
        static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
    if (g_file_set_contents_full(path.c_str(), image.bytes.data(), static_cast<gssize>(image.bytes.size()), kWhole,
                                 0644, error) != FALSE)
        return;
    const bool denied = g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_ACCES) != FALSE ||
                        g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_ROFS) != FALSE;
    throw Failure(EXIT_REFUSED, "Install",
                  "cannot put the image in its place: " + printable(error->message) +
                      (denied ? "; do it as root (sudo)" : ""));
}
