// A file that is nowhere but in memory, for readers that want a path.
#pragma once

#include "tests/fuzz/Expect.h"

#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

class MemoryFile {
public:
    MemoryFile() : d_descriptor(memfd_create("fuzz", MFD_CLOEXEC)) { expect(d_descriptor >= 0, "no memory file"); }
    ~MemoryFile() { close(d_descriptor); }
    MemoryFile(MemoryFile const&) = delete;
    MemoryFile& operator=(MemoryFile const&) = delete;

    void fill(std::string_view content) {
        bool const filled = ftruncate(d_descriptor, 0) == 0 && pwrite(d_descriptor, content.data(), content.size(),
                                                                      0) == static_cast<ssize_t>(content.size());
        expect(filled, "the memory file cannot be filled");
    }

    std::string path() const { return "/proc/self/fd/" + std::to_string(d_descriptor); }

private:
    int d_descriptor;
};
