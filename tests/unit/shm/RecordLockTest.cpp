// The lock inside a record: retry, failure, death of the owner, takeover. Other processes are played by threads and by
// forked children.
#include "qzsignal/shm/RecordLock.h"

#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace qzsignal {
namespace {

// Locks and unlocks as a record does, which makes the first attempt by itself.
LockOutcome lockRecord(pthread_mutex_t& mutex, char const* label, std::string const& instance) {
    int const result = pthread_mutex_trylock(&mutex);
    return result == 0 ? LockOutcome::Locked : lockRecordAfter(result, mutex, label, instance);
}

void unlockRecord(pthread_mutex_t& mutex, char const* label, std::string const& instance) {
    int const result = pthread_mutex_unlock(&mutex);
    if (result != 0)
        unlockFailed(result, label, instance);
}

class RecordLockTest : public testing::Test {
protected:
    RecordLockTest() {
        void* const memory =
            mmap(nullptr, sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        d_mutex = static_cast<pthread_mutex_t*>(memory);
        initRecordMutex(*d_mutex);
    }
    ~RecordLockTest() override { munmap(d_mutex, sizeof *d_mutex); }

    // Lets a child lock the mutex and die.
    void abandon() {
        pid_t const child = fork();
        if (child == 0) {
            pthread_mutex_lock(d_mutex);
            _exit(0);
        }
        waitpid(child, nullptr, 0);
    }

    bool isFree() {
        int const result = pthread_mutex_trylock(d_mutex);
        if (result == 0)
            pthread_mutex_unlock(d_mutex);
        return result == 0;
    }

    // Whether this system notices that the owner of a robust mutex has died; emulators do not.
    bool ownersDeathIsNoticed() {
        abandon();
        if (pthread_mutex_trylock(d_mutex) != EOWNERDEAD)
            return false;
        pthread_mutex_consistent(d_mutex);
        pthread_mutex_unlock(d_mutex);
        return true;
    }

    pthread_mutex_t* d_mutex;
};

TEST_F(RecordLockTest, locksAndUnlocksSilently) {
    Capture const output(std::cout);
    Capture const errors(std::cerr);
    EXPECT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked);
    EXPECT_FALSE(isFree());
    unlockRecord(*d_mutex, "Label", "name");
    EXPECT_TRUE(isFree());
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_F(RecordLockTest, singleAttemptTellsOfABusyLockSilently) {
    Capture const output(std::cout);
    Capture const errors(std::cerr);
    ASSERT_EQ(tryLockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked);
    EXPECT_EQ(tryLockRecord(*d_mutex, "Label", "name"), LockOutcome::Busy);
    unlockRecord(*d_mutex, "Label", "name");
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_F(RecordLockTest, excludesOtherProcesses) {
    ASSERT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked);
    pid_t const child = fork();
    if (child == 0)
        _exit(pthread_mutex_trylock(d_mutex) == EBUSY ? 0 : 1);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    unlockRecord(*d_mutex, "Label", "name");
}

TEST_F(RecordLockTest, waitsAndSaysSoOnEveryRetry) {
    std::atomic<bool> locked{false}, release{false};
    std::thread owner([&] {
        pthread_mutex_lock(d_mutex);
        locked = true;
        while (!release)
            std::this_thread::yield();
        pthread_mutex_unlock(d_mutex);
    });
    while (!locked)
        std::this_thread::yield();
    std::string text;
    {
        Capture const output(std::cout);
        std::thread releaser([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            release = true;
        });
        EXPECT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked);
        releaser.join();
        text = output.text();
    }
    owner.join();
    unlockRecord(*d_mutex, "Label", "name");
    std::string const line = "[DEBUG] Label::lock (name): retrying\n";
    EXPECT_EQ(text.substr(0, 2 * line.size()), line + line);
    EXPECT_EQ(text.size() % line.size(), 0U) << "nothing else was written";
}

TEST_F(RecordLockTest, ownersDeathIsReportedOnceAndTheLockWorksOn) {
    if (!ownersDeathIsNoticed())
        GTEST_SKIP() << "robust mutexes do not work on this system";
    abandon();
    Capture errors(std::cerr);
    EXPECT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::OwnerDied);
    EXPECT_EQ(errors.take(), "[ERROR] Label::lock (name): " + std::string(std::strerror(EOWNERDEAD)) + "\n");
    unlockRecord(*d_mutex, "Label", "name");
    EXPECT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked);
    unlockRecord(*d_mutex, "Label", "name");
    EXPECT_EQ(errors.text(), "");
}

TEST_F(RecordLockTest, unusableMutexIsReportedAndNotLocked) {
    std::memset(d_mutex, 0xff, sizeof *d_mutex);
    Capture errors(std::cerr);
    EXPECT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Failed);
    EXPECT_EQ(errors.take(), "[ERROR] Label::lock (name): Invalid argument\n");
}

TEST_F(RecordLockTest, mutexThatWasUnlockedInDisorderIsReportedOnceAndMadeAnew) {
    if (!ownersDeathIsNoticed())
        GTEST_SKIP() << "robust mutexes do not work on this system";
    abandon();
    ASSERT_EQ(pthread_mutex_trylock(d_mutex), EOWNERDEAD);
    pthread_mutex_unlock(d_mutex);
    Capture errors(std::cerr);
    EXPECT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Failed);
    EXPECT_EQ(errors.take(), "[ERROR] Label::lock (name): " + std::string(std::strerror(ENOTRECOVERABLE)) + "\n");
    unlockRecord(*d_mutex, "Label", "name"); // as accesses do that go on without the lock
    EXPECT_EQ(errors.take(), "[ERROR] Label::unlock (name): Operation not permitted\n");
    EXPECT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked);
    unlockRecord(*d_mutex, "Label", "name");
    EXPECT_EQ(errors.text(), "");
}

TEST_F(RecordLockTest, failingUnlockIsReported) {
    Capture errors(std::cerr);
    unlockRecord(*d_mutex, "Label", "name");
    EXPECT_EQ(errors.text(), "[ERROR] Label::unlock (name): Operation not permitted\n");
}

TEST_F(RecordLockTest, adoptsAFreeMutexAndHoldsIt) {
    for (int round = 0; round < 2; ++round) {
        {
            RecordResetLock lock;
            EXPECT_TRUE(lock.adopt(*d_mutex));
            EXPECT_FALSE(isFree());
        }
        EXPECT_TRUE(isFree());
        ASSERT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked); // the second round finds it used
        unlockRecord(*d_mutex, "Label", "name");
    }
}

TEST_F(RecordLockTest, adoptsAMutexWhoseOwnerDied) {
    if (!ownersDeathIsNoticed())
        GTEST_SKIP() << "robust mutexes do not work on this system";
    abandon();
    {
        RecordResetLock lock;
        EXPECT_TRUE(lock.adopt(*d_mutex));
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

TEST_F(RecordLockTest, adoptsAMutexThatIsInUseForAShortTime) {
    std::atomic<bool> locked{false};
    std::thread user([&] {
        pthread_mutex_lock(d_mutex);
        locked = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        pthread_mutex_unlock(d_mutex);
    });
    while (!locked)
        std::this_thread::yield();
    RecordResetLock lock;
    EXPECT_TRUE(lock.adopt(*d_mutex));
    user.join();
}

TEST_F(RecordLockTest, doesNotAdoptWhatIsKept) {
    Capture const output(std::cout);
    pthread_mutex_lock(d_mutex);
    {
        RecordResetLock lock;
        EXPECT_FALSE(lock.adopt(*d_mutex));
    }
    EXPECT_FALSE(isFree()) << "what it did not lock it does not unlock";
    pthread_mutex_unlock(d_mutex);
    EXPECT_EQ(output.text(), "");
}

TEST_F(RecordLockTest, doesNotAdoptAMutexOfAnotherMake) {
    RecordResetLock lock;
    pthread_mutex_t zero{};
    EXPECT_FALSE(lock.adopt(zero)) << "never made";

    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutex_t plain;
    pthread_mutex_init(&plain, &attributes);
    pthread_mutexattr_destroy(&attributes);
    EXPECT_FALSE(lock.adopt(plain)) << "not robust";

    std::memset(d_mutex, 0xff, sizeof *d_mutex);
    EXPECT_FALSE(lock.adopt(*d_mutex)) << "garbage";
}

// Whatever it is, nobody holds it: the first word says who does, and trying is only to be refused.
TEST_F(RecordLockTest, doesNotAdoptWhatIsNoMutex) {
    unsigned char bytes[sizeof *d_mutex] = {};
    for (std::size_t place = sizeof(int); place < sizeof bytes; ++place)
        for (unsigned bit = 1; bit < 256; bit *= 2) {
            bytes[place] = static_cast<unsigned char>(bit);
            std::memcpy(d_mutex, bytes, sizeof bytes);
            RecordResetLock lock;
            EXPECT_FALSE(lock.adopt(*d_mutex)) << place << ", " << bit;
            bytes[place] = 0;
        }
}

TEST_F(RecordLockTest, madeMutexIsHeldUntilTheEnd) {
    std::memset(d_mutex, 0xff, sizeof *d_mutex);
    {
        RecordResetLock lock;
        lock.make(*d_mutex);
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

TEST_F(RecordLockTest, guardLocksForItsLifetime) {
    struct Lockable {
        void lock() { ++d_locked; }
        void unlock() { --d_locked; }
        int d_locked = 0;
    } signal;
    {
        RecordLock<Lockable> const guard(signal);
        EXPECT_EQ(signal.d_locked, 1);
    }
    EXPECT_EQ(signal.d_locked, 0);
}

} // namespace
} // namespace qzsignal
