// The lock in a record: retries, failures, death of the owner, and definers that start again. Other processes are
// threads or forked.
#include "qzsignal/shm/RecordLock.h"

#include "tests/process/Process.h"
#include "tests/process/Shared.h"
#include "tests/process/Steps.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
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

// Kinds of mutexes; records have `robust` ones where the platform allows.
constexpr int normal = PTHREAD_MUTEX_NORMAL;
constexpr int recursive = PTHREAD_MUTEX_RECURSIVE;
constexpr int errorCheck = PTHREAD_MUTEX_ERRORCHECK;
constexpr int robust = 0x100; // beside each of these

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

    void makeMutex(int kind) {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutexattr_settype(&attributes, kind & ~robust);
        if ((kind & robust) != 0)
            pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        ASSERT_EQ(pthread_mutex_init(d_mutex, &attributes), 0);
        pthread_mutexattr_destroy(&attributes);
    }

    // Thread that holds the robust mutex.
    pid_t ownerId() const {
        int lock = 0;
        std::memcpy(&lock, d_mutex, sizeof lock);
        return lock & FUTEX_TID_MASK;
    }

    // Length of the list of this thread's robust mutexes.
    static unsigned locksHeld() {
        robust_list_head* head = nullptr;
        std::size_t size = 0;
        unsigned length = 0;
        if (syscall(SYS_get_robust_list, 0, &head, &size) == 0)
            for (robust_list const* entry = head->list.next; entry != &head->list && length < 100; entry = entry->next)
                ++length;
        return length;
    }

    // A definer can use the mutex, and the death of the next owner is noticed.
    void expectRobustAfterTake() {
        {
            RecordResetLock lock;
            lock.take(*d_mutex);
            EXPECT_EQ(ownerId(), getpid());
        }
        EXPECT_TRUE(isFree());
        expectRobust();
    }
    void expectRobust() {
        {
            RecordResetLock lock;
            lock.take(*d_mutex);
        }
        pthread_mutex_t fresh;
        initRecordMutex(fresh);
        EXPECT_EQ(d_mutex->__data.__kind, fresh.__data.__kind);
        EXPECT_EQ(pthread_mutex_unlock(d_mutex), EPERM) << "only a robust mutex refuses";
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
    std::atomic<bool> locked{false};
    std::atomic<unsigned> lines{0};
    std::thread owner([&] {
        pthread_mutex_lock(d_mutex);
        locked = true;
        waitUntil([&] { return lines >= 2; });
        pthread_mutex_unlock(d_mutex);
    });
    while (!locked)
        std::this_thread::yield();
    std::string text;
    {
        Capture const output(std::cout, [&lines] { ++lines; });
        EXPECT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked);
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

TEST_F(RecordLockTest, definerTakesAFreeMutexAndHoldsIt) {
    for (int round = 0; round < 2; ++round) {
        {
            RecordResetLock lock;
            lock.take(*d_mutex);
            EXPECT_FALSE(isFree());
        }
        EXPECT_TRUE(isFree());
        ASSERT_EQ(lockRecord(*d_mutex, "Label", "name"), LockOutcome::Locked); // the second round finds it used
        unlockRecord(*d_mutex, "Label", "name");
    }
}

TEST_F(RecordLockTest, definerTakesAMutexWhoseOwnerDied) {
    if (!ownersDeathIsNoticed())
        GTEST_SKIP() << "robust mutexes do not work on this system";
    abandon();
    {
        RecordResetLock lock;
        lock.take(*d_mutex);
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

// Which an emulator may do.
TEST_F(RecordLockTest, definerMakesAMutexAgainIfTheDeathOfItsOwnerWasMissed) {
    pid_t const child = fork();
    if (child == 0)
        _exit(0);
    waitpid(child, nullptr, 0);
    std::memcpy(d_mutex, &child, sizeof child); // the first word says who holds it
    ASSERT_FALSE(isFree());
    {
        RecordResetLock lock;
        lock.take(*d_mutex);
        EXPECT_EQ(ownerId(), getpid());
    }
    EXPECT_TRUE(isFree());
}

// A single attempt is not enough, however long it takes to be made.
TEST_F(RecordLockTest, definerWaitsForAMoment) {
    bool waited = false;
    EXPECT_TRUE(waitUntil([&] {
        std::atomic<bool> locked{false};
        std::thread user([&] {
            pthread_mutex_lock(d_mutex);
            locked = true;
            sleepMicroseconds(3000);
            pthread_mutex_unlock(d_mutex);
        });
        while (!locked)
            std::this_thread::yield();
        double const begin = secondsNow();
        {
            RecordResetLock lock;
            lock.take(*d_mutex);
            waited = ownerId() == getpid() && secondsNow() - begin > 0.001;
        }
        user.join();
        return waited;
    }));
}

// Bytes and all: its holder's unlock is to find what its lock left.
TEST_F(RecordLockTest, definerLeavesWhatAnotherProcessKeeps) {
    for (int const kind : {normal, recursive, errorCheck, robust}) {
        SCOPED_TRACE(kind);
        makeMutex(kind);
        Shared<Steps> steps;
        Shared<std::array<int, 4>> results;
        Process holder([&] {
            int const first = pthread_mutex_trylock(d_mutex);
            steps->next();
            *results = {first, pthread_mutex_unlock(d_mutex), pthread_mutex_trylock(d_mutex),
                        pthread_mutex_unlock(d_mutex)};
        });
        ASSERT_TRUE(steps->reach(1));
        pthread_mutex_t const before = *d_mutex;
        EXPECT_TRUE(waitUntil([&] { // a busy machine may take its time now and then, but not every time
            Capture const output(std::cout);
            Capture const errors(std::cerr);
            double const begin = secondsNow();
            RecordResetLock lock;
            lock.take(*d_mutex);
            EXPECT_EQ(output.text() + errors.text(), "");
            return secondsNow() - begin < 0.5;
        }));
        EXPECT_EQ(std::memcmp(d_mutex, &before, sizeof before), 0);
        steps->d_asked = 2;
        ASSERT_TRUE(holder.finished());
        EXPECT_EQ(*results, (std::array<int, 4>{0, 0, 0, 0}));
        expectRobust();
    }
}

TEST_F(RecordLockTest, definerGivesItsOwnThreadsLockBackFirst) {
    for (int const kind : {normal, recursive, errorCheck, robust}) {
        SCOPED_TRACE(kind);
        makeMutex(kind);
        for (int round = 0; round < (kind == recursive ? 3 : 1); ++round)
            ASSERT_EQ(pthread_mutex_trylock(d_mutex), 0);
        {
            RecordResetLock lock;
            lock.take(*d_mutex);
            EXPECT_EQ(ownerId(), getpid());
        }
        EXPECT_TRUE(isFree());
        expectRobust();
    }
}

// The record is in memory twice then. On 32-bit targets, a mutex can only be unlocked at the address where it was
// locked.
TEST_F(RecordLockTest, definerGivesItsOwnThreadsLockBackWhereItWasTaken) {
    if (!ownersDeathIsNoticed())
        GTEST_SKIP() << "no lists of robust mutexes on this system";
    pthread_mutex_t others[2];
    for (pthread_mutex_t& other : others)
        initRecordMutex(other);
    auto* const again =
        static_cast<pthread_mutex_t*>(mremap(d_mutex, 0, sizeof *d_mutex, MREMAP_MAYMOVE)); // a second mapping
    ASSERT_NE(again, MAP_FAILED);
    ASSERT_NE(again, d_mutex);
    pthread_mutex_lock(&others[0]);
    pthread_mutex_lock(d_mutex);
    pthread_mutex_lock(&others[1]);
    {
        RecordResetLock lock;
        lock.take(*again);
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
    EXPECT_EQ(pthread_mutex_unlock(d_mutex), EPERM);
    for (pthread_mutex_t& other : others)
        EXPECT_EQ(pthread_mutex_unlock(&other), 0);
    EXPECT_EQ(locksHeld(), 0U);
    munmap(again, sizeof *again);
}

TEST_F(RecordLockTest, definerMakesAMutexOfAnotherKindAgain) {
    for (int const kind : {normal, recursive, errorCheck, robust | recursive, robust | errorCheck}) {
        SCOPED_TRACE(kind);
        makeMutex(kind);
        expectRobustAfterTake();
        EXPECT_EQ(locksHeld(), 0U);
        makeMutex(kind);
        abandon(); // its owner is dead
        expectRobustAfterTake();
        EXPECT_EQ(locksHeld(), 0U);
    }
}

TEST_F(RecordLockTest, definerMakesAMutexAgainThatCannotBeRecovered) {
    if (!ownersDeathIsNoticed())
        GTEST_SKIP() << "robust mutexes do not work on this system";
    for (int const kind : {robust, robust | errorCheck}) {
        makeMutex(kind);
        abandon();
        ASSERT_EQ(pthread_mutex_trylock(d_mutex), EOWNERDEAD);
        pthread_mutex_unlock(d_mutex);
        expectRobustAfterTake();
    }
}

TEST_F(RecordLockTest, definerMakesAMutexOfWhateverIsInItsPlace) {
    for (int const byte : {0, 0x60, 0xff}) {
        SCOPED_TRACE(byte);
        std::memset(d_mutex, byte, sizeof *d_mutex);
        expectRobustAfterTake();
    }
    for (std::size_t place = 0; place < sizeof *d_mutex; ++place)
        for (unsigned bit = 1; bit < 256; bit *= 2) {
            std::string bytes(sizeof *d_mutex, '\0');
            bytes[place] = static_cast<char>(bit);
            bytes.copy(reinterpret_cast<char*>(d_mutex), bytes.size());
            SCOPED_TRACE(testing::Message() << place << ", " << bit);
            expectRobustAfterTake();
        }
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
