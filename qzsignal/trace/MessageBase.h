// The part that all trace messages have in common.
#pragma once

#include "qzsignal/Export.h"

#include <cstdint>

// Base of the trace messages. The classes in this folder stand in for those of the device's trace library wherever that
// library is missing; on a 32-bit target every field lies where the device's library has it, so that the same code
// reads both. What lies between the fields is that library's own business, and reserved here.
struct QZSIGNAL_EXPORT MessageBase {
    // Selects the header form of the serialized records in this process: 1 for a 16-bit record type at offset 2, any
    // other value for an 8-bit one at offset 0.
    static unsigned char version;

protected:
    MessageBase() = default;

private:
    [[maybe_unused]] unsigned char d_reserved[32] = {};
};
