// Reads the lines that candump prints to a screen.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/CandumpTime.h"
#include "tools/recordings/text/ParsedLine.h"
#include "tools/recordings/text/TextCursor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qztool {

//  (1757617431.821276)  can0  123   [8]  11 22 33 44 55 66 77 88           with a time or without; see CandumpTime
//   can1       123  [12]  11 22 33 44 55 66 77 88 99 AA BB CC              two digits of length: CAN FD
//   can1  18FEF100   [4]  remote request                                   8 digits: extended
//   can0  20000088   [8]  00 00 80 19 00 00 00 0A   ERRORFRAME             bit 29 of the identifier: error frame
//         bus-error                                                        -e: what it means, after a tab
//   can0  RX B E  123  [08]  11 22 33 44 55 66 77 88   '."3DUfw.'          -x: direction, BRS, ESI; -a: as text
//   can0  123   [2]  00010001 00100010                                     -i: in bits
//   can0  123   [2]  22`11                                                 -S: the last byte first
//   can0  123   {C}  11 22 33 44 55 66 77 88                               -8: length code of a classic frame
// In colours (-c) as well. The lines of log2long have no space at their beginning.
class CandumpScreen {
public:
    // True if the line can only be one of these: all fields up to the length are there.
    static bool fits(std::string_view line);

    // As LineFormat's.
    void lookAhead(std::string_view lines) { d_time.lookAhead(lines); }
    ParsedLine parse(std::string_view line, Frame& frame);
    std::optional<std::uint64_t> startTime() const { return d_time.startTime(); }

private:
    ParsedLine parseFrame(TextCursor cursor, Frame& frame);

    CandumpTime d_time;
    std::string d_plain;            // a line without its colours
    bool d_afterErrorFrame = false; // or after a line about one
};

} // namespace qztool
