// Findings by cause and by kind.
#include "tools/recordings/Findings.h"

#include <algorithm>

namespace qztool {

void Findings::addMalformed(char const* cause, std::uint64_t place) {
    ++d_malformedCount;
    auto const known = std::find_if(d_malformed.begin(), d_malformed.end(),
                                    [cause](Malformed const& other) { return std::string_view(other.cause) == cause; });
    Malformed& group = known != d_malformed.end() ? *known : d_malformed.emplace_back(Malformed{cause, LineNumbers()});
    group.places.add(static_cast<std::size_t>(place));
    if (d_listener != nullptr)
        d_listener->malformed(group, place);
}

void Findings::addSkipped(std::string_view kind) {
    auto const known = d_skipped.find(kind);
    if (known != d_skipped.end())
        ++known->second;
    else
        d_skipped.emplace(kind, 1);
}

} // namespace qztool
