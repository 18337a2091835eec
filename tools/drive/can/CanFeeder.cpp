// Record, pre-filter, message, dispatch.
#include "tools/drive/can/CanFeeder.h"

#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/RawRecord.h"

#include <algorithm>

namespace qztool {

bool CanFeeder::wanted(Frame const& frame, std::uint8_t filed) {
    namespace record = qzsignal::record;
    static_assert(std::tuple_size<decltype(d_record)>::value == record::canEnd, "a record holds what is read of it");

    std::uint32_t const identifier = frame.address | (frame.extended() ? 0x80000000U : 0U);
    d_record[record::channel] = filed;
    for (unsigned i = 0; i < 4; ++i)
        d_record[record::canIdentifier + i] = static_cast<unsigned char>(identifier >> (24 - 8 * i));
    return CANSignalExt::signalsInUse(d_record.data(), d_record.data() + d_record.size());
}

Feeder::Fed CanFeeder::feed(Frame const& frame, MessageSink& sink) {
    Fed result = Fed::Nothing;
    for (Network* const network : d_channels.candidates(Bus::Can, frame.channel)) {
        if (!wanted(frame, network->filed))
            continue;
        if (!Channels::claim(*network, frame.channel)) {
            result = result == Fed::Nothing ? Fed::OtherChannel : result;
            continue;
        }
        d_frame.begin(frame);
        d_message.timestamp = frame.timestamp;
        d_message.channel = network->filed;
        d_message.extended = frame.extended() ? 1 : 0;
        d_message.length = static_cast<unsigned char>(std::min<std::size_t>(frame.length, mostClassicBytes));
        d_message.identifier = frame.address;
        std::copy_n(frame.bytes.begin(), mostClassicBytes, d_message.payload);
        sink.onMessage(CANSignalExt::decodeMessage(d_message));
        result = Fed::Message;
    }
    return result;
}

std::unique_ptr<Feeder> makeCanFeeder(Channels& channels, CurrentFrame& frame) {
    return std::make_unique<CanFeeder>(channels, frame);
}

} // namespace qztool
