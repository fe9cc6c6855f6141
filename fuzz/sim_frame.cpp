// What the simulator makes of a host's burst: frame, packet, records, their words.
#include "fuzz/target.h"
#include "sim/frame.h"
#include "sim/records.h"
#include "sim/trace.h"
#include "sim/upgrade.h"

namespace {

void check_record(const sim::Record &record)
{
    HOLDS(!sim::describe(record).empty() && (record.row != nullptr || record.problem != nullptr));
    for (std::size_t i = 0; record.usable && i < record.values.size() && record.row->params[i].width != 0; ++i) {
        const sim::Param &param = record.row->params[i];
        const std::int32_t value = record.values[i];
        const auto named = [value](const sim::Choice &choice) { return choice.value == value; };
        HOLDS(param.choices.empty() ? value >= param.low && value <= param.high
                                    : std::any_of(param.choices.begin(), param.choices.end(), named));
    }
}

void check_records(fuzz::Input payload)
{
    std::size_t bytes = 0;
    for (const sim::Record &record : sim::parse_records(payload)) {
        check_record(record);
        bytes += record.bytes.size();
    }
    HOLDS(bytes == payload.size()); // every byte belongs to one record
}

} // namespace

FUZZ_TARGET(sim_frame)
{
    fuzz::Reader reader(input);
    const bool big_endian = reader.take<std::uint8_t>() % 2 != 0;
    const fuzz::Input burst = reader.rest();
    const sim::HostFrame frame = sim::check_host_frame(burst);
    HOLDS(frame.payload.size() + 4 <= burst.size() || frame.problem != nullptr);
    const sim::Packet packet = sim::check_packet(frame.payload);
    HOLDS((packet.problem == nullptr) == !packet.records.empty());
    check_records(packet.records);
    check_records(burst); // past the checks, which the search seldom meets
    (void)sim::decode_packet(burst);
    (void)sim::decode_status(burst);
    (void)sim::describe_upgrade(burst);

    // A header around it makes it a frame with a payload, if it has one and that fits.
    std::vector<std::uint8_t> block(4);
    block.insert(block.end(), burst.begin(), burst.end());
    sim::write_header(block, burst.size(), sim::frame_checksum(burst), big_endian);
    HOLDS(sim::carries_payload(block, big_endian) == (!burst.empty() && burst.size() <= 0xFFFF));
    (void)sim::carries_payload(burst, big_endian);
}
