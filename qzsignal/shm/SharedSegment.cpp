// All calls of the System V shared memory functions.
#include "qzsignal/shm/SharedSegment.h"

#include "qzsignal/shm/KeyFile.h"
#include "qzsignal/shm/RecordLock.h"
#include "qzsignal/signal/Diagnostics.h"

#include <cerrno>
#include <cstring>
#include <sys/shm.h>

namespace qzsignal {

namespace {

std::uint32_t& sizeWord(void* record) {
    return *static_cast<std::uint32_t*>(record);
}

pthread_mutex_t& recordMutex(void* record) {
    return *reinterpret_cast<pthread_mutex_t*>(static_cast<unsigned char*>(record) + recordMutexOffset);
}

bool initialised(void* record, RecordFamily const& family) {
    return __atomic_load_n(&sizeWord(record), __ATOMIC_ACQUIRE) == family.d_size;
}

// A segment that we may not even ask is taken as large enough: attaching then fails, and tells why.
bool largeEnough(int shmId, RecordFamily const& family) {
    shmid_ds status{};
    return shmctl(shmId, IPC_STAT, &status) == -1 || status.shm_segsz >= family.d_size;
}

void* attached(int shmId) {
    void* const address = shmat(shmId, nullptr, 0);
    return address != reinterpret_cast<void*>(-1) ? address : nullptr;
}

void reportFailure(RecordFamily const& family, char const* call, std::string const& instance) {
    errorLine(family.d_label, call, " (", instance, "): ", std::strerror(errno));
}

void warnWaiting(RecordFamily const& family, std::string const& instance, char const* what, std::string const& path) {
    warningLine(family.d_label, ": ", instance, ": Waiting for ", what, " (", path, ")");
}

} // namespace

void* SharedSegment::create(RecordFamily const& family, std::string const& instance, RecordResetLock& lock) {
    std::string const path = keyPath(instance);
    makeKeyFile(instance);
    d_key = keyOfInstance(instance);
    if (d_key == -1) {
        errorLine(family.d_label, ": ", instance, ": Missing File (", path, ")");
        return nullptr;
    }
    d_shmId = shmget(d_key, family.d_size, IPC_CREAT | family.d_permissions);
    if (d_shmId == -1) {
        reportFailure(family, "::ctor: shmget", instance);
        return nullptr;
    }
    void* const record = attached(d_shmId);
    if (record == nullptr) {
        reportFailure(family, "::ctor: shmat", instance);
        return nullptr;
    }
    lock.take(recordMutex(record));
    return record;
}

void* SharedSegment::attach(RecordFamily const& family, std::string const& instance) {
    std::string const path = keyPath(instance);
    d_key = keyOfInstance(instance);
    if (d_key == -1) {
        warnWaiting(family, instance, "key", path);
        return nullptr;
    }
    void* record = nullptr;
    d_shmId = shmget(d_key, 0, 0);
    if (d_shmId != -1 && largeEnough(d_shmId, family)) {
        record = attached(d_shmId);
        if (record == nullptr) {
            reportFailure(family, ": shmat", instance);
            d_shmId = -1;
            return nullptr;
        }
        if (initialised(record, family) && canBeLocked(recordMutex(record)))
            return record;
        // Somebody else's record, or one whose creator is not done: none that we may read.
        shmdt(record);
    }
    d_shmId = -1;
    warnWaiting(family, instance, "shared memory region id", path);
    return nullptr;
}

void SharedSegment::release(RecordFamily const& family, std::string const& instance, bool shared, void* record) {
    char const* end = " deleted";
    if (shared && d_shmId < 0) {
        end = " deleted (no shared memory found)";
    } else if (shared) {
        if (record != nullptr && shmdt(record) == -1)
            reportFailure(family, "::dtor: shmdt", instance);
        if (d_owner && shmctl(d_shmId, IPC_RMID, nullptr) == -1)
            reportFailure(family, "::dtor: shmctl", instance);
        end = d_owner ? ", shared memory and mutex deleted" : " deleted (shared memory still exists).";
    }
    if (debugging())
        debugLine(family.d_label, " ", instance, end);
}

void SharedSegment::withdrawRecord(std::uint32_t& size) {
    __atomic_store_n(&size, 0, __ATOMIC_RELEASE);
#ifndef __SANITIZE_THREAD__ // which knows no fences
    // What is done to the record from here on must not overtake the store.
    __atomic_thread_fence(__ATOMIC_SEQ_CST);
#endif
}

void SharedSegment::publishRecord(std::uint32_t& size, RecordFamily const& family) {
    __atomic_store_n(&size, static_cast<std::uint32_t>(family.d_size), __ATOMIC_RELEASE);
}

} // namespace qzsignal
