// Frames by address, and those that are not defined.
#include "tools/drive/FrameTally.h"

#include "tests/tools/drive/DriveFixture.h"

#include <map>
#include <random>
#include <tuple>

namespace qztool {
namespace {

TEST(FrameTally, countsEveryAddressChannelAndKindApart) {
    std::mt19937 random(11);
    std::map<std::tuple<Bus, unsigned, bool, std::uint32_t>, std::uint64_t> expected;
    FrameTally tally;
    for (int i = 0; i < 20000; ++i) {
        Frame frame;
        frame.bus = random() % 2 == 0 ? Bus::Can : Bus::Lin;
        frame.channel = static_cast<std::uint8_t>(random() % 3);
        frame.flags = random() % 2 == 0 ? frameFlag::extended : 0;
        frame.address = static_cast<std::uint32_t>(random() % 400);
        ++expected[{frame.bus, frame.channel, frame.extended(), frame.address}];
        tally.add(frame);
    }
    std::map<std::tuple<Bus, unsigned, bool, std::uint32_t>, std::uint64_t> found;
    for (TalliedFrames const& each : tally.all())
        found[{each.bus, each.channel, each.extended, each.address}] += each.count;
    EXPECT_EQ(found, expected);
    EXPECT_EQ(tally.all().size(), expected.size());
}

class UnfedFramesTest : public DriveFixture {};

TEST_F(UnfedFramesTest, areSortedOutByReasonAndFrequency) {
    TextReporter reporter;
    DefinitionSet definitions(reporter);
    ASSERT_TRUE(definitions.load({std::uint8_t{3}, dbcFile("BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n")}));
    ASSERT_TRUE(definitions.load({std::nullopt, dbcFile("BO_ 257 N: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n")}));
    FrameTally tally;
    for (Frame const& frame : {frameOf(256, {}, 3), frameOf(256, {}, 4), frameOf(256, {}, 4), frameOf(257, {}, 9),
                               frameOf(1, {}), frameOf(2, {}), frameOf(2, {}), frameOf(256, {}, 3, true)})
        tally.add(frame);
    UnfedFrames const unfed = sortOut(tally, definitions);
    EXPECT_EQ(unfed.notPicked, 2U);
    EXPECT_EQ(unfed.otherChannel, 2U);
    EXPECT_EQ(unfed.notDefined, 4U);
    ASSERT_EQ(unfed.identifiers.size(), 3U);
    EXPECT_EQ(unfed.identifiers[0].address, 2U);
    EXPECT_EQ(unfed.identifiers[0].count, 2U);
    EXPECT_EQ(unfed.identifiers[1].address, 1U);
    EXPECT_TRUE(unfed.identifiers[2].extended);
}

} // namespace
} // namespace qztool
