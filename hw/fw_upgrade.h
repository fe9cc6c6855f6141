// The transfer of a firmware image into the camera block.
//
// It runs on port 1, which exists only for its duration and is given up on every return. It blocks for at least seven
// seconds, and leaves that port's burst length and trigger mode in force until another port is opened or changed. What
// surrounds it - when to upgrade, waiting for completion, booting again - is start-up's.
#pragma once

#include <cstddef>
#include <glib.h>

// The longest image, in bytes: 32767 chunks.
inline constexpr std::size_t FW_IMAGE_MAX = 33291272;

// Transfers an image of `length` bytes, which stays the caller's. False after a message that says where it failed; the
// camera block may then hold part of the image. A longer image than FW_IMAGE_MAX is refused before anything is sent.
bool ptz_driver_canon_fw_upgrade(const guint8 *image, std::size_t length);
