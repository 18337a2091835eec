// Ten thousand processes that feed shared signals of all kinds, one after the other, and are killed at any moment,
// under readers that never stop.
#include "tests/process/AllKinds.h"
#include "tests/process/ErrorOutput.h"
#include "tests/process/Process.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/Shared.h"

#include <array>
#include <deque>
#include <iostream>
#include <random>
#include <string>

namespace {

using namespace allkinds;

// Forking takes its time under emulators and sanitizers.
#if defined QZSIGNAL_EMULATED || defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
constexpr unsigned kills = 500;
#else
constexpr unsigned kills = 10000;
#endif

constexpr unsigned readers = 3;

struct State {
    SharedCounter d_frame; // that is being fed
    SharedCounter d_feed;  // 0: the last feeder ends with its frame
    SharedCounter d_read;  // 0: the readers end after one more turn
    SharedCounter d_turns[readers];
    Findings d_findings[readers][signalCount];
};

class KilledFeederTest : public testing::Test {
protected:
    // Feeds what comes after the last feeder's frames, on signals of the parent. The frame that a feeder died with is
    // fed once more: some of its signals may not have got it.
    void feed() {
        silenceStandardOutput();
        d_feederErrors.take();
        Feeder feeder;
        for (;; ++d_state->d_frame) {
            feeder.feed(d_state->d_frame);
            if (d_state->d_feed == 0)
                break;
        }
    }

    void read(unsigned number) {
        silenceStandardOutput();
        d_readerErrors.take();
        Reader reader(d_names, d_state->d_findings[number]);
        for (; d_state->d_read != 0; ++d_state->d_turns[number])
            reader.readAll();
        reader.readAll();
    }

    // True if all readers read all signals once more.
    bool readersGetOn() const {
        std::uint32_t before[readers];
        for (unsigned reader = 0; reader < readers; ++reader)
            before[reader] = d_state->d_turns[reader];
        return waitUntil([&] {
            for (unsigned reader = 0; reader < readers; ++reader)
                if (d_state->d_turns[reader] - before[reader] < 2)
                    return false;
            return true;
        });
    }

    // How often the death of a lock's owner was reported, for each kind. Nothing else is reported; of feeders,
    // which may be killed within a line, only parts of lines are looked for.
    std::array<std::uint32_t, kinds> ownersDied() const {
        std::array<std::uint32_t, kinds> reports{};
        std::string ofReaders = d_readerErrors.text();
        std::string ofFeeders = d_feederErrors.text();
        EXPECT_EQ(ofFeeders.find("unlock"), std::string::npos);
        EXPECT_EQ(ofFeeders.find("WARNING"), std::string::npos);
        for (unsigned i = 0; i < signalCount; ++i) {
            Kind const kind = signals[i].d_kind;
            std::string const line = std::string("[ERROR] ") + (kind == store ? "CANSignal" : "ShmSignal") +
                                     "::lock (" + d_names[i].name() + "): Owner died\n";
            reports[kind] += removeLines(ofReaders, line) + removeLines(ofFeeders, line);
        }
        EXPECT_EQ(ofReaders, "");
        return reports;
    }

    Names const d_names;
    Shared<State> d_state;
    ErrorOutput d_feederErrors;
    ErrorOutput d_readerErrors;
};

} // namespace

TEST_F(KilledFeederTest, readersOfAllKindsNeverHangMixMissOrLoseValues) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    Signals const defined = allDefined(d_names);
    d_state->d_frame = firstFrame;
    d_state->d_feed = 1;
    d_state->d_read = 1;
    std::deque<Process> readerProcesses;
    for (unsigned i = 0; i < readers; ++i)
        readerProcesses.emplace_back([this, i] { read(i); });

    std::mt19937 random(20110714);
    unsigned fed = 0; // feeders that got anywhere
    for (unsigned i = 0; i < kills; ++i) {
        std::uint32_t const before = d_state->d_frame;
        Process feeder([this] { feed(); });
        sleepMicroseconds(static_cast<long>(random() % 500));
        feeder.kill();
        fed += d_state->d_frame != before ? 1 : 0;
        if (i % 100 == 0)
            ASSERT_TRUE(readersGetOn()) << "after " << i + 1 << " feeders";
    }
    d_state->d_feed = 0;
    Process last([this] { feed(); });
    EXPECT_TRUE(last.finished());
    d_state->d_read = 0;
    for (Process& process : readerProcesses)
        EXPECT_TRUE(process.finished());

    for (unsigned reader = 0; reader < readers; ++reader) {
        SCOPED_TRACE("reader " + std::to_string(reader));
        expectInOrder(d_state->d_findings[reader], d_state->d_frame);
    }
    EXPECT_GT(fed, kills / 10);
    unsigned deaths = 0;
    for (std::uint32_t const reports : ownersDied()) {
        deaths += reports;
        if (kills >= 10000)
            EXPECT_GT(reports, 0U) << "of one kind";
    }
    EXPECT_GT(deaths, 0U);
    EXPECT_LE(deaths, kills);
    std::cout << kills << " feeders killed, " << fed << " of them after some frames, " << deaths << " with a lock; "
              << d_state->d_frame - firstFrame << " frames fed" << std::endl;
}
