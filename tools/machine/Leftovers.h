// Segments and key files whose processes are gone.
#pragma once

#include "tools/machine/Processes.h"
#include "tools/machine/SegmentTable.h"

#include <string>

namespace qztool {

// True if no process is attached to the segment, and the one that made it is gone.
bool isOrphan(Segment const& segment, ProcessTable& processes);

// Removes the segment if it is still as it was found, above all if no process is attached to it by now. A process that
// attaches in the same instant keeps what it has, but no other process finds it any more.
enum class Removal { Done, Attached, Refused }; // refused: errno tells why
Removal removeSegment(Segment const& segment);

// Removes the key file of a signal whose key was `key`, if there is no segment with the key: nothing but an empty
// regular file, with no other name. False if there is such a file and it cannot be removed (errno). A process that
// defines the signal in the same instant may have taken the key from it, and then is not found by its name.
bool removeKeyFile(std::string const& instance, key_t key);

} // namespace qztool
