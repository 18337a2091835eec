// Comparisons of numbers, and what is made of them, without a branch and without a way through integer registers.
#pragma once

#ifdef __SSE2_MATH__
#include <emmintrin.h>
#endif

namespace qzsignal {

#ifdef __SSE2_MATH__

// All bits set if it holds, none if not, in the lower half.
struct Condition {
    __m128d d_mask;
};

inline Condition operator&&(Condition a, Condition b) {
    return {_mm_and_pd(a.d_mask, b.d_mask)};
}
inline Condition operator||(Condition a, Condition b) {
    return {_mm_or_pd(a.d_mask, b.d_mask)};
}

// An operand: a double, but for its comparisons.
class Number {
public:
    Number(double value) : d_value(value) {}
    operator double() const { return d_value; }

    template <typename Other>
    friend Condition operator==(Number a, Other b) {
        return {_mm_cmpeq_sd(wide(a), wide(b))};
    }
    template <typename Other>
    friend Condition operator!=(Number a, Other b) {
        return {_mm_cmpneq_sd(wide(a), wide(b))};
    }
    template <typename Other>
    friend Condition operator<(Number a, Other b) {
        return {_mm_cmplt_sd(wide(a), wide(b))};
    }
    template <typename Other>
    friend Condition operator<=(Number a, Other b) {
        return {_mm_cmple_sd(wide(a), wide(b))};
    }
    template <typename Other>
    friend Condition operator>(Number a, Other b) {
        return {_mm_cmplt_sd(wide(b), wide(a))};
    }
    template <typename Other>
    friend Condition operator>=(Number a, Other b) {
        return {_mm_cmple_sd(wide(b), wide(a))};
    }

private:
    static __m128d wide(double value) { return _mm_set_sd(value); }

    double d_value;
};

// 1.0 or 0.0.
inline double truth(Condition condition) {
    return _mm_cvtsd_f64(_mm_and_pd(condition.d_mask, _mm_set_sd(1.0)));
}

#else

using Number = double;

// A conversion needs no branch, unlike a choice between the two numbers.
inline double truth(bool condition) {
    return static_cast<double>(condition);
}

#endif

} // namespace qzsignal
