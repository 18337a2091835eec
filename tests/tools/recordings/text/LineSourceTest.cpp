// Lines from pipes: odd portions, pauses, long lines, interruptions, errors.
#include "tools/recordings/text/LineSource.h"

#include "tests/process/Process.h"
#include "tests/tools/recordings/RecordingFixtures.h"
#include "tools/base/StopRequest.h"
#include "tools/recordings/FileSource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <random>
#include <thread>
#include <vector>

#include <fcntl.h>

namespace qztool {
namespace {

using Next = LineSource::Next;

constexpr char const* tooLong = "<too long>";

// The lines of a descriptor.
struct Source {
    explicit Source(int descriptor) : d_file(descriptor, d_stop), d_input(d_file), d_lines(d_input) {}

    SignalStop d_stop;
    FileSource d_file;
    InputBuffer d_input;
    LineSource d_lines;
};

// The next line, or what came in its place.
std::string nextLine(Source& source) {
    std::string_view line;
    switch (source.d_lines.next(line)) {
    case Next::Line:
        return std::string(line);
    case Next::TooLong:
        return tooLong;
    case Next::End:
        return "<end>";
    case Next::Interrupted:
        return "<interrupted>";
    default:
        return "<failed>";
    }
}

std::vector<std::string> allLines(Source& source) {
    std::vector<std::string> lines;
    for (std::string line = nextLine(source); line != "<end>"; line = nextLine(source)) {
        lines.push_back(line);
        if (line == "<failed>" || line == "<interrupted>")
            break;
    }
    return lines;
}

// Writes `text` in portions of 1 to `longest` bytes while it is read.
std::vector<std::string> linesThroughPipe(std::string const& text, std::size_t longest) {
    Pipe pipe;
    bool isWritten = false;
    std::thread writer([&] {
        std::mt19937 random(1);
        std::string_view rest = text;
        isWritten = true;
        while (!rest.empty() && isWritten) {
            std::size_t const length = std::min<std::size_t>(rest.size(), 1 + random() % longest);
            isWritten = pipe.write(rest.substr(0, length));
            rest.remove_prefix(length);
        }
        pipe.closeWriter();
    });
    Source source(pipe.reader());
    std::vector<std::string> lines = allLines(source);
    writer.join();
    EXPECT_TRUE(isWritten);
    EXPECT_EQ(source.d_file.bytesRead(), text.size());
    return lines;
}

std::vector<std::string> linesOf(std::string const& text) {
    return linesThroughPipe(text, 1000);
}

using Lines = std::vector<std::string>;

TEST(LineSourceTest, lineEndsAreStripped) {
    EXPECT_EQ(linesOf("a\nbc\r\n\n\r\nd\re\r\r\n"), (Lines{"a", "bc", "", "", "d\re\r"}));
}

TEST(LineSourceTest, lastLineMayLackItsLineEnd) {
    EXPECT_EQ(linesOf("a\nb"), (Lines{"a", "b"}));
    EXPECT_EQ(linesOf("a\nb\r"), (Lines{"a", "b"}));
    EXPECT_EQ(linesOf("a\n\n"), (Lines{"a", ""}));
}

TEST(LineSourceTest, emptyInputHasNoLines) {
    EXPECT_EQ(linesOf(""), Lines{});
}

TEST(LineSourceTest, endStaysTheEnd) {
    Pipe pipe;
    ASSERT_TRUE(pipe.write("a"));
    pipe.closeWriter();
    Source source(pipe.reader());
    EXPECT_EQ(nextLine(source), "a");
    EXPECT_EQ(nextLine(source), "<end>");
    EXPECT_EQ(nextLine(source), "<end>");
}

TEST(LineSourceTest, portionsDoNotShow) {
    std::mt19937 random(2);
    Lines expected;
    std::string text;
    for (int i = 0; i < 4000; ++i) {
        std::size_t const length = i % 500 == 0 ? random() % LineSource::longestLine : random() % 200;
        expected.emplace_back(length, static_cast<char>('a' + i % 26));
        text += expected.back() + (i % 3 == 0 ? "\r\n" : "\n");
    }
    for (std::size_t longest : {7U, 997U, 100'000U})
        EXPECT_EQ(linesThroughPipe(text, longest), expected) << longest;
}

TEST(LineSourceTest, linesComeWhileTheWriterPauses) {
    Interruptions const insteadOfHanging(2000);
    Pipe pipe;
    Source source(pipe.reader());
    ASSERT_TRUE(pipe.write("one\ntw"));
    EXPECT_EQ(nextLine(source), "one");
    ASSERT_TRUE(pipe.write("o"));
    ASSERT_TRUE(pipe.write("\r"));
    ASSERT_TRUE(pipe.write("\nthree\nfour\n"));
    EXPECT_EQ(nextLine(source), "two");
    EXPECT_EQ(nextLine(source), "three");
    EXPECT_EQ(nextLine(source), "four");
}

TEST(LineSourceTest, interruptionLosesNothing) {
    Pipe pipe;
    Source source(pipe.reader());
    ASSERT_TRUE(pipe.write("ha"));
    {
        Interruptions const interruptions(5);
        EXPECT_EQ(nextLine(source), "<interrupted>");
        EXPECT_EQ(nextLine(source), "<interrupted>");
    }
    ASSERT_TRUE(pipe.write("lf\n"));
    EXPECT_EQ(nextLine(source), "half");
}

TEST(LineSourceTest, stopRequestedInTheInstantBeforeIsNotSleptOver) {
    Process process([] {
        noteStopRequests();
        Pipe pipe;
        Source source(pipe.reader());
        std::raise(SIGINT);
        bool const ended = nextLine(source) == "<interrupted>" && nextLine(source) == "<interrupted>";
        _exit(ended ? EXIT_SUCCESS : EXIT_FAILURE);
    });
    EXPECT_TRUE(process.finished());
}

TEST(LineSourceTest, longestLineIsHandedOutWhateverItsEnd) {
    std::string const longest(LineSource::longestLine, 'x');
    EXPECT_EQ(linesOf(longest + "\na"), (Lines{longest, "a"}));
    EXPECT_EQ(linesOf(longest + "\r\na"), (Lines{longest, "a"}));
    EXPECT_EQ(linesOf("a\n" + longest), (Lines{"a", longest}));
}

TEST(LineSourceTest, linesAboveTheLimitAreSkipped) {
    std::string const above(LineSource::longestLine + 1, 'x');
    std::string const farAbove(LineSource::longestLine * 20, 'y');
    EXPECT_EQ(linesOf("a\n" + above + "\nb\n"), (Lines{"a", tooLong, "b"}));
    EXPECT_EQ(linesOf("a\n" + above + "\r\nb\n"), (Lines{"a", tooLong, "b"}));
    EXPECT_EQ(linesOf("a\n" + farAbove + "\nb\n"), (Lines{"a", tooLong, "b"}));
    EXPECT_EQ(linesOf(farAbove + "\n" + farAbove + "\n\nb\n"), (Lines{tooLong, tooLong, "", "b"}));
    EXPECT_EQ(linesOf("a\n" + above), (Lines{"a", tooLong}));
    EXPECT_EQ(linesOf("a\n" + farAbove), (Lines{"a", tooLong}));
}

// Writes `text`, which is no whole line, and lets the source take all of it.
void feedPartOfLine(Pipe& pipe, Source& source, std::string const& text) {
    std::uint64_t const expected = source.d_file.bytesRead() + text.size();
    std::thread writer([&] { EXPECT_TRUE(pipe.write(text)); });
    Interruptions const interruptions(5);
    do {
        EXPECT_EQ(nextLine(source), "<interrupted>");
    } while (source.d_file.bytesRead() < expected && !testing::Test::HasFailure());
    EXPECT_EQ(nextLine(source), "<interrupted>");
    writer.join();
}

TEST(LineSourceTest, interruptionInsideASkippedLineLosesNothing) {
    Pipe pipe;
    Source source(pipe.reader());
    feedPartOfLine(pipe, source, std::string(LineSource::longestLine * 3, 'x'));
    ASSERT_TRUE(pipe.write("x\nb\n"));
    EXPECT_EQ(nextLine(source), tooLong);
    EXPECT_EQ(nextLine(source), "b");
}

TEST(LineSourceTest, longestLineIsHandedOutThoughItsLineEndComesInParts) {
    Pipe pipe;
    Source source(pipe.reader());
    std::string const longest(LineSource::longestLine, 'x');
    feedPartOfLine(pipe, source, longest + "\r");
    ASSERT_TRUE(pipe.write("\n"));
    EXPECT_EQ(nextLine(source), longest);
}

TEST(LineSourceTest, readErrorIsKept) {
    int const directory = open("/", O_RDONLY);
    ASSERT_GE(directory, 0);
    Source source(directory);
    EXPECT_EQ(nextLine(source), "<failed>");
    EXPECT_EQ(source.d_file.error(), "Is a directory");
    close(directory);
}

} // namespace
} // namespace qztool
