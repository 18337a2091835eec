// Key files and segments, and what is reported when they cannot be had.
#include "qzsignal/shm/SharedSegment.h"

#include "qzsignal/shm/RecordLock.h"
#include "qzsignal/shm/SharedRecord.h"
#include "qzsignal/signal/BaseSignal.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>

namespace qzsignal {
namespace {

constexpr RecordFamily family = {"Label", 256, 0640};

// What a signal keeps of its segment.
struct Segment {
    Segment(bool owner, bool shared) : d_owner(owner), d_shared(shared) {}

    void* create(RecordFamily const& label, std::string const& instance, RecordResetLock& lock) {
        return createSegment(label, instance, d_key, d_shmId, lock).d_record;
    }
    void* attach(RecordFamily const& label, std::string const& instance, Waiting waiting = Waiting::Reported) {
        return attachSegment(label, instance, d_key, d_shmId, waiting);
    }
    void release(RecordFamily const& label, std::string const& instance, void* record) const {
        releaseSegment(label, instance, d_shared, d_owner, d_shmId, record);
    }

    bool d_owner;
    bool d_shared;
    key_t d_key = -1;
    int d_shmId = -1;
};

class SharedSegmentTest : public testing::Test {
protected:
    // A segment made by another program, of some size, with a first word.
    void foreignSegment(std::size_t bytes, std::uint32_t firstWord) {
        std::ofstream(d_name.path()).close();
        int const id = shmget(d_name.key(), bytes, IPC_CREAT | 0666);
        ASSERT_NE(id, -1);
        d_foreign = static_cast<std::uint32_t*>(shmat(id, nullptr, 0));
        *d_foreign = firstWord;
    }
    void TearDown() override {
        BaseSignal::debug = 0;
        if (d_foreign != nullptr)
            shmdt(d_foreign);
    }

    void* create(Segment& segment) {
        RecordResetLock lock;
        void* const record = segment.create(family, d_name.name(), lock);
        if (record != nullptr)
            publishRecord(*static_cast<std::uint32_t*>(record), family);
        return record;
    }

    std::string waiting(char const* what) const {
        return "[WARNING] Label: " + d_name.name() + ": Waiting for " + what + " (" + d_name.path() + ")\n";
    }

    SharedName d_name;
    RecordResetLock d_lock;
    std::uint32_t* d_foreign = nullptr;
};

TEST_F(SharedSegmentTest, creatorMakesKeyFileAndSegmentOfTheFamily) {
    Segment creator(true, true);
    void* const record = create(creator);
    ASSERT_NE(record, nullptr);
    EXPECT_TRUE(d_name.keyFileExists());
    EXPECT_EQ(creator.d_key, ftok(d_name.path().c_str(), 'f'));
    EXPECT_EQ(creator.d_shmId, d_name.segmentId());
    shmid_ds status{};
    ASSERT_EQ(shmctl(creator.d_shmId, IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_segsz, 256U);
    EXPECT_EQ(status.shm_perm.mode & 0777U, 0640U);
    creator.release(family, d_name.name(), record);
    EXPECT_EQ(d_name.segmentId(), -1);
    EXPECT_TRUE(d_name.keyFileExists()) << "the key file stays";
}

TEST_F(SharedSegmentTest, keyFileIsEmptied) {
    std::ofstream(d_name.path()) << "something";
    Segment creator(true, true);
    creator.release(family, d_name.name(), create(creator));
    struct stat status {};
    ASSERT_EQ(stat(d_name.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 0);
}

TEST_F(SharedSegmentTest, existingSegmentIsReusedWithItsContents) {
    foreignSegment(256, 7);
    Segment creator(true, true);
    std::uint32_t* record = nullptr;
    {
        RecordResetLock lock;
        record = static_cast<std::uint32_t*>(creator.create(family, d_name.name(), lock));
    }
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(*record, 7U);
    creator.release(family, d_name.name(), record);
}

TEST_F(SharedSegmentTest, missingKeyFileIsReported) {
    Capture errors(std::cerr);
    Segment creator(true, true);
    EXPECT_EQ(creator.create(family, "no-such-folder/name", d_lock), nullptr);
    EXPECT_EQ(errors.text(), "[ERROR] Label: no-such-folder/name: Missing File (/tmp/no-such-folder/name)\n");
    EXPECT_EQ(creator.d_shmId, -1);
}

TEST_F(SharedSegmentTest, segmentOfASmallerSizeIsReported) {
    foreignSegment(16, 0);
    Capture errors(std::cerr);
    Segment creator(true, true);
    EXPECT_EQ(creator.create(family, d_name.name(), d_lock), nullptr);
    EXPECT_EQ(errors.text(), "[ERROR] Label::ctor: shmget (" + d_name.name() + "): Invalid argument\n");
}

TEST_F(SharedSegmentTest, readerWaitsForTheKeyFile) {
    Capture errors(std::cerr);
    Segment reader(false, true);
    EXPECT_EQ(reader.attach(family, d_name.name()), nullptr);
    EXPECT_EQ(errors.text(), waiting("key"));
    EXPECT_FALSE(d_name.keyFileExists()) << "only creators make it";
}

TEST_F(SharedSegmentTest, quietReaderSaysNothing) {
    Capture const errors(std::cerr);
    Segment reader(false, true);
    EXPECT_EQ(reader.attach(family, d_name.name(), Waiting::Quiet), nullptr);
    foreignSegment(256, 7);
    EXPECT_EQ(reader.attach(family, d_name.name(), Waiting::Quiet), nullptr);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(SharedSegmentTest, failedCreationLeavesTheFormerSegment) {
    Segment creator(true, true);
    void* const record = create(creator);
    ASSERT_NE(record, nullptr);
    int const id = creator.d_shmId;
    Capture const errors(std::cerr);
    EXPECT_EQ(creator.create(family, "no-such-folder/name", d_lock), nullptr);
    EXPECT_EQ(creator.create({"Label", 8192, 0640}, d_name.name(), d_lock), nullptr);
    EXPECT_EQ(creator.d_shmId, id);
    creator.release(family, d_name.name(), record);
    EXPECT_EQ(d_name.segmentId(), -1);
}

TEST_F(SharedSegmentTest, readerWaitsForTheSegment) {
    std::ofstream(d_name.path()).close();
    Capture errors(std::cerr);
    Segment reader(false, true);
    EXPECT_EQ(reader.attach(family, d_name.name()), nullptr);
    EXPECT_EQ(errors.text(), waiting("shared memory region id"));
    EXPECT_EQ(reader.d_shmId, -1);
}

TEST_F(SharedSegmentTest, readerWaitsWhileTheSizeWordIsNotTheFamilys) {
    for (std::uint32_t const size : {0U, 255U, 144U, 0x00010000U}) {
        foreignSegment(256, size);
        Capture errors(std::cerr);
        Segment reader(false, true);
        EXPECT_EQ(reader.attach(family, d_name.name()), nullptr) << size;
        EXPECT_EQ(errors.text(), waiting("shared memory region id"));
        EXPECT_EQ(reader.d_shmId, -1) << "there is nothing to detach from";
        shmdt(d_foreign);
        d_foreign = nullptr;
    }
}

TEST_F(SharedSegmentTest, readerWaitsWhileTheSegmentIsTooSmall) {
    foreignSegment(16, 256);
    Capture errors(std::cerr);
    Segment reader(false, true);
    EXPECT_EQ(reader.attach(family, d_name.name()), nullptr);
    EXPECT_EQ(errors.text(), waiting("shared memory region id"));
}

TEST_F(SharedSegmentTest, readerWaitsWhileTheMutexIsNone) {
    Segment creator(true, true);
    auto* const record = static_cast<unsigned char*>(create(creator));
    ASSERT_NE(record, nullptr);
    std::memset(record + recordMutexOffset, 0x60, sizeof(pthread_mutex_t));
    Capture errors(std::cerr);
    Segment reader(false, true);
    EXPECT_EQ(reader.attach(family, d_name.name()), nullptr);
    EXPECT_EQ(errors.take(), waiting("shared memory region id"));
    EXPECT_EQ(reader.d_shmId, -1);
    std::memset(record + recordMutexOffset, 0, sizeof(pthread_mutex_t)); // a plain one
    EXPECT_NE(reader.attach(family, d_name.name()), nullptr);
    EXPECT_EQ(errors.text(), "");
    creator.release(family, d_name.name(), record);
}

TEST_F(SharedSegmentTest, readerAttachesToAPublishedRecordAndLeavesItInPlace) {
    Segment creator(true, true);
    auto* const record = static_cast<unsigned char*>(create(creator));
    ASSERT_NE(record, nullptr);
    record[200] = 0x5a;
    Capture const errors(std::cerr);
    Segment reader(false, true);
    auto* const seen = static_cast<unsigned char*>(reader.attach(family, d_name.name()));
    ASSERT_NE(seen, nullptr);
    EXPECT_EQ(seen[200], 0x5a);
    EXPECT_EQ(reader.d_shmId, creator.d_shmId);
    reader.release(family, d_name.name(), seen);
    EXPECT_EQ(d_name.segmentId(), creator.d_shmId);
    creator.release(family, d_name.name(), record);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(SharedSegmentTest, failingDetachAndRemovalAreReported) {
    Segment creator(true, true);
    void* const record = create(creator);
    ASSERT_EQ(shmdt(record), 0);
    ASSERT_EQ(shmctl(creator.d_shmId, IPC_RMID, nullptr), 0);
    Capture errors(std::cerr);
    creator.release(family, d_name.name(), record);
    EXPECT_EQ(errors.text(), "[ERROR] Label::dtor: shmdt (" + d_name.name() + "): Invalid argument\n" +
                                 "[ERROR] Label::dtor: shmctl (" + d_name.name() + "): Invalid argument\n");
}

TEST_F(SharedSegmentTest, releaseTellsHowItWentWhenDebugging) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    Segment(true, false).release(family, "name", nullptr);
    EXPECT_EQ(output.take(), "[DEBUG] Label name deleted\n");
    Segment(false, true).release(family, "name", nullptr);
    EXPECT_EQ(output.take(), "[DEBUG] Label name deleted (no shared memory found)\n");

    Segment creator(true, true);
    void* const record = create(creator);
    Segment reader(false, true);
    reader.release(family, d_name.name(), reader.attach(family, d_name.name()));
    EXPECT_EQ(output.take(), "[DEBUG] Label " + d_name.name() + " deleted (shared memory still exists).\n");
    creator.release(family, d_name.name(), record);
    EXPECT_EQ(output.take(), "[DEBUG] Label " + d_name.name() + ", shared memory and mutex deleted\n");
}

} // namespace
} // namespace qzsignal
