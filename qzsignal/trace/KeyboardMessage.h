/// @file
/// A remote-control key event as a trace message.
#pragma once

#include "qzsignal/trace/MessageBase.h"

/// A key of the remote control was pressed or released.
struct KeyboardMessage : MessageBase {
    unsigned long long timestamp = 0; ///< 32  time of the event
    std::int32_t keyCode = 0;         ///< 40  which key
    std::int32_t keyState = 0;        ///< 44  0 released, 1 pressed, 2 pressed long
};
