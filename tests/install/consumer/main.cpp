// An outside program: defines a signal, feeds it a frame and reads its physical value back.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"

#include <iostream>

int main() {
    canSignalDef_t definition;
    definition.instance = "outside.speed";
    definition.signal = "speed";
    definition.channel = 1;
    definition.msgId = 0x321;
    definition.startbit = 7;
    definition.bits = 12;
    definition.scale = 0.5;
    definition.offset = -40.0;
    definition.endian = true;
    CANSignalExt speed(definition, false);

    CANExtTraceMessage frame;
    frame.timestamp = 1234;
    frame.channel = 1;
    frame.identifier = 0x321;
    frame.length = 2;
    frame.payload[0] = 0x12;
    frame.payload[1] = 0x3F;
    if (CANSignalExt::decodeMessage(frame) == 0) {
        std::cerr << "the frame reached no signal\n";
        return 1;
    }

    // Through the base class, as an evaluator of signals would.
    BaseSignal* const found = BaseSignal::getInstance("outside.speed");
    double value = 0.0;
    unsigned long long timestamp = 0;
    if (found == nullptr || !found->read(value, timestamp)) {
        std::cerr << "the signal has no value\n";
        return 1;
    }
    std::cout << "speed = " << value << " at " << timestamp << '\n';
    return value == 0x123 * 0.5 - 40.0 && timestamp == 1234 ? 0 : 1;
}
