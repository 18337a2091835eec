// The mark in a shared record, its byte `pending`: whether the record is being changed, and how far the change has
// come.
//
//     0..125    the record is whole; each change counts on by one, so that a copy made meanwhile is recognised
//     126       derived fields are being computed: they follow from those that they are derived from
//     127       a new value is stored; what is left is to derive the rest from it
//     128..255  a new value is being stored: bits 0 to 5 are the number of a bit in which the new timestamp differs
//     from
//               the last one, bit 6 is that bit in the last one
//
// A value and its timestamp are two stores, and there is no room in the records to put more than one of them aside. So
// the value before is put aside, and the timestamp is what decides: it is stored in one instruction, and the mark
// tells which of the two timestamps the record holds. Before it is stored, the last value can be brought back; from
// then on, the new one stands. Of two equal timestamps, it is always the last.
#pragma once

#include "qzsignal/shm/OrderedStores.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <sched.h>

struct shmSignalData_t;

namespace qzsignal {

void settle(shmSignalData_t& record); // see ShmRecord.h; of other records, found in this namespace by itself

constexpr std::uint8_t recordCounts = 126; // marks of a whole record
constexpr std::uint8_t recordDeriving = 126;
constexpr std::uint8_t recordStored = 127;
constexpr std::uint8_t recordStoring = 128; // and above

inline bool isWhole(std::uint8_t mark) {
    return mark < recordCounts;
}

inline std::uint8_t storingMark(std::uint64_t last, std::uint64_t timestamp) {
    std::uint64_t const difference = last ^ timestamp;
    unsigned const bit = difference != 0 ? static_cast<unsigned>(__builtin_ctzll(difference)) : 0;
    return static_cast<std::uint8_t>(recordStoring | (last >> bit & 1) << 6 | bit);
}

inline bool holdsLast(std::uint8_t mark, std::uint64_t timestamp) {
    return (timestamp >> (mark & 63U) & 1) == (mark >> 6 & 1U);
}

// Sets a mark between the stores that come before it and those that follow.
inline void setMark(std::uint8_t& field, std::uint8_t mark) {
    keepOrder();
    __atomic_store_n(&field, mark, __ATOMIC_RELAXED);
    keepOrder();
}

// The mark of the whole record that a change leaves; `before` is what the change found.
inline std::uint8_t markAfter(std::uint8_t before) {
    return before < recordCounts - 1 ? static_cast<std::uint8_t>(before + 1) : std::uint8_t{0};
}

// The fields of a record at one moment, without its mutex. Takes no lock and never waits for long: a record that stays
// as it is in the middle of a change, since its writer was stopped or killed, is put in order in the copy (`settle`).
// Two copies in a row have to be the same, so that the count need not tell all changes apart.
template <typename Record>
Record snapshot(Record const& record) {
    constexpr int attempts = 2000;
    constexpr int attemptsAtUnchanged = 50;
    constexpr std::size_t begin = offsetof(Record, used);
    auto const copyOf = [&record] {
        Record copy{};
        copy.size = __atomic_load_n(&record.size, __ATOMIC_ACQUIRE);
        std::memcpy(&copy.used, &record.used, sizeof record - begin);
        copy.timestamp = loadWhole(record.timestamp);
        keepOrder();
        return copy;
    };
    auto const isSame = [](Record const& a, Record const& b) {
        return a.size == b.size && std::memcmp(&a.used, &b.used, sizeof a - begin) == 0;
    };
    Record copy{};
    Record last{};
    int unchanged = 0;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::uint8_t const mark = __atomic_load_n(&record.pending, __ATOMIC_ACQUIRE);
        copy = copyOf();
        Record again = copyOf();
        if (isWhole(mark) && __atomic_load_n(&record.pending, __ATOMIC_ACQUIRE) == mark) {
            again.timestamp = copy.timestamp; // which may change by itself
            if (isSame(copy, again))
                return copy;
        }
        unchanged = isSame(copy, last) ? unchanged + 1 : 0;
        if (!isWhole(mark) && unchanged >= attemptsAtUnchanged)
            break;
        last = copy;
        sched_yield();
    }
    settle(copy);
    return copy;
}

} // namespace qzsignal
