// What model-based tests share: numbers that are random and yet the same on every target, and bits cut one by one.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

// Steps of one run; a target that is emulated, as the big-endian one is, takes fewer.
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr unsigned modelSteps = 1500;
#else
constexpr unsigned modelSteps = 6000;
#endif

class Random {
public:
    explicit Random(unsigned seed) : d_engine(seed) {}

    // 0 to `limit` - 1. Not quite evenly spread, but alike with every standard library.
    unsigned below(std::size_t limit) { return static_cast<unsigned>(d_engine() % limit); }

    unsigned long long number() { return d_engine(); }

    template <typename Value>
    Value oneOf(std::vector<Value> const& values) {
        return values[below(values.size())];
    }

private:
    std::mt19937_64 d_engine;
};

// Gives a definition a random field that starts at `lastStart` or before. Its length lets it run beyond a payload.
inline void randomField(Random& random, baseSignalDef_t& definition, unsigned lastStart) {
    definition.type = random.below(2) == 0 ? signalSigned : signalUnsigned;
    definition.endian = random.below(2) == 0;
    definition.startbit = static_cast<std::uint16_t>(random.below(lastStart + 1));
    definition.bits = static_cast<std::uint8_t>(1 + random.below(32));
}

// The first eight bytes as a number, the first one most significant.
inline unsigned long long naiveWord(std::vector<unsigned char> const& payload) {
    unsigned long long word = 0;
    for (std::size_t i = 0; i < 8; ++i)
        word = word * 256 + (i < payload.size() ? payload[i] : 0U);
    return word;
}

// The value of a field, bit by bit; bits outside the payload are 0.
inline unsigned long long naiveField(std::vector<unsigned char> const& payload, baseSignalDef_t const& field) {
    std::size_t byte = field.startbit / 8;
    unsigned bit = field.startbit % 8;
    unsigned long long value = 0;
    for (unsigned i = 0; i < field.bits; ++i) {
        unsigned long long const found = byte < payload.size() ? payload[byte] >> bit & 1U : 0U;
        if (field.endian) { // from the highest bit down
            value = value << 1 | found;
            byte += bit == 0 ? 1 : 0;
            bit = bit == 0 ? 7 : bit - 1;
        } else { // from the lowest bit up
            value |= found << i;
            byte += bit == 7 ? 1 : 0;
            bit = bit == 7 ? 0 : bit + 1;
        }
    }
    if (field.type == signalSigned && field.bits < 64 && (value >> (field.bits - 1) & 1U) != 0)
        value |= ~0ULL << field.bits;
    return value;
}
