// Building and writing.
#include "tools/drive/lin/LinSignal.h"

#include "tools/drive/BaseDefinition.h"

namespace qztool {

namespace {

linSignalDef_t linDefinition(SignalOrder const& order) {
    linSignalDef_t definition;
    describe(order.signal, order.instance, order.channel, 0, definition);
    definition.msgId = order.address;
    return definition;
}

} // namespace

LinSignal::LinSignal(SignalOrder const& order, CurrentFrame& frame) : DrivenAs(linDefinition(order), order, frame) {}

bool LinSignal::write(unsigned long long raw, unsigned long long timestamp) {
    return carried() && LINSignal::write(raw, timestamp);
}

std::unique_ptr<DrivenSignal> buildLinSignal(SignalOrder const& order, CurrentFrame& frame) {
    return std::make_unique<LinSignal>(order, frame);
}

} // namespace qztool
