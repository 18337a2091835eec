// Reads the lines of TRC logs, the text format of PEAK's tools.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/LineFormat.h"
#include "tools/recordings/text/TextCursor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qztool {

// ;$FILEVERSION=2.1                                    without this line: 1.0
// ;$STARTTIME=43008.920986006946                       days since December 30, 1899, in local time
// ;$COLUMNS=N,O,T,B,I,d,R,L,D                          from 2.0 on; see below
// ; any comment
//      1)      1841  0001  8  00 00 00 00 00 00 00 00      1.0: number, milliseconds since the start, identifier,
//                                                               length, data
//      2)    1841.7  Rx  07FF  3  RTR                      1.1: with kind; identifiers of 8 digits are extended
//      3)    1841.7 1  Tx 00000100 2 01 02                 1.2: with bus
//      4)  1841.700 1  Error 0008 -  4 00 19 08 08         1.3: with a column for what may come
//      5   1841.700 FD 1 0300 Rx -  9  00 ...              2.0 and 2.1: columns in the order of the header
class TrcLog : public LineFormat {
public:
    TrcLog();

    // True if the line's beginning suggests this format.
    static bool fits(std::string_view line);
    ParsedLine parse(std::string_view line, Frame& frame) override;
    std::optional<std::uint64_t> startTime() const override { return d_startTime; }

private:
    static constexpr std::size_t mostColumns = 12;

    ParsedLine parseHeader(std::string_view line);
    ParsedLine parseColumns(std::string_view letters);
    char const* readColumn(char column, TextCursor& cursor, Frame& frame, char const*& skipped);
    char const* readKind(std::string_view word, Frame& frame, char const*& skipped);
    char const* readLength(char column, std::string_view word, Frame& frame) const;
    void setColumns(std::string_view letters);

    std::array<char, mostColumns> d_columns{}; // letters as in the header; 't' for the kinds of 1.x
    std::size_t d_columnCount = 0;
    std::optional<std::uint64_t> d_startTime;
};

} // namespace qztool
