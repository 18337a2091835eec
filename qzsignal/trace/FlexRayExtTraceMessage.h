/// @file
/// A FlexRay frame as a trace message.
#pragma once

#include "qzsignal/trace/MessageBase.h"

#include <vector>

/// A received FlexRay frame.
struct FlexRayExtTraceMessage : MessageBase {
    unsigned long long timestamp = 0; ///< 32  time of the frame
private:
    [[maybe_unused]] unsigned char d_reserved40 = 0;

public:
    unsigned char channel = 0; ///< 41  channel code
private:
    [[maybe_unused]] unsigned char d_reserved42[2] = {};

public:
    std::vector<unsigned char> payload; ///< 44
private:
    [[maybe_unused]] unsigned char d_reserved56[2] = {};

public:
    std::uint16_t slot = 0; ///< 58  slot number
private:
    [[maybe_unused]] unsigned char d_reserved60[4] = {};

public:
    unsigned char cycle = 0; ///< 64  communication cycle, 0..63
};
