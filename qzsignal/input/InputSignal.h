/// @file
/// The signal of one of the device's own inputs that keeps its value in the process.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/signal/BaseSignal.h"
#include "qzsignal/signal/DispatchMap.h"

#include <cstdint>
#include <iosfwd>

struct AnalogTraceMessage;
struct GpioTraceMessage;
struct KeyboardMessage;

/// A digital input "DI.0" to "DI.4", an analog input "AI.0" to "AI.9", or a key of the remote control "RC.F1" to
/// "RC.F10" and "RC.TRG". The name alone selects the input; messages never feed a signal of any other name. A signal is
/// filed under the key of its input from the end of its constructor to the start of its destructor. Signals are
/// constructed, fed, read and destroyed on one thread.
class QZSIGNAL_EXPORT InputSignal : public BaseSignal {
public:
    /// The signals of each input key in order of construction; an entry exists only while it has signals.
    static qzsignal::DispatchMap<InputSignal> inputContainer;

    /// The signal of the input of this name.
    explicit InputSignal(char const* name);

    ~InputSignal() override;

    /// True if the serialized record at `begin`, of at least 18 bytes, reports an input that a signal of this process
    /// follows. `end` is not used.
    static bool signalsInUse(unsigned char const* begin, unsigned char const* end);

    /// @{
    /// Each writes what the message reports to all signals of its input: key state, level or reading, unscaled.
    /// Returns the input's key, or 0 if it has no signals. A signal's `write` must not construct or destroy signals.
    static unsigned long long decodeMessage(KeyboardMessage const& message);
    static unsigned long long decodeMessage(GpioTraceMessage const& message);
    static unsigned long long decodeMessage(AnalogTraceMessage const& message);
    /// @}

    // The same for every input.
    char const* getUnit() const override;   ///< empty: there is none
    double getScaleFactor() const override; ///< 1
    double getOffset() const override;      ///< 0
    unsigned char getBits() const override; ///< 1
    signalValue_t getType() const override; ///< unsigned

    /// @{
    /// Both return false and leave their arguments unchanged while the signal has no value. The raw value is converted
    /// to a double as an unsigned number: a negative reading becomes a number near 2^64.
    bool read(double& phys, unsigned long long& time) override;
    bool read(unsigned long long& raw, unsigned long long& time) override;
    /// @}

    /// Stores the value and its timestamp if the value differs from the stored one. Always returns true.
    bool write(unsigned long long raw, unsigned long long time) override;

    /// True if the last `write` changed the value.
    bool isModified() const override;

    /// Writes name, value and timestamp without an end of line; without a value, the line "InputSignal not used".
    /// Leaves standard output in decimal if there is a value. Deliberate: writes to standard output, whatever stream is
    /// given.
    void print(std::ostream& out) const override;

    /// Resets the signal to the state of a new one: no value, not modified.
    void clear() override;

protected:
    bool used = false;           ///< there is a value
    bool modified = false;       ///< the last write changed the value; false after `clear`
    std::uint64_t value = 0;     ///< key state, level or reading; two's complement if negative
    std::uint64_t timestamp = 0; ///< of the message that brought the value

private:
    void trace(char const* access) const;
};
