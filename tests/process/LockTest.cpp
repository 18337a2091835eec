// Waiting for a lock that another process holds.
#include "tests/process/LockHolder.h"
#include "tests/process/TestSignal.h"
#include "tests/support/Capture.h"

#include <string>

namespace {

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

} // namespace

TEST(LockTest, waitingAccessSaysSoAtEveryDebugLevelAndGetsThroughInTheEnd) {
    for (int const level : {0, 1, 2}) {
        SCOPED_TRACE(level);
        SharedName const name;
        TestSignal signal(wordDefinition(name), true);
        signal.write(wordPayload(1), 2ULL);
        LockHolder<TestSignal> holder(name, [](TestSignal& other) { other.record().value = 77; });
        ASSERT_TRUE(holder.locked());

        std::string const line = "[DEBUG] ShmSignal::lock (" + name.name() + "): retrying\n";
        Capture output(std::cout, [&holder] { holder.noteRetry(); });
        Capture errors(std::cerr);
        TestSignal::Reading reading;
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
        LockHolder<TestSignal> holder(name);
        ASSERT_TRUE(holder.locked());
        Capture output(std::cout, [&holder] { holder.noteRetry(); });
        EXPECT_STREQ(signal.getUnit(), "rpm");
        EXPECT_EQ(signal.getBits(), 32);
        std::cout << static_cast<BaseSignal const&>(signal);
        EXPECT_EQ(output.take().find("retrying"), std::string::npos);
        EXPECT_EQ(holder.retries(), 0U);
        access(signal);
        EXPECT_GE(count(output.text(), line), 2);
        EXPECT_TRUE(holder.finished());
    }
}
