/// @file
/// The signals of one kind, filed under the keys of the messages that feed them.
///
/// Internal: the type of the containers in which signals are filed.
#pragma once

#include "qzsignal/signal/KeyIndex.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

namespace qzsignal {

/// Removes a signal from those of one message. False if it is not among them.
template <typename Signal>
bool remove(std::vector<Signal*>& signals, Signal const* signal) {
    auto const place = std::find(signals.begin(), signals.end(), signal);
    if (place == signals.end())
        return false;
    signals.erase(place);
    return true;
}

/// An ordered map from message keys to the signals of each message, in order of construction. Nothing is owned.
///
/// An entry made by `file` exists as long as it has signals. Every frame of a bus is looked up, and most carry no
/// signal: `signals` uses an index, whose look-up time does not depend on the number of entries. Map and index change
/// together, only in this class. Callers may change the signals of an entry.
template <typename Signal>
class DispatchMap {
public:
    using Signals = std::vector<Signal*>;                    ///< those of one message
    using Entries = std::map<unsigned long long, Signals>;   ///< by key
    using iterator = typename Entries::iterator;             ///< iterates over pairs of key and signals
    using const_iterator = typename Entries::const_iterator; ///< the same
    using value_type = typename Entries::value_type;         ///< key and signals

    DispatchMap() = default;
    DispatchMap(DispatchMap const&) = delete; // the index points to this map's entries
    DispatchMap& operator=(DispatchMap const&) = delete;

    /// The signals of a message, or null if there is no entry.
    Signals const* signals(unsigned long long key) const { return d_index.find(key); }

    /// Appends a signal to those of its message. If memory runs out, the map stays unchanged.
    void file(unsigned long long key, Signal* signal) {
        if (Signals* const signals = d_index.find(key))
            signals->push_back(signal);
        else
            enter(key, Signals(1, signal));
    }

    /// Result of removing a signal.
    enum class Withdrawn {
        Yes,     ///< removed, with its entry if it was the last signal there
        NoEntry, ///< nothing is filed under the key
        NoSignal ///< only other signals are filed under the key
    };

    /// Removes a signal.
    Withdrawn withdraw(unsigned long long key, Signal const* signal) {
        Signals* const signals = d_index.find(key);
        if (signals == nullptr)
            return Withdrawn::NoEntry;
        if (!remove(*signals, signal))
            return Withdrawn::NoSignal;
        if (signals->empty())
            erase(key);
        return Withdrawn::Yes;
    }

    /// @{
    /// The operations of the ordered map.
    bool empty() const { return d_entries.empty(); }
    std::size_t size() const { return d_entries.size(); }
    iterator begin() { return d_entries.begin(); }
    iterator end() { return d_entries.end(); }
    const_iterator begin() const { return d_entries.begin(); }
    const_iterator end() const { return d_entries.end(); }
    iterator find(unsigned long long key) { return d_entries.find(key); }
    const_iterator find(unsigned long long key) const { return d_entries.find(key); }
    std::size_t count(unsigned long long key) const { return d_entries.count(key); }
    Signals& at(unsigned long long key) { return d_entries.at(key); }
    Signals const& at(unsigned long long key) const { return d_entries.at(key); }

    Signals& operator[](unsigned long long key) {
        Signals* const signals = d_index.find(key);
        return signals != nullptr ? *signals : enter(key, Signals());
    }

    std::size_t erase(unsigned long long key) {
        std::size_t const erased = d_entries.erase(key);
        if (erased != 0)
            d_index.erase(key);
        return erased;
    }

    void erase(const_iterator entry) { erase(entry->first); }

    void clear() {
        d_index.clear();
        d_entries.clear();
    }
    /// @}

    /// The ordered map itself.
    operator Entries const&() const { return d_entries; }
    /// @{
    /// Compares with an ordered map.
    friend bool operator==(DispatchMap const& map, Entries const& entries) { return map.d_entries == entries; }
    friend bool operator!=(DispatchMap const& map, Entries const& entries) { return map.d_entries != entries; }
    /// @}

private:
    Signals& enter(unsigned long long key, Signals signals) {
        d_index.reserve(d_entries.size() + 1);
        Signals& entry = d_entries.try_emplace(key, std::move(signals)).first->second;
        d_index.insert(key, entry);
        return entry;
    }

    Entries d_entries;
    KeyIndex<Signals> d_index;
};

} // namespace qzsignal
