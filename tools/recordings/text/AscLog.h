// Reads the lines of ASC logs, the text format of Vector's tools.
#pragma once

#include "tools/recordings/Frame.h"
#include "tools/recordings/text/LineFormat.h"
#include "tools/recordings/text/TextCursor.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace qztool {

// date Sat Sep 30 15:06:13.191 2017
// base hex  timestamps absolute          base of identifiers, lengths and data; relative: to the previous event's time
// // version 9.0.0
// Begin Triggerblock Sat Sep 30 15:06:13.191 2017
//    0.015991 1  18EBFF00x       Rx d 2 01 A0   Length = 273910    seconds, channel, identifier (x: extended), data
//    0.015991 2  100             Tx r                              remote frame
//    0.015991 CANFD   4 Rx        4EE  0 1 f 64 A1 02 ...          CAN FD: BRS, ESI, length code, length, data
//    0.073973 Li 2d              Tx       8 00 f0 ...             LIN: identifier, direction, length, data
//    0.039255 Fr RMSG 0 0 1 1 4 7 ...                              FlexRay: see AscFlexRay.h
//    0.015991 CAN 1 Status:chip status error active                an event of another kind
// End TriggerBlock
class AscLog : public LineFormat {
public:
    // True if the line can open a log: header, comment or event.
    static bool fits(std::string_view line);
    ParsedLine parse(std::string_view line, Frame& frame) override;
    bool linesHaveTheirTimes() const override { return !d_relative; }
    std::optional<std::uint64_t> startTime() const override { return d_startTime; }

private:
    ParsedLine parseBase(TextCursor cursor);
    ParsedLine parseDate(TextCursor cursor);
    static ParsedLine errorFrame(std::string_view channel, Frame& frame);
    ParsedLine parseFdEvent(TextCursor cursor, Frame& frame) const;
    ParsedLine parseLinEvent(std::string_view channel, TextCursor cursor, Frame& frame) const;
    ParsedLine parseEvent(TextCursor cursor, Frame& frame);
    ParsedLine parseFrame(TextCursor cursor, Frame& frame) const;
    char const* readEventTime(TextCursor& cursor);
    char const* readLongData(TextCursor& cursor, std::uint32_t number, Frame& frame) const;

    // A log without a base line has what the format's tools choose by themselves.
    int d_base = 16;
    bool d_relative = false;
    std::uint64_t d_time = 0; // of the last event, of whatever kind; microseconds
    std::optional<std::uint64_t> d_startTime;
};

} // namespace qztool
