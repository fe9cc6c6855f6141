#include "bench/virtual_camera.h"

#include "bench/camera.h"
#include "core/log.h"
#include "driver/operations.h"
#include "driver/type.h"
#include "port/config.h"
#include "port/settings.h"
#include "vcc/status.h"

#include <filesystem>

namespace {

std::string make_folder()
{
    camera_put_away(); // while the environment still names its own
    char name[] = "/tmp/ptz-bench-XXXXXX";
    const char *folder = g_mkdtemp(name);
    g_setenv("PTZ_DATA_DIR", folder, TRUE);
    g_setenv("PTZ_BOARD", folder, TRUE);
    return folder;
}

} // namespace

VirtualCamera::VirtualCamera() : folder_(make_folder()), board_({.folder = folder_, .manual_time = true})
{
    camera_use_bus();
    log_set_sink([](int, const char *) {});
    started_ = !board_.start();
    services_ = std::make_unique<sim::Bus>(board_);
    clock_.on_advance = [this](std::int64_t us) { board_.advance(us); };
    clock_.wait_slice_us = 1000;
    renew_driver();
}

VirtualCamera::~VirtualCamera()
{
    put_driver_away();
    services_.reset();
    board_.stop();
    std::filesystem::remove_all(folder_);
    log_set_sink(nullptr);
}

void VirtualCamera::renew_driver()
{
    put_driver_away();
    port_transfer_settings = {};
    ptz_port_canon_forget_config();
    vccif_clear_status();
    driver_ = ptz_driver_canon_new(1, 1);
    PTZ_DRIVER_GET_CLASS(driver_)->install_params(ptz_driver_of(driver_));
}

bool VirtualCamera::open()
{
    ptz_driver_canon_op_open(ptz_driver_of(driver_));
    return started_ && driver_->driver_initialized;
}

void VirtualCamera::forget_packets()
{
    board_.take_heard();
    board_.take_packets();
}

void VirtualCamera::put_driver_away()
{
    if (driver_ == nullptr)
        return;
    ptz_driver_canon_op_close(ptz_driver_of(driver_));
    g_clear_object(&driver_);
}
