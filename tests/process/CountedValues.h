// Endless counters as signal values: everything about a value, its timestamp included, follows from the counter, so
// that a reader can tell whether what it read belongs together.
#pragma once

#include "qzsignal/shm/SharedRecord.h"
#include "tests/process/Shared.h"
#include "tests/process/TestSignal.h"

#include <chrono>
#include <cstdint>

// A counter belongs to a writer (number in the upper bits) that counts from 1.
constexpr unsigned countBits = 20;
constexpr std::uint32_t maxCount = (1U << countBits) - 1;
constexpr std::uint32_t maxWriters = 1U << (32 - countBits);

constexpr std::uint32_t counterOf(std::uint32_t writer, std::uint32_t count) {
    return writer << countBits | count;
}
constexpr std::uint32_t writerOf(std::uint32_t counter) {
    return counter >> countBits;
}
constexpr std::uint32_t countOf(std::uint32_t counter) {
    return counter & maxCount;
}

// Where the signals of these tests have their 32 bits; the payload's other bits change as well and are none of theirs.
// The last one is in both halves of the raw word, as timestamps do of theirs: a 32-bit target stores 64 bits in two
// steps, and a process may be killed in between.
struct CountedLayout {
    std::uint16_t d_startbit;
    bool d_bigEndian;
};
constexpr CountedLayout countedLayouts[] = {{7, true}, {0, false}, {23, true}};
constexpr unsigned countedSignals = 3;

inline baseSignalDef_t countedDefinition(SharedName const& name, unsigned signal) {
    baseSignalDef_t definition = wordDefinition(name);
    definition.startbit = countedLayouts[signal].d_startbit;
    definition.endian = countedLayouts[signal].d_bigEndian;
    return definition;
}

inline unsigned long long countedPayload(unsigned signal, std::uint32_t counter) {
    std::uint64_t const other = ~std::uint64_t{counter} & 0xffffffff;
    switch (signal) {
    case 0:
        return std::uint64_t{counter} << 32 | other;
    case 1:
        return std::uint64_t{__builtin_bswap32(counter)} << 32 | other;
    default:
        return other >> 16 << 48 | std::uint64_t{counter} << 16 | (other & 0xffff);
    }
}

// Never the same for two counters or two signals' neighbours.
inline unsigned long long countedTimestamp(unsigned signal, std::uint32_t counter) {
    return counter * (0x9e3779b97f4a7c15 + 2 * signal);
}

// What readers found out about one signal.
struct CountedFindings {
    std::uint32_t d_values;              // that were read
    std::uint32_t d_mismatches;          // value with a timestamp that is not its own
    std::uint32_t d_stepsBack;           // value older than one read before, of the same writer
    std::uint32_t d_last[maxWriters];    // latest counter of each writer, 0: none
    std::uint32_t d_firstMismatch;       // counter
    unsigned long long d_foundTimestamp; // beside it
};

// Checks one value and notes what is wrong with it.
inline void checkCounted(unsigned signal, std::uint32_t counter, unsigned long long timestamp,
                         CountedFindings& findings) {
    std::uint32_t const writer = writerOf(counter);
    ++findings.d_values;
    if (timestamp != countedTimestamp(signal, counter) && findings.d_mismatches++ == 0) {
        findings.d_firstMismatch = counter;
        findings.d_foundTimestamp = timestamp;
    }
    if (counter < findings.d_last[writer])
        ++findings.d_stepsBack;
    findings.d_last[writer] = counter;
}

// Reads the signal in one of the two forms and checks what came. Returns the counter, 0 if there was no value, or none
// that counts: a definer that cannot have the lock soon fills the record without it. So a read that was held up for as
// long with the lock held may be partly old and partly new, and the read of another process, right after it, may find
// what a record holds before it has a value.
inline std::uint32_t readCounted(TestSignal& signal, unsigned number, bool physical, CountedFindings& findings) {
    constexpr std::chrono::milliseconds heldUp(9); // a definer tries for ten
    auto const begin = std::chrono::steady_clock::now();
    TestSignal::Reading const reading = physical ? signal.readPhys() : signal.readRaw();
    if (!reading.d_there || std::chrono::steady_clock::now() - begin >= heldUp)
        return 0;
    // The conversion is exact: 32 bits and one more fit a double.
    std::uint64_t const value = physical ? static_cast<std::uint64_t>((reading.d_phys + 1.0) * 2.0) : reading.d_raw;
    std::uint32_t const counter = static_cast<std::uint32_t>(value);
    if (counter == qzsignal::unwrittenValue && reading.d_timestamp == qzsignal::unwrittenTimestamp)
        return 0;
    checkCounted(number, counter, reading.d_timestamp, findings);
    return counter;
}
