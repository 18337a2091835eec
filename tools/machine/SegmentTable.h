// The kernel's table of shared memory segments.
#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace qztool {

struct Segment {
    key_t key = 0;
    int id = -1;
    std::size_t bytes = 0;
    pid_t creator = 0;     // 0: a process that this one cannot see, as in another PID namespace
    unsigned attached = 0; // how often processes are attached, usually each of them once
    std::time_t made = 0;  // when it was made, in seconds
};

// All segments of the machine that still have a key. One that was removed and is in use has none.
std::vector<Segment> segments();

// What the kernel says of one segment now; nothing if it is gone, removed while in use, or may not be asked for.
std::optional<Segment> segmentWith(int id);

// True if this process or another one is still attached to a segment, removed or not.
bool isAttached(int id);

} // namespace qztool
