#include "port/ptz_port_canon_frame.h"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint16_t checksum_of(const Bytes &bytes)
{
    return ptz_port_canon_checksum(bytes.data(), static_cast<int>(bytes.size()));
}

TEST(FrameChecksum, IsTheComplementOfTheSixteenBitSum)
{
    EXPECT_EQ(checksum_of({}), 0x0000);
    EXPECT_EQ(checksum_of({'a', 'b', 'c'}), 0xFEDA);
    EXPECT_EQ(checksum_of(Bytes(257, 0xFF)), 0x0001); // the sum is 65535
    EXPECT_EQ(checksum_of(Bytes(1916, 0xFF)), 0x8B7C);
}

TEST(FrameChecksum, CountsEveryByteOfEveryLength)
{
    Bytes bytes;
    unsigned sum = 0;
    for (unsigned length = 0; length < 100; ++length) {
        EXPECT_EQ((sum + checksum_of(bytes)) & 0xFFFFu, 0u) << length;
        bytes.push_back(static_cast<std::uint8_t>(length * 37 + 200));
        sum += bytes.back();
    }
}

TEST(HostFrame, HasTheMostSignificantByteFirstAndZeroFiller)
{
    PortFrame frame;
    std::memset(frame.bytes, 0xAA, sizeof frame.bytes);
    ptz_port_canon_encode_frame(frame, "abc", 3);
    Bytes expected{0x00, 0x03, 0xFE, 0xDA, 0x61, 0x62, 0x63};
    expected.resize(1920, 0);
    EXPECT_EQ(Bytes(std::begin(frame.bytes), std::end(frame.bytes)), expected);

    const Bytes longest(1916, 0xFF);
    ptz_port_canon_encode_frame(frame, longest.data(), 1916);
    EXPECT_EQ(Bytes(frame.bytes, frame.bytes + 4), (Bytes{0x07, 0x7C, 0x8B, 0x7C}));
    EXPECT_EQ(frame.bytes[1919], 0xFF);
}

TEST(ReceivedFrame, IsReadInTheConfiguredByteOrder)
{
    const PortFrame frame{{0x03, 0x00, 0x5A, 0xFF}};
    const PortFrameHeader little = ptz_port_canon_decode_header(frame, false);
    EXPECT_EQ(little.length, 3);
    EXPECT_EQ(little.checksum, 0xFF5A);
    const PortFrameHeader big = ptz_port_canon_decode_header(frame, true);
    EXPECT_EQ(big.length, 0x0300);
    EXPECT_EQ(big.checksum, 0x5AFF);
}

} // namespace
