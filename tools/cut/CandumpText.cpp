// The fields of a candump line, from left to right.
#include "tools/cut/CandumpText.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace qztool {

namespace {

constexpr std::uint32_t errorFrameBit = 0x20000000;

void appendBytes(Frame const& frame, std::size_t count, std::string& text) {
    constexpr char digits[] = "0123456789ABCDEF";
    for (std::size_t i = 0; i < count; ++i) {
        std::uint8_t const byte = i < frame.length ? frame.bytes[i] : std::uint8_t{0};
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
}

void appendData(Frame const& frame, std::string& text) {
    if (frame.is(frameFlag::error)) {
        appendBytes(frame, mostClassicBytes, text);
    } else if (frame.is(frameFlag::remote)) {
        text += 'R';
        if (frame.length != 0)
            text += std::to_string(frame.length);
    } else {
        if (frame.is(frameFlag::fd)) {
            text += '#';
            text += static_cast<char>('0' + (frame.is(frameFlag::bitRateSwitch) ? 1 : 0) +
                                      (frame.is(frameFlag::errorState) ? 2 : 0));
        }
        appendBytes(frame, frame.length, text);
    }
}

} // namespace

bool appendCandumpLine(Frame const& frame, std::string& text) {
    constexpr std::uint64_t second = 1'000'000;
    if (frame.bus != Bus::Can)
        return false;
    bool const isError = frame.is(frameFlag::error);
    std::uint32_t const identifier =
        isError ? errorFrameBit | (frame.address & highestExtendedIdentifier) : frame.address;
    char start[64];
    std::snprintf(start, sizeof start, "(%010llu.%06llu) can%u %0*lX#",
                  static_cast<unsigned long long>(frame.timestamp / second),
                  static_cast<unsigned long long>(frame.timestamp % second), static_cast<unsigned>(frame.channel),
                  isError || frame.extended() ? 8 : 3, static_cast<unsigned long>(identifier));
    text += start;
    appendData(frame, text);
    text += '\n';
    return true;
}

} // namespace qztool
