// The table that identifies FlexRay frames: from channel, cycle and slot to a small frame id.
#pragma once

#include <cstdint>

namespace qzsignal {

// A slot can carry different frames in different cycles, so only channel, cycle and slot together identify a frame.
// Each combination has one cell of the table with the frame's id, 0 for none:
//     bit of the cell's index    18 17    16 ... 11    10 ... 0
//                               channel     cycle        slot
// Deliberate: the parts are added, not masked. A slot of 2048 or more reaches into the cycles, a cycle of 64 or more
// into the channels; only the sum is bounded.
constexpr std::uint32_t flexRayCells = 0x80000;

constexpr std::uint32_t flexRayCell(std::uint8_t channel, std::uint8_t cycle, std::uint16_t slot) {
    return std::uint32_t{channel} * 131072 + std::uint32_t{cycle} * 2048 + slot;
}

// A table without ids, to be released by delete[]. All cells are cleared, those of channels 2 and 3 included, so that
// no look-up depends on the previous contents of the memory.
inline std::uint16_t* newFlexRayTable() {
    return new std::uint16_t[flexRayCells]();
}

// The id in a cell; 0 if there is no table or no such cell.
inline std::uint16_t flexRayId(std::uint16_t const* table, std::uint32_t cell) {
    return table != nullptr && cell < flexRayCells ? table[cell] : std::uint16_t{0};
}

// Enters a frame's id in its cells: every `repetition`-th cycle from `baseCycle` to 63. Debug output gets a line for
// each. Cells past the end of the table are skipped; without a table, all are.
void enterFlexRayId(std::uint16_t* table, std::uint8_t channel, std::uint16_t slot, std::uint8_t baseCycle,
                    std::uint8_t repetition, std::uint16_t id);

} // namespace qzsignal
