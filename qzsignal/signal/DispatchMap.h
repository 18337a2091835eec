// Filing of signals under the keys of the messages that feed them; the same for every signal kind.
#pragma once

#include "qzsignal/signal/Diagnostics.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace qzsignal {

// The signals of each message in order of construction. An entry exists only while it has signals; nothing is owned.
template <typename Signal>
using DispatchMap = std::map<unsigned long long, std::vector<Signal*>>;

// Files a signal behind those that are already there. If memory runs out, the map stays as it was.
template <typename Signal>
void file(DispatchMap<Signal>& map, unsigned long long key, Signal* signal) {
    auto const entry = map.try_emplace(key).first;
    try {
        entry->second.push_back(signal);
    } catch (...) {
        if (entry->second.empty())
            map.erase(entry);
        throw;
    }
}

// Takes a signal out of those of one message. False if it is none of them.
template <typename Signal>
bool remove(std::vector<Signal*>& signals, Signal const* signal) {
    auto const place = std::find(signals.begin(), signals.end(), signal);
    if (place == signals.end())
        return false;
    signals.erase(place);
    return true;
}

// Takes a signal out. A key without an entry is that of a signal that was never filed; an entry that does not hold the
// signal means that somebody else has changed the map, and is reported under the kind's class name.
template <typename Signal>
void withdraw(DispatchMap<Signal>& map, unsigned long long key, Signal const* signal, char const* label) {
    auto const entry = map.find(key);
    if (entry == map.end())
        return;
    if (!remove(entry->second, signal)) {
        errorLine(label, "::~", label, "(): instance not found in vector");
        return;
    }
    if (entry->second.empty())
        map.erase(entry);
}

// The signals filed under a key, or null.
template <typename Signal>
std::vector<Signal*> const* find(DispatchMap<Signal> const& map, unsigned long long key) {
    auto const entry = map.find(key);
    return entry != map.end() ? &entry->second : nullptr;
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
    std::vector<Signal*> const* const signals = find(map, key);
    if (signals == nullptr)
        return 0;
    feedEach(*signals, label, feed);
    return key;
}

} // namespace qzsignal
