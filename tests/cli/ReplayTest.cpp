// qzsignal replay.
#include "tests/cli/Drive.h"
#include "tests/cli/Terminal.h"

#include "qzsignal/shm/ShmSignal.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace {

// Reads in this process, which knows nothing but the name.
std::string valueOf(std::string const& instance) {
    ShmSignal signal(instance.c_str());
    double physical = 0;
    unsigned long long raw = 0, timestamp = 0;
    if (!signal.read(physical, timestamp) || !signal.read(raw, timestamp))
        return "none";
    return std::to_string(physical) + " " + std::to_string(raw) + " " + std::to_string(timestamp);
}

bool segmentExists(std::string const& instance) {
    key_t const key = ftok(("/tmp/" + instance).c_str(), 'f');
    return key != -1 && shmget(key, 0, 0) != -1;
}

class ReplayTest : public testing::Test {
protected:
    std::vector<std::string> replay(std::vector<std::string> const& more) const {
        std::vector<std::string> arguments = {"replay", "--dbc", d_drive.definitions()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }
    std::string log(std::string const& text) { return d_drive.folder().file("drive.log", text); }

    Drive d_drive;
};

TEST_F(ReplayTest, anotherProcessReadsWhatWasKept) {
    Result const result(replay({"--fast", "--keep", log(drivingFrame)}));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(valueOf(d_drive.speed()), "60.000000 200 1700000000123456");
    EXPECT_EQ(valueOf(d_drive.load()), "-3.000000 18446744073709551613 1700000000123456");
}

TEST_F(ReplayTest, definitionFilesMayComeInAnyPlace) {
    Folder folder;
    std::string const other = folder.file("other.dbc", "VERSION \"\"\n"), recording = log(drivingFrame);
    EXPECT_EQ(Result({"replay", "--dbc", other, "--dbc", d_drive.definitions(), recording, "--fast"}).status, 0);
    EXPECT_EQ(Result({"replay", "--fast", recording, "--dbc", d_drive.definitions(), "--dbc", other}).status, 0);
    EXPECT_EQ(Result({"replay", "--fast", "--dbc", d_drive.definitions(), recording, "surplus"}).status, 64);
}

TEST_F(ReplayTest, segmentsGoWithTheProcess) {
    EXPECT_EQ(Result(replay({"--fast", log(drivingFrame)})).status, 0);
    EXPECT_FALSE(segmentExists(d_drive.speed()));
}

TEST_F(ReplayTest, summaryCountsEverything) {
    Result const result(
        replay({"--fast", log(std::string(drivingFrame) + "(1700000000.2) can0 100#C8\n"
                                                          "(1700000000.3) can0 101#C800\n"
                                                          "\n"
                                                          "(1700000000.4) can0 100##1C800FD\n"
                                                          "(1700000000.5) can0 100#R\n"
                                                          "(1700000000.6) can0 20000080#0000000000000000\n"
                                                          "(1700000000.7) can0 100#C8001\n"
                                                          "nonsense\n"
                                                          "more nonsense\n"
                                                          "(1700000000.8) can0 100#C900FD")}));
    EXPECT_EQ(result.status, 0);
    for (char const* const line :
         {"lines: 11\n", "frames: 5\n", "decoded: 4\n", "not defined: 1 frames, 1 identifiers\n", "not picked: 0\n",
          "on other channels: 0\n", "CAN FD frames: 1\n", "remote frames: 1\n", "error frames: 1\n",
          "malformed lines: 3 (", "signals: 2\n", "signals with a value: 2\n", "values written: 6\n",
          "values beyond the end of short frames: 2\n", "frames per second: "})
        EXPECT_TRUE(contains(result.output, line)) << line << "in\n" << result.output;
    EXPECT_TRUE(contains(result.output, ": 8; ")) << result.output;
    EXPECT_TRUE(contains(result.output, ": 9-10)")) << result.output;
    EXPECT_TRUE(contains(result.errors, "drive.log:8: ")) << result.errors;
    EXPECT_TRUE(contains(result.errors, "drive.log:9-10: ")) << result.errors;
}

TEST_F(ReplayTest, readsAscLogs) {
    Result const result(replay({"--fast", "--keep",
                                log("date Sat Sep 30 15:06:13.191 2017\n"
                                    "base hex  timestamps absolute\n"
                                    "   0.015991 1  100             Rx   d 3 C8 00 FD\n")}));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(valueOf(d_drive.speed()), "60.000000 200 15991");
}

TEST_F(ReplayTest, liveBusArrivesFrameByFrame) {
    Command command(replay({"-"}));
    command.feed(drivingFrame);
    Result const first({"read", d_drive.speed(), "--wait", "60"});
    EXPECT_TRUE(contains(first.output, " = 60 km/h ")) << first.output << first.errors;
    // Recorded an hour later: input that comes by itself has its own pace.
    command.feed("(1700003600.0) can0 100#CA00\n");
    EXPECT_TRUE(waitUntil([this] { return valueOf(d_drive.speed()) == "61.000000 202 1700003600000000"; }));
    EXPECT_TRUE(command.running());
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
    EXPECT_TRUE(contains(command.output(), "frames: 2\n"));
    EXPECT_FALSE(segmentExists(d_drive.speed()));
}

TEST_F(ReplayTest, followersNoticeReplaysThatAreKilledAndThatEnd) {
    std::string const speed = d_drive.speed();
    std::string const unwritten = "- (trigger false, no value yet of '" + speed + "')\n";
    std::string const gone = "- (trigger false, no signal '" + speed + "')\n";
    std::string const at60 = "60 (trigger true, timestamp 1700000000123456)\n";
    Command first(replay({"-"}));
    first.feed(drivingFrame);
    Command follower({"eval", "--follow", "--interval", "0.001", "--wait", "60", speed});
    std::size_t seen = 0;
    auto const prints = [&](std::string const& line) {
        std::string news;
        EXPECT_TRUE(waitUntil([&] {
            news = follower.output().substr(seen);
            return contains(news, line) || !follower.running();
        })) << news;
        seen += news.size();
        // While a record is taken over, it is not there.
        return news == line || (line == unwritten && news == gone + line);
    };
    ASSERT_TRUE(prints(at60)) << follower.output() << follower.errors();

    first.signal(SIGKILL);
    EXPECT_EQ(first.wait(), -1);
    EXPECT_TRUE(segmentExists(speed));
    EXPECT_EQ(Result({"read", speed}).output, speed + " = 60 km/h (raw 200, timestamp 1700000000123456)\n");

    Command second(replay({"-"}));
    EXPECT_TRUE(prints(unwritten)) << follower.output();
    EXPECT_EQ(Result({"read", speed}).output, speed + " = - (no value yet)\n");
    second.feed("(1700000001.0) can0 100#CA00FD\n");
    EXPECT_TRUE(prints("61 (trigger true, timestamp 1700000001000000)\n")) << follower.output();
    second.endInput();
    EXPECT_EQ(second.wait(), 0);
    EXPECT_TRUE(prints(gone)) << follower.output();
    EXPECT_EQ(Result({"read", speed}).status, 69);

    Command third(replay({"-"}));
    EXPECT_TRUE(prints(unwritten)) << follower.output();
    third.feed(drivingFrame);
    EXPECT_TRUE(prints(at60)) << follower.output();
    EXPECT_TRUE(contains(Result({"read", speed}).output, " = 60 km/h "));
    follower.signal(SIGINT);
    EXPECT_EQ(follower.wait(), 0);
    EXPECT_EQ(follower.errors(), "");
}

TEST_F(ReplayTest, stopsInOrderOnRequest) {
    for (int const number : {SIGINT, SIGTERM, SIGHUP}) {
        // The second frame is due in an hour.
        Command command(replay({log(std::string(drivingFrame) + "(1700003600.0) can0 100#CA00\n")}));
        EXPECT_TRUE(waitUntil([this] {
            return segmentExists(d_drive.speed()) && valueOf(d_drive.speed()) == "60.000000 200 1700000000123456";
        }));
        EXPECT_TRUE(command.running()) << "recorded time passes as recorded";
        command.signal(number);
        EXPECT_EQ(command.wait(), 0);
        EXPECT_TRUE(contains(command.output(), "frames: 1\n")) << command.output();
        EXPECT_FALSE(segmentExists(d_drive.speed()));
    }
}

TEST_F(ReplayTest, stopsWhileItWaitsForInput) {
    Command command(replay({"-"}));
    command.feed(drivingFrame);
    EXPECT_TRUE(waitUntil([this] { return segmentExists(d_drive.speed()) && valueOf(d_drive.speed()) != "none"; }));
    // Sent until it is heard: one that comes just before the wait begins has nothing to interrupt.
    EXPECT_TRUE(waitUntil([&] {
        command.signal(SIGTERM);
        return !command.running();
    }));
    EXPECT_EQ(command.wait(), 0);
    EXPECT_FALSE(segmentExists(d_drive.speed()));
}

TEST_F(ReplayTest, speedMakesTimePassFaster) {
    // An hour in the blink of an eye, but not before the first frame is there.
    Result const result(
        replay({"--speed", "1000000", "--keep", log(std::string(drivingFrame) + "(1700003600.0) can0 100#CA00\n")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(valueOf(d_drive.speed()), "61.000000 202 1700003600000000");
}

TEST_F(ReplayTest, onlyPickedSignalsAreShared) {
    EXPECT_EQ(Result(replay({"--fast", "--keep", "--only", "*.Load", log(drivingFrame)})).status, 0);
    EXPECT_TRUE(segmentExists(d_drive.load()));
    EXPECT_FALSE(segmentExists(d_drive.speed()));
}

TEST_F(ReplayTest, channelPrefixRestrictsAFile) {
    std::string const recording = log("(1.0) can0 100#C800FD\n(2.0) can3 100#CA00FD\n");
    EXPECT_EQ(Result({"replay", "--dbc", "can3:" + d_drive.definitions(), "--fast", "--keep", recording}).status, 0);
    EXPECT_EQ(valueOf(d_drive.speed()), "61.000000 202 2000000");
}

TEST_F(ReplayTest, fileServesTheFirstChannelOnWhichItsFramesAreSeen) {
    std::string const recording =
        log("(1.0) can7 101#C800FD\n(1.5) can3 100#C800FD\n(2.0) can0 100#CA00FD\n(3.0) can0 100#CA00FD\n");
    Result const result(replay({"--fast", "--keep", recording}));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(valueOf(d_drive.speed()), "60.000000 200 1500000");
    EXPECT_TRUE(contains(result.output, "decoded: 1\n")) << result.output;
    EXPECT_TRUE(contains(result.output, "on other channels: 2 (" + d_drive.definitions() + " serves channel 3)\n"))
        << result.output;
}

TEST_F(ReplayTest, reportComesAsJson) {
    Result const result(
        replay({"--fast", "--json",
                log("(1.0) can1 100#C800FD\n(1.5) can3 18FEF100#00\n(2.0) can1 7#00\n(2.0) can2 100##0\n"
                    "(2.5) can1 555#00\n(2.6) can1 555#R4\n(2.7) can1 20000080#\nx\n")}));
    EXPECT_EQ(result.status, 0) << result.errors;
    nlohmann::json const json = nlohmann::json::parse(result.output);
    EXPECT_EQ(json["lines"], 8);
    EXPECT_EQ(json["frames"], 4);
    EXPECT_EQ(json["decoded"], 1);
    EXPECT_EQ(json["notDefined"], nlohmann::json::parse(R"({"frames": 2, "identifiers": [
                  {"bus": "can", "channel": 1, "id": 1365, "extended": false, "frames": 1},
                  {"bus": "can", "channel": 3, "id": 419361024, "extended": true, "frames": 1}]})"));
    EXPECT_EQ(json["notPicked"], 0);
    EXPECT_EQ(json["otherChannels"], 1);
    EXPECT_EQ(
        json["served"],
        nlohmann::json({{{"file", d_drive.definitions()}, {"bus", "can"}, {"channel", 1}, {"otherChannels", 1}}}));
    EXPECT_EQ(json["fdFrames"], 1);
    EXPECT_EQ(json["remoteFrames"], 1);
    EXPECT_EQ(json["errorFrames"], 1);
    ASSERT_EQ(json["malformed"].size(), 2U);
    EXPECT_EQ(json["malformed"][1]["places"], "8");
    EXPECT_EQ(json["malformed"][1]["count"], 1);
    EXPECT_EQ(json["skipped"], nlohmann::json::object());
    EXPECT_EQ(json["signals"], 2);
    EXPECT_EQ(json["signalsWithValue"], 2);
    EXPECT_EQ(json["valuesWritten"], 2);
    EXPECT_EQ(json["valuesCut"], 0);
    EXPECT_TRUE(json["seconds"].is_number());
    EXPECT_TRUE(json["framesPerSecond"].is_number());
}

TEST_F(ReplayTest, recordingInWhichNothingIsDefinedSaysSo) {
    std::string const recording = log("(1.0) can0 555#01\n(1.5) can0 18FEF100#00\n(2.0) can0 555#00\n");
    Result const result(replay({"--fast", recording}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "qzsignal: error: " + recording +
                                 ": the definitions define none of its 3 frames; most frequent identifiers: "
                                 "555 (2), 18FEF100 (1)\n");
    EXPECT_TRUE(contains(result.output, "not defined: 3 frames, 2 identifiers\n")) << result.output;
    EXPECT_EQ(Result({"trigger", "-d", d_drive.definitions(), d_drive.speed(), recording}).status, 1);
    Result const elsewhere({"replay", "-d", "can3:" + d_drive.definitions(), "--fast", log(drivingFrame)});
    EXPECT_EQ(elsewhere.status, 1);
    EXPECT_TRUE(contains(elsewhere.errors, ": the definitions serve none of its channels\n")) << elsewhere.errors;
}

TEST_F(ReplayTest, recordingWithoutAPickedSignalSaysSo) {
    std::string const definitions =
        d_drive.folder().file("more.dbc", Drive::definitionText(d_drive.speed().substr(0, d_drive.speed().find('.'))) +
                                              "BO_ 257 Empty: 8 X\n");
    std::string const recording = log("(1.0) can0 101#01\n(1.5) can0 555#00\n");
    Result const result({"replay", "-d", definitions, "--fast", "--only", "*.Speed", recording});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors,
              "qzsignal: error: " + recording + ": none of its frames carries a signal that is shared\n");
    EXPECT_TRUE(contains(result.output, "not defined: 1 frames, 1 identifiers\nnot picked: 1\n")) << result.output;
}

TEST_F(ReplayTest, definitionsHaveThreeNames) {
    std::string const recording = log(drivingFrame);
    for (char const* const name : {"-d", "--definitions", "--dbc"})
        EXPECT_EQ(Result({"replay", name, d_drive.definitions(), "--fast", recording}).status, 0) << name;
}

TEST_F(ReplayTest, signalsAnywhereInCanFdFramesAreDecoded) {
    SharedName const name("Fd");
    Folder folder;
    std::string const definitions =
        folder.file("fd.dbc", "BO_ 291 " + name.name() + ": 64 X\n SG_ Last : 504|8@1+ (1,0) [0|0] \"\" X\n");
    std::string const payload = std::string(126, '0') + "2A";
    EXPECT_EQ(
        Result({"replay", "-d", definitions, "--fast", "--keep", log("(1.0) can0 123##1" + payload + "\n")}).status, 0);
    EXPECT_EQ(valueOf(name.name() + ".Last"), "42.000000 42 1000000");
}

TEST_F(ReplayTest, manyProblemsOfOneKindAreOneLineAndQuietHidesWarnings) {
    SharedName const name("Many");
    Folder folder;
    std::string text = "BO_ 291 " + name.name() + ": 1 X\n SG_ Good : 0|8@1+ (1,0) [0|0] \"\" X\n";
    for (int i = 0; i < 12; ++i)
        text += " SG_ Long" + std::to_string(i) + " : 8|8@1+ (1,0) [0|0] \"\" X\n";
    text += " SG_ Bad : 0|0@1+ (1,0) [0|0] \"\" X\n";
    std::string const definitions = folder.file("many.dbc", text), recording = log("(1.0) can0 123#01\n");
    Result const loud({"replay", "-d", definitions, "--only", "*.Good", "--fast", recording});
    EXPECT_EQ(loud.errors, "qzsignal: warning: " + definitions +
                               ":3: SG_ 'Long0': it reaches beyond the 1 byte of message '" + name.name() +
                               "'; 12 problems of this kind, in lines 3-14\n" + "qzsignal: error: " + definitions +
                               ":15: SG_ 'Bad': it has 0 bits, but a signal has 1 to 64; left out\n");
    Result const quiet({"replay", "-d", definitions, "--only", "*.Good", "--fast", "--quiet", recording});
    EXPECT_EQ(quiet.errors, "qzsignal: error: " + definitions +
                                ":15: SG_ 'Bad': it has 0 bits, but a signal has 1 to 64; left out\n");
    EXPECT_EQ(quiet.status, 0);
}

TEST_F(ReplayTest, patternThatMatchesNothingIsNotThere) {
    Result const result(replay({"--only", "a*", "--only", "b*", "--fast", log(drivingFrame)}));
    EXPECT_EQ(result.status, 69);
    EXPECT_EQ(result.errors, "qzsignal: error: no signal matches 'a*' or 'b*'\n");
    EXPECT_EQ(Result(replay({"--only", "a*", "--only", "*.Speed", "--fast", log(drivingFrame)})).status, 0);
}

TEST_F(ReplayTest, missingRecordingIsReported) {
    Result const result(replay({"--fast", "/no/such.log"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "qzsignal: error: cannot open '/no/such.log': No such file or directory\n");
}

TEST_F(ReplayTest, missingDefinitionFileIsReportedAndTheOthersWork) {
    Result const result(replay({"--dbc", "/no/such.dbc", "--fast", "--keep", log(drivingFrame)}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "qzsignal: error: /no/such.dbc: No such file or directory\n");
    EXPECT_EQ(valueOf(d_drive.speed()), "60.000000 200 1700000000123456");
}

TEST_F(ReplayTest, emptyRecordingHoldsNothingUsable) {
    Result const result(replay({"--fast", log("")}));
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.errors, ": contains no frame\n")) << result.errors;
}

TEST_F(ReplayTest, recordingThatIsBadThroughoutIsBadData) {
    Result const text(replay({"--fast", log("some\nother\ntext\n")}));
    EXPECT_EQ(text.status, 65);
    EXPECT_TRUE(contains(text.errors, "drive.log:1-3: ")) << text.errors;
    Result const binary(replay({"--fast", log(std::string("\0\1\2\3\0", 5))}));
    EXPECT_EQ(binary.status, 65);
    EXPECT_TRUE(contains(binary.errors, "it contains NUL bytes")) << binary.errors;
    EXPECT_FALSE(segmentExists(d_drive.speed()));
}

TEST_F(ReplayTest, definitionsThatAreBadThroughoutAreBadData) {
    Folder folder;
    std::string const utf16 = folder.file("utf16.dbc", std::string("\xff\xfe"
                                                                   "B\0O\0_\0 \0",
                                                                   10));
    Result const result({"replay", "--dbc", utf16, "--fast", log(drivingFrame)});
    EXPECT_EQ(result.status, 65);
    EXPECT_TRUE(contains(result.errors, "UTF-16")) << result.errors;
    std::string const binary = folder.file("binary.dbc", std::string("BO_ 1 A: 8 X\n\0\1\2", 16));
    EXPECT_EQ(Result({"replay", "--dbc", binary, "--fast", log(drivingFrame)}).status, 65);
}

TEST_F(ReplayTest, setBeyondTheKernelsLimitIsRefusedWithTheNumbers) {
    std::size_t limit = 0;
    std::ifstream("/proc/sys/kernel/shmmni") >> limit;
    if (limit == 0 || limit > 30000)
        GTEST_SKIP() << "the limit of " << limit << " segments is too high to be met here";
    Folder folder;
    SharedName const name("Limit");
    std::string text;
    std::size_t signals = 0;
    for (unsigned message = 0; signals <= limit; ++message) {
        text += "BO_ " + std::to_string(message) + " " + name.name() + std::to_string(message) + ": 8 X\n";
        for (unsigned bit = 0; bit < 64; ++bit, ++signals)
            text += " SG_ S" + std::to_string(bit) + " : " + std::to_string(bit) + "|1@1+ (1,0) [0|0] \"\" X\n";
    }
    Result const result({"replay", "--dbc", folder.file("large.dbc", text), "--fast", log(drivingFrame)});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors.find("qzsignal: error: " + std::to_string(signals) +
                                 " signals need a shared memory segment each, but the kernel allows " +
                                 std::to_string(limit) + " (kernel.shmmni), of which "),
              0U)
        << result.errors;
    EXPECT_TRUE(contains(result.errors, "--only")) << result.errors;
    EXPECT_FALSE(segmentExists(name.name() + "0.S0")) << "nothing was begun";
}

TEST_F(ReplayTest, signalWithTheKeyOfAnotherIsReportedAndTheOthersAreShared) {
    // A hard link gives two names one inode, and so one key, as two files can have by chance.
    std::string const speed = "/tmp/" + d_drive.speed(), load = "/tmp/" + d_drive.load();
    std::ofstream(speed).close();
    ASSERT_EQ(link(speed.c_str(), load.c_str()), 0);
    Result const result(replay({"--fast", "--keep", log(drivingFrame)}));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.errors, "'" + d_drive.load() +
                                            "' cannot be shared: its key file has the same key as that of '" +
                                            d_drive.speed() + "'; remove " + load + " and start again\n"))
        << result.errors;
    EXPECT_EQ(valueOf(d_drive.speed()), "60.000000 200 1700000000123456");
}

TEST_F(ReplayTest, whateverLiesInPlaceOfAKeyFileIsLeftAlone) {
    std::string const target = d_drive.folder().file("precious", "precious");
    ASSERT_EQ(symlink(target.c_str(), ("/tmp/" + d_drive.speed()).c_str()), 0);
    ASSERT_EQ(mkfifo(("/tmp/" + d_drive.load()).c_str(), 0666), 0);
    Result const result(replay({"--fast", "--keep", log(drivingFrame)}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "[ERROR] ShmSignal: " + d_drive.speed() + ": Missing File (/tmp/" + d_drive.speed() +
                                 ")\nqzsignal: error: 1 of 2 signals could not be shared\n");
    EXPECT_EQ(contentsOf(target), "precious");
    EXPECT_EQ(valueOf(d_drive.load()), "-3.000000 18446744073709551613 1700000000123456");
}

TEST_F(ReplayTest, progressIsShownOnATerminal) {
    Terminal terminal;
    if (terminal.end() < 0)
        GTEST_SKIP() << "no pseudo terminal to be had";
    Command command(replay({"-"}), terminal.end());
    // Frames until it has something to show: it does so twice a second at most.
    EXPECT_TRUE(waitUntil([&] {
        for (int i = 0; i < 64; ++i)
            command.feed(drivingFrame);
        return contains(terminal.shown(), " frames");
    })) << terminal.shown();
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
}

} // namespace
