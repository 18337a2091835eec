/// @file
/// A hash table from keys to entries.
///
/// Internal: a member of `DispatchMap`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace qzsignal {

/// A hash table with open addressing and linear probing. A key is hashed to its home place and stored there or in the
/// first free place after it. At least half of the places are free, so most keys are found at home. Each place has a
/// mark that records whether a key was inserted past it; without it a search ends there, also at an occupied place.
/// Most keys that are absent are thus rejected at their home, without a branch on whether that place is free, which is
/// unpredictable.
template <typename Entry>
class KeyIndex {
public:
    std::size_t size() const { return d_size; } ///< number of keys

    /// The entry of a key, or null.
    Entry* find(std::uint64_t key) const {
        if (d_places.empty())
            return nullptr;
        Place const* place = &d_places[home(key)];
        while (place->d_key != key) {
            if (!place->isPassed())
                return nullptr;
            place = next(place);
        }
        return place->entry(); // null if the place is free: its key is 0
    }

    /// Makes room for this number of keys. If memory runs out, the index stays unchanged.
    void reserve(std::size_t keys) {
        if (2 * keys <= d_places.size())
            return;
        unsigned bits = 4;
        while ((std::size_t{1} << bits) < 2 * keys)
            ++bits;
        std::vector<Place> old(std::size_t{1} << bits);
        old.swap(d_places);
        d_shift = 64 - bits;
        d_size = 0;
        for (Place const& place : old)
            if (!place.isFree())
                insert(place.d_key, *place.entry());
    }

    /// Inserts an entry under a key that has none yet. Requires room, made by `reserve`.
    void insert(std::uint64_t key, Entry& entry) {
        Place* place = &d_places[home(key)];
        while (!place->isFree()) {
            place->d_content |= Place::passed;
            place = next(place);
        }
        place->d_key = key;
        place->d_content = reinterpret_cast<std::uintptr_t>(&entry);
        ++d_size;
    }

    /// Removes a key, which must be present.
    void erase(std::uint64_t key) {
        Place* hole = &d_places[home(key)];
        while (hole->d_key != key || hole->isFree())
            hole = next(hole);
        // Keys that were inserted past the hole move into it, so that no free place separates a key from its home.
        // Every place between a key and its home was marked when the key was inserted past it, so the marks stay valid.
        // A mark that no key needs any longer costs one more step of a search.
        for (Place* place = next(hole); !place->isFree(); place = next(place)) {
            if (distance(home(place->d_key), place) >= distance(index(hole), place)) {
                hole->moveIn(*place);
                hole = place;
            }
        }
        *hole = Place();
        --d_size;
    }

    /// Removes all keys.
    void clear() {
        d_places.assign(d_places.size(), Place());
        d_size = 0;
    }

private:
    struct Place {
        static constexpr std::uintptr_t passed = 1; ///< the lowest bit, which is 0 in addresses of entries
        static_assert(alignof(Entry) > passed, "addresses are even");

        bool isFree() const { return d_content == 0; }
        bool isPassed() const { return (d_content & passed) != 0; }
        Entry* entry() const { return reinterpret_cast<Entry*>(d_content & ~passed); }
        void moveIn(Place const& other) {
            d_key = other.d_key;
            d_content = (other.d_content & ~passed) | (d_content & passed);
        }

        std::uint64_t d_key = 0;
        std::uintptr_t d_content = 0; ///< the entry's address and the mark `passed`; 0: free and unmarked
    };

    // Multiplicative hashing spreads consecutive keys, which are common on a bus, over the whole table.
    std::size_t home(std::uint64_t key) const { return static_cast<std::size_t>(key * 0x9E3779B97F4A7C15 >> d_shift); }
    std::size_t index(Place const* place) const { return static_cast<std::size_t>(place - d_places.data()); }
    std::size_t distance(std::size_t from, Place const* to) const { return (index(to) - from) & (d_places.size() - 1); }

    Place const* next(Place const* place) const { return place != &d_places.back() ? place + 1 : d_places.data(); }
    Place* next(Place* place) { return const_cast<Place*>(std::as_const(*this).next(place)); }

    std::vector<Place> d_places; ///< a power of two of them, or none
    unsigned d_shift = 0;        ///< 64 less the bits of a place's index
    std::size_t d_size = 0;
};

} // namespace qzsignal
