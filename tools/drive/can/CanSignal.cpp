// Building and writing.
#include "tools/drive/can/CanSignal.h"

#include "tools/drive/SignalPlace.h"
#include "tools/drive/can/CanDefinition.h"

namespace qztool {

namespace {

// Eight bytes as the library's raw word, the first one most significant.
std::uint64_t wordAt(std::uint8_t const* bytes) {
    std::uint64_t word = 0;
    for (unsigned i = 0; i < windowBytes; ++i)
        word = word << 8 | bytes[i];
    return word;
}

} // namespace

CanSignal::CanSignal(SignalOrder const& order, CurrentFrame& frame)
    : CANSignalExt(canDefinition(order.message, order.signal, order.instance, order.channel), order.shared),
      DrivenSignal(lastByteOf(order.signal), frame),
      d_window(windowOf(order.signal)) {}

bool CanSignal::write(unsigned long long raw, unsigned long long timestamp) {
    return carried() && CANSignalExt::write(d_window == 0 ? raw : wordAt(d_frame.bytes + d_window), timestamp);
}

std::unique_ptr<DrivenSignal> buildCanSignal(SignalOrder const& order, CurrentFrame& frame) {
    return std::make_unique<CanSignal>(order, frame);
}

} // namespace qztool
