// Whether this machine tells the next owner of a robust mutex that the last one died.
#pragma once

#include "tests/process/Process.h"
#include "tests/process/Shared.h"

#include <cerrno>
#include <pthread.h>

// False under user-mode emulators, which do not pass the list of a thread's robust mutexes to the kernel: there a
// mutex whose owner died stays locked. Found out by trying.
inline bool robustMutexesWork() {
    static bool const work = [] {
        Shared<pthread_mutex_t> mutex;
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        pthread_mutex_init(&*mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
        Process owner([&] { pthread_mutex_lock(&*mutex); });
        if (!owner.finished() || pthread_mutex_trylock(&*mutex) != EOWNERDEAD)
            return false;
        // The list of what this thread holds must not lead into memory that is gone.
        pthread_mutex_consistent(&*mutex);
        pthread_mutex_unlock(&*mutex);
        return true;
    }();
    return work;
}

#define SKIP_WITHOUT_ROBUST_MUTEXES()                                                                                  \
    if (!robustMutexesWork())                                                                                          \
    GTEST_SKIP() << "robust mutexes do not work here (user-mode emulation?)"
