// Defining and opening self-contained CAN signals: the record that results, and what is reported on the way.
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/OtherUser.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <type_traits>

namespace {

static_assert(std::is_standard_layout_v<qzsignal::canSignalData_t>, "the record is a format");
static_assert(std::is_same_v<std::underlying_type_t<canValue_t>, std::int32_t>, "it is stored in the record");

constexpr std::size_t recordSize = sizeof(void*) == 4 ? 144 : 168;

canSignal_t fullDefinition(std::string const& name) {
    canSignal_t definition;
    definition.bus = 0x0203;
    definition.id = 0x7e8;
    definition.name = name;
    definition.unit = "km/h";
    definition.type = canSigned;
    definition.startbit = 7;
    definition.bits = 12;
    definition.scale = 0.5;
    definition.offset = -40;
    definition.endian = true;
    return definition;
}

void expectFullRecord(CANSignalProbe const& signal, std::string const& name) {
    qzsignal::canSignalData_t const& data = *signal.d_data;
    EXPECT_EQ(data.size, recordSize);
    EXPECT_EQ(data.used, 0);
    EXPECT_EQ(data.bus, 3) << "its low 8 bits";
    EXPECT_EQ(data.id, 0x7e8);
    EXPECT_EQ(std::string(data.name), name.substr(0, 31));
    EXPECT_STREQ(data.unit, "km/h");
    EXPECT_EQ(data.type, canSigned);
    EXPECT_EQ(data.startbit, 7);
    EXPECT_EQ(data.bits, 12);
    EXPECT_EQ(data.scale, 0.5);
    EXPECT_EQ(data.offset, -40);
    EXPECT_EQ(data.endian, 1);
    EXPECT_EQ(data.value, 0x00000000AAAAAAAAU);
    EXPECT_EQ(data.timestamp, 0x0000000055555555U);
}

class CANSignalRecordTest : public testing::Test {
protected:
    void TearDown() override {
        BaseSignal::debug = 0;
        EXPECT_TRUE(tableIsEmpty());
    }

    std::string waiting(char const* what) const {
        return "[WARNING] CANSignal: " + d_name.name() + ": Waiting for " + what + " (" + d_name.path() + ")\n";
    }

    SharedName d_name;
};

TEST_F(CANSignalRecordTest, definitionFillsTheSharedRecord) {
    CANSignalProbe const signal(fullDefinition(d_name.name()), true);
    EXPECT_NE(signal.d_data, &signal.d_localData);
    expectFullRecord(signal, d_name.name());
}

TEST_F(CANSignalRecordTest, definitionFillsThePrivateRecord) {
    CANSignalProbe const signal(fullDefinition("private"), false);
    EXPECT_EQ(signal.d_data, &signal.d_localData);
    expectFullRecord(signal, "private");
    EXPECT_NE(access("/tmp/private", F_OK), 0) << "no key file";
    EXPECT_EQ(signal.d_shmId, -1);
    EXPECT_EQ(signal.d_key, -1);
    EXPECT_FALSE(signal.d_shared);
    EXPECT_TRUE(signal.d_owner);
    EXPECT_TRUE(signal.d_valid);
}

TEST_F(CANSignalRecordTest, listOfArgumentsIsADefinitionToo) {
    for (bool const shared : {false, true}) {
        CANSignalProbe const signal(3, 0x7e8, d_name.c_str(), "km/h", canSigned, 7, 12, 0.5, -40, true, shared);
        expectFullRecord(signal, d_name.name());
        EXPECT_EQ(signal.d_shared, shared);
        EXPECT_EQ(tableEntry(3, 0x7e8), (std::vector<CANSignal*>{const_cast<CANSignalProbe*>(&signal)}));
        EXPECT_EQ(BaseSignal::getInstance(d_name.c_str()), &signal);
    }
}

TEST_F(CANSignalRecordTest, nullTextsCountAsEmpty) {
    CANSignalProbe const signal(1, 2, nullptr, nullptr, canUnsigned, 0, 8, 1, 0, false, false);
    EXPECT_STREQ(signal.getUnit(), "");
    EXPECT_STREQ(signal.d_data->name, "");
    EXPECT_EQ(BaseSignal::getInstance(""), &signal);
    Capture const errors(std::cerr);
    CANSignalProbe const reader(static_cast<char const*>(nullptr));
    EXPECT_FALSE(reader.d_valid);
}

TEST_F(CANSignalRecordTest, definitionSetsTheObject) {
    CANSignalProbe const signal(fullDefinition(d_name.name()), true);
    EXPECT_TRUE(signal.d_owner);
    EXPECT_TRUE(signal.d_valid);
    EXPECT_TRUE(signal.d_shared);
    EXPECT_FALSE(signal.d_waiting);
    EXPECT_FALSE(signal.isModified());
    EXPECT_EQ(signal.d_key, d_name.key());
    EXPECT_EQ(signal.d_shmId, d_name.segmentId());
    EXPECT_EQ(signal.d_rawMask, 0xfff0000000000000U);
    EXPECT_EQ(signal.signal, d_name.name());
    EXPECT_EQ(BaseSignal::getInstance(d_name.c_str()), &signal);
}

TEST_F(CANSignalRecordTest, segmentHasTheRecordsSizeAndIsWritableByItsOwnerAlone) {
    CANSignalProbe const signal(fullDefinition(d_name.name()), true);
    shmid_ds status{};
    ASSERT_EQ(shmctl(signal.d_shmId, IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_segsz, recordSize);
    EXPECT_EQ(status.shm_perm.mode & 0777U, 0644U);
}

TEST_F(CANSignalRecordTest, gettersShowTheRecord) {
    CANSignal const signal(fullDefinition(d_name.name()), true);
    EXPECT_STREQ(signal.getUnit(), "km/h");
    EXPECT_EQ(signal.getScaleFactor(), 0.5);
    EXPECT_EQ(signal.getOffset(), -40);
    EXPECT_EQ(signal.getBits(), 12);
}

// Deliberate: it is not that of the record.
TEST_F(CANSignalRecordTest, typeIsAlwaysUnsigned) {
    for (int const type : {0, 1, 2, 3, 7, -1}) {
        canSignal_t definition = fullDefinition(d_name.name());
        definition.type = static_cast<canValue_t>(type);
        CANSignalProbe const signal(definition, false);
        EXPECT_EQ(signal.d_data->type, type);
        EXPECT_EQ(signal.getType(), signalUnsigned);
    }
}

TEST_F(CANSignalRecordTest, longTextsAreCutToThirtyOneCharacters) {
    canSignal_t definition = fullDefinition(std::string(31, 'n') + "cut");
    definition.unit = std::string(31, 'u') + "cut";
    CANSignalProbe const signal(definition, false);
    EXPECT_EQ(std::string(signal.d_data->name), std::string(31, 'n'));
    EXPECT_EQ(std::string(signal.d_data->unit), std::string(31, 'u'));
    EXPECT_EQ(BaseSignal::getInstance(definition.name.c_str()), &signal) << "the registry knows the whole name";
}

TEST_F(CANSignalRecordTest, existingRecordIsOverwrittenInFull) {
    Capture const errors(std::cerr);
    canSignal_t definition = fullDefinition(d_name.name());
    definition.unit = "a longer unit";
    auto crashed = std::make_unique<CANSignalProbe>(definition, true);
    CANSignalProbe reader(d_name.c_str());
    crashed->write(0x1230000000000000ULL, 5ULL);
    ASSERT_TRUE(reader.readRaw().d_there);
    crashed->d_owner = false; // a process that is killed removes nothing
    crashed.reset();

    CANSignalProbe const signal(fullDefinition(d_name.name()), true);
    expectFullRecord(signal, d_name.name());
    for (std::size_t i = std::strlen("km/h"); i < sizeof signal.d_data->unit; ++i)
        EXPECT_EQ(signal.d_data->unit[i], '\0') << "nothing of the earlier unit is left";
    for (std::uint8_t const byte : signal.d_data->lastValue)
        EXPECT_EQ(byte, 0);
    EXPECT_EQ(signal.d_data->pending, 0);
    EXPECT_EQ(signal.d_data->lastValueTop, 0);
    EXPECT_FALSE(reader.readRaw().d_there) << "an attached reader finds it unwritten";
}

TEST_F(CANSignalRecordTest, readerTakesEverythingFromTheRecord) {
    CANSignalProbe const definer(fullDefinition(d_name.name()), true);
    Capture const errors(std::cerr); // both live in this process, so the name is taken
    CANSignalProbe const reader(d_name.c_str());
    EXPECT_FALSE(reader.d_owner);
    EXPECT_TRUE(reader.d_valid);
    EXPECT_TRUE(reader.d_shared);
    EXPECT_FALSE(reader.d_waiting);
    EXPECT_FALSE(reader.isModified());
    EXPECT_EQ(reader.d_shmId, definer.d_shmId);
    EXPECT_EQ(reader.d_rawMask, 0xfff0000000000000U);
    EXPECT_STREQ(reader.getUnit(), "km/h");
    EXPECT_EQ(reader.getBits(), 12);
}

TEST_F(CANSignalRecordTest, readerWithoutDefinerWaitsAndSaysSoOnEveryAccess) {
    Capture errors(std::cerr);
    CANSignalProbe reader(d_name.c_str());
    EXPECT_EQ(errors.take(), waiting("key"));
    EXPECT_TRUE(reader.d_waiting);
    EXPECT_FALSE(reader.d_valid);
    EXPECT_FALSE(reader.d_owner);
    EXPECT_TRUE(reader.d_shared);
    EXPECT_EQ(reader.d_data, &reader.d_localData);
    EXPECT_EQ(reader.d_localData.used, 0);
    EXPECT_STREQ(reader.getUnit(), "");

    for (char const* const what : {"key", "shared memory region id"}) {
        CANSignalProbe::Reading reading = reader.readRaw();
        EXPECT_EQ(errors.take(), waiting(what));
        EXPECT_FALSE(reading.d_there);
        EXPECT_EQ(reading.d_raw, 18U) << "left alone";
        EXPECT_EQ(reading.d_timestamp, 17U);
        reading = reader.readPhys();
        // Deliberate: the physical form tries twice.
        EXPECT_EQ(errors.take(), waiting(what) + waiting(what));
        EXPECT_FALSE(reading.d_there);
        EXPECT_EQ(reading.d_phys, 19.0);
        EXPECT_EQ(reading.d_timestamp, 17U);
        EXPECT_FALSE(reader.write(1ULL, 2ULL));
        EXPECT_EQ(errors.take(), waiting(what));
        EXPECT_FALSE(reader.write(1.0, 2ULL));
        EXPECT_EQ(errors.take(), waiting(what));
        EXPECT_FALSE(reader.smInit());
        EXPECT_EQ(errors.take(), waiting(what));
        EXPECT_FALSE(reader.isModified());
        std::ofstream(d_name.path()).close();
    }
    EXPECT_EQ(reader.d_shmId, -1);
}

TEST_F(CANSignalRecordTest, waitingReaderAttachesSilentlyOnceTheDefinerIsThere) {
    void (*const accesses[])(CANSignalProbe&) = {
        [](CANSignalProbe& reader) { EXPECT_EQ(reader.readRaw().d_raw, 0x123U); },
        [](CANSignalProbe& reader) { EXPECT_EQ(reader.readPhys().d_phys, 0x123 * 0.5 - 40); },
        [](CANSignalProbe& reader) { EXPECT_TRUE(reader.write(0x1230000000000000ULL, 2ULL)); },
        [](CANSignalProbe& reader) { EXPECT_TRUE(reader.smInit()); },
    };
    for (auto const access : accesses) {
        Capture errors(std::cerr);
        CANSignalProbe reader(d_name.c_str());
        CANSignalProbe definer(fullDefinition(d_name.name()), true);
        definer.write(0x1230000000000000ULL, 1ULL);
        errors.take();
        access(reader);
        EXPECT_EQ(errors.take(), "");
        EXPECT_FALSE(reader.d_waiting);
        EXPECT_TRUE(reader.d_valid);
        EXPECT_TRUE(reader.smInit());
        EXPECT_EQ(reader.d_rawMask, 0xfff0000000000000U);
        EXPECT_EQ(reader.readRaw().d_timestamp, 1U);
    }
}

TEST_F(CANSignalRecordTest, firstPhysicalWriteByNameIsEncodedAsTheRecordSays) {
    Capture const errors(std::cerr);
    CANSignalProbe reader(d_name.c_str());
    canSignal_t whole = canDefinition(d_name.name(), 64);
    whole.scale = 0.5;
    CANSignalProbe definer(whole, true);
    EXPECT_TRUE(reader.write(2.0, 5ULL));
    EXPECT_EQ(definer.record().value, 4U);
    EXPECT_EQ(definer.record().timestamp, 5U);
}

TEST_F(CANSignalRecordTest, recordWithoutItsSizeWordIsNotThereYet) {
    CANSignalProbe const definer(fullDefinition(d_name.name()), true);
    Capture errors(std::cerr);
    for (std::uint32_t const size : {0U, 1U, static_cast<std::uint32_t>(recordSize) + 1, 0x90000000U}) {
        definer.d_data->size = size;
        BaseSignal::instances.clear(); // as if the reader were in a process of its own
        CANSignalProbe reader(d_name.c_str());
        EXPECT_EQ(errors.take(), waiting("shared memory region id"));
        EXPECT_FALSE(reader.readRaw().d_there);
        EXPECT_EQ(errors.take(), waiting("shared memory region id"));
        definer.d_data->size = recordSize;
        reader.readRaw();
        EXPECT_EQ(errors.take(), "");
        EXPECT_TRUE(reader.attached());
    }
}

TEST_F(CANSignalRecordTest, segmentOfAnotherFamilyIsNotRead) {
    std::ofstream(d_name.path()).close();
    int const id = shmget(d_name.key(), 184, IPC_CREAT | 0666); // as large as a record of a ShmSignal
    ASSERT_NE(id, -1);
    auto* const size = static_cast<std::uint32_t*>(shmat(id, nullptr, 0));
    *size = sizeof(void*) == 4 ? 160 : 184;
    Capture errors(std::cerr);
    CANSignalProbe const reader(d_name.c_str());
    EXPECT_EQ(errors.take(), waiting("shared memory region id"));
    EXPECT_EQ(reader.d_shmId, -1);
    shmdt(size);
}

TEST_F(CANSignalRecordTest, missingKeyFileIsReportedAndTheSignalWorksOnItsOwnRecord) {
    Capture errors(std::cerr);
    {
        CANSignalProbe signal(fullDefinition("no-such-folder/name"), true);
        EXPECT_EQ(errors.take(), "[ERROR] CANSignal: no-such-folder/name: Missing File (/tmp/no-such-folder/name)\n");
        EXPECT_EQ(signal.d_data, &signal.d_localData);
        EXPECT_TRUE(signal.d_valid);
        EXPECT_TRUE(signal.d_shared);
        EXPECT_TRUE(signal.write(0x1230000000000000ULL, 1ULL));
        EXPECT_EQ(signal.readRaw().d_raw, 0x123U);
        signal.lock();
        EXPECT_EQ(pthread_mutex_trylock(&signal.d_localData.mutex), EBUSY) << "it locks that record";
        signal.unlock();
    }
    EXPECT_EQ(errors.take(), "");
}

TEST_F(CANSignalRecordTest, segmentThatIsTooSmallIsReported) {
    std::ofstream(d_name.path()).close();
    ASSERT_NE(shmget(d_name.key(), 16, IPC_CREAT | 0666), -1);
    Capture errors(std::cerr);
    CANSignalProbe const signal(fullDefinition(d_name.name()), true);
    EXPECT_EQ(errors.take(), "[ERROR] CANSignal::ctor: shmget (" + d_name.name() + "): Invalid argument\n");
    EXPECT_EQ(signal.d_data, &signal.d_localData);
    expectFullRecord(signal, d_name.name());
}

TEST_F(CANSignalRecordTest, otherUsersCannotAttachAndKeepWaiting) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to change the user";
    CANSignalProbe const definer(fullDefinition(d_name.name()), true);
    std::string const line = "[ERROR] CANSignal: shmat (" + d_name.name() + "): Permission denied\n";
    EXPECT_EQ(errorsAsOtherUser([&] {
                  CANSignalProbe reader(d_name.c_str());
                  reader.readRaw();
                  if (reader.attached() || reader.d_shmId != -1 || reader.d_data != &reader.d_localData)
                      std::cerr << "attached" << std::endl;
              }),
              line + line);
}

TEST_F(CANSignalRecordTest, recordOfAnotherUserCannotBeTakenOver) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to change the user";
    CANSignalProbe const definer(fullDefinition(d_name.name()), true);
    EXPECT_EQ(errorsAsOtherUser([&] { CANSignal const second(fullDefinition(d_name.name()), true); }),
              "[ERROR] CANSignal::ctor: shmget (" + d_name.name() + "): Permission denied\n");
}

TEST_F(CANSignalRecordTest, creatorRemovesTheSegmentAndLeavesTheKeyFile) {
    auto definer = std::make_unique<CANSignalProbe>(fullDefinition(d_name.name()), true);
    Capture errors(std::cerr);
    { CANSignalProbe const reader(d_name.c_str()); }
    EXPECT_EQ(d_name.segmentId(), definer->d_shmId) << "a reader leaves it";
    definer.reset();
    EXPECT_EQ(d_name.segmentId(), -1);
    EXPECT_TRUE(d_name.keyFileExists());
    EXPECT_EQ(errors.text(), "[WARNING] BaseSignal: signal " + d_name.name() + " already exists\n");
}

TEST_F(CANSignalRecordTest, failingDetachAndRemovalAreReported) {
    auto definer = std::make_unique<CANSignalProbe>(fullDefinition(d_name.name()), true);
    ASSERT_EQ(shmdt(definer->d_data), 0);
    definer->d_data = &definer->d_localData; // where it finds its bus and identifier
    ASSERT_EQ(shmctl(definer->d_shmId, IPC_RMID, nullptr), 0);
    Capture errors(std::cerr);
    definer.reset();
    EXPECT_EQ(errors.text(), "[ERROR] CANSignal::dtor: shmdt (" + d_name.name() + "): Invalid argument\n" +
                                 "[ERROR] CANSignal::dtor: shmctl (" + d_name.name() + "): Invalid argument\n");
}

TEST_F(CANSignalRecordTest, createSharedMemoryTellsWhetherThereIsASegment) {
    CANSignalProbe signal(fullDefinition(d_name.name()), true);

    EXPECT_TRUE(signal.createSharedMemory());
    EXPECT_NE(signal.d_data, &signal.d_localData);
    EXPECT_EQ(pthread_mutex_trylock(&signal.d_data->mutex), 0) << "left unlocked";
    pthread_mutex_unlock(&signal.d_data->mutex);
    Capture const errors(std::cerr);
    CANSignalProbe failing(fullDefinition("no-such-folder/name"), false);
    EXPECT_FALSE(failing.createSharedMemory());
    EXPECT_EQ(failing.d_data, &failing.d_localData);
}

TEST_F(CANSignalRecordTest, secondDefinerTakesTheRecordOverAndItsLockWorks) {
    Capture errors(std::cerr);
    CANSignalProbe first(fullDefinition(d_name.name()), true);
    first.d_owner = false;
    CANSignalProbe second(fullDefinition(d_name.name()), true);
    EXPECT_EQ(errors.take(), "[WARNING] BaseSignal: signal " + d_name.name() + " already exists\n");
    EXPECT_EQ(first.d_shmId, second.d_shmId);
    second.write(0x1230000000000000ULL, 1ULL);
    EXPECT_EQ(first.readRaw().d_raw, 0x123U);
    EXPECT_EQ(errors.take(), "");
}

} // namespace
