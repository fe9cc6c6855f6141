#include "pcapng.h"

#include "failure.h"

#include <cerrno>
#include <cstring>

namespace {

enum Block : std::uint32_t { SECTION = 0x0A0D0D0A, INTERFACE = 1, PACKET = 6 };

// In the machine's own order, which the section says.
template <typename T>
void append(std::string &body, T value)
{
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    body.append(bytes, sizeof value);
}

char order_code(std::optional<bool> big_endian)
{
    return static_cast<char>(!big_endian ? 0 : *big_endian ? 2 : 1);
}

std::string packet_of(const sim::TraceLine &line, std::optional<bool> big_endian)
{
    using Kind = sim::TraceLine::Kind;
    std::string packet{static_cast<char>(line.kind), static_cast<char>(line.port), line.from_host ? '\0' : '\1',
                       order_code(big_endian)};
    if (line.kind == Kind::burst)
        packet.append(line.bytes.begin(), line.bytes.end());
    else
        packet += sim::decode_trace_line(line).front();
    return packet;
}

} // namespace

void PcapngWriter::Close::operator()(std::FILE *file) const
{
    if (file != stdout)
        std::fclose(file);
}

PcapngWriter::PcapngWriter(const std::string &path)
    : path_(path), file_(path == "-" ? stdout : std::fopen(path.c_str(), "we"))
{
    constexpr std::uint16_t kUser0 = 147; // the first of the link types that are nobody's
    if (!file_)
        throw Failure(EXIT_REFUSED, "Output", "cannot write '" + printable(path) + "': " + std::strerror(errno));
    std::string section;
    append(section, std::uint32_t{0x1A2B3C4D});
    append(section, std::uint16_t{1}); // version 1.0
    append(section, std::uint16_t{0});
    append(section, std::int64_t{-1}); // as long as it is
    block(SECTION, section);
    std::string interface;
    append(interface, kUser0);
    append(interface, std::uint16_t{0}); // reserved
    append(interface, std::uint32_t{0}); // packets of any length
    block(INTERFACE, interface);
    flush();
}

void PcapngWriter::block(std::uint32_t type, const std::string &body)
{
    const std::size_t padding = (4 - body.size() % 4) % 4;
    const auto length = static_cast<std::uint32_t>(12 + body.size() + padding);
    std::string text;
    append(text, type);
    append(text, length);
    text += body + std::string(padding, '\0');
    append(text, length);
    std::fwrite(text.data(), 1, text.size(), file_.get());
}

void PcapngWriter::add(const sim::TraceLine &line, std::optional<bool> big_endian)
{
    const std::string packet = packet_of(line, big_endian);
    std::string body;
    append(body, std::uint32_t{0}); // of the one interface
    append(body, static_cast<std::uint32_t>(static_cast<std::uint64_t>(line.us) >> 32));
    append(body, static_cast<std::uint32_t>(line.us));
    append(body, static_cast<std::uint32_t>(packet.size()));
    append(body, static_cast<std::uint32_t>(packet.size()));
    block(PACKET, body + packet);
    packets_++;
}

void PcapngWriter::flush()
{
    if (std::fflush(file_.get()) != 0 || std::ferror(file_.get()) != 0)
        throw Failure(EXIT_REFUSED, "Output", "'" + printable(path_) + "' takes no more: " + std::strerror(errno));
}
