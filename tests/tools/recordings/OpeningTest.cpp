// Recordings of all formats through one reader: distinguished by their content, also when compressed, and what is
// handed over by mistake.
#include "tools/recordings/RecordingReader.h"

#include "tests/tools/recordings/LocalZone.h"
#include "tests/tools/recordings/ReaderText.h"
#include "tests/tools/recordings/RecordingFixtures.h"
#include "tests/tools/recordings/blf/BlfBytes.h"
#include "tests/tools/recordings/compressed/CompressedData.h"
#include "tests/tools/recordings/pcap/PcapBytes.h"

#include "tools/base/Stop.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

struct Result {
    std::string format;
    RecordingText frames;
    std::string problem;
    std::string place;
    std::optional<std::uint64_t> startTime;
};

Result resultOf(std::string const& content) {
    NeverStop stop;
    TemporaryFile const file(content);
    RecordingReader reader(file.path(), stop);
    Result result;
    Frame frame;
    for (auto next = reader.next(frame); next != RecordingReader::Next::End; next = reader.next(frame))
        if (next == RecordingReader::Next::Frame)
            result.frames.push_back(fullTextOf(frame));
    result.format = reader.formatName();
    result.problem = reader.problem();
    // The name of the file is another each time.
    if (std::size_t const at = result.problem.find(file.path()); at != std::string::npos)
        result.problem.replace(at, file.path().size(), "x");
    result.place = reader.placeKind() + (' ' + std::to_string(reader.place()));
    result.startTime = reader.startTime();
    if (result.problem.empty()) {
        EXPECT_EQ(reader.bytesRead(), content.size());
        EXPECT_EQ(reader.totalBytes(), content.size());
    }
    return result;
}

struct Recording {
    char const* format;
    std::string content;
    char const* frame;
    char const* place;
};

std::vector<Recording> recordings() {
    pcap::File const file;
    pcap::NgFile const ngFile;
    std::string const packet = pcap::frame(0x123, "\n\2");
    return {
        {"candump", "(0.000005) can1 123#0A02\n", "5 can 1 123 - 0A02", "line 1"},
        {"TRC", ";$FILEVERSION=1.1\n1) 0.005 Rx 0123 2 0A 02\n", "5 can 0 123 rx 0A02", "line 2"},
        {"GVRET CSV", "Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2\n5,00000123,false,Rx,1,2,0A,02,\n",
         "5 can 1 123 rx 0A02", "line 2"},
        {"BLF", blf::fileHeader() + blf::stored(blf::can(1, 0x123, "\n\2", 5000)), "5 can 1 123 rx 0A02", "object 1"},
        {"pcap", file.header(227) + file.packet(packet, 0, 5), "5 can 0 123 - 0A02", "packet 1"},
        {"pcapng", ngFile.section() + ngFile.interface(227) + ngFile.packet(0, packet, 5), "5 can 0 123 - 0A02",
         "packet 1"},
    };
}

TEST(OpeningTest, formatIsToldFromTheContent) {
    for (Recording const& each : recordings()) {
        Result const result = resultOf(each.content);
        EXPECT_EQ(result.problem, "");
        EXPECT_EQ(result.format, each.format);
        EXPECT_EQ(result.frames, RecordingText{each.frame}) << each.format;
        EXPECT_EQ(result.place, each.place) << each.format;
    }
}

TEST(OpeningTest, compressedRecordingsAreReadAsTheyAre) {
    for (Compressor const& compressor : compressors()) {
        for (Recording const& each : recordings()) {
            if (compressor.compress == nullptr) {
                EXPECT_EQ(resultOf(compressor.mark + "anything").problem,
                          std::string("cannot read 'x': it is compressed with ") + compressor.name +
                              ", and this command was built without " + compressor.libraryName);
                continue;
            }
            Result const result = resultOf(compressor.compress(each.content));
            EXPECT_EQ(result.problem, "") << compressor.name;
            EXPECT_EQ(result.format, each.format) << compressor.name;
            EXPECT_EQ(result.frames, RecordingText{each.frame}) << compressor.name << each.format;
        }
    }
}

TEST(OpeningTest, damageOfCompressedRecordingsIsNamed) {
    for (Compressor const& compressor : compressors()) {
        if (compressor.compress == nullptr)
            continue;
        std::string lines;
        for (int i = 0; i < 1000; ++i)
            lines += "(0.000005) can1 123#0A02\n";
        std::string const bytes = compressor.compress(lines) + compressor.compress(lines);
        Result const result = resultOf(bytes.substr(0, bytes.size() - 5));
        EXPECT_GE(result.frames.size(), 1000U) << compressor.name;
        EXPECT_EQ(result.problem, std::string("cannot read 'x': unexpected end of the ") + compressor.name + " data");
        // Before there is any content.
        EXPECT_EQ(resultOf(bytes.substr(0, 7)).problem,
                  std::string("cannot read 'x': unexpected end of the ") + compressor.name + " data");
    }
}

TEST(OpeningTest, emptyCompressedRecordingHasNoFrames) {
    for (Compressor const& compressor : compressors()) {
        if (compressor.compress == nullptr)
            continue;
        Result const result = resultOf(compressor.compress(""));
        EXPECT_EQ(result.frames.size(), 0U);
        EXPECT_EQ(result.problem, "");
    }
}

TEST(OpeningTest, startTimeIsThatOfTheFormat) {
    EXPECT_GT(resultOf(blf::fileHeader({2017, 9, 30, 15, 6, 13, 191}) + blf::can(1, 1, "")).startTime, 0U);
    EXPECT_EQ(resultOf(blf::fileHeader() + blf::can(1, 1, "")).startTime, std::nullopt);
    EXPECT_GT(resultOf(";$STARTTIME=43008.9\n1) 5 0001 0\n").startTime, 0U);
    EXPECT_EQ(resultOf("1) 5 0001 0\n").startTime, std::nullopt);
    EXPECT_EQ(resultOf("(5.000000) can0 123#\n").startTime, 0U);
    EXPECT_EQ(resultOf(" (1757617431.821276)  can0  123   [0] \n").startTime, 0U);
    EXPECT_EQ(resultOf(" (000.000000)  can0  123   [0] \n").startTime, std::nullopt);
    EXPECT_EQ(resultOf("  can0  123   [0] \n").startTime, std::nullopt);
    EXPECT_EQ(resultOf("").startTime, std::nullopt);
}

std::uint64_t firstTime(std::string const& content, FrameTimes times) {
    NeverStop stop;
    TemporaryFile const file(content);
    RecordingReader reader(file.path(), stop, times);
    Frame frame;
    EXPECT_EQ(reader.next(frame), RecordingReader::Next::Frame);
    return frame.timestamp;
}

TEST(OpeningTest, timesSince1970HaveTheStartAdded) {
    LocalZone const zone;
    struct {
        std::string content;
        std::uint64_t recorded;
        std::uint64_t absolute;
    } const cases[] = {
        {blf::fileHeader({2017, 9, 30, 15, 6, 13, 191}) + blf::can(1, 1, "", 5000), 5, 1'506'776'773'191'005},
        {blf::fileHeader() + blf::can(1, 1, "", 5000), 5, 5},
        {";$STARTTIME=43101\n1) 0.005 0001 0\n", 5, 1'514'761'200'000'005},
        {"date Sat Sep 30 15:06:13.191 2017\n 0.000005 1 1 Rx d 0\n", 5, 1'506'776'773'191'005},
        {"date Sat Sep 30 15:06:13.191 2017\n 18446744073709.551615 1 1 Rx d 0\n", 18'446'744'073'709'551'615U,
         18'446'744'073'709'551'615U},
        {"(1757617431.821276) can0 123#\n", 1'757'617'431'821'276, 1'757'617'431'821'276},
        {" (000.000005)  can0  123   [0] \n", 5, 5},
    };
    for (auto const& each : cases) {
        EXPECT_EQ(firstTime(each.content, FrameTimes::AsRecorded), each.recorded) << each.content;
        EXPECT_EQ(firstTime(each.content, FrameTimes::Since1970), each.absolute) << each.content;
    }
}

TEST(OpeningTest, whatIsHandedOverByMistakeIsNamed) {
    struct {
        std::string content;
        char const* problem;
    } const cases[] = {
        {"MDF     4.10    ", "it is an MDF measurement"},
        {std::string("UnFinMF 4.10\0\0\0\0", 16), "it is an MDF measurement"},
        {std::string("SQLite format 3\0\x10\0", 18), "it is an SQLite database"},
        {"PK\3\4 and so on", "it is a ZIP archive; unpack it"},
        {"%PDF-1.7\n", "it is a PDF document"},
        {"BZh91AY&SY", "it is compressed in a way that is not supported"},
        {std::string("\xFF\xFE(\0"
                     "0\0",
                     6),
         "it is UTF-16 text; convert it to UTF-8"},
        {std::string("\xFE\xFF\0(\0"
                     "0",
                     6),
         "it is UTF-16 text; convert it to UTF-8"},
        {std::string("d\0a\0t\0e\0 \0", 10), "it is UTF-16 text; convert it to UTF-8"},
        {std::string("\0d\0a\0t\0e\0 ", 10), "it is UTF-16 text; convert it to UTF-8"},
        {"VERSION \"\"\n\nNS_ :\n", "it is a DBC file, which holds definitions"},
        {"LIN_description_file;\n", "it is an LDF file, which holds definitions"},
        {"<?xml version=\"1.0\"?>\n", "it is XML"},
        {"timestamp,arbitration_id,extended,remote,error,dlc,data\n1,2,3\n", "it is CSV"},
        {"time;id;length;data\n", "it is CSV"},
    };
    for (auto const& [content, problem] : cases) {
        Result const result = resultOf(content);
        EXPECT_EQ(result.problem.find(std::string("cannot read 'x': ") + problem), 0U)
            << result.problem << " in place of " << problem;
        EXPECT_EQ(result.frames.size(), 0U);
    }
    // Commas in lines of formats that are read.
    EXPECT_EQ(resultOf("// a, b, c, d\n0.5 1 64 Rx d 0\n").frames.size(), 1U);
    EXPECT_EQ(resultOf(";$COLUMNS=N,O,T,B,I,d,R,L,D\n").problem, "");
}

} // namespace
} // namespace qztool
