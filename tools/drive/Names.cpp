// Spelling of names.
#include "tools/drive/Names.h"

#include <algorithm>
#include <array>

namespace qztool {

namespace {

constexpr std::array<bool, 256> makeNameCharacters() {
    std::array<bool, 256> fits{};
    for (bool& each : fits)
        each = true;
    // As the scanner of expressions has it.
    for (char const c : std::string_view(" \t\r\n\0!()*+,-/:<=>", 17))
        fits[static_cast<unsigned char>(c)] = false;
    return fits;
}

constexpr std::array<bool, 256> nameCharacters = makeNameCharacters();

bool fitsName(char c) {
    return nameCharacters[static_cast<unsigned char>(c)];
}

bool beginsName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

} // namespace

std::string originalName(MessageDefinition const& message, std::size_t signal) {
    SignalDefinition const& own = message.signals[signal];
    bool const isTwice =
        !own.pdu.empty() && std::count_if(message.signals.begin(), message.signals.end(),
                                          [&own](auto const& other) { return other.name == own.name; }) > 1;
    return message.name + "." + (isTwice ? own.pdu + "." : "") + own.name;
}

std::string expressionName(std::string_view original) {
    std::string name(original);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !fitsName(c); }, '_');
    return !name.empty() && beginsName(name.front()) ? name : "_" + name;
}

bool isExpressionName(std::string_view name) {
    return !name.empty() && beginsName(name.front()) && std::all_of(name.begin(), name.end(), fitsName);
}

} // namespace qztool
