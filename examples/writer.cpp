// Defines a signal of a CAN frame in shared memory and feeds it, as a bus decoder does.
//
//     writer [FRAMES]        one frame a millisecond; default 10000
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

// Stands in for the bus: an engine that speeds up from 800 to 4800 revolutions per minute, again and again.
CANExtTraceMessage nextFrame(unsigned number) {
    unsigned const quarterTurns = 3200 + number * 16 % 16000;
    CANExtTraceMessage frame;
    frame.timestamp = number * 1000ULL; // in microseconds
    frame.channel = 1;
    frame.identifier = 0x0A0;
    frame.length = 2;
    frame.payload[0] = static_cast<unsigned char>(quarterTurns);
    frame.payload[1] = static_cast<unsigned char>(quarterTurns >> 8);
    return frame;
}

} // namespace

int main(int argc, char** argv) {
    unsigned const frames = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : 10000;

    canSignalDef_t definition;
    definition.instance = "Example.Speed";
    definition.channel = 1; // frames 0x0A0 of channel 1 carry it,
    definition.msgId = 0x0A0;
    definition.bits = 16;    // in bits 0 to 15, little endian,
    definition.scale = 0.25; // as quarters of a revolution per minute
    definition.unit = "rpm";
    CANSignalExt speed(definition, true); // true: in shared memory

    for (unsigned number = 0; number < frames; ++number) {
        CANSignalExt::decodeMessage(nextFrame(number)); // writes all signals of the frame
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
