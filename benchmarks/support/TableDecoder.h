// The yardstick of decoding: the work of a program that has the definitions built in and keeps nothing.
#pragma once

#include "benchmarks/support/Drive.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

namespace qzbench {

// One signal: everything that can be computed before the first frame.
struct TableRow {
    std::uint64_t d_mask;
    std::uint64_t d_sign; // highest bit of a signed signal; 0 of an unsigned one
    double d_scale;
    double d_offset;
    std::uint8_t d_shift;
    bool d_big;
};

// Decodes frames by a table, straight to doubles: per frame one 8-byte load and byte swap, per signal shift, mask,
// sign, multiplication and addition. Nothing is stored or locked, and no change is detected. The rows of a frame are
// consecutive and found without a look-up.
class TableDecoder {
public:
    TableDecoder();

    // The rows of one of the drive's frames.
    struct Rows {
        TableRow const* d_begin;
        TableRow const* d_end;
    };
    Rows rowsOf(CANExtTraceMessage const& frame) const { return d_frames.at(frame.identifier); }

    // Gives each signal's value to `take`.
    template <typename Take>
    static void decode(Rows rows, unsigned char const* payload, Take take) {
        std::uint64_t little = 0;
        std::memcpy(&little, payload, sizeof little);
        std::uint64_t const big = __builtin_bswap64(little);
        for (TableRow const* row = rows.d_begin; row != rows.d_end; ++row) {
            std::uint64_t const value = (row->d_big ? big : little) >> row->d_shift & row->d_mask;
            // Repeats the sign bit in all bits above it; without one, nothing happens.
            auto const number = static_cast<std::int64_t>((value ^ row->d_sign) - row->d_sign);
            take(static_cast<double>(number) * row->d_scale + row->d_offset);
        }
    }

private:
    std::vector<TableRow> d_rows;
    std::map<std::uint32_t, Rows> d_frames;
};

} // namespace qzbench
