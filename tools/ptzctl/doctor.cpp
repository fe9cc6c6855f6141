#include "doctor.h"

#include "failure.h"
#include "json.h"
#include "sim/image.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <grp.h>
#include <iterator>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr double kPatience = 5;                        // seconds, of a call
constexpr std::uintmax_t kSettingsBytes = 1024 * 1024; // that a folder should have free
constexpr double kBurstLongest = 1920;
constexpr char kGroup[] = "ptz";

std::string variable(const char *name, const char *otherwise)
{
    const char *value = g_getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

std::string reason()
{
    return std::strerror(errno);
}

std::string first_line(const std::string &path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

// The ports of the configuration: value of a key in each, texts.
std::vector<std::string> of_ports(const std::string &folder, const char *key)
{
    const GKeyFileOwned file(g_key_file_new());
    std::vector<std::string> values;
    if (g_key_file_load_from_file(file.get(), (folder + "/krx_port.conf").c_str(), G_KEY_FILE_NONE, nullptr) == FALSE)
        return values;
    const GTexts groups(g_key_file_get_groups(file.get(), nullptr));
    for (char **group = groups.get(); *group != nullptr; ++group)
        if (const GText value(g_key_file_get_string(file.get(), *group, key, nullptr)); value != nullptr)
            values.emplace_back(value.get());
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

bool member_of(const char *name)
{
    const group *entry = getgrnam(name);
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, getgroups(0, nullptr))));
    if (entry == nullptr || getgroups(static_cast<int>(groups.size()), groups.data()) < 0)
        return false;
    groups.push_back(getegid());
    return std::find(groups.begin(), groups.end(), entry->gr_gid) != groups.end();
}

} // namespace

Doctor::Doctor(std::string ptzd)
    : ptzd_(std::move(ptzd)), board_(variable("PTZ_BOARD", "")), config_(variable("PTZ_DATA_DIR", "/usr/share/ptz"))
{
}

std::vector<Finding> Doctor::examine()
{
    look_at_configuration();
    look_at_devices();
    look_at_spidev_buffer();
    look_at_groups();
    look_at_settings();
    look_at_firmware();
    look_at_bus();
    look_at_image_services();
    look_at_camera();
    return findings_;
}

// Both files, the lines and the devices that they name, as the driver sees them.
void Doctor::look_at_configuration()
{
    constexpr char kSubject[] = "configuration";
    const char *const command[] = {ptzd_.c_str(), "--check", nullptr};
    GErrorSlot error;
    char *output = nullptr;
    int status = 0;
    const gboolean ran = g_spawn_sync(nullptr, const_cast<char **>(command), nullptr, G_SPAWN_STDERR_TO_DEV_NULL,
                                      nullptr, nullptr, &output, nullptr, &status, error);
    const GText text(output);
    if (ran == FALSE) {
        warning(kSubject, std::string("it was not checked: ") + error->message, "install the package ptzd");
        return;
    }
    const GTexts lines(g_strsplit(text.get(), "\n", -1));
    bool wrong = false;
    for (char **line = lines.get(); *line != nullptr; ++line) {
        if (**line == '\0')
            continue;
        wrong = true;
        const bool serious = std::strstr(*line, ": error: ") != nullptr;
        findings_.push_back({kSubject, serious ? Health::fault : Health::warning, *line,
                             "correct it; man krx_driver.conf and krx_port.conf name every key"});
    }
    if (!wrong && status != 0)
        fault(kSubject, "the driver could not be loaded to check it", "run " + ptzd_ + " --check");
    else if (!wrong)
        ok(kSubject, "nothing is wrong in " + config_ + "/krx_driver.conf and krx_port.conf");
}

void Doctor::look_at_devices()
{
    constexpr char kSubject[] = "devices";
    for (const std::string &device : of_ports(config_, "Device")) {
        struct stat entry {};
        if (stat(device.c_str(), &entry) != 0) {
            fault(kSubject, device + ": " + reason(),
                  board_.empty() ? "enable the SPI device in the board's device tree and load spidev"
                                 : "start krx-sim --board " + board_);
        } else if (access(device.c_str(), R_OK | W_OK) == 0) {
            ok(kSubject, device + " can be read and written");
        } else {
            const group *owner = getgrgid(entry.st_gid);
            const bool for_group = owner != nullptr && std::strcmp(owner->gr_name, kGroup) == 0;
            if (for_group && (entry.st_mode & 060) == 060)
                ok(kSubject, device + " belongs to the group " + kGroup + ", which ptzd is in");
            else
                warning(kSubject, device + ": " + reason(),
                        "give it to the group ptz; the package has udev rules for that");
        }
    }
}

void Doctor::look_at_spidev_buffer()
{
    constexpr char kSubject[] = "SPI buffer";
    if (!board_.empty())
        return;
    double longest = 0;
    for (const std::string &length : of_ports(config_, "BurstLenght"))
        longest = std::max(longest, std::min(g_ascii_strtod(length.c_str(), nullptr), kBurstLongest));
    longest = longest > 0 ? longest : 1024;
    const std::string size = first_line("/sys/module/spidev/parameters/bufsiz");
    if (size.empty())
        warning(kSubject, "the module spidev is not loaded, or does not tell its buffer's size", "modprobe spidev");
    else if (g_ascii_strtod(size.c_str(), nullptr) < longest)
        fault(kSubject,
              "spidev takes " + size + " bytes at a time, a burst has " + std::to_string(std::lround(longest)),
              "write 'options spidev bufsiz=4096' into /etc/modprobe.d/spidev.conf and load spidev again");
    else
        ok(kSubject, "spidev takes " + size + " bytes at a time, enough for a burst");
}

void Doctor::look_at_groups()
{
    constexpr char kSubject[] = "rights";
    const bool root = geteuid() == 0;
    if (root)
        ok(kSubject, "root may do everything");
    else if (member_of("ptz-admin"))
        ok(kSubject, "you are in the group ptz-admin");
    else if (member_of(kGroup))
        ok(kSubject, "you are in the group ptz: you may move and set the camera");
    else if (getgrnam(kGroup) == nullptr)
        warning(kSubject, "there is no group ptz", "install the package ptzd");
    else
        warning(kSubject, "you are not in the group ptz: you may only look",
                "sudo adduser " + std::string(g_get_user_name()) + " ptz, and log in again");
}

void Doctor::look_at_settings()
{
    constexpr char kSubject[] = "settings";
    const std::string folder = variable("STATE_DIRECTORY", board_.empty() ? "/var/lib/ptz" : board_.c_str());
    struct statvfs disk {};
    if (statvfs(folder.c_str(), &disk) != 0)
        warning(kSubject, folder + ": " + reason(), "start ptzd by its unit, which makes that folder");
    else if ((disk.f_flag & ST_RDONLY) != 0)
        fault(kSubject, folder + " can only be read", "mount it writable: what is set is lost at the next start");
    else if (static_cast<std::uintmax_t>(disk.f_bavail) * disk.f_frsize < kSettingsBytes)
        fault(kSubject, folder + " is full", "make room: what is set is lost at the next start");
    else
        ok(kSubject, "there is room for them in " + folder);
}

void Doctor::look_at_firmware()
{
    constexpr char kSubject[] = "firmware file";
    const std::string path = config_ + "/IMC.APP";
    if (access(path.c_str(), F_OK) != 0) {
        ok(kSubject, "there is none: the camera keeps what it has");
        return;
    }
    std::ifstream file(path, std::ios::binary);
    std::vector<std::uint8_t> head(sim::kImageHeader);
    file.read(reinterpret_cast<char *>(head.data()), static_cast<std::streamsize>(head.size()));
    const bool whole = file.gcount() == static_cast<std::streamsize>(head.size());
    const auto version = whole ? sim::image_version(head) : std::nullopt;
    if (!version) {
        warning(kSubject, path + " is no firmware image, or cannot be read",
                "put the right one there, or take it away");
        return;
    }
    std::array<char, 16> text{};
    g_snprintf(text.data(), text.size(), "%08x", *version);
    ok(kSubject, path + " has version " + text.data());
}

bool Doctor::owned(const char *name)
{
    const GVariantOwned reply(g_dbus_connection_call_sync(
        service_->connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
        g_variant_new("(s)", name), G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    gboolean has_owner = FALSE;
    if (reply != nullptr)
        g_variant_get(reply.get(), "(b)", &has_owner);
    return has_owner != FALSE;
}

void Doctor::look_at_bus()
{
    constexpr char kSubject[] = "bus";
    try {
        service_ = std::make_unique<Service>(kPatience);
    } catch (const Failure &failure) {
        fault(kSubject, failure.what(), "start the system bus, or name one in DBUS_SYSTEM_BUS_ADDRESS");
        return;
    }
    if (!owned(kServiceName)) {
        fault(kSubject, "nobody serves com.orna.PTZ", "systemctl start ptzd; journalctl -u ptzd says why it ended");
        return;
    }
    try {
        service_->state();
        answers_ = true;
        ok(kSubject, "ptzd answers");
    } catch (const Failure &failure) {
        fault(kSubject, failure.what(), "look for com.orna.PTZ.conf where the bus reads its policy, and at ptzd's log");
    }
}

void Doctor::look_at_image_services()
{
    static constexpr std::pair<const char *, const char *> kServices[] = {{"com.orna.ImageControl", "the capture mode"},
                                                                          {"com.orna.Streamer", "the rotation"}};
    for (const auto &[name, what] : kServices) {
        if (service_ == nullptr)
            return;
        if (owned(name))
            ok("image service", std::string(name) + " is there");
        else
            warning("image service", std::string(name) + " is not on the bus, which tells " + what,
                    "start the image pipeline before the camera");
    }
}

void Doctor::look_at_camera()
{
    if (!answers_)
        return;
    GVariantOwned status;
    try {
        status = service_->status();
    } catch (const Failure &failure) {
        fault("camera", failure.what(), "look at ptzd's log");
        return;
    }
    const auto text_of = [&](const char *key) { return lookup_text(status.get(), key); };
    gint32 state = 0;
    double degrees = 0;
    g_variant_lookup(status.get(), "state", "i", &state);
    const std::string failure = text_of("failure");
    if (state == 1)
        ok("camera", text_of("text"));
    else
        fault("camera", text_of("text") + (failure.empty() ? "" : ": " + failure),
              state == 7 ? "mend that; ptzd tries again, at once with 'ptzctl special reset'"
                         : "wait, or look at ptzd's log");
    if (text_of("link") == "up")
        ok("link", "the request line is alive, and the camera block answers");
    else if (state == 1)
        fault("link", "the camera block does not answer", "look at its power, the request line and the SPI wiring");
    if (const std::string problem = text_of("temperature-problem"); !problem.empty())
        warning("temperature", problem, "look at TemperatureSensor in krx_driver.conf and /sys/class/thermal");
    else if (g_variant_lookup(status.get(), "temperature", "d", &degrees) != FALSE)
        ok("temperature", std::to_string(std::lround(degrees)) + " degrees");
}
