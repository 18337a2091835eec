// A FlexRay signal as a recording feeds it.
#pragma once

#include "qzsignal/flexray/FlexRaySignal.h"
#include "tools/drive/Buses.h"

#include <memory>

namespace qztool {

class DrivenFlexRaySignal : public DrivenAs<FlexRaySignal> {
public:
    // A frame that is sent on both channels is filed under the code of channel A, and found under that of B as well.
    DrivenFlexRaySignal(SignalOrder const& order, CurrentFrame& frame);

    // Leaves the signal alone unless the frame carries it. `raw` holds the signal's own bytes.
    bool write(unsigned long long raw, unsigned long long timestamp) override;

private:
    void enterOnChannelB(std::uint8_t code) const;
    bool isSentIn(unsigned cycle) const;
};

std::unique_ptr<DrivenSignal> buildFlexRaySignal(SignalOrder const& order, CurrentFrame& frame);

} // namespace qztool
