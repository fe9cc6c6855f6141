#include "driver/audio.h"

#include "core/log.h"

#include <alsa/asoundlib.h>

#include <cerrno>
#include <utility>

namespace {

constexpr const char *DEVICE = "audiosource0";
constexpr unsigned RATE_HZ = 48000;

snd_pcm_t *audio_capture_handle = nullptr;

// As much of the wanted configuration as the device has.
void configure(snd_pcm_t *device)
{
    snd_pcm_hw_params_t *params = nullptr;
    snd_pcm_hw_params_alloca(&params);
    if (snd_pcm_hw_params_any(device, params) < 0)
        log_error("Broken configuration for this PCM: no configurations available");
    if (snd_pcm_hw_params_set_access(device, params, SND_PCM_ACCESS_RW_INTERLEAVED) < 0)
        log_error("Access type not available");
    if (snd_pcm_hw_params_set_format(device, params, SND_PCM_FORMAT_S32_LE) < 0)
        log_error("Sample format not available");
    unsigned rate_hz = RATE_HZ;
    snd_pcm_hw_params_set_rate_near(device, params, &rate_hz, nullptr);
    if (const int error = snd_pcm_hw_params(device, params); error < 0)
        log_error("Unable to set hw params: %s", snd_strerror(error));
}

} // namespace

void ptz_driver_canon_audio_init()
{
    snd_pcm_t *device = nullptr;
    const int error = audio_capture_handle != nullptr
                          ? -EBUSY
                          : snd_pcm_open(&device, DEVICE, SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK);
    if (error == -EBUSY) {
        log_info("Unable to open pcm device, it is already open");
        return;
    }
    if (error < 0) {
        log_error("Unable to open pcm device: %s", snd_strerror(error));
        return;
    }
    audio_capture_handle = device;
    configure(device);
}

void ptz_driver_canon_audio_close()
{
    if (snd_pcm_t *device = std::exchange(audio_capture_handle, nullptr))
        snd_pcm_close(device);
}
