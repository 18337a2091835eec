// What the fuzz targets of binary recordings share: the promises of every reader of frames.
#pragma once

#include "tests/fuzz/Expect.h"
#include "tests/tools/recordings/ReaderText.h"
#include "tools/recordings/Frame.h"

#include <cstdint>
#include <string>

namespace qztool {

inline void expectWellFormed(Frame const& frame) {
    std::size_t const most = frame.bus == Bus::FlexRay ? mostFrameBytes
                             : frame.bus == Bus::Lin   ? mostClassicBytes
                             : frame.is(frameFlag::fd) ? mostCanBytes
                                                       : mostClassicBytes;
    std::uint32_t const highest = frame.bus == Bus::FlexRay                        ? highestSlot
                                  : frame.bus == Bus::Lin                          ? highestLinIdentifier
                                  : frame.extended() || frame.is(frameFlag::error) ? highestExtendedIdentifier
                                                                                   : highestStandardIdentifier;
    expect(frame.address <= highest, "address", fullTextOf(frame));
    // Of error frames of CAN FD, the format need not say that they are.
    expect(frame.length <= most || (frame.is(frameFlag::error) && frame.length <= mostCanBytes), "length",
           fullTextOf(frame));
    expect(frame.bus != Bus::FlexRay || frame.cycle <= 63, "cycle", fullTextOf(frame));
}

template <typename Reader>
std::string allOf(std::string const& content, Pieces pieces) {
    std::string text;
    for (std::string const& line : textOfRecording<Reader>(content, pieces))
        text += line + '\n';
    return text;
}

// Frames are well-formed, their places grow, and nothing that is found depends on the pieces in which the bytes come.
template <typename Reader>
void expectReader(std::string const& content) {
    MemorySource source(content);
    InputBuffer input(source);
    Findings findings;
    Reader reader(input, findings);
    Frame frame;
    std::uint64_t place = 0;
    for (auto next = reader.next(frame); next != FrameReader::Next::End; next = reader.next(frame)) {
        if (next != FrameReader::Next::Frame)
            continue;
        expectWellFormed(frame);
        expect(reader.place() > place, "place");
        place = reader.place();
    }
    std::string const whole = allOf<Reader>(content, {});
    expectEqual(allOf<Reader>(content, {1, false}), whole, "byte by byte");
    expectEqual(allOf<Reader>(content, {97, true}), whole, "in pieces");
}

} // namespace qztool
