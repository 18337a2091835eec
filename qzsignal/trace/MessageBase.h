/// @file
/// The common base of the trace messages.
#pragma once

#include "qzsignal/Export.h"

#include <cstdint>

/// Base of the trace messages. The classes in this folder stand in for those of the device's trace library where that
/// library is missing. On a 32-bit target every field has the offset that it has in the device's library, so that the
/// same code reads both. The bytes between the fields belong to that library and are reserved here.
struct QZSIGNAL_EXPORT MessageBase {
    /// Selects the header form of the serialized records in this process: 1 for a 16-bit record type at offset 2, any
    /// other value for an 8-bit one at offset 0.
    static unsigned char version;

protected:
    MessageBase() = default;

private:
    [[maybe_unused]] unsigned char d_reserved[32] = {};
};
