// Building and writing.
#include "tools/drive/can/CanSignal.h"

#include "tools/drive/SignalPlace.h"
#include "tools/drive/can/CanDefinition.h"

namespace qztool {

CanSignal::CanSignal(SignalOrder const& order, CurrentFrame& frame)
    : CANSignalExt(canDefinition(order.message, order.signal, order.instance, order.channel), order.shared),
      DrivenSignal(lastByteOf(order.signal), frame) {}

bool CanSignal::write(unsigned long long raw, unsigned long long timestamp) {
    return carried() && CANSignalExt::write(raw, timestamp);
}

std::unique_ptr<DrivenSignal> buildCanSignal(SignalOrder const& order, CurrentFrame& frame) {
    return std::make_unique<CanSignal>(order, frame);
}

} // namespace qztool
