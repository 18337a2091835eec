// The bytes of a fuzzer's input as numbers, the same on every host.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

// Takes numbers from the front, big endian. Past the end there are zeros.
class Input {
public:
    Input(std::uint8_t const* data, std::size_t size) : d_position(data), d_end(data + size) {}

    template <typename Number>
    Number take() {
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < sizeof(Number); ++i)
            number = number << 8 | (d_position != d_end ? *d_position++ : 0U);
        return static_cast<Number>(number);
    }

    // Into a field of characters.
    template <std::size_t Size>
    void fill(char (&field)[Size]) {
        for (char& c : field)
            c = static_cast<char>(take<std::uint8_t>());
    }

    std::size_t left() const { return static_cast<std::size_t>(d_end - d_position); }

    // All that are left, in a block of just their size.
    std::vector<unsigned char> rest() {
        std::vector<unsigned char> const bytes(d_position, d_end);
        d_position = d_end;
        return bytes;
    }

private:
    std::uint8_t const* d_position;
    std::uint8_t const* d_end;
};
