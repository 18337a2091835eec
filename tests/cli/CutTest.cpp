// qzsignal cut.
#include "tests/cli/Drive.h"

#include <nlohmann/json.hpp>

namespace {

// The speed is above 50 in the frames with 0001, and not in those with 1000.
constexpr char rise[] = "(1700000000.000000) can0 100#100000\n"
                        "(1700000004.000000) can0 200#00\n"
                        "(1700000006.000000) can0 100#000105\n"
                        "(1700000007.000000) can0 100#100005\n"
                        "(1700000016.000000) can0 200#01\n"
                        "(1700000017.000000) can0 200#02\n"
                        "(1700000040.000000) can0 100#0001FF\n"
                        "(1700000041.000000) can0 20000080#0000000000000000\n";

class CutTest : public testing::Test {
protected:
    std::vector<std::string> arguments(std::vector<std::string> const& more) {
        std::vector<std::string> all = {"cut", "-d", d_drive.definitions()};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    std::string condition() const { return d_drive.speed() + " > 50"; }
    std::string log(std::string const& text) { return d_drive.folder().file("drive.log", text); }
    std::string pattern() { return d_drive.folder().name() + "/e%n.log"; }
    // Name of the file with this number, which is removed in the end.
    std::string cutFile(int number) { return d_drive.folder().path("e" + std::to_string(number) + ".log"); }

    Drive d_drive;
};

TEST_F(CutTest, writesTheStretchesAroundMoments) {
    std::string const first = cutFile(1), second = cutFile(2);
    Result const result(arguments({"-o", pattern(), condition(), log(rise)}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, first + ": 4 frames from 1700000004.000000 to 1700000016.000000, 1 moment\n" + second +
                                 ": 2 frames from 1700000040.000000 to 1700000041.000000, 1 moment\n");
    EXPECT_EQ(contentsOf(first), "(1700000004.000000) can0 200#00\n"
                                 "# 1700000006.000000 true (line 3): " +
                                     condition() +
                                     "\n"
                                     "(1700000006.000000) can0 100#000105\n"
                                     "(1700000007.000000) can0 100#100005\n"
                                     "(1700000016.000000) can0 200#01\n");
    EXPECT_EQ(contentsOf(second), "# 1700000040.000000 true (line 7): " + condition() +
                                      "\n"
                                      "(1700000040.000000) can0 100#0001FF\n"
                                      "(1700000041.000000) can0 20000080#0000000000000000\n");
}

TEST_F(CutTest, filesGiveTheSameMomentsAndValues) {
    std::string const first = cutFile(1), second = cutFile(2), recording = log(rise);
    EXPECT_EQ(Result(arguments({"-o", pattern(), condition(), recording})).status, 0);
    for (std::string const& text : {condition(), d_drive.load() + " == 5", d_drive.load() + " == -1"}) {
        std::vector<std::string> const trigger = {"trigger", "-d", d_drive.definitions(), "--format", "csv", text};
        auto const momentsIn = [&trigger](std::string const& trace) {
            std::vector<std::string> all = trigger;
            all.push_back(trace);
            Result const result(all);
            EXPECT_EQ(result.errors, "");
            std::string times;
            for (std::size_t line = result.output.find('\n') + 1; line < result.output.size();
                 line = result.output.find('\n', line) + 1)
                times += result.output.substr(line, result.output.find(',', line) - line) + " ";
            return times;
        };
        std::string const whole = momentsIn(recording);
        EXPECT_FALSE(whole.empty());
        EXPECT_EQ(momentsIn(first) + momentsIn(second), whole) << text;
    }
    Result const replay({"replay", "-d", d_drive.definitions(), "--fast", "--keep", second});
    EXPECT_EQ(replay.status, 0) << replay.errors;
    EXPECT_TRUE(contains(replay.output, "malformed lines: 0\n")) << replay.output;
    Result const read({"read", d_drive.speed(), d_drive.load()});
    EXPECT_TRUE(contains(read.output, "88")) << read.output;
    EXPECT_TRUE(contains(read.output, "-1")) << read.output;
}

TEST_F(CutTest, optionsSetTheLengthOfStretches) {
    std::string const first = cutFile(1);
    Result const result(
        arguments({"--before", "2", "--after", "0.5", "--for", "0.5", "--json", "-o", pattern(), condition(),
                   log("(4.5) can0 200#00\n(5.0) can0 100#000105\n(5.9) can0 200#01\n"
                       "(6.1) can0 100#100005\n")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(nlohmann::json::parse(result.output),
              (nlohmann::json{{"file", first}, {"first", 4500000}, {"last", 5900000}, {"frames", 3}, {"moments", 1}}));
    EXPECT_EQ(contentsOf(first), "(4.5) can0 200#00\n(5.0) can0 100#000105\n# 5.500000 true (line 2): " + condition() +
                                     "\n(5.9) can0 200#01\n");
    EXPECT_EQ(Result(arguments({"--before", "-1", condition(), log(rise)})).status, 64);
}

TEST_F(CutTest, withoutAMomentThereIsNoFile) {
    Result const result(arguments({"-o", pattern(), d_drive.speed() + " > 500", log(rise)}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "");
    EXPECT_NE(access((d_drive.folder().name() + "/e1.log").c_str(), F_OK), 0);
}

TEST_F(CutTest, namesAreThoseOfTheFormatWithoutAPattern) {
    std::string const event = d_drive.folder().path("event-1.asc");
    std::string const recording =
        d_drive.folder().file("drive.asc", "base hex timestamps absolute\n 1.0 1 100 Rx d 3 00 01 05\n");
    std::string const folder = d_drive.folder().name();
    char before[4096];
    ASSERT_NE(getcwd(before, sizeof before), nullptr);
    ASSERT_EQ(chdir(folder.c_str()), 0);
    Result const result(arguments({condition(), recording}));
    ASSERT_EQ(chdir(before), 0);
    EXPECT_EQ(result.output, "event-1.asc: 1 frame from 1.000000 to 1.000000, 1 moment\n") << result.errors;
    EXPECT_EQ(contentsOf(event), "base hex timestamps absolute\n// 1.000000 true (line 2): " + condition() +
                                     "\n 1.0 1 100 Rx d 3 00 01 05\n");
}

TEST_F(CutTest, liveRecordingIsCutAsItComes) {
    std::string const first = cutFile(1), second = cutFile(2);
    Command command(arguments({"--before", "3", "--after", "2", "-o", pattern(), condition(), "-"}));
    command.feed("(1.0) can0 200#00\n(5.0) can0 200#01\n(6.0) can0 100#000100\n");
    std::string const start = "(5.0) can0 200#01\n# 6.000000 true (line 3): " + condition() + "\n";
    EXPECT_TRUE(waitUntil([&] { return contentsOf(first) == start; })) << command.errors();
    command.feed("(7.0) can0 100#100000\n(8.1) can0 200#02\n(11.2) can0 200#03\n");
    EXPECT_TRUE(waitUntil([&] { return contains(command.output(), "e1.log: 3 frames"); })) << "no stretch can touch it";
    EXPECT_TRUE(command.running());
    EXPECT_EQ(contentsOf(first), start + "(6.0) can0 100#000100\n(7.0) can0 100#100000\n");
    command.feed("(12.0) can0 100#000100\n");
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(contentsOf(second),
              "(11.2) can0 200#03\n# 12.000000 true (line 7): " + condition() + "\n(12.0) can0 100#000100\n");
    EXPECT_EQ(command.errors(), "") << "the recording ended by itself";
}

TEST_F(CutTest, requestToStopFinishesTheOpenStretch) {
    std::string const first = cutFile(1);
    Command command(arguments({"-o", pattern(), condition(), "-"}));
    command.feed("(5.0) can0 200#01\n(6.0) can0 100#000100\n(6.5) can0 200#02\n");
    EXPECT_TRUE(waitUntil([&] { return contains(contentsOf(first), "# 6.0"); })) << command.errors();
    EXPECT_TRUE(waitUntil([&] {
        command.signal(SIGINT);
        return !command.running();
    }));
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(contentsOf(first).find("(5.0) can0 200#01\n# 6.000000 true (line 2): " + condition() +
                                     "\n(6.0) can0 100#000100\n"),
              0U);
    EXPECT_TRUE(contains(command.output(), first + ": ")) << command.output();
    EXPECT_EQ(command.errors(), "qzsignal: interrupted: '" + first + "' ends before its stretch does\n");
}

TEST_F(CutTest, filesThatCannotBeWrittenAreAnError) {
    std::string const recording = log(rise);
    Result const folder(arguments({"-o", "/no/such/e%n.log", condition(), recording}));
    EXPECT_EQ(folder.status, 74);
    EXPECT_EQ(folder.output, "");
    EXPECT_EQ(folder.errors,
              "qzsignal: error: cannot write the results to '/no/such/e1.log': No such file or directory\n");
    Result const full(arguments({"-o", "/dev/full", condition(), recording}));
    EXPECT_EQ(full.status, 74);
    EXPECT_EQ(full.output, "");
    EXPECT_EQ(full.errors, "qzsignal: error: cannot write the results to '/dev/full': No space left on device\n");
    Result const self(arguments({"-o", recording, condition(), recording}));
    EXPECT_EQ(self.status, 74);
    EXPECT_EQ(self.errors, "qzsignal: error: cannot write the results to '" + recording + "': it is the recording\n");
    EXPECT_EQ(contentsOf(recording), rise);
}

TEST_F(CutTest, filesThatExistAreOverwritten) {
    std::string const first = d_drive.folder().file("e1.log", std::string(10000, 'x'));
    EXPECT_EQ(Result(arguments({"--after", "0", "--before", "0", "-o", pattern(), condition(),
                                log("(6.0) can0 100#000100\n(7.0) can0 200#00\n")}))
                  .status,
              0);
    EXPECT_EQ(contentsOf(first), "# 6.000000 true (line 1): " + condition() + "\n(6.0) can0 100#000100\n");
}

TEST_F(CutTest, inputsAreJudgedAsByTrigger) {
    EXPECT_EQ(Result(arguments({condition(), "/no/such.log"})).status, 69);
    EXPECT_EQ(Result(arguments({d_drive.speed() + "s > 50", log(rise)})).status, 69);
    EXPECT_EQ(Result(arguments({condition() + " >", log(rise)})).status, 65);
    EXPECT_EQ(Result(arguments({condition(), log("nonsense\n")})).status, 65);
}

} // namespace
