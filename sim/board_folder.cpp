#include "sim/board_folder.h"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace sim {
namespace {

namespace fs = std::filesystem;

std::string reason()
{
    return std::strerror(errno);
}

const char *boolean(bool value)
{
    return value ? "true" : "false";
}

std::string driver_conf(const CameraOptions &camera)
{
    std::string text = "# Hardware of the simulated camera board. Lines are given by name; a number works too.\n"
                       "[KRX_DRIVER]\n"
                       "PowerPin=cam_power\n"
                       "PowerPinsActiveLow=";
    text += boolean(camera.power_active_low);
    text += "\nPowerGoodPin=cam_power_good\n"
            "ResetPin=cam_reset\n"
            "ResetPCIePin=cam_reset_pcie\n"
            "ResetPinsActiveLow=";
    text += boolean(camera.resets_active_low);
    text += "\nInitDonePin=cam_init_done\n"
            "EnablePCIeClkPin=cam_pcie_clk\n"
            "FWUpgradeCompletePin=cam_fw_complete\n"
            "FpgaIsUsed=true\n"
            "FpgaResetPin=fpga_reset\n"
            "FpgaResetPinsActiveLow=";
    text += boolean(camera.fpga_reset_active_low);
    text += "\nTemperatureLowerLimit=-10\n"
            "TemperatureUpperLimit=60\n"
            "FirmwareDoUpgrade=true\n"
            "DatacacheIsUsed=true\n"
            "MaxDigitalZoom=12\n";
    return text;
}

std::string port_conf(const std::string &folder, const CameraOptions &camera)
{
    std::string text = "# Ports of the simulated camera board: 0 carries commands and status, 1 firmware.\n"
                       "[KRX_PORTS]\n"
                       "Ports=2\n"
                       "BigEndian=";
    text += boolean(camera.big_endian);
    for (int port = 0; port < 2; ++port) {
        text += "\n\n[KRX_PORT" + std::to_string(port) + "]\nDevice=" + folder + "/spi" + std::to_string(port) +
                "\nRequestPin=imc_req\nBurstLenght=1024\nTriggerMode=" + std::to_string(port);
    }
    return text + "\n";
}

constexpr char kKeptFile[] = "/block.kept";
constexpr char kBlockDefaults[] = "[KRX_camblock]\nVersion=1.00\nModel=KRX131\nCaptureMode=1080p60\n";

std::optional<std::string> write_file(const std::string &path, const std::string &text, bool overwrite)
{
    std::error_code error;
    if (!overwrite && fs::exists(path, error))
        return std::nullopt;
    // Replaced as a whole: whoever reads it, or is killed meanwhile, leaves no half of it.
    const std::string fresh = path + ".new";
    std::ofstream file(fresh, std::ios::trunc);
    file << text;
    file.close();
    if (!file || std::rename(fresh.c_str(), path.c_str()) != 0)
        return "Cannot write " + path + ": " + reason();
    return std::nullopt;
}

} // namespace

BoardFolder::~BoardFolder()
{
    close();
}

std::optional<std::string> BoardFolder::take_lock()
{
    const std::string path = path_ + "/krx-sim.lock";
    Fd lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!lock)
        return "Cannot write " + path + ": " + reason();
    if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return "Another krx-sim already runs on " + path_ + "; stop it or choose another --board folder";
    lock_ = std::move(lock);
    return std::nullopt;
}

void BoardFolder::remove_sockets() const
{
    for (const std::string &socket : {gpio_socket(), spi_socket(0), spi_socket(1)}) {
        std::error_code error;
        if (fs::is_socket(socket, error))
            fs::remove(socket, error);
    }
}

std::optional<std::string> BoardFolder::open(const std::string &path, const CameraOptions &camera, bool overwrite)
{
    std::error_code error;
    fs::create_directories(fs::path(path) / "thermal_zone0", error);
    const fs::path absolute = error ? fs::path() : fs::canonical(path, error);
    if (error)
        return "Cannot make the board folder " + path + ": " + error.message();
    path_ = absolute.string();
    if (gpio_socket().size() >= sizeof sockaddr_un{}.sun_path)
        return "The board folder's path is too long for sockets, at most 100 characters: " + path_;
    if (auto problem = take_lock())
        return problem;
    remove_sockets();
    const std::pair<std::string, std::string> files[] = {{"krx_driver.conf", driver_conf(camera)},
                                                         {"krx_port.conf", port_conf(path_, camera)},
                                                         {"block_defaults.conf", kBlockDefaults}};
    if (overwrite)
        fs::remove(path_ + kKeptFile, error);
    for (const auto &[name, text] : files) {
        if (auto problem = write_file(path_ + "/" + name, text, overwrite))
            return problem;
    }
    return std::nullopt;
}

void BoardFolder::close()
{
    if (lock_)
        remove_sockets();
    lock_.reset();
}

bool BoardFolder::write_sensor(const std::string &text) const
{
    return !write_file(sensor_file(), text, true);
}

bool BoardFolder::remove_sensor() const
{
    return unlink(sensor_file().c_str()) == 0 || errno == ENOENT;
}

bool BoardFolder::make_sensor_fifo() const
{
    return remove_sensor() && mkfifo(sensor_file().c_str(), 0644) == 0;
}

std::optional<Kept> BoardFolder::read_kept() const
{
    std::ifstream file(path_ + kKeptFile);
    std::string line;
    Kept kept;
    std::getline(file, line);
    if (std::sscanf(line.c_str(), "firmware=%" SCNx32 " sensor-frequency=%" SCNu32, &kept.firmware,
                    &kept.sensor_frequency) != 2)
        return std::nullopt;
    return kept;
}

bool BoardFolder::write_kept(const Kept &kept) const
{
    std::array<char, 80> line{};
    std::snprintf(line.data(), line.size(), "firmware=%08" PRIx32 " sensor-frequency=%" PRIu32 "\n", kept.firmware,
                  kept.sensor_frequency);
    return !path_.empty() && !write_file(path_ + kKeptFile, line.data(), true);
}

} // namespace sim
