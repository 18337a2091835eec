// pcapng files made in the test: interfaces with their clocks and names, all kinds of packets, sections, and damage.
#include "tools/recordings/pcap/PcapngReader.h"

#include "tests/tools/recordings/ReaderText.h"
#include "tests/tools/recordings/pcap/PcapBytes.h"

#include <gtest/gtest.h>

#include <random>

namespace qztool {
namespace {

using pcap::frame;
using pcap::NgFile;
using pcap::number;

constexpr std::uint32_t socketCan = 227;
constexpr ByteOrder orders[] = {ByteOrder::Little, ByteOrder::Big};

std::string textOfFile(std::string const& content, Pieces pieces = {}) {
    std::string text;
    for (std::string const& line : textOfRecording<PcapngReader>(content, pieces))
        text += (text.empty() ? "" : "; ") + line;
    return text;
}

TEST(PcapngReaderTest, formatIsToldFromTheSection) {
    for (ByteOrder const order : orders)
        EXPECT_TRUE(PcapngReader::fits(NgFile{order}.section()));
    EXPECT_FALSE(PcapngReader::fits("\n\r\r"));
    EXPECT_FALSE(PcapngReader::fits("\n\n\n\n"));
}

TEST(PcapngReaderTest, packetsOfAllKindsAreRead) {
    for (ByteOrder const order : orders) {
        NgFile const file = {order};
        EXPECT_EQ(textOfFile(file.section() + file.interface(socketCan) +
                             file.packet(0, frame(0x123, "\1"), 1'757'617'431'821'276) +
                             file.oldPacket(0, frame(0x9FFFFFFF, "\2\3"), 0x1'0000'0001) +
                             file.simplePacket(frame(0x7FF, "\4"))),
                  "1757617431821276 can 0 123 - 01; 4294967297 can 0 1FFFFFFF - 0203; 0 can 0 7FF - 04");
    }
}

TEST(PcapngReaderTest, interfacesHaveChannelsByTheirNamesOrElseOrder) {
    NgFile const file;
    std::string content = file.section();
    for (std::string const name : {"", "can7", "vcan12", "any", "can300"})
        content += file.interface(socketCan, name.empty() ? "" : file.option(2, name) + file.endOfOptions());
    content += file.interface(socketCan);
    for (unsigned i = 0; i < 6; ++i)
        content += file.packet(i, frame(0x100 + i, ""));
    EXPECT_EQ(textOfFile(content), "0 can 0 100 - ; 0 can 7 101 - ; 0 can 12 102 - ; 0 can 0 103 - ; 0 can 255 104 - ; "
                                   "0 can 5 105 - ");
}

TEST(PcapngReaderTest, interfacesHaveClocksOfTheirOwn) {
    struct {
        unsigned resolution;
        std::uint64_t ticks;
        char const* time;
    } const cases[] = {
        {6, 1'234'567, "1234567"},
        {9, 1'757'617'431'821'276'999, "1757617431821276"},
        {3, 1'757'617'431'821, "1757617431821000"},
        {0, 1'757'617'431, "1757617431000000"},
        {25, 0xFFFFFFFFFFFFFFFF, "1"},
        {26, 0xFFFFFFFFFFFFFFFF, "0"},
        {127, 0xFFFFFFFFFFFFFFFF, "0"},
        {0x80, 3, "3000000"},
        {0x80 | 1, 3, "1500000"},
        {0x80 | 20, (5 << 20) + (1 << 19), "5500000"},
        {0x80 | 32, 0x68C31E57'FFFFFFFF, "1757617751999999"},
        {0x80 | 40, 0xFFFFFFFFFFFFFFFF, "16777215999999"},
        {0x80 | 63, 0xC000000000000000, "1500000"},
        {0x80 | 104, 0xFFFFFFFFFFFFFFFF, "0"},
        {0x80 | 127, 0xFFFFFFFFFFFFFFFF, "0"},
    };
    for (ByteOrder const order : orders) {
        NgFile const file = {order};
        for (auto const& [resolution, ticks, time] : cases)
            EXPECT_EQ(
                textOfFile(file.section() +
                           file.interface(socketCan, file.option(9, std::string(1, static_cast<char>(resolution)))) +
                           file.packet(0, frame(0x123, ""), ticks)),
                std::string(time) + " can 0 123 - ")
                << resolution;
        std::string const later = file.option(14, number(1000, 8, order));
        std::string const earlier = file.option(14, number(std::uint64_t{0} - 1000, 8, order));
        EXPECT_EQ(textOfFile(file.section() + file.interface(socketCan, later) + file.interface(socketCan, earlier) +
                             file.packet(0, frame(0x123, ""), 5) + file.packet(1, frame(0x123, ""), 1'000'000'005)),
                  "1000000005 can 0 123 - ; 5 can 1 123 - ");
    }
}

TEST(PcapngReaderTest, directionIsReadFromTheFlags) {
    for (ByteOrder const order : orders) {
        NgFile const file = {order};
        auto const flags = [&](unsigned value) {
            return file.option(1, "note") + file.option(2, number(value, 4, order));
        };
        EXPECT_EQ(
            textOfFile(file.section() + file.interface(socketCan) + file.packet(0, frame(0x123, "\1"), 0, flags(1)) +
                       file.packet(0, frame(0x123, "\1\2\3\4"), 0, flags(0xF2)) +
                       file.packet(0, frame(0x123, ""), 0, flags(3)) + file.packet(0, frame(0x123, ""), 0, flags(0))),
            "0 can 0 123 rx 01; 0 can 0 123 tx 01020304; 0 can 0 123 - ; 0 can 0 123 - ");
    }
}

TEST(PcapngReaderTest, sectionsForgetInterfacesAndChangeTheByteOrder) {
    std::string content;
    for (ByteOrder const order : {ByteOrder::Little, ByteOrder::Big, ByteOrder::Little}) {
        NgFile const file = {order};
        content +=
            file.section() + file.interface(socketCan, file.option(2, "can3")) + file.packet(0, frame(0x123, ""), 1);
    }
    NgFile const file;
    content += file.section() + file.packet(0, frame(0x123, ""));
    EXPECT_EQ(textOfFile(content), "1 can 3 123 - ; 1 can 3 123 - ; 1 can 3 123 - ; "
                                   "! packet of an interface that is not described: 4");
}

TEST(PcapngReaderTest, otherPacketsAreCountedAndOtherBlocksPassedOver) {
    NgFile const file;
    EXPECT_EQ(textOfFile(file.section() + file.block(4, "names") + file.interface(1) + file.interface(socketCan) +
                         file.packet(0, "Ethernet") + file.packet(1, frame(0x123, "\1")) +
                         file.packet(0, std::string(500'000, 'x')) + file.packet(1, frame(0x124, "\2")) +
                         file.block(5, "statistics") + file.block(0x80000001, std::string(300'000, 'x'))),
              "0 can 1 123 - 01; 0 can 1 124 - 02; - 2 Ethernet packet");
}

TEST(PcapngReaderTest, cutPacketsAreMalformed) {
    NgFile const file;
    EXPECT_EQ(textOfFile(file.section() + file.interface(socketCan) + file.block(6, "too short") + file.block(3, "") +
                         file.packet(0, frame(0x123, "\1\2\3", 0, ByteOrder::Big, 8)) +
                         file.packet(9, frame(0x123, ""))),
              "! packet is cut short: 1-3; ! packet of an interface that is not described: 4");
}

TEST(PcapngReaderTest, interfacesWithoutDescriptionKeepTheirNumbers) {
    NgFile const file;
    EXPECT_EQ(
        textOfFile(file.section() + file.block(1, "") + file.interface(socketCan) + file.packet(1, frame(0x123, ""))),
        "0 can 1 123 - ");
}

TEST(PcapngReaderTest, piecesOfAnySizeAndInterruptionsLoseNothing) {
    NgFile const file;
    std::string const content = file.section() + file.interface(socketCan, file.option(2, "can1")) +
                                file.packet(0, frame(0x123, "\1\2\3"), 5) + file.block(5, std::string(9000, 'x')) +
                                file.packet(0, frame(0x124, "\4"), 6) + file.simplePacket(frame(0x125, ""));
    for (std::size_t const most : {std::string::npos, std::size_t{1}, std::size_t{7}, std::size_t{1000}})
        for (bool const interrupts : {false, true})
            EXPECT_EQ(textOfFile(content, {most, interrupts}),
                      "5 can 1 123 - 010203; 6 can 1 124 - 04; 0 can 1 125 - ");
}

TEST(PcapngReaderTest, truncatedFilesAreReadAsFarAsTheyGo) {
    NgFile const file;
    std::string const begin = file.section() + file.interface(socketCan);
    std::string const packet = file.packet(0, frame(0x123, "\1\2"));
    std::string const problem = "cannot read 'x': unexpected end of file";
    for (std::size_t size = 4; size < packet.size(); ++size) {
        EXPECT_EQ(textOfFile((begin + packet).substr(0, begin.size() + size)), problem) << size;
        EXPECT_EQ(textOfFile((begin + packet + packet).substr(0, begin.size() + packet.size() + size)),
                  "0 can 0 123 - 0102; " + problem)
            << size;
    }
    for (std::size_t size = 4; size < begin.size(); ++size)
        EXPECT_EQ(textOfFile(begin.substr(0, size)), size == file.section().size() ? "" : problem) << size;
}

TEST(PcapngReaderTest, blocksThatCannotBeEndTheFile) {
    NgFile const file;
    std::string const good = file.section() + file.interface(socketCan) + file.packet(0, frame(0x123, ""));
    for (std::uint64_t const size : {0U, 11U, 0x10000001U, 0xFFFFFFFFU}) {
        std::string bad = file.packet(0, frame(0x124, ""));
        bad.replace(4, 4, number(size, 4, ByteOrder::Little));
        EXPECT_EQ(textOfFile(good + bad + good),
                  "0 can 0 123 - ; cannot read 'x': the block after packet 1 has an impossible size")
            << size;
    }
    std::string section = file.section();
    section[8] = 'x';
    EXPECT_EQ(textOfFile(good + section),
              "0 can 0 123 - ; cannot read 'x': the section after packet 1 has no byte order");
}

TEST(PcapngReaderTest, damagedAtRandomFilesAreReadToTheirEnd) {
    NgFile const file;
    std::string content = file.section() + file.interface(socketCan, file.option(2, "can1") + file.option(9, "\x9"));
    std::size_t const begin = content.size();
    for (unsigned i = 0; i < 100; ++i)
        content += file.packet(0, frame(i, "\1\2\3"), i, file.option(2, number(1, 4, ByteOrder::Little)));
    std::mt19937 random(4); // NOLINT: the same each time
    std::size_t found = 0;
    for (int i = 0; i < 300; ++i) {
        std::string damaged = content;
        damaged[begin + random() % (content.size() - begin)] = static_cast<char>(random());
        found += textOfRecording<PcapngReader>(damaged, {random() % 3000 + 1, false}).size();
    }
    EXPECT_GT(found, 300 * 50U);
}

} // namespace
} // namespace qztool
