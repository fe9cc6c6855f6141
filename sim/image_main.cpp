// krx-image: makes a firmware image that the camera block takes.
#include "glib_owned.h"
#include "sim/image.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>

namespace {

constexpr guint64 kMostBytes = guint64{1} << 30;

int usage_error(const std::string &message)
{
    g_printerr("krx-image: %s\nTry \"krx-image --help\".\n", message.c_str());
    return 2;
}

// A whole number, decimal or 0x..., with what follows it left in `rest`.
bool parse_number(const char *text, guint64 &value, std::string_view &rest)
{
    if (!text || !g_ascii_isdigit(*text))
        return false;
    char *end = nullptr;
    errno = 0;
    const bool hex = g_str_has_prefix(text, "0x") != FALSE;
    value = g_ascii_strtoull(text, &end, hex ? 16 : 10);
    rest = end;
    return errno == 0;
}

bool parse_version(const char *text, std::uint32_t &version)
{
    guint64 value = 0;
    std::string_view rest;
    if (!parse_number(text, value, rest) || !rest.empty() || value > 0xFFFFFFFF)
        return false;
    version = static_cast<std::uint32_t>(value);
    return true;
}

bool parse_size(const char *text, std::size_t &size)
{
    static constexpr std::array<std::pair<std::string_view, guint64>, 4> kSuffixes{
        {{"", 1}, {"KiB", 1024}, {"MiB", 1024 * 1024}, {"GiB", 1024 * 1024 * 1024}}};
    guint64 value = 0;
    std::string_view rest;
    if (!parse_number(text, value, rest))
        return false;
    for (const auto &[suffix, factor] : kSuffixes) {
        if (rest == suffix && value <= kMostBytes / factor) {
            size = static_cast<std::size_t>(value * factor);
            return size >= sim::kImageHeader;
        }
    }
    return false;
}

int write_image(const char *path, std::uint32_t version, std::size_t size)
{
    const std::vector<std::uint8_t> image = sim::make_image(version, size);
    GErrorSlot error;
    // Written aside and renamed: whoever reads the path finds a whole image.
    if (!g_file_set_contents(path, reinterpret_cast<const char *>(image.data()), static_cast<gssize>(image.size()),
                             error)) {
        g_printerr("krx-image: %s\n", error->message);
        return 1;
    }
    std::printf("%s: version %08x, %zu bytes\n", path, version, size);
    return 0;
}

// The version of an image, or without a number the program's.
struct Version {
    bool is_given = false;
    GText number;
};

gboolean on_version(const char *, const char *value, gpointer data, GError **) noexcept
{
    *static_cast<Version *>(data) = {true, GText(g_strdup(value))};
    return TRUE;
}

int run(int argc, char **argv)
{
    Version version_option;
    char *raw_size = nullptr;
    const GOptionEntry entries[] = {
        {"version", 'V', G_OPTION_FLAG_OPTIONAL_ARG, G_OPTION_ARG_CALLBACK, reinterpret_cast<gpointer>(&on_version),
         "Of the firmware; alone: that of krx-image", "NUMBER"},
        {"size", 's', 0, G_OPTION_ARG_STRING, &raw_size, "Length of the file, 128 bytes to 1GiB (4MiB)", "BYTES"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    const GOptionContextOwned context(g_option_context_new("FILE - make a firmware image for the simulated camera"));
    GOptionGroup *group = g_option_group_new("main", "", "", &version_option, nullptr);
    g_option_group_add_entries(group, entries);
    g_option_context_set_main_group(context.get(), group);
    g_option_context_set_summary(context.get(), "  krx-image --version 0x01020304 --size 4MiB /tmp/board/IMC.APP");
    g_option_context_set_description(context.get(),
                                     "A size is a number of bytes, or one with KiB, MiB or GiB behind it.\n"
                                     "Exit status: 0 made, 1 could not be written, 2 usage error.");
    GErrorSlot error;
    const bool parsed = g_option_context_parse(context.get(), &argc, &argv, error) != FALSE;
    const GText size_text(raw_size);
    if (!parsed)
        return usage_error(error->message);
    if (version_option.is_given && !version_option.number && argc == 1) {
        std::puts("krx-image " KRX_SIM_VERSION);
        return 0;
    }
    std::uint32_t version = 0;
    std::size_t size = std::size_t{4} * 1024 * 1024;
    if (argc != 2)
        return usage_error("name one FILE to write");
    if (!parse_version(version_option.number.get(), version))
        return usage_error("--version takes a number up to 0xFFFFFFFF, such as 0x01020304");
    if (raw_size && !parse_size(raw_size, size))
        return usage_error("--size takes 128 bytes to 1GiB, such as 70000, 64KiB or 4MiB");
    return write_image(argv[1], version, size);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "krx-image: %s\n", problem.what());
        return 1;
    }
}
