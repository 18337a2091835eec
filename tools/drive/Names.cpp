// Spelling of names.
#include "tools/drive/Names.h"

#include <algorithm>
#include <array>
#include <charconv>

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

std::string channelPrefix(Bus bus, std::optional<std::uint8_t> channel) {
    return busName(bus) + (channel ? std::to_string(*channel) : "*") + ".";
}

std::string sourceSuffix(std::uint8_t source) {
    constexpr char digits[] = "0123456789ABCDEF";
    return {'_', 'S', 'A', digits[source >> 4], digits[source & 0xF]};
}

namespace {

// Reads a whole text as a number without sign.
std::optional<std::uint8_t> numberIn(std::string_view text, int base) {
    std::uint8_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// The name with the channel that it begins with, if it begins with one.
std::optional<NameReading> withoutChannel(std::string const& name) {
    std::size_t const point = name.find('.');
    for (std::size_t i = 0; i < busKinds && point != std::string::npos; ++i) {
        std::string_view const bus = busName(static_cast<Bus>(i));
        if (name.compare(0, bus.size(), bus) != 0 || point <= bus.size())
            continue;
        auto const channel = numberIn(std::string_view(name).substr(bus.size(), point - bus.size()), 10);
        if (!channel || channelPrefix(static_cast<Bus>(i), channel).size() != point + 1) // leading zeros
            continue;
        std::string const prefix = channelPrefix(static_cast<Bus>(i), std::nullopt);
        return NameReading{prefix + name.substr(point + 1), channel, std::nullopt, prefix.size()};
    }
    return std::nullopt;
}

// "_2" and the like at the end of a name that another signal has as well.
std::string withoutNumber(std::string const& name) {
    std::size_t const digit = name.find_last_not_of("0123456789") + 1;
    return digit != name.size() && digit >= 2 && name[digit - 1] == '_' ? name.substr(0, digit - 1) : name;
}

void addWithoutSource(NameReading const& reading, std::vector<NameReading>& result) {
    std::string const& name = reading.base;
    constexpr std::size_t length = 5; // of "_SA0B"
    for (std::size_t i = name.find("_SA"); i != std::string::npos; i = name.find("_SA", i + 1)) {
        if (i + length >= name.size() || name[i + length] != '.')
            continue;
        auto const source = numberIn(std::string_view(name).substr(i + 3, 2), 16);
        if (!source || name.compare(i, length, sourceSuffix(*source)) != 0)
            continue;
        NameReading without = reading;
        without.source = source;
        without.base.erase(i, length);
        result.push_back(without);
        if (std::string const shorter = withoutNumber(without.base); shorter != without.base) {
            without.base = shorter;
            result.push_back(without);
        }
    }
}

} // namespace

std::vector<NameReading> readingsOf(std::string const& name, bool hasChannel) {
    std::vector<NameReading> result;
    std::optional<NameReading> const late = hasChannel ? withoutChannel(name) : std::nullopt;
    if (late)
        result.push_back(*late);
    // A channel may be part of the base as well: of a file that serves it alone.
    addWithoutSource({name, std::nullopt, std::nullopt, late ? name.find('.') + 1 : 0}, result);
    if (late)
        addWithoutSource(*late, result);
    return result;
}

std::string listText(std::vector<std::string> const& names) {
    constexpr std::size_t most = 20;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), most); ++i)
        text += (text.empty() ? "" : ", ") + names[i];
    return text + (names.size() > most ? " and " + std::to_string(names.size() - most) + " more" : "");
}

} // namespace qztool
