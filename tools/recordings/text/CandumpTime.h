// Time stamps of candump's lines on a screen, whatever its option -t was.
#pragma once

#include "tools/recordings/text/TextCursor.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qztool {

// -t a   (1757617431.821276)              seconds since 1970
// -t A   (2025-09-11 19:03:51.821276)     the same as local time
// -t z   (000.821276)                     seconds since the first line
// -t d   (000.000124)                     seconds since the line before; these are added up
// The last two look alike. Times since the line before step back all the time, which the others hardly do. `lookAhead`
// decides by the lines that are there already. Lines that come one by one are taken for -t z until one steps back.
class CandumpTime {
public:
    // Takes lines of a recording that begins there; the last one may be incomplete.
    void lookAhead(std::string_view lines);
    // Moves over a stamp with its parentheses. Returns nothing, or the cause if it fails.
    char const* read(TextCursor& cursor, std::uint64_t& microseconds);
    // As FrameReader's.
    std::optional<std::uint64_t> startTime() const;

private:
    enum class Reference {
        Unknown, // no stamp so far
        Epoch,
        Open, // one of the next two
        FirstLine,
        LineBefore
    };

    // What becomes known of short stamps as they come.
    struct Steps {
        std::uint64_t count = 0;
        std::uint64_t back = 0;
        std::uint64_t last = 0;
        bool constant = true; // but for the first one

        void add(std::uint64_t time);
        // Open: not to be decided yet.
        Reference reference() const;
    };

    char const* readDate(TextCursor& cursor, std::uint64_t& microseconds);
    char const* addUp(std::uint64_t& microseconds);

    Reference d_reference = Reference::Unknown;
    Steps d_steps;
    std::uint64_t d_sum = 0;           // of the stamps so far
    std::array<char, 20> d_dateText{}; // "2025-09-11 19:03:51.", of the last date
    std::uint64_t d_date = 0;          // the same in microseconds since 1970
};

} // namespace qztool
