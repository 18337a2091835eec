// File header and packets.
#include "tools/recordings/pcap/PcapReader.h"

#include "tools/recordings/SkipBytes.h"
#include "tools/recordings/pcap/Packet.h"

#include <algorithm>

namespace qztool {

namespace {

constexpr std::uint32_t microsecondsMark = 0xA1B2C3D4;
constexpr std::uint32_t nanosecondsMark = 0xA1B23C4D;
constexpr std::size_t fileHeaderBytes = 24;
constexpr std::size_t linkTypeAt = 20;
constexpr std::uint32_t linkTypeBits = 0xFFFF; // above: about check sums of packets
constexpr std::size_t packetHeaderBytes = 16;

bool isMark(std::uint32_t number) {
    return number == microsecondsMark || number == nanosecondsMark;
}

} // namespace

bool PcapReader::fits(std::string_view bytes) {
    return bytes.size() >= 4 && (isMark(readInteger<std::uint32_t>(bytes.data(), ByteOrder::Little)) ||
                                 isMark(readInteger<std::uint32_t>(bytes.data(), ByteOrder::Big)));
}

std::unique_ptr<FrameReader> PcapReader::open(InputBuffer& input, Findings& findings) {
    return std::make_unique<PcapReader>(input, findings);
}

std::uint32_t PcapReader::number(std::size_t offset) const {
    return readInteger<std::uint32_t>(d_input.bytes().data() + offset, d_order);
}

FrameReader::Next PcapReader::next(Frame& frame) {
    // So that the caller can look whether to stop, even if a large file holds no frames.
    constexpr unsigned mostPacketsWithoutFrame = 65536;
    if (!d_findings.problem().empty())
        return Next::End;
    if (!d_headerRead)
        if (Read const result = readFileHeader(); result != Read::Bytes)
            return stop(result);
    for (unsigned i = 0; i < mostPacketsWithoutFrame; ++i) {
        if (Read const result = toNextPacket(); result != Read::Bytes)
            return stop(result);
        if (readRecord(frame))
            return Next::Frame;
    }
    return Next::Interrupted;
}

InputBuffer::Read PcapReader::readFileHeader() {
    if (Read const result = d_input.require(fileHeaderBytes); result != Read::Bytes)
        return result;
    d_order = isMark(number(0)) ? ByteOrder::Little : ByteOrder::Big;
    d_nanoseconds = number(0) == nanosecondsMark;
    d_linkType = number(linkTypeAt) & linkTypeBits;
    d_input.consume(fileHeaderBytes);
    d_headerRead = true;
    return Read::Bytes;
}

// Bytes: the next packet is there, as far as it is of interest.
InputBuffer::Read PcapReader::toNextPacket() {
    if (d_left != 0)
        if (Read const result = skipBytes(d_input, d_left); result != Read::Bytes)
            return result;
    if (Read const result = d_input.require(packetHeaderBytes); result != Read::Bytes)
        return result;
    std::uint32_t const size = number(8);
    if (size > impossiblePacketBytes) {
        d_findings.failReading("packet " + std::to_string(d_place + 1) + " has an impossible size");
        return Read::End;
    }
    return d_input.require(packetHeaderBytes + std::min<std::size_t>(size, mostPacketBytes));
}

// False: it holds no frame.
bool PcapReader::readRecord(Frame& frame) {
    ++d_place;
    std::uint32_t const size = number(8);
    d_left = packetHeaderBytes + std::uint64_t{size};
    std::uint32_t const fraction = number(4);
    frame.timestamp = std::uint64_t{number(0)} * 1'000'000 + (d_nanoseconds ? fraction / 1000 : fraction);
    frame.flags = 0;
    frame.channel = 0;
    std::string_view const bytes =
        d_input.bytes().substr(packetHeaderBytes, std::min<std::size_t>(size, mostPacketBytes));
    return readPacket({d_linkType, bytes, number(12), d_order}, d_place, d_findings, frame);
}

FrameReader::Next PcapReader::stop(Read reason) {
    if (reason == Read::Interrupted)
        return Next::Interrupted;
    if (reason == Read::Failed)
        d_findings.failReading(d_input.source().error());
    else if (d_findings.problem().empty() && (!d_headerRead || d_left != 0 || !d_input.bytes().empty()))
        d_findings.failReading("unexpected end of file");
    return Next::End;
}

} // namespace qztool
