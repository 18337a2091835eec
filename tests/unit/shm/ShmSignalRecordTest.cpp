// Building and opening shared signals: the record that results, its printed form, and the diagnostics on the way.
#include "tests/process/Process.h"
#include "tests/support/Capture.h"
#include "tests/support/Observe.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <thread>

namespace {

static_assert(std::is_standard_layout<shmSignalData_t>::value, "the record is a format");

baseSignalDef_t fullDefinition(std::string const& instance) {
    baseSignalDef_t definition;
    definition.instance = instance;
    definition.signal = "Speed";
    definition.channel = 2;
    definition.unit = "km/h";
    definition.type = signalSigned;
    definition.startbit = 7;
    definition.bits = 12;
    definition.scale = 0.5;
    definition.offset = -40;
    definition.endian = true;
    return definition;
}

class ShmSignalRecordTest : public testing::Test {
protected:
    void TearDown() override { BaseSignal::debug = 0; }

    std::string description(ShmProbe const& signal) const {
        return "Speed shmem=1,used=no,conv=no,unit=km/h,type=signed,startbit=7,bits=12,scale=0.5,offset=-40,"
               "endian=BIG,rawValue=0x00000000aaaaaaaa,value=0x00000000aaaaaaaa,phys=2.86331e+09,"
               "timestamp=0x55555555,addr=" +
               address(signal.d_data);
    }

    SharedName d_name;
};

TEST_F(ShmSignalRecordTest, definitionFillsTheRecord) {
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    shmSignalData_t const& data = *writer.d_data;
    EXPECT_NE(&data, &writer.d_localData);
    EXPECT_EQ(data.size, sizeof(shmSignalData_t));
    EXPECT_EQ(data.used, 0);
    EXPECT_EQ(data.conv, 0);
    EXPECT_STREQ(data.signal, "Speed");
    EXPECT_STREQ(data.unit, "km/h");
    EXPECT_EQ(data.type, signalSigned);
    EXPECT_EQ(data.startbit, 7);
    EXPECT_EQ(data.bits, 12);
    EXPECT_EQ(data.scale, 0.5);
    EXPECT_EQ(data.offset, -40);
    EXPECT_EQ(data.endian, 1);
    EXPECT_EQ(data.rawValue, 0xAAAAAAAAU);
    EXPECT_EQ(data.value, 0xAAAAAAAAU);
    EXPECT_EQ(data.phys, 2863311530.0);
    EXPECT_EQ(data.timestamp, 0x55555555U);
}

TEST_F(ShmSignalRecordTest, definitionSetsTheObject) {
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    EXPECT_TRUE(writer.d_owner);
    EXPECT_TRUE(writer.d_valid);
    EXPECT_TRUE(writer.d_shared);
    EXPECT_FALSE(writer.d_modified);
    EXPECT_FALSE(writer.isModified());
    EXPECT_FALSE(writer.d_waiting);
    EXPECT_EQ(writer.d_key, d_name.key());
    EXPECT_EQ(writer.d_shmId, d_name.segmentId());
    EXPECT_EQ(writer.d_lsbBit, 12);
    EXPECT_EQ(writer.d_startByte, 1);
    EXPECT_EQ(writer.d_bytes, 2);
    EXPECT_EQ(writer.d_shift, 4);
    EXPECT_EQ(writer.d_maksBits, 0xfffU);
    EXPECT_EQ(writer.d_signBit, 0x800U);
    EXPECT_EQ(writer.d_rawMask, 0xfff0000000000000U);
    EXPECT_EQ(writer.signal, "Speed");
    EXPECT_EQ(BaseSignal::getInstance(d_name.c_str()), &writer);
}

TEST_F(ShmSignalRecordTest, segmentHasTheRecordsSizeAndIsOpenToEverybody) {
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    shmid_ds status{};
    ASSERT_EQ(shmctl(writer.d_shmId, IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_segsz, sizeof(shmSignalData_t));
    EXPECT_EQ(status.shm_perm.mode & 0777U, 0666U);
}

TEST_F(ShmSignalRecordTest, gettersShowTheRecord) {
    ShmSignal const writer(fullDefinition(d_name.name()), true);
    EXPECT_STREQ(writer.getUnit(), "km/h");
    EXPECT_EQ(writer.getScaleFactor(), 0.5);
    EXPECT_EQ(writer.getOffset(), -40);
    EXPECT_EQ(writer.getBits(), 12);
    EXPECT_EQ(writer.getType(), signalSigned);
}

TEST_F(ShmSignalRecordTest, longTextsAreCutToThirtyOneCharacters) {
    baseSignalDef_t definition = fullDefinition(d_name.name());
    definition.signal = std::string(31, 's') + "cut";
    definition.unit = std::string(31, 'u') + "cut";
    ShmProbe const writer(definition, true);
    EXPECT_EQ(std::string(writer.d_data->signal), std::string(31, 's'));
    EXPECT_EQ(std::string(writer.d_data->unit), std::string(31, 'u'));
    EXPECT_EQ(writer.signal, definition.signal) << "the writer's own name is not cut";
}

TEST_F(ShmSignalRecordTest, printedFormShowsAFreshRecord) {
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    EXPECT_EQ(printed(writer), description(writer));
}

TEST_F(ShmSignalRecordTest, printedFormShowsAWrittenRecord) {
    ShmProbe writer(fullDefinition(d_name.name()), true);
    writer.write(word(0xf2, 0x34), 0x1234);
    double phys = 0;
    unsigned long long timestamp = 0;
    ASSERT_TRUE(writer.read(phys, timestamp));
    EXPECT_EQ(printed(writer), "Speed shmem=1,used=yes,conv=yes,unit=km/h,type=signed,startbit=7,bits=12,scale=0.5,"
                               "offset=-40,endian=BIG,rawValue=0xf234000000000000,value=0xffffffffffffff23,"
                               "phys=-150.5,timestamp=0x1234,addr=" +
                                   address(writer.d_data));
}

TEST_F(ShmSignalRecordTest, printingStartsInDecimalAndLeavesHexadecimalFilledWithZeros) {
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    std::ostringstream out;
    out << std::hex << writer;
    EXPECT_EQ(out.str(), description(writer));
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::hex);
    EXPECT_EQ(out.fill(), '0');
    std::ostringstream virtually;
    virtually << static_cast<BaseSignal const&>(writer);
    EXPECT_EQ(virtually.str(), description(writer));
}

TEST_F(ShmSignalRecordTest, waitingSignalPrintsThatItIsNotValid) {
    Capture const errors(std::cerr);
    ShmSignal const reader(d_name.c_str());
    EXPECT_EQ(printed(reader), "ShmSignal not valid\n");
}

TEST_F(ShmSignalRecordTest, creationIsShownWhenDebugging) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    {
        ShmProbe const writer(fullDefinition(d_name.name()), true);
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: " + d_name.name() +
                                     " created\n"
                                     "[DEBUG] d_lsbBit=12,d_startByte=1,d_bytes=2,d_shift=4,d_maksBits=fff,"
                                     "d_signBit=800,d_rawMask=fff0000000000000\n"
                                     "[DEBUG] ShmSignal " +
                                     d_name.name() + " created (shared memory)\n" + description(writer) + "\n");
    }
    EXPECT_EQ(output.take(), "[DEBUG] ShmSignal " + d_name.name() + ", shared memory and mutex deleted\n" +
                                 "[DEBUG] ~BaseSignal: " + d_name.name() + " deleted\n");
}

TEST_F(ShmSignalRecordTest, localSignalTouchesNoSharedMemory) {
    ShmProbe const local(fullDefinition(d_name.name()), false);
    EXPECT_FALSE(d_name.keyFileExists());
    EXPECT_EQ(local.d_data, &local.d_localData);
    EXPECT_EQ(local.d_shmId, -1);
    EXPECT_EQ(local.d_key, -1);
    EXPECT_TRUE(local.d_owner);
    EXPECT_TRUE(local.d_valid);
    EXPECT_NE(printed(local).find("Speed shmem=0,used=no"), std::string::npos);
}

TEST_F(ShmSignalRecordTest, localSignalIsShownWhenDebugging) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    {
        ShmProbe const local(fullDefinition(d_name.name()), false);
        EXPECT_NE(output.take().find("[DEBUG] ShmSignal " + d_name.name() + " created \nSpeed shmem=0,"),
                  std::string::npos);
    }
    EXPECT_EQ(output.take(),
              "[DEBUG] ShmSignal " + d_name.name() + " deleted\n[DEBUG] ~BaseSignal: " + d_name.name() + " deleted\n");
}

TEST_F(ShmSignalRecordTest, readerTakesItsDescriptionFromTheRecord) {
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    Capture const errors(std::cerr); // both live in this process, so the name is taken
    ShmProbe const reader(d_name.c_str());
    EXPECT_FALSE(reader.d_owner);
    EXPECT_TRUE(reader.d_valid);
    EXPECT_TRUE(reader.d_shared);
    EXPECT_FALSE(reader.d_waiting);
    EXPECT_EQ(reader.d_shmId, writer.d_shmId);
    EXPECT_EQ(reader.signal, "Speed") << "the record's name, not the one it was opened by";
    EXPECT_STREQ(reader.getUnit(), "km/h");
    EXPECT_EQ(reader.getType(), signalSigned);
    EXPECT_EQ(reader.getBits(), 12);
    EXPECT_EQ(reader.d_rawMask, 0xfff0000000000000U);
    EXPECT_EQ(reader.messageId, 0U);
}

TEST_F(ShmSignalRecordTest, readerIsShownWhenDebugging) {
    Capture const errors(std::cerr);
    Capture output(std::cout);
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    BaseSignal::debug = 1;
    {
        ShmProbe const reader(d_name.c_str());
        std::string const text = output.take();
        EXPECT_NE(text.find("[DEBUG] ShmSignal " + d_name.name() + " created (shared memory found).\n" +
                            description(reader) + "\n"),
                  std::string::npos)
            << text;
    }
    EXPECT_EQ(output.take(), "[DEBUG] ShmSignal " + d_name.name() + " deleted (shared memory still exists).\n" +
                                 "[DEBUG] ~BaseSignal: " + d_name.name() + " deleted\n");
}

TEST_F(ShmSignalRecordTest, readerWithoutWriterWaitsAndSaysSoOnEveryAccess) {
    Capture output(std::cout);
    Capture errors(std::cerr);
    BaseSignal::debug = 1;
    std::string const warning = "[WARNING] ShmSignal: " + d_name.name() + ": Waiting for key (" + d_name.path() + ")\n";
    {
        ShmProbe reader(d_name.c_str());
        EXPECT_EQ(errors.take(), warning);
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: " + d_name.name() + " created\n[DEBUG] ShmSignal " +
                                     d_name.name() + " created (shared memory NOT found).\n");
        EXPECT_FALSE(reader.d_valid);
        EXPECT_TRUE(reader.d_waiting);
        EXPECT_EQ(reader.signal, d_name.name());
        EXPECT_STREQ(reader.getUnit(), "");

        double phys = 1.5;
        unsigned long long value = 2, timestamp = 3;
        EXPECT_FALSE(reader.read(phys, timestamp));
        EXPECT_FALSE(reader.read(value, timestamp));
        EXPECT_FALSE(reader.write(1, 2));
        EXPECT_EQ(errors.take(), warning + warning + warning);
        EXPECT_EQ(phys, 1.5);
        EXPECT_EQ(value, 2U);
        EXPECT_EQ(timestamp, 3U);

        std::ofstream(d_name.path()).close();
        EXPECT_FALSE(reader.smInit());
        EXPECT_EQ(errors.take(), "[WARNING] ShmSignal: " + d_name.name() + ": Waiting for shared memory region id (" +
                                     d_name.path() + ")\n");
        EXPECT_EQ(output.take(), "");
    }
    EXPECT_EQ(output.take(), "[DEBUG] ShmSignal " + d_name.name() + " deleted (no shared memory found)\n" +
                                 "[DEBUG] ~BaseSignal: " + d_name.name() + " deleted\n");
}

TEST_F(ShmSignalRecordTest, waitingReaderAttachesSilentlyOnceTheWriterIsThere) {
    Capture errors(std::cerr);
    ShmProbe reader(d_name.c_str());
    errors.take();
    ShmProbe writer(fullDefinition(d_name.name()), true);
    EXPECT_EQ(errors.take(), "[WARNING] BaseSignal: signal " + d_name.name() + " already exists\n");
    writer.write(word(0x12, 0x30), 77);

    unsigned long long value = 0, timestamp = 0;
    EXPECT_TRUE(reader.read(value, timestamp));
    EXPECT_EQ(value, 0x123U);
    EXPECT_EQ(timestamp, 77U);
    EXPECT_TRUE(reader.d_valid);
    EXPECT_TRUE(reader.smInit()) << "attached for good";
    EXPECT_EQ(errors.text(), "");
}

TEST_F(ShmSignalRecordTest, signalWithoutSegmentWorksOnItsOwnRecordAndLocksIt) {
    Capture errors(std::cerr);
    ShmProbe writer(fullDefinition("no-such-folder/name"), true);
    EXPECT_EQ(errors.take(), "[ERROR] ShmSignal: no-such-folder/name: Missing File (/tmp/no-such-folder/name)\n");
    EXPECT_EQ(writer.d_data, &writer.d_localData);
    EXPECT_TRUE(writer.d_shared);
    EXPECT_TRUE(writer.d_valid);
    EXPECT_TRUE(writer.write(word(0x12, 0x30), 5));
    unsigned long long value = 0, timestamp = 0;
    EXPECT_TRUE(writer.read(value, timestamp));
    EXPECT_EQ(value, 0x123U);

    writer.lock();
    EXPECT_EQ(pthread_mutex_trylock(&writer.d_localData.mutex), EBUSY);
    writer.unlock();
    EXPECT_EQ(errors.text(), "");
}

TEST_F(ShmSignalRecordTest, foreignSegmentOfAnotherSizeIsReported) {
    std::ofstream(d_name.path()).close();
    ASSERT_NE(shmget(d_name.key(), 16, IPC_CREAT | 0666), -1);
    Capture errors(std::cerr);
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    EXPECT_EQ(errors.text(), "[ERROR] ShmSignal::ctor: shmget (" + d_name.name() + "): Invalid argument\n");
    EXPECT_EQ(writer.d_data, &writer.d_localData);
}

TEST_F(ShmSignalRecordTest, recordOfAnEarlierRunIsInitialisedAnew) {
    Capture const errors(std::cerr);
    baseSignalDef_t definition = fullDefinition(d_name.name());
    definition.signal = "A longer name";
    definition.unit = "another unit";
    ShmProbe reader(d_name.c_str());
    auto crashed = std::make_unique<ShmProbe>(definition, true);
    crashed->write(word(0x12), 5);
    unsigned long long value = 0, timestamp = 0;
    ASSERT_TRUE(reader.read(value, timestamp));
    crashed->d_owner = false; // a process that is killed removes nothing
    crashed.reset();

    ShmProbe const writer(fullDefinition(d_name.name()), true);
    EXPECT_EQ(writer.d_data->used, 0);
    EXPECT_EQ(writer.d_data->rawValue, 0xAAAAAAAAU);
    EXPECT_EQ(writer.d_data->timestamp, 0x55555555U);
    EXPECT_STREQ(writer.d_data->signal, "Speed");
    for (std::size_t i = std::strlen("Speed"); i < sizeof writer.d_data->signal; ++i)
        EXPECT_EQ(writer.d_data->signal[i], '\0') << "nothing of the earlier name is left";
    EXPECT_FALSE(reader.read(value, timestamp)) << "an attached reader finds it unwritten";
}

TEST_F(ShmSignalRecordTest, lockLeftHeldDoesNotStopANewWriter) {
    Capture const errors(std::cerr);
    auto crashed = std::make_unique<ShmProbe>(fullDefinition(d_name.name()), true);
    crashed->lock();
    ShmProbe writer(fullDefinition(d_name.name()), true);
    EXPECT_TRUE(writer.write(word(1), 2)) << "the lock was made anew";
    crashed->d_owner = false;
    crashed.reset();
}

TEST_F(ShmSignalRecordTest, textsWithoutEndAreReadNoFurtherThanTheirField) {
    ShmProbe const writer(fullDefinition(d_name.name()), true);
    std::memset(writer.d_data->signal, 'x', sizeof writer.d_data->signal);
    std::memset(writer.d_data->unit, 'y', sizeof writer.d_data->unit);
    Capture const errors(std::cerr);
    ShmProbe const reader(d_name.c_str());
    EXPECT_EQ(reader.signal, std::string(32, 'x'));
    EXPECT_NE(printed(reader).find(",unit=" + std::string(32, 'y') + ",type="), std::string::npos);
}

TEST_F(ShmSignalRecordTest, createSharedMemoryTellsWhetherThereIsASegment) {
    ShmProbe writer(plainDefinition(d_name.name()), true);

    EXPECT_TRUE(writer.createSharedMemory());
    EXPECT_NE(writer.d_data, &writer.d_localData);
    EXPECT_EQ(pthread_mutex_trylock(&writer.d_data->mutex), 0) << "left unlocked";
    pthread_mutex_unlock(&writer.d_data->mutex);
    Capture const errors(std::cerr);
    ShmProbe failing(plainDefinition("no-such-folder/name"), false);
    EXPECT_FALSE(failing.createSharedMemory());
    EXPECT_EQ(failing.d_data, &failing.d_localData);
}

TEST_F(ShmSignalRecordTest, smInitOfASignalThatDoesNotWaitTouchesNothing) {
    Capture const errors(std::cerr);
    ShmProbe local(plainDefinition(d_name.name()), false);
    EXPECT_TRUE(local.smInit());
    EXPECT_EQ(local.d_data, &local.d_localData);
    SharedName const name;
    ShmProbe writer(plainDefinition(name.name()), true);
    shmSignalData_t const* const record = writer.d_data;
    EXPECT_TRUE(writer.smInit());
    EXPECT_EQ(writer.d_data, record) << "not attached a second time";
    EXPECT_EQ(errors.text(), "");
}

TEST_F(ShmSignalRecordTest, restartedWriterForgetsThatTheValueWasConverted) {
    Capture const errors(std::cerr);
    ShmProbe first(plainDefinition(d_name.name()), true);
    first.write(word(1), 2);
    double phys = 0;
    unsigned long long timestamp = 0;
    ASSERT_TRUE(first.read(phys, timestamp));
    first.d_owner = false;
    ShmProbe const second(plainDefinition(d_name.name()), true);
    EXPECT_EQ(second.d_data->conv, 0);
}

TEST_F(ShmSignalRecordTest, signalWithoutSegmentHasAMutexThatKnowsItsOwner) {
    Capture errors(std::cerr);
    ShmProbe writer(plainDefinition("no-such-folder/name"), true);
    errors.take();
    writer.unlock();
    EXPECT_EQ(errors.take(), "[ERROR] ShmSignal::unlock (no-such-folder/name): Operation not permitted\n");
}

TEST_F(ShmSignalRecordTest, definingSignalsLeavesNoFileOpen) {
    int const before = open("/dev/null", O_RDONLY);
    close(before);
    for (int i = 0; i < 3; ++i)
        ShmProbe(plainDefinition(d_name.name()), true);
    int const after = open("/dev/null", O_RDONLY);
    close(after);
    EXPECT_EQ(after, before);
}

TEST_F(ShmSignalRecordTest, keyFileIsMadeForEverybody) {
    mode_t const mask = umask(0);
    ShmProbe(plainDefinition(d_name.name()), true);
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(d_name.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0666U);
}

TEST_F(ShmSignalRecordTest, flagsOfTheRecordCountWheneverTheyAreNotZero) {
    ShmProbe signal(plainDefinition(d_name.name()), false);
    signal.d_data->startbit = 7;
    signal.d_data->bits = 12;
    signal.d_data->endian = 0x80;
    signal.cInit();
    EXPECT_EQ(signal.d_rawMask, 0xfff0000000000000U);
    signal.write(0x1230000000000000ULL, 1ULL);
    signal.d_data->used = 2;
    signal.d_data->conv = 4;
    signal.d_data->phys = 4711;
    signal.write(0x123fffffffffffffULL, 2ULL);
    EXPECT_FALSE(signal.isModified());
    double phys = 0;
    unsigned long long value = 0, timestamp = 0;
    EXPECT_TRUE(signal.read(phys, timestamp));
    EXPECT_EQ(phys, 4711);
    EXPECT_TRUE(signal.read(value, timestamp));
    EXPECT_EQ(value, 0x123U);
    std::ostringstream out;
    out << signal;
    EXPECT_NE(out.str().find(",used=yes,conv=yes,"), std::string::npos);
    EXPECT_NE(out.str().find(",endian=BIG,"), std::string::npos);
}

TEST_F(ShmSignalRecordTest, payloadBytesOfADecodeLineHaveTwoDigits) {
    ShmProbe signal(plainDefinition(d_name.name(), 8), false);
    Capture output(std::cout);
    BaseSignal::debug = 1;
    signal.write(0x000102030405060fULL, 1ULL);
    EXPECT_NE(output.take().find(": 00-01-02-03-04-05-06-0f\n"), std::string::npos);
}

TEST_F(ShmSignalRecordTest, writeIsAnnouncedBeforeItWaitsForTheLock) {
    ShmProbe signal(plainDefinition(d_name.name()), true);
    std::atomic<bool> locked{false};
    std::atomic<unsigned> lines{0};
    std::thread owner([&] {
        pthread_mutex_lock(&signal.d_data->mutex);
        locked = true;
        waitUntil([&] { return lines >= 2; });
        pthread_mutex_unlock(&signal.d_data->mutex);
    });
    waitUntil([&] { return locked.load(); });
    std::string text;
    {
        Capture const output(std::cout, [&lines] { ++lines; });
        BaseSignal::debug = 1;
        signal.write(word(1), 2);
        BaseSignal::debug = 0;
        text = output.text();
    }
    owner.join();
    EXPECT_EQ(text.find("[DEBUG] writing 100000000000000, ts=2\n[DEBUG] ShmSignal::lock ("), 0U);
}

TEST_F(ShmSignalRecordTest, lockErrorsAreReportedAndTheAccessGoesOn) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer takes a damaged mutex for a mistake";
#endif
    ShmProbe signal(fullDefinition(d_name.name()), true);
    unsigned long long value = 0, timestamp = 0;
    std::memset(&signal.d_data->mutex, 0xff, sizeof signal.d_data->mutex);
    Capture errors(std::cerr);
    EXPECT_TRUE(signal.write(0x1230000000000000, 7));
    std::string const text = errors.take();
    EXPECT_EQ(text.substr(0, text.find('\n')), "[ERROR] ShmSignal::lock (" + d_name.name() + "): Invalid argument");
    EXPECT_NE(text.find("\n[ERROR] ShmSignal::unlock (" + d_name.name() + "): "), std::string::npos)
        << "the lock is given back also when it was not had";
    EXPECT_TRUE(signal.read(value, timestamp));
    EXPECT_EQ(value, 0x123U);
}

} // namespace
