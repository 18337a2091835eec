// Finds the objects in a stream of them.
#pragma once

#include "tools/recordings/ByteOrder.h"
#include "tools/recordings/InputBuffer.h"

#include <string_view>

namespace qztool {

// What each object of a BLF file begins with; all numbers are little-endian:
//     0  "LOBJ"
//     4  size of the whole header, 2 bytes      8  size of the object with header, 4 bytes
//     6  version of the header, 2 bytes        12  kind of the object, 4 bytes
// Up to three bytes fill up between objects.
struct BaseHeader {
    static constexpr std::size_t bytes = 16;

    // Far above what recorders write, and a sign of damage.
    static constexpr std::uint32_t mostObjectBytes = std::uint32_t{64} * 1024 * 1024;

    std::uint16_t headerSize;
    std::uint32_t objectSize;
    std::uint32_t kind;

    bool hasSize() const { return objectSize >= bytes && objectSize <= mostObjectBytes; }
};

inline BaseHeader baseHeaderOf(std::string_view object) {
    return {little16(object.data() + 4), little32(object.data() + 8), little32(object.data() + 12)};
}

class ObjectFinder {
public:
    explicit ObjectFinder(InputBuffer& input) : d_input(input) {}

    // Passes over all bytes up to the next object. Bytes: the input begins with a whole base header. End: if the input
    // still holds bytes, they are an incomplete base header.
    InputBuffer::Read find();
    // True once, if more bytes than fill up were on the way.
    bool takeDamage();

private:
    void pass(std::size_t count);

    InputBuffer& d_input;
    std::size_t d_passed = 0;
    bool d_passedOnlyZeros = true; // as in files that are allocated before they are written
};

} // namespace qztool
