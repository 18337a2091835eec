// Drives on buses other than CAN, from definition files and recordings of their own.
#include "tests/cli/Command.h"
#include "tests/support/SharedName.h"
#include "tests/tools/definitions/fibex/FlexRayFibex.h"
#include "tests/tools/recordings/blf/BlfBytes.h"

#include <nlohmann/json.hpp>

namespace {

using qztool::Fields;
namespace blf = qztool::blf;

constexpr std::uint64_t second = 1'000'000'000;

// A LIN frame, with the direction "received".
std::string linObject(unsigned identifier, std::string const& data, std::uint64_t time) {
    return blf::object(11, Fields(20).set(0, 2, 1).set(2, 1, identifier).set(3, 1, data.size()).set(4, data).bytes(),
                       time);
}

// Frame "<name>" of identifier 5 with Speed in its second byte, which an event-triggered frame of 0x30 may carry.
std::string ldfText(std::string const& name) {
    return "LIN_description_file;\nLIN_protocol_version = \"2.1\";\nLIN_language_version = \"2.1\";\n"
           "LIN_speed = 19.2 kbps;\nSignals {\nSpeed: 8, 0, M, S;\n}\nFrames {\n" +
           name + ": 5, M, 2 { Speed, 8; }\n}\nEvent_triggered_frames {\nE: T, 0x30, " + name +
           ";\n}\nSignal_encoding_types {\nV { physical_value, 0, 255, 0.5, -40, \"km/h\"; }\n}\n"
           "Signal_representation {\nV: Speed;\n}\nSchedule_tables {\nT { " +
           name + " delay 10 ms; }\n}\n";
}

// FR_RCVMESSAGE. `channels`: 1 A, 2 B.
std::string flexRayObject(unsigned slot, unsigned cycle, unsigned channels, std::string const& data, std::uint64_t time,
                          bool isNull = false) {
    Fields fields(44 + data.size());
    fields.set(0, 2, 1).set(4, 2, channels).set(16, 2, slot).set(24, 2, data.size()).set(26, 2, cycle);
    return blf::object(50, fields.set(36, 4, isNull ? 1 : 0).set(44, data).bytes(), time);
}

class BusesTest : public testing::Test {
protected:
    Folder d_folder;
    SharedName d_message{"Buses"};
};

TEST_F(BusesTest, linFramesTriggerAndAreReplayed) {
    std::string const definitions = d_folder.file("cluster.ldf", ldfText(d_message.name()));
    std::string const recording =
        d_folder.file("drive.blf", blf::fileHeader() + blf::stored(linObject(5, {'\x85', '\x10'}, second) +
                                                                   linObject(6, {'\x85', '\xFF'}, 2 * second) +
                                                                   linObject(0x30, {'\x85', '\xC8'}, 3 * second)));
    Result const trigger({"trigger", "-d", definitions, d_message.name() + ".Speed > 59.5", recording});
    EXPECT_EQ(trigger.output, "3.000000 true (object 3)\n") << "60 km/h, from an event-triggered frame";
    EXPECT_EQ(trigger.errors, "");
    EXPECT_EQ(trigger.status, 0);

    Result const replay({"replay", "-d", definitions, "--fast", recording});
    EXPECT_EQ(replay.status, 0) << replay.errors;
    EXPECT_TRUE(contains(replay.output, "frames: 3\ndecoded: 2\nnot defined: 1 frames, 1 identifiers\n"))
        << replay.output;
    EXPECT_TRUE(contains(replay.output, "signals with a value: 1\nvalues written: 2\n")) << replay.output;
    unlink(("/tmp/" + d_message.name() + ".Speed").c_str());
}

TEST_F(BusesTest, linFramesOfAscLogsAreReadAndOtherEventsCounted) {
    std::string const definitions = d_folder.file("cluster.ldf", ldfText(d_message.name()));
    std::string const recording = d_folder.file("drive.asc", "base hex timestamps absolute\n"
                                                             "   1.000000 Li 05 Rx 2 85 10 checksum = 70\n"
                                                             "   1.500000 Li 33 TransmErr header time = 40\n"
                                                             "   2.000000 1 Statistic: D 0 R 0\n"
                                                             "   2.500000 Li 34 TransmErr header time = 40\n"
                                                             "   3.000000 Li 30 Rx 2 85 c8 checksum = 70\n");
    EXPECT_EQ(Result({"trigger", "-d", definitions, "Speed > 59.5", recording}).output, "3.000000 true (line 6)\n");
    Result const replay({"replay", "-d", definitions, "--fast", "--json", recording});
    EXPECT_EQ(replay.status, 0) << replay.errors;
    auto const counts = nlohmann::json::parse(replay.output);
    EXPECT_EQ(counts["decoded"], 2);
    EXPECT_EQ(counts["skipped"], (nlohmann::json{{"CAN statistics", 1}, {"LIN send error", 2}}));
    unlink(("/tmp/" + d_message.name() + ".Speed").c_str());
}

TEST_F(BusesTest, flexRayFramesTriggerAndAreReplayed) {
    std::string const definitions = d_folder.file(
        "cluster.xml", qztool::flexRayFibex({{d_message.name(), 17, 1, 4, "AB", 4, {{"Level", 15, 12, true}}}}));
    std::string const data = {'\x00', '\x12', '\x30', '\x00'};
    std::string const recording = d_folder.file(
        "drive.blf", blf::fileHeader() + blf::stored(flexRayObject(17, 0, 1, data, second) +
                                                     flexRayObject(17, 5, 1, data, 2 * second, true) +
                                                     flexRayObject(17, 9, 1, std::string(4, 0), 3 * second) +
                                                     flexRayObject(17, 61, 2, data, 4 * second)));
    Result const trigger({"trigger", "-d", definitions, d_message.name() + ".Level == 291", recording});
    if (contains(trigger.errors, "pugixml"))
        GTEST_SKIP() << "built without pugixml";
    EXPECT_EQ(trigger.output, "4.000000 true (object 4)\n");
    EXPECT_EQ(trigger.errors, "");
    EXPECT_EQ(trigger.status, 0);

    Result const replay({"replay", "-d", definitions, "--fast", recording});
    EXPECT_EQ(replay.status, 0) << replay.errors;
    EXPECT_TRUE(contains(replay.output, "frames: 3\ndecoded: 2\n")) << replay.output;
    EXPECT_TRUE(contains(replay.output, "signals with a value: 1\nvalues written: 2\n")) << replay.output;
    auto const counts =
        nlohmann::json::parse(Result({"replay", "-d", definitions, "--fast", "--json", recording}).output);
    EXPECT_EQ(counts["nullFrames"], 1);
    EXPECT_EQ(counts["notPicked"], 1) << "cycle 0 is none of the message";
    unlink(("/tmp/" + d_message.name() + ".Level").c_str());
}

} // namespace
