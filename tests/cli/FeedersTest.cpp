// Several feeders of the same signals, and what killed ones leave.
#include "tests/cli/Drive.h"

#include "tests/support/Namespaces.h"
#include "tests/support/ShmProbe.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace {

bool exists(std::string const& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

int segmentOf(std::string const& instance) {
    key_t const key = ftok(("/tmp/" + instance).c_str(), 'f');
    return key != -1 ? shmget(key, 0, 0) : -1;
}

pid_t creatorOf(std::string const& instance) {
    shmid_ds status{};
    return shmctl(segmentOf(instance), IPC_STAT, &status) == 0 ? status.shm_cpid : -1;
}

class FeedersTest : public testing::Test {
protected:
    std::vector<std::string> replay(std::vector<std::string> const& more = {}) const {
        std::vector<std::string> arguments = {"replay", "-d", d_drive.definitions(), "-"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }
    // Waits until a feeder has written this speed.
    bool shows(std::string const& value) const {
        return waitUntil([&] {
            Result const result({"read", d_drive.speed()});
            return contains(result.output, " = " + value + " km/h ");
        });
    }
    // As a feeder is named to the user. Under an emulator, it is the emulator that runs.
    static std::string named(pid_t process) {
#ifdef QZSIGNAL_EMULATED
        return std::to_string(process) + " (";
#else
        return std::to_string(process) + " (qzsignal replay)";
#endif
    }
    std::string keyFile() const {
        return "/tmp/" + d_drive.speed();
    }

    Drive d_drive;
};

constexpr char nextFrame[] = "(1700000001.0) can0 100#CA00FD\n"; // 61 km/h

TEST_F(FeedersTest, secondIsRefusedAndNamesTheFirst) {
    Command first(replay());
    first.feed(drivingFrame);
    ASSERT_TRUE(shows("60"));
    Result const second(replay(), nextFrame);
    EXPECT_EQ(second.status, 73);
    EXPECT_EQ(second.output, "");
    EXPECT_TRUE(contains(second.errors,
                         "qzsignal: error: '" + d_drive.speed() + "' and 1 more are fed by " + named(first.id())))
        << second.errors;
    EXPECT_TRUE(contains(second.errors, "); --take-over takes them over\n")) << second.errors;
    EXPECT_TRUE(shows("60"));
    first.feed(nextFrame);
    EXPECT_TRUE(shows("61")) << "the first goes on";
    first.endInput();
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(first.errors(), "");
}

TEST_F(FeedersTest, oneSharedNameIsEnoughToBeRefused) {
    Command first(replay({"--only", "*.Speed"}));
    first.feed(drivingFrame);
    ASSERT_TRUE(shows("60"));
    Result const second(replay());
    EXPECT_EQ(second.status, 73);
    EXPECT_TRUE(contains(second.errors, "'" + d_drive.speed() + "' is fed by " + named(first.id()))) << second.errors;
    EXPECT_FALSE(exists("/tmp/" + d_drive.load())) << "nothing was begun";
    EXPECT_EQ(Result(replay({"--only", "*.Load"}), drivingFrame).status, 0);
}

TEST_F(FeedersTest, takeOverEndsTheFirstAndLeavesTheSignals) {
    Command first(replay());
    first.feed(drivingFrame);
    ASSERT_TRUE(shows("60"));
    Command second(replay({"--take-over"}));
    EXPECT_EQ(first.wait(), 73);
    EXPECT_TRUE(contains(first.errors(), "qzsignal: error: the signals were taken over by " + named(second.id())))
        << first.errors();
    EXPECT_TRUE(contains(first.output(), "values written: 2\n")) << "what it did is still counted";
    second.feed(nextFrame);
    EXPECT_TRUE(shows("61"));
    EXPECT_TRUE(contains(second.errors(), "over from " + named(first.id()))) << second.errors();
    EXPECT_EQ(creatorOf(d_drive.speed()), second.id()) << "no process was attached, so they are made again";
    second.endInput();
    EXPECT_EQ(second.wait(), 0);
    EXPECT_EQ(segmentOf(d_drive.speed()), -1);
    EXPECT_FALSE(exists(keyFile()));
}

TEST_F(FeedersTest, takeOverOfSomeEndsTheFirstWhichRemovesItsOthers) {
    Command first(replay());
    first.feed(drivingFrame);
    ASSERT_TRUE(shows("60"));
    Command second(replay({"--take-over", "--only", "*.Speed"}));
    EXPECT_EQ(first.wait(), 73);
    EXPECT_EQ(segmentOf(d_drive.load()), -1);
    EXPECT_FALSE(exists("/tmp/" + d_drive.load()));
    second.feed(nextFrame);
    EXPECT_TRUE(shows("61"));
    second.endInput();
    EXPECT_EQ(second.wait(), 0);
    EXPECT_EQ(segmentOf(d_drive.speed()), -1);
}

TEST_F(FeedersTest, attachedReaderSeesTheSecondFeeder) {
    Command first(replay());
    first.feed(drivingFrame);
    ASSERT_TRUE(shows("60"));
    ShmSignal reader(d_drive.speed().c_str());
    double value = 0;
    unsigned long long timestamp = 0;
    ASSERT_TRUE(reader.read(value, timestamp));
    int const segment = segmentOf(d_drive.speed());
    Command second(replay({"--take-over"}));
    EXPECT_EQ(first.wait(), 73);
    second.feed(nextFrame);
    EXPECT_TRUE(waitUntil([&] { return reader.read(value, timestamp) && value == 61; })) << value;
    EXPECT_EQ(segmentOf(d_drive.speed()), segment);
    second.endInput();
    EXPECT_EQ(second.wait(), 0);
    EXPECT_EQ(segmentOf(d_drive.speed()), -1) << "made by a process that is gone";
    EXPECT_TRUE(exists(keyFile())) << "a process is attached through it";
}

TEST_F(FeedersTest, takeOverDoesNotWaitForAStoppedFeederForEver) {
    Command first(replay());
    first.feed(drivingFrame);
    ASSERT_TRUE(shows("60"));
    pid_t const firstId = first.id();
    first.signal(SIGSTOP);
    Command second(replay({"--take-over"}));
    second.feed(nextFrame);
    EXPECT_TRUE(shows("61"));
    EXPECT_TRUE(contains(second.errors(), "does not answer")) << second.errors();
    // It reaches its end as soon as it may go on, and has to notice nevertheless.
    first.endInput();
    ::kill(firstId, SIGCONT);
    EXPECT_EQ(first.wait(), 73);
    EXPECT_NE(segmentOf(d_drive.speed()), -1);
    EXPECT_TRUE(shows("61"));
    // By then, the second has all that the first had.
    EXPECT_TRUE(waitUntil([&] {
        Result const third(replay());
        return third.status == 73 && contains(third.errors, "fed by " + std::to_string(second.id()));
    }));
    second.endInput();
    EXPECT_EQ(second.wait(), 0);
    EXPECT_EQ(segmentOf(d_drive.speed()), -1);
}

TEST_F(FeedersTest, feederWithoutAClaimIsKnownByItsSegments) {
    ShmProbe signal(plainDefinition(d_drive.speed()), true);
    Result const refused(replay());
    EXPECT_EQ(refused.status, 73);
    EXPECT_TRUE(contains(refused.errors, "'" + d_drive.speed() + "' is fed by " + std::to_string(getpid()) + " ("))
        << refused.errors;
    Result const result(replay({"--take-over"}), drivingFrame);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.errors, "which cannot be asked to leave it and may go on writing")) << result.errors;
    EXPECT_NE(segmentOf(d_drive.speed()), -1) << "not made by the replay";
    EXPECT_TRUE(exists(keyFile()));
    EXPECT_EQ(segmentOf(d_drive.load()), -1);
    EXPECT_FALSE(exists("/tmp/" + d_drive.load()));
}

TEST_F(FeedersTest, killedFeederIsFoundAndNothingOfItIsLeftInTheEnd) {
    Command first(replay());
    first.feed(drivingFrame);
    ASSERT_TRUE(shows("60"));
    std::string const process = std::to_string(first.id());
    first.signal(SIGKILL);
    EXPECT_EQ(first.wait(), -1);
    Result const second(replay(), nextFrame);
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.errors, "qzsignal: found '" + d_drive.speed() + "' and 1 more, left by " + process +
                                 ", which is gone; took them over\n");
    EXPECT_EQ(segmentOf(d_drive.speed()), -1);
    EXPECT_FALSE(exists(keyFile()));
    EXPECT_FALSE(exists("/tmp/" + d_drive.load()));
}

TEST_F(FeedersTest, keyFilesOfOthersStay) {
    d_drive.folder(); // which is another one
    close(open(keyFile().c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0666));
    EXPECT_EQ(Result(replay(), drivingFrame).status, 0);
    EXPECT_TRUE(exists(keyFile()));
    EXPECT_FALSE(exists("/tmp/" + d_drive.load()));
}

TEST_F(FeedersTest, keptSignalsKeepTheirKeyFiles) {
    EXPECT_EQ(Result(replay({"--keep"}), drivingFrame).status, 0);
    EXPECT_TRUE(exists(keyFile()));
    EXPECT_TRUE(shows("60"));
    EXPECT_EQ(Result(replay(), nextFrame).status, 0);
    EXPECT_FALSE(exists(keyFile()));
}

// A reader that waits looks for the file each time, so that one with another number, and another key, is found.
TEST_F(FeedersTest, waitingReaderFindsTheNextFeedersFile) {
    Command waiting({"eval", "--follow", "--wait", "60", d_drive.speed()});
    ShmProbe reader(d_drive.speed().c_str());
    double value = 0;
    unsigned long long timestamp = 0;
    EXPECT_FALSE(reader.read(value, timestamp));
    EXPECT_EQ(Result(replay({"--only", "*.Load"}), drivingFrame).status, 0);
    {
        // Takes the number that the file had, if numbers are used again.
        Folder folder;
        std::string const other = folder.file("other", "");
        Command feeder(replay());
        feeder.feed(drivingFrame);
        EXPECT_TRUE(waitUntil([&] { return reader.read(value, timestamp); }));
        EXPECT_EQ(value, 60);
        EXPECT_TRUE(waitUntil([&] { return contains(waiting.output(), "60 (trigger true"); }));
    }
    waiting.signal(SIGINT);
    EXPECT_EQ(waiting.wait(), 0);
}

TEST_F(FeedersTest, twoThatStartTogetherDoNotBothFeed) {
    for (int i = 0; i < 10; ++i) {
        Command first(replay()), second(replay());
        EXPECT_TRUE(waitUntil([&] { return !first.running() || !second.running(); }));
        Command& winner = first.running() ? first : second;
        Command& loser = first.running() ? second : first;
        EXPECT_EQ(loser.wait(), 73);
        EXPECT_TRUE(winner.running());
        winner.endInput();
        winner.wait();
    }
}

TEST_F(FeedersTest, nothingIsLeftInTmp) {
    PrivateTmp const tmp("size=1m");
    if (!tmp.isThere())
        GTEST_SKIP() << "/tmp cannot be replaced here";
    Drive drive;
    Result const result({"replay", "-d", drive.definitions(), "--fast", drive.folder().file("log", drivingFrame)});
    EXPECT_EQ(result.status, 0) << result.errors;
    Child files("ls", {"-A", "/tmp"});
    EXPECT_EQ(files.wait(), 0);
    EXPECT_FALSE(contains(files.output(), drive.speed())) << files.output();
    EXPECT_FALSE(contains(files.output(), ".qzsignal")) << files.output();
}

TEST_F(FeedersTest, whateverIsInPlaceOfTheLocksIsReportedAndLeftAlone) {
    PrivateTmp const tmp("size=1m");
    if (!tmp.isThere())
        GTEST_SKIP() << "/tmp cannot be replaced here";
    Drive drive;
    std::string const precious = drive.folder().file("precious", "precious");
    ASSERT_EQ(symlink(precious.c_str(), "/tmp/.qzsignal-feeders"), 0);
    Result const result({"replay", "-d", drive.definitions(), "--fast", drive.folder().file("log", drivingFrame)});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.errors, "/tmp/.qzsignal-feeders cannot be used")) << result.errors;
    EXPECT_EQ(contentsOf(precious), "precious");
    unlink("/tmp/.qzsignal-feeders");
}

TEST_F(FeedersTest, nowMovesTimesSuchThatTheFirstFrameComesNow) {
    auto const microseconds = [] {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    auto const before = microseconds();
    std::string const log = d_drive.folder().file("drive.log", std::string(drivingFrame) + nextFrame);
    EXPECT_EQ(Result({"replay", "-d", d_drive.definitions(), "--fast", "--keep", "--now", log}).status, 0);
    auto const after = microseconds();
    Result const result({"read", "--json", d_drive.speed()});
    auto const timestamp = nlohmann::json::parse(result.output)[0]["timestamp"].get<long long>();
    constexpr long long difference = 876544; // of the two frames
    EXPECT_GE(timestamp, before + difference);
    EXPECT_LE(timestamp, after + difference);
}

} // namespace
