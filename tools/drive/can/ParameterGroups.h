// The J1939 messages of a network, found by parameter group and source address.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qztool {

// An identifier of 29 bits has priority (3 bits), parameter group (18 bits) and source address (8 bits). In groups
// whose second byte is below 240 (PDU1), the low byte of the group's field is the destination.
constexpr std::uint32_t sourceBits = 0xFF;

// The parameter group alone, at its place in an identifier.
constexpr std::uint32_t groupOf(std::uint32_t identifier) {
    bool const hasDestination = (identifier >> 16 & 0xFF) < 240;
    return identifier & (hasDestination ? 0x03FF0000U : 0x03FFFF00U);
}

constexpr std::uint8_t sourceOf(std::uint32_t identifier) {
    return static_cast<std::uint8_t>(identifier & sourceBits);
}

// The identifier under which the library files signals of one source address, beside those that are filed under the
// definition's identifier. A bit that no identifier has distinguishes the two.
constexpr std::uint32_t sourceIdentifier(std::uint32_t identifier, std::uint8_t source) {
    return 0x20000000U | groupOf(identifier) | source;
}

// Messages are given by their indices in a file.
class ParameterGroups {
public:
    // Identifiers under which the signals are filed that frames of a group and source feed.
    using Route = std::vector<std::uint32_t>;
    // Signals of a message that a new source feeds: those with plain names, or further ones.
    struct Member {
        std::size_t message;
        std::uint32_t identifier;                // of the definition
        std::optional<std::uint8_t> plainSource; // nothing: no frame has come yet
    };

    void add(std::uint32_t identifier, std::size_t message);

    bool defines(std::uint32_t identifier) const { return d_groups.count(groupOf(identifier)) != 0; }
    // Null: the source is new. Allocates nothing.
    Route const* route(std::uint32_t identifier) const {
        auto const found = d_routes.find(groupOf(identifier) | sourceOf(identifier));
        return found != d_routes.end() ? &found->second : nullptr;
    }
    // Finds out which messages of its group, which is defined, a new source sends: the first source of all has the
    // plain names. Where a file defines several messages of one group, for different sources, each has its own, and
    // other sources send the first one. `see(message, hasPlainNames)` is called for each, and `isFiled(identifier)`
    // says whether signals are there in the end.
    template <typename See, typename IsFiled>
    Route const& addRoute(std::uint32_t identifier, See see, IsFiled isFiled) {
        Route route;
        for (auto const& [member, hasPlainNames] : membersOf(identifier)) {
            see(member.message, hasPlainNames);
            if (hasPlainNames && isFiled(member.identifier))
                insert(route, member.identifier);
            std::uint32_t const further = sourceIdentifier(identifier, sourceOf(identifier));
            if (isFiled(further))
                insert(route, further);
        }
        return d_routes[groupOf(identifier) | sourceOf(identifier)] = std::move(route);
    }

    // The same groups, without the sources that were seen.
    ParameterGroups unseen() const;

private:
    std::vector<std::pair<Member, bool>> membersOf(std::uint32_t identifier);
    static void insert(Route& route, std::uint32_t identifier);

    std::unordered_map<std::uint32_t, std::vector<Member>> d_groups; // by `groupOf`
    std::unordered_map<std::uint32_t, Route> d_routes;               // by group and source
};

} // namespace qztool
