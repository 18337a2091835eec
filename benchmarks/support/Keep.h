// Keeps the compiler from leaving out what a benchmark computes.
#pragma once

#include <benchmark/benchmark.h>

namespace qzbench {

// A number that was computed and is then forgotten costs nothing more, as it stays in its register. (DoNotOptimize
// moves it into a general one, which takes as long as the addition that made it.)
inline void keep(double number) {
#ifdef __SSE2__
    asm volatile("" : : "x"(number));
#else
    benchmark::DoNotOptimize(number);
#endif
}

// Shows nanoseconds for each of `count` things that one iteration does.
inline void perEach(benchmark::State& state, char const* what, std::size_t count) {
    state.counters[what] = benchmark::Counter(
        static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

} // namespace qzbench
