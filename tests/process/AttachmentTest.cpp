// When a reader finds the record of another process, and how long the record stays.
#include "tests/process/Process.h"
#include "tests/process/Shared.h"
#include "tests/process/TestSignal.h"
#include "tests/support/Capture.h"

#include <fstream>

namespace {

struct Steps {
    SharedCounter d_there;
    SharedCounter d_asked;
    SharedCounter d_answered;
    bool d_existed;
    unsigned long long d_value;
};

// A record like one of the library's, of the given size word, in a segment made by hand.
void makeSegment(SharedName const& name, std::size_t segmentSize, std::uint32_t sizeWord) {
    std::ofstream(name.path()).close();
    int const id = shmget(name.key(), segmentSize, IPC_CREAT | 0666);
    ASSERT_NE(id, -1);
    void* const address = shmat(id, nullptr, 0);
    ASSERT_NE(address, reinterpret_cast<void*>(-1));
    // Shared pages are whole ones: the record fits even where the segment says it is smaller.
    auto& record = *static_cast<shmSignalData_t*>(address);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutex_init(&record.mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    record.used = 1;
    record.conv = 1;
    record.value = 4711;
    record.phys = 47.11;
    record.timestamp = 99;
    record.bits = 16;
    record.size = sizeWord;
    shmdt(address);
}

void setSizeWord(SharedName const& name, std::uint32_t sizeWord) {
    void* const address = shmat(name.segmentId(), nullptr, 0);
    ASSERT_NE(address, reinterpret_cast<void*>(-1));
    __atomic_store_n(&static_cast<shmSignalData_t*>(address)->size, sizeWord, __ATOMIC_RELEASE);
    shmdt(address);
}

std::uint32_t sizeWord(SharedName const& name) {
    void* const address = shmat(name.segmentId(), nullptr, SHM_RDONLY);
    if (address == reinterpret_cast<void*>(-1))
        return 0;
    std::uint32_t const word = static_cast<shmSignalData_t const*>(address)->size;
    shmdt(address);
    return word;
}

// Every access of a waiting reader says once that it waits, fails, and leaves its arguments alone.
void expectWaiting(TestSignal& reader, std::string const& warning) {
    Capture errors(std::cerr);
    unsigned long long raw = 17;
    unsigned long long timestamp = 18;
    double phys = 19.0;
    EXPECT_FALSE(reader.read(raw, timestamp));
    EXPECT_EQ(errors.take(), warning);
    EXPECT_FALSE(reader.read(phys, timestamp));
    EXPECT_EQ(errors.take(), warning);
    EXPECT_FALSE(reader.write(1ULL, 2ULL));
    EXPECT_EQ(errors.take(), warning);
    EXPECT_EQ(raw, 17U);
    EXPECT_EQ(timestamp, 18U);
    EXPECT_EQ(phys, 19.0);
}

} // namespace

TEST(AttachmentTest, readerThatStartsFirstWarnsUntilTheWriterIsThereAndTakesEverythingFromTheRecord) {
    SharedName const name;
    Shared<Steps> steps;
    Process writerProcess([&] {
        if (!waitUntil([&] { return steps->d_asked == 1; }))
            return;
        baseSignalDef_t definition = wordDefinition(name);
        definition.type = signalSigned;
        TestSignal writer(definition, true);
        writer.write(wordPayload(0xfffffffe), 1234ULL);
        steps->d_there = 1;
        waitUntil([&] { return steps->d_asked == 2; });
    });

    Capture errors(std::cerr);
    TestSignal reader(name.c_str());
    EXPECT_EQ(errors.take(), keyWarning(name));
    expectWaiting(reader, keyWarning(name));
    EXPECT_FALSE(name.keyFileExists());
    EXPECT_EQ(reader.signalName(), name.name());

    std::ofstream(name.path()).close();
    expectWaiting(reader, segmentWarning(name));
    EXPECT_EQ(name.segmentId(), -1);

    steps->d_asked = 1;
    ASSERT_TRUE(waitUntil([&] { return steps->d_there == 1; }));
    TestSignal::Reading const raw = reader.readRaw();
    TestSignal::Reading const phys = reader.readPhys();
    EXPECT_EQ(errors.take(), "");
    EXPECT_TRUE(raw.d_there && phys.d_there);
    EXPECT_EQ(raw.d_raw, 0xfffffffffffffffeU);
    EXPECT_EQ(raw.d_timestamp, 1234U);
    EXPECT_EQ(phys.d_phys, -2.0);
    EXPECT_EQ(phys.d_timestamp, 1234U);
    EXPECT_EQ(reader.signalName(), "EngineSpeed");
    EXPECT_STREQ(reader.getUnit(), "rpm");
    EXPECT_EQ(reader.getType(), signalSigned);
    EXPECT_EQ(reader.getBits(), 32);
    EXPECT_EQ(reader.getScaleFactor(), 0.5);
    EXPECT_EQ(reader.getOffset(), -1.0);

    steps->d_asked = 2;
    EXPECT_TRUE(writerProcess.finished());
}

TEST(AttachmentTest, recordIsNotReadUntilItsSizeWordIsRight) {
    constexpr std::uint32_t right = sizeof(shmSignalData_t);
    for (std::uint32_t const wrong : {0U, 1U, right - 1, right + 1, right << 24, 0xffffffffU}) {
        SCOPED_TRACE(wrong);
        SharedName const name;
        Process maker([&] { makeSegment(name, sizeof(shmSignalData_t), wrong); });
        ASSERT_TRUE(maker.finished());

        Capture errors(std::cerr);
        TestSignal reader(name.c_str());
        EXPECT_EQ(errors.take(), segmentWarning(name));
        expectWaiting(reader, segmentWarning(name));
        EXPECT_EQ(sizeWord(name), wrong);

        Process publisher([&] { setSizeWord(name, right); });
        ASSERT_TRUE(publisher.finished());
        TestSignal::Reading const reading = reader.readRaw();
        EXPECT_EQ(errors.take(), "");
        EXPECT_TRUE(reading.d_there);
        EXPECT_EQ(reading.d_raw, 4711U);
        EXPECT_EQ(reading.d_timestamp, 99U);
    }
}

TEST(AttachmentTest, segmentSmallerThanTheRecordIsNotReadWhateverItsSizeWord) {
    for (std::size_t const size : {std::size_t{4}, sizeof(shmSignalData_t) - 1}) {
        SCOPED_TRACE(size);
        SharedName const name;
        Process maker([&] { makeSegment(name, size, sizeof(shmSignalData_t)); });
        ASSERT_TRUE(maker.finished());

        Capture errors(std::cerr);
        TestSignal reader(name.c_str());
        EXPECT_EQ(errors.take(), segmentWarning(name));
        expectWaiting(reader, segmentWarning(name));
    }
}

TEST(AttachmentTest, waitingReaderHoldsNoAttachment) {
    SharedName const name;
    Process maker([&] { makeSegment(name, sizeof(shmSignalData_t), 0); });
    ASSERT_TRUE(maker.finished());
    Capture errors(std::cerr);
    TestSignal reader(name.c_str());
    reader.readRaw();
    shmid_ds status{};
    ASSERT_EQ(shmctl(name.segmentId(), IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_nattch, 0U);
}

TEST(AttachmentTest, writerTakesOverASegmentThatWasNotItsOwn) {
    SharedName const name;
    Process maker([&] { makeSegment(name, sizeof(shmSignalData_t), 7); });
    ASSERT_TRUE(maker.finished());
    TestSignal writer(wordDefinition(name), true);
    EXPECT_EQ(sizeWord(name), sizeof(shmSignalData_t));
    writer.write(wordPayload(5), 6ULL);

    Shared<Steps> steps;
    Process readerProcess([&] {
        TestSignal reader(name.c_str());
        unsigned long long timestamp = 0;
        steps->d_existed = reader.read(steps->d_value, timestamp);
    });
    ASSERT_TRUE(readerProcess.finished());
    EXPECT_TRUE(steps->d_existed);
    EXPECT_EQ(steps->d_value, 5U);
}

TEST(AttachmentTest, everythingElseIsThereWhenTheSizeWordAppears) {
    struct Seen {
        SharedCounter d_watching;
        shmSignalData_t d_record;
    };
    int const rounds = 50;
    for (int round = 0; round < rounds; ++round) {
        SharedName const name;
        Shared<Seen> seen;
        std::ofstream(name.path()).close();
        int const id = shmget(name.key(), sizeof(shmSignalData_t), IPC_CREAT | 0666);
        ASSERT_NE(id, -1);
        Process watcher([&] {
            auto const* const record = static_cast<shmSignalData_t const*>(shmat(id, nullptr, SHM_RDONLY));
            seen->d_watching = 1;
            double const end = secondsNow() + patience;
            while (__atomic_load_n(&record->size, __ATOMIC_ACQUIRE) == 0 && secondsNow() < end) {
            }
            seen->d_record = *record;
        });
        ASSERT_TRUE(waitUntil([&] { return seen->d_watching == 1; }));
        TestSignal writer(wordDefinition(name), true);
        ASSERT_TRUE(watcher.finished());
        shmSignalData_t const& record = seen->d_record;
        EXPECT_EQ(record.size, sizeof(shmSignalData_t));
        EXPECT_EQ(record.used, 0);
        EXPECT_STREQ(record.signal, "EngineSpeed");
        EXPECT_STREQ(record.unit, "rpm");
        EXPECT_EQ(record.bits, 32);
        EXPECT_EQ(record.startbit, 7);
        EXPECT_EQ(record.endian, 1);
        EXPECT_EQ(record.scale, 0.5);
        EXPECT_EQ(record.rawValue, 0xaaaaaaaaU);
        EXPECT_EQ(record.value, 0xaaaaaaaaU);
        EXPECT_EQ(record.phys, 2863311530.0);
        EXPECT_EQ(record.timestamp, 0x55555555U);
    }
}

TEST(AttachmentTest, endOfAReaderLeavesTheSegment) {
    SharedName const name;
    TestSignal writer(wordDefinition(name), true);
    writer.write(wordPayload(1), 2ULL);
    Shared<Steps> steps;
    Process destroyed([&] {
        TestSignal reader(name.c_str());
        steps->d_existed = reader.readRaw().d_there;
    });
    ASSERT_TRUE(destroyed.finished());
    EXPECT_TRUE(steps->d_existed);
    Process killed([&] {
        TestSignal reader(name.c_str());
        steps->d_there = reader.readRaw().d_there ? 1 : 0;
        kill(getpid(), SIGKILL);
    });
    ASSERT_TRUE(killed.died());
    EXPECT_EQ(steps->d_there, 1U);
    EXPECT_NE(name.segmentId(), -1);
    EXPECT_EQ(writer.readRaw().d_raw, 1U);
}

TEST(AttachmentTest, endOfTheWriterRemovesTheSegmentFromUnderItsNameOnly) {
    SharedName const name;
    Shared<Steps> steps;
    Process readerProcess([&] {
        if (!waitUntil([&] { return steps->d_there == 1; }))
            return;
        TestSignal reader(name.c_str());
        steps->d_answered = reader.attached() ? 1 : 0;
        waitUntil([&] { return steps->d_asked == 1; });
        TestSignal::Reading const reading = reader.readPhys();
        steps->d_existed = reading.d_there && reading.d_phys == 4.0 && reading.d_timestamp == 11;
    });
    {
        TestSignal writer(wordDefinition(name), true);
        writer.write(wordPayload(10), 11ULL);
        steps->d_there = 1;
        ASSERT_TRUE(waitUntil([&] { return steps->d_answered == 1; }));
    }
    EXPECT_EQ(name.segmentId(), -1);
    EXPECT_TRUE(name.keyFileExists());
    steps->d_asked = 1;
    ASSERT_TRUE(readerProcess.finished());
    EXPECT_TRUE(steps->d_existed);
    Capture errors(std::cerr);
    TestSignal late(name.c_str());
    EXPECT_EQ(errors.take(), segmentWarning(name));
}
