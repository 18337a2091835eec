// Which definitions serve which bus channel of a recording.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace qztool {

// A definition file as it is named on the command line: FILE, or CHANNEL:FILE for one channel alone.
struct DefinitionFile {
    std::optional<std::uint8_t> channel;
    std::string path;
};

// CHANNEL is a number or an interface name that ends in one (can0); everything else before a colon belongs to the path.
DefinitionFile parseDefinitionFile(std::string const& argument);

// A file with a channel serves that channel; one without serves all channels that have no file of their own. Since a
// signal lives on exactly one channel, the signals of the latter share a channel number that no other file has.
class Channels {
public:
    void addOwn(std::uint8_t channel) { d_own[channel] = true; }

    // Channel number for the signals of files without a channel.
    std::uint8_t common() const;
    // Channel under which the signals of a recorded channel are filed.
    std::uint8_t filed(std::uint8_t recorded) const { return d_own[recorded] ? recorded : common(); }

private:
    std::array<bool, 256> d_own{};
};

} // namespace qztool
