// A process that keeps others waiting for the lock of a record, and notices that they wait.
#pragma once

#include "tests/process/Process.h"
#include "tests/process/Shared.h"
#include "tests/support/SharedName.h"

// Holds the lock of a signal in another process until an access has reported a second time that it waits.
template <typename Signal>
class LockHolder {
public:
    // `change` is done to the signal before the lock is given back.
    template <typename Change>
    LockHolder(SharedName const& name, Change change) : d_process([this, &name, change] { hold(name, change); }) {}
    explicit LockHolder(SharedName const& name) : LockHolder(name, [](Signal&) {}) {}

    // Waits for the lock to be held.
    bool locked() {
        return waitUntil([this] { return d_steps->d_locked == 1; });
    }

    // An access has printed a line since it has to wait.
    void noteRetry() { ++d_steps->d_retries; }
    unsigned retries() const { return d_steps->d_retries; }

    bool finished() { return d_process.finished(); }

private:
    struct Steps {
        SharedCounter d_locked;
        SharedCounter d_retries;
    };

    template <typename Change>
    void hold(SharedName const& name, Change change) {
        Signal signal(name.c_str());
        signal.lock();
        d_steps->d_locked = 1;
        waitUntil([this] { return d_steps->d_retries >= 2; });
        change(signal);
        signal.unlock();
    }

    Shared<Steps> d_steps;
    Process d_process;
};
