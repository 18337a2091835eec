// A CAN signal as a recording feeds it: only by frames that really carry it.
#pragma once

#include "qzsignal/can/CANSignalExt.h"
#include "tools/definitions/Database.h"

#include <cstdint>
#include <vector>

namespace qztool {

// The frame that is being dispatched, and what became of its signals. The library hands each signal a payload of eight
// bytes; how many of them the frame had, the signals learn here.
struct FrameInHand {
    std::uint64_t number = 0;  // counts from 1
    std::uint64_t ownBits = 0; // ones where the raw word holds bytes of the frame
    std::uint64_t written = 0; // signals written so far, over all frames
    std::uint64_t cut = 0;     // signals not written because they lie beyond the end of a short frame

    void begin(unsigned length);
};

class CanDriveSignal : public CANSignalExt {
public:
    using CANSignalExt::write;

    CanDriveSignal(canSignalDef_t const& definition, bool shared, FrameInHand& frame);

    // From now on, only frames in which `multiplexor` has one of these raw values carry the signal. The multiplexor
    // must have been built before it, so that it is fed before it.
    void selectBy(CanDriveSignal const& multiplexor, std::vector<SelectorRange> ranges);

    // Leaves the signal alone unless the frame carries it.
    bool write(unsigned long long raw, unsigned long long timestamp) override;

    bool hasSegment() const { return d_shmId >= 0; }
    // The segment is to outlive the process.
    void keepSegment() { d_owner = false; }
    bool everWritten() const { return d_lastFrame != 0; }

private:
    bool selected() const;
    // The raw value without sign: what selects is a bit pattern.
    std::uint64_t selector() const { return d_data->value & d_maksBits; }

    FrameInHand& d_frame;
    std::uint64_t d_lastFrame = 0; // the frame that was written last
    CanDriveSignal const* d_multiplexor = nullptr;
    std::vector<SelectorRange> d_selectedBy;
};

} // namespace qztool
