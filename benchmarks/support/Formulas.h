// The formulas that evaluation is measured with: as text, and as C++ that computes the same.
#pragma once

#include <array>
#include <cstddef>

namespace qzbench {

template <std::size_t count, typename Function>
struct Formula {
    char const* text;                     // for the library and muParser
    char const* lua;                      // a Lua expression that has the same value
    std::array<char const*, count> names; // its signals, in order of the text
    std::array<unsigned, count> raw;      // their raw values
    Function compute;                     // takes their physical values, in the same order
};

template <std::size_t count, typename Function>
Formula(char const*, char const*, std::array<char const*, count>, std::array<unsigned, count>, Function)
    -> Formula<count, Function>;

// The language's name for a state of a key.
constexpr double pressed = 1.0;

inline constexpr Formula condition{
    "a + b * 3 > 5 && c == pressed",
    "a + b * 3 > 5 and c == 1 and 1 or 0",
    std::array{"a", "b", "c"},
    std::array{2U, 4U, 1U},
    [](double a, double b, double c) { return a + b * 3 > 5 && c == pressed ? 1.0 : 0.0; },
};

inline constexpr Formula comparison{
    "(rpm * 0.25 + 10) / 3.6 > limit",
    "(rpm * 0.25 + 10) / 3.6 > limit and 1 or 0",
    std::array{"rpm", "limit"},
    std::array{3000U, 180U},
    [](double rpm, double limit) { return (rpm * 0.25 + 10) / 3.6 > limit ? 1.0 : 0.0; },
};

inline constexpr Formula twentyOperators{
    "(torque * 0.5 - 100) * (rpm / 4 + 16) / 9549 - (volts * 0.01 - 2) * (amps - 40) / 1000"
    " + load * 0.4 * (temp - 40) / 90 - -gear * 2.5",
    "(torque * 0.5 - 100) * (rpm / 4 + 16) / 9549 - (volts * 0.01 - 2) * (amps - 40) / 1000"
    " + load * 0.4 * (temp - 40) / 90 - -gear * 2.5",
    std::array{"torque", "rpm", "volts", "amps", "load", "temp", "gear"},
    std::array{700U, 6000U, 1380U, 95U, 120U, 130U, 4U},
    [](double torque, double rpm, double volts, double amps, double load, double temp, double gear) {
        return (torque * 0.5 - 100) * (rpm / 4 + 16) / 9549 - (volts * 0.01 - 2) * (amps - 40) / 1000 +
               load * 0.4 * (temp - 40) / 90 - -gear * 2.5;
    },
};

inline constexpr Formula signalAlone{
    "x", "x", std::array{"x"}, std::array{42U}, [](double x) { return x; },
};

// The first one under names of their own: shared signals leave files of these names.
inline constexpr Formula sharedCondition{
    "qzbench_a + qzbench_b * 3 > 5 && qzbench_c == pressed",
    "qzbench_a + qzbench_b * 3 > 5 and qzbench_c == 1 and 1 or 0",
    std::array{"qzbench_a", "qzbench_b", "qzbench_c"},
    condition.raw,
    condition.compute,
};

// Twenty operators over three shared signals that are named twelve times.
inline constexpr Formula repeatedShared{
    "(qzbench_a * 0.5 - qzbench_b) * (qzbench_c / 4 + qzbench_a) / 9549 - (qzbench_b * 0.01 - qzbench_c)"
    " * (qzbench_a - qzbench_b) / 1000 + qzbench_c * 0.4 * (qzbench_a - qzbench_b) / 90 - -qzbench_c * 2.5",
    "(qzbench_a * 0.5 - qzbench_b) * (qzbench_c / 4 + qzbench_a) / 9549 - (qzbench_b * 0.01 - qzbench_c)"
    " * (qzbench_a - qzbench_b) / 1000 + qzbench_c * 0.4 * (qzbench_a - qzbench_b) / 90 - -qzbench_c * 2.5",
    std::array{"qzbench_a", "qzbench_b", "qzbench_c"},
    std::array{700U, 6000U, 1380U},
    [](double a, double b, double c) {
        return (a * 0.5 - b) * (c / 4 + a) / 9549 - (b * 0.01 - c) * (a - b) / 1000 + c * 0.4 * (a - b) / 90 - -c * 2.5;
    },
};

} // namespace qzbench
