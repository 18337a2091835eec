// A segment of a fixed size, whose content a fuzz target makes again with each input.
#pragma once

#include "tests/fuzz/Expect.h"
#include "tests/support/SharedName.h"
#include "tools/machine/SharedSignals.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <sys/shm.h>
#include <unistd.h>

class Segment {
public:
    explicit Segment(std::size_t size) : d_size(size) {
        auto const key = qztool::claimKey(d_name.name(), {});
        d_id = key ? shmget(*key, size, IPC_CREAT | IPC_EXCL | 0666) : -1;
        expect(d_id != -1, "no segment", d_name.name());
        d_begin = static_cast<unsigned char*>(shmat(d_id, nullptr, 0));
        // Whole pages are there, whatever the size.
        std::size_t const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        d_end = d_begin + (size + page - 1) / page * page;
    }
    ~Segment() { shmdt(d_begin); }
    Segment(Segment const&) = delete;
    Segment& operator=(Segment const&) = delete;

    std::string const& name() const { return d_name.name(); }
    std::size_t size() const { return d_size; }
    // Room for a record, even if the segment is too small for it.
    void* begin() const { return d_begin; }

    void fill() { std::memset(d_begin, garbage, static_cast<std::size_t>(d_end - d_begin)); }
    bool isGarbageBehind(std::size_t record) const {
        unsigned char const* const behind = d_begin + record;
        return *behind == garbage && std::memcmp(behind, behind + 1, static_cast<std::size_t>(d_end - behind) - 1) == 0;
    }

private:
    static constexpr unsigned char garbage = 0xA5; // neither a text's end nor a flag that is off

    SharedName d_name; // removes the segment
    std::size_t d_size;
    int d_id;
    unsigned char* d_begin;
    unsigned char* d_end;
};
