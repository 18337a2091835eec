// Interfaces and identifiers.
#include "tools/recordings/text/CandumpFields.h"

#include <algorithm>

namespace qztool {

char const* readCandumpChannel(TextCursor& cursor, Frame& frame) {
    constexpr unsigned beyondRange = 256;
    cursor.skipBlanks();
    if (cursor.atEnd())
        return "no interface name";
    unsigned number = 0;
    for (; !cursor.atEnd() && !isBlank(cursor.peek()); cursor.advance()) {
        char const character = cursor.peek();
        number = isDigit(character) ? std::min(number * 10 + hexDigit(character), beyondRange) : 0;
    }
    if (number >= beyondRange)
        return "channel number above 255";
    frame.channel = static_cast<std::uint8_t>(number);
    return nullptr;
}

unsigned readCandumpIdentifier(TextCursor& cursor, std::uint32_t& value) {
    cursor.skipBlanks();
    unsigned digits = 0;
    for (; hexDigit(cursor.peek()) != noDigit && digits <= extendedDigits; cursor.advance(), ++digits)
        value = (value << 4) | hexDigit(cursor.peek());
    return digits;
}

char const* setCandumpIdentifier(std::uint32_t value, bool extended, Frame& frame) {
    constexpr std::uint32_t errorFrameBit = 0x20000000;
    bool const isError = extended && (value & errorFrameBit) != 0;
    frame.flags = extended ? frameFlag::extended : 0;
    frame.add(frameFlag::error, isError);
    frame.address = isError ? value & ~errorFrameBit : value;
    if (frame.address > (extended ? highestExtendedIdentifier : highestStandardIdentifier))
        return extended ? "identifier above 1FFFFFFF" : "identifier of 3 digits above 7FF";
    return nullptr;
}

} // namespace qztool
