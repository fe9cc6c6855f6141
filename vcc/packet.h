// VCC packets: what is handed to the port as one piece.
//
//   10 01 | payload length, 16 bits, most significant byte first | payload: command records laid end to end
//
// The port puts its own frame around a packet and takes it off again; nothing of the frame is known here.
#pragma once

#include "glib_owned.h"

#include <cstddef>

inline constexpr std::size_t VCC_PACKET_HEADER_SIZE = 4;
// A payload, and a whole packet on its way to the port, must stay below this many bytes.
inline constexpr std::size_t VCC_PACKET_PAYLOAD_MAX = 1016;

using VccPacket = GOwned<guint8, g_free>;

// A new packet with a copy of the `size` bytes at `payload`, 1 to 1015. Null, with an error logged, when there is no
// payload or its size is out of range.
VccPacket vcc_packet_build(const guint8 *payload, std::size_t size);

// Bytes of the whole packet, 4 to 65539, by its header.
std::size_t vcc_packet_size(const guint8 *packet);
