// Printed form of a CAN frame.
#include "qzsignal/trace/CANExtTraceMessage.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

std::ostream& operator<<(std::ostream& out, CANExtTraceMessage const& message) {
    unsigned const length = std::min<unsigned>(message.length, sizeof message.payload);
    out << std::dec << "channel=" << unsigned{message.channel} << ",id=0x" << std::hex << message.identifier
        << ",extended=" << (message.extended != 0 ? "yes" : "no") << std::dec << ",length=" << unsigned{message.length}
        << std::hex << std::setfill('0') << ",payload=";
    for (unsigned i = 0; i < length; ++i)
        out << (i == 0 ? "" : "-") << std::setw(2) << unsigned{message.payload[i]};
    return out << ",timestamp=0x" << message.timestamp;
}
