// The classes of the histogram, and what is read from it.
#include "benchmarks/support/LatencyHistogram.h"

#include <gtest/gtest.h>

namespace {

using qzbench::LatencyHistogram;

TEST(LatencyHistogram, holdsNothingAtFirst) {
    LatencyHistogram const histogram;
    EXPECT_EQ(histogram.count(), 0U);
    EXPECT_EQ(histogram.largest(), 0U);
    EXPECT_EQ(histogram.quantile(0.5), 0U);
}

// Short times, a single time and the longest one are exact.
TEST(LatencyHistogram, keepsTimesOfEveryLength) {
    std::uint64_t const times[] = {0, 1, 31, 32, 33, 1000, 0xFFFFFFFF, 0x100000000, UINT64_MAX};
    for (std::uint64_t const time : times) {
        LatencyHistogram histogram;
        histogram.note(time);
        EXPECT_EQ(histogram.count(), 1U);
        EXPECT_EQ(histogram.largest(), time);
        EXPECT_EQ(histogram.quantile(0.0), time);
        EXPECT_EQ(histogram.quantile(1.0), time);
    }
}

TEST(LatencyHistogram, isNeverMoreThanA32ndTooLong) {
    for (unsigned shift = 0; shift < 63; ++shift) {
        for (std::uint64_t const step : {0U, 1U, 5U, 17U, 31U}) {
            std::uint64_t const time = ((std::uint64_t{1} << shift) + (step << shift) / 32);
            LatencyHistogram histogram;
            histogram.note(time);
            histogram.note(UINT64_MAX);
            std::uint64_t const found = histogram.quantile(0.5);
            EXPECT_GE(found, time);
            EXPECT_LE(found - time, time / 32) << time;
        }
    }
}

TEST(LatencyHistogram, findsQuantiles) {
    LatencyHistogram histogram;
    for (int i = 0; i < 998; ++i)
        histogram.note(20);
    histogram.note(30);
    histogram.note(5'000'000);
    EXPECT_EQ(histogram.quantile(0.5), 20U);
    EXPECT_EQ(histogram.quantile(0.998), 20U);
    EXPECT_EQ(histogram.quantile(0.999), 30U);
    EXPECT_EQ(histogram.quantile(0.9995), 5'000'000U);
}

TEST(LatencyHistogram, addsAnother) {
    LatencyHistogram histogram;
    histogram.note(10);
    LatencyHistogram other;
    other.note(20);
    other.note(25);
    histogram.add(other);
    EXPECT_EQ(histogram.count(), 3U);
    EXPECT_EQ(histogram.largest(), 25U);
    EXPECT_EQ(histogram.quantile(0.5), 20U);
    EXPECT_EQ(histogram.quantile(0.1), 10U);
}

} // namespace
