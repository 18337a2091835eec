// What the objects of a BLF file hold.
#pragma once

#include "tools/recordings/Frame.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qztool {

struct ObjectKind {
    char const* name; // such as "CAN statistics"; null: unknown
    // Reads the frame's address, flags, channel and bytes from what follows the object's header, and its bus. Returns
    // null, or in plain words what is wrong with it. Null for kinds that hold no frame.
    char const* (*read)(std::string_view content, Frame& frame);
};

// The longest part of an object that `read` looks at, without header.
constexpr std::size_t mostObjectContent = 512;

ObjectKind const& objectKindOf(std::uint32_t number);

} // namespace qztool
