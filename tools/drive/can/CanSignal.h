// A CAN signal as a recording feeds it.
#pragma once

#include "qzsignal/can/CANSignalExt.h"
#include "tools/drive/Buses.h"

#include <cstdint>
#include <memory>

namespace qztool {

class CanSignal : public DrivenAs<CANSignalExt> {
public:
    CanSignal(SignalOrder const& order, CurrentFrame& frame);

    // Leaves the signal alone unless the frame carries it. `raw` holds the frame's first eight bytes, as the library
    // hands them to all signals of a frame; those of the signal's own window are fetched from the frame.
    bool write(unsigned long long raw, unsigned long long timestamp) override;

private:
    unsigned d_window; // first of the eight payload bytes that the library sees
};

std::unique_ptr<DrivenSignal> buildCanSignal(SignalOrder const& order, CurrentFrame& frame);

} // namespace qztool
