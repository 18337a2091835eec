// Quoting of file content in problem texts.
#include "tools/definitions/ProblemText.h"

#include "tools/base/Printable.h"

namespace qztool {

namespace {

constexpr std::size_t longest = 64;

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

} // namespace

std::string quote(std::string_view text) {
    std::size_t size = text.size();
    if (size > longest) {
        size = longest;
        while (size > 0 && continuesCharacter(text[size]))
            --size;
    }
    std::string result = "'";
    for (char const c : text.substr(0, size))
        result += isControlCharacter(c) ? '?' : c;
    result += size < text.size() ? "...'" : "'";
    return result;
}

} // namespace qztool
