/// @file
/// The shared signal fed from FlexRay frames.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/DispatchMap.h"

#include <cstdint>
#include <iosfwd>

struct FlexRayExtTraceMessage;

/// Definition of a signal in a FlexRay frame. The frame is sent in the cycles baseCycle, baseCycle + repetition,
/// ... 63.
struct QZSIGNAL_EXPORT flexRaySignalDef_t : baseSignalDef_t {
    std::uint16_t slot = 0;      ///< slot of the frame, 0..2047
    std::uint8_t baseCycle = 0;  ///< first cycle of the frame, 0..63
    std::uint8_t repetition = 0; ///< distance between two cycles of the frame; 0 counts as 1
    std::uint8_t frameType = 0;  ///< non-zero: static segment, 0: dynamic segment; only printed
    std::uint8_t startByte = 0;  ///< first payload byte of the signal; computed by the signal
    std::uint8_t byteSize = 0;   ///< payload bytes from there; computed by the signal
};

/// Writes all fields as label and value, without an end of line. Leaves the stream in decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, flexRaySignalDef_t const& definition);

/// One signal of one FlexRay frame. A signal built from a definition is filed under the key of its frame from the end
/// of its constructor to the start of its destructor, and is fed by `decodeMessage`. A signal opened by name reads what
/// another process writes. Signals are constructed, fed and destroyed on one thread of a process.
///
/// A payload can be longer than a record can hold. The record stores only the bytes that hold the signal, so its
/// `startbit` and raw value are relative to the signal's first byte.
class QZSIGNAL_EXPORT FlexRaySignal : public ShmSignal {
public:
    /// The id of the frame in each of 524288 combinations of channel, cycle and slot (index: channel * 131072 +
    /// cycle * 2048 + slot), 0 for none. The signals built from definitions own it together; null if there are none.
    static std::uint16_t* frIdArray;

    /// The signals of each frame key in order of construction; an entry exists only while it has signals.
    static qzsignal::DispatchMap<FlexRaySignal> frMessageContainer;

    /// Defines the signal, in shared memory or for this process alone.
    FlexRaySignal(flexRaySignalDef_t const& definition, bool shared);

    /// Opens a signal that another process defines. It has no frame, so `decodeMessage` never feeds it.
    explicit FlexRaySignal(char const* instance);

    ~FlexRaySignal() override;

    /// The key of the message's frame, 0x2000000000000000 if it is unknown. An index beyond the table is reported.
    static unsigned long long getFlexRayId(FlexRayExtTraceMessage const& message);

    /// Identifies this signal's frame: finds its id in the table, or enters a new one. Returns the frame's key. Called
    /// once, by the constructor that defines the signal.
    unsigned long long fillFlexRayIdArray();

    /// True if the frame of the serialized record at `begin`, of at least 25 bytes, carries a signal of this process,
    /// or once did. If `end` - `begin` is less than 20, the result is false; otherwise `end` is not used.
    static bool signalsInUse(unsigned char const* begin, unsigned char const* end);

    /// Writes the frame to all its signals; a frame without payload writes nothing. Returns the frame's key, whether or
    /// not it has signals. A signal's `write` must not construct or destroy signals.
    static unsigned long long decodeMessage(FlexRayExtTraceMessage const& message);

    friend QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, FlexRaySignal const& signal);

protected:
    flexRaySignalDef_t d_definition; ///< empty if the signal was opened by name
};

/// Writes the shared signal's description, ";" and the definition, without an end of line. Leaves the stream in
/// decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, FlexRaySignal const& signal);
