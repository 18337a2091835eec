// Stores into a shared record that a process may be killed between: which of them were made, and which were not.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>

namespace qzsignal {

// What is on either side of it reaches the record in this order. That is all it takes for the owner's death: whoever
// takes the lock over sees everything that the owner did before it died.
inline void keepOrder() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

// Stores all 64 bits or, if the process is killed, none: in one instruction. The field is aligned to its size.
inline void storeWhole(std::uint64_t& field, std::uint64_t bits) {
#if defined(__powerpc__) && !defined(__powerpc64__) && !defined(_SOFT_FLOAT) && !defined(__NO_FPRS__)
    // Only floating-point numbers are stored so, and the compiler takes two integer stores for the same.
    double number;
    std::memcpy(&number, &bits, sizeof number);
    asm volatile("stfd%U0%X0 %1,%0" : "=m"(field) : "f"(number));
#else
    if constexpr (__atomic_always_lock_free(sizeof field, nullptr))
        __atomic_store_n(&field, bits, __ATOMIC_RELAXED);
    else
        field = bits; // a processor that cannot do it
#endif
}

} // namespace qzsignal
