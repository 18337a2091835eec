// Which messages a frame may be of.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/drive/can/ParameterGroups.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace qztool {

// Numbers of the messages of a file by bus and address, also by the addresses of event-triggered frames and by
// parameter group.
class MessageIndex {
public:
    void add(MessageDefinition const& message, std::size_t number) {
        if (message.byParameterGroup)
            d_groups[groupOf(message.address)].push_back({number, sourceOf(message.address)});
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
        auto const group = bus == Bus::Can && extended ? d_groups.find(groupOf(address)) : d_groups.end();
        if (group == d_groups.end())
            return result;
        // Of several messages of a group, for different sources, each has its own, and other sources send the first.
        std::vector<Member> const& members = group->second;
        bool const isOwn = std::any_of(members.begin(), members.end(),
                                       [address](Member const& member) { return member.source == sourceOf(address); });
        std::uint8_t const source = isOwn ? sourceOf(address) : members.front().source;
        for (Member const& member : members)
            if (member.source == source)
                result.push_back(member.number);
        return result;
    }
    bool hasGroups() const { return !d_groups.empty(); }

private:
    struct Member {
        std::size_t number;
        std::uint8_t source;
    };

    static std::uint64_t keyOf(Bus bus, bool extended, std::uint32_t address) {
        return std::uint64_t{static_cast<std::uint8_t>(bus)} << 40 | std::uint64_t{extended} << 32 | address;
    }

    std::unordered_map<std::uint64_t, std::vector<std::size_t>> d_addresses;
    std::unordered_map<std::uint32_t, std::vector<Member>> d_groups;
};

} // namespace qztool
