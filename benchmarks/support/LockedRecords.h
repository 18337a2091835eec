// The yardstick of shared signals: what a program cannot do without that keeps each value under a lock of its own,
// where every process can see it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <vector>

namespace qzbench {

// A process-shared robust mutex and a number, at the beginning of a System V segment.
struct LockedRecord {
    pthread_mutex_t d_mutex;
    std::uint64_t d_value;

    // Trylock, store, unlock.
    void store(std::uint64_t value) {
        if (pthread_mutex_trylock(&d_mutex) != 0)
            return;
        d_value = value;
        pthread_mutex_unlock(&d_mutex);
    }

    // Trylock, load, unlock.
    std::uint64_t load() {
        std::uint64_t value = 0;
        if (pthread_mutex_trylock(&d_mutex) != 0)
            return value;
        value = d_value;
        pthread_mutex_unlock(&d_mutex);
        return value;
    }
};

// So many of them, each in a segment of its own. Ends the program if the machine has no room for them.
class LockedRecords {
public:
    explicit LockedRecords(std::size_t count);
    ~LockedRecords();
    LockedRecords(LockedRecords const&) = delete;
    LockedRecords& operator=(LockedRecords const&) = delete;

    LockedRecord& operator[](std::size_t i) const { return *d_records[i]; }
    std::size_t size() const { return d_records.size(); }

private:
    std::vector<LockedRecord*> d_records;
};

} // namespace qzbench
