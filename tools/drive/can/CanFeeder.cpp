// Record, pre-filter, message, dispatch.
#include "tools/drive/can/CanFeeder.h"

#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/RawRecord.h"

#include <algorithm>

namespace qztool {

bool CanFeeder::wanted(Frame const& frame, std::uint8_t channel) {
    namespace record = qzsignal::record;
    static_assert(std::tuple_size<decltype(d_record)>::value == record::canEnd, "a record holds what is read of it");

    std::uint32_t const identifier = frame.address | (frame.extended() ? 0x80000000U : 0U);
    d_record[record::channel] = channel;
    for (unsigned i = 0; i < 4; ++i)
        d_record[record::canIdentifier + i] = static_cast<unsigned char>(identifier >> (24 - 8 * i));
    return CANSignalExt::signalsInUse(d_record.data(), d_record.data() + d_record.size());
}

std::uint64_t CanFeeder::feed(Frame const& frame) {
    std::uint8_t const channel = d_channels.filed(frame.channel);
    if (!wanted(frame, channel)) {
        return 0;
    }
    d_frame.begin(frame);
    d_message.timestamp = frame.timestamp;
    d_message.channel = channel;
    d_message.extended = frame.extended() ? 1 : 0;
    d_message.length = frame.length;
    d_message.identifier = frame.address;
    std::copy_n(frame.bytes.begin(), mostClassicBytes, d_message.payload);
    return CANSignalExt::decodeMessage(d_message);
}

std::unique_ptr<Feeder> makeCanFeeder(Channels const& channels, CurrentFrame& frame) {
    return std::make_unique<CanFeeder>(channels, frame);
}

} // namespace qztool
