// Integers in the bytes of binary recordings, in either byte order and at any address.
#pragma once

#include <cstdint>
#include <cstring>

namespace qztool {

enum class ByteOrder { Little, Big };

namespace byteOrder {

constexpr ByteOrder ofHost = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ByteOrder::Little : ByteOrder::Big;

inline std::uint16_t swapped(std::uint16_t number) {
    return __builtin_bswap16(number);
}
inline std::uint32_t swapped(std::uint32_t number) {
    return __builtin_bswap32(number);
}
inline std::uint64_t swapped(std::uint64_t number) {
    return __builtin_bswap64(number);
}

} // namespace byteOrder

template <typename Number>
Number readInteger(char const* bytes, ByteOrder order) {
    Number number = 0;
    std::memcpy(&number, bytes, sizeof number);
    return order == byteOrder::ofHost ? number : byteOrder::swapped(number);
}

inline std::uint8_t byteAt(char const* bytes) {
    return static_cast<std::uint8_t>(*bytes);
}

inline std::uint16_t little16(char const* bytes) {
    return readInteger<std::uint16_t>(bytes, ByteOrder::Little);
}
inline std::uint32_t little32(char const* bytes) {
    return readInteger<std::uint32_t>(bytes, ByteOrder::Little);
}
inline std::uint64_t little64(char const* bytes) {
    return readInteger<std::uint64_t>(bytes, ByteOrder::Little);
}

} // namespace qztool
