// Byte order marks, UTF-8 validation, Windows-1252 and line ends of definition files.
#include "tools/definitions/TextEncoding.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace qztool {

namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

// Windows-1252 differs from Unicode's first 256 characters in these 32; its five gaps stand for themselves.
constexpr std::array<std::uint16_t, 32> windows1252 = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                       0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                       0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                       0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

unsigned byteAt(std::string_view bytes, std::size_t position) {
    return static_cast<unsigned char>(bytes[position]);
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool looksLikeUtf16(std::string_view bytes) {
    if (startsWith(bytes, "\xFF\xFE") || startsWith(bytes, "\xFE\xFF"))
        return true;
    if (bytes.size() < 4)
        return false;
    bool const evenAreNul = bytes[0] == '\0' && bytes[2] == '\0';
    bool const oddAreNul = bytes[1] == '\0' && bytes[3] == '\0';
    return evenAreNul != oddAreNul;
}

std::size_t lineOf(std::string_view bytes, std::size_t position) {
    std::size_t line = 1;
    for (std::size_t i = 0; i < position; ++i) {
        bool const lineFeedOfPair = bytes[i] == '\n' && i > 0 && bytes[i - 1] == '\r';
        if ((bytes[i] == '\n' || bytes[i] == '\r') && !lineFeedOfPair)
            ++line;
    }
    return line;
}

// Position after the ASCII bytes from `position` on; eight at a time, as nearly all of a file is ASCII.
std::size_t skipAscii(std::string_view bytes, std::size_t position) {
    constexpr std::uint64_t highBits = 0x8080808080808080U;
    for (std::uint64_t eight = 0; position + sizeof eight <= bytes.size(); position += sizeof eight) {
        std::memcpy(&eight, bytes.data() + position, sizeof eight);
        if ((eight & highBits) != 0)
            break;
    }
    while (position < bytes.size() && byteAt(bytes, position) < 0x80)
        ++position;
    return position;
}

// Length of the well-formed UTF-8 sequence of two to four bytes at `position`; 0 if there is none. Overlong forms,
// surrogates and values above U+10FFFF show in the second byte.
std::size_t sequenceLength(std::string_view bytes, std::size_t position) {
    unsigned const lead = byteAt(bytes, position);
    std::size_t length = 0;
    unsigned lowest = 0x80;
    unsigned highest = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        lowest = lead == 0xE0 ? 0xA0 : lowest;
        highest = lead == 0xED ? 0x9F : highest;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        lowest = lead == 0xF0 ? 0x90 : lowest;
        highest = lead == 0xF4 ? 0x8F : highest;
    }
    if (length == 0 || length > bytes.size() - position)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        unsigned const next = byteAt(bytes, position + i);
        if (next < lowest || next > highest)
            return 0;
        lowest = 0x80;
        highest = 0xBF;
    }
    return length;
}

bool isUtf8(std::string_view bytes) {
    std::size_t position = skipAscii(bytes, 0);
    while (position < bytes.size()) {
        const std::size_t length = sequenceLength(bytes, position);
        if (length == 0)
            return false;
        position = skipAscii(bytes, position + length);
    }
    return true;
}

void appendUtf8(std::string& text, unsigned character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0U | (character >> 6U));
        text += static_cast<char>(0x80U | (character & 0x3FU));
    } else {
        text += static_cast<char>(0xE0U | (character >> 12U));
        text += static_cast<char>(0x80U | ((character >> 6U) & 0x3FU));
        text += static_cast<char>(0x80U | (character & 0x3FU));
    }
}

std::string fromWindows1252(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 16);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        unsigned const byte = byteAt(bytes, i);
        appendUtf8(text, byte >= 0x80 && byte < 0xA0 ? windows1252[byte - 0x80] : byte);
    }
    return text;
}

std::string withLineFeeds(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] != '\r')
            result += text[i];
        else if (i + 1 == text.size() || text[i + 1] != '\n')
            result += '\n';
    return result;
}

} // namespace

std::optional<Problem> findEncodingProblem(std::string_view bytes) {
    if (looksLikeUtf16(bytes))
        return Problem{0, Severity::Error, "the file is UTF-16 text; save it as UTF-8 or Windows-1252"};
    const std::size_t nul = bytes.find('\0');
    if (nul != std::string_view::npos)
        return Problem{lineOf(bytes, nul), Severity::Error, "there is a NUL byte: this is a binary file, not text"};
    return std::nullopt;
}

std::string_view toPlainText(std::string_view bytes, std::string& storage) {
    std::string_view text = bytes;
    if (startsWith(text, utf8Mark))
        text.remove_prefix(utf8Mark.size());
    if (!isUtf8(text)) {
        storage = fromWindows1252(text);
        text = storage;
    }
    if (text.find('\r') != std::string_view::npos) {
        storage = withLineFeeds(text);
        text = storage;
    }
    return text;
}

} // namespace qztool
