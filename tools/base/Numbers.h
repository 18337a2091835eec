// Numbers as text, the same in any locale.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"
#include "tools/base/NumberText.h"

#include <charconv>
#include <cstdint>
#include <string>

namespace qztool {

// 15 significant digits: what a double holds for certain, without the noise of a conversion after them (10.45, not
// 10.450000000000001). Programs that want every bit read the JSON form.
inline std::string numberText(double number) {
    char text[32];
    auto const end = std::to_chars(text, text + sizeof text, number, std::chars_format::general, 15).ptr;
    return std::string(text, end);
}

// A decoded raw value as the integer that it is: negative ones of signed signals were sign-extended to 64 bits.
inline std::string rawText(std::uint64_t raw, signalValue_t type) {
    return type == signalSigned ? std::to_string(static_cast<std::int64_t>(raw)) : std::to_string(raw);
}

// Microseconds as seconds with all six decimals, which a double does not hold for every time.
inline std::string secondsText(std::uint64_t microseconds) {
    char text[longestNumber];
    return std::string(text, writeSeconds(text, microseconds));
}

} // namespace qztool
