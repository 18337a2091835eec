// Shared signals of all kinds and numbered frames for them: a reader can tell from each value whether it is whole, in
// order and not late.
#pragma once

#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/LINFixture.h"
#include "tests/support/SharedInput.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace allkinds {

// Frames take turns, and are numbered over all kinds. What a frame carries follows from its number, and so does its
// timestamp, which no other frame has.
enum Kind : unsigned { can, flexRay, lin, store, analog, digital, key, kinds };
constexpr std::uint32_t firstFrame = kinds; // the first one of kind 0
constexpr std::uint32_t lastNumber = 0xffffffff;

constexpr unsigned long long timestampOf(std::uint32_t frame) {
    return frame * 0x9e3779b97f4a7c15;
}
// Any number but that of a frame for what is no frame's timestamp.
constexpr std::uint64_t frameOf(unsigned long long timestamp) {
    return timestamp * 0xf1de83e19937733d;
}
static_assert(frameOf(timestampOf(1)) == 1, "one is the inverse of the other");

// A signal, by what it shows of the numbers of the frames that carry it.
struct NumberedSignal {
    Kind d_kind;
    unsigned d_dropped;  // low bits of the number that it does not show, so that not every frame changes it
    unsigned d_bits;     // bits that it shows
    bool d_timeOfChange; // keeps the timestamp of the frame that changed it; others take that of every frame

    constexpr std::uint64_t valueIn(std::uint64_t frame) const {
        return frame >> d_dropped & ((std::uint64_t{1} << d_bits) - 1);
    }

    // True if a record may hold this value beside the timestamp of this frame.
    constexpr bool isOf(std::uint64_t value, std::uint64_t frame) const {
        return frame >= firstFrame && frame <= lastNumber && frame % kinds == d_kind && valueIn(frame) == value &&
               (!d_timeOfChange || changesWith(frame));
    }

    constexpr bool changesWith(std::uint64_t frame) const {
        return frame < firstFrame + kinds || valueIn(frame) != valueIn(frame - kinds);
    }

    // The frame whose timestamp the record holds when this one was fed last.
    constexpr std::uint32_t latestUpTo(std::uint32_t frame) const {
        while (frame % kinds != d_kind || (d_timeOfChange && !changesWith(frame)))
            --frame;
        return frame;
    }

    // By how much a frame that was read may be older than one that was read before, of another signal: the writer may
    // have been on its way through the later one.
    constexpr std::uint32_t longestDelay() const { return kinds + (d_timeOfChange ? (1U << d_dropped) - 1 : 0); }
};

constexpr unsigned slow = 8;
constexpr NumberedSignal signals[] = {{can, 0, 32, false},        {can, slow, 24, false},  {flexRay, 0, 32, false},
                                      {flexRay, slow, 24, false}, {lin, 0, 32, false},     {lin, slow, 24, false},
                                      {store, 0, 32, true},       {store, slow, 24, true}, {analog, 0, 32, false},
                                      {digital, 0, 16, false},    {key, 0, 32, false}};
constexpr unsigned signalCount = sizeof signals / sizeof signals[0];

constexpr double scale = 0.5;
constexpr double offset = -1.0;

// Where buses carry the two signals of their frames: the number in four bytes, highest byte first, and, in four more,
// its upper 24 bits between bits that are none of theirs.
using Bytes = std::array<unsigned char, 8>;

inline Bytes payloadOf(std::uint32_t frame) {
    std::uint32_t const others = ~frame & 0xf;
    std::uint32_t const low = others << 28 | frame >> slow << 4 | others;
    Bytes bytes{};
    for (unsigned i = 0; i < 4; ++i) {
        bytes[i] = static_cast<unsigned char>(frame >> (24 - 8 * i));
        bytes[4 + i] = static_cast<unsigned char>(low >> (8 * i));
    }
    return bytes;
}

// Places a signal of the library where signal `number` is. `startByte` is that of the eight bytes.
template <typename Definition>
void place(Definition& definition, unsigned number, unsigned startByte = 0) {
    bool const isSlow = signals[number].d_dropped != 0;
    definition.startbit = static_cast<std::uint16_t>(8 * startByte + (isSlow ? 36 : 7));
    definition.bits = static_cast<std::uint8_t>(signals[number].d_bits);
    definition.endian = !isSlow;
    definition.scale = scale;
    definition.offset = offset;
}

constexpr unsigned flexRayStart = 200; // of 254 bytes

using Signals = std::vector<std::unique_ptr<BaseSignal>>;

inline std::unique_ptr<BaseSignal> defined(unsigned number, std::string const& name) {
    switch (signals[number].d_kind) {
    case can: {
        canSignalDef_t definition;
        definition.instance = name;
        definition.channel = 3;
        definition.msgId = 0x1abcdef;
        definition.extended = true;
        place(definition, number);
        return std::make_unique<CANSignalExt>(definition, true);
    }
    case flexRay: {
        flexRaySignalDef_t definition = flexRayDefinition(name, 1, 100, 1, 4);
        place(definition, number, flexRayStart);
        return std::make_unique<FlexRaySignal>(definition, true);
    }
    case lin: {
        linSignalDef_t definition = linDefinition(name, 0x21);
        place(definition, number);
        return std::make_unique<FedLINSignal>(definition, true);
    }
    case store: {
        canSignal_t definition;
        definition.bus = 2;
        definition.id = 0x123;
        definition.name = name;
        place(definition, number);
        return std::make_unique<CANSignal>(definition, true);
    }
    default: {
        inputSignalDef_t definition;
        definition.instance = name;
        place(definition, number);
        definition.bits = 64;
        return std::make_unique<InputSignalExt>(definition, true);
    }
    }
}

inline std::unique_ptr<BaseSignal> opened(unsigned number, char const* name) {
    switch (signals[number].d_kind) {
    case can:
        return std::make_unique<CANSignalExt>(name);
    case flexRay:
        return std::make_unique<FlexRaySignal>(name);
    case lin:
        return std::make_unique<LINSignal>(name);
    case store:
        return std::make_unique<CANSignal>(name);
    default:
        return std::make_unique<InputSignalExt>(name);
    }
}

// A name for each of them; those of inputs are taken in their order.
class Names {
public:
    std::vector<SharedName const*> const& all() const { return d_all; }
    SharedName const& operator[](unsigned number) const { return *d_all[number]; }

private:
    SharedInput const d_analog{"AI.7"};
    SharedInput const d_digital{"DI.4"};
    SharedInput const d_key{"RC.F9"};
    std::vector<SharedName> const d_busNames{signalCount - 3};
    std::vector<SharedName const*> const d_all = [this] {
        std::vector<SharedName const*> names;
        for (SharedName const& name : d_busNames)
            names.push_back(&name);
        names.insert(names.end(), {&d_analog, &d_digital, &d_key});
        return names;
    }();
};

inline Signals allDefined(Names const& names) {
    Signals result;
    for (unsigned i = 0; i < signalCount; ++i)
        result.push_back(defined(i, names[i].name()));
    return result;
}

// True if no signal is registered or filed.
inline bool nothingIsFiled() {
    auto const& table = CANSignal::canMessageVector;
    return BaseSignal::instances.empty() && CANSignalExt::canMessageContainer.empty() &&
           FlexRaySignal::frMessageContainer.empty() && FlexRaySignal::frIdArray == nullptr &&
           LINSignal::linMessageContainer.empty() && InputSignalExt::inputContainer.empty() &&
           std::all_of(table.begin(), table.end(), [](auto const& entry) { return entry.empty(); });
}

// The messages, made beforehand.
class Feeder {
public:
    Feeder() {
        d_can.channel = 3;
        d_can.identifier = 0x1abcdef;
        d_can.extended = 1;
        d_can.length = 8;
    }

    // False if no signal took the frame.
    bool feed(std::uint32_t frame) {
        unsigned long long const timestamp = timestampOf(frame);
        auto const number = static_cast<std::int32_t>(frame);
        switch (frame % kinds) {
        case can:
            fill(d_can.payload, frame);
            d_can.timestamp = timestamp;
            return CANSignalExt::decodeMessage(d_can) != 0;
        case flexRay:
            fill(&d_flexRay.payload[flexRayStart], frame);
            d_flexRay.cycle = static_cast<unsigned char>(frame / kinds % 16 * 4 + 1);
            d_flexRay.timestamp = timestamp;
            return FlexRaySignal::decodeMessage(d_flexRay) == 0x2000000000000001;
        case lin:
            fill(d_lin.data.data(), frame);
            d_lin.timestamp = timestamp;
            return LINSignal::decodeMessage(d_lin) != 0;
        case store: {
            unsigned long long word = 0;
            for (unsigned char const byte : payloadOf(frame))
                word = word << 8 | byte;
            CANSignal::decodeMessage(2, 0x123, word, timestamp);
            return true;
        }
        case analog:
            d_analog.entries[0].reading = number;
            d_analog.timestamp = timestamp;
            return InputSignalExt::decodeMessage(d_analog) != 0;
        case digital:
            d_digital.entries[0].levels = static_cast<std::uint16_t>(frame);
            d_digital.timestamp = timestamp;
            return InputSignalExt::decodeMessage(d_digital) != 0;
        default:
            d_key.keyState = number;
            d_key.timestamp = timestamp;
            return InputSignalExt::decodeMessage(d_key) != 0;
        }
    }

private:
    static void fill(unsigned char* payload, std::uint32_t frame) {
        Bytes const bytes = payloadOf(frame);
        std::copy(bytes.begin(), bytes.end(), payload);
    }

    CANExtTraceMessage d_can;
    FlexRayExtTraceMessage d_flexRay = flexRayFrame(1, 1, 100, std::vector<unsigned char>(254, 0xa5));
    LINTraceMessage d_lin = linFrame(2, 0x61, std::vector<unsigned char>(8));
    AnalogTraceMessage d_analog = analogMessage(7, 0);
    GpioTraceMessage d_digital = gpioMessage(4, 0xffff, 0);
    KeyboardMessage d_key = keyMessage(9, 0);
};

// What a reader found out about one signal.
struct Findings {
    std::uint64_t d_reads;      // that yielded a value
    std::uint64_t d_without;    // that did not, after one that did
    std::uint64_t d_mismatches; // value with a timestamp that is not its own
    std::uint64_t d_stepsBack;  // value older than one read before
    std::uint64_t d_late;       // value older than what another signal had shown before
    std::uint64_t d_last;       // frame of the last value
    std::uint64_t d_firstMismatch;
    std::uint64_t d_foundTimestamp; // beside it
};

class Reader {
public:
    Reader(Names const& names, Findings* findings) : d_findings(findings) {
        for (unsigned i = 0; i < signalCount; ++i)
            d_signals.push_back(opened(i, names[i].c_str()));
    }

    // Reads each signal in both forms.
    void readAll() {
        for (unsigned i = 0; i < signalCount; ++i) {
            unsigned long long value = 0, timestamp = 0;
            double phys = 0.0;
            bool const there = d_signals[i]->read(value, timestamp);
            note(i, there, value, timestamp);
            bool const thereToo = d_signals[i]->read(phys, timestamp);
            // The conversion is exact: 32 bits and one more fit a double.
            note(i, thereToo, thereToo ? static_cast<std::uint64_t>((phys - offset) / scale) : 0, timestamp);
        }
    }

private:
    void note(unsigned number, bool there, std::uint64_t value, unsigned long long timestamp) {
        NumberedSignal const& signal = signals[number];
        Findings& findings = d_findings[number];
        if (!there) {
            findings.d_without += findings.d_reads != 0 ? 1 : 0;
            return;
        }
        ++findings.d_reads;
        std::uint64_t const frame = frameOf(timestamp);
        if (!signal.isOf(value, frame)) {
            if (findings.d_mismatches++ == 0) {
                findings.d_firstMismatch = value;
                findings.d_foundTimestamp = timestamp;
            }
            return;
        }
        findings.d_stepsBack += frame < findings.d_last ? 1 : 0;
        findings.d_late += frame + signal.longestDelay() < d_newest ? 1 : 0;
        findings.d_last = frame;
        d_newest = std::max(d_newest, frame);
    }

    Signals d_signals;
    Findings* d_findings;
    std::uint64_t d_newest = 0; // frame that a signal has shown
};

// Expects that nothing is wrong with what a reader found, and that it came up to this frame.
inline void expectInOrder(Findings const (&findings)[signalCount], std::uint32_t lastFrame) {
    for (unsigned i = 0; i < signalCount; ++i) {
        SCOPED_TRACE("signal " + std::to_string(i));
        EXPECT_EQ(findings[i].d_mismatches, 0U)
            << "value " << findings[i].d_firstMismatch << " beside " << findings[i].d_foundTimestamp;
        EXPECT_EQ(findings[i].d_without, 0U);
        EXPECT_EQ(findings[i].d_stepsBack, 0U);
        EXPECT_EQ(findings[i].d_late, 0U);
        EXPECT_EQ(findings[i].d_last, signals[i].latestUpTo(lastFrame));
    }
}

} // namespace allkinds
