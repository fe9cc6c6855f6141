// Firmware images as files: whether they are any, and their way to where the driver looks for one.
#pragma once

#include <cstddef>
#include <string>

// 8 hexadecimal digits.
std::string version_text(unsigned version);

struct FirmwareImage {
    std::string bytes;
    std::string version; // as version_text() has it
};

// Reads the image at `path`. Throws Failure when it cannot be read, is no firmware image, or is longer than a camera
// block takes.
FirmwareImage read_image(const std::string &path);

// Whether the file at `path` holds exactly that image.
bool holds_image(const std::string &path, const FirmwareImage &image);

// Puts it there as a whole: whoever looks finds the former one or this one, also after a loss of power. Throws Failure,
// and the former one is still there, when that cannot be done.
void install_image(const std::string &path, const FirmwareImage &image);
