// Both forms of frames.
#include "tools/recordings/text/AscFlexRay.h"

#include "tools/recordings/text/AscEvents.h"
#include "tools/recordings/text/AscFields.h"

#include <cstdint>
#include <string_view>

namespace qztool {

namespace {

// The readers below return the cause if they fail, and nothing if they do not.

char const* readSlotAndCycle(TextCursor& cursor, int base, Frame& frame) {
    std::uint32_t cycle = 0;
    if (!toNumber(cursor.word(), base, frame.address) || frame.address == 0 || frame.address > highestSlot)
        return "FlexRay slot is not a number of the log's base from 1 to 2047";
    if (!toNumber(cursor.word(), base, cycle) || cycle > 63)
        return "FlexRay cycle is not a number of the log's base up to 63";
    frame.cycle = static_cast<std::uint8_t>(cycle);
    return nullptr;
}

char const* readPayload(TextCursor& cursor, int base, Frame& frame) {
    std::uint32_t length = 0;
    if (!toNumber(cursor.word(), base, length) || length > mostFrameBytes)
        return "length of a FlexRay frame is not a number of the log's base up to 254";
    if (!frame.is(frameFlag::null))
        return readAscData(cursor, base, length, frame);
    frame.length = 0;
    return nullptr;
}

char const* readMessage(TextCursor cursor, int base, Frame& frame) {
    cursor.word(); // of the event
    cursor.word();
    if (!readAscChannel(cursor.word(), frame))
        return badChannel;
    std::uint32_t mask = 0;
    if (!toNumber(cursor.word(), base, mask) || mask < 1 || mask > 3)
        return "FlexRay channels are none of 1 (A), 2 (B) and 3 (both)";
    if (char const* const cause = readSlotAndCycle(cursor, base, frame))
        return cause;
    std::string_view const direction = cursor.word();
    if (!isDirection(direction))
        return "direction is none of Rx, Tx and TxRq";
    cursor.word(); // of the application
    std::uint32_t flags = 0;
    if (!toNumber(cursor.word(), 16, flags))
        return "flags of a FlexRay frame are not a hexadecimal number";
    frame.flags = directionFlag(direction);
    frame.add(frameFlag::channelA, (mask & 1U) != 0);
    frame.add(frameFlag::channelB, (mask & 2U) != 0);
    frame.add(frameFlag::null, (flags & 1U) != 0);
    for (int i = 0; i < 5; ++i)
        cursor.word(); // controller (2), checksum, name, bytes of payload
    return readPayload(cursor, base, frame);
}

char const* readOldMessage(std::string_view channel, TextCursor cursor, int base, Frame& frame) {
    if (!readAscChannel(channel, frame) || frame.channel > 2)
        return "FlexRay channel is neither 1 nor 2";
    frame.flags = frameFlag::received | (frame.channel == 1 ? frameFlag::channelA : frameFlag::channelB);
    if (char const* const cause = readSlotAndCycle(cursor, base, frame))
        return cause;
    for (int i = 0; i < 4; ++i)
        cursor.word(); // startup, sync, checksum, name
    return readPayload(cursor, base, frame);
}

} // namespace

ParsedLine parseAscFlexRay(TextCursor cursor, int base, Frame& frame) {
    std::string_view const first = cursor.word();
    frame.bus = Bus::FlexRay;
    char const* cause = nullptr;
    if (first == "RMSG") {
        cause = readMessage(cursor, base, frame);
    } else {
        std::string_view const second = cursor.word();
        if (second != "V9")
            return skippedEvent(ascFlexRayEventKind(first, second));
        cause = readOldMessage(first, cursor, base, frame);
    }
    return cause != nullptr ? malformedLine(cause) : ParsedLine{LineKind::Frame};
}

} // namespace qztool
