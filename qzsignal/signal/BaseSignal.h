/// @file
/// The interface of every signal, and the registry that finds a signal by its instance name.
#pragma once

#include "qzsignal/Export.h"
#include "qzsignal/signal/SignalDefinition.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

class BaseSignal;

/// Building blocks of the library's public classes. Programs rarely name it.
namespace qzsignal {
// Accessors for code that handles any kind of signal.
std::string const& instanceOf(BaseSignal const& signal);  ///< the signal's name in the registry
unsigned long long messageIdOf(BaseSignal const& signal); ///< the signal's dispatch key, 0 for none
} // namespace qzsignal

/// A named value with a timestamp, whatever bus it comes from and wherever it is kept.
///
/// Signals are created and destroyed by the application; each enters the registry in its constructor and leaves it in
/// its destructor. Registry and debug level belong to the process and are not locked: one thread of a process creates,
/// reads, writes and destroys its signals. Timestamps are in the unit of the trace messages and compared only for
/// order.
class QZSIGNAL_EXPORT BaseSignal {
public:
    /// The registry: plain pointers that own nothing, one per instance name, in byte-wise order of the names.
    static std::map<std::string, BaseSignal*> instances;
    /// Debug level of all signal classes: 0 is silent; per-frame lines need a level above 1.
    static int debug;

    BaseSignal(BaseSignal const&) = delete;
    BaseSignal& operator=(BaseSignal const&) = delete;

    /// Erases the registry entry of this instance name.
    /// Deliberate: whichever signal the entry points to, it is erased, so destroying a duplicate unregisters the first.
    virtual ~BaseSignal();

    virtual char const* getUnit() const = 0;   ///< unit of the physical value; empty for none
    virtual double getScaleFactor() const = 0; ///< physical value = raw value * scale factor + offset
    virtual double getOffset() const = 0;      ///< added to the scaled raw value
    virtual unsigned char getBits() const = 0; ///< length in bits
    virtual signalValue_t getType() const = 0; ///< how the raw value is interpreted

    /// @{
    /// Reads the physical or the raw value and its time. Returns true and sets both outputs if a value exists;
    /// otherwise leaves both unchanged.
    virtual bool read(double& phys, unsigned long long& timestamp) = 0;
    virtual bool read(unsigned long long& value, unsigned long long& timestamp) = 0;
    /// @}

    virtual bool write(unsigned long long value, unsigned long long timestamp) = 0; ///< false: nothing was stored
    virtual bool isModified() const = 0;             ///< the last write changed the value
    virtual void print(std::ostream& out) const = 0; ///< writes a description
    virtual void clear() = 0;                        ///< forgets the value

    /// The registered signal of this name, or null. Never creates one.
    static BaseSignal* getInstance(char const* instance);

    /// Clears every registered signal, in order of the names.
    static void clearAll();

    /// For each identifier in turn, clears every registered signal whose message has it.
    static void clear(std::vector<unsigned long long> messageIds);

    /// Replaces `silent` with the message identifiers of the registered signals whose value is older than `time`, in
    /// order of the signals' names; a message appears once for each such signal. Always returns 0.
    static int checkTimeout(unsigned long long time, std::vector<unsigned long long>& silent);

    friend std::string const& qzsignal::instanceOf(BaseSignal const& signal);  ///< reads the name
    friend unsigned long long qzsignal::messageIdOf(BaseSignal const& signal); ///< reads the dispatch key

protected:
    /// Registers the signal under `instance`. A name that is already registered is reported: the earlier signal stays
    /// registered, and this one works but cannot be found by name. If `signal` is null or empty, the signal has its
    /// instance name as signal name. A null `instance` counts as "".
    BaseSignal(char const* instance, char const* signal);

    std::string instance;             ///< instance name, the registry key
    std::string signal;               ///< descriptive signal name
    unsigned long long messageId = 0; ///< dispatch key of the message that carries the signal; 0: not dispatched
};

inline std::string const& qzsignal::instanceOf(BaseSignal const& signal) {
    return signal.instance;
}

inline unsigned long long qzsignal::messageIdOf(BaseSignal const& signal) {
    return signal.messageId;
}

/// Calls the virtual `print`.
QZSIGNAL_EXPORT std::ostream& operator<<(std::ostream& out, BaseSignal const& signal);
