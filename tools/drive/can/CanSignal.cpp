// Building and writing.
#include "tools/drive/can/CanSignal.h"

#include "qzsignal/signal/BitLayout.h"
#include "tools/drive/SignalPlace.h"
#include "tools/drive/can/CanDefinition.h"

namespace qztool {

namespace {

canSignalDef_t definitionOf(SignalOrder const& order) {
    canSignalDef_t definition = canDefinition(order.message, order.signal, order.instance, order.channel);
    definition.msgId = order.address;
    return definition;
}

} // namespace

CanSignal::CanSignal(SignalOrder const& order, CurrentFrame& frame)
    : DrivenAs(definitionOf(order), order, frame), d_window(windowOf(order.signal)) {}

bool CanSignal::write(unsigned long long raw, unsigned long long timestamp) {
    return carried() && CANSignalExt::write(
                            d_window == 0 ? raw : qzsignal::rawWord(d_frame.bytes + d_window, windowBytes), timestamp);
}

std::unique_ptr<DrivenSignal> buildCanSignal(SignalOrder const& order, CurrentFrame& frame) {
    return std::make_unique<CanSignal>(order, frame);
}

} // namespace qztool
