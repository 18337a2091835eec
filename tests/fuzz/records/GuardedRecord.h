// A record that ends where the memory does.
#pragma once

#include "tests/fuzz/Expect.h"

#include <cstddef>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// Keeps a copy of the bytes at the very end of a page; a byte behind them cannot be read.
class GuardedRecord {
public:
    GuardedRecord() : d_page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        void* const pages = mmap(nullptr, 2 * d_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        expect(pages != MAP_FAILED, "no pages");
        d_end = static_cast<unsigned char*>(pages) + d_page;
        expect(mprotect(d_end, d_page, PROT_NONE) == 0, "a page that can be read");
    }
    ~GuardedRecord() { munmap(d_end - d_page, 2 * d_page); }
    GuardedRecord(GuardedRecord const&) = delete;
    GuardedRecord& operator=(GuardedRecord const&) = delete;

    // At most a page. Returns where the copy begins.
    unsigned char const* fill(std::vector<unsigned char> const& bytes) {
        if (!bytes.empty())
            std::memcpy(d_end - bytes.size(), bytes.data(), bytes.size());
        return d_end - bytes.size();
    }

    unsigned char const* end() const { return d_end; }

private:
    std::size_t d_page;
    unsigned char* d_end;
};
