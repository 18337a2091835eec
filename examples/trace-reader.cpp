// Feeds signals of every kind from a trace stream. A pre-filter on each serialized record decides whether a message
// object is worth creating; for most records it is not.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/flexray/FlexRaySignal.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/lin/LINSignal.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/FlexRayExtTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/LINTraceMessage.h"

#include <algorithm>
#include <iostream>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// A record, and what the trace library, which turns records into message objects, finds in the rest of it. The few
// lines of each `feed` below stand in for that library.
struct Delivery {
    Bytes record;
    Bytes payload;
    unsigned long long timestamp;
};

unsigned long long feedCan(Delivery const& delivery) {
    CANExtTraceMessage frame;
    frame.timestamp = delivery.timestamp;
    frame.channel = delivery.record[14];
    frame.identifier = static_cast<std::uint32_t>(delivery.record[20] << 8 | delivery.record[21]);
    frame.length = static_cast<unsigned char>(delivery.payload.size());
    std::copy(delivery.payload.begin(), delivery.payload.end(), frame.payload);
    // The self-contained kind takes the payload as a number, first byte most significant, and does not report what it
    // fed.
    unsigned long long payload = 0;
    for (unsigned char const byte : frame.payload)
        payload = payload << 8 | byte;
    CANSignal::decodeMessage(frame.channel, static_cast<unsigned short>(frame.identifier), payload, frame.timestamp);
    return CANSignalExt::decodeMessage(frame);
}

unsigned long long feedFlexRay(Delivery const& delivery) {
    FlexRayExtTraceMessage frame;
    frame.timestamp = delivery.timestamp;
    frame.channel = delivery.record[15];
    frame.slot = static_cast<std::uint16_t>(delivery.record[19] << 8 | delivery.record[20]);
    frame.cycle = delivery.record[24];
    frame.payload = delivery.payload;
    return FlexRaySignal::decodeMessage(frame);
}

// The library looks up LIN frames without the tag in the keys of definitions, and finds none; the pre-filter does.
unsigned long long feedLin(Delivery const& delivery) {
    LINTraceMessage frame;
    frame.timestamp = delivery.timestamp;
    frame.channel = delivery.record[14];
    frame.identifier = delivery.record[27];
    frame.data = delivery.payload;
    return LINSignal::decodeMessage(frame);
}

unsigned long long feedDigitalInput(Delivery const& delivery) {
    GpioTraceMessage event;
    event.timestamp = delivery.timestamp;
    event.entries.resize(1);
    event.entries[0].input = delivery.record[14];
    event.entries[0].mask = delivery.record[17];
    event.entries[0].levels = delivery.payload[0];
    return InputSignalExt::decodeMessage(event) | InputSignal::decodeMessage(event); // each returns 0 for "none"
}

// Two kinds of signals follow the inputs.
bool inputInUse(unsigned char const* begin, unsigned char const* end) {
    return InputSignalExt::signalsInUse(begin, end) || InputSignal::signalsInUse(begin, end);
}

struct Source {
    char const* name;
    bool (*inUse)(unsigned char const* begin, unsigned char const* end);
    unsigned long long (*feed)(Delivery const& delivery);
    std::vector<Delivery> deliveries;
};

// 32 bytes that are zero but for those given.
Bytes record(std::initializer_list<std::pair<std::size_t, unsigned char>> fields) {
    Bytes bytes(32);
    for (auto const& [offset, value] : fields)
        bytes[offset] = value;
    return bytes;
}

template <typename Definition>
Definition definition(char const* instance, unsigned char channel) {
    Definition result;
    result.instance = instance;
    result.channel = channel;
    result.bits = 8;
    result.scale = 1;
    return result;
}

} // namespace

int main() {
    auto can = definition<canSignalDef_t>("Example.Pedal", 1);
    can.msgId = 0x0A0;
    can.scale = 0.5;
    can.unit = "%";
    CANSignalExt const pedal(can, false); // false: for this process alone
    CANSignal const stored(1, 0x0A0, "Example.StoredPedal", "%", canUnsigned, 0, 8, 0.5, 0, false, false);
    auto flexRay = definition<flexRaySignalDef_t>("Example.Steering", 1);
    flexRay.slot = 100;
    flexRay.baseCycle = 3;
    flexRay.repetition = 4;
    flexRay.startbit = 16; // in the third byte of the payload
    flexRay.unit = "deg";
    FlexRaySignal const steering(flexRay, false);
    auto lin = definition<linSignalDef_t>("Example.Blower", 2);
    lin.msgId = 0x21;
    LINSignal const blower(lin, false);
    auto input = definition<inputSignalDef_t>("DI.3", 0);
    input.startbit = 56; // an input arrives as the last byte of a payload
    input.bits = 1;
    InputSignalExt const door(input, false);
    InputSignal const window("DI.4");

    Source const sources[] = {
        {"CAN",
         CANSignalExt::signalsInUse,
         feedCan,
         {{record({{14, 1}, {21, 0xA0}}), {100}, 10}, {record({{14, 1}, {21, 0xB0}}), {1, 2, 3}, 20}}},
        {"FlexRay",
         FlexRaySignal::signalsInUse,
         feedFlexRay,
         {{record({{15, 1}, {20, 100}, {24, 7}}), {0, 0, 45}, 30},
          {record({{15, 1}, {20, 100}, {24, 8}}), {9, 9}, 40}}},
        {"LIN", LINSignal::signalsInUse, feedLin, {{record({{14, 2}, {27, 0x21}}), {5}, 50}}},
        {"input",
         inputInUse,
         feedDigitalInput,
         {{record({{3, 0x13}, {14, 3}, {16, 1}, {17, 1}}), {1}, 60},
          {record({{3, 0x13}, {14, 4}, {16, 1}, {17, 1}}), {1}, 70}}},
    };
    for (Source const& source : sources)
        for (Delivery const& delivery : source.deliveries) {
            bool const inUse = source.inUse(delivery.record.data(), delivery.record.data() + delivery.record.size());
            bool const fed = inUse && source.feed(delivery) != 0;
            std::cout << source.name << " at " << delivery.timestamp << ": "
                      << (fed     ? "fed"
                          : inUse ? "no signal found"
                                  : "skipped")
                      << "\n";
        }

    for (auto const& [name, signal] : BaseSignal::instances) {
        double value = 0;
        unsigned long long timestamp = 0;
        std::cout << name;
        if (signal->read(value, timestamp))
            std::cout << " = " << value << " " << signal->getUnit() << " at " << timestamp << "\n";
        else
            std::cout << " has no value\n";
    }
}
