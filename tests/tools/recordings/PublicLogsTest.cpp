// Recorded logs, where they are at hand: compared with a slow and independent reading by streams.
#include "tools/recordings/RecordingReader.h"

#include "tests/tools/recordings/RecordingFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace qztool {
namespace {

using Frames = std::vector<std::string>;

// The folder of recorded logs of one format; empty if there is none.
std::string folderOf(char const* format) {
    char const* const data = std::getenv("QZSIGNAL_DATA");
    return data != nullptr ? std::string(data) + "/" + format : "";
}

std::vector<std::string> filesIn(std::string const& folder) {
    std::vector<std::string> files;
    for (auto const& entry : std::filesystem::directory_iterator(folder))
        files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::toupper(character)); });
    return text;
}

// "0012.345678" without point and leading zeros; all recorded times have up to six digits after the point.
std::string microseconds(std::string text) {
    std::size_t const point = text.find('.');
    text.append(6 - (text.size() - point - 1), '0').erase(point, 1);
    return text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
}

// The frame in a line, as the slow way reads it; empty if there is none.
std::string candumpFrame(std::string const& line) {
    std::istringstream words(line);
    std::string time;
    std::string interface;
    std::string frame;
    if (!(words >> time >> interface >> frame))
        return "";
    std::string const channel = interface.substr(interface.find_first_of("0123456789"));
    return microseconds(time.substr(1, time.size() - 2)) + ' ' + channel + ' ' + upper(frame);
}

std::string ascFrame(std::string const& line) {
    std::istringstream words(line);
    std::string time;
    std::string channel;
    std::string identifier;
    std::string direction;
    std::string type;
    std::string length;
    words >> time >> channel >> identifier >> direction >> type >> length;
    if ((direction != "Rx" && direction != "Tx") || type != "d" || length.size() != 1 || length > "8")
        return "";
    bool const extended = identifier.back() == 'x';
    identifier.resize(identifier.size() - (extended ? 1 : 0));
    identifier.insert(0, (extended ? 8 : 3) - identifier.size(), '0');
    std::string data;
    std::string byte;
    for (int i = std::stoi(length); i > 0 && words >> byte; --i)
        data += byte;
    return microseconds(time) + ' ' + channel + ' ' + upper(identifier) + '#' + upper(data);
}

Frames slowFrames(std::string const& path, std::string (*frameOf)(std::string const&)) {
    Frames frames;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::string const frame = frameOf(line);
        if (!frame.empty())
            frames.push_back(frame);
    }
    return frames;
}

Frames framesOf(RecordingReader& reader) {
    Frames frames;
    Frame frame;
    for (RecordingReader::Next next = reader.next(frame); next != RecordingReader::Next::End; next = reader.next(frame))
        if (next == RecordingReader::Next::Frame)
            frames.push_back(textOf(frame));
    return frames;
}

// Numbers of data, FD, remote and error frames, and of malformed lines.
std::string countsOf(Frames const& frames, RecordingReader const& reader) {
    std::size_t rest = frames.size();
    std::string text;
    for (char const* const mark : {"##", "#R", "error frame"}) {
        auto const count =
            static_cast<std::size_t>(std::count_if(frames.begin(), frames.end(), [mark](std::string const& frame) {
                return frame.find(mark) != std::string::npos;
            }));
        rest -= count;
        text += " " + std::to_string(count);
    }
    return std::to_string(rest) + text + " " + std::to_string(reader.findings().malformedCount());
}

// Data frames of the classic form.
Frames classicFrames(Frames frames) {
    auto const isOther = [](std::string const& text) {
        return text.find('#') == std::string::npos || text.find("##") != std::string::npos ||
               text.find("#R") != std::string::npos;
    };
    frames.erase(std::remove_if(frames.begin(), frames.end(), isOther), frames.end());
    return frames;
}

NeverStop stop;

TEST(PublicLogsTest, candumpLogsAreReadAsByStreams) {
    std::string const folder = folderOf("candump");
    if (!std::filesystem::is_directory(folder))
        GTEST_SKIP() << "QZSIGNAL_DATA names no folder with recorded candump logs";
    for (std::string const& path : filesIn(folder)) {
        RecordingReader reader(path, stop);
        Frames const frames = framesOf(reader);
        EXPECT_EQ(std::string(reader.formatName()), "candump") << path;
        EXPECT_EQ(reader.findings().malformedCount(), 0U) << path;
        EXPECT_GT(frames.size(), 1000U) << path;
        EXPECT_TRUE(frames == slowFrames(path, candumpFrame)) << path;
    }
}

TEST(PublicLogsTest, ascLogsAreReadAsByStreams) {
    std::string const folder = folderOf("asc");
    if (!std::filesystem::is_directory(folder))
        GTEST_SKIP() << "QZSIGNAL_DATA names no folder with recorded ASC logs";
    for (std::string const& path : filesIn(folder)) {
        RecordingReader reader(path, stop);
        Frames const frames = framesOf(reader);
        EXPECT_EQ(std::string(reader.formatName()), "ASC") << path;
        EXPECT_EQ(classicFrames(frames), slowFrames(path, ascFrame)) << path;
    }
}

TEST(PublicLogsTest, ascLinesAreClassifiedAsByEye) {
    std::string const folder = folderOf("asc");
    if (!std::filesystem::is_directory(folder))
        GTEST_SKIP() << "QZSIGNAL_DATA names no folder with recorded ASC logs";
    // Data, FD, remote and error frames, and malformed lines.
    constexpr struct {
        char const* name;
        char const* counts;
    } cases[] = {
        {"issue_1256.asc", "1457 0 0 0 0"},
        {"logfile.asc", "10 2 4 4 0"},
        {"single_frame.asc", "0 1 0 0 0"},
        {"test_CanErrorFrames.asc", "0 0 0 4 0"},
        {"test_CanFdMessage64.asc", "0 2 0 0 0"},
        {"test_CanMessage.asc", "2 0 0 0 0"},
        {"vector_blf_test_CanMessage.asc", "2 0 0 0 0"},
        {"vector_blf_test_FlexRayVFrReceiveMsgEx.asc", "2 0 0 0 0"},
        {"vector_blf_test_LinMessage2.asc", "1 0 0 0 0"},
        {"vector_blf_test_LinSendError2.asc", "0 0 0 0 0"},
    };
    for (auto const& oneCase : cases) {
        RecordingReader reader(folder + "/" + oneCase.name, stop);
        Frames const frames = framesOf(reader);
        EXPECT_EQ(reader.problem(), "");
        EXPECT_EQ(countsOf(frames, reader), oneCase.counts) << oneCase.name;
        // Those of another library's own tests are without a date.
        EXPECT_EQ(reader.startTime().has_value(), std::string_view(oneCase.name).substr(0, 10) != "vector_blf");
    }
}

} // namespace
} // namespace qztool
