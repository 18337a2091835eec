// The kinds of buses that definition files describe and recordings hold.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qztool {

enum class Bus : std::uint8_t { Can, Lin, FlexRay };

constexpr std::size_t busKinds = 3;

constexpr char const* busName(Bus bus) {
    return bus == Bus::Can ? "can" : bus == Bus::Lin ? "lin" : "flexray";
}

} // namespace qztool
