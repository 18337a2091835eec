// What the fuzz targets of definition formats share: a database stays in the ranges of its types, and is the same
// however the lines of its file end.
#pragma once

#include "tests/fuzz/Expect.h"
#include "tests/tools/definitions/Ranges.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tools/definitions/TextEncoding.h"

#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

namespace qztool {

// All that is in a database.
inline std::string textOf(Database const& database) {
    std::ostringstream out;
    out << problemsOf(database);
    for (ChannelDefinition const& channel : database.channels)
        out << channel.name << "\n";
    for (MessageDefinition const& message : database.messages) {
        FlexRayTiming const& timing = message.flexRay;
        out << message.line << " " << message.channel << " " << message.name << " " << message.address << " "
            << message.extended << message.length << " " << message.cycleTime << " " << timing.baseCycle + 0 << " "
            << timing.repetition + 0 << timing.channelA << timing.channelB << timing.staticSegment;
        for (std::uint32_t const event : message.eventTriggered)
            out << " " << event;
        out << " " << multiplexingOf(message) << "\n";
        for (SignalDefinition const& signal : message.signals)
            out << signal.line << " " << signal.pdu << static_cast<int>(signal.kind) << " " << signal.startBit << "|"
                << signal.bits << "@" << signal.bigEndian << " " << signal.factor << " " << signal.offset << " "
                << signal.minimum << " " << signal.maximum << " " << signal.unit << " " << valuesOf(signal) << "\n";
    }
    return out.str();
}

inline void fuzzDefinitions(Database (*read)(std::string_view), std::uint8_t const* data, std::size_t size) {
    std::string const text(data, data + size);
    Database const database = read(text);
    std::string const found = textOf(database);
    char const* const broken = brokenRange(database, text);
    expect(broken == nullptr, broken, text, found);
    if (findEncodingProblem(text))
        return;
    if (text.rfind("\xEF\xBB\xBF", 0) != 0)
        expectEqual(textOf(read("\xEF\xBB\xBF" + text)), found, "with a mark", text);
    if (text.find('\r') != std::string::npos)
        return;
    std::string other;
    for (char const c : text)
        other += c == '\n' ? std::string("\r\n") : std::string(1, c);
    expectEqual(textOf(read(other)), found, "with other line ends", text);
}

} // namespace qztool
