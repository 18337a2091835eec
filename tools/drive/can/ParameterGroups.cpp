// Whose frames a source sends.
#include "tools/drive/can/ParameterGroups.h"

#include <algorithm>

namespace qztool {

namespace {

bool haveOneSource(std::vector<ParameterGroups::Member> const& members) {
    return std::all_of(members.begin(), members.end(), [&members](ParameterGroups::Member const& member) {
        return sourceOf(member.identifier) == sourceOf(members.front().identifier);
    });
}

} // namespace

void ParameterGroups::add(std::uint32_t identifier, std::size_t message) {
    d_groups[groupOf(identifier)].push_back({message, identifier, std::nullopt});
}

std::vector<std::pair<ParameterGroups::Member, bool>> ParameterGroups::membersOf(std::uint32_t identifier) {
    std::uint8_t const source = sourceOf(identifier);
    std::vector<Member>& members = d_groups.at(groupOf(identifier));
    bool const oneSource = haveOneSource(members);
    std::vector<std::pair<Member, bool>> own, others;
    for (Member& member : members) {
        if (!member.plainSource)
            member.plainSource = oneSource ? source : sourceOf(member.identifier);
        if (*member.plainSource == source)
            own.emplace_back(member, true);
        else if (sourceOf(member.identifier) == sourceOf(members.front().identifier))
            others.emplace_back(member, false);
    }
    return own.empty() ? others : own;
}

void ParameterGroups::insert(Route& route, std::uint32_t identifier) {
    if (std::find(route.begin(), route.end(), identifier) == route.end())
        route.push_back(identifier);
}

ParameterGroups ParameterGroups::unseen() const {
    ParameterGroups result;
    result.d_groups = d_groups;
    for (auto& [group, members] : result.d_groups)
        for (Member& member : members)
            member.plainSource = std::nullopt;
    return result;
}

} // namespace qztool
