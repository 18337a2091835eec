// Debug lines on layouts, and on what is extracted or placed by them.
#pragma once

#include "qzsignal/signal/BitLayout.h"

#include <cstdint>
#include <string>

namespace qzsignal {

// The line with all values of a layout.
[[gnu::cold]] void traceLayout(BitLayout const& layout);

// What the lines on one operation have in common.
struct LayoutUse {
    char const* d_label; // class of the signal
    std::string const& d_instance;
    BitLayout const& d_layout;
    unsigned d_startBit; // as defined, as the next two
    unsigned d_bits;
    ByteOrder d_order;
};

// The two lines on the extraction of `value` from a raw word.
[[gnu::cold]] void traceDecoded(LayoutUse const& use, std::uint64_t rawWord, std::uint64_t value);

// The two lines on the placing of a raw value, which is `placed` in its own bytes and `message` in a payload.
[[gnu::cold]] void traceEncoded(LayoutUse const& use, std::uint64_t placed, std::uint64_t message);

} // namespace qzsignal
