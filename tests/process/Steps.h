// A forked process that goes step by step as the test asks it to, and what signals hold in between.
#pragma once

#include "qzsignal/signal/BaseSignal.h"
#include "tests/process/Process.h"
#include "tests/process/Shared.h"

#include <gtest/gtest.h>

// Is in shared memory. The first step needs no asking.
struct Steps {
    SharedCounter d_asked; // steps that may be taken
    SharedCounter d_done;

    // In the test: has the process take its steps up to this one.
    bool reach(std::uint32_t step) {
        d_asked = step;
        return waitUntil([&] { return d_done == step; });
    }

    // In the process: the current step is done. Waits for the next one to be asked for.
    bool next() {
        ++d_done;
        return waitUntil([&] { return d_asked > d_done; });
    }
};

inline void expectValue(BaseSignal& signal, unsigned long long raw, double phys, unsigned long long timestamp) {
    unsigned long long rawRead = 0;
    double physRead = 0.0;
    unsigned long long rawTimestamp = 0;
    unsigned long long physTimestamp = 0;
    EXPECT_TRUE(signal.read(rawRead, rawTimestamp));
    EXPECT_TRUE(signal.read(physRead, physTimestamp));
    EXPECT_EQ(rawRead, raw);
    EXPECT_EQ(physRead, phys);
    EXPECT_EQ(rawTimestamp, timestamp);
    EXPECT_EQ(physTimestamp, timestamp);
}
