// Signals that are destroyed with their lock, and records that are created again.
#include "tests/support/Capture.h"
#include "tests/support/Mappings.h"
#include "tests/support/Observe.h"
#include "tests/support/RecordFamilies.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <memory>
#include <pthread.h>
#include <string>
#include <sys/shm.h>
#include <unistd.h>

namespace {

template <typename Family>
class RecordLifetimeTest : public testing::Test {
protected:
    using Signal = typename Family::Signal;
    std::unique_ptr<Signal> defined(SharedName const& name, bool shared = true) {
        return std::make_unique<Signal>(Family::definition(name.name()), shared);
    }
    void TearDown() override { EXPECT_EQ(segmentMappings(), 0U); }

    SharedName d_name;
    SharedName d_other;
};
TYPED_TEST_SUITE(RecordLifetimeTest, RecordFamilies, FamilyNames);

TYPED_TEST(RecordLifetimeTest, lockThatASignalHoldsIsGivenBackWhenItIsDestroyed) {
    Capture const errors(std::cerr);
    auto const definer = this->defined(this->d_name);
    auto other = this->defined(this->d_other);
    auto reader = std::make_unique<typename TypeParam::Signal>(this->d_name.name().c_str());
    other->lock();
    reader->lock();
    reader.reset();
    EXPECT_TRUE(definer->tryLock()) << "the lock is free";
    definer->unlock();
    other.reset();
    // The thread's list of what it holds leads into no memory that is gone.
    for (int i = 0; i < 3; ++i) {
        definer->lock();
        definer->unlock();
    }
    EXPECT_EQ(errors.text().find("[ERROR]"), std::string::npos) << errors.text();
}

TYPED_TEST(RecordLifetimeTest, lockOfARecordInTheObjectIsGivenBackAsWell) {
    Capture const errors(std::cerr);
    auto const definer = this->defined(this->d_name);
    {
        typename TypeParam::Signal waiting("no-such-signal");
        ASSERT_TRUE(waiting.tryLock());
    }
    definer->lock();
    definer->unlock();
    EXPECT_EQ(errors.text().find("[ERROR]"), std::string::npos) << errors.text();
}

TYPED_TEST(RecordLifetimeTest, lockThatAnotherObjectHoldsIsLeftAlone) {
    Capture const errors(std::cerr);
    auto const definer = this->defined(this->d_name);
    auto reader = std::make_unique<typename TypeParam::Signal>(this->d_name.name().c_str());
    definer->lock();
    reader.reset();
    typename TypeParam::Signal second(this->d_name.name().c_str());
    EXPECT_FALSE(second.tryLock());
    definer->unlock();
}

TYPED_TEST(RecordLifetimeTest, segmentThatIsCreatedAgainIsMappedOnce) {
    auto const signal = this->defined(this->d_name);
    EXPECT_EQ(segmentMappings(), 1U);
    EXPECT_TRUE(signal->createSharedMemory());
    EXPECT_EQ(segmentMappings(), 1U);
    EXPECT_NE(signal->d_data, &signal->d_localData);
}

TYPED_TEST(RecordLifetimeTest, lockThatIsHeldIsGivenBackWhenTheSegmentIsCreatedAgain) {
    Capture const errors(std::cerr);
    auto const signal = this->defined(this->d_name);
    signal->lock();
    EXPECT_TRUE(signal->createSharedMemory());
    EXPECT_TRUE(signal->tryLock());
    signal->unlock();
    EXPECT_EQ(errors.text(), "");
}

TYPED_TEST(RecordLifetimeTest, segmentThatCannotBeCreatedAgainStaysInUse) {
    Capture errors(std::cerr);
    auto const signal = this->defined(this->d_name);
    auto* const record = signal->d_data;
    int const id = signal->d_shmId;
    shmid_ds status{};
    ASSERT_EQ(shmctl(id, IPC_STAT, &status), 0);
    ASSERT_EQ(shmctl(id, IPC_RMID, nullptr), 0);
    int const smaller = shmget(this->d_name.key(), 16, IPC_CREAT | 0666);
    ASSERT_NE(smaller, -1);
    EXPECT_FALSE(signal->createSharedMemory()); // shmget
    EXPECT_EQ(signal->d_data, record);
    EXPECT_EQ(signal->d_shmId, id);
    EXPECT_EQ(segmentMappings(), 1U);
    EXPECT_TRUE(signal->write(0x1200000000000000ULL, 5ULL));
    EXPECT_NE(errors.text().find("::ctor: shmget ("), std::string::npos);
    shmctl(smaller, IPC_RMID, nullptr);
}

// A link in the place of the key file gives no key, and no definer removes it.
TYPED_TEST(RecordLifetimeTest, recordStaysInUseIfItsKeyFileIsGoneWhenTheSegmentIsCreatedAgain) {
    Capture errors(std::cerr);
    SharedName const target;
    auto const signal = this->defined(this->d_name);
    typename TypeParam::Signal reader(this->d_name.name().c_str());
    auto* const record = signal->d_data;
    int const id = signal->d_shmId;
    ASSERT_EQ(unlink(this->d_name.path().c_str()), 0);
    ASSERT_EQ(symlink(target.path().c_str(), this->d_name.path().c_str()), 0);
    errors.take();

    EXPECT_FALSE(signal->createSharedMemory()); // ftok
    EXPECT_EQ(errors.take(), "[ERROR] " + std::string(TypeParam::label) + ": " + this->d_name.name() +
                                 ": Missing File (" + this->d_name.path() + ")\n");
    EXPECT_FALSE(target.keyFileExists());
    EXPECT_EQ(signal->d_data, record);
    EXPECT_EQ(signal->d_shmId, id);
    EXPECT_EQ(segmentMappings(), 2U);
    EXPECT_TRUE(signal->write(0x1200000000000000ULL, 5ULL));
    EXPECT_EQ(valueOf(reader), 0x12U);
    EXPECT_TRUE(signal->tryLock()) << "it is free";
    signal->unlock();
    EXPECT_EQ(errors.text(), "");
}

} // namespace
