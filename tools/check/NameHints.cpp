// Words in names.
#include "tools/check/NameHints.h"

#include <algorithm>
#include <initializer_list>
#include <string>

namespace qztool {

namespace {

bool isCapital(char c) {
    return c >= 'A' && c <= 'Z';
}

bool isSmall(char c) {
    return c >= 'a' && c <= 'z';
}

char lowered(char c) {
    return isCapital(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

// In small letters, with a space before, after and between words.
std::string wordsOf(std::string_view name) {
    std::string words = " ";
    char last = ' ';
    for (char const c : name) {
        if (isCapital(c) && isSmall(last))
            words += ' ';
        words += isCapital(c) || isSmall(c) ? lowered(c) : ' ';
        last = c;
    }
    return words + " ";
}

bool containsAny(std::string_view text, std::initializer_list<std::string_view> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [text](std::string_view part) { return text.find(part) != std::string_view::npos; });
}

std::string smallLetters(std::string_view name) {
    std::string result(name);
    std::transform(result.begin(), result.end(), result.begin(), lowered);
    return result;
}

} // namespace

bool isNamedCounter(std::string_view name) {
    return containsAny(smallLetters(name), {"counter", "alive", "rolling"}) ||
           containsAny(wordsOf(name), {" cnt ", " cntr ", " ctr ", " count ", " bz "});
}

bool isNamedChecksum(std::string_view name) {
    std::string const words = wordsOf(name);
    bool const isAny = containsAny(smallLetters(name), {"checksum", "chksum", "chcksum"}) ||
                       containsAny(words, {" crc ", " chk ", " chks ", " cks "});
    return isAny && !containsAny(words, {" error ", " err ", " fault ", " fail ", " flt ", " valid ", " invalid ",
                                         " ok ", " status ", " sts "});
}

} // namespace qztool
