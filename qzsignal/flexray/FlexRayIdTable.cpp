// Filling FlexRay's id table.
#include "qzsignal/flexray/FlexRayIdTable.h"

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>

namespace qzsignal {

namespace {

constexpr unsigned cycles = 64; // a FlexRay cluster counts its cycles from 0 to 63

} // namespace

// Deliberate: cells of other frames are overwritten. If definitions share a cycle, the last one constructed wins it and
// receives the frames of that cycle.
void enterFlexRayId(std::uint16_t* table, std::uint8_t channel, std::uint16_t slot, std::uint8_t baseCycle,
                    std::uint8_t repetition, std::uint16_t id) {
    if (table == nullptr)
        return;
    // A repetition of 0 means 1, here as in the signal's copy of the definition; with a step of 0 the loop never ends.
    unsigned const step = std::max<unsigned>(repetition, 1);
    for (unsigned cycle = baseCycle; cycle < cycles; cycle += step) {
        std::uint32_t const cell = flexRayCell(channel, static_cast<std::uint8_t>(cycle), slot);
        // A large channel code or slot is past the end of the table, and so are all following cycles. Messages are
        // bounded in the same way, so these cells would never be looked up.
        if (cell >= flexRayCells)
            return;
        table[cell] = id;
        if (debugging())
            debugLine("FlexRaySignal::fillFlexRayIdArray:", cell, " - ", id);
    }
}

} // namespace qzsignal
