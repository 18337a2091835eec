// Reads the frames of pcap files, as tcpdump writes them.
#pragma once

#include "tools/recordings/ByteOrder.h"
#include "tools/recordings/Findings.h"
#include "tools/recordings/FrameReader.h"
#include "tools/recordings/InputBuffer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace qztool {

// In the byte order of the machine that recorded, which the mark tells:
//     0  mark, 4 bytes: A1B2C3D4 microseconds, A1B23C4D nanoseconds      20  link type, 4 bytes
//    24  packets, each:
//         0  seconds since 1970, 4 bytes           4  fraction, 4 bytes
//         8  recorded bytes, 4 bytes              12  bytes as sent, 4 bytes           16  the recorded bytes
// All packets are of channel 0, as the file names no interface.
class PcapReader : public FrameReader {
public:
    static bool fits(std::string_view bytes);
    static std::unique_ptr<FrameReader> open(InputBuffer& input, Findings& findings);

    PcapReader(InputBuffer& input, Findings& findings) : d_input(input), d_findings(findings) {}

    Next next(Frame& frame) override;
    std::uint64_t place() const override { return d_place; }
    char const* placeKind() const override { return "packet"; }
    std::optional<std::uint64_t> startTime() const override { return 0; }

private:
    using Read = InputBuffer::Read;

    Read readFileHeader();
    Read toNextPacket();
    bool readRecord(Frame& frame);
    std::uint32_t number(std::size_t offset) const;
    Next stop(Read reason);

    InputBuffer& d_input;
    Findings& d_findings;
    bool d_headerRead = false;
    ByteOrder d_order = ByteOrder::Little;
    bool d_nanoseconds = false;
    std::uint32_t d_linkType = 0;
    std::uint64_t d_left = 0; // bytes of the packet before
    std::uint64_t d_place = 0;
};

} // namespace qztool
