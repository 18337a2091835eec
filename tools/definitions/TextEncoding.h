// Brings the bytes of a definition file into the one form that is scanned: UTF-8, lines ended by a line feed.
#pragma once

#include "tools/definitions/Database.h"

#include <optional>
#include <string>
#include <string_view>

namespace qztool {

// What makes the bytes unreadable as text (UTF-16, or binary content); nothing if they can be read.
std::optional<Problem> findEncodingProblem(std::string_view bytes);

// Returns `bytes` as UTF-8 without byte order mark and with line feeds alone. Bytes that are not valid UTF-8 as a whole
// are taken as Windows-1252, the customary encoding of the format. The result refers to `bytes` where they are in that
// form already, and to `storage` otherwise.
std::string_view toPlainText(std::string_view bytes, std::string& storage);

} // namespace qztool
