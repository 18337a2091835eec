/// @file
/// Serialized trace records, as the trace stream delivers them, before a message object is built from them.
#pragma once

#include "qzsignal/trace/MessageBase.h"

#include <cstddef>
#include <cstdint>

namespace qzsignal {

/// Offsets of the fields that pre-filters read; all numbers are big-endian and none is aligned.
namespace record {
constexpr std::size_t channel = 14;        ///< 8 bits, CAN and LIN; in records of inputs, the number of the input
constexpr std::size_t flexRayChannel = 15; ///< 8 bits, channel code
constexpr std::size_t inputMark = 16;      ///< 8 bits, digital and analog: 1 in a record that counts
constexpr std::size_t digitalMask = 17;    ///< 8 bits, digital: the bits reported
constexpr std::size_t canIdentifier = 18;  ///< 32 bits, with bit 31 set for an extended identifier
constexpr std::size_t canEnd = 22;         ///< end of the last field read from a CAN record
constexpr std::size_t flexRaySlot = 19;    ///< 16 bits
constexpr std::size_t flexRayLeast = 20;   ///< least length of a FlexRay record, in bytes
constexpr std::size_t flexRayCycle = 24;   ///< 8 bits
constexpr std::size_t linIdentifier = 26;  ///< 16 bits, the frame identifier without its parity bits

// Types of input records.
constexpr std::uint16_t analogType = 0x12;     ///< readings of analog inputs
constexpr std::uint16_t digitalType = 0x13;    ///< levels of digital inputs
constexpr std::uint16_t keyboardType = 0x8031; ///< a key of the remote control
} // namespace record

/// Reads fields of one record at their fixed offsets. The record's length is not known here: the caller guarantees that
/// the record holds every field that is read.
class RawRecord {
public:
    /// A view; the bytes must outlive it.
    explicit RawRecord(unsigned char const* begin) : d_begin(begin) {}

    /// @{
    /// The number of 8, 16 or 32 bits at `offset`.
    std::uint8_t byte(std::size_t offset) const { return d_begin[offset]; }

    std::uint16_t word16(std::size_t offset) const {
        return static_cast<std::uint16_t>(byte(offset) << 8 | byte(offset + 1));
    }

    std::uint32_t word32(std::size_t offset) const {
        return std::uint32_t{byte(offset)} << 24 | std::uint32_t{byte(offset + 1)} << 16 |
               std::uint32_t{byte(offset + 2)} << 8 | byte(offset + 3);
    }
    /// @}

    /// Record type, at the offset and of the width that this process's record version selects.
    std::uint16_t type() const { return MessageBase::version == 1 ? word16(2) : byte(0); }

private:
    unsigned char const* d_begin;
};

} // namespace qzsignal
