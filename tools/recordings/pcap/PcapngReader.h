// Reads the frames of pcapng files, as Wireshark writes them.
#pragma once

#include "tools/recordings/ByteOrder.h"
#include "tools/recordings/Findings.h"
#include "tools/recordings/FrameReader.h"
#include "tools/recordings/InputBuffer.h"
#include "tools/recordings/pcap/InterfaceTime.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace qztool {

// Blocks: kind (4 bytes), size of all (4 bytes), content filled up to a multiple of 4 bytes, the size again. A section
// header tells the byte order of what follows, and forgets the interfaces so far; then come descriptions of interfaces,
// and packets, each of one of them.
class PcapngReader : public FrameReader {
public:
    static bool fits(std::string_view bytes);
    static std::unique_ptr<FrameReader> open(InputBuffer& input, Findings& findings);

    PcapngReader(InputBuffer& input, Findings& findings) : d_input(input), d_findings(findings) {}

    Next next(Frame& frame) override;
    std::uint64_t place() const override { return d_place; }
    char const* placeKind() const override { return "packet"; }
    std::optional<std::uint64_t> startTime() const override { return 0; }

private:
    using Read = InputBuffer::Read;

    struct Interface {
        std::uint32_t linkType = 0;
        std::uint8_t channel = 0;
        InterfaceTime time;
    };

    Read toNextBlock();
    Read beginSection();
    bool readBlock(Frame& frame);
    void addInterface(std::string_view content);
    bool readEnhancedPacket(std::string_view content, bool isOld, Frame& frame);
    bool readSimplePacket(std::string_view content, Frame& frame);
    bool readContent(std::uint32_t interface, std::string_view bytes, std::uint32_t originalSize, Frame& frame);
    std::uint16_t number16(char const* bytes) const { return readInteger<std::uint16_t>(bytes, d_order); }
    std::uint32_t number32(char const* bytes) const { return readInteger<std::uint32_t>(bytes, d_order); }
    Next stop(Read reason);

    InputBuffer& d_input;
    Findings& d_findings;
    ByteOrder d_order = ByteOrder::Little;
    std::vector<Interface> d_interfaces;
    std::uint64_t d_left = 0; // bytes of the block before
    std::uint64_t d_place = 0;
};

} // namespace qztool
