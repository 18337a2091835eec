// Numbers, channels, data.
#include "tools/recordings/text/AscFields.h"

#include <charconv>
#include <system_error>

namespace qztool {

bool toNumber(std::string_view word, int base, std::uint32_t& value) {
    char const* const end = word.data() + word.size();
    auto const [position, error] = std::from_chars(word.data(), end, value, base);
    return error == std::errc() && position == end;
}

bool readAscChannel(std::string_view word, Frame& frame) {
    std::uint32_t channel = 0;
    if (!toNumber(word, 10, channel) || channel < 1 || channel > 255)
        return false;
    frame.channel = static_cast<std::uint8_t>(channel);
    return true;
}

char const* readAscData(TextCursor& cursor, int base, std::uint32_t length, Frame& frame) {
    frame.length = static_cast<std::uint8_t>(length);
    for (std::uint32_t i = 0; i < length; ++i) {
        std::string_view const word = cursor.word();
        if (word.empty())
            return "fewer data bytes than the data length says";
        std::uint32_t byte = 0;
        if (!toNumber(word, base, byte) || byte > 255)
            return "data byte is not a number of the log's base up to 255";
        frame.bytes[i] = static_cast<std::uint8_t>(byte);
    }
    return nullptr;
}

} // namespace qztool
