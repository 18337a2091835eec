/// @file
/// The shared signal fed from LIN frames.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/DispatchMap.h"

#include <cstdint>
#include <iosfwd>

struct LINTraceMessage;

/// Definition of a signal in a LIN frame.
struct QZSIGNAL_EXPORT linSignalDef_t : baseSignalDef_t {
    std::uint32_t msgId = 0; ///< frame identifier, 0..63
};

/// Writes all fields as label and value, without an end of line. Leaves the stream in decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, linSignalDef_t const& definition);

/// One signal of one LIN frame. A signal that was built from a definition is filed under the key of its frame from the
/// end of its constructor to the start of its destructor; one opened by name reads what another process writes.
/// Building, feeding and destroying happen on one thread of a process.
class QZSIGNAL_EXPORT LINSignal : public ShmSignal {
public:
    /// The signals of each frame key in order of construction; an entry exists only while it has signals.
    static qzsignal::DispatchMap<LINSignal> linMessageContainer;

    /// Defines the signal, in shared memory or for this process alone.
    LINSignal(linSignalDef_t const& definition, bool shared);

    /// Opens a signal that another process defines. It has no frame, so `decodeMessage` never feeds it.
    explicit LINSignal(char const* instance);

    ~LINSignal() override;

    /// True if the frame of the serialized record at `begin`, of at least 28 bytes, carries a signal of this process.
    /// `end` is not used.
    static bool signalsInUse(unsigned char const* begin, unsigned char const* end);

    /// Writes the frame to the signals filed under its channel and identifier without the LIN tag. Returns that key, or
    /// 0 if there are none. No constructor files a signal under such a key. A signal's `write` must not construct or
    /// destroy signals.
    static unsigned long long decodeMessage(LINTraceMessage const& message);

    friend QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, LINSignal const& signal);

protected:
    linSignalDef_t d_definition; ///< empty if the signal was opened by name
};

/// Writes the shared signal's description, ";" and the definition, without an end of line. Leaves the stream in
/// decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, LINSignal const& signal);
