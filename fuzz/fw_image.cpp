// Any image file: its version as the simulator reads it, and every byte of it through a transfer whose answers the
// image itself decides.
#include "hw/fw_file.h"

#include "fuzz/bench.h"
#include "fuzz/target.h"
#include "hw/fw_upgrade.h"
#include "port/settings.h"
#include "sim/image.h"
#include "tests/support/fake_hardware.h"

namespace {

struct Bench : FuzzBench {
    Bench()
    {
        write_file("krx_port.conf", "[KRX_PORTS]\nPorts=2\n[KRX_PORT1]\nDevice=/dev/spidev2.0\nRequestPin=imc_req\n");
        port_transfer_settings = {};
        hardware.lines["imc_req"].level = 1;
        hardware.partner = [this](const Bytes &frame) { return answer(frame); };
    }

    // Keeps the chunks that it takes; refuses those for which the image says so.
    Bytes answer(const Bytes &frame)
    {
        const std::size_t size = frame[0] * 256u + frame[1];
        if (size < 4 || frame[4] != 0xFF)
            return {2, 0, 0x02, 0xFF, 0xFE, 0x00};
        if (!answers.empty() && answers[++asked % answers.size()] % 8 == 7)
            return {0, 0, 0, 0};
        received.resize((frame[6] * std::size_t{256} + frame[7]) * 1016);
        received.insert(received.end(), frame.begin() + 8, frame.begin() + 4 + static_cast<long>(size));
        return {1, 0, 0xFF, 0xFF, 0x01};
    }

    FakeHardware hardware;
    fuzz::Input answers;
    std::size_t asked = 8; // behind what makes it an image
    Bytes received;
};

} // namespace

FUZZ_TARGET(fw_image)
{
    Bench bench;
    bench.answers = input;
    bench.write_file("IMC.APP", fuzz::text(input));
    const std::string path = bench.folder() + "/IMC.APP";
    HOLDS(ptz_driver_canon_fw_file_version(path.c_str()) == sim::image_version(input).value_or(0));
    const bool done = ptz_driver_canon_fw_upgrade_file(path.c_str());
    HOLDS(!done || std::equal(input.begin(), input.end(), bench.received.begin(), bench.received.end()));
    HOLDS(bench.hardware.live_handles == 0);

    for (const std::string &none : {bench.folder(), bench.folder() + "/none"}) {
        HOLDS(ptz_driver_canon_fw_file_version(none.c_str()) == 0);
        HOLDS(!ptz_driver_canon_fw_upgrade_file(none.c_str()));
    }
}
