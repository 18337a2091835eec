// What signals are called, so that expressions can name them.
#pragma once

#include "tools/definitions/Database.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// The spelling of the files: "Message.Signal", with the PDU in between ("Frame.Pdu.Signal") if the message has several
// signals of this name. `signal` is an index.
std::string originalName(MessageDefinition const& message, std::size_t signal);

// The name with `_` in place of each character that an expression cannot hold in a name, and with one in front if it
// does not begin with a letter or `_`.
std::string expressionName(std::string_view original);

// What instance names of a channel begin with, where it is part of them: "can0.", or "can*." if it is not known yet.
std::string channelPrefix(Bus bus, std::optional<std::uint8_t> channel);

// What follows a message's name in names of signals of one source address: "_SA0B".
std::string sourceSuffix(std::uint8_t source);

// A name as it may be meant: `base` with the channel or the source address that the name has, or both.
struct NameReading {
    std::string base; // without source address; with `*` in place of the channel
    std::optional<std::uint8_t> channel, source;
    std::size_t prefix = 0; // characters of the base that are the channel
};

// All ways to read a name in which at least one of the two is separated from the rest.
std::vector<NameReading> readingsOf(std::string const& name, bool hasChannel);

// "a, b and 3 more".
std::string listText(std::vector<std::string> const& names);

} // namespace qztool
