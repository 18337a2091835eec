// Segments and mutexes.
#include "benchmarks/support/LockedRecords.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace qzbench {

LockedRecords::LockedRecords(std::size_t count) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    for (std::size_t i = 0; i < count; ++i) {
        int const segment = shmget(IPC_PRIVATE, sizeof(LockedRecord), IPC_CREAT | 0600);
        void* const address = segment != -1 ? shmat(segment, nullptr, 0) : nullptr;
        if (segment != -1)
            shmctl(segment, IPC_RMID, nullptr); // it goes when it is detached
        if (address == nullptr || address == reinterpret_cast<void*>(-1)) {
            std::cerr << "qzsignal_benchmarks: segment " << i << ": " << std::strerror(errno) << std::endl;
            std::exit(71);
        }
        auto* const record = static_cast<LockedRecord*>(address);
        pthread_mutex_init(&record->d_mutex, &attributes);
        d_records.push_back(record);
    }
    pthread_mutexattr_destroy(&attributes);
}

LockedRecords::~LockedRecords() {
    for (LockedRecord* const record : d_records)
        shmdt(record);
}

} // namespace qzbench
