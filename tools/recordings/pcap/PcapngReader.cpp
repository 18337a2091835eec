// Sections, interfaces and packets.
#include "tools/recordings/pcap/PcapngReader.h"

#include "tools/base/Characters.h"
#include "tools/recordings/SkipBytes.h"
#include "tools/recordings/pcap/Packet.h"

#include <algorithm>
#include <string>

namespace qztool {

namespace {

constexpr std::uint32_t sectionKind = 0x0A0D0D0A; // reads the same in both byte orders
constexpr std::uint32_t interfaceKind = 1;
constexpr std::uint32_t oldPacketKind = 2;
constexpr std::uint32_t simplePacketKind = 3;
constexpr std::uint32_t enhancedPacketKind = 6;

constexpr std::size_t blockHeaderBytes = 8;
constexpr std::size_t leastBlockBytes = 12;
constexpr std::uint32_t orderMark = 0x1A2B3C4D; // at the beginning of the content of a section header
// Of larger blocks, only the beginning is looked at.
constexpr std::size_t mostBlockBytes = 4096;

constexpr std::size_t interfaceHeaderBytes = 8;
constexpr std::size_t enhancedHeaderBytes = 20;
constexpr std::size_t simpleHeaderBytes = 4;

constexpr std::uint16_t nameOption = 2;
constexpr std::uint16_t resolutionOption = 9;
constexpr std::uint16_t offsetOption = 14;
constexpr std::uint16_t packetFlagsOption = 2;

std::size_t filledUp(std::size_t size) {
    return (size + 3) / 4 * 4;
}

// Calls `use(number, value)` for each option: number (2 bytes), size (2 bytes), value filled up to a multiple of 4
// bytes.
template <typename Use>
void forEachOption(std::string_view options, ByteOrder order, Use use) {
    while (options.size() >= 4) {
        auto const number = readInteger<std::uint16_t>(options.data(), order);
        auto const size = readInteger<std::uint16_t>(options.data() + 2, order);
        if (number == 0 || options.size() - 4 < size)
            return;
        use(number, options.substr(4, size));
        options.remove_prefix(std::min(options.size(), 4 + filledUp(size)));
    }
}

// As candump's channels: the number at the end of the interface's name; 0 if there is none.
std::uint8_t channelOf(std::string_view name) {
    std::size_t begin = name.size();
    while (begin > 0 && isDigit(name[begin - 1]))
        --begin;
    unsigned channel = 0;
    for (; begin < name.size() && channel <= 255; ++begin)
        channel = channel * 10 + static_cast<unsigned>(name[begin] - '0');
    return static_cast<std::uint8_t>(std::min(channel, 255U));
}

} // namespace

bool PcapngReader::fits(std::string_view bytes) {
    return bytes.size() >= 4 && readInteger<std::uint32_t>(bytes.data(), ByteOrder::Big) == sectionKind;
}

std::unique_ptr<FrameReader> PcapngReader::open(InputBuffer& input, Findings& findings) {
    return std::make_unique<PcapngReader>(input, findings);
}

FrameReader::Next PcapngReader::next(Frame& frame) {
    // So that the caller can look whether to stop, even if a large file holds no frames.
    constexpr unsigned mostBlocksWithoutFrame = 65536;
    if (!d_findings.problem().empty())
        return Next::End;
    for (unsigned i = 0; i < mostBlocksWithoutFrame; ++i) {
        if (Read const result = toNextBlock(); result != Read::Bytes)
            return stop(result);
        if (readBlock(frame))
            return Next::Frame;
    }
    return Next::Interrupted;
}

// Bytes: the next block is there, as far as it is of interest.
InputBuffer::Read PcapngReader::toNextBlock() {
    if (d_left != 0)
        if (Read const result = skipBytes(d_input, d_left); result != Read::Bytes)
            return result;
    if (Read const result = d_input.require(leastBlockBytes); result != Read::Bytes)
        return result;
    if (number32(d_input.bytes().data()) == sectionKind)
        if (Read const result = beginSection(); result != Read::Bytes)
            return result;
    std::uint32_t const size = number32(d_input.bytes().data() + 4);
    if (size < leastBlockBytes || size > impossiblePacketBytes) {
        d_findings.failReading("the block after packet " + std::to_string(d_place) + " has an impossible size");
        return Read::End;
    }
    return d_input.require(std::min<std::size_t>(size, mostBlockBytes));
}

InputBuffer::Read PcapngReader::beginSection() {
    char const* const mark = d_input.bytes().data() + blockHeaderBytes;
    for (ByteOrder const order : {ByteOrder::Little, ByteOrder::Big}) {
        if (readInteger<std::uint32_t>(mark, order) == orderMark) {
            d_order = order;
            return Read::Bytes;
        }
    }
    d_findings.failReading("the section after packet " + std::to_string(d_place) + " has no byte order");
    return Read::End;
}

// False: it holds no frame.
bool PcapngReader::readBlock(Frame& frame) {
    char const* const bytes = d_input.bytes().data();
    std::uint32_t const size = number32(bytes + 4);
    d_left = filledUp(size);
    // The end is the size once more. Of blocks that are looked at in part, it is not there.
    std::size_t const contentBytes = std::min<std::size_t>(size - 4, mostBlockBytes) - blockHeaderBytes;
    std::string_view const content(bytes + blockHeaderBytes, contentBytes);
    switch (number32(bytes)) {
    case sectionKind:
        d_interfaces.clear();
        return false;
    case interfaceKind:
        addInterface(content);
        return false;
    case enhancedPacketKind:
        return readEnhancedPacket(content, false, frame);
    case oldPacketKind:
        return readEnhancedPacket(content, true, frame);
    case simplePacketKind:
        return readSimplePacket(content, frame);
    default:
        return false; // names, statistics and the like, which are about packets
    }
}

// 0  link type, 2 bytes      8  options
void PcapngReader::addInterface(std::string_view content) {
    Interface added;
    // Without a name: interfaces in their order.
    added.channel = static_cast<std::uint8_t>(std::min<std::size_t>(d_interfaces.size(), 255));
    if (content.size() >= interfaceHeaderBytes) {
        added.linkType = number16(content.data());
        forEachOption(content.substr(interfaceHeaderBytes), d_order, [&](std::uint16_t option, std::string_view value) {
            if (option == nameOption)
                added.channel = channelOf(value);
            else if (option == resolutionOption && !value.empty())
                added.time.setResolution(byteAt(value.data()));
            else if (option == offsetOption && value.size() >= 8)
                added.time.setOffset(readInteger<std::uint64_t>(value.data(), d_order));
        });
    }
    d_interfaces.push_back(added);
}

// 0  interface, 4 bytes (old: 2, and a count of 2)      4  time: high, then low 4 bytes
// 12  recorded bytes, 4 bytes                           16  bytes as sent, 4 bytes
// 20  the recorded bytes, filled up to a multiple of 4, then options
bool PcapngReader::readEnhancedPacket(std::string_view content, bool isOld, Frame& frame) {
    if (content.size() < enhancedHeaderBytes) {
        ++d_place;
        d_findings.addMalformed("packet is cut short", d_place);
        return false;
    }
    std::uint32_t const interface = isOld ? number16(content.data()) : number32(content.data());
    std::uint64_t const ticks = std::uint64_t{number32(content.data() + 4)} << 32 | number32(content.data() + 8);
    std::size_t const recorded = number32(content.data() + 12);
    std::string_view const bytes = content.substr(enhancedHeaderBytes);
    frame.flags = 0;
    if (recorded < bytes.size())
        forEachOption(bytes.substr(std::min(bytes.size(), filledUp(recorded))), d_order,
                      [&](std::uint16_t option, std::string_view value) {
                          if (option != packetFlagsOption || value.size() < 4)
                              return;
                          std::uint32_t const direction = number32(value.data()) & 3U;
                          frame.flags = direction == 1   ? frameFlag::received
                                        : direction == 2 ? frameFlag::transmitted
                                                         : std::uint16_t{0};
                      });
    if (interface < d_interfaces.size())
        frame.timestamp = d_interfaces[interface].time.microseconds(ticks);
    return readContent(interface, bytes.substr(0, recorded), number32(content.data() + 16), frame);
}

// 0  bytes as sent, 4 bytes      4  the recorded bytes, of the first interface, without a time
bool PcapngReader::readSimplePacket(std::string_view content, Frame& frame) {
    if (content.size() < simpleHeaderBytes) {
        ++d_place;
        d_findings.addMalformed("packet is cut short", d_place);
        return false;
    }
    std::uint32_t const originalSize = number32(content.data());
    frame.flags = 0;
    frame.timestamp = 0;
    return readContent(0, content.substr(simpleHeaderBytes, originalSize), originalSize, frame);
}

bool PcapngReader::readContent(std::uint32_t interface, std::string_view bytes, std::uint32_t originalSize,
                               Frame& frame) {
    ++d_place;
    if (interface >= d_interfaces.size()) {
        d_findings.addMalformed("packet of an interface that is not described", d_place);
        return false;
    }
    frame.channel = d_interfaces[interface].channel;
    Packet const packet = {d_interfaces[interface].linkType, bytes.substr(0, mostPacketBytes), originalSize, d_order};
    return readPacket(packet, d_place, d_findings, frame);
}

FrameReader::Next PcapngReader::stop(Read reason) {
    if (reason == Read::Interrupted)
        return Next::Interrupted;
    if (reason == Read::Failed)
        d_findings.failReading(d_input.source().error());
    else if (d_findings.problem().empty() && (d_left != 0 || !d_input.bytes().empty()))
        d_findings.failReading("unexpected end of file");
    return Next::End;
}

} // namespace qztool
