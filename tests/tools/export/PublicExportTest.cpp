// Recordings of real cars, every exported value against a decoding of our own.
#include "tests/support/Capture.h"
#include "tests/tools/drive/PlainDecoding.h"
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/Numbers.h"
#include "tools/base/TextFile.h"
#include "tools/definitions/dbc/DbcReader.h"
#include "tools/drive/Names.h"
#include "tools/recordings/RecordingReader.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace qztool {
namespace {

struct Recording {
    char const* car;
    char const* definitions;
    char const* trace;
    std::size_t leastValues;
};

// One value that a frame carries.
struct Carried {
    std::uint64_t time;
    std::size_t column; // in the order of the definition file
    std::uint64_t raw;
    double physical;
};

// No text of these files holds quotes.
std::vector<std::string> fieldsOf(std::string const& line) {
    std::vector<std::string> fields;
    for (std::size_t begin = 0; begin <= line.size();) {
        bool const isQuoted = begin < line.size() && line[begin] == '"';
        begin += isQuoted ? 1 : 0;
        std::size_t const end = std::min(line.find(isQuoted ? '"' : ',', begin), line.size());
        fields.push_back(line.substr(begin, end - begin));
        begin = end + (isQuoted ? 2 : 1);
    }
    return fields;
}

double numberIn(std::string const& text) {
    double number = 0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), number);
    EXPECT_EQ(result.ptr, text.data() + text.size()) << text;
    return number;
}

bool isSame(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

class PublicExportTest : public testing::TestWithParam<Recording> {
protected:
    void SetUp() override {
        char const* const data = std::getenv("QZSIGNAL_DATA");
        if (data == nullptr)
            GTEST_SKIP() << "QZSIGNAL_DATA does not name the folder of public files";
        d_definitions = std::string(data) + "/dbc/" + GetParam().definitions;
        d_trace = std::string(data) + "/candump/" + GetParam().trace;
        std::string text;
        ASSERT_EQ(readTextFile(d_definitions, text), "");
        d_database = readDatabase(text);
        findColumns();
        decode();
        ASSERT_GE(d_values.size(), GetParam().leastValues);
    }

    struct Column {
        MessageDefinition const* message;
        SignalDefinition const* signal;
        std::string name() const { return expressionName(instanceName(*message, *signal)); }
        std::string word(std::uint64_t raw) const {
            std::string word;
            for (ValueText const& each : signal->values)
                if (static_cast<std::uint64_t>(each.value) == raw)
                    word = each.text;
            return word;
        }
    };

    void findColumns() {
        for (MessageDefinition const& message : d_database.messages) {
            std::vector<SignalDefinition const*> signals;
            for (SignalDefinition const& signal : message.signals)
                signals.push_back(&signal);
            std::sort(signals.begin(), signals.end(), [](auto const* a, auto const* b) { return a->line < b->line; });
            for (SignalDefinition const* const signal : signals) {
                d_columnsOf[{message.extended, message.address}].push_back(d_columns.size());
                d_columns.push_back({&message, signal});
            }
        }
    }

    void decode() {
        NeverStop stop;
        RecordingReader trace(d_trace, stop);
        Frame frame;
        while (trace.next(frame) == RecordingReader::Next::Frame) {
            d_start = d_start == 0 ? frame.timestamp : d_start;
            d_end = std::max(d_end, frame.timestamp);
            for (std::size_t const column : d_columnsOf[{frame.extended(), frame.address}]) {
                auto const& [message, signal] = d_columns[column];
                if (!carries(frame, *message, *signal))
                    continue;
                std::uint64_t const raw = rawOf(*signal, *bitsOf(*signal, frame));
                d_values.push_back({frame.timestamp, column, raw, physicalOf(*signal, raw)});
            }
        }
    }

    std::vector<std::string> exported(std::vector<std::string> const& options) const {
        char path[] = "/tmp/qzsignal-test-XXXXXX";
        close(mkstemp(path));
        Capture const errors(std::cerr);
        Console console;
        CLI::App parser;
        std::function<int()> const job = setUpExport(parser, console);
        std::vector<std::string> arguments = {"--quiet", "-d", d_definitions, "-o", path, d_trace};
        arguments.insert(arguments.end(), options.begin(), options.end());
        std::reverse(arguments.begin(), arguments.end());
        parser.parse(arguments);
        EXPECT_EQ(job(), 0) << errors.text();
        std::string text;
        EXPECT_EQ(readTextFile(path, text), "");
        unlink(path);
        std::istringstream in(text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }

    std::string d_definitions;
    std::string d_trace;
    Database d_database;
    std::vector<Column> d_columns;
    std::map<std::pair<bool, std::uint32_t>, std::vector<std::size_t>> d_columnsOf;
    std::vector<Carried> d_values;
    std::uint64_t d_start = 0;
    std::uint64_t d_end = 0;
};

TEST_P(PublicExportTest, csvHoldsEveryValueInOrder) {
    std::vector<std::string> const lines = exported({});
    ASSERT_EQ(lines.size(), d_values.size() + 1);
    for (std::size_t i = 0; i < d_values.size(); ++i) {
        Carried const& value = d_values[i];
        Column const& column = d_columns[value.column];
        std::vector<std::string> const fields = fieldsOf(lines[i + 1]);
        ASSERT_EQ(fields.size(), 5U) << lines[i + 1];
        ASSERT_EQ(fields[0], secondsText(value.time));
        ASSERT_EQ(fields[1], column.name());
        ASSERT_TRUE(isSame(numberIn(fields[2]), value.physical)) << lines[i + 1] << " " << value.physical;
        ASSERT_EQ(fields[3], column.signal->unit);
        ASSERT_EQ(fields[4], column.word(value.raw)) << lines[i + 1];
    }
}

TEST_P(PublicExportTest, jsonLinesHoldEveryValueInOrder) {
    constexpr std::size_t stride = 11; // of all lines, as parsing takes long
    std::vector<std::string> const lines = exported({"--json"});
    ASSERT_EQ(lines.size(), d_values.size());
    for (std::size_t i = 0; i < d_values.size(); i += stride) {
        Carried const& value = d_values[i];
        Column const& column = d_columns[value.column];
        auto const json = nlohmann::json::parse(lines[i]);
        ASSERT_EQ(json["signal"], column.name());
        ASSERT_TRUE(isSame(json["value"].get<double>(), value.physical)) << lines[i];
        bool const isSigned = column.signal->kind == NumberKind::Signed;
        ASSERT_EQ(json["raw"].dump(),
                  isSigned ? std::to_string(static_cast<std::int64_t>(value.raw)) : std::to_string(value.raw));
        std::string const word = column.word(value.raw);
        ASSERT_EQ(json.value("text", ""), word);
        ASSERT_EQ(json.size(), word.empty() ? 5U : 6U);
    }
}

TEST_P(PublicExportTest, wideHoldsTheLastValuesAtEachStep) {
    std::vector<std::string> const lines = exported({"--format", "wide", "--step", "0.25"});
    ASSERT_EQ(lines.size(), (d_end - d_start) / 250000 + 2);
    std::vector<std::string> const names = fieldsOf(lines[0]);
    ASSERT_EQ(names.size(), d_columns.size() + 1);
    for (std::size_t i = 0; i < d_columns.size(); ++i)
        ASSERT_EQ(names[i + 1], d_columns[i].name());
    std::vector<Carried const*> last(d_columns.size());
    auto next = d_values.begin();
    for (std::size_t row = 0; row + 1 < lines.size(); ++row) {
        std::uint64_t const time = d_start + row * 250000;
        for (; next != d_values.end() && next->time <= time; ++next)
            last[next->column] = &*next;
        std::vector<std::string> const fields = fieldsOf(lines[row + 1]);
        ASSERT_EQ(fields.size(), names.size());
        ASSERT_EQ(fields[0], secondsText(time));
        for (std::size_t i = 0; i < d_columns.size(); ++i) {
            ASSERT_EQ(fields[i + 1].empty(), last[i] == nullptr) << names[i + 1];
            ASSERT_TRUE(last[i] == nullptr || isSame(numberIn(fields[i + 1]), last[i]->physical)) << names[i + 1];
        }
    }
}

constexpr Recording recordings[] = {
    {"subaru", "opendbc/subaru_outback_2015_generated.dbc", "subaru_wrx_allgears.log", 78000},
    {"ford", "opendbc/ford_lincoln_base_pt.dbc", "ford_mustang_gt350_engineon_modes.log", 200000},
    {"tesla", "other/kuksa_Model3CAN.dbc", "kuksa_tesla_m3_soc_cabin.log", 20000},
};

INSTANTIATE_TEST_SUITE_P(Cars, PublicExportTest, testing::ValuesIn(recordings),
                         [](auto const& instance) { return instance.param.car; });

} // namespace
} // namespace qztool
