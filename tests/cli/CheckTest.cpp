// qzsignal check.
#include "tests/cli/Command.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

constexpr char sound[] = "BO_ 256 Engine: 8 X\n"
                         " SG_ Speed : 0|16@1+ (0.5,0) [0|8000] \"rpm\" X\n"
                         " SG_ Load : 16|8@1+ (1,0) [0|100] \"%\" X\n";
constexpr char faulty[] = "BO_ 256 Engine: 3 X\n"
                          " SG_ Speed : 0|16@1+ (0.5,0) [0|40000] \"rpm\" X\n"
                          " SG_ Load : 8|8@1+ (1,0) [0|100] \"%\" X\n"
                          " SG_ Gear : 24|4@1+ (1,0) [0|0] \"\" X\n"
                          "VAL_ 256 Gear 1 \"first\" 16 \"reverse\" ;\n";
constexpr char drive[] = "(10.000000) can0 100#1000320000000000\n"
                         "(10.100000) can0 100#1100330000000000\n"
                         "(10.200000) can0 100#1200FF0000000000\n"
                         "(10.300000) can0 200#00\n";

class CheckTest : public testing::Test {
protected:
    std::string definitions(std::string const& text) { return d_folder.file("car.dbc", text); }
    std::string recording(std::string const& text) { return d_folder.file("drive.log", text); }
    static Json json(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"check", "--json"});
        return Json::parse(Result(arguments).output);
    }
    static std::vector<std::string> kinds(Json const& document) {
        std::vector<std::string> result;
        for (Json const& each : document["findings"])
            result.push_back(each["kind"]);
        return result;
    }

    Folder d_folder;
};

TEST_F(CheckTest, soundDefinitionsHaveNoFindings) {
    Result const result({"check", "-d", definitions(sound)});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "no findings\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(CheckTest, findingsAreListedByKindWithFileLineAndCause) {
    std::string const file = definitions(faulty);
    Result const result({"check", "-d", file});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "overlap: 1 - signals share bits, and no multiplexor separates them\n  " + file +
                                 ":3: 'Engine.Load' shares bits with 'Speed' (line 2)\n"
                                 "outside: 1 - bits outside the frame\n  " +
                                 file +
                                 ":4: 'Engine.Gear' reaches into byte 4, but the message has 3 bytes\n"
                                 "range: 1 - the bits cannot reach the stated range\n  " +
                                 file +
                                 ":2: 'Engine.Speed': its range is [0|40000], but its 16 bits reach from 0 to 32767.5\n"
                                 "word: 1 - words for raw values that the bits cannot hold\n  " +
                                 file + ":4: 'Engine.Gear' with 4 bits is never 16 'reverse'\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(CheckTest, jsonHasTheFieldsOfEachFinding) {
    std::string const file = definitions(faulty);
    Json const document = json({"-d", file});
    ASSERT_EQ(document.size(), 1U) << "no coverage without a recording";
    ASSERT_EQ(kinds(document), (std::vector<std::string>{"overlap", "outside", "range", "word"}));
    EXPECT_EQ(document["findings"][0], (Json{{"kind", "overlap"},
                                             {"note", false},
                                             {"file", file},
                                             {"line", 3},
                                             {"signal", "Engine.Load"},
                                             {"message", "'Engine.Load' shares bits with 'Speed' (line 2)"},
                                             {"count", 1},
                                             {"first", nullptr}}));
}

TEST_F(CheckTest, jsonWithARecordingHasTimesAndCoverage) {
    std::string const file = definitions(sound), log = recording(drive);
    Json const document = json({"-d", file, log});
    ASSERT_EQ(kinds(document), (std::vector<std::string>{"undefined", "out-of-range"}));
    EXPECT_EQ(document["findings"][0], (Json{{"kind", "undefined"},
                                             {"note", false},
                                             {"file", log},
                                             {"line", 4},
                                             {"signal", nullptr},
                                             {"message", "200 on channel 0: 1 frame"},
                                             {"count", 1},
                                             {"first", 10.3}}));
    EXPECT_EQ(document["findings"][1], (Json{{"kind", "out-of-range"},
                                             {"note", false},
                                             {"file", file},
                                             {"line", 3},
                                             {"signal", "Engine.Load"},
                                             {"message", "'Engine.Load': 1 value outside [0|100], 255"},
                                             {"count", 1},
                                             {"first", 10.2}}));
    EXPECT_EQ(document["coverage"], (Json{{"frames", 0.75}, {"identifiers", 0.5}}));
}

TEST_F(CheckTest, textHasFirstPlacesAndCoverage) {
    std::string const file = definitions(sound), log = recording(drive);
    Result const result({"check", "-d", file, log});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "undefined: 1 - identifiers that no definition has\n  " + log +
                                 ":4: 200 on channel 0: 1 frame (first at 10.300000, line 4)\n"
                                 "out-of-range: 1 - values outside the stated range\n  " +
                                 file +
                                 ":3: 'Engine.Load': 1 value outside [0|100], 255 (first at 10.200000, line 3)\n"
                                 "coverage: 75 % of the frames, 50 % of the identifiers are defined\n");
    EXPECT_EQ(Result({"check", "-d", file, "-"}, drive).status, 1) << "standard input";
}

TEST_F(CheckTest, ignoredKindsAreNoFindings) {
    std::string const file = definitions(faulty);
    EXPECT_EQ(kinds(json({"-d", file, "--ignore", "overlap", "--ignore", "range"})),
              (std::vector<std::string>{"outside", "word"}));
    Result const all(
        {"check", "-d", file, "--ignore", "overlap", "--ignore", "range", "--ignore", "outside", "--ignore", "word"});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.output, "no findings\n");
}

TEST_F(CheckTest, unknownKindIsAMistakeThatListsThem) {
    Result const result({"check", "-d", definitions(sound), "--ignore", "overlaps"});
    EXPECT_EQ(result.status, 64);
    EXPECT_EQ(result.output, "");
    for (char const* const kind :
         {"overlap", "outside", "dead-selector", "duplicate", "range", "word", "cycle", "undefined", "length", "unseen",
          "out-of-range", "gap", "period", "constant", "counter", "checksum"})
        EXPECT_TRUE(contains(result.errors, kind)) << result.errors;
}

TEST_F(CheckTest, notesAloneAreStatus0) {
    std::string const file = definitions(std::string(sound) + "BO_ 257 Other: 8 X\n");
    std::string const log = recording("(10.000000) can0 100#1000320000000000\n(10.100000) can0 100#1000320000000000\n");
    Json const document = json({"-d", file, log});
    EXPECT_EQ(kinds(document), (std::vector<std::string>{"unseen", "constant", "constant"}));
    for (Json const& each : document["findings"])
        EXPECT_EQ(each["note"], true);
    Result const result({"check", "-d", file, log});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.output, "unseen (note): 1 - ")) << result.output;
}

TEST_F(CheckTest, longListsOfNotesAreCutInText) {
    std::string text = sound;
    for (int i = 0; i < 15; ++i)
        text += "BO_ " + std::to_string(512 + i) + " M" + std::to_string(i) + ": 8 X\n";
    std::string const file = definitions(text), log = recording("(1.0) can0 100#0000000000000000\n");
    EXPECT_TRUE(contains(Result({"check", "-d", file, log}).output, "  and 5 more, which --json lists\n"));
    EXPECT_EQ(json({"-d", file, log})["findings"].size(), 15U);
}

TEST_F(CheckTest, onlyPicksSignals) {
    std::string const file = definitions(faulty);
    EXPECT_EQ(kinds(json({"-d", file, "--only", "*.Gear"})), (std::vector<std::string>{"outside", "word"}));
    EXPECT_EQ(Result({"check", "-d", file, "--only", "*.Nothing"}).status, 69);
}

TEST_F(CheckTest, otherProblemsAreWarningsOfWhichNoneIsSummedUp) {
    std::string text = sound;
    for (int i = 0; i < 12; ++i)
        text += "VAL_ 256 Missing" + std::to_string(i) + " 0 \"a\" ;\n";
    Result const result({"check", "-d", definitions(text)});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "no findings\n");
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 12);
    EXPECT_TRUE(contains(result.errors, ":15: VAL_ 256 'Missing11': message 'Engine' has no signal of this name"))
        << result.errors;
}

TEST_F(CheckTest, severalFilesAreCheckedTogether) {
    std::string const one = definitions(sound), other = d_folder.file("other.dbc", sound);
    Json const document = json({"-d", one, "-d", other});
    ASSERT_EQ(kinds(document), (std::vector<std::string>{"duplicate", "duplicate"}));
    EXPECT_EQ(document["findings"][0]["file"], other);
    EXPECT_EQ(document["findings"][0]["message"], "'Engine.Speed' is defined already, at " + one + ":2");
}

TEST_F(CheckTest, inputsThatCannotBeUsedHaveStatuses) {
    std::string const file = definitions(sound);
    EXPECT_EQ(Result({"check", "-d", d_folder.name() + "/missing.dbc"}).status, 69);
    EXPECT_EQ(Result({"check", "-d", file, d_folder.name() + "/missing.log"}).status, 69);
    EXPECT_EQ(Result({"check", "-d", d_folder.file("bad.dbc", "BO_ x\n")}).status, 65);
    EXPECT_EQ(Result({"check", "-d", d_folder.file("empty.dbc", "")}).status, 1);
    EXPECT_EQ(Result({"check", "-d", file, recording("nothing\n")}).status, 65);
    EXPECT_EQ(Result({"check"}).status, 64);
}

TEST_F(CheckTest, stoppedCheckListsWhatItHasFound) {
    Command command({"check", "-d", definitions(sound), "--json", "-"});
    command.feed(drive);
    // Sent until it is heard: one that comes just before the wait for input begins has nothing to interrupt.
    EXPECT_TRUE(waitUntil([&] {
        command.signal(SIGINT);
        return !command.running();
    }));
    int const status = command.wait();
    if (status >= 0) // a request before the first one was expected ends the process at once
        EXPECT_TRUE(Json::parse(command.output()).contains("coverage"));
}

TEST_F(CheckTest, definitionFilesAreRankedByARecording) {
    std::string const fitting = definitions(sound), other = d_folder.file("other.dbc", "BO_ 512 Other: 8 X\n");
    std::string const notes = d_folder.file("notes.txt", "nothing\n"), log = d_folder.file("drive", drive);
    Result const text({"signals", "-d", other, "-d", fitting, "--fits", log});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.output, " frames  identifiers  file\n   75 %         50 %  " + fitting + "\n   25 %         50 %  " +
                               other + "\n");
    Result const folder({"signals", "-d", d_folder.name(), "--json", "--fits", log});
    EXPECT_TRUE(contains(folder.errors, notes + ": no message is defined in it; left out\n")) << folder.errors;
    EXPECT_EQ(Json::parse(folder.output)[0],
              (Json{{"file", fitting}, {"frames", 0.75}, {"identifiers", 0.5}, {"messages", 1}}));
    EXPECT_EQ(Result({"signals", "-d", fitting, "--fits", recording("(1.0) can0 7FF#00\n")}).status, 1);
    EXPECT_EQ(Result({"signals", "-d", fitting, "--fits", d_folder.name() + "/missing"}).status, 69);
    EXPECT_EQ(Result({"signals", "-d", notes, "--fits", log}).status, 69);
}

} // namespace
