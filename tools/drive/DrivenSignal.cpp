// Which frames carry a signal.
#include "tools/drive/DrivenSignal.h"

#include "tools/drive/SignalPlace.h"

#include <algorithm>
#include <utility>

namespace qztool {

DrivenSignal::DrivenSignal(SignalOrder const& order, CurrentFrame& frame)
    : d_frame(frame), d_order(order), d_number(frame.signals++), d_lastByte(lastByteOf(order.signal)) {}

void DrivenSignal::selectBy(DrivenSignal const& multiplexor, std::vector<SelectorRange> ranges) {
    d_multiplexor = &multiplexor;
    d_selectedBy = std::move(ranges);
}

bool DrivenSignal::selected() const {
    // A multiplexor that this frame did not carry, because another one switched it off, selects nothing.
    if (d_multiplexor->d_lastFrame != d_frame.number)
        return false;
    std::uint64_t const value = d_multiplexor->raw();
    return std::any_of(d_selectedBy.begin(), d_selectedBy.end(),
                       [value](SelectorRange const& range) { return range.first <= value && value <= range.last; });
}

bool DrivenSignal::carried() {
    if (d_multiplexor != nullptr && !selected())
        return false;
    if (d_lastByte >= d_frame.length) {
        ++d_frame.cut;
        return false;
    }
    ++d_frame.written;
    if (d_order.wanted)
        d_frame.carried.push_back(this);
    d_lastFrame = d_frame.number;
    return true;
}

} // namespace qztool
