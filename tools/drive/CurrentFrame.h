// The frame that is being fed, and what became of its signals.
#pragma once

#include "tools/recordings/Frame.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qztool {

class DrivenSignal;

// The library hands each signal a payload of eight bytes. What else there is to know about the frame, signals find
// here.
struct CurrentFrame {
    std::uint64_t number = 0; // counts from 1
    std::uint8_t const* bytes = nullptr;
    unsigned length = 0;       // bytes of payload
    unsigned cycle = 0;        // FlexRay
    std::uint64_t written = 0; // signals written so far, over all frames
    std::uint64_t cut = 0;     // signals not written because they are past the end of a short frame
    std::size_t signals = 0;   // that were built to be fed
    // Signals that are wanted and that the message which is being fed carries, in the order of their construction.
    std::vector<DrivenSignal*> carried;

    void begin(Frame const& frame) {
        begin(frame.bytes.data(), frame.length);
        cycle = frame.cycle;
    }
    // A message whose payload may have come in several frames.
    void begin(std::uint8_t const* payload, unsigned payloadLength) {
        ++number;
        carried.clear();
        bytes = payload;
        length = payloadLength;
    }
};

} // namespace qztool
