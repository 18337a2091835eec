// Counts frames by their addresses.
#pragma once

#include "tools/recordings/Frame.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qztool {

// Frames of one kind.
struct TalliedFrames {
    Bus bus = Bus::Can;
    std::uint8_t channel = 0; // as recorded
    bool extended = false;
    std::uint32_t address = 0;
    std::uint64_t count = 0;
};

// An identifier as candump writes it, such as "5A0" or "18FEF100"; on other buses than CAN with the bus.
std::string identifierText(TalliedFrames const& frames);

// A hash table without removal, as a frame must not cost much more than finding out that it is not defined. Allocates
// when it grows, which is at new addresses alone.
class FrameTally {
public:
    FrameTally() : d_entries(256) {}

    void add(Frame const& frame);
    // In no particular order.
    std::vector<TalliedFrames> all() const;

private:
    struct Entry {
        std::uint64_t key = 0; // 0: free
        std::uint64_t count = 0;
    };

    // Never 0.
    static std::uint64_t keyOf(Frame const& frame) {
        std::uint32_t const kind = 1U << 31 | std::uint32_t{static_cast<std::uint8_t>(frame.bus)} << 16 |
                                   std::uint32_t{frame.channel} << 8 | (frame.flags & frameFlag::extended);
        return std::uint64_t{kind} << 32 | frame.address;
    }
    static std::size_t hash(std::uint64_t key) { return static_cast<std::size_t>(key * 0x9E3779B97F4A7C15U >> 40); }
    void grow();

    std::vector<Entry> d_entries; // a power of two
    std::size_t d_used = 0;
};

} // namespace qztool
