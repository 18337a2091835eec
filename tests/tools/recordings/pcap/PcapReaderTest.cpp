// pcap files made in the test: both byte orders and units of time, all link types that carry frames, and damage.
#include "tools/recordings/pcap/PcapReader.h"

#include "tests/tools/recordings/ReaderText.h"
#include "tests/tools/recordings/pcap/PcapBytes.h"

#include <gtest/gtest.h>

#include <random>

namespace qztool {
namespace {

using pcap::File;
using pcap::frame;

constexpr std::uint32_t socketCan = 227;
constexpr std::uint32_t cooked = 113;
constexpr std::uint32_t cooked2 = 276;

std::string const oneToEight = "\1\2\3\4\5\6\7\x8";

std::string textOfFile(std::string const& content) {
    std::string text;
    for (std::string const& line : textOfRecording<PcapReader>(content))
        text += (text.empty() ? "" : "; ") + line;
    return text;
}

// Of a single packet.
std::string textOfPacket(std::string const& bytes, std::uint32_t linkType = socketCan) {
    return textOfFile(File().header(linkType) + File().packet(bytes));
}

TEST(PcapReaderTest, formatIsToldFromTheMark) {
    for (ByteOrder const order : {ByteOrder::Little, ByteOrder::Big})
        for (std::uint32_t const mark : {0xA1B2C3D4U, 0xA1B23C4DU})
            EXPECT_TRUE(PcapReader::fits(File{order, mark}.header(socketCan)));
    EXPECT_FALSE(PcapReader::fits(File{ByteOrder::Little, 0xA1B2C3D5}.header(socketCan)));
    EXPECT_FALSE(PcapReader::fits("\xD4\xC3\xB2"));
}

TEST(PcapReaderTest, eitherByteOrderAndUnitOfTimeIsRead) {
    for (ByteOrder const order : {ByteOrder::Little, ByteOrder::Big}) {
        File const micro = {order};
        EXPECT_EQ(textOfFile(micro.header(socketCan) + micro.packet(frame(0x123, "\1"), 1757617431, 999999) +
                             micro.packet(frame(0x124, "\2"), 0xFFFFFFFF, 0)),
                  "1757617431999999 can 0 123 - 01; 4294967295000000 can 0 124 - 02");
        File const nano = {order, 0xA1B23C4D};
        EXPECT_EQ(textOfFile(nano.header(socketCan) + nano.packet(frame(0x123, "\1"), 1757617431, 999'999'999)),
                  "1757617431999999 can 0 123 - 01");
    }
}

TEST(PcapReaderTest, framesAreRead) {
    EXPECT_EQ(textOfPacket(frame(0x7FF, oneToEight)), "0 can 0 7FF - 0102030405060708");
    EXPECT_EQ(textOfPacket(frame(0, "")), "0 can 0 000 - ");
    EXPECT_EQ(textOfPacket(frame(0x9FFFFFFF, "\xFF")), "0 can 0 1FFFFFFF - FF");
    EXPECT_EQ(textOfPacket(frame(0x40000123, "", 0, ByteOrder::Big, 5)), "0 can 0 123 remote 5 bytes");
    EXPECT_EQ(textOfPacket(frame(0x20000088, oneToEight)), "0 can 0 088 error 0102030405060708");
    // As the system hands them out: with room for eight bytes.
    EXPECT_EQ(textOfPacket(frame(0x123, "\1\2\0\0\0\0\0\0", 0, ByteOrder::Big, 2) + std::string(5, '\0')),
              "0 can 0 123 - 0102");
}

TEST(PcapReaderTest, canFdFramesAreToldByFlagOrLengthOrSize) {
    EXPECT_EQ(textOfPacket(frame(0x123, "\1", 4)), "0 can 0 123 fd 01");
    EXPECT_EQ(textOfPacket(frame(0x123, "\1", 7)), "0 can 0 123 fd,brs,esi 01");
    EXPECT_EQ(textOfPacket(frame(0x123, "\1", 3)), "0 can 0 123 - 01");
    EXPECT_EQ(textOfPacket(frame(0x123, "123456789012", 1)), "0 can 0 123 fd,brs 313233343536373839303132");
    EXPECT_EQ(textOfPacket(frame(0x123, "\1" + std::string(63, '\0'), 2, ByteOrder::Big, 1)), "0 can 0 123 fd,esi 01");
    std::string const longest = textOfPacket(frame(0x123, std::string(63, '\1') + "\x40", 4));
    EXPECT_EQ(longest.substr(longest.size() - 4), "0140");
    EXPECT_EQ(textOfPacket(frame(0x123, std::string(65, '\1'), 4)), "! more than 64 data bytes: 1");
}

TEST(PcapReaderTest, impossiblePacketsAreMalformed) {
    EXPECT_EQ(textOfPacket(frame(0x800, "")), "! standard identifier above 7FF: 1");
    EXPECT_EQ(textOfPacket(frame(0x123, "\1\2", 0, ByteOrder::Big, 3)), "! packet is cut short: 1");
    EXPECT_EQ(textOfPacket(frame(0x123, "").substr(0, 7)), "! packet is cut short: 1");
    EXPECT_EQ(textOfPacket(""), "! packet is cut short: 1");
    EXPECT_EQ(textOfPacket(std::string(15, '\0'), cooked), "! packet is cut short: 1");
    EXPECT_EQ(textOfPacket(std::string(19, '\0'), cooked2), "! packet is cut short: 1");
}

// Kind 4: sent from here. Protocol: 000C classic, 000D CAN FD, 000E CAN XL.
std::string cookedBytes(unsigned kind, unsigned protocol) {
    return pcap::number(kind, 2, ByteOrder::Big) + pcap::number(280, 2, ByteOrder::Big) + std::string(10, '\0') +
           pcap::number(protocol, 2, ByteOrder::Big);
}

std::string cooked2Bytes(unsigned kind, unsigned protocol, unsigned interface) {
    return pcap::number(protocol, 2, ByteOrder::Big) + std::string(2, '\0') +
           pcap::number(interface, 4, ByteOrder::Big) + pcap::number(280, 2, ByteOrder::Big) +
           pcap::number(kind, 1, ByteOrder::Big) + std::string(9, '\0');
}

// There, identifiers are in the order of the machine that recorded.
TEST(PcapReaderTest, cookedPacketsAreRead) {
    for (ByteOrder const order : {ByteOrder::Little, ByteOrder::Big}) {
        File const file = {order};
        std::string const header = file.header(cooked);
        EXPECT_EQ(textOfFile(header + file.packet(cookedBytes(1, 0x0C) + frame(0x123, "\1", 0, order))),
                  "0 can 0 123 rx 01");
        EXPECT_EQ(textOfFile(header + file.packet(cookedBytes(4, 0x0D) + frame(0x9234, "123456789012", 5, order))),
                  "! standard identifier above 7FF: 1");
        EXPECT_EQ(textOfFile(header + file.packet(cookedBytes(4, 0x0D) + frame(0x80001234, "\1", 5, order))),
                  "0 can 0 00001234 fd,brs,tx 01");
        EXPECT_EQ(textOfFile(header + file.packet(cookedBytes(5, 0x0C) + frame(0x123, "\1", 0, order))),
                  "0 can 0 123 - 01");
        EXPECT_EQ(
            textOfFile(file.header(cooked2) + file.packet(cooked2Bytes(4, 0x0C, 7) + frame(0x123, "\1", 0, order)) +
                       file.packet(cooked2Bytes(0, 0x0D, 0x308) + frame(0x123, std::string(64, '\0'), 0, order, 0))),
            "0 can 7 123 tx 01; 0 can 8 123 fd,rx ");
    }
    EXPECT_EQ(textOfPacket(cookedBytes(0, 0x0800) + frame(0x123, ""), cooked), "- 1 packet of another protocol");
    EXPECT_EQ(textOfPacket(cookedBytes(0, 0x0E) + frame(0x123, ""), cooked), "- 1 CAN XL frame");
}

TEST(PcapReaderTest, otherPacketsAreCounted) {
    File const file;
    EXPECT_EQ(textOfFile(file.header(1) + file.packet("Ethernet") + file.packet(std::string(9000, 'x'))),
              "- 2 Ethernet packet");
    EXPECT_EQ(textOfPacket("anything", 147), "- 1 packet of link type 147");
    EXPECT_EQ(textOfPacket(frame(0x123, "", 0, ByteOrder::Big, 0x80)), "- 1 CAN XL frame");
    // The upper bits are about check sums.
    EXPECT_EQ(textOfPacket(frame(0x123, "\1"), socketCan | 0x14000000), "0 can 0 123 - 01");
}

TEST(PcapReaderTest, piecesOfAnySizeAndInterruptionsLoseNothing) {
    File const file;
    std::string content = file.header(socketCan);
    RecordingText expected;
    for (unsigned i = 0; i < 50; ++i) {
        content += file.packetOf(frame(i, "\1") + std::string(i == 20 ? 600'000 : i % 5, '\0'), 16, i);
        expected.push_back(std::to_string(i * 1'000'000) + " can 0 " + (i < 16 ? "00" : "0") +
                           (i < 16 ? std::string(1, "0123456789ABCDEF"[i])
                                   : std::string(1, "0123"[i / 16]) + "0123456789ABCDEF"[i % 16]) +
                           " - 01");
    }
    for (std::size_t const most : {std::string::npos, std::size_t{1}, std::size_t{13}, std::size_t{1000}})
        for (bool const interrupts : {false, true})
            EXPECT_EQ(textOfRecording<PcapReader>(content, {most, interrupts}), expected) << most;
}

TEST(PcapReaderTest, truncatedFilesAreReadAsFarAsTheyGo) {
    File const file;
    std::string const packet = file.packet(frame(0x123, "\1\2"));
    std::string const content = file.header(socketCan) + packet + packet;
    std::string const problem = "cannot read 'x': unexpected end of file";
    std::string const read = "0 can 0 123 - 0102";
    std::size_t const first = 24 + packet.size();
    for (std::size_t size = 4; size < content.size(); ++size) {
        std::string expected = size < first ? problem : read + "; " + problem;
        if (size == 24)
            expected = "";
        if (size == first)
            expected = read;
        EXPECT_EQ(textOfFile(content.substr(0, size)), expected) << size;
    }
}

TEST(PcapReaderTest, packetsOfImpossibleSizesEndTheFile) {
    File const file;
    std::string damaged = file.packet(frame(0x124, ""));
    damaged.replace(8, 4, "\x01\x00\x00\x10", 4);
    EXPECT_EQ(
        textOfFile(file.header(socketCan) + file.packet(frame(0x123, "")) + damaged + file.packet(frame(0x125, ""))),
        "0 can 0 123 - ; cannot read 'x': packet 2 has an impossible size");
}

TEST(PcapReaderTest, damagedAtRandomFilesAreReadToTheirEnd) {
    File const file;
    std::string content = file.header(socketCan);
    for (unsigned i = 0; i < 100; ++i)
        content += file.packet(frame(i, oneToEight));
    std::mt19937 random(3); // NOLINT: the same each time
    std::size_t found = 0;
    for (int i = 0; i < 300; ++i) {
        std::string damaged = content;
        damaged[24 + random() % (content.size() - 24)] = static_cast<char>(random());
        found += textOfRecording<PcapReader>(damaged, {random() % 3000 + 1, false}).size();
    }
    EXPECT_GT(found, 300 * 50U);
}

} // namespace
} // namespace qztool
