// A driver made with any configuration: the text is krx_driver.conf and block_defaults.conf at once.
#include "driver/config.h"
#include "fuzz/bench.h"
#include "fuzz/target.h"
#include "utils/capabilities.h"
#include "vcc/models.h"

namespace {

struct Bench : FuzzBench {
    explicit Bench(const std::string &text)
    {
        write_file("krx_driver.conf", text);
        write_file("block_defaults.conf", text);
        make_driver();
    }
};

bool is_set(const GpioLine &line)
{
    return line.name != nullptr ? line.number == -1 : line.number >= 0;
}

bool is_truth(gboolean value)
{
    return value == TRUE || value == FALSE;
}

} // namespace

FUZZ_TARGET(driver_config)
{
    Bench bench(fuzz::text(input));
    const PTZDriverCanon &got = *bench.driver;
    HOLDS(!got.config_loaded || is_set(got.reset_pin));
    HOLDS(!got.config_loaded || !got.fpga_is_used || is_set(got.fpga_reset_pin));
    for (const GpioLine *line : {&got.power_pin, &got.power_good_pin, &got.reset_pcie_pin, &got.init_done_pin,
                                 &got.enable_pcie_clk_pin, &got.fw_upgrade_complete_pin})
        HOLDS(is_set(*line) || (line->number == -1 && line->name == nullptr));
    for (const gboolean value :
         {got.power_pins_active_low, got.reset_pins_active_low, got.fpga_is_used, got.firmware_do_upgrade,
          got.audio_init, got.datacache_is_used, got.keep_stream, got.move_speed, got.dbg_status_dump})
        HOLDS(is_truth(value));
    HOLDS(got.cam_model != nullptr && (got.block_model_id == -1 || got.block_model_id == 1));
    // The numbers and texts are looked at when a client asks what the camera can.
    char **list = nullptr;
    HOLDS(ptz_driver_canon_utils_get_capabilities(bench.driver, nullptr, &list));
    const GTexts owned(list);
    HOLDS(g_strv_length(list) >= 9);
}
