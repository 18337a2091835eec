// Edges of conditions, and conditions that have to hold for some time.
#include "tests/tools/moments/MomentsFixture.h"

namespace qztool {
namespace {

class MomentSearchTest : public MomentsFixture {
protected:
    // True in frames of which the speed is above 0: raw values above 20, such as FF.
    std::string moments(std::string const& log, double least = 0) {
        return found("Speed > 0", log, static_cast<std::uint64_t>(least * 1e6));
    }
};

TEST_F(MomentSearchTest, momentsAreTheBeginningsOfTruth) {
    EXPECT_EQ(moments("(1.0) can0 100#00\n(2.0) can0 100#FF\n(3.0) can0 100#FE\n(4.5) can0 100#00\n"
                      "(5.0) can0 100#FF\n(6.0) can0 200#00\n"),
              "2000000 line 2 held 2500000 ended\n5000000 line 5 held 1000000 open\n");
}

TEST_F(MomentSearchTest, momentOfALongConditionIsItsBeginningPlusTheTime) {
    EXPECT_EQ(
        moments("(1.0) can0 100#FF\n(2.0) can0 200#00\n(2.9) can0 100#FE\n(3.1) can0 200#00\n(7.0) can0 100#00\n", 2),
        "3000000 line 3 held 6000000 ended\n")
        << "between two frames, of which the first is the last one by then";
}

TEST_F(MomentSearchTest, conditionThatFailsEarlierHasNoMoment) {
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(2.999999) can0 100#00\n(4.0) can0 100#FF\n(9.0) can0 100#00\n", 2),
              "6000000 line 3 held 5000000 ended\n");
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(2.999999) can0 100#00\n(4.0) can0 200#00\n", 2), "");
}

TEST_F(MomentSearchTest, equalTimeIsEnough) {
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(3.0) can0 100#00\n(4.0) can0 200#00\n", 2),
              "3000000 line 2 held 2000000 ended\n");
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(3.0) can0 100#00\n", 2), "3000000 line 2 held 2000000 ended\n");
    EXPECT_EQ(
        moments("(1.0) can0 100#FF\n(3.0) can0 200#00\n(3.0) can0 100#00\n(3.0) can0 200#00\n(4.0) can0 200#00\n", 2),
        "3000000 line 4 held 2000000 ended\n")
        << "of frames of the moment's own time, the last one counts";
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(3.0) can0 100#00\n(3.0) can0 100#FF\n(6.0) can0 200#00\n", 2),
              "3000000 line 2 held 2000000 ended\n5000000 line 3 held 3000000 open\n")
        << "it is true again at the same time";
}

TEST_F(MomentSearchTest, recordingMayEndMeanwhile) {
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(2.9) can0 200#00\n", 2), "");
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(3.0) can0 200#00\n", 2), "3000000 line 2 held 2000000 open\n");
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(3.5) can0 200#00\n", 2), "3000000 line 1 held 2500000 open\n");
}

TEST_F(MomentSearchTest, timePassesInFramesWithoutData) {
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(2.5) can0 200#R\n(3.5) can0 20000080#0000000000000000\n", 2),
              "3000000 line 2 held 2500000 open\n");
}

TEST_F(MomentSearchTest, holdingStartsOverWhereTimeStepsBack) {
    EXPECT_EQ(moments("(5.0) can0 100#FF\n(1.0) can0 200#00\n(2.0) can0 100#00\n", 2), "");
    EXPECT_EQ(moments("(5.0) can0 100#FF\n(1.0) can0 200#00\n(2.0) can0 200#00\n(3.5) can0 100#00\n", 2),
              "3000000 line 3 held 2500000 ended\n");
    EXPECT_EQ(moments("(1.0) can0 100#FF\n(3.0) can0 100#00\n(0.5) can0 200#00\n", 2),
              "3000000 line 2 held 2000000 ended\n")
        << "it had held long enough";
    EXPECT_EQ(moments("(5.0) can0 100#FF\n(1.0) can0 100#00\n"), "5000000 line 1 held 0 ended\n");
}

TEST_F(MomentSearchTest, timesNearTheEndOfTheirRangeDoNotWrapAround) {
    EXPECT_EQ(moments("(18446744073709.0) can0 100#FF\n(18446744073709.5) can0 200#00\n", 10), "");
}

} // namespace
} // namespace qztool
