// Building and writing.
#include "tools/drive/flexray/DrivenFlexRaySignal.h"

#include "qzsignal/flexray/FlexRayIdTable.h"
#include "tools/drive/BaseDefinition.h"
#include "tools/drive/flexray/ChannelCode.h"

namespace qztool {

namespace {

constexpr unsigned cycles = 64;

flexRaySignalDef_t flexRayDefinition(SignalOrder const& order) {
    FlexRayTiming const& timing = order.message.flexRay;
    flexRaySignalDef_t definition;
    describe(order.signal, order.instance, flexRayCode(order.channel, !timing.channelA), 0, definition);
    definition.slot = static_cast<std::uint16_t>(order.address);
    definition.baseCycle = timing.baseCycle;
    definition.repetition = timing.repetition;
    definition.frameType = timing.staticSegment ? 1 : 0;
    return definition;
}

} // namespace

DrivenFlexRaySignal::DrivenFlexRaySignal(SignalOrder const& order, CurrentFrame& frame)
    : DrivenAs(flexRayDefinition(order), order, frame) {
    if (order.message.flexRay.channelA && order.message.flexRay.channelB)
        enterOnChannelB(flexRayCode(order.channel, true));
}

// A frame that is defined for channel B alone keeps its cells.
void DrivenFlexRaySignal::enterOnChannelB(std::uint8_t code) const {
    for (unsigned cycle = d_definition.baseCycle; cycle < cycles; cycle += d_definition.repetition) {
        std::uint16_t& id = frIdArray[qzsignal::flexRayCell(code, static_cast<std::uint8_t>(cycle), d_definition.slot)];
        if (id == 0)
            id = static_cast<std::uint16_t>(messageId);
    }
}

// The library identifies a frame by its first cycle, so definitions that overlap may get one id.
bool DrivenFlexRaySignal::isSentIn(unsigned cycle) const {
    return cycle >= d_definition.baseCycle && (cycle - d_definition.baseCycle) % d_definition.repetition == 0;
}

bool DrivenFlexRaySignal::write(unsigned long long raw, unsigned long long timestamp) {
    return isSentIn(d_frame.cycle) && carried() && FlexRaySignal::write(raw, timestamp);
}

std::unique_ptr<DrivenSignal> buildFlexRaySignal(SignalOrder const& order, CurrentFrame& frame) {
    return std::make_unique<DrivenFlexRaySignal>(order, frame);
}

} // namespace qztool
