// The audio input on the real sound library, with devices made up of its own plug-ins.
#include "driver/ptz_driver_canon_audio.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/fake_hardware.h"

namespace {

TEST_F(DriverBench, AudioSaysWhatTheDeviceLacks)
{
    struct {
        const char *device;
        Lines messages;
        int opened;
    } const cases[] = {
        {"pcm.audiosource0 { type null }", {}, 1},
        {"pcm.audiosource0 { type mulaw slave { pcm { type null } format S16_LE } }",
         {"error: Sample format not available"},
         1},
        {"pcm.another { type null }", {"error: Unable to open pcm device: No such file or directory"}, 0},
    };
    for (const auto &c : cases) {
        const std::string file = std::to_string(&c - cases) + ".conf";
        write_file(file.c_str(), c.device);
        g_setenv("ALSA_CONFIG_PATH", (folder() + "/" + file).c_str(), TRUE);
        const int descriptors = open_descriptors();
        ptz_driver_canon_audio_init();
        EXPECT_EQ(log.take(), c.messages);
        EXPECT_EQ(open_descriptors(), descriptors + c.opened);
        if (c.opened != 0) {
            ptz_driver_canon_audio_init();
            EXPECT_EQ(log.take(), Lines{"info: Unable to open pcm device, it is already open"});
        }
        ptz_driver_canon_audio_close();
        ptz_driver_canon_audio_close();
        EXPECT_EQ(open_descriptors(), descriptors);
    }
    g_unsetenv("ALSA_CONFIG_PATH");
}

} // namespace
