// Filling of FlexRay's id table.
#include "qzsignal/flexray/FlexRayIdTable.h"

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>

namespace qzsignal {

namespace {

constexpr unsigned cycles = 64; // a FlexRay cluster counts its cycles from 0 to 63

} // namespace

// Deliberate: cells that belong to other frames are overwritten. Of definitions that share a cycle, the one that was
// made last wins it, and with it the frames that are seen there.
void enterFlexRayId(std::uint16_t* table, std::uint8_t channel, std::uint16_t slot, std::uint8_t baseCycle,
                    std::uint8_t repetition, std::uint16_t id) {
    if (table == nullptr)
        return;
    // A repetition of 0 means 1, here as in the definition that the signal keeps; as a step it would never end.
    unsigned const step = std::max<unsigned>(repetition, 1);
    for (unsigned cycle = baseCycle; cycle < cycles; cycle += step) {
        std::uint32_t const cell = flexRayCell(channel, static_cast<std::uint8_t>(cycle), slot);
        // A large channel code or slot leads out of the table, with all cycles that follow. Messages are bounded alike,
        // so nothing would be looked up there.
        if (cell >= flexRayCells)
            return;
        table[cell] = id;
        if (debugging())
            debugLine("FlexRaySignal::fillFlexRayIdArray:", cell, " - ", id);
    }
}

} // namespace qzsignal
