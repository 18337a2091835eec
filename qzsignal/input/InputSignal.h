/// @file
/// The signal that keeps the value of one of the device's own inputs in the process.
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
/// "RC.F10" and "RC.TRG". The name alone says which; a signal of any other name never gets a value. A signal is filed
/// under the key of its input from the end of its constructor to the start of its destructor. Building, feeding,
/// reading and destroying happen on one thread.
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
    /// Each writes what the message reports into all signals of its input: key state, level or reading, unscaled.
    /// Returns the input's key, or 0 if it has no signals. A signal's `write` must not build or destroy signals.
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
    /// Both return false, and leave their arguments alone, while the signal has no value. As a double, the raw value
    /// counts as unsigned: a reading below zero is a number near 2^64.
    bool read(double& phys, unsigned long long& time) override;
    bool read(unsigned long long& raw, unsigned long long& time) override;
    /// @}

    /// Stores a value that differs from the stored one, and its timestamp. Always true.
    bool write(unsigned long long raw, unsigned long long time) override;

    /// True if the last `write` changed the value.
    bool isModified() const override;

    /// Writes name, value and timestamp without an end of line, or a line if there is no value. Leaves standard output
    /// in decimal. Deliberate: writes to standard output, whatever stream is given.
    void print(std::ostream& out) const override;

    /// Back to how a new signal is: no value, not modified.
    void clear() override;

protected:
    bool used = false;           ///< there is a value
    bool modified = false;       ///< the last write changed the value; not so after `clear`
    std::uint64_t value = 0;     ///< key state, level or reading; below zero as two's complement
    std::uint64_t timestamp = 0; ///< of the message that brought the value

private:
    void trace(char const* access) const;
};
