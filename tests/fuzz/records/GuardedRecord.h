// A record at the end of readable memory.
#pragma once

#include "tests/fuzz/Expect.h"

#include <cstddef>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// Keeps a copy of the bytes at the very end of a page; reading the byte after them is a crash.
class GuardedRecord {
public:
    GuardedRecord() : d_page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        void* const pages = mmap(nullptr, 2 * d_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        expect(pages != MAP_FAILED, "no memory for pages");
        d_end = static_cast<unsigned char*>(pages) + d_page;
        expect(mprotect(d_end, d_page, PROT_NONE) == 0, "the guard page is readable");
    }
    ~GuardedRecord() { munmap(d_end - d_page, 2 * d_page); }
    GuardedRecord(GuardedRecord const&) = delete;
    GuardedRecord& operator=(GuardedRecord const&) = delete;

    // Copies at most a page. Returns the beginning of the copy.
    unsigned char const* fill(std::vector<unsigned char> const& bytes) {
        if (!bytes.empty())
            std::memcpy(d_end - bytes.size(), bytes.data(), bytes.size());
        return d_end - bytes.size();
    }

private:
    std::size_t d_page;
    unsigned char* d_end;
};
