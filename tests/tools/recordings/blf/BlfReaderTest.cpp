// BLF files made in the test: every kind of object that is read, containers of all shapes, and damage.
#include "tools/recordings/blf/BlfReader.h"

#include "tests/tools/recordings/LocalZone.h"
#include "tests/tools/recordings/ReaderText.h"
#include "tests/tools/recordings/blf/BlfBytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace qztool {
namespace {

using blf::Unit;
using testing::Test;

RecordingText textOf(std::string const& objects, Pieces pieces = {}) {
    return textOfRecording<BlfReader>(blf::fileHeader() + objects, pieces);
}

// Of a single object.
std::string textOfObject(unsigned kind, std::string const& content) {
    std::string text;
    for (std::string const& line : textOf(blf::object(kind, content, 1'000)))
        text += (text.empty() ? "" : "; ") + line;
    return text;
}

std::string const oneToEight = "\1\2\3\4\5\6\7\x8";

TEST(BlfReaderTest, formatIsToldFromTheMark) {
    EXPECT_TRUE(BlfReader::fits(blf::fileHeader()));
    EXPECT_FALSE(BlfReader::fits("LOGx"));
    EXPECT_FALSE(BlfReader::fits("LOG"));
}

TEST(BlfReaderTest, canFramesAreRead) {
    for (unsigned const kind : {1U, 86U}) {
        // CAN_MESSAGE2 has eight bytes more.
        std::string const more(kind == 86 ? 8 : 0, '\x55');
        EXPECT_EQ(textOfObject(kind, blf::canContent(2, 0x7FF, "\1\2\xFF") + more), "1 can 2 7FF rx 0102FF");
        EXPECT_EQ(textOfObject(kind, blf::canContent(255, 0x9FFFFFFF, oneToEight, 1) + more),
                  "1 can 255 1FFFFFFF tx 0102030405060708");
        EXPECT_EQ(textOfObject(kind, blf::canContent(1, 0x80000000, "", 0) + more), "1 can 1 00000000 rx ");
        EXPECT_EQ(textOfObject(kind, blf::canContent(1, 0x100, oneToEight, 0x80) + more),
                  "1 can 1 100 remote,rx 8 bytes");
        EXPECT_EQ(textOfObject(kind, blf::canContent(1, 0x100, "", 0x81) + more), "1 can 1 100 remote,tx 0 bytes");
    }
}

TEST(BlfReaderTest, lengthCodesAboveEightMeanEightBytes) {
    for (unsigned const code : {9U, 15U, 200U})
        EXPECT_EQ(textOfObject(1, Fields(16).set(0, 2, 1).set(3, 1, code).set(4, 4, 1).set(8, oneToEight).bytes()),
                  "1 can 1 001 rx 0102030405060708");
}

TEST(BlfReaderTest, impossibleCanFramesAreMalformed) {
    EXPECT_EQ(textOfObject(1, blf::canContent(1, 0x800, "")), "! standard identifier above 7FF: 1");
    EXPECT_EQ(textOfObject(1, blf::canContent(1, 0xA0000000, "")), "! identifier above 1FFFFFFF: 1");
    EXPECT_EQ(textOfObject(1, blf::canContent(256, 0x100, "")), "! channel number above 255: 1");
    EXPECT_EQ(textOfObject(1, blf::canContent(1, 0x100, "").substr(0, 15)),
              "! object is shorter than its kind demands: 1");
}

std::string canFdContent(unsigned flags, unsigned fdFlags, unsigned code, std::string const& data, std::size_t valid) {
    Fields fields(84);
    fields.set(0, 2, 3).set(2, 1, flags).set(3, 1, code).set(4, 4, 0x123).set(13, 1, fdFlags).set(14, 1, valid);
    return fields.set(20, data).bytes();
}

TEST(BlfReaderTest, canFdFramesAreRead) {
    std::string const twelve = countedBytes(12);
    EXPECT_EQ(textOfObject(100, canFdContent(0, 1, 9, twelve, 12)), "1 can 3 123 fd,rx 0102030405060708090A0B0C");
    EXPECT_EQ(textOfObject(100, canFdContent(1, 7, 1, "\1", 1)), "1 can 3 123 fd,brs,esi,tx 01");
    EXPECT_EQ(textOfObject(100, canFdContent(0, 0, 2, "\1\2", 2)), "1 can 3 123 rx 0102");
    EXPECT_EQ(textOfObject(100, canFdContent(0x80, 0, 5, "", 0)), "1 can 3 123 remote,rx 5 bytes");
    std::string const all = textOfObject(100, canFdContent(0, 3, 15, countedBytes(64), 64));
    EXPECT_EQ(all.substr(0, 26), "1 can 3 123 fd,brs,rx 0102");
    EXPECT_EQ(all.substr(all.size() - 4), "3F40");
    EXPECT_EQ(textOfObject(100, canFdContent(0, 1, 15, "", 65)), "! more than 64 data bytes: 1");
    EXPECT_EQ(textOfObject(100, canFdContent(0, 0, 9, "", 9)), "! more than 8 data bytes: 1");
    EXPECT_EQ(textOfObject(100, canFdContent(0, 1, 15, "", 64).substr(0, 40)), "! fewer data bytes than announced: 1");
    EXPECT_EQ(textOfObject(100, canFdContent(0, 1, 15, "", 64).substr(0, 19)),
              "! object is shorter than its kind demands: 1");
}

std::string canFd64Content(std::uint32_t flags, unsigned direction, unsigned code, std::string const& data,
                           std::size_t valid) {
    Fields fields(40);
    fields.set(0, 1, 4).set(1, 1, code).set(2, 1, valid).set(4, 4, 0x92345678).set(12, 4, flags);
    return fields.set(34, 1, direction).bytes() + data;
}

TEST(BlfReaderTest, canFd64FramesAreRead) {
    EXPECT_EQ(textOfObject(101, canFd64Content(0x1000, 0, 3, "\1\2\3", 3)), "1 can 4 12345678 fd,rx 010203");
    EXPECT_EQ(textOfObject(101, canFd64Content(0x7000, 1, 3, "\1\2\3 and more", 3)),
              "1 can 4 12345678 fd,brs,esi,tx 010203");
    EXPECT_EQ(textOfObject(101, canFd64Content(0, 2, 3, "\1\2\3", 3)), "1 can 4 12345678 tx 010203");
    EXPECT_EQ(textOfObject(101, canFd64Content(0x10, 0, 8, "", 0)), "1 can 4 12345678 remote,rx 8 bytes");
    std::string const all = textOfObject(101, canFd64Content(0x1000, 0, 15, countedBytes(64), 64));
    EXPECT_EQ(all.substr(all.size() - 4), "3F40");
    EXPECT_EQ(textOfObject(101, canFd64Content(0x1000, 0, 15, countedBytes(63), 64)),
              "! fewer data bytes than announced: 1");
    EXPECT_EQ(textOfObject(101, canFd64Content(0x1000, 0, 15, countedBytes(70), 65)), "! more than 64 data bytes: 1");
    EXPECT_EQ(textOfObject(101, std::string(39, '\0')), "! object is shorter than its kind demands: 1");
}

TEST(BlfReaderTest, canErrorFramesAreRead) {
    EXPECT_EQ(textOfObject(2, Fields(4).set(0, 2, 1).set(2, 2, 6).bytes()), "1 can 1 000 error ");
    Fields ext(32);
    ext.set(0, 2, 2).set(10, 1, 0x33).set(16, 4, 0x92345678).set(24, oneToEight);
    EXPECT_EQ(textOfObject(73, ext.bytes()), "1 can 2 12345678 error 010203");
    // What the controller made of an identifier that was destroyed.
    EXPECT_EQ(textOfObject(73, ext.set(16, 4, 0x7FFFFFFF).bytes()), "1 can 2 1FFFFFFF error 010203");
    Fields fd(47);
    fd.set(0, 1, 3).set(2, 1, 3).set(8, 2, 1).set(12, 4, 0x123).set(44, "\1\2\3");
    EXPECT_EQ(textOfObject(104, fd.bytes()), "1 can 3 123 fd,error 010203");
    EXPECT_EQ(textOfObject(104, fd.set(2, 1, 64).bytes()), "1 can 3 123 fd,error 010203");
    for (unsigned const kind : {2U, 73U, 104U})
        EXPECT_EQ(textOfObject(kind, "\1\0"), "! object is shorter than its kind demands: 1") << kind;
}

TEST(BlfReaderTest, linFramesAreRead) {
    Fields lin(20);
    lin.set(0, 2, 1).set(2, 1, 63).set(3, 1, 2).set(4, oneToEight).set(18, 1, 1);
    EXPECT_EQ(textOfObject(11, lin.bytes()), "1 lin 1 63 tx 0102");
    EXPECT_EQ(textOfObject(11, lin.set(18, 1, 0).set(3, 1, 8).bytes()), "1 lin 1 63 rx 0102030405060708");
    EXPECT_EQ(textOfObject(11, Fields(20).set(2, 1, 64).bytes()), "! LIN identifier above 63: 1");
    EXPECT_EQ(textOfObject(11, Fields(20).set(3, 1, 9).bytes()), "! more than 8 data bytes: 1");
    Fields lin2(132);
    lin2.set(12, 2, 7).set(37, 1, 0x2D).set(38, 1, 4).set(112, oneToEight).set(122, 1, 1);
    EXPECT_EQ(textOfObject(57, lin2.bytes()), "1 lin 7 45 tx 01020304");
    EXPECT_EQ(textOfObject(57, lin2.bytes() + std::string(20, '\x77')), "1 lin 7 45 tx 01020304");
    for (unsigned const kind : {11U, 57U})
        EXPECT_EQ(textOfObject(kind, "\1\0"), "! object is shorter than its kind demands: 1") << kind;
}

TEST(BlfReaderTest, flexRayFramesAreRead) {
    Fields v6(96);
    v6.set(0, 2, 1).set(2, 1, 1).set(20, 2, 2047).set(26, 1, 4).set(27, 1, 63).set(32, oneToEight);
    EXPECT_EQ(textOfObject(41, v6.bytes()), "1 flexray 1 2047/63 tx,A,B 01020304");
    EXPECT_EQ(textOfObject(41, v6.set(24, 2, 8).bytes()), "1 flexray 1 2047/63 null,tx,A,B ");
    EXPECT_EQ(textOfObject(41, v6.set(24, 2, 0).set(26, 1, 65).bytes()), "! fewer data bytes than announced: 1");
    EXPECT_EQ(textOfObject(41, v6.set(20, 2, 0).bytes()), "! FlexRay slot is not one of 1 to 2047: 1");
    EXPECT_EQ(textOfObject(41, v6.set(20, 2, 2048).bytes()), "! FlexRay slot is not one of 1 to 2047: 1");
    EXPECT_EQ(textOfObject(41, v6.set(20, 2, 1).set(27, 1, 64).bytes()), "! FlexRay cycle above 63: 1");
    struct {
        unsigned kind;
        std::size_t dataAt;
    } const kinds[] = {{50, 44}, {66, 84}};
    for (auto const [kind, dataAt] : kinds) {
        Fields received(dataAt + 254);
        // The high bytes of direction and cycle are reserved.
        received.set(0, 2, 2).set(4, 2, 1).set(6, 2, 0x9900).set(16, 2, 25).set(24, 2, 3).set(26, 2, 0x7701);
        received.set(dataAt, countedBytes(254));
        EXPECT_EQ(textOfObject(kind, received.bytes()), "1 flexray 2 25/1 rx,A 010203");
        EXPECT_EQ(textOfObject(kind, received.set(4, 2, 3).set(6, 2, 1).bytes()), "1 flexray 2 25/1 tx,A,B 010203");
        std::string const all = textOfObject(kind, received.set(4, 2, 2).set(24, 2, 254).bytes());
        EXPECT_EQ(all.substr(0, 26), "1 flexray 2 25/1 tx,B 0102");
        EXPECT_EQ(all.substr(all.size() - 4), "FDFE");
        EXPECT_EQ(textOfObject(kind, received.set(24, 2, 255).bytes()), "! more than 254 data bytes: 1");
        EXPECT_EQ(textOfObject(kind, received.set(36, 4, 1).bytes()), "1 flexray 2 25/1 null,tx,B ");
        EXPECT_EQ(textOfObject(kind, received.bytes().substr(0, dataAt - 1)),
                  "! object is shorter than its kind demands: 1");
    }
}

TEST(BlfReaderTest, timesAreMicrosecondsSinceTheStart) {
    std::string const content = blf::canContent(1, 1, "");
    EXPECT_EQ(textOf(blf::object(1, content, 123'456, Unit::TenMicroseconds) +
                     blf::object(1, content, 123'456'789, Unit::Nanoseconds) +
                     blf::object(1, content, 2'000, Unit::Nanoseconds, 2) +
                     blf::object(1, content, 7, Unit::TenMicroseconds, 2)),
              (RecordingText{"1234560 can 1 001 rx ", "123456 can 1 001 rx ", "2 can 1 001 rx ", "70 can 1 001 rx "}));
}

// The dates of files are local time.
class BlfDateTest : public Test {
protected:
    static std::optional<std::uint64_t> startTimeOf(blf::Date date, std::size_t headerSize = 144) {
        std::optional<std::uint64_t> time = 1;
        textOfRecording<BlfReader>(blf::fileHeader(date, headerSize) + blf::can(1, 1, ""), {}, &time);
        return time;
    }

    LocalZone d_zone;
};

TEST_F(BlfDateTest, startIsInLocalTime) {
    EXPECT_EQ(startTimeOf({2017, 9, 30, 15, 6, 13, 191}), 1'506'776'773'191'000U); // 13:06:13.191 UTC
    EXPECT_EQ(startTimeOf({2017, 12, 31, 23, 59, 59, 999}), 1'514'761'199'999'000U);
    d_zone.set("UTC0");
    EXPECT_EQ(startTimeOf({2017, 9, 30, 15, 6, 13, 191}), 1'506'783'973'191'000U);
}

TEST_F(BlfDateTest, fileWithoutDateHasNoStart) {
    EXPECT_EQ(startTimeOf({}), std::nullopt);
    EXPECT_EQ(startTimeOf({2017, 13, 1, 0, 0, 0, 0}), std::nullopt);
    EXPECT_EQ(startTimeOf({2017, 1, 1, 24, 0, 0, 0}), std::nullopt);
    EXPECT_EQ(startTimeOf({65535, 65535, 65535, 65535, 65535, 65535, 65535}), std::nullopt);
}

TEST(BlfReaderTest, headerOfTheFileHasTheSizeItStates) {
    for (std::size_t const size : {56U, 144U, 1000U, 600'000U})
        EXPECT_EQ(textOfRecording<BlfReader>(blf::fileHeader({}, size) + blf::can(1, 1, "")),
                  RecordingText{"0 can 1 001 rx "});
}

// `count` frames with growing times and identifiers, and their texts.
std::string frames(unsigned count, RecordingText& texts) {
    std::string objects;
    for (unsigned i = 1; i <= count; ++i) {
        std::string const data = countedBytes(i % 9);
        objects += blf::can(1, i % 0x800, data, i * 1000);
        Frame frame;
        frame.timestamp = i;
        frame.channel = 1;
        frame.address = i % 0x800;
        frame.flags = frameFlag::received;
        frame.length = static_cast<std::uint8_t>(data.size());
        std::copy(data.begin(), data.end(), frame.bytes.begin());
        texts.push_back(fullTextOf(frame));
    }
    return objects;
}

// In containers of the given size, whatever the borders of objects.
template <typename Container>
std::string inContainers(std::string const& objects, std::size_t size, Container container) {
    std::string result;
    for (std::size_t i = 0; i < objects.size(); i += size)
        result += container(objects.substr(i, size));
    return result;
}

TEST(BlfReaderTest, objectsRunOverTheBordersOfContainers) {
    RecordingText texts;
    std::string const objects = frames(200, texts);
    for (std::size_t const size : {1U, 15U, 47U, 48U, 49U, 1001U, 100'000U}) {
        EXPECT_EQ(textOf(inContainers(objects, size, blf::stored)), texts) << size;
#ifdef QZSIGNAL_WITH_ZLIB
        EXPECT_EQ(textOf(inContainers(objects, size, blf::deflated)), texts) << size;
#endif
    }
    EXPECT_EQ(textOf(objects), texts); // without containers
}

TEST(BlfReaderTest, containersMayBeLargerThanTheBuffer) {
    RecordingText texts;
    std::string const objects = frames(20'000, texts);
    EXPECT_TRUE(textOf(blf::stored(objects)) == texts);
#ifdef QZSIGNAL_WITH_ZLIB
    EXPECT_TRUE(textOf(blf::deflated(objects)) == texts);
#endif
}

TEST(BlfReaderTest, piecesOfAnySizeAndInterruptionsLoseNothing) {
    RecordingText texts;
    std::string const objects = frames(100, texts);
    std::string file = inContainers(objects, 700, blf::stored);
#ifdef QZSIGNAL_WITH_ZLIB
    file += inContainers(objects, 700, blf::deflated);
    RecordingText const once = texts;
    texts.insert(texts.end(), once.begin(), once.end());
#endif
    for (std::size_t const most : {1U, 2U, 13U, 1000U})
        for (bool const interrupts : {false, true})
            EXPECT_EQ(textOf(file, {most, interrupts}), texts) << most;
}

TEST(BlfReaderTest, objectsMayBePaddedOrNot) {
    std::string const text = blf::object(65, "odd");
    EXPECT_EQ(text.size(), 38U); // 35 and 3
    for (std::size_t const padding : {0U, 1U, 3U}) {
        std::string const object = text.substr(0, 35) + std::string(padding, '\xAA');
        EXPECT_EQ(textOf(blf::stored(object + blf::can(1, 1, "") + object)),
                  (RecordingText{"0 can 1 001 rx ", "- 2 text"}));
    }
}

TEST(BlfReaderTest, otherKindsAreCountedByName) {
    std::string file;
    for (unsigned const kind : {4U, 71U, 72U, 120U, 999U, 4U, 22U, 132U, 0U})
        file += blf::object(kind, countedBytes(kind % 50));
    EXPECT_EQ(textOf(blf::stored(file)),
              (RecordingText{"- 2 CAN statistics", "- 2 Ethernet frame", "- 1 MOST event", "- 1 object of kind 0",
                             "- 1 object of kind 132", "- 1 object of kind 999", "- 1 system variable"}));
}

TEST(BlfReaderTest, objectsLargerThanTheBufferArePassedOver) {
    EXPECT_EQ(textOf(blf::can(1, 1, "") + blf::object(71, std::string(1'000'000, 'x')) + blf::can(1, 2, "")),
              (RecordingText{"0 can 1 001 rx ", "0 can 1 002 rx ", "- 1 Ethernet frame"}));
}

// Every place at which a recorder may be switched off: what is there is read, and that something is missing is said.
TEST(BlfReaderTest, truncatedFilesAreReadAsFarAsTheyGo) {
    RecordingText texts;
    std::string const objects = frames(12, texts);
    std::vector<std::string> files = {blf::fileHeader() + inContainers(objects, 250, blf::stored)};
#ifdef QZSIGNAL_WITH_ZLIB
    files.push_back(blf::fileHeader() + inContainers(objects, 250, blf::deflated));
#endif
    for (std::string const& file : files) {
        std::size_t whole = 0;
        for (std::size_t size = 4; size < file.size(); ++size) {
            RecordingText const found = textOfRecording<BlfReader>(file.substr(0, size));
            bool const hasProblem = !found.empty() && found.back() == "cannot read 'x': unexpected end of file";
            std::size_t const count = found.size() - (hasProblem ? 1 : 0);
            EXPECT_EQ(RecordingText(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(count)),
                      RecordingText(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(count)));
            whole += hasProblem ? 0 : 1;
        }
        // Only in front of a container that begins with an object, and in the padding before one.
        EXPECT_LE(whole, 8U);
    }
}

TEST(BlfReaderTest, cutContainerIsReadAsFarAsItGoes) {
    RecordingText texts;
    std::string const objects = frames(1000, texts);
    std::string const file = blf::stored(objects);
    EXPECT_EQ(textOf(file.substr(0, file.size() / 2)).size(), 500U); // 499 of them, and the problem
#ifdef QZSIGNAL_WITH_ZLIB
    std::string const deflated = blf::deflated(objects);
    RecordingText const found = textOf(deflated.substr(0, deflated.size() / 2));
    EXPECT_GT(found.size(), 300U);
    EXPECT_EQ(found.back(), "cannot read 'x': unexpected end of file");
#endif
}

TEST(BlfReaderTest, spaceThatWasNeverWrittenIsTheEnd) {
    EXPECT_EQ(textOf(blf::stored(blf::can(1, 1, "")) + std::string(5000, '\0')), RecordingText{"0 can 1 001 rx "});
    EXPECT_EQ(textOf(blf::stored(blf::can(1, 1, "") + std::string(5000, '\0')) + blf::can(1, 2, "")),
              (RecordingText{"0 can 1 001 rx ", "0 can 1 002 rx "}));
}

TEST(BlfReaderTest, bytesThatBelongToNoObjectArePassedOver) {
    std::string const junk = "what a failing disk returned";
    RecordingText const expected = {"0 can 1 001 rx ", "0 can 1 002 rx ", "! damaged bytes: 2"};
    EXPECT_EQ(textOf(blf::can(1, 1, "") + junk + blf::can(1, 2, "")), expected);
    EXPECT_EQ(textOf(blf::can(1, 1, "") + junk + blf::can(1, 2, ""), {2, true}), expected);
    EXPECT_EQ(textOf(blf::stored(blf::can(1, 1, "")) + junk + blf::stored(blf::can(1, 2, ""))), expected);
    EXPECT_EQ(textOf(blf::stored(blf::can(1, 1, "") + junk + blf::can(1, 2, ""))), expected);
    EXPECT_EQ(textOf(blf::stored(blf::can(1, 1, "") + junk) + blf::stored(blf::can(1, 2, ""))), expected);
}

TEST(BlfReaderTest, objectsWithImpossibleHeadersAreMalformed) {
    std::string const good = blf::can(1, 1, "");
    for (unsigned const size : {0U, 1U, 15U, 0x04000001U, 0xFFFFFFFFU}) {
        std::string bad = good;
        bad.replace(8, 4, Fields(4).set(0, 4, size).bytes());
        EXPECT_EQ(textOf(blf::stored(bad + good)),
                  (RecordingText{"0 can 1 001 rx ", "! object of an impossible size: 1", "! damaged bytes: 2"}))
            << size;
        EXPECT_EQ(textOf(bad + good), (RecordingText{"0 can 1 001 rx ", "! damaged bytes: 1"})) << size;
        std::string container = blf::stored(good);
        container.replace(8, 4, Fields(4).set(0, 4, size).bytes());
        EXPECT_EQ(textOf(container + good), (RecordingText{"0 can 1 001 rx ", "0 can 1 001 rx ", "! damaged bytes: 1"}))
            << size;
    }
    for (unsigned const size : {0U, 16U, 31U, 49U, 65U}) {
        std::string bad = good;
        bad.replace(4, 2, Fields(2).set(0, 2, size).bytes());
        EXPECT_EQ(textOf(blf::stored(bad + good)), (RecordingText{"0 can 1 001 rx ", "! header of an unknown size: 1"}))
            << size;
    }
}

// The frame that runs into what is missing is not made of bytes of another one.
TEST(BlfReaderTest, objectsThatEndInDamagedContainersAreLeftOut) {
    std::string const three = blf::can(1, 1, "") + blf::can(1, 2, "") + blf::can(1, 3, "");
    std::string const last = blf::stored(blf::can(1, 4, "") + blf::can(1, 5, ""));
    // A container of an unknown compression in place of the rest of object 2.
    EXPECT_EQ(textOf(blf::stored(three.substr(0, 70)) + blf::container(three.substr(70), 74, 1) + last),
              (RecordingText{"0 can 1 001 rx ", "0 can 1 004 rx ", "0 can 1 005 rx ", "! damaged bytes: 2"}));
#ifdef QZSIGNAL_WITH_ZLIB
    // Of a deflated container, the beginning is there, and the next container follows.
    RecordingText texts;
    std::string const objects = frames(1000, texts);
    std::string damaged = blf::deflated(objects);
    damaged.replace(damaged.size() / 2, 20, std::string(20, '\xFF'));
    RecordingText found = textOf(damaged + last);
    ASSERT_GE(found.size(), 300U);
    EXPECT_EQ(found.back().substr(0, 16), "! damaged bytes:");
    EXPECT_EQ(found[found.size() - 2], "0 can 1 005 rx ");
    EXPECT_EQ(found[found.size() - 3], "0 can 1 004 rx ");
#endif
}

TEST(BlfReaderTest, damageAtTheEndIsReported) {
    std::string const good = blf::stored(blf::can(1, 1, ""));
    RecordingText const expected = {"0 can 1 001 rx ", "! damaged bytes: 2"};
    EXPECT_EQ(textOf(good + blf::container("anything", 10, 1)), expected);
    EXPECT_EQ(textOf(good + "what a failing disk returned"), expected);
    EXPECT_EQ(textOf(blf::stored(blf::can(1, 1, "") + "what a failing disk returned")), expected);
}

// Also when the object that ends there is through before its damage is found.
TEST(BlfReaderTest, damageAtTheEndIsNoEarlyEnd) {
    std::string const text = blf::object(65, "a text that is not all there");
    for (std::size_t const most : {std::string::npos, std::size_t{1}})
        EXPECT_EQ(textOf(blf::stored(text.substr(0, 40)) + blf::container("anything", 10, 1), {most, false}),
                  (RecordingText{"! damaged bytes: 2", "- 1 text"}))
            << most;
}

// The events before and after it are read, wherever in the event that is not read the damage is.
TEST(BlfReaderTest, damageInObjectsThatArePassedOverEndsThem) {
    std::string const large = blf::object(71, std::string(600'000, 'x'));
    for (std::size_t const size : {40U, 1000U, 500'000U})
        EXPECT_EQ(textOf(blf::stored(blf::can(1, 1, "") + large.substr(0, size)) + blf::container("anything", 10, 1) +
                         blf::can(1, 2, "")),
                  (RecordingText{"0 can 1 001 rx ", "0 can 1 002 rx ", "! damaged bytes: 3", "- 1 Ethernet frame"}))
            << size;
}

#ifdef QZSIGNAL_WITH_ZLIB
TEST(BlfReaderTest, containersThatEndBeforeTheirContentAreDamaged) {
    std::string const objects = blf::can(1, 1, "") + blf::can(1, 2, "");
    std::string const deflated = blf::deflated(objects);
    std::string const content = deflated.substr(32, deflated.size() - 32 - deflated.size() % 4);
    EXPECT_EQ(textOf(blf::container(content.substr(0, content.size() - 6), 96, 2) + blf::can(1, 3, "")).back(),
              "! damaged bytes: 3");
    EXPECT_EQ(textOf(blf::container("", 96, 2) + blf::can(1, 3, "")),
              (RecordingText{"0 can 1 003 rx ", "! damaged bytes: 1"}));
    EXPECT_EQ(textOf(blf::container("", 0, 0) + blf::can(1, 3, "")), RecordingText{"0 can 1 003 rx "});
}

// A size that is right, and a container that fits into the buffers, are the fast way and no condition.
TEST(BlfReaderTest, containersOfAnySizeAreInflated) {
    for (unsigned const count : {1U, 100U, 6000U}) {
        RecordingText expected;
        std::string const objects = frames(count, expected);
        std::string container = blf::deflated(objects);
        for (std::size_t const stated : {std::size_t{0}, std::size_t{1}, objects.size() - 1, objects.size(),
                                         objects.size() + 1, std::size_t{0xFFFFFFFF}}) {
            container.replace(24, 4, Fields(4).set(0, 4, stated).bytes());
            for (std::size_t const most : {std::string::npos, std::size_t{1000}})
                ASSERT_EQ(textOf(container, {most, most == 1000}), expected) << count << ' ' << stated;
        }
    }
}
#else
TEST(BlfReaderTest, compressedContainersAreRefusedWithoutZlib) {
    EXPECT_EQ(textOf(blf::container("anything", 96, 2)),
              RecordingText{"cannot read 'x': its objects are compressed, and this command was built without zlib"});
}
#endif

TEST(BlfReaderTest, damagedAtRandomFilesAreReadToTheirEnd) {
    RecordingText texts;
    std::string const objects = frames(300, texts);
    std::string file = blf::fileHeader() + inContainers(objects, 1000, blf::stored);
#ifdef QZSIGNAL_WITH_ZLIB
    file += inContainers(objects, 1000, blf::deflated);
#endif
    std::size_t found = 0;
    std::mt19937 random(2); // NOLINT: the same each time
    for (int i = 0; i < 200; ++i) {
        std::string damaged = file;
        for (int j = 0; j < 5; ++j)
            damaged[4 + random() % (file.size() - 4)] = static_cast<char>(random());
        found += textOfRecording<BlfReader>(damaged, {random() % 3000 + 1, false}).size();
    }
    EXPECT_GT(found, 200 * 100U); // most of it, most times
}

// Frames, places and counts of damage are those of the file.
TEST(BlfReaderTest, whatIsFoundDoesNotDependOnTheSizesOfReads) {
    RecordingText texts;
    std::string const objects = frames(40, texts) + blf::object(65, "text") + frames(40, texts);
    std::string file = blf::fileHeader() + inContainers(objects, 300, blf::stored);
#ifdef QZSIGNAL_WITH_ZLIB
    file += inContainers(objects, 300, blf::deflated);
#endif
    std::mt19937 random(3); // NOLINT: the same each time
    for (int i = 0; i < 40; ++i) {
        std::string damaged = file.substr(0, file.size() - random() % 50);
        for (unsigned j = 0; j < 1 + random() % 8; ++j) {
            std::size_t const at = 4 + random() % (damaged.size() - 20);
            std::size_t const count = random() % 16;
            if (random() % 4 == 0)
                damaged.replace(at, count, "LOBJ");
            else
                damaged.replace(at, count, count, static_cast<char>(random()));
        }
        RecordingText const whole = textOfRecording<BlfReader>(damaged);
        for (std::size_t const most : {std::size_t{1}, std::size_t{7}, std::size_t{100}, std::size_t{3000}})
            ASSERT_EQ(textOfRecording<BlfReader>(damaged, {most, most == 7}), whole) << i << ' ' << most;
    }
}

// Files that a library of its own wrote, for its tests: each field has a value that shows where it is, and that no bus
// could have. So each object is found, and recognised by the first field that is impossible.
TEST(BlfPublicFilesTest, objectsAreFound) {
    char const* const data = std::getenv("QZSIGNAL_DATA");
    if (data == nullptr || !std::filesystem::is_directory(std::string(data) + "/trc-blf"))
        GTEST_SKIP() << "QZSIGNAL_DATA names no folder with BLF files";
    constexpr struct {
        char const* name;
        char const* cause;
    } cases[] = {
        {"test_CanErrorFrameExt.blf", "! channel number above 255: 1-2"},
        {"test_CanFdMessage64.blf", "! standard identifier above 7FF: 1-2"},
        {"vector_blf_test_FlexRayV6Message.blf", "! channel number above 255: 1-2"},
        {"vector_blf_test_LinMessage2.blf", "! channel number above 255: 1-2"},
    };
    for (auto const& [name, cause] : cases) {
        std::ifstream file(std::string(data) + "/trc-blf/" + name, std::ios::binary);
        std::string const content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        EXPECT_EQ(textOfRecording<BlfReader>(content), (RecordingText{cause, "- 2 recorder's own data"})) << name;
    }
}

} // namespace
} // namespace qztool
