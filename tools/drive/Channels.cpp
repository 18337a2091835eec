// Channel prefixes and the choice of a channel.
#include "tools/drive/Channels.h"
#include "tools/base/Characters.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <utility>

namespace qztool {

namespace {

std::optional<std::uint8_t> channelOf(std::string const& prefix) {
    if (!std::all_of(prefix.begin(), prefix.end(), [](unsigned char c) { return std::isalnum(c) != 0; }))
        return std::nullopt;
    auto const lastLetter = std::find_if_not(prefix.rbegin(), prefix.rend(), isDigit<char>).base();
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

Network& Channels::add(Bus bus, std::size_t file, std::optional<std::uint8_t> channel) {
    auto const others = std::count_if(d_networks.begin(), d_networks.end(),
                                      [bus](Network const& network) { return network.bus == bus; });
    Network& added = d_networks.emplace_back();
    added.bus = bus;
    added.file = file;
    added.channel = channel;
    added.isRestricted = channel.has_value();
    added.filed = static_cast<std::uint8_t>(others);
    fillCandidates(bus);
    return added;
}

void Channels::fillCandidates(Bus bus) {
    auto& candidates = d_candidates[static_cast<std::size_t>(bus)];
    for (std::size_t channel = 0; channel < candidates.size(); ++channel) {
        std::vector<Network*> restricted, others;
        for (Network& network : d_networks)
            if (network.bus == bus && network.isRestricted && *network.channel == channel)
                restricted.push_back(&network);
            else if (network.bus == bus && !network.isRestricted)
                others.push_back(&network);
        candidates[channel] = restricted.empty() ? std::move(others) : std::move(restricted);
    }
}

bool Channels::claim(Network& network, std::uint8_t recorded) {
    if (!network.channel)
        network.channel = recorded;
    if (*network.channel == recorded)
        return true;
    ++network.foreignFrames;
    return false;
}

} // namespace qztool
