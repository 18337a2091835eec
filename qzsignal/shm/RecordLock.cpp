// Process-shared robust mutexes, polled.
#include "qzsignal/shm/RecordLock.h"

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <sched.h>

namespace qzsignal {

namespace {

// A reader holds a lock for well under a microsecond, but may lose the processor meanwhile, for as long as the machine
// is busy. A creator that gives up earlier breaks the lock under such a reader.
constexpr std::chrono::seconds longestTakeover(1);

// After a trylock: makes a mutex usable again that a dead owner left behind, and hands the result on.
int takenOver(int result, pthread_mutex_t& mutex) {
    if (result == EOWNERDEAD)
        pthread_mutex_consistent(&mutex);
    // Somebody took it over without a word and unlocked it, so that nobody can lock it any more. Nor may it be unlocked
    // at the end of this access: the C library leaves it half locked, and would bring the process down.
    if (result == ENOTRECOVERABLE)
        initRecordMutex(mutex);
    return result;
}

int tryLock(pthread_mutex_t& mutex) {
    return takenOver(pthread_mutex_trylock(&mutex), mutex);
}

bool taken(int result) {
    return result == 0 || result == EOWNERDEAD;
}

void reportFailure(char const* label, char const* operation, std::string const& instance, int error) {
    errorLine(label, "::", operation, " (", instance, "): ", std::strerror(error));
}

// Anything but success is reported.
LockOutcome outcomeOf(int result, char const* label, std::string const& instance) {
    if (result == 0)
        return LockOutcome::Locked;
    reportFailure(label, "lock", instance, result);
    return result == EOWNERDEAD ? LockOutcome::OwnerDied : LockOutcome::Failed;
}

// Only this kind tells of its owner's death.
bool hasKindOfRecordMutex([[maybe_unused]] pthread_mutex_t const& mutex) {
#ifdef __GLIBC__
    pthread_mutex_t fresh;
    initRecordMutex(fresh);
    return mutex.__data.__kind == fresh.__data.__kind; // which using it does not change
#else
    return true;
#endif
}

} // namespace

void initRecordMutex(pthread_mutex_t& mutex) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    if (pthread_mutex_init(&mutex, &attributes) != 0) {
        // A system without robust mutexes: sharing is what cannot be done without.
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_STALLED);
        pthread_mutex_init(&mutex, &attributes);
    }
    pthread_mutexattr_destroy(&attributes);
}

bool canBeLocked([[maybe_unused]] pthread_mutex_t const& mutex) {
#ifdef __GLIBC__
    // Its type, and whether it is robust and shared. What else a kind may tell, priorities and the elision of locks, is
    // of no use between processes; some processors do not even know the instructions.
    constexpr int known = 0x03 | 0x10 | 0x80;
    return (mutex.__data.__kind & ~known) == 0;
#else
    return true;
#endif
}

LockOutcome tryLockRecord(pthread_mutex_t& mutex, char const* label, std::string const& instance) {
    int const result = tryLock(mutex);
    return result == EBUSY ? LockOutcome::Busy : outcomeOf(result, label, instance);
}

LockOutcome lockRecordAfter(int result, pthread_mutex_t& mutex, char const* label, std::string const& instance) {
    while (result == EBUSY) {
        debugLine(label, "::lock (", instance, "): retrying");
        sched_yield();
        result = pthread_mutex_trylock(&mutex);
    }
    return outcomeOf(takenOver(result, mutex), label, instance);
}

void unlockFailed(int result, char const* label, std::string const& instance) {
    reportFailure(label, "unlock", instance, result);
}

RecordResetLock::~RecordResetLock() {
    release();
}

bool RecordResetLock::adopt(pthread_mutex_t& mutex) {
    // New segments are zeroed.
    auto const* const bytes = reinterpret_cast<unsigned char const*>(&mutex);
    bool const isNew = std::all_of(bytes, bytes + sizeof mutex, [](unsigned char byte) { return byte == 0; });
    if (isNew || !hasKindOfRecordMutex(mutex))
        return false;
    int const result = take(mutex);
    // Only a robust mutex tells of its owner's death, and only a robust mutex refuses to be unlocked by somebody who
    // does not hold it. Its bytes would not tell: a mutex that was in use does not look like a fresh one.
    if (result == EOWNERDEAD)
        return true;
    if (result != 0)
        return false;
    release();
    return pthread_mutex_unlock(&mutex) == EPERM && taken(take(mutex));
}

void RecordResetLock::make(pthread_mutex_t& mutex) {
    initRecordMutex(mutex);
    take(mutex);
}

int RecordResetLock::take(pthread_mutex_t& mutex) {
    auto const deadline = std::chrono::steady_clock::now() + longestTakeover;
    int result = tryLock(mutex);
    while (result == EBUSY && std::chrono::steady_clock::now() < deadline) {
        sched_yield();
        result = tryLock(mutex);
    }
    if (taken(result))
        d_mutex = &mutex;
    return result;
}

void RecordResetLock::release() {
    if (d_mutex != nullptr)
        pthread_mutex_unlock(d_mutex);
    d_mutex = nullptr;
}

} // namespace qzsignal
