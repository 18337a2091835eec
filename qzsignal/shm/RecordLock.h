/// @file
/// The lock inside a shared record: how it is made, waited for, and taken over from a process that died.
///
/// Internal: `SharedRecord` needs it.
#pragma once

#include <pthread.h>
#include <string>

namespace qzsignal {

/// How an attempt to lock a record ended.
enum class LockOutcome {
    Locked,    ///< locked
    OwnerDied, ///< locked; a process died while it held the lock, so the record may be half written
    Busy,      ///< not locked: somebody else holds it
    Failed,    ///< not locked, reported; the caller carries on without
};

/// Makes a mutex that several processes may share, and robust where the platform allows: if a process dies while it
/// holds the mutex, the next to lock is told so instead of waiting forever.
void initRecordMutex(pthread_mutex_t& mutex);

/// False if this is no mutex: whatever others left in its place, the C library takes it for one of the kind that it
/// shows, and some kinds end the process on the first attempt to lock them.
bool canBeLocked(pthread_mutex_t const& mutex);

/// Tries for the lock once.
LockOutcome tryLockRecord(pthread_mutex_t& mutex, char const* label, std::string const& instance);

/// Tries for the lock until it is free; between attempts it says so on standard output and gives up the processor.
/// Deliberate: there is no limit and no sleep, and the line appears whatever the debug level. Never returns `Busy`.
/// The first attempt was made: `result` is what trylock returned.
LockOutcome lockRecordAfter(int result, pthread_mutex_t& mutex, char const* label, std::string const& instance);

/// Reports that unlocking gave an error, `result`. Nothing more: the access that ends here keeps its result.
void unlockFailed(int result, char const* label, std::string const& instance);

/// Holds the lock of a record while its creator fills it, if it can be had. Deliberate: a creator waits for nobody for
/// long. After a second it does without, and a process that keeps the lock cannot stop it.
class RecordResetLock {
public:
    RecordResetLock() = default;
    ~RecordResetLock();
    RecordResetLock(RecordResetLock const&) = delete;
    RecordResetLock& operator=(RecordResetLock const&) = delete;

    /// Takes the lock of `mutex`, found in a segment that outlived its creator, if `initRecordMutex` made it and nobody
    /// keeps it; otherwise returns false. A mutex that can be adopted must not be made anew: a reader may take it at
    /// any moment, and its unlock would then fail and leave the reader's list of robust mutexes broken.
    bool adopt(pthread_mutex_t& mutex);

    /// Makes the mutex anew, and takes it.
    void make(pthread_mutex_t& mutex);

private:
    int take(pthread_mutex_t& mutex);
    void release();

    pthread_mutex_t* d_mutex = nullptr; ///< null: not locked
};

/// Holds a signal's record from construction to destruction. What locking means (and whether there is anything to lock)
/// is the signal's own business: its `lock` and `unlock`.
template <typename Signal>
class RecordLock {
public:
    /// Takes the lock; `signal` has to outlive it.
    explicit RecordLock(Signal& signal) : d_signal(signal) { d_signal.lock(); }
    ~RecordLock() { d_signal.unlock(); }
    RecordLock(RecordLock const&) = delete;
    RecordLock& operator=(RecordLock const&) = delete;

private:
    Signal& d_signal;
};

} // namespace qzsignal
