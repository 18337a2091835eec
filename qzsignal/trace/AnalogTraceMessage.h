/// @file
/// Readings of analog inputs as a trace message.
#pragma once

#include "qzsignal/trace/MessageBase.h"

#include <vector>

/// One analog input; 20 bytes on every host.
struct AnalogEntry {
    std::uint16_t channel = 0; ///<  0  input number
private:
    [[maybe_unused]] unsigned char d_reserved2[6] = {};

public:
    std::int32_t reading = 0; ///<  8  unscaled
private:
    [[maybe_unused]] unsigned char d_reserved12[8] = {};
};

/// Readings of one or more analog inputs.
struct AnalogTraceMessage : MessageBase {
    unsigned long long timestamp = 0; ///< 32  time of the event
    std::vector<AnalogEntry> entries; ///< 40  the inputs read
};
