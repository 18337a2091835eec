/// @file
/// The definition of a signal: its names, the position of its bits in a payload, and its conversion to a physical
/// value.
#pragma once

#include "qzsignal/Export.h"

#include <cstdint>
#include <iosfwd>
#include <string>

/// How the bits of a raw value are interpreted. Any 32-bit number can be cast to it, since the value is stored in
/// shared records; a type that is none of these four has no name and no conversion.
enum signalValue_t : std::int32_t {
    signalUnsigned = 0, ///< unsigned integer
    signalSigned = 1,   ///< two's complement, sign-extended to 64 bits when decoded
    signalFloat = 2,    ///< IEEE-754 single precision in the low 32 bits
    signalDouble = 3,   ///< IEEE-754 double precision in all 64 bits
};

/// The definition of a signal. It is read only during the signal's construction and may be discarded afterwards.
struct QZSIGNAL_EXPORT baseSignalDef_t {
    std::string instance;                ///< key in the registry, and the name of the key file under /tmp
    std::string signal;                  ///< descriptive name; a shared record keeps its first 31 characters
    std::uint8_t channel = 0;            ///< number of the bus channel
    std::string unit;                    ///< unit of the physical value; a shared record keeps its first 31 characters
    signalValue_t type = signalUnsigned; ///< how the raw value is interpreted
    std::uint16_t startbit = 0;          ///< payload bit: lowest bit if little endian, highest bit if big endian
    std::uint8_t bits = 0;               ///< length in bits, 1..64
    double scale = 0.0;                  ///< physical value = raw value * scale + offset
    double offset = 0.0;                 ///< added to the scaled raw value
    bool endian = false;                 ///< true: big endian (Motorola), false: little endian (Intel)
};

/// Writes "unsigned", "signed", "float" or "double", and nothing, not even padding, for any other value.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, signalValue_t const& type);

/// Writes all fields as label and value, without an end of line. Leaves the stream in decimal.
///
/// As in every description that the library prints, numbers have the form of the classic locale, whatever the stream's
/// and the global locale are, and a width set on the stream is not applied.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, baseSignalDef_t const& definition);
