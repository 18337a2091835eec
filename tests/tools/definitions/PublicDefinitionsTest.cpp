// Public definition files, compared with what was counted in them by hand.
#include "tests/tools/definitions/Ranges.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tools/definitions/Formats.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace qztool {

namespace {

std::string contentOf(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

struct Counts {
    std::size_t messages;
    std::size_t signals;
    std::size_t scaled; // signals with a factor or offset
    std::size_t words;
    std::size_t problems;
};

Counts countsOf(Database const& database) {
    Counts counts{database.messages.size(), 0, 0, 0, database.problems.size()};
    for (MessageDefinition const& message : database.messages)
        for (SignalDefinition const& signal : message.signals) {
            ++counts.signals;
            counts.scaled += signal.factor != 1.0 || signal.offset != 0.0 ? 1 : 0;
            counts.words += signal.values.size();
        }
    return counts;
}

void expectCounts(Counts const& expected, Counts const& found, std::string const& file) {
    EXPECT_EQ(expected.messages, found.messages) << file;
    EXPECT_EQ(expected.signals, found.signals) << file;
    EXPECT_EQ(expected.scaled, found.scaled) << file;
    EXPECT_EQ(expected.words, found.words) << file;
    EXPECT_EQ(expected.problems, found.problems) << file;
}

// Every file of the folder has a row, and every row a file.
void expectFiles(std::filesystem::path const& folder, std::string const& format,
                 std::map<std::string, Counts> const& rows) {
    std::size_t files = 0;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        ++files;
        std::string const name = entry.path().filename();
        std::string const content = contentOf(entry.path());
        EXPECT_EQ(format, definitionFormatOf(content).name) << name;
        Database const database = readDefinitions(content);
        EXPECT_STREQ(nullptr, brokenRange(database, content)) << name;
        auto const row = rows.find(name);
        if (row == rows.end())
            ADD_FAILURE() << "no counts for " << name;
        else
            expectCounts(row->second, countsOf(database), name + "\n" + problemsOf(database));
    }
    EXPECT_EQ(rows.size(), files);
}

SignalDefinition signalOf(Database const& database, std::string const& name) {
    for (MessageDefinition const& message : database.messages)
        for (SignalDefinition const& signal : message.signals)
            if (instanceName(message, signal) == name)
                return signal;
    ADD_FAILURE() << "there is no " << name;
    return {};
}

class PublicDefinitions : public testing::Test {
protected:
    void SetUp() override {
        char const* const data = std::getenv("QZSIGNAL_DATA");
        if (data == nullptr)
            GTEST_SKIP() << "QZSIGNAL_DATA does not name the folder of public files";
        d_data = data;
    }

    std::filesystem::path d_data;
};

class PublicXmlDefinitions : public PublicDefinitions {
protected:
    void SetUp() override {
#ifndef QZSIGNAL_WITH_PUGIXML
        GTEST_SKIP() << "built without pugixml";
#endif
        PublicDefinitions::SetUp();
    }
};

} // namespace

TEST_F(PublicDefinitions, ldfFilesHoldWhatWasCounted) {
    expectFiles(d_data / "ldf", "LDF",
                {
                    {"iso17987.ldf", {10, 26, 2, 3, 1}},
                    {"j2602_1_no_values.ldf", {2, 2, 0, 8, 0}},
                    {"lin13.ldf", {7, 49, 4, 14, 2}},
                    {"lin21.ldf", {5, 6, 2, 16, 0}},
                    {"lin_diagnostics.ldf", {7, 22, 2, 12, 0}},
                    // All its identifiers are above 63, which no LIN frame can have.
                    {"lin_schedules.ldf", {0, 0, 0, 0, 6}},
                });
}

TEST_F(PublicDefinitions, ldfValuesAreThoseOfTheText) {
    Database const database = readDefinitions(contentOf(d_data / "ldf/lin13.ldf"));
    SignalDefinition const speed = signalOf(database, "VL1_CPM_Frm2.FanIdealSpeed");
    EXPECT_EQ(16U, speed.startBit);
    EXPECT_EQ(8U, speed.bits);
    EXPECT_EQ(0.008, speed.factor);
    EXPECT_EQ(250.0, speed.offset);
    EXPECT_EQ("km/h", speed.unit);
    EXPECT_EQ("65534=error 65535=void ", valuesOf(speed));
    SignalDefinition const runTime = signalOf(database, "VL1_CPM_Frm2.CPMRunTime");
    EXPECT_EQ(0U, runTime.startBit);
    EXPECT_EQ(13U, runTime.bits);
    ASSERT_EQ(7U, database.messages.size());
    EXPECT_EQ(32U, database.messages[0].address);
    EXPECT_EQ(3U, database.messages[0].length);
    EXPECT_EQ(0.07, database.messages[0].cycleTime);
    EXPECT_EQ(4U, database.messages[2].length);

    Database const events = readDefinitions(contentOf(d_data / "ldf/lin21.ldf"));
    EXPECT_EQ("DB", events.channels[0].name);
    for (MessageDefinition const& message : events.messages)
        EXPECT_EQ(message.name == "RSM_Frm1" || message.name == "LSM_Frm1" ? std::vector<std::uint32_t>{6}
                                                                           : std::vector<std::uint32_t>{},
                  message.eventTriggered)
            << message.name;
}

TEST_F(PublicXmlDefinitions, fibexFilesHoldWhatWasCounted) {
    expectFiles(d_data / "fibex", "FIBEX",
                {
                    {"CAN_example.xml", {2, 4, 2, 4, 0}},
                    {"CAN_Multiplex_example.xml", {3, 15, 7, 7, 0}},
                });
}

// As the comment at the head of the file states them.
TEST_F(PublicXmlDefinitions, fibexValuesAreThoseOfTheText) {
    Database const database = readDefinitions(contentOf(d_data / "fibex/CAN_Multiplex_example.xml"));
    ASSERT_EQ(3U, database.messages.size());
    EXPECT_EQ(0x300U, database.messages[2].address);
    EXPECT_EQ("MuxSwitch* Temperature<MuxSwitch(0-0) Humidity<MuxSwitch(0-0) Pressure<MuxSwitch(0-0) "
              "MotorRPM<MuxSwitch(1-1) MotorTorque<MuxSwitch(1-1) MotorCurrent<MuxSwitch(1-1) MotorTemp<MuxSwitch(1-1) "
              "ErrorCode<MuxSwitch(2-2) ErrorSeverity<MuxSwitch(2-2) ErrorCount<MuxSwitch(2-2) ",
              multiplexingOf(database.messages[2]));
    SignalDefinition const pressure = signalOf(database, "MuxControl.Pressure");
    EXPECT_EQ(32U, pressure.startBit);
    EXPECT_EQ(32U, pressure.bits);
    EXPECT_EQ("0=INFO 1=WARNING 2=ERROR ", valuesOf(signalOf(database, "MuxControl.ErrorSeverity")));
    EXPECT_EQ(0.5, signalOf(database, "EngineStatus.EngineSpeed").factor);
}

} // namespace qztool
