// A shared signal as an expression sees it.
#pragma once

#include "qzsignal/signal/BaseSignal.h"
#include "tools/machine/SignalReader.h"

#include <optional>
#include <string>

namespace qztool {

// Shows what the shared signal of its name held when it was looked at last, so that whatever is computed from several
// reads fits together. It keeps no hold on the record: each look finds the segment that the name stands for by then, of
// whatever kind, whether its writer has started since, has started again or is gone.
class WatchedSignal : public BaseSignal {
public:
    // Found in the registry, so that expressions that are compiled from now on use it.
    explicit WatchedSignal(std::string const& name);

    // Reads the shared signal. A process that keeps it locked is not waited for longer than half a second; what it held
    // before then stays.
    void look();

    std::string const& name() const { return instance; }
    bool isThere() const { return d_state.has_value(); }
    bool isLocked() const { return d_locked; } // the last look found it locked
    bool hasValue() const { return d_state && d_state->value.has_value(); }

    char const* getUnit() const override;
    double getScaleFactor() const override { return 1.0; }
    double getOffset() const override { return 0.0; }
    unsigned char getBits() const override { return 64; }
    signalValue_t getType() const override;
    bool read(double& phys, unsigned long long& timestamp) override;
    bool read(unsigned long long& value, unsigned long long& timestamp) override;
    bool write(unsigned long long value, unsigned long long timestamp) override; // does nothing
    bool isModified() const override { return false; }
    void print(std::ostream& out) const override;
    void clear() override;

private:
    std::optional<SignalState> d_state; // nothing: there is no such signal
    bool d_locked = false;
};

} // namespace qztool
