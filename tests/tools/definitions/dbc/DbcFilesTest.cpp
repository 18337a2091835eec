// Reads all definition files of a folder and compares their signals with an independent count.
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tools/definitions/dbc/DbcReader.h"

#include <gtest/gtest.h>

#include <regex.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace qztool {

namespace {

std::string contentOf(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// A regular expression of the C library: the one of the standard library sets off false warnings under sanitizers.
class Pattern {
public:
    explicit Pattern(char const* expression) {
        EXPECT_EQ(0, regcomp(&d_pattern, expression, REG_EXTENDED | REG_NOSUB));
    }
    ~Pattern() { regfree(&d_pattern); }
    Pattern(Pattern const&) = delete;
    Pattern& operator=(Pattern const&) = delete;

    bool matches(std::string const& line) const { return regexec(&d_pattern, line.c_str(), 0, nullptr, 0) == 0; }

private:
    regex_t d_pattern;
};

// Counts lines that begin like a signal, by no more than their pattern. Those inside the pseudo message are no signals.
std::size_t countSignalLines(std::string const& text) {
    Pattern const signal("^[ \t]*SG_ +[A-Za-z0-9_]+ *(M|m[0-9]*M?)? *: *[0-9]+ *\\| *[0-9]+ *@ *[01] *[+-]");
    std::size_t count = 0;
    bool counts = true;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t const end = std::min(text.find_first_of("\r\n", begin), text.size());
        std::string const line = text.substr(begin, end - begin);
        if (line.compare(0, 4, "BO_ ") == 0)
            counts = line.find("VECTOR__INDEPENDENT_SIG_MSG") == std::string::npos;
        count += counts && signal.matches(line) ? 1 : 0;
        begin = end + 1;
    }
    return count;
}

std::size_t countSignals(Database const& database) {
    std::size_t count = 0;
    for (MessageDefinition const& message : database.messages)
        count += message.signals.size();
    return count;
}

std::size_t countLeftOutSignals(Database const& database) {
    std::size_t count = 0;
    for (Problem const& problem : database.problems)
        count += problem.severity == Severity::Error && problem.text.compare(0, 4, "SG_ ") == 0 ? 1 : 0;
    return count;
}

// Signals of messages that were left out, which have no problem of their own.
std::size_t countSignalsOfLeftOutMessages(Database const& database, std::string const& text) {
    std::size_t count = 0;
    for (Problem const& problem : database.problems) {
        if (problem.severity == Severity::Error && problem.text.compare(0, 4, "BO_ ") == 0) {
            std::size_t begin = 0;
            for (std::size_t line = 1; line < problem.line; ++line)
                begin = text.find('\n', begin) + 1;
            count += countSignalLines(text.substr(begin, text.find("\nBO_ ", begin) - begin));
        }
    }
    return count;
}

} // namespace

TEST(DbcFiles, everySignalLineIsASignalOrAProblem) {
    char const* const data = std::getenv("QZSIGNAL_DATA");
    if (data == nullptr)
        GTEST_SKIP() << "QZSIGNAL_DATA names no folder with definition files in dbc/";
    std::size_t files = 0;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(std::filesystem::path(data) / "dbc")) {
        if (entry.path().extension() != ".dbc")
            continue;
        ++files;
        std::string const text = contentOf(entry.path());
        Database const database = readDatabase(text);
        std::size_t const lines = countSignalLines(text);
        EXPECT_FALSE(database.messages.empty()) << entry.path();
        EXPECT_EQ(lines, countSignals(database) + countLeftOutSignals(database) +
                             countSignalsOfLeftOutMessages(database, text))
            << entry.path();
        EXPECT_EQ(lines != 0, countSignals(database) != 0) << entry.path();
        for (Problem const& problem : database.problems) {
            EXPECT_NE(0U, problem.line) << entry.path() << ": " << problem.text;
            EXPECT_EQ(std::string::npos, problem.text.find("unknown statement")) << entry.path() << problem.line;
            EXPECT_EQ(std::string::npos, problem.text.find("missing")) << entry.path() << problem.line;
        }
    }
    EXPECT_NE(0U, files) << "no definition files below " << data;
}

} // namespace qztool
