// Which frames carry a signal.
#include "tools/drive/CanDriveSignal.h"

#include <algorithm>

namespace qztool {

void FrameInHand::begin(unsigned length) {
    ++number;
    ownBits = length >= 8 ? ~std::uint64_t{0} : ~(~std::uint64_t{0} >> (8 * length));
}

CanDriveSignal::CanDriveSignal(canSignalDef_t const& definition, bool shared, FrameInHand& frame)
    : CANSignalExt(definition, shared), d_frame(frame) {}

void CanDriveSignal::selectBy(CanDriveSignal const& multiplexor, std::vector<SelectorRange> ranges) {
    d_multiplexor = &multiplexor;
    d_selectedBy = std::move(ranges);
}

bool CanDriveSignal::selected() const {
    // A multiplexor that this frame did not carry, because another one switched it off, selects nothing.
    if (d_multiplexor->d_lastFrame != d_frame.number)
        return false;
    std::uint64_t const value = d_multiplexor->selector();
    return std::any_of(d_selectedBy.begin(), d_selectedBy.end(),
                       [value](SelectorRange const& range) { return range.first <= value && value <= range.last; });
}

bool CanDriveSignal::write(unsigned long long raw, unsigned long long timestamp) {
    if (d_multiplexor != nullptr && !selected())
        return false;
    if ((d_rawMask & ~d_frame.ownBits) != 0) {
        ++d_frame.cut;
        return false;
    }
    ++d_frame.written;
    d_lastFrame = d_frame.number;
    return CANSignalExt::write(raw, timestamp);
}

} // namespace qztool
