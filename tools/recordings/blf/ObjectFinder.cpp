// Searching.
#include "tools/recordings/blf/ObjectFinder.h"

#include <algorithm>

namespace qztool {

namespace {

constexpr std::string_view mark = "LOBJ";
constexpr std::size_t mostFill = 3;

// How many of the last bytes, which do not hold the mark, are the beginning of one.
std::size_t beginningOfMark(std::string_view bytes) {
    std::size_t count = std::min(bytes.size(), mark.size() - 1);
    while (bytes.substr(bytes.size() - count) != mark.substr(0, count))
        --count;
    return count;
}

} // namespace

InputBuffer::Read ObjectFinder::find() {
    for (;;) {
        std::string_view const bytes = d_input.bytes();
        if (bytes.size() >= BaseHeader::bytes && bytes.substr(0, mark.size()) == mark)
            return InputBuffer::Read::Bytes;
        std::size_t const found = bytes.find(mark);
        // The end of these bytes may be the beginning of the mark.
        pass(found != std::string_view::npos ? found : bytes.size() - std::min(bytes.size(), mark.size() - 1));
        if (d_input.bytes().size() >= BaseHeader::bytes)
            continue;
        InputBuffer::Read const result = d_input.fill();
        if (result == InputBuffer::Read::Bytes)
            continue;
        if (result == InputBuffer::Read::End && found == std::string_view::npos)
            pass(d_input.bytes().size() - beginningOfMark(d_input.bytes()));
        return result;
    }
}

void ObjectFinder::pass(std::size_t count) {
    d_passed += count;
    if (d_passedOnlyZeros)
        d_passedOnlyZeros = d_input.bytes().substr(0, count).find_first_not_of('\0') == std::string_view::npos;
    d_input.consume(count);
}

bool ObjectFinder::takeDamage() {
    bool const isDamage = d_passed > mostFill && !d_passedOnlyZeros;
    d_passed = 0;
    d_passedOnlyZeros = true;
    return isDamage;
}

} // namespace qztool
