// A LIN signal as a recording feeds it.
#pragma once

#include "qzsignal/lin/LINSignal.h"
#include "tools/drive/Buses.h"

#include <memory>

namespace qztool {

class LinSignal : public DrivenAs<LINSignal> {
public:
    LinSignal(SignalOrder const& order, CurrentFrame& frame);

    // Leaves the signal alone unless the frame carries it. `raw` holds the whole payload, as LIN frames have at most
    // eight bytes.
    bool write(unsigned long long raw, unsigned long long timestamp) override;
};

std::unique_ptr<DrivenSignal> buildLinSignal(SignalOrder const& order, CurrentFrame& frame);

} // namespace qztool
