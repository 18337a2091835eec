/// @file
/// Finds what is filed under a key in the same few steps, however many keys there are.
///
/// Internal: a member of `DispatchMap`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace qzsignal {

/// A hash table with open addressing: each key has a place that is computed from it, its home, and lies there or in one
/// of the next places, with no free one between. At least half of the places are free, so that the first is mostly the
/// right one. Each place remembers whether a key had to go on over it: most that are not there are then missed at the
/// first place as well, whether that is free or not, which no processor could foretell.
template <typename Entry>
class KeyIndex {
public:
    std::size_t size() const { return d_size; } ///< keys that are there

    /// What was entered under the key, or null.
    Entry* find(std::uint64_t key) const {
        if (d_places.empty())
            return nullptr;
        Place const* place = &d_places[home(key)];
        while (place->d_key != key) {
            if (!place->isPassed())
                return nullptr;
            place = next(place);
        }
        return place->entry(); // null if it is a free one, which has a key of 0
    }

    /// Makes room for so many keys. If memory runs out, the index stays as it was.
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

    /// Enters something under a key that has nothing yet. Room has been made for it.
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

    /// Takes a key out that is there.
    void erase(std::uint64_t key) {
        Place* hole = &d_places[home(key)];
        while (hole->d_key != key || hole->isFree())
            hole = next(hole);
        // Those that had to go on over this place move up, so that none is parted from its home by a free one. Over all
        // that is left before them a key went on, so the marks hold; one that nobody needs any more only costs a look.
        for (Place* place = next(hole); !place->isFree(); place = next(place)) {
            if (distance(home(place->d_key), place) >= distance(index(hole), place)) {
                hole->moveIn(*place);
                hole = place;
            }
        }
        *hole = Place();
        --d_size;
    }

    /// Takes all keys out.
    void clear() {
        d_places.assign(d_places.size(), Place());
        d_size = 0;
    }

private:
    struct Place {
        static constexpr std::uintptr_t passed = 1; ///< a bit that addresses of entries leave free
        static_assert(alignof(Entry) > passed, "addresses are even");

        bool isFree() const { return d_content == 0; }
        bool isPassed() const { return (d_content & passed) != 0; }
        Entry* entry() const { return reinterpret_cast<Entry*>(d_content & ~passed); }
        void moveIn(Place const& other) {
            d_key = other.d_key;
            d_content = (other.d_content & ~passed) | (d_content & passed);
        }

        std::uint64_t d_key = 0;
        std::uintptr_t d_content = 0; ///< the entry's address, and whether a key went on over this place; 0: free
    };

    // Neighbouring keys, of which a bus has many, are spread over the whole table.
    std::size_t home(std::uint64_t key) const { return static_cast<std::size_t>(key * 0x9E3779B97F4A7C15 >> d_shift); }
    std::size_t index(Place const* place) const { return static_cast<std::size_t>(place - d_places.data()); }
    std::size_t distance(std::size_t from, Place const* to) const { return (index(to) - from) & (d_places.size() - 1); }

    Place const* next(Place const* place) const { return place != &d_places.back() ? place + 1 : d_places.data(); }
    Place* next(Place* place) { return const_cast<Place*>(std::as_const(*this).next(place)); }

    std::vector<Place> d_places; ///< a power of two, or none
    unsigned d_shift = 0;        ///< leaves as many bits of a product as the number of a place has
    std::size_t d_size = 0;
};

} // namespace qzsignal
