// Fields that the log format of candump and its lines on a screen have in common.
#pragma once

#include "tools/base/Characters.h"
#include "tools/recordings/Frame.h"
#include "tools/recordings/text/TextCursor.h"

#include <array>
#include <cstdint>

namespace qztool {

constexpr unsigned standardDigits = 3; // of an identifier
constexpr unsigned extendedDigits = 8;
constexpr char const* badIdentifierDigits = "identifier has neither 3 nor 8 hexadecimal digits";

constexpr std::uint8_t noDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> makeHexDigits() {
    std::array<std::uint8_t, 256> values{};
    for (unsigned i = 0; i < values.size(); ++i)
        if (isDigit(i))
            values[i] = static_cast<std::uint8_t>(i - '0');
        else if (i >= 'a' && i <= 'f')
            values[i] = static_cast<std::uint8_t>(i - 'a' + 10);
        else if (i >= 'A' && i <= 'F')
            values[i] = static_cast<std::uint8_t>(i - 'A' + 10);
        else
            values[i] = noDigit;
    return values;
}

// A table, as most of the characters of a log pass through it.
inline constexpr std::array<std::uint8_t, 256> hexDigits = makeHexDigits();

inline std::uint8_t hexDigit(char character) {
    return hexDigits[static_cast<unsigned char>(character)];
}

// The readers below return the cause if they fail, and nothing if they do not.

// An interface's name. The channel is the number at its end, 0 if there is none.
char const* readCandumpChannel(TextCursor& cursor, Frame& frame);
// Reads hexadecimal digits, of which it returns the number: at most one more than an identifier can have.
unsigned readCandumpIdentifier(TextCursor& cursor, std::uint32_t& value);
// Sets address and flags. Bit 29 of the value marks an error frame, whose address is the error's class.
char const* setCandumpIdentifier(std::uint32_t value, bool extended, Frame& frame);

} // namespace qztool
