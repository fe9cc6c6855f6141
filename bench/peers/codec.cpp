// Numbers into bytes and back, checked: the driver's own formats, nanopb, msgpack-c and libcbor. The numbers are those
// that a status run tells the driver, and those of its largest command. Peers get them by their number in the message,
// as they do best, and check nothing but their own form; the driver's bytes come in a frame with a checksum, a status
// run with 700 bytes around it that nobody asks for.
#include "bench/peers/content.pb.h"
#include "bench/peers/contest.h"
#include "port/frame.h"
#include "vcc/command.h"
#include "vcc/packet.h"
#include "vcc/rows.h"
#include "vcc/status.h"

#include <array>
#include <cbor.h>
#include <cstring>
#include <memory>
#include <msgpack.h>
#include <pb_decode.h>
#include <pb_encode.h>
#include <span>

namespace {

using Numbers = std::span<std::uint32_t>;
using Codec = bool (*)(Numbers in, Numbers out);

// The driver

struct Field {
    guint8 tag;
    unsigned place; // of the block in the run
    unsigned offset;
    unsigned size;
};

constexpr unsigned CAMERA = 0, PAN_TILT = 528, SYSTEM = PAN_TILT + 128, REVISION = SYSTEM + 64, RUN = REVISION + 32;

constexpr Field FIELDS[] = {
    {STATUS_TAG_CAMERA, CAMERA, 28, 1},     {STATUS_TAG_CAMERA, CAMERA, 29, 1},
    {STATUS_TAG_CAMERA, CAMERA, 34, 2},     {STATUS_TAG_CAMERA, CAMERA, 79, 1},
    {STATUS_TAG_CAMERA, CAMERA, 80, 2},     {STATUS_TAG_CAMERA, CAMERA, 88, 2},
    {STATUS_TAG_CAMERA, CAMERA, 92, 2},     {STATUS_TAG_CAMERA, CAMERA, 94, 2},
    {STATUS_TAG_CAMERA, CAMERA, 103, 1},    {STATUS_TAG_CAMERA, CAMERA, 104, 1},
    {STATUS_TAG_CAMERA, CAMERA, 105, 1},    {STATUS_TAG_PAN_TILT, PAN_TILT, 4, 1},
    {STATUS_TAG_PAN_TILT, PAN_TILT, 16, 4}, {STATUS_TAG_PAN_TILT, PAN_TILT, 20, 4},
    {STATUS_TAG_PAN_TILT, PAN_TILT, 32, 4}, {STATUS_TAG_PAN_TILT, PAN_TILT, 36, 4},
    {STATUS_TAG_PAN_TILT, PAN_TILT, 48, 4}, {STATUS_TAG_PAN_TILT, PAN_TILT, 52, 4},
    {STATUS_TAG_PAN_TILT, PAN_TILT, 64, 4}, {STATUS_TAG_PAN_TILT, PAN_TILT, 68, 4},
    {STATUS_TAG_SYSTEM, SYSTEM, 28, 1},     {STATUS_TAG_SYSTEM, SYSTEM, 30, 1},
    {STATUS_TAG_SYSTEM, SYSTEM, 31, 1},     {STATUS_TAG_REVISION, REVISION, 4, 4},
};

std::array<guint8, RUN> empty_run()
{
    std::array<guint8, RUN> run{};
    const auto block = [&run](guint8 tag, unsigned place, unsigned size) {
        run[place] = tag;
        run[place + 2] = static_cast<guint8>((size - 4) >> 8);
        run[place + 3] = static_cast<guint8>(size - 4);
    };
    block(STATUS_TAG_CAMERA, CAMERA, PAN_TILT);
    block(STATUS_TAG_PAN_TILT, PAN_TILT, SYSTEM - PAN_TILT);
    block(STATUS_TAG_SYSTEM, SYSTEM, REVISION - SYSTEM);
    block(STATUS_TAG_REVISION, REVISION, RUN - REVISION);
    return run;
}

// The payload of the frame, empty when it does not check.
std::span<const guint8> checked(const PortFrame &frame)
{
    const PortFrameHeader header = ptz_port_canon_decode_header(frame, true);
    const bool good =
        header.length <= PORT_PAYLOAD_MAX && ptz_port_canon_checksum(frame.payload(), header.length) == header.checksum;
    return {frame.payload(), good ? static_cast<std::size_t>(header.length) : 0};
}

bool ours_status(Numbers in, Numbers out)
{
    static std::array<guint8, RUN> run = empty_run();
    static PortFrame frame;
    for (std::size_t i = 0; i < in.size(); ++i)
        for (unsigned byte = 0; byte < FIELDS[i].size; ++byte)
            run[FIELDS[i].place + FIELDS[i].offset + byte] =
                static_cast<guint8>(in[i] >> 8 * (FIELDS[i].size - 1 - byte));
    ptz_port_canon_encode_frame(frame, run.data(), static_cast<int>(run.size()));
    const std::span<const guint8> payload = checked(frame);
    if (!vccif_append_data(payload.data(), static_cast<unsigned>(payload.size())))
        return false;
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = vccif_get_status_value(FIELDS[i].tag, FIELDS[i].offset, FIELDS[i].size);
    return true;
}

bool ours_command(Numbers in, Numbers out)
{
    static PortFrame frame;
    CommandBuffer commands;
    commands.add(ROW_SHUTTER, in[0]);
    commands.add(ROW_IRIS_LEVEL_A, in[1]);
    commands.add(ROW_IRIS_LEVEL_B, in[2]);
    commands.add(ROW_GAIN, in[3]);
    const VccPacket packet = vcc_packet_build(commands.data(), commands.size());
    ptz_port_canon_encode_frame(frame, packet.get(), static_cast<int>(vcc_packet_size(packet.get())));
    const std::span<const guint8> payload = checked(frame);
    std::size_t number = 0;
    for (std::size_t at = VCC_PACKET_HEADER_SIZE; at + 5 <= payload.size(); at += payload[at] + 1u)
        out[number++] = payload[at + 4]; // length, three bytes that name it, the number
    return number == out.size();
}

// The peers

template <typename Message>
bool nanopb(const pb_msgdesc_t *form, Numbers in, Numbers out)
{
    std::array<pb_byte_t, 256> bytes;
    Message message;
    static_assert(sizeof message % sizeof in[0] == 0); // its fields and nothing else
    std::memcpy(&message, in.data(), sizeof message);
    pb_ostream_t writer = pb_ostream_from_buffer(bytes.data(), bytes.size());
    if (in.size_bytes() != sizeof message || !pb_encode(&writer, form, &message))
        return false;
    message = {};
    pb_istream_t reader = pb_istream_from_buffer(bytes.data(), writer.bytes_written);
    if (!pb_decode(&reader, form, &message))
        return false;
    std::memcpy(out.data(), &message, sizeof message);
    return true;
}

bool nanopb_status(Numbers in, Numbers out)
{
    return nanopb<Status>(Status_fields, in, out);
}

bool nanopb_command(Numbers in, Numbers out)
{
    return nanopb<Exposure>(Exposure_fields, in, out);
}

bool msgpack(Numbers in, Numbers out)
{
    static msgpack_sbuffer *const bytes = msgpack_sbuffer_new();
    msgpack_sbuffer_clear(bytes);
    msgpack_packer packer;
    msgpack_packer_init(&packer, bytes, msgpack_sbuffer_write);
    msgpack_pack_map(&packer, in.size());
    for (std::uint32_t i = 0; i < in.size(); ++i) {
        msgpack_pack_uint32(&packer, i);
        msgpack_pack_uint32(&packer, in[i]);
    }
    msgpack_unpacked message;
    msgpack_unpacked_init(&message);
    const bool good = msgpack_unpack_next(&message, bytes->data, bytes->size, nullptr) == MSGPACK_UNPACK_SUCCESS;
    for (std::uint32_t i = 0; good && i < message.data.via.map.size; ++i) {
        const msgpack_object_kv &pair = message.data.via.map.ptr[i];
        if (pair.key.via.u64 < out.size())
            out[pair.key.via.u64] = static_cast<std::uint32_t>(pair.val.via.u64);
    }
    msgpack_unpacked_destroy(&message);
    return good;
}

// A map as it comes: every second number is a value.
struct CborMap {
    Numbers out;
    std::size_t key = 0;
    bool is_value = false;

    void take(std::uint32_t number)
    {
        if (is_value && key < out.size())
            out[key] = number;
        key = number;
        is_value = !is_value;
    }
};

bool cbor(Numbers in, Numbers out)
{
    static const cbor_callbacks callbacks = [] {
        cbor_callbacks wanted = cbor_empty_callbacks;
        wanted.uint8 = [](void *map, std::uint8_t number) { static_cast<CborMap *>(map)->take(number); };
        wanted.uint16 = [](void *map, std::uint16_t number) { static_cast<CborMap *>(map)->take(number); };
        wanted.uint32 = [](void *map, std::uint32_t number) { static_cast<CborMap *>(map)->take(number); };
        return wanted;
    }();
    std::array<unsigned char, 256> bytes;
    std::size_t size = cbor_encode_map_start(in.size(), bytes.data(), bytes.size());
    for (std::uint32_t i = 0; i < in.size(); ++i) {
        size += cbor_encode_uint(i, bytes.data() + size, bytes.size() - size);
        size += cbor_encode_uint(in[i], bytes.data() + size, bytes.size() - size);
    }
    CborMap map{.out = out};
    for (std::size_t at = 0; at < size;) {
        const cbor_decoder_result step = cbor_stream_decode(bytes.data() + at, size - at, &callbacks, &map);
        if (step.status != CBOR_DECODER_FINISHED)
            return false;
        at += step.read;
    }
    return true;
}

// Other numbers each time, as wide as the driver's fields; all that comes back is looked at.
template <std::size_t count>
Contender contender(const char *name, Codec codec)
{
    struct State {
        std::array<std::uint32_t, count> in{}, out{};
        std::uint32_t round = 0;
    };
    return {.name = name, .set_up = {}, .once = [state = std::make_shared<State>(), codec] {
                ++state->round;
                for (std::size_t i = 0; i < count; ++i) {
                    const unsigned width = count == std::size(FIELDS) ? FIELDS[i].size : 1;
                    state->in[i] = (state->round + static_cast<std::uint32_t>(i) * 77) & 0x7FFFFFFFu >> 8 * (4 - width);
                    if (width == 4)
                        state->in[i] += 100000; // a position, in thousandths of a degree
                }
                return codec(state->in, state->out) && state->in == state->out;
            }};
}

} // namespace

Contest codec_status()
{
    constexpr std::size_t count = std::size(FIELDS);
    return {"status",
            9,
            50,
            1000,
            {contender<count>("ours", ours_status), contender<count>("nanopb", nanopb_status),
             contender<count>("msgpack-c", msgpack), contender<count>("libcbor", cbor)}};
}

Contest codec_command()
{
    return {"command",
            9,
            50,
            1000,
            {contender<4>("ours", ours_command), contender<4>("nanopb", nanopb_command),
             contender<4>("msgpack-c", msgpack), contender<4>("libcbor", cbor)}};
}
