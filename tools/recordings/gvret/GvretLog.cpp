// Header and columns.
#include "tools/recordings/gvret/GvretLog.h"

#include "tools/recordings/text/TextCursor.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace qztool {

namespace {

// The next column, without spaces around it; empty if the line has no more.
std::string_view takeColumn(std::string_view& line) {
    std::size_t const end = std::min(line.find(','), line.size());
    TextCursor column(line.substr(0, end));
    line.remove_prefix(std::min(end + 1, line.size()));
    return column.word();
}

// Returns false if `word` is not a number in that base, or above `most`.
template <typename Number>
bool toNumber(std::string_view word, int base, Number most, Number& value) {
    char const* const end = word.data() + word.size();
    auto const [position, error] = std::from_chars(word.data(), end, value, base);
    return error == std::errc() && position == end && value <= most;
}

} // namespace

bool GvretLog::fits(std::string_view line) {
    return takeColumn(line) == "Time" && takeColumn(line) == "ID" && takeColumn(line) == "Extended";
}

ParsedLine GvretLog::parse(std::string_view line, Frame& frame) {
    if (TextCursor(line).word().empty())
        return {};
    if (fits(line)) {
        d_hasDirection = line.find("Dir") != std::string_view::npos;
        return {};
    }
    frame.bus = Bus::Can;
    if (!toNumber(takeColumn(line), 10, UINT64_MAX, frame.timestamp))
        return malformedLine("time is not a number of microseconds");
    std::string_view const identifier = takeColumn(line);
    std::string_view const extended = takeColumn(line);
    if (extended != "true" && extended != "false")
        return malformedLine("column Extended is neither true nor false");
    frame.flags = extended == "true" ? frameFlag::extended : 0;
    if (!toNumber(identifier, 16, frame.extended() ? highestExtendedIdentifier : highestStandardIdentifier,
                  frame.address))
        return malformedLine("identifier is not a hexadecimal number that fits");
    if (d_hasDirection) {
        std::string_view const direction = takeColumn(line);
        if (direction != "Rx" && direction != "Tx")
            return malformedLine("direction is neither Rx nor Tx");
        frame.flags |= direction == "Rx" ? frameFlag::received : frameFlag::transmitted;
    }
    if (!toNumber(takeColumn(line), 10, std::uint8_t{255}, frame.channel))
        return malformedLine("bus is not a number up to 255");
    if (!toNumber(takeColumn(line), 10, std::uint8_t{mostCanBytes}, frame.length))
        return malformedLine("length is not a number up to 64");
    frame.add(frameFlag::fd, frame.length > mostClassicBytes);
    for (std::size_t i = 0; i < frame.length; ++i)
        if (!toNumber(takeColumn(line), 16, std::uint8_t{255}, frame.bytes[i]))
            return malformedLine("fewer data bytes than the length says, or one that is not hexadecimal");
    return {LineKind::Frame};
}

} // namespace qztool
