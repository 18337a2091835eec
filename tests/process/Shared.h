// Memory that a test shares with the processes it forks.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <type_traits>

// One `State`, value-initialised, in memory that all processes forked later see. Counters that one process changes
// while another looks are `std::atomic` of 32 bits, which no target needs a lock for; everything else is looked at only
// when the process that wrote it is done or says so.
template <typename State>
class Shared {
    static_assert(std::is_trivially_destructible_v<State>, "nobody destroys it");

public:
    Shared() {
        void* const memory = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::runtime_error("no shared memory");
        d_state = new (memory) State{};
    }
    ~Shared() { munmap(d_state, sizeof(State)); }
    Shared(Shared const&) = delete;
    Shared& operator=(Shared const&) = delete;

    State* operator->() const { return d_state; }
    State& operator*() const { return *d_state; }

private:
    State* d_state;
};

using SharedCounter = std::atomic<std::uint32_t>;
