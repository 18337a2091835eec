// Which of the signals that are to be shared can have a segment.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <sys/types.h>

namespace qztool {

// Why a signal cannot be shared; empty if it can.
// A key file is named like the signal, inside one folder.
std::string keyFileProblem(std::string const& instance);

// The kernel's limit on segments, if it is too low for this many more.
struct SegmentShortage {
    std::size_t wanted; // segments that are not there yet
    std::size_t limit;
    std::size_t inUse;
};
std::optional<SegmentShortage> segmentShortage(std::vector<std::string> const& instances);

// Gives each signal a key to itself: two signals with one key would share a segment, and spoil each other's values.
class SegmentKeys {
public:
    // Makes the signal's key file if need be. Returns the signal that has its key already; empty if none does, or if
    // there is no key file, which the library reports when the signal is built.
    std::string claim(std::string const& instance);

private:
    std::unordered_map<key_t, std::string> d_keys; // instance name of each key
};

} // namespace qztool
