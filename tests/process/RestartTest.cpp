// A new writer after one that ended: on the record that it left, or on one of its own; and what becomes of those that
// hold the lock of the record.
#include "tests/process/Process.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/Shared.h"
#include "tests/process/TestSignal.h"
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"

#include <cerrno>
#include <memory>
#include <string>
#include <sys/shm.h>

namespace {

struct Steps {
    SharedCounter d_locked;
    SharedCounter d_defined;
    SharedCounter d_mayGoOn;
    SharedCounter d_done;
    char d_errors[400];
};

void keep(char (&field)[400], std::string const& text) {
    text.copy(field, sizeof field - 1);
}

// A writer that dies without its destructor, so that the record stays.
void leaveRecord(SharedName const& name, std::uint32_t value, unsigned long long timestamp) {
    Process writerProcess([&] {
        TestSignal writer(wordDefinition(name), true);
        writer.write(wordPayload(value), timestamp);
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(writerProcess.died());
}

// The record in a mapping that lasts as long as the process.
shmSignalData_t& mappedRecord(SharedName const& name) {
    return *static_cast<shmSignalData_t*>(shmat(name.segmentId(), nullptr, 0));
}

// While this process holds the lock, another one cannot get it; afterwards it can.
void expectWorkingLock(TestSignal& signal, SharedName const& name) {
    struct Results {
        int d_busy;
        int d_free;
    };
    Shared<Results> results;
    Capture output(std::cout);
    Capture errors(std::cerr);
    signal.lock();
    Process busy([&] { results->d_busy = pthread_mutex_trylock(&TestSignal(name.c_str()).record().mutex); });
    EXPECT_TRUE(busy.finished());
    EXPECT_EQ(results->d_busy, EBUSY);
    signal.unlock();
    Process free([&] {
        TestSignal other(name.c_str());
        results->d_free = pthread_mutex_trylock(&other.record().mutex);
        pthread_mutex_unlock(&other.record().mutex);
    });
    EXPECT_TRUE(free.finished());
    EXPECT_EQ(results->d_free, 0);
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(output.text(), "");
}

// How a mutex may have been left; `sizeWord` is what the record says of itself meanwhile.
struct Leftover {
    char const* d_what;
    bool d_ownMake;
    std::uint32_t d_sizeWord;
};

constexpr Leftover leftovers[] = {
    {"finished record", true, sizeof(shmSignalData_t)},
    {"record whose writer died while it filled it", true, 0},
    {"another make's mutex", false, sizeof(shmSignalData_t)},
    {"another make's mutex in an unfinished record", false, 0},
};

// Returns the record where the lock was taken.
shmSignalData_t& lockAsStranger(SharedName const& name, Leftover const& leftover) {
    shmSignalData_t& record = mappedRecord(name);
    if (!leftover.d_ownMake)
        pthread_mutex_init(&record.mutex, nullptr);
    pthread_mutex_lock(&record.mutex);
    record.size = leftover.d_sizeWord;
    return record;
}

// A writer ends in order and starts again while `Signal` is attached to the first one's record.
template <typename Signal, typename Definition>
void expectRecordsApart(SharedName const& name, Definition const& definition) {
    auto first = std::make_unique<Signal>(definition, true);
    first->write(wordPayload(1), 100ULL);
    BaseSignal::instances.clear();
    auto early = std::make_unique<Signal>(name.c_str());
    int const segment = name.segmentId();
    first.reset();
    EXPECT_EQ(name.segmentId(), -1);
    EXPECT_EQ(early->readRaw().d_raw, 1U);
    {
        Capture const errors(std::cerr);
        EXPECT_FALSE(Signal(name.c_str()).attached()) << "there is nothing for those who come now";
    }

    BaseSignal::instances.clear();
    Signal second(definition, true);
    BaseSignal::instances.clear();
    EXPECT_NE(name.segmentId(), segment);
    Signal late(name.c_str());
    EXPECT_FALSE(late.readRaw().d_there);
    second.write(wordPayload(2), 200ULL);
    EXPECT_EQ(late.readRaw().d_raw, 2U);
    EXPECT_EQ(late.readPhys().d_timestamp, 200U);
    EXPECT_EQ(early->readRaw().d_raw, 1U);
    EXPECT_EQ(early->readPhys().d_timestamp, 100U);
    early->write(wordPayload(3), 300ULL);
    EXPECT_EQ(late.readRaw().d_raw, 2U);

    shmid_ds status{};
    EXPECT_EQ(shmctl(segment, IPC_STAT, &status), 0);
    early.reset();
    EXPECT_EQ(shmctl(segment, IPC_STAT, &status), -1) << "it goes with the last one";
}

} // namespace

TEST(RestartTest, writerThatEndedInOrderStartsWithARecordOfItsOwn) {
    SharedName const shm;
    expectRecordsApart<TestSignal>(shm, wordDefinition(shm));
    SharedName const can;
    canSignal_t definition = canDefinition(can.name(), 32);
    definition.startbit = 7;
    definition.endian = true;
    expectRecordsApart<CANSignalProbe>(can, definition);
}

TEST(RestartTest, attachedReaderSeesNothingUntilTheNewWritersFirstValue) {
    SharedName const name;
    leaveRecord(name, 1, 100);
    TestSignal reader(name.c_str());
    ASSERT_EQ(reader.readRaw().d_raw, 1U);
    ASSERT_EQ(reader.readPhys().d_phys, -0.5);

    Shared<Steps> steps;
    Process second([&] {
        baseSignalDef_t definition = wordDefinition(name);
        definition.unit = "1/min";
        definition.scale = 2.0;
        TestSignal writer(definition, true);
        steps->d_defined = 1;
        if (!waitUntil([&] { return steps->d_mayGoOn == 1; }))
            return;
        writer.write(wordPayload(2), 200ULL);
        steps->d_done = 1;
        waitUntil([&] { return steps->d_mayGoOn == 2; });
    });
    ASSERT_TRUE(waitUntil([&] { return steps->d_defined == 1; }));
    EXPECT_FALSE(reader.readRaw().d_there);
    EXPECT_FALSE(reader.readPhys().d_there);
    EXPECT_EQ(reader.record().rawValue, 0xaaaaaaaaU);
    EXPECT_EQ(reader.record().value, 0xaaaaaaaaU);
    EXPECT_EQ(reader.record().timestamp, 0x55555555U);
    EXPECT_STREQ(reader.getUnit(), "1/min");
    EXPECT_EQ(reader.getScaleFactor(), 2.0);

    steps->d_mayGoOn = 1;
    ASSERT_TRUE(waitUntil([&] { return steps->d_done == 1; }));
    EXPECT_EQ(reader.readRaw().d_raw, 2U);
    EXPECT_EQ(reader.readPhys().d_phys, 3.0);
    EXPECT_EQ(reader.readPhys().d_timestamp, 200U);
    steps->d_mayGoOn = 2;
    EXPECT_TRUE(second.finished());
}

TEST(RestartTest, lockHeldForAMomentIsLeftAlone) {
    for (std::uint32_t const sizeWord : {static_cast<std::uint32_t>(sizeof(shmSignalData_t)), 0U}) {
        SCOPED_TRACE(sizeWord == 0 ? "unfinished record" : "finished record");
        SharedName const name;
        leaveRecord(name, 1, 100);
        Shared<Steps> steps;
        Process readerProcess([&] {
            Capture errors(std::cerr);
            TestSignal reader(name.c_str());
            reader.lock();
            reader.record().size = sizeWord;
            steps->d_locked = 1;
            waitUntil([&] { return steps->d_mayGoOn == 1; });
            // As long as a process may be kept from its processor on a busy machine.
            sleepMicroseconds(30000);
            reader.unlock();
            reader.readRaw();
            keep(steps->d_errors, errors.text());
        });
        ASSERT_TRUE(waitUntil([&] { return steps->d_locked == 1; }));
        steps->d_mayGoOn = 1;
        TestSignal writer(wordDefinition(name), true);
        ASSERT_TRUE(readerProcess.finished());
        EXPECT_STREQ(steps->d_errors, "");
        EXPECT_FALSE(writer.readRaw().d_there);
        expectWorkingLock(writer, name);
    }
}

TEST(RestartTest, lockThatAStrangerKeepsNeitherBlocksTheNewWriterNorGetsLost) {
    for (Leftover const& leftover : leftovers) {
        SCOPED_TRACE(leftover.d_what);
        SharedName const name;
        leaveRecord(name, 1, 100);
        Shared<Steps> steps;
        Process stranger([&] {
            shmSignalData_t& record = lockAsStranger(name, leftover);
            steps->d_locked = 1;
            waitUntil([&] { return steps->d_mayGoOn == 1; });
            steps->d_done = pthread_mutex_unlock(&record.mutex) == 0 ? 1 : 2;
        });
        ASSERT_TRUE(waitUntil([&] { return steps->d_locked == 1; }));

        Capture errors(std::cerr);
        Capture output(std::cout);
        TestSignal writer(wordDefinition(name), true);
        EXPECT_EQ(writer.record().size, sizeof(shmSignalData_t));
        EXPECT_EQ(writer.record().used, 0);
        EXPECT_EQ(writer.record().timestamp, 0x55555555U);
        EXPECT_NE(pthread_mutex_trylock(&writer.record().mutex), 0);
        steps->d_mayGoOn = 1;
        ASSERT_TRUE(stranger.finished());
        EXPECT_EQ(steps->d_done, 1U);
        writer.write(wordPayload(2), 200ULL);
        EXPECT_EQ(writer.readRaw().d_raw, 2U);
        expectWorkingLock(writer, name);
        EXPECT_EQ(errors.text(), "");
        EXPECT_EQ(output.text(), "");
    }
}

TEST(RestartTest, lockOfADeadStrangerDoesNotBlockTheNewWriter) {
    for (Leftover const& leftover : leftovers) {
        SCOPED_TRACE(leftover.d_what);
        SharedName const name;
        leaveRecord(name, 1, 100);
        Process stranger([&] {
            lockAsStranger(name, leftover);
            kill(getpid(), SIGKILL);
        });
        ASSERT_TRUE(stranger.died());

        Capture errors(std::cerr);
        Capture output(std::cout);
        TestSignal writer(wordDefinition(name), true);
        writer.write(wordPayload(2), 200ULL);
        EXPECT_EQ(writer.readRaw().d_raw, 2U);
        expectWorkingLock(writer, name);
        EXPECT_EQ(errors.text(), "");
        EXPECT_EQ(output.text(), "");
    }
}

TEST(RestartTest, freeMutexOfAnotherMakeIsReplacedByARobustOne) {
    SKIP_WITHOUT_ROBUST_MUTEXES();
    SharedName const name;
    leaveRecord(name, 1, 100);
    Process stranger([&] { pthread_mutex_init(&mappedRecord(name).mutex, nullptr); });
    ASSERT_TRUE(stranger.finished());
    TestSignal writer(wordDefinition(name), true);
    Process owner([&] {
        TestSignal signal(name.c_str());
        signal.lock();
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(owner.died());
    EXPECT_EQ(pthread_mutex_trylock(&writer.record().mutex), EOWNERDEAD);
    pthread_mutex_consistent(&writer.record().mutex);
    pthread_mutex_unlock(&writer.record().mutex);
}
