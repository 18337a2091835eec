// Drives with J1939, and with one definition on several channels.
#include "tests/cli/Command.h"
#include "tests/support/SharedName.h"

#include <nlohmann/json.hpp>

namespace {

// Frames of two sources, a broadcast of 9 bytes, one that misses a packet, and one frame of another group.
constexpr char twoSources[] = "(1.000000) can0 0CF0040A#0100000000000000\n"
                              "(2.000000) can0 18F0040B#0200000000000000\n"
                              "(3.000000) can0 1CECFF0A#20090002FFE3FE00\n"
                              "(4.000000) can0 1CEBFF0A#0107000000000000\n"
                              "(5.000000) can0 1CEBFF0A#02002AFFFFFFFFFF\n"
                              "(6.000000) can0 1CECFF0A#20090002FFE3FE00\n"
                              "(7.000000) can0 1CEBFF0A#02002AFFFFFFFFFF\n"
                              "(8.000000) can0 0CF0050A#0100000000000000\n";

class J1939CommandTest : public testing::Test {
protected:
    // Speed is the first byte of group F004 (EEC1), Ninth the last one of group FEE3.
    std::string definitions(char const* attributes) {
        std::string const name = d_message.name();
        return d_folder.file("truck.dbc", "BO_ 2364539904 " + name +
                                              ": 8 X\n SG_ Speed : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                              "BO_ 2566841088 Long" +
                                              name + ": 9 X\n SG_ Ninth : 64|8@1+ (1,0) [0|0] \"\" X\n" + attributes);
    }
    std::string log(std::string const& text) { return d_folder.file("drive.log", text); }

    Folder d_folder;
    SharedName d_message{"J1939"};
};

TEST_F(J1939CommandTest, triggerNamesASourceBeforeItIsSeen) {
    std::string const file = definitions("BA_ \"ProtocolType\" \"J1939\";\n"), recording = log(twoSources);
    std::string const name = d_message.name();
    EXPECT_EQ(Result({"trigger", "-d", file, name + "_SA0B.Speed > 1", recording}).output, "2.000000 true (line 2)\n");
    EXPECT_EQ(Result({"trigger", "-d", file, name + "_SA0A.Speed > 0", recording}).output, "1.000000 true (line 1)\n")
        << "the first source, by its address";
    EXPECT_EQ(Result({"trigger", "-d", file, name + ".Speed > 0", recording}).output, "1.000000 true (line 1)\n");
    EXPECT_EQ(Result({"trigger", "-d", file, "Ninth == 42", recording}).output, "5.000000 true (line 5)\n")
        << "the time and the place of the last packet";
    Result const unknown({"trigger", "-d", file, name + "_SA0B.Sped > 1", recording});
    EXPECT_EQ(unknown.status, 69);
}

TEST_F(J1939CommandTest, replayCountsPackets) {
    std::string const name = d_message.name();
    Result const replay({"replay", "--fast", "--json", "--j1939", "-d", definitions(""), log(twoSources)});
    EXPECT_EQ(replay.status, 0);
    auto const counts = nlohmann::json::parse(replay.output);
    EXPECT_EQ(counts["frames"], 8);
    EXPECT_EQ(counts["decoded"], 2);
    EXPECT_EQ(counts["packets"], 5);
    EXPECT_EQ(counts["transport"], (nlohmann::json{{"messages", 1}, {"lost", 1}, {"aborted", 0}, {"extended", 0}}));
    EXPECT_EQ(counts["notDefined"]["frames"], 1);
    EXPECT_EQ(counts["signals"], 3);
    EXPECT_TRUE(contains(replay.errors, "packets are missing of 1 J1939 messages, which were left out\n"))
        << replay.errors;
    Result const text({"replay", "--fast", "--j1939", "-d", definitions(""), log(twoSources)});
    EXPECT_TRUE(
        contains(text.output, "packets of longer messages: 5 frames, 1 messages, 1 lost, 0 aborted, 0 too long\n"))
        << text.output;
    Result const without({"replay", "--fast", "--json", "-d", definitions(""), log(twoSources)});
    EXPECT_EQ(without.status, 1) << "no frame has the identifier of a definition";
    for (char const* const each : {".Speed", "_SA0B.Speed"})
        unlink(("/tmp/" + name + each).c_str());
    unlink(("/tmp/Long" + name + ".Ninth").c_str());
}

TEST_F(J1939CommandTest, channelIsPutBeforeNames) {
    std::string const name = d_message.name();
    std::string const file =
        d_folder.file("car.dbc", "BO_ 256 " + name + ": 8 X\n SG_ Speed : 0|8@1+ (1,0) [0|0] \"\" X\n");
    std::string const recording = log("(1.000000) can0 100#01\n(2.000000) vcan3 100#02\n(3.000000) vcan3 100#01\n");
    Result const trigger({"trigger", "--channel-prefix", "-d", file, "can3." + name + ".Speed > 1", recording});
    EXPECT_EQ(trigger.output, "2.000000 true (line 2)\n") << trigger.errors;
    EXPECT_EQ(Result({"trigger", "-d", file, name + ".Speed > 1", recording}).status, 1) << "can0 alone is served";
    Result const missing({"trigger", "--channel-prefix", "-d", file, name + ".Speed > 1", recording});
    EXPECT_EQ(missing.status, 69) << "the channel is missing";
    Result const replay({"replay", "--fast", "--json", "--channel-prefix", "-d", file, recording});
    auto const counts = nlohmann::json::parse(replay.output);
    EXPECT_EQ(counts["decoded"], 3);
    EXPECT_EQ(counts["otherChannels"], 0);
    EXPECT_EQ(counts["signals"], 2);
    ASSERT_EQ(counts["served"].size(), 2U);
    EXPECT_EQ(counts["served"][0]["channel"], 0);
    EXPECT_EQ(counts["served"][1]["channel"], 3);
    for (char const* const channel : {"can0.", "can3."})
        unlink(("/tmp/" + (channel + name) + ".Speed").c_str());
}

} // namespace
