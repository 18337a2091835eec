// The last lines of a recording, as far as they may still be needed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// Takes as much memory as the lines it ever held at a time, and 16 bytes for each, at most twice.
class LineRing {
public:
    // `time`: of its frame, microseconds as recorded.
    void push(std::uint64_t time, std::string_view line) {
        d_entries.push_back({time, line.size()});
        d_text += line;
    }

    // Removes lines from the front, up to the first that is not before `time`.
    void removeBefore(std::uint64_t time) {
        while (d_first != d_entries.size() && d_entries[d_first].time < time)
            d_begin += d_entries[d_first++].size;
        if (2 * d_first > d_entries.size()) {
            d_entries.erase(d_entries.begin(), d_entries.begin() + static_cast<std::ptrdiff_t>(d_first));
            d_first = 0;
            d_text.erase(0, d_begin);
            d_begin = 0;
        }
    }

    void clear() {
        d_entries.clear();
        d_text.clear();
        d_first = 0;
        d_begin = 0;
    }

    // Calls `visit(time, line)` for each line, in their order.
    template <typename Visitor>
    void forEach(Visitor visit) const {
        std::size_t begin = d_begin;
        for (std::size_t i = d_first; i < d_entries.size(); begin += d_entries[i++].size)
            visit(d_entries[i].time, std::string_view(d_text).substr(begin, d_entries[i].size));
    }

private:
    struct Entry {
        std::uint64_t time;
        std::size_t size;
    };

    std::vector<Entry> d_entries;
    std::size_t d_first = 0; // of the entries that count
    std::string d_text;      // of all entries
    std::size_t d_begin = 0; // of the first one that counts
};

} // namespace qztool
