// Linear probing.
#include "tools/drive/FrameTally.h"

#include <cstdio>
#include <utility>

namespace qztool {

std::string identifierText(TalliedFrames const& frames) {
    char text[32];
    if (frames.bus == Bus::Can)
        std::snprintf(text, sizeof text, "%0*lX", frames.extended ? 8 : 3, static_cast<unsigned long>(frames.address));
    else
        std::snprintf(text, sizeof text, "%s %lu", busName(frames.bus), static_cast<unsigned long>(frames.address));
    return text;
}

void FrameTally::add(Frame const& frame) {
    std::uint64_t const key = keyOf(frame);
    std::size_t const mask = d_entries.size() - 1;
    std::size_t i = hash(key) & mask;
    while (d_entries[i].key != key) {
        if (d_entries[i].key == 0) {
            d_entries[i] = {key, 1};
            if (++d_used * 2 > d_entries.size())
                grow();
            return;
        }
        i = (i + 1) & mask;
    }
    ++d_entries[i].count;
}

void FrameTally::grow() {
    std::vector<Entry> const old = std::exchange(d_entries, std::vector<Entry>(d_entries.size() * 2));
    std::size_t const mask = d_entries.size() - 1;
    for (Entry const& entry : old) {
        if (entry.key == 0)
            continue;
        std::size_t i = hash(entry.key) & mask;
        while (d_entries[i].key != 0)
            i = (i + 1) & mask;
        d_entries[i] = entry;
    }
}

std::vector<TalliedFrames> FrameTally::all() const {
    std::vector<TalliedFrames> result;
    for (Entry const& entry : d_entries)
        if (entry.key != 0)
            result.push_back({static_cast<Bus>(entry.key >> 48 & 0xFF), static_cast<std::uint8_t>(entry.key >> 40),
                              (entry.key >> 32 & frameFlag::extended) != 0, static_cast<std::uint32_t>(entry.key),
                              entry.count});
    return result;
}

} // namespace qztool
