// The shared signals of this machine, found from their key files and segments without disturbing either.
#pragma once

#include "tools/machine/SegmentTable.h"

#include <cstddef>
#include <optional>
#include <string>
#include <sys/types.h>
#include <unordered_map>
#include <vector>

namespace qztool {

// Key of the signal's key file; nothing if there is no such file.
std::optional<key_t> keyOf(std::string const& instance);

// True if a segment exists for the signal that is large enough for the record of a ShmSignal. The record may still be
// unfinished.
bool segmentExists(std::string const& instance);

// Makes the signal's key file if there is none, with a key that no segment has and that is not in `taken`: keys are
// made of the low 16 bits of a file's inode number, so that two files can have the same. Returns the key of the file,
// made or found; nothing if it cannot be made.
std::optional<key_t> claimKey(std::string const& instance, std::unordered_map<key_t, std::string> const& taken);

// A signal that has a key file and a segment of the size of a signal's record, of whatever kind.
struct ListedSignal {
    std::string instance;
    Segment segment;
};

// All of them, in order of their names. Two with one key share a segment, which only one of them can have made.
std::vector<ListedSignal> sharedSignals();

// The kernel's limit on shared memory segments (kernel.shmmni) and how many there are; 0 and 0 if it does not tell.
struct SegmentLimit {
    std::size_t limit = 0;
    std::size_t inUse = 0;
};
SegmentLimit segmentLimit();

} // namespace qztool
