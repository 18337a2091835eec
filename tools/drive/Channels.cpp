// Channel prefixes and the choice of a channel.
#include "tools/drive/Channels.h"
#include "tools/base/Characters.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <utility>

namespace qztool {

namespace {

constexpr unsigned mostFiled = 255; // channel numbers of the library are bytes

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

// Networks that serve each channel have no signals.
unsigned Channels::nextFiled(Bus bus) const {
    return static_cast<unsigned>(std::count_if(d_networks.begin(), d_networks.end(), [bus](Network const& network) {
        return network.bus == bus && !network.servesEach;
    }));
}

Network& Channels::add(Bus bus, std::size_t file, std::optional<std::uint8_t> channel) {
    unsigned const filed = nextFiled(bus);
    Network& added = d_networks.emplace_back();
    added.bus = bus;
    added.file = file;
    added.channel = channel;
    added.isRestricted = channel.has_value();
    added.servesEach = d_inNames && !channel;
    added.filed = filed;
    fillCandidates(bus);
    return added;
}

Network& Channels::open(Network& network, std::uint8_t channel) {
    for (Network& each : d_networks)
        if (each.madeOf == &network && each.channel == channel)
            return each;
    unsigned const filed = nextFiled(network.bus);
    Network& opened = d_networks.emplace_back();
    opened.bus = network.bus;
    opened.file = network.file;
    opened.index = network.index;
    opened.channel = channel;
    opened.madeOf = &network;
    opened.filed = filed;
    opened.eventTriggered = network.eventTriggered;
    if (network.groups)
        opened.groups = std::make_unique<ParameterGroups>(network.groups->unseen());
    fillCandidates(network.bus);
    return opened;
}

void Channels::openFor(Frame const& frame) {
    if (d_late == nullptr)
        return;
    auto const unopened = d_candidates[static_cast<std::size_t>(frame.bus)][frame.channel].unopened;
    for (Network* const network : unopened)
        if (d_late->isOf(*network, frame))
            d_late->onChannel(open(*network, frame.channel));
}

void Channels::fillCandidates(Bus bus) {
    auto& candidates = d_candidates[static_cast<std::size_t>(bus)];
    for (std::size_t channel = 0; channel < candidates.size(); ++channel) {
        std::vector<Network*> restricted, others, unopened;
        for (Network& network : d_networks) {
            if (network.bus != bus)
                continue;
            bool const isOther = network.channel && *network.channel != channel;
            if (network.madeOf != nullptr && !isOther)
                unopened.erase(std::find(unopened.begin(), unopened.end(), network.madeOf));
            if (network.filed > mostFiled)
                continue; // no signal of it can be built
            if (network.isRestricted && !isOther)
                restricted.push_back(&network);
            else if (network.servesEach)
                unopened.push_back(&network);
            else if (!network.isRestricted && (network.madeOf == nullptr || !isOther))
                others.push_back(&network);
        }
        if (!restricted.empty())
            unopened.clear();
        candidates[channel] = {restricted.empty() ? std::move(others) : std::move(restricted), std::move(unopened)};
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
