// From recorded frames to replayed ones.
#include "benchmarks/support/Traffic.h"

#include <map>

namespace qzbench {

Traffic::Traffic(Payloads payloads) {
    // By identifier: where its two messages are, and which of them comes next.
    std::map<std::uint32_t, std::size_t> places;
    for (CANExtTraceMessage const& frame : drive().frames) {
        if (!places.emplace(frame.identifier, d_messages.size()).second)
            continue;
        CANExtTraceMessage message = frame;
        message.length = sizeof message.payload; // a short frame changes no signal past its end
        d_messages.push_back(message);
        if (payloads == Payloads::Inverted)
            for (unsigned char& byte : message.payload)
                byte = static_cast<unsigned char>(~byte);
        d_messages.push_back(message);
    }
    // Twice, as an odd number of frames would otherwise have two like frames at the seam.
    for (int round = 0; round < 2; ++round) {
        for (std::size_t i = 0; i < drive().frames.size(); ++i) {
            std::size_t& place = places.at(drive().frames[i].identifier);
            d_order.push_back(&d_messages[place]);
            d_signals += drive().signals[i];
            place ^= 1;
        }
    }
}

} // namespace qzbench
