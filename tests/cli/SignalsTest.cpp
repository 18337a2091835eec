// qzsignal signals.
#include "tests/cli/Command.h"

#include <nlohmann/json.hpp>

#include <pty.h>
#include <sys/ioctl.h>

namespace {

constexpr char car[] = "VERSION \"\"\n"
                       "BO_ 256 Engine: 8 X\n"
                       " SG_ Sport m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                       " SG_ Mode M : 0|4@1+ (1,0) [0|0] \"\" X\n"
                       " SG_ Temp m2 : 15|12@0- (0.1,-40) [-40|215] \"\xC2\xB0"
                       "C\" X\n"
                       "BO_ 2566844672 Far: 8 X\n"
                       " SG_ a : 0|32@1- (1,0) [0|0] \"\" X\n"
                       "BA_DEF_ BO_ \"GenMsgCycleTime\" INT 0 10000;\n"
                       "VAL_ 256 Mode 1 \"Sport, wild\" 0 \"Eco\" 2 \"?\" ;\n"
                       "BA_ \"SystemSignalLongSymbol\" SG_ 2566844672 a \"Far Away\";\n"
                       "SIG_VALTYPE_ 2566844672 a : 1;\n";

class SignalsTest : public testing::Test {
protected:
    std::string const d_definitions = d_folder.file("car.dbc", car);
    Folder& folder() { return d_folder; }

private:
    static inline Folder d_folder;
};

TEST_F(SignalsTest, tableHasWhatTheFileStates) {
    Result const result({"signals", "-d", d_definitions});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output,
              "NAME          ID        UNIT  START  BITS  ORDER   TYPE      SCALE  OFFSET  RANGE     WHEN           "
              "ORIGINAL      WORDS\n"
              "Engine.Sport  100             8      8     little  unsigned  1      0                 Engine.Mode=1\n"
              "Engine.Mode   100             0      4     little  unsigned  1      0                                "
              "              0=Eco, 1=Sport, wild, 2=?\n"
              "Engine.Temp   100       \xC2\xB0"
              "C    15     12    big     signed    0.1    -40     -40..215  Engine.Mode=2\n"
              "Far.Far_Away  18FEF100        0      32    little  float     1      0                                "
              "Far.Far Away\n");
}

TEST_F(SignalsTest, jsonHasTheseFieldsAndNoOthers) {
    Result const result({"signals", "--json", "-d", "can3:" + d_definitions});
    EXPECT_EQ(result.status, 0);
    auto const json = nlohmann::ordered_json::parse(result.output);
    ASSERT_EQ(json.size(), 4U);
    std::vector<std::string> fields;
    for (auto const& entry : json[0].items())
        fields.push_back(entry.key());
    EXPECT_EQ(fields, (std::vector<std::string>{"name",      "original",    "bus",   "channel",   "id",
                                                "extended",  "startBit",    "bits",  "byteOrder", "type",
                                                "scale",     "offset",      "unit",  "minimum",   "maximum",
                                                "cycleTime", "multiplexor", "words", "file",      "line"}));
    EXPECT_EQ(nlohmann::json(json[2]), nlohmann::json::parse(R"({
        "name": "Engine.Temp", "original": "Engine.Temp", "bus": "can", "channel": 3, "id": 256, "extended": false,
        "startBit": 15, "bits": 12, "byteOrder": "big", "type": "signed", "scale": 0.1, "offset": -40.0,
        "unit": "°C", "minimum": -40.0, "maximum": 215.0, "cycleTime": null,
        "multiplexor": {"name": "Engine.Mode", "ranges": [[2, 2]]}, "words": {}, "file": ")" +
                                                             d_definitions + R"(", "line": 5})"));
    EXPECT_EQ(json[1]["words"].dump(), R"({"0":"Eco","1":"Sport, wild","2":"?"})");
    EXPECT_EQ(json[1]["multiplexor"], nullptr);
    EXPECT_EQ(json[1]["minimum"], nullptr);
    EXPECT_EQ(json[1]["maximum"], nullptr);
    EXPECT_EQ(json[3]["name"], "Far.Far_Away");
    EXPECT_EQ(json[3]["original"], "Far.Far Away");
    EXPECT_EQ(json[3]["id"], 0x18FEF100);
    EXPECT_EQ(json[3]["extended"], true);
    EXPECT_EQ(json[3]["type"], "float");
    EXPECT_EQ(json[3]["byteOrder"], "little");
    EXPECT_EQ(nlohmann::json::parse(Result({"signals", "--json", "-d", d_definitions}).output)[0]["channel"], nullptr);
}

TEST_F(SignalsTest, wordsOfSignedAndLargeValuesAreByTheirRawValues) {
    std::string const file =
        folder().file("words.dbc", "BO_ 256 M: 8 X\n SG_ S : 0|64@1- (1,0) [0|0] \"\" X\n"
                                   "BO_ 257 N: 8 X\n SG_ U : 0|64@1+ (1,0) [0|0] \"\" X\n"
                                   "VAL_ 256 S -1 \"below\" ;\nVAL_ 257 U 18446744073709551615 \"invalid\" ;\n");
    auto const json = nlohmann::json::parse(Result({"signals", "--json", "-d", file}).output);
    EXPECT_EQ(json[0]["words"].dump(), R"({"-1":"below"})");
    EXPECT_EQ(json[1]["words"].dump(), R"({"18446744073709551615":"invalid"})");
}

TEST_F(SignalsTest, globsPickByNameSpellingAndOwnName) {
    auto const names = [this](std::vector<std::string> const& globs) {
        std::vector<std::string> arguments = {"signals", "--json", "-d", d_definitions};
        arguments.insert(arguments.end(), globs.begin(), globs.end());
        std::vector<std::string> found;
        for (auto const& each : nlohmann::json::parse(Result(arguments).output))
            found.push_back(each["name"]);
        return found;
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(names({"Engine.*"}), (Names{"Engine.Sport", "Engine.Mode", "Engine.Temp"}));
    EXPECT_EQ(names({"*.Temp", "Far.Far Away"}), (Names{"Engine.Temp", "Far.Far_Away"}));
    EXPECT_EQ(names({"Mode"}), (Names{"Engine.Mode"}));
    EXPECT_EQ(names({"Far Away"}), (Names{"Far.Far_Away"}));
}

TEST_F(SignalsTest, otherBusesAreListed) {
    std::string const file = folder().file(
        "cluster.ldf",
        "LIN_description_file;\nLIN_protocol_version = \"2.1\";\nLIN_language_version = \"2.1\";\n"
        "LIN_speed = 19.2 kbps;\nSignals {\nSpeed: 8, 0, M, S;\n}\nFrames {\nF: 5, M, 2 { Speed, 8; }\n}\n");
    EXPECT_TRUE(contains(Result({"signals", "-d", file}).output, "F.Speed  lin 5  8      8     little")) << file;
    auto const json = nlohmann::json::parse(Result({"signals", "--json", "-d", file}).output);
    EXPECT_EQ(json[0]["bus"], "lin");
    EXPECT_EQ(json[0]["id"], 5);
}

TEST_F(SignalsTest, statusesSayWhatIsWrong) {
    Result const noMatch({"signals", "-d", d_definitions, "Gearbox.*"});
    EXPECT_EQ(noMatch.status, 69);
    EXPECT_EQ(noMatch.output, "");
    EXPECT_EQ(noMatch.errors, "qzsignal: error: no signal matches 'Gearbox.*'\n");
    EXPECT_EQ(Result({"signals", "-d", "/nowhere.dbc"}).status, 69);
    EXPECT_EQ(Result({"signals", "-d", folder().file("bad.dbc", "BO_ nonsense\n")}).status, 65);
    EXPECT_EQ(Result({"signals"}).status, 64);
}

TEST_F(SignalsTest, linesAreCutOnATerminalAlone) {
    int terminal = -1, side = -1;
    winsize size = {24, 40, 0, 0};
    if (openpty(&terminal, &side, nullptr, nullptr, &size) != 0)
        GTEST_SKIP() << "there is no terminal";
    // Its standard output is the terminal; the test's own copy keeps what was written.
    std::string const number = std::to_string(side);
    fcntl(side, F_SETFD, 0);
    Child command("sh|-c|exec \"$0\" \"$@\" >&" + number + "|" + QZSIGNAL_TEST_COMMAND,
                  {"signals", "-d", d_definitions, "Mode"});
    EXPECT_EQ(command.wait(), 0) << command.errors();
    char text[500] = {};
    EXPECT_GT(read(terminal, text, sizeof text - 1), 0);
    EXPECT_EQ(std::string(text), "NAME    ID   START  BITS  ORDER   TYPE ~\r\n"
                                 "Engin~  100  0      4     little  unsig~\r\n");
    close(terminal);
    close(side);
}

} // namespace
