// Channel prefixes and the choice of a channel.
#include "tools/drive/Channels.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace qztool {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::optional<std::uint8_t> channelOf(std::string const& prefix) {
    if (!std::all_of(prefix.begin(), prefix.end(), [](unsigned char c) { return std::isalnum(c) != 0; }))
        return std::nullopt;
    auto const lastLetter = std::find_if_not(prefix.rbegin(), prefix.rend(), isDigit).base();
    std::uint8_t channel = 0;
    char const* const end = prefix.data() + prefix.size();
    auto const result = std::from_chars(prefix.data() + (lastLetter - prefix.begin()), end, channel);
    return result.ec == std::errc() && result.ptr == end ? std::optional<std::uint8_t>(channel) : std::nullopt;
}

} // namespace

DefinitionFile parseDefinitionFile(std::string const& argument) {
    std::size_t const colon = argument.find(':');
    if (colon != std::string::npos)
        if (auto const channel = channelOf(argument.substr(0, colon)))
            return {channel, argument.substr(colon + 1)};
    return {std::nullopt, argument};
}

std::uint8_t Channels::common() const {
    // There are more channel numbers than anybody has definition files; 0 if all are taken.
    auto const free = std::find(d_own.begin(), d_own.end(), false);
    return free != d_own.end() ? static_cast<std::uint8_t>(free - d_own.begin()) : std::uint8_t{0};
}

} // namespace qztool
