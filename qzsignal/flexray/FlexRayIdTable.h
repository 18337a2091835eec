// The table that names FlexRay frames: from channel, cycle and slot to a small frame id.
#pragma once

#include <cstdint>

namespace qzsignal {

// A slot can carry different frames in different cycles, so it takes all three to tell a frame. Each combination has
// one cell of the table with the frame's id, 0 for none:
//     bit of the cell's index    18 17    16 ... 11    10 ... 0
//                               channel     cycle        slot
// Deliberate: the parts are added, not masked. A slot of 2048 or more reaches into the cycles, a cycle of 64 or more
// into the channels; only the sum is bounded.
constexpr std::uint32_t flexRayCells = 0x80000;

constexpr std::uint32_t flexRayCell(std::uint8_t channel, std::uint8_t cycle, std::uint16_t slot) {
    return std::uint32_t{channel} * 131072 + std::uint32_t{cycle} * 2048 + slot;
}

// A table without ids, to be released by delete[]. It is cleared whole: what a cell of channel 2 or 3 holds before any
// definition must not depend on what the memory was used for.
inline std::uint16_t* newFlexRayTable() {
    return new std::uint16_t[flexRayCells]();
}

// The id in a cell; 0 if there is no table or no such cell.
inline std::uint16_t flexRayId(std::uint16_t const* table, std::uint32_t cell) {
    return table != nullptr && cell < flexRayCells ? table[cell] : std::uint16_t{0};
}

// Gives a frame's cells its id: every `repetition`-th cycle from `baseCycle` to 63. Debug output gets a line on each.
// Cells beyond the table are left out, and all of them if there is no table.
void enterFlexRayId(std::uint16_t* table, std::uint8_t channel, std::uint16_t slot, std::uint8_t baseCycle,
                    std::uint8_t repetition, std::uint16_t id);

} // namespace qzsignal
