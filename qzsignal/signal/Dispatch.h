// Feeding of filed signals, and their withdrawal; the same for every signal kind.
#pragma once

#include "qzsignal/signal/Diagnostics.h"
#include "qzsignal/signal/DispatchMap.h"

#include <vector>

namespace qzsignal {

// Takes a signal out at its end. A key without an entry is that of a signal that was never filed; an entry that does
// not hold the signal means that somebody else has changed the map, and is reported under the kind's class name.
template <typename Signal>
void withdraw(DispatchMap<Signal>& map, unsigned long long key, Signal const* signal, char const* label) {
    if (map.withdraw(key, signal) == DispatchMap<Signal>::Withdrawn::NoSignal)
        errorLine(label, "::~", label, "(): instance not found in vector");
}

// Hands the signals of one message to `feed`, one by one. `feed` must not build or destroy signals. Debug output gets
// two lines on each signal before it is fed; the first, with its address, is headed by `label` and left out if that is
// null.
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

// The same with the signals filed under a key. Returns the key, or 0 if there are none.
template <typename Signal, typename Feed>
unsigned long long deliver(DispatchMap<Signal> const& map, unsigned long long key, char const* label, Feed feed) {
    std::vector<Signal*> const* const signals = map.signals(key);
    if (signals == nullptr)
        return 0;
    feedEach(*signals, label, feed);
    return key;
}

} // namespace qzsignal
