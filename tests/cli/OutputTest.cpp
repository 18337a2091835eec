// Results that cannot be written, and what may appear beside them.
#include "tests/cli/Drive.h"

#include "tests/support/ShmProbe.h"

#include <sstream>

namespace {

// The command with these arguments, run by a shell with its standard output redirected, as in ">/dev/full".
class Redirected : public Child {
public:
    Redirected(std::vector<std::string> const& arguments, std::string const& redirection)
        : Child("sh", {"-c", script(arguments, redirection)}) {
        endInput();
    }

private:
    static std::string script(std::vector<std::string> const& arguments, std::string const& redirection) {
        std::string text = QZSIGNAL_TEST_COMMAND;
        std::replace(text.begin(), text.end(), '|', ' ');
        for (std::string const& each : arguments)
            text += " '" + each + "'";
        return text + " " + redirection;
    }
};

class OutputTest : public testing::Test {
protected:
    OutputTest() : d_signal(plainDefinition(d_name.name()), true) { d_signal.write(word(5), 6); }

    // A call of each subcommand that prints results; all of them would end with 0.
    std::vector<std::vector<std::string>> calls() const {
        return {{"--help"},
                {"--version"},
                {"list", "--help"},
                {"replay", "-d", d_drive.definitions(), "--fast", d_log},
                {"replay", "-d", d_drive.definitions(), "--fast", "--json", d_log},
                {"read", d_name.name()},
                {"read", "--json", d_name.name()},
                {"list"},
                {"list", "--json"},
                {"eval", d_name.name()},
                {"eval", "--program", d_name.name()},
                {"trigger", "-d", d_drive.definitions(), d_condition, d_log}};
    }

    Drive d_drive;
    std::string const d_log = d_drive.folder().file("drive.log", drivingFrame);
    std::string const d_condition = d_drive.speed() + " > 1";
    SharedName d_name;
    ShmProbe d_signal;
};

// The lines that the command itself is responsible for: `list` reports the locked signals of other processes, too.
std::string withoutLocked(std::string const& errors) {
    std::istringstream in(errors);
    std::string rest;
    for (std::string line; std::getline(in, line);)
        if (!contains(line, "is locked by another process"))
            rest += line + "\n";
    return rest;
}

TEST_F(OutputTest, fullDiskIsReportedInOneLine) {
    for (auto const& each : calls()) {
        Redirected command(each, ">/dev/full");
        EXPECT_EQ(command.wait(), 74) << each[0];
        EXPECT_EQ(withoutLocked(command.errors()),
                  "qzsignal: error: cannot write the results: No space left on device\n")
            << each[0];
    }
}

TEST_F(OutputTest, closedOutputIsReportedInOneLine) {
    for (auto const& each : calls()) {
        Redirected command(each, ">&-");
        EXPECT_EQ(command.wait(), 74) << each[0];
        EXPECT_EQ(withoutLocked(command.errors()), "qzsignal: error: cannot write the results: Bad file descriptor\n")
            << each[0];
    }
}

TEST_F(OutputTest, followingEndsWhenResultsAreLost) {
    Redirected command({"eval", "--follow", d_name.name()}, ">/dev/full");
    EXPECT_EQ(command.wait(), 74);
}

TEST_F(OutputTest, lossOfResultsGoesBeforeAnyOtherStatus) {
    Redirected missing({"read", d_name.name(), d_name.name() + "x"}, ">/dev/full");
    EXPECT_EQ(missing.wait(), 74);
    Redirected isFalse({"eval", d_name.name() + " > 7"}, ">/dev/full");
    EXPECT_EQ(isFalse.wait(), 74);
}

TEST_F(OutputTest, withoutResultsNothingIsLost) {
    Redirected command({"read", d_name.name() + "x"}, ">/dev/full");
    EXPECT_EQ(command.wait(), 69);
    Redirected wrong({"raed"}, ">&-");
    EXPECT_EQ(wrong.wait(), 64);
}

TEST_F(OutputTest, readerThatLeftIsNoFailure) {
    for (auto const& each : calls()) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        close(ends[0]);
        // The shell hands its descriptor on.
        ASSERT_NE(fcntl(ends[1], F_SETFD, 0), -1);
        Redirected command(each, ">&" + std::to_string(ends[1]));
        close(ends[1]);
        EXPECT_EQ(command.wait(), 0) << each[0];
        EXPECT_EQ(withoutLocked(command.errors()), "") << each[0];
    }
}

// A frame is written while another process holds the lock of one of its signals, as a reader does for an instant.
TEST_F(OutputTest, waitForALockIsNotShown) {
    Command command({"replay", "-d", d_drive.definitions(), "-"});
    std::string const& speed = d_drive.speed();
    command.feed(drivingFrame);
    ASSERT_EQ(Result({"read", speed, "--wait", "60"}).status, 0);
    ShmProbe signal(speed.c_str());
    ASSERT_TRUE(signal.d_valid);
    signal.lock();
    command.feed("(1700000001.0) can0 100#CA00FD\n");
    constexpr timespec moment = {0, 300000000};
    nanosleep(&moment, nullptr);
    EXPECT_EQ(command.errors(), "");
    signal.unlock();
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.errors(), "");
    EXPECT_TRUE(contains(command.output(), "values written: 4\n")) << "it did wait and write";
}

TEST_F(OutputTest, longWaitForALockIsReportedOnce) {
    Command command({"replay", "-d", d_drive.definitions(), "-"});
    std::string const& speed = d_drive.speed();
    command.feed(drivingFrame);
    ASSERT_EQ(Result({"read", speed, "--wait", "60"}).status, 0);
    ShmProbe signal(speed.c_str());
    signal.lock();
    command.feed("(1700000001.0) can0 100#CA00FD\n");
    std::string const warning =
        "qzsignal: warning: '" + speed + "' is locked by another process; waiting until it is not\n";
    EXPECT_TRUE(waitUntil([&] { return command.errors() == warning; })) << command.errors();
    constexpr timespec twice = {1, 500000000};
    nanosleep(&twice, nullptr);
    signal.unlock();
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.errors(), warning);
}

} // namespace
