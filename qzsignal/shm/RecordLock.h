/// @file
/// The lock in a shared record: how it is made, waited for, and recovered from a process that died.
#pragma once

#include <pthread.h>
#include <string>

namespace qzsignal {

/// How an attempt to lock a record ended.
enum class LockOutcome {
    Locked,    ///< locked
    OwnerDied, ///< locked; a process died while it held the lock, so the record may be half written
    Busy,      ///< not locked: another process holds it
    Failed,    ///< not locked, reported; the caller carries on without
};

/// Makes a mutex that processes may share, and robust where the platform allows: if a process dies while it holds the
/// mutex, the next attempt to lock it reports that instead of waiting forever.
void initRecordMutex(pthread_mutex_t& mutex);

/// False if these bytes are no mutex, or one of a kind that is of no use here. The C library believes whatever kind
/// they show, and some kinds end the process on the first attempt to lock them.
bool canBeLocked(pthread_mutex_t const& mutex);

/// Tries to lock once. Anything but success and `Busy` is reported.
LockOutcome tryLockRecord(pthread_mutex_t& mutex, char const* label, std::string const& instance);

/// Tries to lock until the lock is free; before each further attempt, prints a line to standard output and yields the
/// processor. Deliberate: there is no limit and no sleep, and the line appears whatever the debug level. Never returns
/// `Busy`. The caller has made the first attempt: `result` is what trylock returned.
LockOutcome lockRecordAfter(int result, pthread_mutex_t& mutex, char const* label, std::string const& instance);

/// Reports that unlocking failed with the error `result`. The access that ends here keeps its own result.
void unlockFailed(int result, char const* label, std::string const& instance);

/// Holds the lock of a record while its definer fills it, if the lock is free within 10 ms. Deliberate: a definer that
/// starts again waits for no process, and fills the record without the lock otherwise.
class RecordResetLock {
public:
    RecordResetLock() = default;
    ~RecordResetLock();
    RecordResetLock(RecordResetLock const&) = delete;
    RecordResetLock& operator=(RecordResetLock const&) = delete;

    /// Takes the lock of `mutex` in a new or existing segment, silently; call it once. The thread's own lock is given
    /// back first. Makes the mutex again if it is zero, not of the kind that `initRecordMutex` makes, or not
    /// recoverable, or if its holder no longer exists; but never while another process holds it, whose unlock would
    /// then fail and leave the mutex in that process's list of robust mutexes.
    void take(pthread_mutex_t& mutex);

private:
    void make(pthread_mutex_t& mutex);
    static int poll(pthread_mutex_t& mutex); ///< result of the last attempt to lock it

    pthread_mutex_t* d_mutex = nullptr; ///< null: not locked
};

/// Locks a signal's record from construction to destruction, by the signal's own `lock` and `unlock`.
template <typename Signal>
class RecordLock {
public:
    /// Takes the lock; `signal` must outlive this object.
    explicit RecordLock(Signal& signal) : d_signal(signal) { d_signal.lock(); }
    ~RecordLock() { d_signal.unlock(); }
    RecordLock(RecordLock const&) = delete;
    RecordLock& operator=(RecordLock const&) = delete;

private:
    Signal& d_signal;
};

} // namespace qzsignal
