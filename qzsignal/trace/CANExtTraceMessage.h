/// @file
/// A CAN frame as a trace message.
#pragma once

#include "qzsignal/trace/MessageBase.h"

#include <iosfwd>

/// A received CAN frame.
struct QZSIGNAL_EXPORT CANExtTraceMessage : MessageBase {
    unsigned long long timestamp = 0; ///< 32  time of the frame; signals store it unchanged
    unsigned char channel = 0;        ///< 40  bus channel that received the frame
private:
    [[maybe_unused]] unsigned char d_reserved41[11] = {};

public:
    std::uint32_t extended = 0; ///< 52  non-zero: 29-bit identifier
    unsigned char length = 0;   ///< 56  number of payload bytes; if over 8, the first 8 count
private:
    [[maybe_unused]] unsigned char d_reserved57[3] = {};

public:
    std::uint32_t identifier = 0;  ///< 60  without flag bits
    unsigned char payload[8] = {}; ///< 64  first byte first
};

/// Writes channel, identifier, payload and time, without an end of line. Leaves the stream in hexadecimal with '0' as
/// its fill character.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, CANExtTraceMessage const& message);
