// Writes BLF files for tests, field by field at the offsets of the format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#ifdef QZSIGNAL_WITH_ZLIB
#include <zlib.h>
#endif

namespace qztool {

// Bytes that are set at offsets, in little-endian order, and zero elsewhere.
class Fields {
public:
    explicit Fields(std::size_t size) : d_bytes(size, '\0') {}

    Fields& set(std::size_t offset, std::size_t bytes, std::uint64_t value) {
        for (std::size_t i = 0; i < bytes; ++i)
            d_bytes.at(offset + i) = static_cast<char>(value >> (8 * i) & 0xFF);
        return *this;
    }
    Fields& set(std::size_t offset, std::string const& bytes) {
        d_bytes.replace(offset, bytes.size(), bytes);
        return *this;
    }
    std::string const& bytes() const { return d_bytes; }

private:
    std::string d_bytes;
};

// 1, 2, 3, ...
inline std::string countedBytes(std::size_t count) {
    std::string bytes;
    for (std::size_t i = 1; i <= count; ++i)
        bytes += static_cast<char>(i & 0xFF);
    return bytes;
}

namespace blf {

struct Date {
    unsigned year, month, day, hour, minute, second, millisecond;
};

inline std::string fileHeader(Date date = {}, std::size_t size = 144) {
    Fields fields(size);
    fields.set(0, "LOGG").set(4, 4, size).set(40, 2, date.year).set(42, 2, date.month).set(44, 2, 6);
    fields.set(46, 2, date.day).set(48, 2, date.hour).set(50, 2, date.minute).set(52, 2, date.second);
    return fields.set(54, 2, date.millisecond).bytes();
}

// The padding that Vector's tools write: as many bytes as the size is above a multiple of four.
inline std::string padded(std::string const& object) {
    return object + std::string(object.size() % 4, '\0');
}

enum class Unit { TenMicroseconds = 1, Nanoseconds = 2 };

// `version`: of the header.
inline std::string object(unsigned kind, std::string const& content, std::uint64_t time = 0,
                          Unit unit = Unit::Nanoseconds, unsigned version = 1) {
    std::size_t const headerSize = version == 2 ? 40 : 32;
    Fields fields(headerSize);
    fields.set(0, "LOBJ").set(4, 2, headerSize).set(6, 2, version).set(8, 4, headerSize + content.size());
    fields.set(12, 4, kind).set(16, 4, static_cast<unsigned>(unit)).set(24, 8, time);
    return padded(fields.bytes() + content);
}

inline std::string container(std::string const& content, std::size_t inflatedSize, unsigned compression) {
    Fields fields(32);
    fields.set(0, "LOBJ").set(4, 2, 16).set(6, 2, 1).set(8, 4, 32 + content.size()).set(12, 4, 10);
    fields.set(16, 2, compression).set(24, 4, inflatedSize);
    return padded(fields.bytes() + content);
}

inline std::string stored(std::string const& content) {
    return container(content, content.size(), 0);
}

#ifdef QZSIGNAL_WITH_ZLIB
inline std::string deflated(std::string const& content) {
    std::string result(compressBound(static_cast<uLong>(content.size())), '\0');
    auto size = static_cast<uLongf>(result.size());
    compress(reinterpret_cast<Bytef*>(result.data()), &size, reinterpret_cast<Bytef const*>(content.data()),
             static_cast<uLong>(content.size()));
    result.resize(size);
    return container(result, content.size(), 2);
}
#endif

// `flags`: 01 transmitted, 80 remote. `identifier`: bit 31 extended.
inline std::string canContent(unsigned channel, std::uint32_t identifier, std::string const& data, unsigned flags = 0) {
    Fields fields(16);
    fields.set(0, 2, channel).set(2, 1, flags).set(3, 1, data.size()).set(4, 4, identifier).set(8, data);
    return fields.bytes();
}

inline std::string can(unsigned channel, std::uint32_t identifier, std::string const& data, std::uint64_t time = 0) {
    return object(1, canContent(channel, identifier, data), time);
}

} // namespace blf
} // namespace qztool
