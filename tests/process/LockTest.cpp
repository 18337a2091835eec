// Waiting for a lock that another process holds.
#include "tests/process/Process.h"
#include "tests/process/Shared.h"
#include "tests/process/TestSignal.h"
#include "tests/support/Capture.h"

#include <string>

namespace {

struct Steps {
    SharedCounter d_locked;
    SharedCounter d_mayRelease;
};

struct DebugLevel {
    explicit DebugLevel(int level) { BaseSignal::debug = level; }
    ~DebugLevel() { BaseSignal::debug = 0; }
    DebugLevel(DebugLevel const&) = delete;
    DebugLevel& operator=(DebugLevel const&) = delete;
};

int count(std::string const& text, std::string const& part) {
    int found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++found;
    return found;
}

// Holds the signal's lock in another process until some time after the parent says so, and changes the value then.
void holdLock(SharedName const& name, Steps& steps) {
    TestSignal holder(name.c_str());
    holder.lock();
    steps.d_locked = 1;
    waitUntil([&] { return steps.d_mayRelease == 1; });
    sleepMicroseconds(100000); // long enough for the parent to get its turn on a busy machine
    holder.record().value = 77;
    holder.unlock();
}

} // namespace

TEST(LockTest, waitingAccessSaysSoAtEveryDebugLevelAndGetsThroughInTheEnd) {
    for (int const level : {0, 1, 2}) {
        SCOPED_TRACE(level);
        SharedName const name;
        TestSignal signal(wordDefinition(name), true);
        signal.write(wordPayload(1), 2ULL);
        Shared<Steps> steps;
        Process holder([&] { holdLock(name, *steps); });
        ASSERT_TRUE(waitUntil([&] { return steps->d_locked == 1; }));

        std::string const line = "[DEBUG] ShmSignal::lock (" + name.name() + "): retrying\n";
        Capture output(std::cout);
        Capture errors(std::cerr);
        TestSignal::Reading reading;
        steps->d_mayRelease = 1;
        {
            DebugLevel const debug(level);
            reading = signal.readRaw();
        }
        EXPECT_TRUE(reading.d_there);
        EXPECT_EQ(reading.d_raw, 77U);
        std::string const text = output.take();
        int const lines = count(text, line);
        EXPECT_GE(lines, 2);
        if (level == 0)
            EXPECT_EQ(text.size(), static_cast<std::size_t>(lines) * line.size());
        else
            EXPECT_NE(text.find("[DEBUG] ShmSignal::read "), std::string::npos);
        EXPECT_TRUE(holder.finished());
        signal.readRaw();
        EXPECT_EQ(output.text(), "");
        EXPECT_EQ(errors.text(), "");
    }
}

TEST(LockTest, everyAccessOfAValueWaitsAndNothingElseDoes) {
    SharedName const name;
    TestSignal signal(wordDefinition(name), true);
    signal.write(wordPayload(1), 2ULL);
    std::string const line = "[DEBUG] ShmSignal::lock (" + name.name() + "): retrying\n";
    void (*const accesses[])(TestSignal&) = {
        [](TestSignal& accessed) { accessed.readRaw(); },
        [](TestSignal& accessed) { accessed.readPhys(); },
        [](TestSignal& accessed) { accessed.write(wordPayload(3), 4ULL); },
    };
    for (auto const access : accesses) {
        Shared<Steps> steps;
        Process holder([&] { holdLock(name, *steps); });
        ASSERT_TRUE(waitUntil([&] { return steps->d_locked == 1; }));
        Capture output(std::cout);
        EXPECT_STREQ(signal.getUnit(), "rpm");
        EXPECT_EQ(signal.getBits(), 32);
        std::cout << static_cast<BaseSignal const&>(signal);
        EXPECT_EQ(output.take().find("retrying"), std::string::npos);
        steps->d_mayRelease = 1;
        access(signal);
        EXPECT_GE(count(output.text(), line), 2);
        EXPECT_TRUE(holder.finished());
    }
}
