/// @file
/// The shared signal fed from CAN frames.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/DispatchMap.h"

#include <cstdint>
#include <iosfwd>
#include <string>

struct CANExtTraceMessage;

/// Definition of a signal in a CAN frame.
struct QZSIGNAL_EXPORT canSignalDef_t : baseSignalDef_t {
    std::uint32_t msgId = 0; ///< identifier of the frame, 11 or 29 bits, without flag bits
    bool extended = false;   ///< true: 29-bit identifier
};

/// Writes all fields as label and value, without an end of line. Leaves the stream in decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, canSignalDef_t const& definition);

/// One signal of one CAN frame. A signal built from a definition is filed under the key of its frame from the end of
/// its constructor to the start of its destructor, and is fed by `decodeMessage`. A signal opened by name reads what
/// another process writes. Signals are constructed, fed and destroyed on one thread of a process.
class QZSIGNAL_EXPORT CANSignalExt : public ShmSignal {
public:
    /// The signals of each frame key in order of construction; an entry exists only while it has signals.
    static qzsignal::DispatchMap<CANSignalExt> canMessageContainer;

    /// Defines the signal, in shared memory or for this process alone.
    CANSignalExt(canSignalDef_t const& definition, bool shared);

    /// Opens a signal that another process defines. It has no frame, so `decodeMessage` never feeds it.
    explicit CANSignalExt(char const* instance);

    ~CANSignalExt() override;

    /// True if the frame of the serialized record at `begin`, of at least 22 bytes, carries a signal of this process.
    /// `end` is not used.
    static bool signalsInUse(unsigned char const* begin, unsigned char const* end);

    /// Writes the frame to all its signals. Returns the frame's key, or 0 if it has no signals. A signal's `write`
    /// must not construct or destroy signals.
    static unsigned long long decodeMessage(CANExtTraceMessage const& message);

    friend QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, CANSignalExt const& signal);

protected:
    canSignalDef_t d_definition; ///< empty if the signal was opened by name
    std::string d_reserved1;     ///< unused, empty
    std::string d_reserved2;     ///< unused, empty
};

/// Writes the shared signal's description, ";" and the definition, without an end of line. Leaves the stream in
/// decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, CANSignalExt const& signal);
