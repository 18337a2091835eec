// Which messages a frame may be of.
#pragma once

#include "tools/definitions/Database.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace qztool {

// The parameter group of a J1939 identifier; of groups with a destination, the destination is left out.
constexpr std::uint32_t parameterGroup(std::uint32_t identifier) {
    std::uint32_t const group = identifier >> 8 & 0x3FFFF;
    constexpr std::uint32_t firstWithoutDestination = 0xF0;
    return (group >> 8 & 0xFF) < firstWithoutDestination ? group & 0x3FF00 : group;
}

// Numbers of messages by bus and address, also by the addresses of event-triggered frames and by parameter group.
class MessageIndex {
public:
    void add(MessageDefinition const& message, std::size_t number) {
        if (message.byParameterGroup)
            d_groups[parameterGroup(message.address)].push_back(number);
        else
            d_addresses[keyOf(message.bus, message.extended, message.address)].push_back(number);
        for (std::uint32_t const event : message.eventTriggered)
            d_addresses[keyOf(message.bus, false, event)].push_back(number);
    }
    std::vector<std::size_t> find(Bus bus, bool extended, std::uint32_t address) const {
        std::vector<std::size_t> result;
        auto const same = d_addresses.find(keyOf(bus, extended, address));
        if (same != d_addresses.end())
            result = same->second;
        auto const group = bus == Bus::Can && extended ? d_groups.find(parameterGroup(address)) : d_groups.end();
        if (group != d_groups.end())
            result.insert(result.end(), group->second.begin(), group->second.end());
        return result;
    }
    bool hasGroups() const { return !d_groups.empty(); }

private:
    static std::uint64_t keyOf(Bus bus, bool extended, std::uint32_t address) {
        return std::uint64_t{static_cast<std::uint8_t>(bus)} << 40 | std::uint64_t{extended} << 32 | address;
    }

    std::unordered_map<std::uint64_t, std::vector<std::size_t>> d_addresses;
    std::unordered_map<std::uint32_t, std::vector<std::size_t>> d_groups;
};

} // namespace qztool
