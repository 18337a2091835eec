/// @file
/// The shared signal fed from one of the device's own inputs.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/DispatchMap.h"

#include <iosfwd>

struct AnalogTraceMessage;
struct GpioTraceMessage;
struct KeyboardMessage;

/// Definition of an input in shared memory. The instance name selects the input. A value is written as the raw word of
/// a payload, with its least significant byte last: big endian, start bit 7 and 64 bits cover all of it.
struct QZSIGNAL_EXPORT inputSignalDef_t : baseSignalDef_t {};

/// Writes all fields as label and value, without an end of line. Leaves the stream in decimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, inputSignalDef_t const& definition);

/// A digital input "DI.0" to "DI.4", an analog input "AI.0" to "AI.9", or a key of the remote control "RC.F1" to
/// "RC.F10" and "RC.TRG". A signal of such a name is filed under the key of its input from the end of its constructor
/// to the start of its destructor, and fed by `decodeMessage`, whether it was defined or opened by name. Any other name
/// is reported; the signal is then a plain shared signal that `decodeMessage` never feeds. Signals are constructed, fed
/// and destroyed on one thread of a process.
class QZSIGNAL_EXPORT InputSignalExt : public ShmSignal {
public:
    /// The signals of each input key in order of construction; an entry exists only while it has signals.
    static qzsignal::DispatchMap<InputSignalExt> inputContainer;

    /// Defines the signal, in shared memory or for this process alone.
    InputSignalExt(inputSignalDef_t const& definition, bool shared);

    /// Opens a signal that another process defines.
    explicit InputSignalExt(char const* instance);

    ~InputSignalExt() override;

    /// True if the serialized record at `begin`, of at least 17 bytes, reports an input that a signal of this process
    /// follows. `end` is not used.
    static bool signalsInUse(unsigned char const* begin, unsigned char const* end);

    /// @{
    /// Each writes what the message reports to all signals of its input: key state, level or reading, as a raw word.
    /// Returns the input's key, or 0 if it has no signals. A signal's `write` must not construct or destroy signals.
    static unsigned long long decodeMessage(KeyboardMessage const& message);
    static unsigned long long decodeMessage(GpioTraceMessage const& message);
    static unsigned long long decodeMessage(AnalogTraceMessage const& message);
    /// @}

    friend QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, InputSignalExt const& signal);

protected:
    inputSignalDef_t d_definition; ///< if opened by name: 64 bits, scale 1, all else zero or empty

private:
    void follow();
};

/// Writes the shared signal's description, ";", the definition and the key, without an end of line. Leaves the stream
/// in hexadecimal.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, InputSignalExt const& signal);
