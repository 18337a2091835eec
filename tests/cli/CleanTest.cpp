// qzsignal clean.
#include "tests/cli/Drive.h"

#include "tests/support/ShmProbe.h"

#include <memory>
#include <sys/stat.h>

namespace {

bool exists(std::string const& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

bool segmentExists(std::string const& instance) {
    key_t const key = ftok(("/tmp/" + instance).c_str(), 'f');
    return key != -1 && shmget(key, 0, 0) != -1;
}

class CleanTest : public testing::Test {
protected:
    // What a feeder leaves that is killed.
    void leaveOrphans() const {
        Command feeder({"replay", "-d", d_drive.definitions(), "-"});
        feeder.feed(drivingFrame);
        EXPECT_EQ(Result({"read", d_drive.speed(), "--wait", "60"}).status, 0);
        feeder.signal(SIGKILL);
        EXPECT_EQ(feeder.wait(), -1);
        EXPECT_TRUE(segmentExists(d_drive.speed()));
    }
    std::string prefix() const { return d_drive.speed().substr(0, d_drive.speed().find('.')); }
    std::string pattern() const { return prefix() + ".*"; }

    Drive d_drive;
};

TEST_F(CleanTest, removesOrphansAndTheirKeyFiles) {
    leaveOrphans();
    Result const result({"clean", pattern()});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, d_drive.load() + "\n" + d_drive.speed() + "\n");
    EXPECT_FALSE(segmentExists(d_drive.speed()));
    EXPECT_FALSE(exists("/tmp/" + d_drive.speed()));
    EXPECT_FALSE(exists("/tmp/" + d_drive.load()));
    Result const again({"clean", pattern()});
    EXPECT_EQ(again.status, 0) << "nothing to do";
    EXPECT_EQ(again.output, "");
}

TEST_F(CleanTest, patternsPickOrphans) {
    leaveOrphans();
    EXPECT_EQ(Result({"clean", prefix() + ".L*"}).output, d_drive.load() + "\n");
    EXPECT_TRUE(segmentExists(d_drive.speed()));
}

TEST_F(CleanTest, dryRunRemovesNothing) {
    leaveOrphans();
    EXPECT_EQ(Result({"clean", "--dry-run", pattern()}).output, d_drive.load() + "\n" + d_drive.speed() + "\n");
    EXPECT_TRUE(segmentExists(d_drive.speed()));
    EXPECT_TRUE(exists("/tmp/" + d_drive.load()));
}

TEST_F(CleanTest, leavesWhatIsAliveOrAttached) {
    leaveOrphans();
    SharedName const name("alive");
    ShmProbe const alive(plainDefinition(name.name()), true);
    ShmSignal const reader(d_drive.speed().c_str());
    EXPECT_EQ(Result({"clean", pattern(), name.name()}).output, d_drive.load() + "\n");
    EXPECT_TRUE(segmentExists(d_drive.speed()));
    EXPECT_TRUE(exists("/tmp/" + d_drive.speed()));
    Result const all({"clean", "--all", "--yes", pattern(), name.name()});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.output, "");
    EXPECT_TRUE(contains(all.errors, "'" + d_drive.speed() + "' stays, as a process is attached to it")) << all.errors;
    EXPECT_TRUE(segmentExists(name.name()));
}

TEST_F(CleanTest, keyFileThatHoldsSomethingStays) {
    leaveOrphans();
    std::string const path = "/tmp/" + d_drive.speed();
    int const file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(write(file, "x", 1), 1);
    close(file);
    EXPECT_TRUE(contains(Result({"clean", pattern()}).output, d_drive.speed()));
    EXPECT_FALSE(segmentExists(d_drive.speed()));
    EXPECT_EQ(contentsOf(path), "x");
}

TEST_F(CleanTest, allNeedsAPatternAndAnAnswer) {
    leaveOrphans();
    EXPECT_EQ(Result({"clean", "--all", "--yes"}).status, 64);
    Result const unasked({"clean", "--all", pattern()}, "y\n");
    EXPECT_EQ(unasked.status, 64);
    EXPECT_TRUE(contains(unasked.errors, "--yes")) << unasked.errors;
    EXPECT_TRUE(segmentExists(d_drive.speed()));
    EXPECT_EQ(Result({"clean", "--all", "--yes", pattern()}).output, d_drive.load() + "\n" + d_drive.speed() + "\n");
}

// With a terminal of its own as standard input.
class Asked {
public:
    explicit Asked(std::string const& pattern) : d_terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (d_terminal < 0 || grantpt(d_terminal) != 0 || unlockpt(d_terminal) != 0)
            return;
        std::string program = QZSIGNAL_TEST_COMMAND;
        std::replace(program.begin(), program.end(), '|', ' ');
        d_child = std::make_unique<Child>(
            "sh", std::vector<std::string>{"-c", program + " clean --all '" + pattern + "' <" + ptsname(d_terminal)});
    }
    ~Asked() { close(d_terminal); }
    Asked(Asked const&) = delete;
    Asked& operator=(Asked const&) = delete;

    Child* child() { return d_child.get(); } // null: no terminal to be had
    bool asks() {
        return waitUntil([this] { return contains(d_child->errors(), "Remove these 2 signals? [y/N] "); });
    }
    void answer(std::string const& text) {
        EXPECT_EQ(write(d_terminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

private:
    int d_terminal;
    std::unique_ptr<Child> d_child;
};

TEST_F(CleanTest, noOtherAnswerThanYesRemovesAnything) {
    leaveOrphans();
    Asked asked(pattern());
    if (asked.child() == nullptr)
        GTEST_SKIP() << "no pseudo terminal to be had";
    ASSERT_TRUE(asked.asks()) << asked.child()->errors();
    asked.answer("\n");
    EXPECT_EQ(asked.child()->wait(), 0);
    EXPECT_TRUE(segmentExists(d_drive.speed()));
}

TEST_F(CleanTest, whatAProcessAttachesToDuringTheQuestionStays) {
    leaveOrphans();
    Asked asked(pattern());
    if (asked.child() == nullptr)
        GTEST_SKIP() << "no pseudo terminal to be had";
    ASSERT_TRUE(asked.asks()) << asked.child()->errors();
    ShmSignal const attached(d_drive.speed().c_str());
    asked.answer("y\n");
    EXPECT_EQ(asked.child()->wait(), 0);
    EXPECT_EQ(asked.child()->output(), d_drive.load() + "\n");
    EXPECT_TRUE(contains(asked.child()->errors(), "'" + d_drive.speed() + "' stays")) << asked.child()->errors();
    EXPECT_TRUE(segmentExists(d_drive.speed()));
    EXPECT_TRUE(exists("/tmp/" + d_drive.speed()));
}

} // namespace
