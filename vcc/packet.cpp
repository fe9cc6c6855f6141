#include "vcc/packet.h"

#include "core/log.h"

#include <cstring>

VccPacket vcc_packet_build(const guint8 *payload, std::size_t size)
{
    if (payload == nullptr || size == 0 || size >= VCC_PACKET_PAYLOAD_MAX) {
        log_error("Failed to create the command");
        return nullptr;
    }
    VccPacket packet(static_cast<guint8 *>(g_malloc(VCC_PACKET_HEADER_SIZE + size)));
    packet.get()[0] = 0x10;
    packet.get()[1] = 0x01;
    packet.get()[2] = static_cast<guint8>(size >> 8);
    packet.get()[3] = static_cast<guint8>(size);
    std::memcpy(packet.get() + VCC_PACKET_HEADER_SIZE, payload, size);
    return packet;
}

std::size_t vcc_packet_size(const guint8 *packet)
{
    return VCC_PACKET_HEADER_SIZE + (static_cast<std::size_t>(packet[2]) << 8 | packet[3]);
}
