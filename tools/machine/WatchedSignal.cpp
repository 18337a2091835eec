// Looks at a shared signal through a view that lives no longer than the look.
#include "tools/machine/WatchedSignal.h"

#include <ostream>

namespace qztool {

WatchedSignal::WatchedSignal(std::string const& name) : BaseSignal(name.c_str(), "") {}

void WatchedSignal::look() {
    std::optional<SignalState> state = readSignal(instance);
    d_locked = state && state->locked;
    if (!d_locked)
        d_state = std::move(state);
}

char const* WatchedSignal::getUnit() const {
    return d_state ? d_state->unit.c_str() : "";
}

signalValue_t WatchedSignal::getType() const {
    return d_state ? d_state->type : signalUnsigned;
}

bool WatchedSignal::read(double& phys, unsigned long long& timestamp) {
    if (!hasValue())
        return false;
    phys = d_state->value->physical;
    timestamp = d_state->value->timestamp;
    return true;
}

bool WatchedSignal::read(unsigned long long& value, unsigned long long& timestamp) {
    if (!hasValue())
        return false;
    value = d_state->value->raw;
    timestamp = d_state->value->timestamp;
    return true;
}

bool WatchedSignal::write(unsigned long long, unsigned long long) {
    return false;
}

void WatchedSignal::print(std::ostream& out) const {
    out << instance;
}

void WatchedSignal::clear() {
    d_state.reset();
}

} // namespace qztool
