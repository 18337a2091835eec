// Writers that are killed at any moment, one after the other, under readers that never stop.
#include "tests/process/CountedValues.h"
#include "tests/process/ErrorOutput.h"
#include "tests/process/Process.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/Shared.h"

#include <deque>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

// Forking takes its time under emulators.
#ifdef QZSIGNAL_EMULATED
constexpr std::uint32_t kills = 200;
#else
constexpr std::uint32_t kills = 1000;
#endif

constexpr unsigned readers = 2;

struct State {
    SharedCounter d_started; // number of the writer that began to define the signals
    SharedCounter d_defined; // number of the writer that is done with that and writes
    SharedCounter d_endWriter;
    SharedCounter d_endReaders;
    SharedCounter d_accesses[readers];
    SharedCounter d_revivals; // values of a writer that came after those of its successor
    SharedCounter d_latestWriter[readers][countedSignals];
    CountedFindings d_findings[readers][countedSignals];
};

std::uint32_t count(std::string const& text, std::string const& part) {
    std::uint32_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++found;
    return found;
}

class KilledWriterTest : public testing::Test {
protected:
    // Defines the signals, takes over what is there, and writes until it is killed or asked to end. It leaves the
    // segments in any case.
    void write(std::uint32_t number) {
        silenceStandardOutput();
        d_writerErrors.take();
        d_state->d_started = number;
        std::vector<std::unique_ptr<TestSignal>> signals;
        for (unsigned i = 0; i < countedSignals; ++i)
            signals.push_back(std::make_unique<TestSignal>(countedDefinition(d_names[i], i), true));
        d_state->d_defined = number;
        for (std::uint32_t n = 1; d_state->d_endWriter != number && n < maxCount; ++n) {
            std::uint32_t const counter = counterOf(number, n);
            for (unsigned i = 0; i < countedSignals; ++i)
                signals[i]->write(countedPayload(i, counter), countedTimestamp(i, counter));
        }
        _exit(EXIT_SUCCESS);
    }

    void read(unsigned reader) {
        silenceStandardOutput();
        d_readerErrors[reader].take();
        std::vector<std::unique_ptr<TestSignal>> signals;
        for (SharedName const& name : d_names)
            signals.push_back(std::make_unique<TestSignal>(name.c_str()));
        for (unsigned turn = 0; d_state->d_endReaders == 0; ++turn)
            for (unsigned i = 0; i < countedSignals; ++i) {
                CountedFindings& findings = d_state->d_findings[reader][i];
                std::uint32_t const counter = readCounted(*signals[i], i, turn % 2 != 0, findings);
                if (counter != 0) {
                    if (writerOf(counter) < d_state->d_latestWriter[reader][i])
                        ++d_state->d_revivals;
                    d_state->d_latestWriter[reader][i] = writerOf(counter);
                }
                ++d_state->d_accesses[reader];
            }
    }

    // True if both readers access every signal once more.
    bool readersGetOn() const {
        std::uint32_t before[readers];
        for (unsigned reader = 0; reader < readers; ++reader)
            before[reader] = d_state->d_accesses[reader];
        return waitUntil([&] {
            for (unsigned reader = 0; reader < readers; ++reader)
                if (d_state->d_accesses[reader] - before[reader] <= countedSignals)
                    return false;
            return true;
        });
    }

    // True if both readers get values of this writer from every signal.
    bool readersSee(std::uint32_t writer) const {
        return waitUntil([&] {
            for (auto const& ofReader : d_state->d_latestWriter)
                for (SharedCounter const& latest : ofReader)
                    if (latest != writer)
                        return false;
            return true;
        });
    }

    // Lets `count` writers follow each other, each ended at a random moment of its work, some while they define the
    // signals; then one more, which is left alone until the readers have seen it.
    void runWriters(std::uint32_t first, std::uint32_t count, bool kill) {
        std::mt19937 random(20110713);
        std::uint32_t const last = first + count;
        for (std::uint32_t number = first; number < last; ++number) {
            SCOPED_TRACE(number);
            Process writer([&] { write(number); });
            SharedCounter const& begun = random() % 4 == 0 ? d_state->d_started : d_state->d_defined;
            ASSERT_TRUE(waitUntil([&] { return begun == number; }));
            sleepMicroseconds(static_cast<long>(random() % 3000));
            if (kill) {
                writer.kill();
            } else {
                d_state->d_endWriter = number;
                ASSERT_TRUE(writer.finished());
            }
            ASSERT_TRUE(readersGetOn());
        }
        Process writer([&] { write(last); });
        EXPECT_TRUE(readersSee(last));
        d_state->d_endWriter = last;
        EXPECT_TRUE(writer.finished());
    }

    // How many of `count` writers from `first` on at least one reader got a value from.
    std::uint32_t writersSeen(std::uint32_t first, std::uint32_t count) const {
        std::uint32_t seen = 0;
        for (std::uint32_t writer = first; writer < first + count; ++writer)
            seen += wasSeen(writer) ? 1 : 0;
        return seen;
    }

    bool wasSeen(std::uint32_t writer) const {
        for (auto const& ofReader : d_state->d_findings)
            for (CountedFindings const& findings : ofReader)
                if (findings.d_last[writer] != 0)
                    return true;
        return false;
    }

    // The readers print nothing but that an owner died; all processes together do so once per writer at most. Returns
    // how often they did.
    std::uint32_t ownersDied(std::uint32_t writers) const {
        std::uint32_t reports = count(d_writerErrors.text(), "Owner died");
        // A writer may be killed within a line, so only parts of its lines are looked for.
        EXPECT_EQ(d_writerErrors.text().find("unlock"), std::string::npos);
        EXPECT_EQ(d_writerErrors.text().find("WARNING"), std::string::npos);
        for (ErrorOutput const& errors : d_readerErrors) {
            std::string rest = errors.text();
            for (SharedName const& name : d_names)
                reports += removeLines(rest, "[ERROR] ShmSignal::lock (" + name.name() + "): Owner died\n");
            EXPECT_EQ(rest, "");
        }
        EXPECT_LE(reports, writers);
        return reports;
    }

    std::vector<SharedName> d_names{countedSignals};
    Shared<State> d_state;
    ErrorOutput d_writerErrors;
    ErrorOutput d_readerErrors[readers];
};

} // namespace

TEST_F(KilledWriterTest, readersNeverHangAndNeverMixValues) {
    // Without robust mutexes a lock stays with a dead writer for good; there the writers end in order.
    bool const kill = robustMutexesWork();
    std::uint32_t const writers = kill ? kills : 20;

    std::deque<Process> readerProcesses;
    Process first([&] { write(1); });
    ASSERT_TRUE(waitUntil([&] { return d_state->d_defined == 1; }));
    d_state->d_endWriter = 1;
    ASSERT_TRUE(first.finished());
    for (unsigned reader = 0; reader < readers; ++reader)
        readerProcesses.emplace_back([this, reader] { read(reader); });
    runWriters(2, writers, kill);
    d_state->d_endReaders = 1;
    for (Process& process : readerProcesses)
        EXPECT_TRUE(process.finished());

    std::uint64_t values = 0;
    for (auto const& ofReader : d_state->d_findings)
        for (CountedFindings const& findings : ofReader) {
            EXPECT_EQ(findings.d_mismatches, 0U)
                << "counter " << findings.d_firstMismatch << " beside " << findings.d_foundTimestamp;
            EXPECT_EQ(findings.d_stepsBack, 0U);
            values += findings.d_values;
        }
    EXPECT_EQ(d_state->d_revivals, 0U);
    std::uint32_t const seen = writersSeen(2, writers);
    EXPECT_GT(seen, writers / 10);
    std::uint32_t const reports = ownersDied(writers);
    std::cout << writers << " writers " << (kill ? "killed" : "ended (no robust mutexes here)") << ", " << seen
              << " of them seen by the readers in " << values << " values; a lock was left " << reports << " times"
              << std::endl;
}
