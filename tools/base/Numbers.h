// Numbers as text that reads back to the same number, in any locale.
#pragma once

#include "qzsignal/signal/SignalDefinition.h"

#include <charconv>
#include <cstdint>
#include <string>

namespace qztool {

// The shortest text that reads back to `number`.
inline std::string numberText(double number) {
    char text[32];
    auto const end = std::to_chars(text, text + sizeof text, number).ptr;
    return std::string(text, end);
}

// A decoded raw value as the integer that it is: negative ones of signed signals were sign-extended to 64 bits.
inline std::string rawText(std::uint64_t raw, signalValue_t type) {
    return type == signalSigned ? std::to_string(static_cast<std::int64_t>(raw)) : std::to_string(raw);
}

} // namespace qztool
