// Feeding and removing filed signals, the same for every kind of signal.
#pragma once

#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/DispatchMap.h"

#include <vector>

namespace qzsignal {

// Removes a signal that is being destroyed. Without an entry under its key it was never filed. An entry that does not
// hold the signal was changed by other code, which is reported under the kind's class name; a null `label` reports
// nothing.
template <typename Signal>
void withdraw(DispatchMap<Signal>& map, unsigned long long key, Signal const* signal, char const* label) {
    bool const missing = map.withdraw(key, signal) == DispatchMap<Signal>::Withdrawn::NoSignal;
    if (missing && label != nullptr)
        errorLine(label, "::~", label, "(): instance not found in vector");
}

// Passes the signals of one message to `feed`, one by one. `feed` must not construct or destroy signals. Debug output
// gets two lines for each signal before it is fed; the first one, with `label` and the signal's address, is left out if
// `label` is null.
template <typename Signal, typename Feed>
void feedEach(std::vector<Signal*> const& signals, char const* label, Feed feed) {
    for (Signal* const signal : signals) {
        if (debugging()) {
            if (label != nullptr)
                debugLine(label, "::decodeMessage: addr = ", static_cast<void const*>(signal));
            debugLine("Signal = ", instanceOf(*signal));
        }
        feed(*signal);
    }
}

// The same for the signals filed under a key. Returns the key, or 0 if there are none.
template <typename Signal, typename Feed>
unsigned long long deliver(DispatchMap<Signal> const& map, unsigned long long key, char const* label, Feed feed) {
    std::vector<Signal*> const* const signals = map.signals(key);
    if (signals == nullptr)
        return 0;
    feedEach(*signals, label, feed);
    return key;
}

} // namespace qzsignal
