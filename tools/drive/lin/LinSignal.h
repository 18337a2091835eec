// A LIN signal as a recording feeds it.
#pragma once

#include "qzsignal/lin/LINSignal.h"
#include "tools/drive/Buses.h"

#include <memory>

namespace qztool {

class LinSignal : public LINSignal, public DrivenSignal {
public:
    using LINSignal::write;

    LinSignal(SignalOrder const& order, CurrentFrame& frame);

    // Leaves the signal alone unless the frame carries it. `raw` holds the whole payload, as LIN frames have at most
    // eight bytes.
    bool write(unsigned long long raw, unsigned long long timestamp) override;

    bool hasSegment() const override { return d_shmId >= 0; }
    void keepSegment() override { d_owner = false; }

protected:
    std::uint64_t selector() const override { return d_data->value & d_maksBits; }
};

std::unique_ptr<DrivenSignal> buildLinSignal(SignalOrder const& order, CurrentFrame& frame);

} // namespace qztool
