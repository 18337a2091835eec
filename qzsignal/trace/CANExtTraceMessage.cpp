// Printed form of a CAN frame.
#include "qzsignal/trace/CANExtTraceMessage.h"

#include "qzsignal/PrintedForm.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

namespace {

// The bytes of a payload in hexadecimal, two digits each, joined by hyphens.
struct PayloadBytes {
    CANExtTraceMessage const& d_message;

    friend std::ostream& operator<<(std::ostream& out, PayloadBytes const& bytes) {
        CANExtTraceMessage const& message = bytes.d_message;
        unsigned const length = std::min<unsigned>(message.length, sizeof message.payload);
        for (unsigned i = 0; i < length; ++i)
            out << (i == 0 ? "" : "-") << std::setw(2) << unsigned{message.payload[i]};
        return out;
    }
};

} // namespace

std::ostream& operator<<(std::ostream& out, CANExtTraceMessage const& message) {
    return qzsignal::printForm(out, std::dec, std::noshowbase, std::nouppercase, "channel=", unsigned{message.channel},
                               ",id=0x", std::hex, message.identifier,
                               ",extended=", message.extended != 0 ? "yes" : "no", std::dec,
                               ",length=", unsigned{message.length}, std::hex, std::right, std::setfill('0'),
                               ",payload=", PayloadBytes{message}, ",timestamp=0x", message.timestamp);
}
