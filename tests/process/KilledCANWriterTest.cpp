// A process that dies while it holds the lock of a self-contained CAN signal: the record then holds a value that a
// frame carried, and that frame's timestamp.
#include "tests/process/Process.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/Shared.h"
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"

#include <cstring>
#include <iterator>
#include <random>
#include <string>

namespace {

using Word = unsigned long long;
using Record = qzsignal::canSignalData_t;

// All 64 bits of the payload.
canSignal_t wholeDefinition(SharedName const& name) {
    canSignal_t definition = canDefinition(name.name(), 64);
    definition.startbit = 7;
    definition.endian = true;
    return definition;
}

std::string ownerDied(SharedName const& name) {
    return "[ERROR] CANSignal::lock (" + name.name() + "): Owner died\n";
}

void setHalf(std::uint64_t& field, std::uint64_t value, unsigned half) {
    std::memcpy(reinterpret_cast<char*>(&field) + 4 * half, reinterpret_cast<char const*>(&value) + 4 * half, 4);
}

// What a write does to the record, in order; the writer dies before, between or after the steps.
struct Write {
    Word d_value;
    Word d_timestamp;
    std::uint8_t d_mark;      // of the bit in which the timestamp differs from the one before
    std::uint8_t d_count = 2; // writes since the definition
};
using Step = void (*)(Record&, Write const&);
constexpr Step steps[] = {
    [](Record& record, Write const&) { record.lastValueTop = static_cast<std::uint8_t>(record.value >> 56); },
    [](Record& record, Write const&) {
        for (unsigned i = 0; i < 7; ++i)
            record.lastValue[i] = static_cast<std::uint8_t>(record.value >> (8 * i));
    },
    [](Record& record, Write const& write) { record.pending = write.d_mark; },
    [](Record& record, Write const& write) { setHalf(record.value, write.d_value, 0); },
    [](Record& record, Write const& write) { setHalf(record.value, write.d_value, 1); },
    [](Record& record, Write const& write) { record.timestamp = write.d_timestamp; },
    [](Record& record, Write const&) { record.pending = 127; },
    [](Record& record, Write const&) { record.used = 1; },
    [](Record& record, Write const& write) { record.pending = write.d_count; },
};
constexpr unsigned timestampStored = 6, markRemoved = 7; // steps done

constexpr Word oldValue = 0x0102030405060708, oldTime = 1, newValue = 0xf1f2f3f4f5f6f7f8;

struct Case {
    char const* d_what;
    bool d_first; // nothing was written before
    Write d_write;
    unsigned d_decided; // steps from which on the new value stands
};
constexpr Case cases[] = {
    {"lowest bit differs", false, {newValue, 0x123456789abcdef0, 0xC0}, timestampStored},
    {"only the upper half differs", false, {newValue, 0x0000000100000001, 0xA0}, timestampStored},
    {"highest bit differs", false, {newValue, 0x8000000000000001, 0xBF}, timestampStored},
    {"same time", false, {newValue, oldTime, 0xC0}, markRemoved},
    {"first write", true, {newValue, 0x123456789abcdef0, 0xC0, 1}, timestampStored},
    {"first write, with the pattern as time", true, {newValue, 0x55555555, 0xC0, 1}, markRemoved},
};

} // namespace

TEST(KilledCANWriterTest, stepsAreThoseOfAWrite) {
    for (Case const& each : cases) {
        SCOPED_TRACE(each.d_what);
        SharedName const name;
        CANSignalProbe signal(wholeDefinition(name), true);
        if (!each.d_first)
            signal.write(oldValue, oldTime);
        Record expected = signal.record();
        for (Step const step : steps)
            step(expected, each.d_write);
        signal.write(each.d_write.d_value, each.d_write.d_timestamp);
        std::size_t const behindMutex = offsetof(Record, used);
        EXPECT_EQ(std::memcmp(reinterpret_cast<char const*>(&expected) + behindMutex,
                              reinterpret_cast<char const*>(&signal.record()) + behindMutex,
                              sizeof expected - behindMutex),
                  0);
    }
}

TEST(KilledCANWriterTest, changeThatHadBegunIsCompletedOrLeavesNoTrace) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    for (Case const& each : cases)
        for (unsigned done = 0; done <= std::size(steps); ++done) {
            SCOPED_TRACE(testing::Message() << each.d_what << ", " << done << " steps");
            SharedName const name;
            CANSignalProbe signal(wholeDefinition(name), true);
            if (!each.d_first)
                signal.write(oldValue, oldTime);
            Process owner([&] {
                CANSignalProbe writer(name.c_str());
                writer.lock();
                for (unsigned i = 0; i < done; ++i)
                    steps[i](writer.record(), each.d_write);
                kill(getpid(), SIGKILL);
            });
            ASSERT_TRUE(owner.died());

            Capture errors(std::cerr);
            CANSignalProbe::Reading const raw = signal.readRaw();
            EXPECT_EQ(errors.take(), ownerDied(name));
            CANSignalProbe::Reading const phys = signal.readPhys();
            EXPECT_EQ(errors.take(), "");
            bool const isNew = done >= each.d_decided;
            EXPECT_EQ(raw.d_there, isNew || !each.d_first);
            EXPECT_EQ(phys.d_there, raw.d_there);
            EXPECT_LT(signal.record().pending, 126);
            EXPECT_EQ(signal.record().used, raw.d_there ? 1 : 0);
            if (!raw.d_there) {
                EXPECT_EQ(raw.d_raw, 0xAAAAAAAAU);
                EXPECT_EQ(raw.d_timestamp, 0x55555555U);
                continue;
            }
            EXPECT_EQ(raw.d_raw, isNew ? newValue : oldValue);
            EXPECT_EQ(raw.d_timestamp, isNew ? each.d_write.d_timestamp : oldTime);
            EXPECT_EQ(phys.d_timestamp, raw.d_timestamp);
        }
}

TEST(KilledCANWriterTest, everyDeathIsReportedOnce) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    SharedName const name;
    CANSignalProbe signal(wholeDefinition(name), true);
    Capture errors(std::cerr);
    for (unsigned round = 1; round < 4; ++round) {
        Process owner([&] {
            CANSignalProbe writer(name.c_str());
            writer.lock();
            kill(getpid(), SIGKILL);
        });
        ASSERT_TRUE(owner.died());
        EXPECT_TRUE(signal.write(Word{round}, 1ULL));
        EXPECT_EQ(errors.take(), ownerDied(name));
        EXPECT_EQ(signal.readRaw().d_raw, round);
        EXPECT_EQ(errors.take(), "");
    }
}

TEST(KilledCANWriterTest, recordInMidDefinitionHasNoValue) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    SharedName const name;
    CANSignalProbe signal(wholeDefinition(name), true);
    signal.write(oldValue, oldTime);
    Process definer([&] {
        CANSignalProbe other(name.c_str());
        other.lock();
        other.record().used = 0;
        other.record().size = 0;
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(definer.died());
    Capture const errors(std::cerr);
    EXPECT_FALSE(signal.readRaw().d_there);
    CANSignalProbe const reader(name.c_str());
    EXPECT_FALSE(reader.attached());
}

TEST(KilledCANWriterTest, readerTakesTheLayoutOverFromADefinerThatDied) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    SharedName const name;
    CANSignalProbe signal(wholeDefinition(name), true);
    Process definer([&] {
        CANSignalProbe other(name.c_str());
        other.lock();
        other.record().startbit = 15;
        other.record().bits = 8;
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(definer.died());
    Capture const errors(std::cerr);
    signal.write(~0ULL, 1ULL);
    EXPECT_EQ(signal.record().value, 0x00ff000000000000U);
    EXPECT_EQ(signal.readRaw().d_raw, 0xffU);
}

TEST(KilledCANWriterTest, valuesAndTimestampsBelongTogetherWheneverAWriterIsKilled) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    // Both halves of either word change from one write to the next.
    constexpr Word spread = 0x9e3779b97f4a7c15, inBothHalves = 0x0000000100000001;
    SharedName const name;
    CANSignalProbe signal(wholeDefinition(name), true);
    signal.write(inBothHalves, spread);
    Capture errors(std::cerr);
    Shared<SharedCounter> writes;
    std::mt19937 random(7);
    Word last = 1;
    unsigned deaths = 0;
    for (unsigned round = 0; round < 1000; ++round) {
        *writes = 0;
        Process writer([&] {
            CANSignalProbe other(name.c_str());
            for (Word count = other.readRaw().d_raw / inBothHalves;;) {
                ++count;
                other.write(count * inBothHalves, count * spread);
                ++*writes;
            }
        });
        ASSERT_TRUE(waitUntil([&] { return *writes != 0; }));
        sleepMicroseconds(static_cast<long>(random() % 500));
        writer.kill();
        CANSignalProbe::Reading const reading = signal.readRaw();
        ASSERT_TRUE(reading.d_there);
        Word const count = reading.d_raw / inBothHalves;
        ASSERT_EQ(reading.d_raw, count * inBothHalves) << "torn value";
        ASSERT_EQ(reading.d_timestamp, count * spread) << "another value's timestamp";
        ASSERT_GT(count, last);
        last = count;
        std::string const text = errors.take();
        if (!text.empty()) {
            ++deaths;
            ASSERT_EQ(text, ownerDied(name));
        }
    }
    EXPECT_GT(deaths, 0U) << "writers that were killed while they held the lock";
}
