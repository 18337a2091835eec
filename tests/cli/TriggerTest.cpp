// qzsignal trigger.
#include "tests/cli/Drive.h"
#include "tests/cli/Terminal.h"

namespace {

// Speed is half of the first two bytes less 40, so that 0x0100 is 88 km/h and 0x0010 -32; load is the third byte.
constexpr char rise[] = "(1700000000.000001) can0 100#100000\n"
                        "(1700000001.000000) can0 100#000105\n"
                        "(1700000001.500000) can0 100#010105\n"
                        "(1700000002.250000) can0 100#100005\n"
                        "(1700000003.000000) can0 200#00\n"
                        "(1700000004.000000) can0 100#0001FF\n"
                        "(1700000005.000000) can0 200#00\n";

class TriggerTest : public testing::Test {
protected:
    std::vector<std::string> arguments(std::vector<std::string> const& more) const {
        std::vector<std::string> all = {"trigger", "--dbc", d_drive.definitions()};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    std::string log(std::string const& text) { return d_drive.folder().file("drive.log", text); }

    Drive d_drive;
};

TEST_F(TriggerTest, printsEachMomentAtWhichTheConditionBecomesTrue) {
    Result const result(arguments({d_drive.speed() + " > 50", log(rise)}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "1700000001.000000 true (line 2)\n1700000004.000000 true (line 6)\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(TriggerTest, conditionMayNameSeveralSignals) {
    Result const result(arguments({d_drive.speed() + " > 50 && " + d_drive.load() + " < 0", log(rise)}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "1700000004.000000 true (line 6)\n");
}

TEST_F(TriggerTest, signalsAreFoundByTheirOwnNamesAndAsExpressionsHoldThem) {
    SharedName const name("Spelled");
    std::string const definitions = d_drive.folder().file(
        "spelled.dbc", "BO_ 256 " + name.name() +
                           ": 8 X\n SG_ a : 0|16@1+ (0.5,-40) [0|0] \"\" X\n SG_ b : 16|8@1- (1,0) [0|0] \"\" X\n"
                           "BO_ 257 Other" +
                           name.name() +
                           ": 8 X\n SG_ Load : 0|8@1+ (1,0) [0|0] \"\" X\n"
                           "BA_ \"SystemSignalLongSymbol\" SG_ 256 a \"Car Speed\";\n"
                           "BA_ \"SystemSignalLongSymbol\" SG_ 256 b \"Load\";\n");
    std::string const recording = log(rise);
    for (std::string const& spelling : {name.name() + ".Car_Speed", std::string("Car_Speed")}) {
        Result const result({"trigger", "-d", definitions, spelling + " > 50", recording});
        EXPECT_EQ(result.output, "1700000001.000000 true (line 2)\n1700000004.000000 true (line 6)\n") << result.errors;
    }
    Result const result({"trigger", "-d", definitions, "Car_Speed > 50 && Load < 0", recording});
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(result.errors,
              "qzsignal: error: 'Load' may be any of Other" + name.name() + ".Load, " + name.name() + ".Load\n");
}

TEST_F(TriggerTest, neverTriggeredIsStatus1) {
    Result const result(arguments({d_drive.speed() + " > 500", log(rise)}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "");
}

TEST_F(TriggerTest, levelTellsHowLongTheConditionHeld) {
    std::string const condition = d_drive.speed() + " > 50", recording = log(rise);
    EXPECT_EQ(Result(arguments({"--level", condition, recording})).output,
              "1700000001.000000 true for 1.250000 s (line 2)\n"
              "1700000004.000000 true for 1.000000 s, to the end of the recording (line 6)\n");
    EXPECT_EQ(Result(arguments({"--level", "--format", "csv", condition, recording})).output,
              "time,line,held,ended\n1700000001.000000,2,1.250000,true\n1700000004.000000,6,1.000000,false\n");
    EXPECT_EQ(Result(arguments({"--level", "--format", "json", condition, recording})).output,
              "{\"timestamp\":1700000001000000,\"line\":2,\"held\":1250000,\"ended\":true}\n"
              "{\"timestamp\":1700000004000000,\"line\":6,\"held\":1000000,\"ended\":false}\n");
}

TEST_F(TriggerTest, otherFormatsHaveNoDurationsWithoutLevel) {
    std::string const condition = d_drive.load() + " == 5", recording = log(rise);
    EXPECT_EQ(Result(arguments({"--format", "text", condition, recording})).output,
              "1700000001.000000 true (line 2)\n");
    EXPECT_EQ(Result(arguments({"--format", "csv", condition, recording})).output, "time,line\n1700000001.000000,2\n");
    EXPECT_EQ(Result(arguments({"--format", "json", condition, recording})).output,
              "{\"timestamp\":1700000001000000,\"line\":2}\n");
}

TEST_F(TriggerTest, jsonHasAnOptionOfItsOwn) {
    std::string const condition = d_drive.speed() + " > 50", recording = log(rise);
    Result const result(arguments({"--json", "--level", "--for", "0.5", condition, recording}));
    EXPECT_EQ(result.output, "{\"timestamp\":1700000001500000,\"line\":3,\"held\":1250000,\"ended\":true}\n"
                             "{\"timestamp\":1700000004500000,\"line\":6,\"held\":1000000,\"ended\":false}\n");
    EXPECT_EQ(Result(arguments({"--json", "--format", "csv", condition, recording})).status, 64);
}

TEST_F(TriggerTest, nothingIsLookedAtBeforeAllSignalsHaveValues) {
    // A frame of two bytes carries no load; the speed alone would do.
    std::string const condition = d_drive.speed() + " > 50 || " + d_drive.load() + " > 50";
    Result const later(
        arguments({condition, log("(1.0) can0 100#0001\n(2.0) can0 100#000100\n(3.0) can0 100#0001\n")}));
    EXPECT_EQ(later.output, "2.000000 true (line 2)\n");
    Result const never(arguments({condition, log("(1.0) can0 100#0001\n")}));
    EXPECT_EQ(never.status, 1);
    EXPECT_EQ(never.output, "");
    EXPECT_EQ(never.errors,
              "qzsignal: warning: '" + d_drive.load() + "' never got a value, so the condition was never looked at\n");
}

TEST_F(TriggerTest, timeThatStepsBackHoldsForNothing) {
    Result const result(
        arguments({"--level", d_drive.speed() + " > 50", log("(5.0) can0 100#000100\n(1.0) can0 100#000000\n")}));
    EXPECT_EQ(result.output, "5.000000 true for 0.000000 s (line 1)\n");
}

TEST_F(TriggerTest, conditionMayHaveToHoldForSomeTime) {
    std::string const condition = d_drive.speed() + " > 50", recording = log(rise);
    Result const result(arguments({"--for", "1.25", condition, recording}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "1700000002.250000 true (line 4)\n");
    EXPECT_EQ(Result(arguments({"--for", "0.6", "--level", condition, recording})).output,
              "1700000001.600000 true for 1.250000 s (line 3)\n"
              "1700000004.600000 true for 1.000000 s, to the end of the recording (line 6)\n");
    Result const longer(arguments({"--for", "1.5", condition, recording}));
    EXPECT_EQ(longer.status, 1);
    EXPECT_EQ(longer.output, "");
    EXPECT_EQ(Result(arguments({"--for", "-1", condition, recording})).status, 64);
}

TEST_F(TriggerTest, liveMomentIsReportedWithTheFirstFrameAfterIt) {
    Command command(arguments({"--for", "1", d_drive.speed() + " > 50", "-"}));
    command.feed("(10.0) can0 100#000100\n(11.5) can0 200#00\n");
    EXPECT_TRUE(waitUntil([&] { return command.output() == "11.000000 true (line 1)\n"; })) << command.errors();
    EXPECT_TRUE(command.running());
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
}

TEST_F(TriggerTest, conditionMayNameWhatIsDerivedFromSignals) {
    std::string const recording = log(rise);
    EXPECT_EQ(Result(arguments({d_drive.speed() + ".age >= 0.75", recording})).output,
              "1700000003.000000 true (line 5)\n1700000005.000000 true (line 7)\n");
    EXPECT_EQ(Result(arguments({"Load.raw == -1", recording})).output, "1700000004.000000 true (line 6)\n");
    std::string const definitions = d_drive.folder().file(
        "words.dbc", contentsOf(d_drive.definitions()) + "VAL_ 256 Load 5 \"on the level\" 6 \"on_the_level\" ;\n");
    Result const words({"trigger", "-d", definitions, "Load == Load.on_the_level_2", recording});
    EXPECT_EQ(words.output, "1700000001.000000 true (line 2)\n");
    EXPECT_TRUE(
        contains(words.errors, "words that are spelled alike; see also '" + d_drive.load() + ".on_the_level'\n"))
        << words.errors;
    EXPECT_EQ(Result({"trigger", "--quiet", "-d", definitions, "Load == Load.on_the_level", recording}).errors, "");
    Result const unknown({"trigger", "-d", definitions, "Load == Load.on_the_levle", recording});
    EXPECT_EQ(unknown.status, 69);
    EXPECT_EQ(unknown.errors, "qzsignal: error: the definition files hold no signal 'Load.on_the_levle', did you mean "
                              "'Load.on_the_level'?\n");
}

TEST_F(TriggerTest, channelsAreThoseOfReplay) {
    std::string const recording = log("(1.0) can1 100#000100\n(2.0) can3 100#000100\n");
    Result const result({"trigger", "--dbc", "can3:" + d_drive.definitions(), d_drive.speed() + " > 50", recording});
    EXPECT_EQ(result.output, "2.000000 true (line 2)\n");
}

TEST_F(TriggerTest, needsNoSharedMemory) {
    EXPECT_EQ(Result(arguments({d_drive.speed() + " > 50", log(rise)})).status, 0);
    EXPECT_NE(access(("/tmp/" + d_drive.speed()).c_str(), F_OK), 0);
}

TEST_F(TriggerTest, liveRecordingIsAnsweredAtOnce) {
    Command command(arguments({d_drive.speed() + " > 50", "-"}));
    command.feed(rise);
    EXPECT_TRUE(waitUntil([&] { return contains(command.output(), "(line 6)\n"); })) << command.errors();
    EXPECT_TRUE(command.running());
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
}

TEST_F(TriggerTest, damageOfALiveRecordingIsReportedAtOnce) {
    Command command(arguments({d_drive.speed() + " > 50", "-"}));
    command.feed("(1700000000.000001) can0 100#100000\nnonsense\n");
    EXPECT_TRUE(waitUntil([&] { return contains(command.errors(), "-:2: "); })) << command.errors();
    EXPECT_TRUE(command.running());
    for (int i = 0; i < 11; ++i)
        command.feed("nonsense\n");
    command.feed("(x) can0 100#00\n");
    EXPECT_TRUE(waitUntil([&] { return contains(command.errors(), "-:14: "); })) << command.errors();
    // More than ten of a cause are summed up in the end, and nothing else comes again.
    EXPECT_FALSE(contains(command.errors(), "-:12: ")) << command.errors();
    command.endInput();
    EXPECT_EQ(command.wait(), 1);
    EXPECT_TRUE(contains(command.errors(), "-:2-13: ")) << command.errors();
    EXPECT_EQ(command.errors().find("-:14: "), command.errors().rfind("-:14: ")) << command.errors();
}

// The command may not even keep the text.
TEST_F(TriggerTest, memoryDoesNotGrowWithTheRecording) {
#if defined QZSIGNAL_EMULATED || defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
    GTEST_SKIP() << "the emulator, or the sanitizer, needs the memory itself";
#endif
    std::string lines;
    for (int i = 0; i < 20'000; ++i)
        lines += "(1700000001.000000) can0 100#0001050000000000\n(1700000001.000001) can0 200#00\nnonsense\n";
    Child command("sh|-c|ulimit -v 30000 && exec \"$0\" \"$@\"" QZSIGNAL_TEST_COMMAND,
                  arguments({d_drive.speed() + " > 5000", "-"}));
    for (int i = 0; i < 14; ++i) // 22 MB
        command.feed(lines);
    command.endInput();
    EXPECT_EQ(command.wait(), 1) << command.errors();
    EXPECT_FALSE(contains(command.errors(), "out of memory")) << command.errors();
    EXPECT_TRUE(contains(command.errors(), "-:3, 6, 9")) << command.errors();
}

TEST_F(TriggerTest, absoluteTimesCountFrom1970) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    std::string const asc = "date Sam Sep 30 15:06:13.191 2017\nbase hex timestamps absolute\n"
                            "   0.500000 1  100  Rx d 3 00 01 05\n";
    std::string const condition = d_drive.speed() + " > 50";
    EXPECT_EQ(Result(arguments({condition, log(asc)})).output, "0.500000 true (line 3)\n");
    Result const absolute(arguments({"--absolute", condition, log(asc)}));
    EXPECT_EQ(absolute.output, "1506776773.691000 true (line 3)\n");
    EXPECT_EQ(absolute.errors, "");
    EXPECT_EQ(Result(arguments({"--absolute", condition, log(rise)})).output,
              "1700000001.000000 true (line 2)\n1700000004.000000 true (line 6)\n");
    Result const unknown(arguments({"--absolute", condition, log("date yesterday\n" + asc.substr(asc.find("base")))}));
    EXPECT_EQ(unknown.output, "0.500000 true (line 3)\n");
    EXPECT_TRUE(contains(unknown.errors, "drive.log: does not say when it began, or not in a form that is known; its "
                                         "times are as recorded\n"))
        << unknown.errors;
    unsetenv("TZ");
}

TEST_F(TriggerTest, stopsInOrderOnRequest) {
    std::string const ended = "1700000001.000000 true for 1.250000 s (line 2)\n",
                      open = "1700000004.000000 true for 1.000000 s, to the end of the recording (line 6)\n";
    // A request that comes before the last lines are read ends the recording there, which is right as well.
    EXPECT_TRUE(waitUntil([&] {
        Command command(arguments({"--level", d_drive.speed() + " > 50", "-"}));
        command.feed(rise);
        EXPECT_TRUE(waitUntil([&] { return contains(command.output(), ended); })) << command.errors();
        // Sent until it is heard: one that comes just before the wait for input begins has nothing to interrupt.
        EXPECT_TRUE(waitUntil([&] {
            command.signal(SIGINT);
            return !command.running();
        }));
        EXPECT_EQ(command.wait(), 0);
        EXPECT_EQ(command.output().find(ended), 0U);
        return HasFailure() || command.output() == ended + open;
    }));
}

TEST_F(TriggerTest, progressIsShownOnATerminalAndWipedBeforeResults) {
    Terminal terminal;
    if (terminal.end() < 0)
        GTEST_SKIP() << "no pseudo terminal to be had";
    for (char const* const subcommand : {"trigger", "cut"}) {
        std::size_t const before = terminal.shown().size();
        std::string const cut = d_drive.folder().path("e.log");
        std::vector<std::string> all = {subcommand, "-d", d_drive.definitions(), d_drive.speed() + " > 50", "-"};
        if (all.front() == "cut")
            all.insert(all.begin() + 1, {"-o", cut});
        Command command(all, terminal.end());
        EXPECT_TRUE(waitUntil([&] {
            for (int i = 0; i < 64; ++i)
                command.feed("(1.0) can0 100#100000\n");
            return terminal.shown().find(" frames", before) != std::string::npos;
        })) << terminal.shown();
        command.feed("(2.0) can0 100#000100\n");
        command.endInput();
        EXPECT_EQ(command.wait(), 0);
        EXPECT_NE(command.output(), "");
        std::string const wiped = "\r\033[K";
        EXPECT_EQ(terminal.shown().substr(terminal.shown().size() - wiped.size()), wiped);
    }
}

TEST_F(TriggerTest, badExpressionIsShownWithItsPlace) {
    Result const result(arguments({d_drive.speed() + " > > 50", log(rise)}));
    EXPECT_EQ(result.status, 65);
    EXPECT_EQ(result.output, "");
    std::string const name = d_drive.speed();
    EXPECT_EQ(result.errors, "[ERROR] expression parser: line 1 syntax error at '> >'\n    " + name + " > > 50\n" +
                                 std::string(name.size() + 7, ' ') + "^\n");
}

TEST_F(TriggerTest, expressionWithoutSignalsIsWrong) {
    Result const result(arguments({"1 > 0", log(rise)}));
    EXPECT_EQ(result.status, 65);
    EXPECT_EQ(result.errors, "qzsignal: error: the expression names no signal\n");
}

TEST_F(TriggerTest, unknownSignalIsReportedWithTheNearestName) {
    Result const result(arguments({d_drive.speed() + "s > 50 && RC.F1 == pressed", log(rise)}));
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "qzsignal: error: the definition files hold no signal '" + d_drive.speed() +
                                 "s', did you mean '" + d_drive.speed() +
                                 "'?\n"
                                 "qzsignal: error: the definition files hold no signal 'RC.F1'\n");
}

TEST_F(TriggerTest, missingFilesAreNotThere) {
    Result const trace(arguments({d_drive.speed(), "/no/such.log"}));
    EXPECT_EQ(trace.status, 69);
    EXPECT_EQ(trace.errors, "qzsignal: error: cannot open '/no/such.log': No such file or directory\n");
    Result const definitions(arguments({"--dbc", "/no/such.dbc", d_drive.speed(), log(rise)}));
    EXPECT_EQ(definitions.status, 69);
    EXPECT_EQ(definitions.output, "");
    EXPECT_EQ(definitions.errors, "qzsignal: error: /no/such.dbc: No such file or directory\n");
}

TEST_F(TriggerTest, inputsWithoutContentAreJudged) {
    Folder folder;
    std::string const empty = folder.file("empty.dbc", "VERSION \"\"\n");
    EXPECT_EQ(Result({"trigger", "--dbc", empty, d_drive.speed(), log(rise)}).status, 69);
    std::string const bad = folder.file("bad.dbc", "BO_ 256 M: 8 X\n SG_ Bad : 0|0@1+ (1,0) [0|0] \"\" X\n");
    EXPECT_EQ(Result({"trigger", "--dbc", bad, d_drive.speed(), log(rise)}).status, 65);
    EXPECT_EQ(Result(arguments({d_drive.speed(), log("nonsense\n")})).status, 65);
    Result const none(arguments({d_drive.speed(), log("")}));
    EXPECT_EQ(none.status, 1);
    EXPECT_TRUE(contains(none.errors, ": contains no frame\n")) << none.errors;
}

TEST_F(TriggerTest, malformedLinesAreReportedAndTheRestIsRead) {
    Result const result(arguments({d_drive.speed() + " > 50", log(std::string("nonsense\n") + rise)}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "1700000001.000000 true (line 3)\n1700000004.000000 true (line 7)\n");
    EXPECT_TRUE(contains(result.errors, "drive.log:1: ")) << result.errors;
}

} // namespace
