// A process that dies while it holds a record's lock: who finds out, and what the record holds afterwards.
#include "tests/process/Process.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/TestSignal.h"
#include "tests/support/Capture.h"

#include <cstring>
#include <iterator>
#include <string>

namespace {

// Dies with the lock held, after it stored a payload and nothing that follows from it.
void dieInMidWrite(SharedName const& name, std::uint32_t value) {
    Process owner([&] {
        TestSignal signal(name.c_str());
        signal.lock();
        signal.record().rawValue = wordPayload(value);
        signal.record().conv = 1;
        signal.record().phys = 99999.0;
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(owner.died());
}

std::string ownerDied(SharedName const& name) {
    return "[ERROR] ShmSignal::lock (" + name.name() + "): Owner died\n";
}

// The access that comes next.
struct Access {
    char const* d_what;
    void (*d_run)(TestSignal&);
    std::uint32_t d_value; // of the signal afterwards
    unsigned long long d_timestamp;
    bool d_modified;
};

constexpr Access accesses[] = {
    {"raw value", [](TestSignal& signal) { EXPECT_EQ(signal.readRaw().d_raw, 50U); }, 50, 1, true},
    {"physical value", [](TestSignal& signal) { EXPECT_EQ(signal.readPhys().d_phys, 24.0); }, 50, 1, true},
    {"write of another value", [](TestSignal& signal) { signal.write(wordPayload(60), 2ULL); }, 60, 2, true},
    {"write of the value left behind", [](TestSignal& signal) { signal.write(wordPayload(50), 2ULL); }, 50, 2, false},
};

} // namespace

TEST(KilledOwnerTest, nextAccessReportsItOnceAndDerivesTheValueFromThePayloadAgain) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    for (Access const& access : accesses) {
        SCOPED_TRACE(access.d_what);
        SharedName const name;
        TestSignal signal(wordDefinition(name), true);
        signal.write(wordPayload(40), 1ULL);
        ASSERT_EQ(signal.readPhys().d_phys, 19.0);
        dieInMidWrite(name, 50);

        Capture output(std::cout);
        Capture errors(std::cerr);
        access.d_run(signal);
        EXPECT_EQ(errors.take(), ownerDied(name));
        EXPECT_EQ(signal.isModified(), access.d_modified);
        TestSignal::Reading const raw = signal.readRaw();
        TestSignal::Reading const phys = signal.readPhys();
        EXPECT_EQ(raw.d_raw, access.d_value);
        EXPECT_EQ(raw.d_timestamp, access.d_timestamp);
        EXPECT_EQ(phys.d_phys, access.d_value * 0.5 - 1.0);
        EXPECT_EQ(errors.text(), "");
        EXPECT_EQ(output.text(), "");
    }
}

TEST(KilledOwnerTest, everyDeathIsReported) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    SharedName const name;
    TestSignal signal(wordDefinition(name), true);
    signal.write(wordPayload(40), 1ULL);
    Capture errors(std::cerr);
    for (std::uint32_t const value : {50U, 51U, 52U}) {
        dieInMidWrite(name, value);
        EXPECT_EQ(signal.readRaw().d_raw, value);
        EXPECT_EQ(errors.take(), ownerDied(name));
        EXPECT_EQ(signal.readRaw().d_raw, value);
        EXPECT_EQ(errors.take(), "");
    }
}

TEST(KilledOwnerTest, recordThatWasNeverWrittenStaysEmpty) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    SharedName const name;
    TestSignal signal(wordDefinition(name), true);
    dieInMidWrite(name, 50);
    Capture errors(std::cerr);
    EXPECT_FALSE(signal.readPhys().d_there);
    EXPECT_EQ(errors.take(), ownerDied(name));
    signal.write(wordPayload(50), 2ULL);
    EXPECT_TRUE(signal.isModified());
    EXPECT_EQ(signal.readPhys().d_phys, 24.0);
    EXPECT_EQ(errors.text(), "");
}

TEST(KilledOwnerTest, readerThatAttachedBeforeARedefinitionDerivesTheValueByTheNewLayout) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    SharedName const name;
    Process first([&] {
        TestSignal writer(wordDefinition(name), true);
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(first.died());
    TestSignal reader(name.c_str());
    ASSERT_TRUE(reader.attached());
    Process restarted([&] {
        baseSignalDef_t definition = wordDefinition(name);
        definition.startbit = 39;
        TestSignal writer(definition, true);
        writer.write(7ULL, 1ULL);
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(restarted.died());
    Process owner([&] {
        TestSignal signal(name.c_str());
        signal.lock();
        signal.record().rawValue = 8;
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(owner.died());
    Capture errors(std::cerr);
    EXPECT_EQ(reader.readRaw().d_raw, 8U);
    EXPECT_EQ(errors.text(), ownerDied(name));
}

TEST(KilledOwnerTest, changeThatHadBegunIsCompletedOrLeavesNoTrace) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    // What a write of another value does to the record, in order; the writer dies before, between or after the steps.
    using Step = void (*)(shmSignalData_t&);
    static constexpr unsigned long long newTime = 0x123456789abcdef0;
    constexpr Step steps[] = {
        [](shmSignalData_t& record) { record.pending = 126; },
        [](shmSignalData_t& record) { record.value = record.rawValue; },
        [](shmSignalData_t& record) { record.pending = 0xC0; }, // of the timestamps before, bit 0 is set
        [](shmSignalData_t& record) { record.rawValue = wordPayload(50); },
        [](shmSignalData_t& record) { record.timestamp = newTime; },
        [](shmSignalData_t& record) { record.pending = 127; },
        [](shmSignalData_t& record) { record.used = 1; },
        [](shmSignalData_t& record) { record.conv = 0; },
        [](shmSignalData_t& record) { record.value = 50; },
        [](shmSignalData_t& record) { record.pending = 3; },
    };
    constexpr unsigned decided = 5; // from this step on, the new value stands
    for (bool const first : {false, true}) {
        for (unsigned done = 0; done <= std::size(steps); ++done) {
            SCOPED_TRACE(testing::Message() << done << " steps of a " << (first ? "first" : "further") << " write");
            SharedName const name;
            TestSignal signal(wordDefinition(name), true);
            if (!first) {
                signal.write(wordPayload(40), 1ULL);
                ASSERT_EQ(signal.readPhys().d_phys, 19.0);
            }
            Process owner([&] {
                TestSignal writer(name.c_str());
                writer.lock();
                for (unsigned i = 0; i < done; ++i)
                    steps[i](writer.record());
                kill(getpid(), SIGKILL);
            });
            ASSERT_TRUE(owner.died());

            Capture const errors(std::cerr);
            TestSignal::Reading const raw = signal.readRaw();
            TestSignal::Reading const phys = signal.readPhys();
            bool const isNew = done >= decided;
            EXPECT_EQ(raw.d_there, isNew || !first);
            EXPECT_LT(signal.record().pending, 126);
            if (!raw.d_there) { // exactly as it was
                EXPECT_EQ(signal.record().rawValue, 0xAAAAAAAAU);
                EXPECT_EQ(signal.record().value, 0xAAAAAAAAU);
                EXPECT_EQ(signal.record().phys, 2863311530.0);
                EXPECT_EQ(signal.record().timestamp, 0x55555555U);
                EXPECT_EQ(signal.record().conv, 0);
                continue;
            }
            EXPECT_EQ(raw.d_raw, isNew ? 50U : 40U);
            EXPECT_EQ(phys.d_phys, isNew ? 24.0 : 19.0);
            EXPECT_EQ(raw.d_timestamp, isNew ? newTime : 1U);
            EXPECT_EQ(phys.d_timestamp, raw.d_timestamp);
        }
    }
}
