// The frames of the drive as the benchmarks replay them: in recorded order, with payloads as each of them wants.
#pragma once

#include "benchmarks/support/Drive.h"

#include <cstddef>
#include <vector>

namespace qzbench {

// One message per identifier stands for all its frames, so that the decoding is measured and not the fetching of a long
// recording from memory.
class Traffic {
public:
    enum class Payloads {
        Unchanged, // each frame of an identifier is like the one before
        Inverted,  // each frame of an identifier has all bits of the one before inverted: every signal changes
    };

    explicit Traffic(Payloads payloads);

    // The messages in recorded order.
    std::vector<CANExtTraceMessage const*> const& order() const { return d_order; }
    std::size_t signals() const { return d_signals; } // that all these frames carry

private:
    std::vector<CANExtTraceMessage> d_messages;
    std::vector<CANExtTraceMessage const*> d_order;
    std::size_t d_signals = 0;
};

} // namespace qzbench
