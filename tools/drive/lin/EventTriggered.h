// Which frames the event-triggered frames of a LIN cluster may carry.
#pragma once

#include "tools/recordings/Frame.h"

#include <array>
#include <cstdint>

namespace qztool {

// Identifiers are those of LIN, 0 to 63; with others, nothing is added and nothing is found.
class EventTriggered {
public:
    void add(std::uint32_t event, std::uint32_t carried) {
        if (event <= highestLinIdentifier && carried <= highestLinIdentifier)
            d_carried[event] |= std::uint64_t{1} << carried;
    }
    bool mayCarry(std::uint32_t event, std::uint32_t carried) const {
        return event <= highestLinIdentifier && carried <= highestLinIdentifier &&
               (d_carried[event] >> carried & 1) != 0;
    }

private:
    std::array<std::uint64_t, highestLinIdentifier + 1> d_carried{}; // a bit for each identifier
};

} // namespace qztool
