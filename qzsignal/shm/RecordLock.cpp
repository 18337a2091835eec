// Process-shared robust mutexes, polled.
#include "qzsignal/shm/RecordLock.h"

#include "qzsignal/signal/Diagnostics.h"

#include <cerrno>
#include <cstring>
#include <sched.h>

namespace qzsignal {

namespace {

// A reader holds a lock for well under a microsecond, or for a time slice if it is preempted meanwhile. This many
// attempts, each of which gives up the processor, outlast that by far.
constexpr int boundedAttempts = 10000;

// trylock that takes over from a dead owner: makes the mutex usable again, and says that it did.
int tryLock(pthread_mutex_t& mutex) {
    int const result = pthread_mutex_trylock(&mutex);
    if (result == EOWNERDEAD)
        pthread_mutex_consistent(&mutex);
    return result;
}

bool taken(int result) {
    return result == 0 || result == EOWNERDEAD;
}

void reportFailure(char const* label, char const* operation, std::string const& instance, int error) {
    errorLine(label, "::", operation, " (", instance, "): ", std::strerror(error));
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

bool adoptRecordMutex(pthread_mutex_t& mutex) {
    {
        RecordResetLock const guard(mutex);
        if (!guard.locked())
            return false;
    }
    // Only a robust mutex refuses to be unlocked by somebody who does not hold it. Its bytes would not tell: a mutex
    // that was in use does not look like a fresh one.
    return pthread_mutex_unlock(&mutex) == EPERM;
}

LockOutcome lockRecord(pthread_mutex_t& mutex, char const* label, std::string const& instance) {
    int result = tryLock(mutex);
    while (result == EBUSY) {
        debugLine(label, "::lock (", instance, "): retrying");
        sched_yield();
        result = tryLock(mutex);
    }
    if (result == 0)
        return LockOutcome::Locked;
    reportFailure(label, "lock", instance, result);
    return result == EOWNERDEAD ? LockOutcome::OwnerDied : LockOutcome::Failed;
}

void unlockRecord(pthread_mutex_t& mutex, char const* label, std::string const& instance) {
    int const result = pthread_mutex_unlock(&mutex);
    if (result != 0)
        reportFailure(label, "unlock", instance, result);
}

RecordResetLock::RecordResetLock(pthread_mutex_t& mutex) : d_mutex(mutex) {
    for (int attempt = 0; attempt < boundedAttempts && !d_locked; ++attempt) {
        int const result = tryLock(d_mutex);
        d_locked = taken(result);
        if (result != EBUSY)
            return;
        sched_yield();
    }
}

RecordResetLock::~RecordResetLock() {
    if (d_locked)
        pthread_mutex_unlock(&d_mutex);
}

} // namespace qzsignal
