// What the models of both records are made of.
#pragma once

#include "tests/fuzz/Input.h"
#include "tests/support/ReferenceLayout.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

// What a read returns, and what it sets if `d_sets`.
struct Reading {
    bool d_there = false;
    bool d_sets = false;
    Word d_value = 0;
    Word d_time = 0;
};

// The mark of a record that is whole: counted on.
inline std::uint8_t nextMark(std::uint8_t mark) {
    return static_cast<std::uint8_t>(mark < 125 ? mark + 1 : 0);
}

inline void putNumber(double& number, std::uint64_t bits) {
    std::memcpy(&number, &bits, sizeof number);
}

inline std::uint64_t bitsOf(double const& number) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

// For definitions, which are copied: a number that signals would be another one then.
inline double numberFrom(Input& input) {
    return static_cast<double>(input.take<std::int32_t>()) / 64;
}

// Up to 39 characters, which is more than a record keeps.
inline std::string textFrom(Input& input) {
    std::string text;
    for (unsigned length = input.take<std::uint8_t>() % 40; length > 0; --length)
        text += static_cast<char>(input.take<std::uint8_t>());
    return text;
}

template <std::size_t Size>
void putText(char (&field)[Size], std::string const& text) {
    std::fill(field, field + Size, '\0');
    std::copy_n(text.begin(), std::min(text.size(), Size - 1), field);
}

// Up to its NUL, which may be missing.
template <std::size_t Size>
std::string text(char const (&field)[Size]) {
    return std::string(field, std::find(field, field + Size, '\0'));
}

// Of a type that is none of the four, nothing comes.
template <typename Record>
void convert(Word value, Record const& record, double& physical) {
    double number = 0;
    if (static_cast<int>(record.type) == 0) {
        number = static_cast<double>(value);
    } else if (static_cast<int>(record.type) == 1) {
        number = static_cast<double>(static_cast<long long>(value));
    } else if (static_cast<int>(record.type) == 2) {
        auto const bits = static_cast<std::uint32_t>(value);
        float single = 0;
        std::memcpy(&single, &bits, sizeof single);
        number = static_cast<double>(single);
    } else if (static_cast<int>(record.type) == 3) {
        putNumber(number, value);
    } else {
        return;
    }
    physical = number * record.scale + record.offset;
}
