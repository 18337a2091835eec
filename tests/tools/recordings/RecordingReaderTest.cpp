// Whole logs: recognition, statistics, problems, and logs damaged at random.
#include "tools/recordings/RecordingReader.h"

#include "tests/tools/recordings/RecordingFixtures.h"

#include "tools/base/StopRequest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include <sys/stat.h>

namespace qztool {
namespace {

using Next = RecordingReader::Next;
using Frames = std::vector<std::string>;

SignalStop stop;

Frames framesOf(RecordingReader& reader) {
    Frames frames;
    Frame frame;
    for (Next next = reader.next(frame); next != Next::End; next = reader.next(frame))
        if (next == Next::Frame)
            frames.push_back(textOf(frame));
    return frames;
}

// "odd number of data digits: 3, 5-6" for each cause.
std::string malformedText(RecordingReader const& reader) {
    std::string text;
    for (Malformed const& each : reader.findings().malformed())
        text += (text.empty() ? "" : "; ") + std::string(each.cause) + ": " + each.places.text();
    return text;
}

struct Result {
    std::string format;
    Frames frames;
    std::string malformed;
    std::string problem;
};

Result resultOf(std::string_view content) {
    TemporaryFile const file(content);
    RecordingReader reader(file.path(), stop);
    Frames const frames = framesOf(reader);
    return {reader.formatName(), frames, malformedText(reader), reader.problem()};
}

// Standard input comes from a pipe as long as the object lives.
class StandardInput {
public:
    explicit StandardInput(Pipe const& pipe) : d_original(dup(STDIN_FILENO)) { dup2(pipe.reader(), STDIN_FILENO); }
    ~StandardInput() {
        dup2(d_original, STDIN_FILENO);
        close(d_original);
    }
    StandardInput(StandardInput const&) = delete;
    StandardInput& operator=(StandardInput const&) = delete;

private:
    int d_original;
};

TEST(RecordingReaderTest, candumpLogIsRecognised) {
    Result const result = resultOf("\n \r\n(1.0) can0 123#01\n(2.0) can1 12345678#\n");
    EXPECT_EQ(result.format, "candump");
    EXPECT_EQ(result.frames, (Frames{"1000000 0 123#01", "2000000 1 12345678#"}));
    EXPECT_EQ(result.malformed, "");
    EXPECT_EQ(result.problem, "");
}

TEST(RecordingReaderTest, ascLogIsRecognisedByEachOfItsBeginnings) {
    for (std::string const beginning : {"date Sat Sep 30 15:06:13.191 2017\r\n", "base hex timestamps absolute\r\n",
                                        "// version 9\r\n", "\r\n", ""}) {
        Result const result = resultOf(beginning + "0.5 1 64 Rx d 1 0A\r\n");
        EXPECT_EQ(result.format, "ASC") << beginning;
        EXPECT_EQ(result.frames, Frames{"500000 1 064#0A"}) << beginning;
        EXPECT_EQ(result.malformed, "") << beginning;
    }
}

TEST(RecordingReaderTest, byteOrderMarkIsNoPartOfTheFirstLine) {
    EXPECT_EQ(resultOf("\xEF\xBB\xBF(1.0) can0 123#01\n").frames, Frames{"1000000 0 123#01"});
    EXPECT_EQ(resultOf("\xEF\xBB\xBF"
                       "base dec\n0.5 1 100 Rx d 0\n")
                  .frames,
              Frames{"500000 1 064#"});
}

TEST(RecordingReaderTest, linesBeforeRecognitionAreMalformed) {
    Result const result = resultOf("hello\n\nworld\n(1.0) can0 123#01\n");
    EXPECT_EQ(result.frames, Frames{"1000000 0 123#01"});
    EXPECT_EQ(result.malformed, "neither a candump nor an ASC, TRC or GVRET line: 1, 3");
}

TEST(RecordingReaderTest, formatStaysAsRecognised) {
    Result const result = resultOf("(1.0) can0 123#01\n0.5 1 64 Rx d 0\n");
    EXPECT_EQ(result.format, "candump");
    EXPECT_EQ(result.frames, Frames{"1000000 0 123#01"});
    EXPECT_EQ(result.malformed, "line does not begin with a time in parentheses: 2");
}

TEST(RecordingReaderTest, textOfAnotherKindHasNoFrames) {
    Result const result = resultOf("hello\nworld\n");
    EXPECT_EQ(result.format, "");
    EXPECT_EQ(result.frames, Frames{});
    EXPECT_EQ(result.malformed, "neither a candump nor an ASC, TRC or GVRET line: 1-2");
    EXPECT_EQ(result.problem, "");
}

TEST(RecordingReaderTest, emptyFileHasNeitherFramesNorProblem) {
    Result const result = resultOf("");
    EXPECT_EQ(result.format, "");
    EXPECT_EQ(result.frames, Frames{});
    EXPECT_EQ(result.malformed, "");
    EXPECT_EQ(result.problem, "");
}

TEST(RecordingReaderTest, framesOfAllKindsAreHandedOutAndMalformedLinesCounted) {
    TemporaryFile const file("(1.0) can0 123#01\n"
                             "(1.0) can0 123#0\n"
                             "\n"
                             "(1.0) can0 123##1\n"
                             "(1.0) can0 123#R\n(1.0) can0 123#R2\n"
                             "(1.0) can0 20000001#0000000000000000\n"
                             "(1.0) can0 123#1\n(1.0) can0 12#\n(1.0) can0 123#03");
    RecordingReader reader(file.path(), stop);
    EXPECT_EQ(framesOf(reader), (Frames{"1000000 0 123#01", "1000000 0 123##1 ", "1000000 0 123#R0", "1000000 0 123#R2",
                                        "error frame", "1000000 0 123#03"}));
    EXPECT_EQ(reader.place(), 10U);
    EXPECT_EQ(std::string(reader.placeKind()), "line");
    EXPECT_EQ(reader.findings().malformedCount(), 3U);
    EXPECT_EQ(malformedText(reader),
              "odd number of data digits: 2, 8; identifier has neither 3 nor 8 hexadecimal digits: 9");
}

TEST(RecordingReaderTest, lineNumberIsThatOfTheCurrentFrame) {
    TemporaryFile const file("\n(1.0) can0 123#\n\n\n(2.0) can0 123#\n");
    RecordingReader reader(file.path(), stop);
    Frame frame;
    ASSERT_EQ(reader.next(frame), Next::Frame);
    EXPECT_EQ(reader.place(), 2U);
    ASSERT_EQ(reader.next(frame), Next::Frame);
    EXPECT_EQ(reader.place(), 5U);
}

// Line and header of each frame, and how many headers there were.
std::string linesOf(std::string_view content) {
    TemporaryFile const file(content);
    RecordingReader reader(file.path(), stop);
    std::string text;
    Frame frame;
    for (Next next = reader.next(frame); next != Next::End; next = reader.next(frame))
        text += std::to_string(reader.headers()) + (reader.linesHaveTheirTimes() ? " " : " ? ") +
                std::string(reader.line()) + " | " + reader.header() + "\n";
    return text;
}

TEST(RecordingReaderTest, linesAreThoseOfTheRecording) {
    EXPECT_EQ(linesOf("(1.0)  can0 123#01\r\n(2.0) can0 123#R T"),
              "0 (1.0)  can0 123#01 | \n0 (2.0) can0 123#R T | \n");
    std::string const lines(40000, ' ');
    EXPECT_EQ(linesOf("(1.0) can0 123#" + lines + "\n(2.0) can0 123#" + lines + "\n"),
              "0 (1.0) can0 123#" + lines + " | \n0 (2.0) can0 123#" + lines + " | \n")
        << "the input's buffer holds only some of these";
    EXPECT_EQ(linesOf(" (001.5)  can0  123   [1]  01\n (000.1)  can0  123   [1]  01\n"),
              "0 ?  (001.5)  can0  123   [1]  01 | \n0 ?  (000.1)  can0  123   [1]  01 | \n");
    EXPECT_EQ(linesOf(" (1700000001.500000)  can0  123   [1]  01\n"),
              "0  (1700000001.500000)  can0  123   [1]  01 | \n");
}

TEST(RecordingReaderTest, headersAreKeptUntilAnotherOneComes) {
    EXPECT_EQ(
        linesOf("date Sat Sep 30 15:06:13.191 2017\n\nbase hex  timestamps absolute\n// version 9.0.0\n"
                "0.5 1 Statistic: D 0\nBegin Triggerblock\n 1.0 1 64 Rx d 0\n// aside\nBegin Triggerblock\n"
                " 1.5 1 64 Rx d 0\nbase dec  timestamps relative\n 1.0 1 64 Rx d 0\n"),
        "1  1.0 1 64 Rx d 0 | date Sat Sep 30 15:06:13.191 2017\nbase hex  timestamps absolute\n// version 9.0.0\n"
        "Begin Triggerblock\n\n"
        "1  1.5 1 64 Rx d 0 | date Sat Sep 30 15:06:13.191 2017\nbase hex  timestamps absolute\n// version 9.0.0\n"
        "Begin Triggerblock\n\n"
        "2 ?  1.0 1 64 Rx d 0 | base dec  timestamps relative\n\n");
    EXPECT_EQ(linesOf(";$FILEVERSION=1.1\n;$STARTTIME=43008.5\n; Message\n 1) 1.0 Rx 0001 1 FF\n; aside\n"),
              "1  1) 1.0 Rx 0001 1 FF | ;$FILEVERSION=1.1\n;$STARTTIME=43008.5\n; Message\n\n");
}

TEST(RecordingReaderTest, commentsOfCandumpTextAreSkipped) {
    Result const result = resultOf("# a, b, c, d\n(1.0) can0 123#01\n  # aside\n(2.0) can0 123#02\n#\n");
    EXPECT_EQ(result.format, "candump");
    EXPECT_EQ(result.frames, (Frames{"1000000 0 123#01", "2000000 0 123#02"}));
    EXPECT_EQ(result.malformed, "");
    EXPECT_EQ(resultOf(" (1.0)  can0  123   [1]  01\n# aside\n").malformed, "");
}

TEST(RecordingReaderTest, overlongLineIsMalformed) {
    Result const result = resultOf("(1.0) can0 123#\n" + std::string(70'000, '(') + "\n(2.0) can0 123#\n");
    EXPECT_EQ(result.frames, (Frames{"1000000 0 123#", "2000000 0 123#"}));
    EXPECT_EQ(result.malformed, "line longer than 65536 bytes: 2");
}

TEST(RecordingReaderTest, callerHasATurnDuringManyLinesWithoutFrames) {
    std::string content;
    for (int i = 0; i < 100'000; ++i)
        content += "x\n";
    TemporaryFile const file(content);
    RecordingReader reader(file.path(), stop);
    Frame frame;
    EXPECT_EQ(reader.next(frame), Next::Interrupted);
    EXPECT_EQ(reader.next(frame), Next::End);
    EXPECT_EQ(malformedText(reader), "neither a candump nor an ASC, TRC or GVRET line: 1-100000");
}

TEST(RecordingReaderTest, progressEndsAtTheSizeOfTheFile) {
    std::string const content = "(1.0) can0 123#\n(2.0) can0 123#\n";
    TemporaryFile const file(content);
    RecordingReader reader(file.path(), stop);
    EXPECT_EQ(reader.totalBytes(), content.size());
    EXPECT_EQ(reader.bytesRead(), 0U);
    framesOf(reader);
    EXPECT_EQ(reader.bytesRead(), content.size());
}

TEST(RecordingReaderTest, missingFileIsAProblem) {
    RecordingReader reader("/tmp/no such folder/x.log", stop);
    EXPECT_FALSE(reader.isOpen());
    EXPECT_EQ(reader.problem(), "cannot open '/tmp/no such folder/x.log': No such file or directory");
    Frame frame;
    EXPECT_EQ(reader.next(frame), Next::End);
}

TEST(RecordingReaderTest, directoryIsAProblem) {
    RecordingReader const reader("/tmp", stop);
    EXPECT_FALSE(reader.isOpen());
    EXPECT_EQ(reader.problem(), "cannot open '/tmp': Is a directory");
}

TEST(RecordingReaderTest, unreadableFileIsAProblem) {
    if (geteuid() == 0)
        GTEST_SKIP() << "root may read every file";
    TemporaryFile const file("(1.0) can0 123#\n");
    ASSERT_EQ(chmod(file.path().c_str(), 0), 0);
    RecordingReader const reader(file.path(), stop);
    EXPECT_FALSE(reader.isOpen());
    EXPECT_EQ(reader.problem(), "cannot open '" + file.path() + "': Permission denied");
}

TEST(RecordingReaderTest, failedReadingIsAProblem) {
    // Opens well, but nothing is mapped where the reading begins.
    RecordingReader reader("/proc/self/mem", stop);
    if (!reader.isOpen())
        GTEST_SKIP() << reader.problem();
    Frame frame;
    EXPECT_EQ(reader.next(frame), Next::End);
    EXPECT_EQ(reader.problem(), "cannot read '/proc/self/mem': Input/output error");
}

TEST(RecordingReaderTest, binaryContentIsOneProblem) {
    using namespace std::string_view_literals;
    for (std::string_view content : {"BINA\x90\0\0\0\n\n\n"sv, "(1.0) can0 123#\n\0"sv}) {
        Result const result = resultOf(content);
        EXPECT_EQ(result.frames, Frames{});
        EXPECT_EQ(result.malformed, "");
        EXPECT_NE(result.problem.find("is not a text log: it contains NUL bytes"), std::string::npos) << result.problem;
    }
    for (std::string_view content : {"\xFF\xFE(\0001\0"sv, "\xFE\xFF\0(\0001"sv}) {
        Result const result = resultOf(content);
        EXPECT_EQ(result.malformed, "");
        EXPECT_NE(result.problem.find("it is UTF-16 text; convert it to UTF-8"), std::string::npos) << result.problem;
    }
}

TEST(RecordingReaderTest, damageFarBehindTheBeginningIsMalformed) {
    std::string content;
    for (int i = 0; i < 30'000; ++i)
        content += "(1.0) can0 123#\n";
    Result const result = resultOf(content + std::string(100, '\0') + "\n(2.0) can0 123#\n");
    EXPECT_EQ(result.frames.size(), 30'001U);
    EXPECT_EQ(result.malformed, "line does not begin with a time in parentheses: 30001");
    EXPECT_EQ(result.problem, "");
}

TEST(RecordingReaderTest, standardInputIsReadAsItComes) {
    Interruptions const insteadOfHanging(2000);
    Pipe pipe;
    StandardInput const redirected(pipe);
    RecordingReader reader("-", stop);
    EXPECT_TRUE(reader.isOpen());
    EXPECT_EQ(reader.totalBytes(), 0U);
    Frame frame;
    ASSERT_TRUE(pipe.write("(1.0) can0 123#01\n(2.0) can0 1"));
    ASSERT_EQ(reader.next(frame), Next::Frame);
    EXPECT_EQ(textOf(frame), "1000000 0 123#01");
    ASSERT_TRUE(pipe.write("23#02\n"));
    ASSERT_EQ(reader.next(frame), Next::Frame);
    EXPECT_EQ(textOf(frame), "2000000 0 123#02");
    pipe.closeWriter();
    EXPECT_EQ(reader.next(frame), Next::End);
    EXPECT_EQ(reader.problem(), "");
}

TEST(RecordingReaderTest, signalInterruptsWaiting) {
    Pipe pipe;
    StandardInput const redirected(pipe);
    RecordingReader reader("-", stop);
    Frame frame;
    {
        Interruptions const interruptions(5);
        EXPECT_EQ(reader.next(frame), Next::Interrupted);
    }
    ASSERT_TRUE(pipe.write("(1.0) can0 123#01\n"));
    ASSERT_EQ(reader.next(frame), Next::Frame);
    EXPECT_EQ(textOf(frame), "1000000 0 123#01");
}

TEST(RecordingReaderTest, problemNamesStandardInput) {
    Pipe pipe;
    StandardInput const redirected(pipe);
    ASSERT_TRUE(pipe.write(std::string(16, '\0')));
    RecordingReader reader("-", stop);
    Frame frame;
    EXPECT_EQ(reader.next(frame), Next::End);
    EXPECT_EQ(reader.problem(), "standard input is not a text log: it contains NUL bytes");
}

// Every line is counted once, and every frame keeps its promises.
void checkDamaged(std::string const& content) {
    TemporaryFile const file(content);
    RecordingReader reader(file.path(), stop);
    Frame frame;
    std::size_t frames = 0;
    for (Next next = reader.next(frame); next == Next::Frame; next = reader.next(frame)) {
        ++frames;
        ASSERT_LE(frame.length, frame.is(frameFlag::fd) ? 64 : 8) << content;
        ASSERT_LE(frame.address, frame.extended() ? highestExtendedIdentifier : highestStandardIdentifier) << content;
    }
    if (!reader.problem().empty())
        return;
    std::size_t listed = 0;
    for (Malformed const& each : reader.findings().malformed())
        listed += each.places.count();
    bool const hasOpenEnd = !content.empty() && content.back() != '\n';
    auto const lineFeeds = static_cast<std::size_t>(std::count(content.begin(), content.end(), '\n'));
    ASSERT_EQ(reader.place(), lineFeeds + (hasOpenEnd ? 1 : 0)) << content;
    ASSERT_LE(frames + reader.findings().malformedCount(), reader.place()) << content;
    ASSERT_EQ(listed, reader.findings().malformedCount()) << content;
}

TEST(RecordingReaderTest, damageNeverBreaksTheAccount) {
    std::string const logs[] = {
        "(1.0) can0 123#0102\n(1.5) can1 18FEF100#0102030405060708_9 T\n(2.0) can0 123#R8\n(2.1) can0 123##1AA\n"
        "(2.5) vcan12 20000080#0000000000000000\n\n(3.000001) can0 7FF#\n",
        "date Sat\nbase hex timestamps relative\nBegin Triggerblock\n0.0 Start of measurement\n"
        "0.1 1 64 Rx d 2 01 02 Length = 3\n0.1 2 1Fx TxRq d 0\r\n0.1 CANFD 1 Rx 64 0 0 8 8\n0.1 1 ErrorFrame\n"
        "0.1 1 64 Tx r\nbase dec\n0.2 1 100 Rx d 8 1 2 3 4 5 6 7 255\nEnd TriggerBlock"};
    std::mt19937 random(3);
    for (int round = 0; round < 1000; ++round) {
        for (std::string log : logs) {
            for (unsigned flips = random() % 8 + 1; flips > 0; --flips) {
                char& byte = log[random() % log.size()];
                byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << random() % 8));
            }
            ASSERT_NO_FATAL_FAILURE(checkDamaged(log));
        }
    }
}

} // namespace
} // namespace qztool
