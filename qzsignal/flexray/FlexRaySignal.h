/// @file
/// The shared signal that is fed from FlexRay frames.
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
    std::uint8_t repetition = 0; ///< cycles from one to the next; 0 counts as 1
    std::uint8_t frameType = 0;  ///< non-zero: static segment, 0: dynamic segment; only printed
    std::uint8_t startByte = 0;  ///< first payload byte of the signal; computed by the signal
    std::uint8_t byteSize = 0;   ///< payload bytes from there; computed by the signal
};

/// Writes all fields as label and value, without an end of line. Leaves the stream in decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, flexRaySignalDef_t const& definition);

/// One signal of one FlexRay frame. A signal that was built from a definition is filed under the key of its frame from
/// the end of its constructor to the start of its destructor, and fed by `decodeMessage`; one opened by name reads what
/// another process writes. Building, feeding and destroying happen on one thread of a process.
///
/// A payload is longer than a record keeps. The signal's record gets the few bytes that hold the signal, so that its
/// `startbit` and raw value count from the signal's first byte.
class QZSIGNAL_EXPORT FlexRaySignal : public ShmSignal {
public:
    /// The id of the frame in each of 524288 combinations of channel, cycle and slot (index: channel * 131072 +
    /// cycle * 2048 + slot), 0 for none. Null unless there are signals built from definitions, which own it together.
    static std::uint16_t* frIdArray;

    /// The signals of each frame key in order of construction; an entry exists only while it has signals.
    static qzsignal::DispatchMap<FlexRaySignal> frMessageContainer;

    /// Defines the signal, in shared memory or for this process alone.
    FlexRaySignal(flexRaySignalDef_t const& definition, bool shared);

    /// Opens a signal that another process defines. It has no frame and is never fed here.
    explicit FlexRaySignal(char const* instance);

    ~FlexRaySignal() override;

    /// The key of the message's frame, 0x2000000000000000 for an unknown one. An index beyond the table is reported.
    static unsigned long long getFlexRayId(FlexRayExtTraceMessage const& message);

    /// Names this signal's frame: finds its id in the table, or takes a new one and enters it there. Returns the
    /// frame's key. Part of defining a signal.
    unsigned long long fillFlexRayIdArray();

    /// True if the frame of the serialized record at `begin`, of at least 25 bytes, carries a signal of this process,
    /// or once did. If `end` - `begin` is less than 20, the result is false; otherwise `end` is not used.
    static bool signalsInUse(unsigned char const* begin, unsigned char const* end);

    /// Writes the frame into all its signals; one without payload writes nothing. Returns the frame's key, whether it
    /// has signals or not. A signal's `write` must not build or destroy signals.
    static unsigned long long decodeMessage(FlexRayExtTraceMessage const& message);

    friend QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, FlexRaySignal const& signal);

protected:
    flexRaySignalDef_t d_definition; ///< empty in a signal opened by name
};

/// Writes the shared signal's description, ";" and the definition, without an end of line. Leaves the stream in
/// decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, FlexRaySignal const& signal);
