// Triggers in recordings of real cars, against moments found by a decoding of our own.
#include "qzsignal/expression/ExpParser.h"
#include "tests/support/Capture.h"
#include "tests/tools/drive/PlainDecoding.h"
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/TextFile.h"
#include "tools/definitions/dbc/DbcReader.h"
#include "tools/recordings/RecordingReader.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace qztool {
namespace {

struct Recording {
    char const* car;
    char const* definitions;
    char const* trace;
    std::size_t leastSignals; // how many vary at least
    std::size_t leastMoments; // likewise, in all conditions together
};

// What `qzsignal trigger --level --format json` prints, and its exit status in a last line.
std::string triggered(std::string const& definitions, std::string const& condition, std::string const& trace) {
    Capture const errors(std::cerr);
    Console console;
    std::stringbuf output;
    console.results().rdbuf(&output);
    CLI::App parser;
    std::function<int()> const job = setUpTrigger(parser, console);
    std::vector<std::string> arguments = {trace, condition, "--", definitions, "--dbc", "json", "--format", "--level"};
    parser.parse(arguments); // from the last to the first
    int const status = job();
    return output.str() + std::to_string(status) + errors.text();
}

// One signal, in the frames that carry it.
struct Series {
    MessageDefinition const* message;
    SignalDefinition const* signal;
    double lowest = HUGE_VAL;
    double highest = -HUGE_VAL;

    std::string name() const { return instanceName(*message, *signal); }
    double threshold() const { return lowest + (highest - lowest) / 2; }
    bool inFrame(Frame const& frame) const {
        return message->address == frame.address && message->extended == frame.extended();
    }
    std::optional<double> valueIn(Frame const& frame) const {
        if (!inFrame(frame) || !carries(frame, *message, *signal))
            return std::nullopt;
        return physicalOf(*signal, rawOf(*signal, *bitsOf(*signal, frame)));
    }
};

std::string numberOf(double number) {
    std::ostringstream text;
    text.precision(17);
    text << number;
    return text.str();
}

class PublicTriggersTest : public testing::TestWithParam<Recording> {
protected:
    // Signals that have more than one value, and whose names an expression can hold.
    std::vector<Series> varyingSignals(Database const& database) const {
        std::map<std::pair<bool, std::uint32_t>, std::vector<Series>> all;
        for (MessageDefinition const& message : database.messages)
            for (SignalDefinition const& signal : message.signals)
                all[{message.extended, message.address}].push_back({&message, &signal});
        for (auto const& [frame, line] : d_frames)
            for (Series& series : all[{frame.extended(), frame.address}])
                if (auto const value = series.valueIn(frame)) {
                    series.lowest = std::min(series.lowest, *value);
                    series.highest = std::max(series.highest, *value);
                }
        std::vector<Series> varying;
        for (auto const& [identifier, signals] : all)
            for (Series const& series : signals)
                if (series.lowest < series.highest && std::isfinite(series.highest - series.lowest) &&
                    ExpParser::signalNames(series.name().c_str()) == std::vector<std::string>{series.name()})
                    varying.push_back(series);
        return varying;
    }
    // `first` above its threshold, and `second` not above its own.
    std::string expected(Series const& first, Series const& second) {
        std::string text;
        std::optional<double> a, b;
        nlohmann::ordered_json moment;
        std::uint64_t start = 0;
        bool last = false, found = false;
        auto const end = [&](std::uint64_t time, bool ended) {
            moment["held"] = time > start ? time - start : 0;
            moment["ended"] = ended;
            text += moment.dump() + "\n";
        };
        for (auto const& [frame, line] : d_frames) {
            if (!first.inFrame(frame) && !second.inFrame(frame))
                continue;
            if (auto const value = first.valueIn(frame))
                a = value;
            if (auto const value = second.valueIn(frame))
                b = value;
            bool const now = a && b && *a > first.threshold() && !(*b > second.threshold());
            if (now && !last) {
                start = frame.timestamp;
                moment = {{"timestamp", start}, {"line", line}};
                found = true;
                ++d_moments;
            } else if (last && !now) {
                end(frame.timestamp, true);
            }
            last = now;
        }
        if (last)
            end(d_frames.back().first.timestamp, false);
        return text + (found ? "0" : "1");
    }

    std::vector<std::pair<Frame, std::size_t>> d_frames; // and their lines
    std::size_t d_moments = 0;
};

TEST_P(PublicTriggersTest, areFoundWhereTheyAre) {
    char const* const data = std::getenv("QZSIGNAL_DATA");
    if (data == nullptr)
        GTEST_SKIP() << "QZSIGNAL_DATA does not name the folder of public files";
    Recording const recording = GetParam();
    std::string const definitions = std::string(data) + "/dbc/" + recording.definitions;
    std::string const path = std::string(data) + "/candump/" + recording.trace;
    std::string text;
    ASSERT_EQ(readTextFile(definitions, text), "");
    Database const database = readDatabase(text);

    NeverStop stop;
    RecordingReader trace(path, stop);
    Frame frame;
    while (trace.next(frame) == RecordingReader::Next::Frame)
        d_frames.emplace_back(frame, trace.place());
    ASSERT_FALSE(d_frames.empty());

    std::vector<Series> const varying = varyingSignals(database);
    ASSERT_GE(varying.size(), recording.leastSignals);
    std::size_t const conditions = std::min<std::size_t>(varying.size(), 20);
    for (std::size_t i = 0; i < conditions; ++i) {
        Series const& first = varying[i * varying.size() / conditions];
        Series const& second = varying[(i * 7 + 3) % varying.size()];
        std::string const condition = first.name() + " > " + numberOf(first.threshold()) + " && !(" + second.name() +
                                      " > " + numberOf(second.threshold()) + ")";
        ASSERT_EQ(triggered(definitions, condition, path), expected(first, second)) << condition;
    }
    EXPECT_GE(d_moments, recording.leastMoments);
    RecordProperty("moments", static_cast<int>(d_moments));
}

constexpr Recording recordings[] = {
    {"subaru", "opendbc/subaru_outback_2015_generated.dbc", "subaru_wrx_allgears.log", 30, 700},
    {"ford", "opendbc/ford_lincoln_base_pt.dbc", "ford_mustang_gt350_engineon_modes.log", 60, 1000},
    {"tesla", "other/kuksa_Model3CAN.dbc", "kuksa_tesla_m3_soc_cabin.log", 8, 100},
};

INSTANTIATE_TEST_SUITE_P(Cars, PublicTriggersTest, testing::ValuesIn(recordings),
                         [](auto const& instance) { return instance.param.car; });

} // namespace
} // namespace qztool
