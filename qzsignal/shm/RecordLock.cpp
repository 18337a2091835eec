// Process-shared robust mutexes, polled.
#include "qzsignal/shm/RecordLock.h"

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace qzsignal {

namespace {

// An access holds the lock for well under a microsecond, so a process that keeps it for longer was preempted or
// stopped, for an unknown time.
constexpr std::chrono::milliseconds longestTakeover(10);

// After a trylock: makes a mutex usable again that a dead owner left, and returns the result.
int recovered(int result, pthread_mutex_t& mutex) {
    if (result == EOWNERDEAD)
        pthread_mutex_consistent(&mutex);
    // A process recovered it without marking it consistent, so that no process can lock it any more. Nor may it be
    // unlocked at the end of this access: the C library leaves it half locked, and would crash the process.
    if (result == ENOTRECOVERABLE)
        initRecordMutex(mutex);
    return result;
}

int tryLock(pthread_mutex_t& mutex) {
    return recovered(pthread_mutex_trylock(&mutex), mutex);
}

bool isLocked(int result) {
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

bool isZero(pthread_mutex_t const& mutex) {
    auto const* const bytes = reinterpret_cast<unsigned char const*>(&mutex);
    return std::all_of(bytes, bytes + sizeof mutex, [](unsigned char byte) { return byte == 0; });
}

#ifdef __GLIBC__

// Bits of the C library's `__kind`.
constexpr int typeBits = 0x03;
constexpr int robustBit = 0x10;
constexpr int sharedBit = 0x80;
constexpr int normalBit = 0x200; // of no effect; set when a program asks for a normal mutex in so many words

// Using a mutex does not change its kind.
bool hasKindOfRecordMutex(pthread_mutex_t const& mutex) {
    pthread_mutex_t fresh;
    initRecordMutex(fresh);
    return mutex.__data.__kind == fresh.__data.__kind;
}

// Thread that holds the mutex; 0: none.
pid_t ownerOf(pthread_mutex_t const& mutex) {
    int const lock = __atomic_load_n(&mutex.__data.__lock, __ATOMIC_RELAXED);
    if ((mutex.__data.__kind & robustBit) != 0)
        return lock & FUTEX_TID_MASK;
    return lock != 0 ? __atomic_load_n(&mutex.__data.__owner, __ATOMIC_RELAXED) : 0;
}

bool isHeldByThisThread(pthread_mutex_t const& mutex) {
    pid_t const owner = ownerOf(mutex);
    return owner != 0 && owner == static_cast<pid_t>(syscall(SYS_gettid));
}

// The address at which this thread locked the robust mutex, which may be mapped elsewhere as well; null if it did not.
// The list of what a thread holds contains that address, and on 32-bit targets, unlocking the mutex at another address
// never ends. Mutexes in one list differ in what comes next, so one with the same neighbours is the same.
pthread_mutex_t* heldAt(pthread_mutex_t const& mutex) {
    static_assert(offsetof(pthread_mutex_t, __data.__lock) == 0, "the list leads there");
    robust_list_head* head = nullptr;
    std::size_t size = 0;
    if (syscall(SYS_get_robust_list, 0, &head, &size) != 0 || head == nullptr)
        return nullptr;
    robust_list const* entry = head->list.next;
    for (unsigned length = 0; entry != &head->list && length < ROBUST_LIST_LIMIT; ++length) {
        constexpr std::uintptr_t flags = 1;
        auto const address = reinterpret_cast<std::uintptr_t>(entry) & ~flags;
        auto* const held =
            reinterpret_cast<pthread_mutex_t*>(address + static_cast<std::uintptr_t>(head->futex_offset));
        if (ownerOf(*held) == ownerOf(mutex) &&
            std::memcmp(&held->__data.__list, &mutex.__data.__list, sizeof mutex.__data.__list) == 0)
            return held;
        entry = reinterpret_cast<robust_list const*>(address)->next;
    }
    return nullptr;
}

// Unlocks the mutex if this thread holds it, and can give it back.
void giveBack(pthread_mutex_t const& mutex) {
    while (isHeldByThisThread(mutex)) { // more than once, if its kind allows
        pthread_mutex_t* const held = heldAt(mutex);
        if (held == nullptr || pthread_mutex_unlock(held) != 0)
            return;
    }
}

// Of a mutex that cannot be locked. A robust mutex shows the death of its owner by itself, unless its process was
// emulated or its memory was written over. What this thread still holds is in no list that it could damage.
bool isHeldByLiveProcess(pthread_mutex_t const& mutex) {
    pid_t const owner = ownerOf(mutex);
    return owner > 0 && !isHeldByThisThread(mutex) && (kill(owner, 0) == 0 || errno != ESRCH);
}

#else

// Other C libraries keep these to themselves.
bool hasKindOfRecordMutex(pthread_mutex_t const&) {
    return true;
}

void giveBack(pthread_mutex_t const&) {}

bool isHeldByLiveProcess(pthread_mutex_t const&) {
    return true;
}

#endif

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
    // Other bits, such as priorities and the elision of locks, are of no use between processes; some processors do not
    // even know the instructions.
    return (mutex.__data.__kind & ~(typeBits | robustBit | sharedBit | normalBit)) == 0;
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
    return outcomeOf(recovered(result, mutex), label, instance);
}

void unlockFailed(int result, char const* label, std::string const& instance) {
    reportFailure(label, "unlock", instance, result);
}

RecordResetLock::~RecordResetLock() {
    if (d_mutex != nullptr)
        pthread_mutex_unlock(d_mutex);
}

void RecordResetLock::take(pthread_mutex_t& mutex) {
    // New segments are zeroed. What cannot be locked is not held either: no process attaches to it.
    if (isZero(mutex) || !canBeLocked(mutex))
        return make(mutex);
    giveBack(mutex);
    int const result = poll(mutex);
    if (result == EBUSY && isHeldByLiveProcess(mutex))
        return;
    if (isLocked(result) && hasKindOfRecordMutex(mutex)) {
        d_mutex = &mutex;
        return;
    }
    // Robust mutexes that a thread holds are in its list, and must not be there when they are made again.
    giveBack(mutex);
    make(mutex);
}

void RecordResetLock::make(pthread_mutex_t& mutex) {
    initRecordMutex(mutex);
    if (isLocked(poll(mutex)))
        d_mutex = &mutex;
}

int RecordResetLock::poll(pthread_mutex_t& mutex) {
    auto const deadline = std::chrono::steady_clock::now() + longestTakeover;
    int result = tryLock(mutex);
    while ((result == EBUSY || result == ENOTRECOVERABLE) && std::chrono::steady_clock::now() < deadline) {
        sched_yield();
        result = tryLock(mutex);
    }
    return result;
}

} // namespace qzsignal
