// Reads the lines of candump, in its log format or as it prints them to a screen.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/CandumpScreen.h"
#include "tools/recordings/text/LineFormat.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qztool {

// The log format, of `candump -L` and `candump -l`:
// (1757617431.821276) can0 167#727FC3000019E500      3 digits: standard identifier, 8 digits: extended
// (1757617431.821276) can0 18FEF100#R8               remote frame, with or without a length
// (1757617431.821276) can0 123##1A0B1                CAN FD: flags (1: BRS, 2: ESI) and up to 64 bytes
// (1757617431.821276) can0 20000080#0000000000000000 error frame: bit 29 of the identifier
// # a comment
// Eight data bytes may be followed by the raw length code ("_E"), every frame by its direction (" R", " T").
// The channel is the number at the end of the interface's name, 0 if there is none. For the lines of a screen, see
// CandumpScreen.
class CandumpLog : public LineFormat {
public:
    // True if the line's beginning suggests this format.
    static bool fits(std::string_view line);
    void lookAhead(std::string_view lines) override;
    ParsedLine parse(std::string_view line, Frame& frame) override;
    bool linesHaveTheirTimes() const override;
    std::optional<std::uint64_t> startTime() const override;

private:
    ParsedLine parseLogLine(std::string_view line, Frame& frame);
    bool readUsualLine(std::string_view line, Frame& frame);
    bool readSecond(char const* text);

    std::array<char, 12> d_secondText{'\n'}; // "(1757617431.", of the last usual line; before, what no line begins with
    std::uint64_t d_second = 0;              // the same in microseconds
    CandumpScreen d_screen;
    bool d_isScreen = false;
};

} // namespace qztool
