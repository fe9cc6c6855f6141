#include "tests/support/driver_fixture.h"

#include "driver/ptz_driver_canon_type.h"
#include "port/ptz_port_canon_config.h"
#include "tests/support/bus_fake.h"
#include "vcc/vccif_status.h"

#include <filesystem>
#include <fstream>

std::vector<std::string> PortBench::take_payloads()
{
    for (std::string &packet : packets)
        packet.erase(0, 12); // the header: four bytes of three characters
    return std::exchange(packets, {});
}

StatusRun::Block StatusRun::make(std::uint8_t tag, std::size_t size)
{
    Bytes bytes{tag, 0, static_cast<std::uint8_t>((size - 4) >> 8), static_cast<std::uint8_t>(size - 4)};
    bytes.resize(size);
    return {tag, bytes};
}

StatusRun &StatusRun::set(std::uint8_t tag, unsigned offset, unsigned size, std::int64_t value)
{
    for (Block &block : blocks_)
        if (block.tag == tag)
            for (unsigned i = 0; i < size; ++i)
                block.bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
    return *this;
}

Bytes StatusRun::bytes() const
{
    Bytes run;
    for (const Block &block : blocks_)
        run.insert(run.end(), block.bytes.begin(), block.bytes.end());
    return run;
}

DriverBench::DriverBench()
{
    char name[] = "/tmp/ptz-bench-XXXXXX";
    folder_ = g_mkdtemp(name);
    g_setenv("PTZ_DATA_DIR", folder_.c_str(), TRUE);
    framework() = FrameworkBench{};
    bus() = BusBench{};
    ptz_port_canon_forget_config();
    vccif_clear_status();
}

DriverBench::~DriverBench()
{
    drop_driver();
    g_unsetenv("PTZ_DATA_DIR");
    std::filesystem::remove_all(folder_);
}

void DriverBench::write_file(const char *name, const std::string &text) const
{
    std::ofstream(folder_ + "/" + name) << text;
}

void DriverBench::make_driver(bool initialized)
{
    fake_framework_install();
    if (!std::filesystem::exists(folder_ + "/krx_driver.conf"))
        write_file("krx_driver.conf", GOOD_CONFIG);
    driver = ptz_driver_canon_new(1, 1);
    g_clear_object(&driver->port);
    driver->port = fake_port_new(&port);
    driver->driver_initialized = initialized;
    log.take();
    framework().take();
}

void DriverBench::drop_driver()
{
    framework().drop_tasks();
    g_clear_object(&driver);
}
