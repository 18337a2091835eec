// The text of the page, which the build puts together (page.cmake).
#pragma once

#include <array>
#include <string_view>

namespace qztool {

// What takes the place of these parts is the page's own.
constexpr std::string_view pageTitleMark = "@TITLE@";
constexpr std::string_view pageDriveMark = "@DRIVE@";

extern std::array<std::string_view, 9> const pageTemplate; // all empty: the build had no library to draw it

} // namespace qztool
