// Names, numbers and keys of segments.
#include "tools/drive/SegmentPlan.h"

#include "tools/machine/SharedSignals.h"

#include <algorithm>
#include <climits>

namespace qztool {

std::string keyFileProblem(std::string const& instance) {
    if (instance.size() > NAME_MAX)
        return "the name is longer than " + std::to_string(NAME_MAX) + " characters";
    return "";
}

std::optional<SegmentShortage> segmentShortage(std::vector<std::string> const& instances) {
    auto const wanted = static_cast<std::size_t>(std::count_if(
        instances.begin(), instances.end(), [](std::string const& instance) { return !segmentExists(instance); }));
    SegmentLimit const segments = segmentLimit();
    if (segments.limit == 0 || wanted + segments.inUse <= segments.limit)
        return std::nullopt;
    return SegmentShortage{wanted, segments.limit, segments.inUse};
}

std::string SegmentKeys::claim(std::string const& instance) {
    std::optional<key_t> const key = claimKey(instance, d_keys);
    if (!key)
        return "";
    auto const [entry, isNew] = d_keys.try_emplace(*key, instance);
    return isNew ? "" : entry->second;
}

} // namespace qztool
