// Two processes that write one signal at full speed.
#include "tests/process/CountedValues.h"
#include "tests/process/Process.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/Shared.h"

#include <deque>
#include <memory>
#include <vector>

namespace {

constexpr unsigned writers = 2;
constexpr unsigned readers = 2;

struct State {
    SharedCounter d_readersReady;
    SharedCounter d_writersReady;
    SharedCounter d_stop;
    CountedFindings d_findings[readers][countedSignals];
};

void writeCounters(std::vector<SharedName> const& names, std::uint32_t writer, std::uint32_t count, State& state) {
    silenceStandardOutput();
    std::vector<std::unique_ptr<TestSignal>> signals;
    for (SharedName const& name : names)
        signals.push_back(std::make_unique<TestSignal>(name.c_str()));
    ++state.d_writersReady;
    waitUntil([&] { return state.d_writersReady == writers && state.d_readersReady == readers; });
    for (std::uint32_t n = 1; n <= count; ++n) {
        std::uint32_t const counter = counterOf(writer, n);
        for (unsigned i = 0; i < countedSignals; ++i)
            signals[i]->write(countedPayload(i, counter), countedTimestamp(i, counter));
    }
}

void readCounters(std::vector<SharedName> const& names, CountedFindings* findings, State& state) {
    silenceStandardOutput();
    std::vector<std::unique_ptr<TestSignal>> signals;
    for (SharedName const& name : names)
        signals.push_back(std::make_unique<TestSignal>(name.c_str()));
    ++state.d_readersReady;
    bool stopped = false;
    for (unsigned turn = 0; !stopped; ++turn) {
        stopped = state.d_stop != 0; // then once more: on a busy machine, no turn may have come while they wrote
        for (unsigned i = 0; i < countedSignals; ++i)
            readCounted(*signals[i], i, turn % 2 != 0, findings[i]);
    }
}

} // namespace

TEST(ConcurrentWritersTest, everyValueReadHasItsOwnTimestamp) {
    std::uint32_t const count = robustMutexesWork() ? 100000 : 1000;
    std::vector<SharedName> names(countedSignals);
    std::vector<std::unique_ptr<TestSignal>> signals;
    for (unsigned i = 0; i < countedSignals; ++i)
        signals.push_back(std::make_unique<TestSignal>(countedDefinition(names[i], i), true));

    Shared<State> state;
    std::deque<Process> readerProcesses;
    for (auto& findings : state->d_findings)
        readerProcesses.emplace_back([&] { readCounters(names, findings, *state); });
    std::deque<Process> writerProcesses;
    for (std::uint32_t writer = 1; writer <= writers; ++writer)
        writerProcesses.emplace_back([&, writer] { writeCounters(names, writer, count, *state); });
    for (Process& process : writerProcesses)
        EXPECT_TRUE(process.finished());
    state->d_stop = 1;
    for (Process& process : readerProcesses)
        EXPECT_TRUE(process.finished());

    for (auto const& ofReader : state->d_findings)
        for (CountedFindings const& findings : ofReader) {
            EXPECT_GT(findings.d_values, 0U);
            EXPECT_EQ(findings.d_mismatches, 0U)
                << "counter " << findings.d_firstMismatch << " beside " << findings.d_foundTimestamp;
            EXPECT_EQ(findings.d_stepsBack, 0U);
        }
    for (unsigned i = 0; i < countedSignals; ++i) {
        TestSignal::Reading const last = signals[i]->readRaw();
        EXPECT_EQ(countOf(static_cast<std::uint32_t>(last.d_raw)), count);
        EXPECT_EQ(last.d_timestamp, countedTimestamp(i, static_cast<std::uint32_t>(last.d_raw)));
    }
}
