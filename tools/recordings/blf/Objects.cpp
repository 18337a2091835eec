// The kinds of objects, and the layouts of those that hold frames. All numbers are little-endian.
#include "tools/recordings/blf/Objects.h"

#include "tools/recordings/ByteOrder.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace qztool {

namespace {

constexpr char const* tooShort = "object is shorter than its kind demands";
constexpr char const* wrongChannel = "channel number above 255";

constexpr std::uint32_t extendedBit = 0x8000'0000; // of identifiers

// 0: received; 1: transmitted; 2: request to transmit
std::uint16_t directionFlag(unsigned direction) {
    return direction == 0 ? frameFlag::received : direction <= 2 ? frameFlag::transmitted : std::uint16_t{0};
}

char const* readIdentifier(std::uint32_t identifier, Frame& frame) {
    bool const extended = (identifier & extendedBit) != 0;
    frame.address = identifier & ~extendedBit;
    if (extended)
        frame.flags |= frameFlag::extended;
    if (frame.address > (extended ? highestExtendedIdentifier : highestStandardIdentifier))
        return extended ? "identifier above 1FFFFFFF" : "standard identifier above 7FF";
    return nullptr;
}

// Of error frames, whose identifier may be cut by the error.
void readErrorIdentifier(std::uint32_t identifier, Frame& frame) {
    frame.flags = frameFlag::error;
    if ((identifier & extendedBit) != 0)
        frame.flags |= frameFlag::extended;
    frame.address = identifier & highestExtendedIdentifier;
}

bool readChannel(std::uint16_t channel, Frame& frame) {
    frame.channel = static_cast<std::uint8_t>(channel);
    return channel <= 255;
}

void copyData(char const* data, std::size_t length, Frame& frame) {
    frame.length = static_cast<std::uint8_t>(length);
    std::memcpy(frame.bytes.data(), data, length);
}

// CAN_MESSAGE and CAN_MESSAGE2:
//     0  channel, 2 bytes      2  flags: 01 transmitted, 80 remote      3  length code      4  identifier, 4 bytes
//     8  data, 8 bytes
char const* readCan(std::string_view content, Frame& frame) {
    if (content.size() < 16)
        return tooShort;
    char const* const bytes = content.data();
    unsigned const flags = byteAt(bytes + 2);
    frame.bus = Bus::Can;
    frame.flags = (flags & 0x01) != 0 ? frameFlag::transmitted : frameFlag::received;
    if ((flags & 0x80) != 0)
        frame.flags |= frameFlag::remote;
    frame.length = std::min<std::uint8_t>(byteAt(bytes + 3), mostClassicBytes);
    std::memcpy(frame.bytes.data(), bytes + 8, mostClassicBytes);
    if (!readChannel(little16(bytes), frame))
        return wrongChannel;
    return readIdentifier(little32(bytes + 4), frame);
}

// Of a frame that may be CAN FD; `valid` bytes of data are recorded.
char const* readDataOfEither(std::string_view data, std::size_t code, std::size_t valid, Frame& frame) {
    std::size_t const most = frame.is(frameFlag::fd) ? mostCanBytes : mostClassicBytes;
    if (frame.is(frameFlag::remote)) {
        frame.length = static_cast<std::uint8_t>(std::min<std::size_t>(code, most));
        return nullptr;
    }
    if (valid > most)
        return frame.is(frameFlag::fd) ? "more than 64 data bytes" : "more than 8 data bytes";
    if (valid > data.size())
        return "fewer data bytes than announced";
    copyData(data.data(), valid, frame);
    return nullptr;
}

// CAN_FD_MESSAGE:
//     0  channel, 2 bytes      2  flags as of CAN_MESSAGE       3  length code      4  identifier, 4 bytes
//    13  FD flags: 01 CAN FD, 02 bit rate switch, 04 error state indicator         14  bytes of data
//    20  data, up to 64 bytes
char const* readCanFd(std::string_view content, Frame& frame) {
    if (content.size() < 20)
        return tooShort;
    char const* const bytes = content.data();
    unsigned const flags = byteAt(bytes + 2);
    unsigned const fdFlags = byteAt(bytes + 13);
    frame.bus = Bus::Can;
    frame.flags = (flags & 0x01) != 0 ? frameFlag::transmitted : frameFlag::received;
    if ((flags & 0x80) != 0)
        frame.flags |= frameFlag::remote;
    if ((fdFlags & 0x01) != 0)
        frame.flags |= frameFlag::fd;
    if ((fdFlags & 0x02) != 0)
        frame.flags |= frameFlag::bitRateSwitch;
    if ((fdFlags & 0x04) != 0)
        frame.flags |= frameFlag::errorState;
    if (!readChannel(little16(bytes), frame))
        return wrongChannel;
    if (char const* const cause = readIdentifier(little32(bytes + 4), frame))
        return cause;
    return readDataOfEither(content.substr(20), byteAt(bytes + 3), byteAt(bytes + 14), frame);
}

// CAN_FD_MESSAGE_64:
//     0  channel      1  length code      2  bytes of data      4  identifier, 4 bytes
//    12  flags, 4 bytes: 0010 remote, 1000 CAN FD, 2000 bit rate switch, 4000 error state indicator
//    34  direction   40  data
char const* readCanFd64(std::string_view content, Frame& frame) {
    if (content.size() < 40)
        return tooShort;
    char const* const bytes = content.data();
    std::uint32_t const flags = little32(bytes + 12);
    frame.bus = Bus::Can;
    frame.channel = byteAt(bytes);
    frame.flags = directionFlag(byteAt(bytes + 34));
    if ((flags & 0x0010) != 0)
        frame.flags |= frameFlag::remote;
    if ((flags & 0x1000) != 0)
        frame.flags |= frameFlag::fd;
    if ((flags & 0x2000) != 0)
        frame.flags |= frameFlag::bitRateSwitch;
    if ((flags & 0x4000) != 0)
        frame.flags |= frameFlag::errorState;
    if (char const* const cause = readIdentifier(little32(bytes + 4), frame))
        return cause;
    return readDataOfEither(content.substr(40), byteAt(bytes + 1), byteAt(bytes + 2), frame);
}

// CAN_ERROR: nothing but the channel, 2 bytes, and the length of the error.
char const* readCanError(std::string_view content, Frame& frame) {
    if (content.size() < 4)
        return tooShort;
    frame.bus = Bus::Can;
    readErrorIdentifier(0, frame);
    frame.length = 0;
    return readChannel(little16(content.data()), frame) ? nullptr : wrongChannel;
}

// CAN_ERROR_EXT:
//     0  channel, 2 bytes     10  length code in the low 4 bits      16  identifier, 4 bytes      24  data, 8 bytes
char const* readCanErrorExt(std::string_view content, Frame& frame) {
    if (content.size() < 32)
        return tooShort;
    char const* const bytes = content.data();
    frame.bus = Bus::Can;
    readErrorIdentifier(little32(bytes + 16), frame);
    copyData(bytes + 24, std::min<std::size_t>(byteAt(bytes + 10) & 0x0FU, mostClassicBytes), frame);
    return readChannel(little16(bytes), frame) ? nullptr : wrongChannel;
}

// CAN_FD_ERROR_64:
//     0  channel      1  length code      2  bytes of data      8  flags, 2 bytes: 01 CAN FD
//    12  identifier, 4 bytes             44  data
char const* readCanFdError64(std::string_view content, Frame& frame) {
    if (content.size() < 44)
        return tooShort;
    char const* const bytes = content.data();
    frame.bus = Bus::Can;
    frame.channel = byteAt(bytes);
    readErrorIdentifier(little32(bytes + 12), frame);
    if ((little16(bytes + 8) & 0x01U) != 0)
        frame.flags |= frameFlag::fd;
    copyData(bytes + 44, std::min<std::size_t>({byteAt(bytes + 2), mostCanBytes, content.size() - 44}), frame);
    return nullptr;
}

char const* readLinData(char const* data, unsigned identifier, unsigned length, unsigned direction, Frame& frame) {
    frame.bus = Bus::Lin;
    frame.flags = directionFlag(direction);
    frame.address = identifier;
    if (identifier > highestLinIdentifier)
        return "LIN identifier above 63";
    if (length > 8)
        return "more than 8 data bytes";
    copyData(data, length, frame);
    return nullptr;
}

// LIN_MESSAGE:
//     0  channel, 2 bytes      2  identifier      3  bytes of data      4  data, 8 bytes      18  direction
char const* readLin(std::string_view content, Frame& frame) {
    if (content.size() < 19)
        return tooShort;
    char const* const bytes = content.data();
    if (!readChannel(little16(bytes), frame))
        return wrongChannel;
    return readLinData(bytes + 4, byteAt(bytes + 2), byteAt(bytes + 3), byteAt(bytes + 18), frame);
}

// LIN_MESSAGE2, whose first 112 bytes are about the times of parts of the frame:
//    12  channel, 2 bytes     37  identifier     38  bytes of data    112  data, 8 bytes     122  direction
char const* readLin2(std::string_view content, Frame& frame) {
    if (content.size() < 123)
        return tooShort;
    char const* const bytes = content.data();
    if (!readChannel(little16(bytes + 12), frame))
        return wrongChannel;
    return readLinData(bytes + 112, byteAt(bytes + 37), byteAt(bytes + 38), byteAt(bytes + 122), frame);
}

char const* readFlexRayData(std::string_view data, unsigned slot, unsigned cycle, std::size_t length, Frame& frame) {
    frame.bus = Bus::FlexRay;
    frame.address = slot;
    frame.cycle = static_cast<std::uint8_t>(cycle);
    if (slot == 0 || slot > highestSlot)
        return "FlexRay slot is not one of 1 to 2047";
    if (cycle > 63)
        return "FlexRay cycle above 63";
    if (frame.is(frameFlag::null)) {
        frame.length = 0;
        return nullptr;
    }
    if (length > mostFrameBytes)
        return "more than 254 data bytes";
    if (length > data.size())
        return "fewer data bytes than announced";
    copyData(data.data(), length, frame);
    return nullptr;
}

// FLEXRAY_MESSAGE:
//     0  channel, 2 bytes      2  direction      20  slot, 2 bytes      24  state, 2 bytes: 08 null frame
//    26  bytes of data        27  cycle          32  data, 64 bytes
// Which of FlexRay's channels it was on is not recorded.
char const* readFlexRayMessage(std::string_view content, Frame& frame) {
    constexpr std::size_t mostData = 64;
    if (content.size() < 32)
        return tooShort;
    char const* const bytes = content.data();
    frame.flags = directionFlag(byteAt(bytes + 2)) | frameFlag::channelA | frameFlag::channelB;
    if ((little16(bytes + 24) & 0x08U) != 0)
        frame.flags |= frameFlag::null;
    if (!readChannel(little16(bytes), frame))
        return wrongChannel;
    return readFlexRayData(content.substr(32, mostData), little16(bytes + 20), byteAt(bytes + 27), byteAt(bytes + 26),
                           frame);
}

// FR_RCVMESSAGE, with data at 44, and FR_RCVMESSAGE_EX, with data at 84:
//     0  channel, 2 bytes      4  mask of FlexRay's channels: 1 A, 2 B      6  direction
//    16  slot, 2 bytes        24  bytes of data, 2 bytes                   26  cycle
//    36  flags, 4 bytes: 01 null frame
char const* readReceivedFlexRay(std::string_view content, std::size_t dataAt, Frame& frame) {
    if (content.size() < dataAt)
        return tooShort;
    char const* const bytes = content.data();
    unsigned const mask = byteAt(bytes + 4);
    frame.flags = directionFlag(byteAt(bytes + 6));
    if ((mask & 1U) != 0)
        frame.flags |= frameFlag::channelA;
    if ((mask & 2U) != 0)
        frame.flags |= frameFlag::channelB;
    if ((little32(bytes + 36) & 0x01U) != 0)
        frame.flags |= frameFlag::null;
    if (!readChannel(little16(bytes), frame))
        return wrongChannel;
    return readFlexRayData(content.substr(dataAt), little16(bytes + 16), byteAt(bytes + 26), little16(bytes + 24),
                           frame);
}

char const* readFlexRayReceived(std::string_view content, Frame& frame) {
    return readReceivedFlexRay(content, 44, frame);
}

char const* readFlexRayReceivedEx(std::string_view content, Frame& frame) {
    return readReceivedFlexRay(content, 84, frame);
}

constexpr std::size_t kinds = 132;

constexpr std::array<ObjectKind, kinds> makeTable() {
    std::array<ObjectKind, kinds> table{};
    table[1] = {"CAN frame", readCan};
    table[2] = {"CAN error frame", readCanError};
    table[3] = {"CAN overload frame", nullptr};
    table[4] = {"CAN statistics", nullptr};
    table[5] = {"trigger", nullptr};
    table[6] = {"environment variable", nullptr};
    table[7] = table[6];
    table[8] = table[6];
    table[9] = table[6];
    table[11] = {"LIN frame", readLin};
    table[12] = {"LIN checksum error", nullptr};
    table[13] = {"LIN length information", nullptr};
    table[14] = {"LIN receive error", nullptr};
    table[15] = {"LIN send error", nullptr};
    table[16] = {"LIN slave timeout", nullptr};
    table[17] = {"LIN schedule change", nullptr};
    table[18] = {"LIN synchronisation error", nullptr};
    table[19] = {"LIN baud rate", nullptr};
    table[20] = {"LIN sleep", nullptr};
    table[21] = {"LIN wake-up", nullptr};
    for (std::size_t most = 22; most <= 25; ++most)
        table[most] = {"MOST event", nullptr};
    table[29] = {"FlexRay data of an old kind", nullptr};
    table[30] = {"FlexRay synchronisation", nullptr};
    table[31] = {"CAN driver error", nullptr};
    for (std::size_t most = 32; most <= 39; ++most)
        table[most] = {"MOST event", nullptr};
    table[40] = {"FlexRay cycle start", nullptr};
    table[41] = {"FlexRay frame", readFlexRayMessage};
    table[42] = {"LIN checksum information", nullptr};
    table[43] = {"LIN spike", nullptr};
    table[44] = {"CAN driver synchronisation", nullptr};
    table[45] = {"FlexRay status", nullptr};
    table[46] = {"GPS position", nullptr};
    table[47] = {"FlexRay error", nullptr};
    table[48] = table[45];
    table[49] = table[40];
    table[50] = {"FlexRay frame", readFlexRayReceived};
    table[51] = {"real-time clock", nullptr};
    table[54] = {"LIN statistics", nullptr};
    table[55] = {"J1708 message", nullptr};
    table[56] = table[55];
    table[57] = {"LIN frame", readLin2};
    table[58] = table[15];
    table[59] = table[18];
    table[60] = table[12];
    table[61] = table[14];
    table[62] = table[21];
    table[63] = table[43];
    table[64] = {"LIN long dominant signal", nullptr};
    table[65] = {"text", nullptr};
    table[66] = {"FlexRay frame", readFlexRayReceivedEx};
    for (std::size_t most = 67; most <= 70; ++most)
        table[most] = {"MOST event", nullptr};
    table[71] = {"Ethernet frame", nullptr};
    table[72] = {"system variable", nullptr};
    table[73] = {"CAN error frame", readCanErrorExt};
    table[74] = table[31];
    table[75] = table[64];
    for (std::size_t most = 76; most <= 85; ++most)
        table[most] = {"MOST event", nullptr};
    table[86] = {"CAN frame", readCan};
    table[87] = {"LIN unexpected wake-up", nullptr};
    table[88] = {"LIN short or slow response", nullptr};
    table[89] = {"LIN disturbance", nullptr};
    table[90] = {"serial event", nullptr};
    table[91] = {"overrun", nullptr};
    table[92] = {"comment", nullptr};
    table[93] = {"WLAN frame", nullptr};
    table[94] = {"WLAN statistics", nullptr};
    table[95] = {"MOST event", nullptr};
    table[96] = {"marker", nullptr};
    table[97] = {"AFDX frame", nullptr};
    table[98] = {"AFDX statistics", nullptr};
    table[99] = {"K-line status", nullptr};
    table[100] = {"CAN FD frame", readCanFd};
    table[101] = {"CAN FD frame", readCanFd64};
    table[102] = {"Ethernet receive error", nullptr};
    table[103] = {"Ethernet status", nullptr};
    table[104] = {"CAN error frame", readCanFdError64};
    table[105] = table[88];
    for (std::size_t afdx = 106; afdx <= 109; ++afdx)
        table[afdx] = {"AFDX event", nullptr};
    for (std::size_t a429 = 110; a429 <= 113; ++a429)
        table[a429] = {"ARINC 429 event", nullptr};
    table[114] = {"Ethernet statistics", nullptr};
    for (std::size_t internal = 115; internal <= 118; ++internal)
        table[internal] = {"recorder's own data", nullptr};
    table[119] = {"diagnostic request", nullptr};
    table[120] = table[71];
    table[121] = table[71];
    table[122] = {"Ethernet error", nullptr};
    table[123] = table[122];
    table[124] = {"function bus event", nullptr};
    table[125] = {"data loss", nullptr};
    table[126] = table[125];
    table[127] = {"high-water mark", nullptr};
    table[128] = {"trigger", nullptr};
    table[129] = {"CAN setting", nullptr};
    table[130] = {"distributed object", nullptr};
    table[131] = {"attribute", nullptr};
    return table;
}

constexpr std::array<ObjectKind, kinds> table = makeTable();
constexpr ObjectKind unknown = {nullptr, nullptr};

} // namespace

ObjectKind const& objectKindOf(std::uint32_t number) {
    return number < table.size() ? table[number] : unknown;
}

} // namespace qztool
