// Writes pcap and pcapng files for tests, in either byte order.
#pragma once

#include "tools/recordings/ByteOrder.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace qztool {
namespace pcap {

inline std::string number(std::uint64_t value, std::size_t bytes, ByteOrder order) {
    std::string result;
    for (std::size_t i = 0; i < bytes; ++i) {
        std::size_t const shift = 8 * (order == ByteOrder::Little ? i : bytes - 1 - i);
        result += static_cast<char>(value >> shift & 0xFF);
    }
    return result;
}

// A SocketCAN frame. `identifier` has 80000000 for extended, 40000000 for remote and 20000000 for error frames;
// `length` is that of `data`, unless it is given.
inline std::string frame(std::uint32_t identifier, std::string const& data, unsigned fdFlags = 0,
                         ByteOrder order = ByteOrder::Big, int length = -1) {
    std::size_t const stated = length < 0 ? data.size() : static_cast<std::size_t>(length);
    return number(identifier, 4, order) + number(stated, 1, order) + number(fdFlags, 1, order) + std::string(2, '\0') +
           data;
}

struct File {
    ByteOrder order = ByteOrder::Little;
    std::uint32_t mark = 0xA1B2C3D4;

    std::string header(std::uint32_t linkType) const {
        return number(mark, 4, order) + number(2, 2, order) + number(4, 2, order) + std::string(8, '\0') +
               number(262144, 4, order) + number(linkType, 4, order);
    }
    std::string packet(std::string const& bytes, std::uint32_t seconds = 0, std::uint32_t fraction = 0) const {
        return packetOf(bytes, static_cast<std::uint32_t>(bytes.size()), seconds, fraction);
    }
    std::string packetOf(std::string const& bytes, std::uint32_t originalSize, std::uint32_t seconds = 0,
                         std::uint32_t fraction = 0) const {
        return number(seconds, 4, order) + number(fraction, 4, order) + number(bytes.size(), 4, order) +
               number(originalSize, 4, order) + bytes;
    }
};

struct NgFile {
    ByteOrder order = ByteOrder::Little;

    static std::string filled(std::string const& bytes) {
        return bytes + std::string((4 - bytes.size() % 4) % 4, '\0');
    }

    std::string block(std::uint32_t kind, std::string const& content) const {
        std::string const all = filled(content);
        std::string const size = number(all.size() + 12, 4, order);
        return number(kind, 4, order) + size + all + size;
    }
    std::string section() const {
        return block(0x0A0D0D0A,
                     number(0x1A2B3C4D, 4, order) + number(1, 2, order) + number(0, 2, order) + std::string(8, '\xFF'));
    }
    std::string option(unsigned kind, std::string const& value) const {
        return number(kind, 2, order) + number(value.size(), 2, order) + filled(value);
    }
    std::string endOfOptions() const { return option(0, ""); }
    std::string interface(std::uint32_t linkType, std::string const& options = "") const {
        return block(1, number(linkType, 2, order) + std::string(2, '\0') + number(262144, 4, order) + options);
    }
    std::string packet(std::uint32_t interface, std::string const& bytes, std::uint64_t ticks = 0,
                       std::string const& options = "") const {
        return block(6, number(interface, 4, order) + header(bytes, ticks) + filled(bytes) + options);
    }
    std::string oldPacket(std::uint32_t interface, std::string const& bytes, std::uint64_t ticks = 0) const {
        return block(2, number(interface, 2, order) + number(7, 2, order) + header(bytes, ticks) + bytes);
    }
    std::string simplePacket(std::string const& bytes) const {
        return block(3, number(bytes.size(), 4, order) + bytes);
    }

private:
    std::string header(std::string const& bytes, std::uint64_t ticks) const {
        return number(ticks >> 32, 4, order) + number(ticks & 0xFFFFFFFF, 4, order) + number(bytes.size(), 4, order) +
               number(bytes.size(), 4, order);
    }
};

} // namespace pcap
} // namespace qztool
