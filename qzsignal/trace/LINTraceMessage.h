/// @file
/// A LIN frame as a trace message.
#pragma once

#include "qzsignal/trace/MessageBase.h"

#include <vector>

/// A received LIN frame.
struct LINTraceMessage : MessageBase {
    unsigned long long timestamp = 0; ///< 32  time of the frame
    std::vector<unsigned char> data;  ///< 40  payload
    unsigned char channel = 0;        ///< 52  bus channel
private:
    [[maybe_unused]] unsigned char d_reserved53[11] = {};

public:
    unsigned char identifier = 0; ///< 64  protected identifier: the frame identifier is in the low 6 bits
};
