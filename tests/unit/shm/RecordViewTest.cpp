// Records as those see them that only look.
#include "qzsignal/shm/RecordView.h"
#include "qzsignal/shm/RecordMark.h"
#include "tests/process/Process.h"
#include "tests/support/Capture.h"
#include "tests/support/Mappings.h"
#include "tests/support/OtherUser.h"
#include "tests/support/RecordFamilies.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/shm.h>
#include <unistd.h>

namespace qzsignal {
namespace {

constexpr std::chrono::milliseconds soon(20);

class RecordViewTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(d_errors.text() + d_output.text(), "") << "views say nothing"; }

    SharedName d_name;
    Capture d_errors{std::cerr};
    Capture d_output{std::cout};
};

TEST_F(RecordViewTest, thereIsNothingToLookAt) {
    EXPECT_FALSE(RecordView(d_name.name()).kind());
    EXPECT_TRUE(BaseSignal::instances.empty());
}

TEST_F(RecordViewTest, kindsAreToldApart) {
    {
        ShmProbe const signal(plainDefinition(d_name.name()), true);
        EXPECT_EQ(RecordView(d_name.name()).kind(), RecordKind::Shm);
    }
    CANSignalProbe const signal(canDefinition(d_name.name()), true);
    EXPECT_EQ(RecordView(d_name.name()).kind(), RecordKind::Can);
}

TEST_F(RecordViewTest, readsAndLooksWithoutARegistryEntryOrATrace) {
    baseSignalDef_t definition = plainDefinition(d_name.name());
    definition.unit = "V";
    definition.scale = 0.5;
    definition.type = signalSigned;
    ShmProbe signal(definition, true);
    RecordView const view(d_name.name());
    EXPECT_FALSE(view.read(soon)->value);
    signal.write(word(0xfe, 0xff), 7);
    EXPECT_EQ(signal.d_data->conv, 0);
    for (RecordContent const& content : {*view.read(soon), view.look()}) {
        EXPECT_EQ(content.signal, "Plain");
        EXPECT_EQ(content.unit, "V");
        EXPECT_EQ(content.type, signalSigned);
        ASSERT_TRUE(content.value);
        EXPECT_EQ(content.value->raw, 0xfffffffffffffffeU);
        EXPECT_EQ(content.value->physical, -1.0);
        EXPECT_EQ(content.value->timestamp, 7U);
    }
    EXPECT_EQ(signal.d_data->conv, 0) << "looking changes nothing";
    EXPECT_EQ(BaseSignal::getInstance(d_name.name().c_str()), &signal);
}

TEST_F(RecordViewTest, knownSegmentNeedsNoKeyFile) {
    ShmProbe signal(plainDefinition(d_name.name()), true);
    signal.write(word(0x12, 0x34), 7);
    int const segment = d_name.segmentId();
    ASSERT_EQ(unlink(d_name.path().c_str()), 0);
    EXPECT_FALSE(RecordView(d_name.name()).kind());
    RecordView const view(d_name.name(), segment, sizeof(shmSignalData_t));
    EXPECT_EQ(view.kind(), RecordKind::Shm);
    EXPECT_EQ(view.read(soon)->value->raw, 0x3412U);
    EXPECT_FALSE(RecordView(d_name.name(), segment, sizeof(shmSignalData_t) - 1).kind()) << "too small";
}

TEST_F(RecordViewTest, payloadOfTheStoreIsDecoded) {
    canSignal_t definition = canDefinition(d_name.name());
    definition.scale = 2;
    CANSignalProbe signal(definition, true);
    signal.write(word(0x34, 0x12), 8);
    RecordContent const content = *RecordView(d_name.name()).read(soon);
    ASSERT_TRUE(content.value);
    EXPECT_EQ(content.value->raw, 0x1234U);
    EXPECT_EQ(content.value->physical, 0x2468);
    EXPECT_EQ(content.value->timestamp, 8U);
}

TEST_F(RecordViewTest, waitsForTheLockNoLongerThanAsked) {
    ShmProbe signal(plainDefinition(d_name.name()), true);
    signal.write(word(1), 1);
    RecordView const view(d_name.name());
    signal.lock();
    EXPECT_FALSE(view.read(soon));
    EXPECT_TRUE(view.look().value) << "looking takes no lock";
    signal.unlock();
    EXPECT_TRUE(view.read(soon));
    EXPECT_TRUE(signal.tryLock()) << "it was given back";
    signal.unlock();
}

TEST_F(RecordViewTest, letsGoOfTheSegment) {
    ShmProbe const signal(plainDefinition(d_name.name()), true);
    auto const attached = [&signal] {
        shmid_ds status{};
        shmctl(signal.d_shmId, IPC_STAT, &status);
        return status.shm_nattch;
    };
    {
        RecordView const view(d_name.name());
        EXPECT_EQ(attached(), 2U);
    }
    EXPECT_EQ(attached(), 1U);
}

template <typename Family>
class ReadOnlyViewTest : public testing::Test {
protected:
    // Runs `look` in a process that may read the segment, but not write it.
    template <typename Look>
    void expectAsReader(int segment, Look look) {
        shmid_ds status{};
        ASSERT_EQ(shmctl(segment, IPC_STAT, &status), 0);
        status.shm_perm.mode = 0444;
        ASSERT_EQ(shmctl(segment, IPC_SET, &status), 0);
        Process reader([&look] {
            if (geteuid() == 0 && setuid(otherUser) != 0) // which may write everything
                _exit(2);
            std::string printed;
            {
                Capture const output(std::cout);
                Capture const errors(std::cerr);
                look();
                printed = output.text() + errors.text();
            }
            EXPECT_EQ(printed, "");
            _exit(testing::Test::HasFailure() ? 1 : 0);
        });
        EXPECT_TRUE(reader.finished());
    }

    SharedName d_name;
};
TYPED_TEST_SUITE(ReadOnlyViewTest, RecordFamilies, FamilyNames);

TYPED_TEST(ReadOnlyViewTest, looksWithoutTheLock) {
    auto definition = TypeParam::definition(this->d_name.name());
    definition.unit = "V";
    definition.scale = 0.5;
    typename TypeParam::Signal signal(definition, true);
    signal.write(word(8), 7);
    signal.lock();
    std::string const before(reinterpret_cast<char const*>(signal.d_data), sizeof *signal.d_data);
    this->expectAsReader(signal.d_shmId, [&] {
        RecordView const view(this->d_name.name());
        ASSERT_TRUE(view.kind());
        EXPECT_EQ(*view.kind() == RecordKind::Can, std::string(TypeParam::label) == "CANSignal");
        for (RecordContent const& content : {*view.read(soon), view.look()}) {
            EXPECT_EQ(content.unit, "V");
            ASSERT_TRUE(content.value);
            EXPECT_EQ(content.value->raw, 8U);
            EXPECT_EQ(content.value->physical, 4.0);
            EXPECT_EQ(content.value->timestamp, 7U);
        }
    });
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(signal.d_data), sizeof *signal.d_data), before);
    signal.unlock();
}

TYPED_TEST(ReadOnlyViewTest, recordOfADeadWriterIsPutInOrderInTheCopy) {
    typename TypeParam::Signal signal(TypeParam::definition(this->d_name.name()), true);
    signal.write(word(8), 7);
    signal.d_data->pending = recordStored; // it was killed there
    signal.d_data->used = 0;
    this->expectAsReader(signal.d_shmId, [&] {
        RecordContent const content = *RecordView(this->d_name.name()).read(soon);
        ASSERT_TRUE(content.value);
        EXPECT_EQ(content.value->raw, 8U);
    });
    EXPECT_EQ(signal.d_data->pending, recordStored);
}

TYPED_TEST(ReadOnlyViewTest, noRecordIsNothing) {
    typename TypeParam::Signal signal(TypeParam::definition(this->d_name.name()), true);
    auto const expectNothing = [&] {
        this->expectAsReader(signal.d_shmId, [&] {
            RecordView const view(this->d_name.name());
            EXPECT_FALSE(view.kind());
            EXPECT_EQ(segmentMappings(), 1U) << "the definer's";
        });
    };
    signal.d_data->size = 0;
    expectNothing();
    signal.d_data->size = TypeParam::recordSize + 1;
    expectNothing();
    signal.d_data->size = TypeParam::recordSize;
}

TYPED_TEST(ReadOnlyViewTest, segmentThatIsTooSmallIsNothing) {
    std::ofstream(this->d_name.path()).close();
    int const segment = shmget(this->d_name.key(), 16, IPC_CREAT | 0666);
    ASSERT_NE(segment, -1);
    auto* const size = static_cast<std::uint32_t*>(shmat(segment, nullptr, 0));
    *size = TypeParam::recordSize; // as if it were one
    shmdt(size);
    this->expectAsReader(segment, [&] { EXPECT_FALSE(RecordView(this->d_name.name()).kind()); });
}

// A record that may be written has a lock to be taken; if it has none yet, it is not there.
TYPED_TEST(ReadOnlyViewTest, recordThatMayBeWrittenIsNotLookedAtWithoutItsLock) {
    typename TypeParam::Signal signal(TypeParam::definition(this->d_name.name()), true);
    std::memset(&signal.d_data->mutex, 0xff, sizeof signal.d_data->mutex);
    EXPECT_FALSE(RecordView(this->d_name.name()).kind());
}

} // namespace
} // namespace qzsignal
