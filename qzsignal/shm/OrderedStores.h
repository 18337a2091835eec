// Stores into a shared record that a process may be killed between, and loads of it without its lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>

namespace qzsignal {

// The stores on either side of it reach the record in this order, for the process that takes the lock over from a dead
// owner as well as for one that looks at the record without the lock.
inline void keepOrder() {
#ifdef __SANITIZE_THREAD__ // which does not know fences
    std::atomic_signal_fence(std::memory_order_seq_cst);
#else
    std::atomic_thread_fence(std::memory_order_acq_rel);
#endif
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

// Loads what one such store left, never halves of two.
inline std::uint64_t loadWhole(std::uint64_t const& field) {
#if defined(__powerpc__) && !defined(__powerpc64__) && !defined(_SOFT_FLOAT) && !defined(__NO_FPRS__)
    double number;
    asm volatile("lfd%U1%X1 %0,%1" : "=f"(number) : "m"(field));
    std::uint64_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
#else
    if constexpr (__atomic_always_lock_free(sizeof field, nullptr))
        return __atomic_load_n(&field, __ATOMIC_RELAXED);
    else
        return field; // a processor that cannot do it
#endif
}

} // namespace qzsignal
