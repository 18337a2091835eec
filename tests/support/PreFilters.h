// What the pre-filters of all kinds but FlexRay have in common.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>

// Expects a pre-filter to say the same of a record whatever its second pointer is: true of `known`, which reports a
// signal of this process, and false of `unknown`, which reports none.
template <typename Record>
void expectSecondPointerUnused(bool (*signalsInUse)(unsigned char const* begin, unsigned char const* end),
                               Record const& known, Record const& unknown) {
    for (auto const& [record, expected] : {std::pair(&known, true), std::pair(&unknown, false)}) {
        EXPECT_EQ(signalsInUse(record->data(), nullptr), expected);
        for (std::size_t end = 0; end <= record->size(); ++end)
            EXPECT_EQ(signalsInUse(record->data(), record->data() + end), expected) << "end after " << end << " bytes";
        // Before the beginning.
        EXPECT_EQ(signalsInUse(record->data(), reinterpret_cast<unsigned char const*>(1)), expected);
    }
}
