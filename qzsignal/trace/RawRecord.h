/// @file
/// Serialized trace records, as they come from the trace stream, before any message object is made of them.
#pragma once

#include "qzsignal/trace/MessageBase.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace qzsignal {

/// Offsets of the fields that pre-filters read; all numbers are big-endian and none is aligned.
namespace record {
constexpr std::size_t channel = 14;        ///< 8 bits, CAN and LIN; in records of inputs, the number of the input
constexpr std::size_t flexRayChannel = 15; ///< 8 bits, channel code
constexpr std::size_t inputMark = 16;      ///< 8 bits, digital and analog: 1 unless the record is to be passed over
constexpr std::size_t digitalMask = 17;    ///< 8 bits, digital: the bits that are reported
constexpr std::size_t canIdentifier = 18;  ///< 32 bits, with bit 31 set for an extended identifier
constexpr std::size_t canEnd = 22;         ///< behind the last field of a CAN record that is read here
constexpr std::size_t flexRaySlot = 19;    ///< 16 bits
constexpr std::size_t flexRayLeast = 20;   ///< bytes of the shortest FlexRay record that is looked at
constexpr std::size_t flexRayCycle = 24;   ///< 8 bits
constexpr std::size_t linIdentifier = 26;  ///< 16 bits, the frame identifier without its parity bits

// Types of the records of inputs.
constexpr std::uint16_t analogType = 0x12;     ///< readings of analog inputs
constexpr std::uint16_t digitalType = 0x13;    ///< levels of digital inputs
constexpr std::uint16_t keyboardType = 0x8031; ///< a key of the remote control
} // namespace record

/// Reads fields of one record. Bytes behind its end read as zero; with no end given (null, or none beyond the
/// beginning) the record must hold every field that its kind's pre-filter reads.
class RawRecord {
public:
    /// A view; the bytes have to outlive it.
    RawRecord(unsigned char const* begin, unsigned char const* end)
        : d_begin(begin), d_length(std::greater<>()(end, begin) ? static_cast<std::size_t>(end - begin) : SIZE_MAX) {}

    /// @{
    /// The number of 8, 16 or 32 bits that begins at `offset`.
    std::uint8_t byte(std::size_t offset) const { return offset < d_length ? d_begin[offset] : std::uint8_t{0}; }

    std::uint16_t word16(std::size_t offset) const {
        return static_cast<std::uint16_t>(byte(offset) << 8 | byte(offset + 1));
    }

    std::uint32_t word32(std::size_t offset) const {
        if (offset + 4 > d_length)
            return std::uint32_t{word16(offset)} << 16 | word16(offset + 2);
        unsigned char const* const field = d_begin + offset; // all of it is there, so it is read at once
        return std::uint32_t{field[0]} << 24 | std::uint32_t{field[1]} << 16 | std::uint32_t{field[2]} << 8 | field[3];
    }
    /// @}

    /// Record type, from where this process's record version has it.
    std::uint16_t type() const { return MessageBase::version == 1 ? word16(2) : byte(0); }

private:
    unsigned char const* d_begin;
    std::size_t d_length;
};

} // namespace qzsignal
