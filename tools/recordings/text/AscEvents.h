// Kinds of events in ASC logs that are not read.
#pragma once

#include <string_view>

namespace qztool {

// By the word after the time, or, where that is a channel of CAN, the one after it.
char const* ascEventKind(std::string_view word);
// By the event's name, after the channel, or after an identifier, and a length, that come before. Null: it is no name.
char const* ascLinEventKind(std::string_view word);
// By the words after the bus; the second one is the event's name where the first one is a channel.
char const* ascFlexRayEventKind(std::string_view first, std::string_view second);

} // namespace qztool
