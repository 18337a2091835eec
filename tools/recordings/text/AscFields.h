// Fields that the events of all buses in ASC logs have in common.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/TextCursor.h"

#include <cstdint>
#include <string_view>

namespace qztool {

constexpr char const* badChannel = "channel number is not within 1 and 255";

// Returns false if `word` is not a number in that base, or too large.
bool toNumber(std::string_view word, int base, std::uint32_t& value);

inline bool isDirection(std::string_view word) {
    return word == "Rx" || word == "Tx" || word == "TxRq";
}

inline std::uint16_t directionFlag(std::string_view word) {
    return word == "Rx" ? frameFlag::received : frameFlag::transmitted;
}

// Returns false if `word` is not a channel.
bool readAscChannel(std::string_view word, Frame& frame);

// Reads so many bytes, which a frame can hold. Returns nothing, or the cause if it fails.
char const* readAscData(TextCursor& cursor, int base, std::uint32_t length, Frame& frame);

} // namespace qztool
