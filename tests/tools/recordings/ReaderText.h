// What a reader of frames makes of bytes, as text to compare.
#pragma once

#include "tests/tools/recordings/MemorySource.h"

#include "tools/recordings/Findings.h"
#include "tools/recordings/FrameReader.h"
#include "tools/recordings/InputBuffer.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// "1500000 can 2 7FF fd,rx 0102" of time, bus, channel, address (8 digits: extended; decimal on other buses, with the
// cycle on FlexRay: "25/1"), flags and data. Remote frames have what they ask for in place of data: "8 bytes".
inline std::string fullTextOf(Frame const& frame) {
    constexpr struct {
        std::uint16_t flag;
        char const* name;
    } names[] = {
        {frameFlag::fd, "fd"},         {frameFlag::bitRateSwitch, "brs"}, {frameFlag::errorState, "esi"},
        {frameFlag::remote, "remote"}, {frameFlag::error, "error"},       {frameFlag::null, "null"},
        {frameFlag::received, "rx"},   {frameFlag::transmitted, "tx"},    {frameFlag::channelA, "A"},
        {frameFlag::channelB, "B"},
    };
    char text[32];
    std::string result =
        std::to_string(frame.timestamp) + ' ' + busName(frame.bus) + ' ' + std::to_string(frame.channel) + ' ';
    if (frame.bus == Bus::Can) {
        std::snprintf(text, sizeof text, "%0*lX", frame.extended() ? 8 : 3, static_cast<unsigned long>(frame.address));
        result += text;
    } else {
        result += std::to_string(frame.address);
    }
    if (frame.bus == Bus::FlexRay)
        result += '/' + std::to_string(frame.cycle);
    std::string flags;
    for (auto const& each : names)
        if (frame.is(each.flag))
            flags += (flags.empty() ? "" : ",") + std::string(each.name);
    result += ' ' + (flags.empty() ? "-" : flags) + ' ';
    if (frame.is(frameFlag::remote))
        return result + std::to_string(frame.length) + " bytes";
    for (std::size_t i = 0; i < frame.length; ++i) {
        std::snprintf(text, sizeof text, "%02X", static_cast<unsigned>(frame.bytes[i]));
        result += text;
    }
    return result;
}

// All of a recording: its frames, then "! CAUSE: PLACES" of what is malformed, "- COUNT KIND" of what is skipped, and
// the problem.
using RecordingText = std::vector<std::string>;

struct Pieces {
    std::size_t most = std::string::npos; // bytes a read
    bool interrupts = false;
};

template <typename Reader>
RecordingText textOfRecording(std::string const& content, Pieces pieces = {},
                              std::optional<std::uint64_t>* startTime = nullptr) {
    MemorySource source(content, pieces.most, pieces.interrupts);
    InputBuffer input(source);
    Findings findings("'x'");
    Reader reader(input, findings);
    RecordingText lines;
    Frame frame;
    std::uint64_t lastPlace = 0;
    for (;;) {
        frame.flags = 0xFFFF;
        frame.length = 77;
        FrameReader::Next const next = reader.next(frame);
        if (next == FrameReader::Next::End)
            break;
        if (next == FrameReader::Next::Interrupted)
            continue;
        lines.push_back(fullTextOf(frame));
        if (reader.place() <= lastPlace)
            lines.emplace_back("place does not grow");
        lastPlace = reader.place();
    }
    if (reader.next(frame) != FrameReader::Next::End && !pieces.interrupts)
        lines.emplace_back("the end is none");
    for (Malformed const& each : findings.malformed())
        lines.push_back("! " + std::string(each.cause) + ": " + each.places.text());
    for (auto const& [kind, count] : findings.skipped())
        lines.push_back("- " + std::to_string(count) + ' ' + kind);
    if (!findings.problem().empty())
        lines.push_back(findings.problem());
    if (startTime != nullptr)
        *startTime = reader.startTime();
    return lines;
}

} // namespace qztool
