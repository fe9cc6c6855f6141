// The audio input: opened and configured once the camera block is up, so that others find it ready. No sample is read.
#pragma once

// Opens the capture device "audiosource0" for 48000 Hz, signed 32 bits, interleaved. What fails is logged and changes
// nothing else; a device that was opened stays open whatever its configuration came to. One device for the process:
// while it is open, opening it again is reported as busy.
void ptz_driver_canon_audio_init();

// Closes the device if it is open.
void ptz_driver_canon_audio_close();
