// A program outside the tree: defines a signal for itself, feeds it a frame and evaluates a condition over it.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/trace/CANExtTraceMessage.h"

#include <iostream>

int main() {
    canSignalDef_t definition;
    definition.instance = "Outside.Speed";
    definition.channel = 1;
    definition.msgId = 0x321;
    definition.startbit = 7; // the highest bit, as the signal is big endian
    definition.bits = 12;
    definition.scale = 0.5;
    definition.offset = -40;
    definition.endian = true;
    CANSignalExt speed(definition, false); // false: for this process alone
    ExpParser fast("Outside.Speed > 100", false);

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

    double value = 0;
    unsigned long long timestamp = 0;
    if (!speed.read(value, timestamp)) {
        std::cerr << "the signal has no value\n";
        return 1;
    }
    std::cout << value << " at " << timestamp << (fast.getTrigger() ? ", fast" : ", slow") << "\n";
}
