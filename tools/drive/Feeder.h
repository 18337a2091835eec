// Hands the frames of one kind of bus to their signals.
#pragma once

#include "tools/recordings/Frame.h"

#include <cstdint>

namespace qztool {

class Feeder {
public:
    virtual ~Feeder() = default;

    // Feeds a data frame of the feeder's bus. Returns the key of its message, as expressions know it; 0 if it carries
    // no signal. Allocates nothing.
    virtual std::uint64_t feed(Frame const& frame) = 0;
};

} // namespace qztool
