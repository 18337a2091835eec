/// @file
/// Levels of digital inputs as a trace message.
#pragma once

#include "qzsignal/trace/MessageBase.h"

#include <vector>

/// One digital input; 12 bytes on every host.
struct GpioEntry {
    std::uint16_t input = 0; ///<  0  input number
private:
    [[maybe_unused]] unsigned char d_reserved2[6] = {};

public:
    std::uint16_t mask = 0;   ///<  8  the bits reported
    std::uint16_t levels = 0; ///< 10  their levels
};

/// Levels of one or more digital inputs.
struct GpioTraceMessage : MessageBase {
    unsigned long long timestamp = 0; ///< 32  time of the event
    std::vector<GpioEntry> entries;   ///< 40  the inputs reported
};
