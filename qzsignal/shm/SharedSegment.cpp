// All calls of the System V shared memory functions.
#include "qzsignal/shm/SharedSegment.h"

#include "qzsignal/shm/KeyFile.h"
#include "qzsignal/shm/RecordLock.h"
#include "qzsignal/shm/SharedRecord.h"
#include "qzsignal/signal/Diagnostics.h"

#include <cerrno>
#include <cstring>
#include <sys/shm.h>

namespace qzsignal {

namespace {

pthread_mutex_t& recordMutex(void* record) {
    return *reinterpret_cast<pthread_mutex_t*>(static_cast<unsigned char*>(record) + recordMutexOffset);
}

bool initialised(void const* record, RecordFamily const& family) {
    return __atomic_load_n(static_cast<std::uint32_t const*>(record), __ATOMIC_ACQUIRE) == family.d_size;
}

// A segment that we may not even ask is taken as large enough: attaching then fails, and tells why.
bool largeEnough(int shmId, RecordFamily const& family) {
    shmid_ds status{};
    return shmctl(shmId, IPC_STAT, &status) == -1 || status.shm_segsz >= family.d_size;
}

void* attached(int shmId, int flags = 0) {
    void* const address = shmat(shmId, nullptr, flags);
    return address != reinterpret_cast<void*>(-1) ? address : nullptr;
}

void reportFailure(RecordFamily const& family, char const* call, std::string const& instance) {
    errorLine(family.d_label, call, " (", instance, "): ", std::strerror(errno));
}

void warnWaiting(RecordFamily const& family, std::string const& instance, char const* what, std::string const& path) {
    warningLine(family.d_label, ": ", instance, ": Waiting for ", what, " (", path, ")");
}

} // namespace

CreatedSegment createSegment(RecordFamily const& family, std::string const& instance, key_t& key, int& shmId,
                             RecordResetLock& lock) {
    std::string const path = keyPath(instance);
    makeKeyFile(instance);
    key = keyOfInstance(instance);
    if (key == -1) {
        errorLine(family.d_label, ": ", instance, ": Missing File (", path, ")");
        return {};
    }
    int const id = shmget(key, family.d_size, IPC_CREAT | family.d_permissions);
    if (id == -1) {
        reportFailure(family, "::ctor: shmget", instance);
        return {};
    }
    shmId = id;
    void* const record = attached(shmId);
    if (record == nullptr) {
        reportFailure(family, "::ctor: shmat", instance);
        return {true, nullptr};
    }
    lock.take(recordMutex(record));
    return {true, record};
}

void* attachSegment(RecordFamily const& family, std::string const& instance, key_t& key, int& shmId, Waiting waiting) {
    bool const reported = waiting == Waiting::Reported;
    std::string const path = keyPath(instance);
    shmId = -1;
    key = keyOfInstance(instance);
    if (key == -1) {
        if (reported)
            warnWaiting(family, instance, "key", path);
        return nullptr;
    }
    int const id = shmget(key, 0, 0);
    if (id != -1 && largeEnough(id, family)) {
        void* const record = attached(id);
        if (record == nullptr) {
            if (reported)
                reportFailure(family, ": shmat", instance);
            return nullptr;
        }
        if (initialised(record, family) && canBeLocked(recordMutex(record))) {
            shmId = id;
            return record;
        }
        // Another program's record, or one whose creator is not done: none that we may read.
        shmdt(record);
    }
    if (reported)
        warnWaiting(family, instance, "shared memory region id", path);
    return nullptr;
}

void* attachReadOnly(RecordFamily const& family, std::string const& instance) {
    key_t const key = keyOfInstance(instance);
    // Asking for leave to write tells whether there is one: a record that may be written has a lock to be taken.
    int const id = key != -1 && shmget(key, 0, 0600) == -1 && errno == EACCES ? shmget(key, 0, 0) : -1;
    if (id == -1 || !largeEnough(id, family))
        return nullptr;
    void* const record = attached(id, SHM_RDONLY);
    if (record == nullptr || initialised(record, family))
        return record;
    shmdt(record);
    return nullptr;
}

void* attachKnown(RecordFamily const& family, int shmId, std::size_t bytes, bool& isReadOnly) {
    if (bytes < family.d_size)
        return nullptr;
    void* record = attached(shmId);
    isReadOnly = record == nullptr && errno == EACCES;
    if (isReadOnly)
        record = attached(shmId, SHM_RDONLY);
    if (record == nullptr || (initialised(record, family) && (isReadOnly || canBeLocked(recordMutex(record)))))
        return record;
    shmdt(record);
    return nullptr;
}

void detachSegment(RecordFamily const& family, std::string const& instance, void* record) {
    if (shmdt(record) == -1)
        reportFailure(family, "::dtor: shmdt", instance);
}

void releaseSegment(RecordFamily const& family, std::string const& instance, bool shared, bool owner, int shmId,
                    void* record) {
    char const* end = " deleted";
    if (shared && shmId < 0) {
        end = " deleted (no shared memory found)";
    } else if (shared) {
        detachSegment(family, instance, record);
        if (owner && shmctl(shmId, IPC_RMID, nullptr) == -1)
            reportFailure(family, "::dtor: shmctl", instance);
        end = owner ? ", shared memory and mutex deleted" : " deleted (shared memory still exists).";
    }
    if (debugging())
        debugLine(family.d_label, " ", instance, end);
}

void withdrawRecord(std::uint32_t& size) {
    __atomic_store_n(&size, 0, __ATOMIC_RELEASE);
#ifndef __SANITIZE_THREAD__ // which knows no fences
    // What is done to the record from here on must not overtake the store.
    __atomic_thread_fence(__ATOMIC_SEQ_CST);
#endif
}

void publishRecord(std::uint32_t& size, RecordFamily const& family) {
    __atomic_store_n(&size, static_cast<std::uint32_t>(family.d_size), __ATOMIC_RELEASE);
}

} // namespace qzsignal
