// System V segments that this process is attached to.
#pragma once

#include <fstream>
#include <string>

inline unsigned segmentMappings() {
    std::ifstream maps("/proc/self/maps");
    unsigned count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find("/SYSV") != std::string::npos ? 1U : 0U;
    return count;
}
