// A frame writes the signals that it carries, and no others.
#include "tests/tools/drive/DriveFixture.h"

namespace qztool {
namespace {

class CanSignalTest : public DriveFixture {
protected:
    // Loads and shares a definition file.
    void load(std::string const& text, std::string const& only = "") {
        ASSERT_TRUE(d_set.load({std::nullopt, dbcFile(text)}));
        ASSERT_EQ(d_set.share(only), SignalSet::Built::Ready) << d_reporter.text();
    }
    void feed(std::vector<std::uint8_t> const& payload) { d_set.feed(frameOf(256, payload)); }
    std::optional<unsigned long long> raw(std::string const& name) const { return rawValue(instance(name)); }

    TextReporter d_reporter;
    DrivenSet d_set{d_reporter};
    CurrentFrame& d_frame = d_set.d_frame;
};

constexpr char plain[] = "BO_ 256 M: 8 X\n"
                         " SG_ First : 0|8@1+ (1,0) [0|0] \"\" X\n"
                         " SG_ Crossing : 4|8@1+ (1,0) [0|0] \"\" X\n"
                         " SG_ Motorola : 15|16@0+ (1,0) [0|0] \"\" X\n";

TEST_F(CanSignalTest, shortFrameWritesOnlyWhatItHolds) {
    load(plain);
    feed({0x12});
    EXPECT_EQ(raw("M.First"), 0x12U);
    EXPECT_EQ(raw("M.Crossing"), std::nullopt) << "half a value is none";
    EXPECT_EQ(raw("M.Motorola"), std::nullopt);
    EXPECT_EQ(d_frame.written, 1U);
    EXPECT_EQ(d_frame.cut, 2U);
    feed({0x12, 0x34});
    EXPECT_EQ(raw("M.Crossing"), 0x41U);
    EXPECT_EQ(raw("M.Motorola"), std::nullopt) << "its lowest bits are in the third byte";
    feed({0x12, 0x34, 0x56});
    EXPECT_EQ(raw("M.Motorola"), 0x3456U);
}

TEST_F(CanSignalTest, emptyFrameWritesNothing) {
    load(plain);
    feed({});
    EXPECT_EQ(raw("M.First"), std::nullopt);
    EXPECT_EQ(d_frame.number, 1U);
    EXPECT_EQ(d_frame.cut, 3U);
}

constexpr char multiplexed[] = "BO_ 256 M: 8 X\n"
                               " SG_ One m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                               " SG_ Switch M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                               " SG_ Two m2 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                               " SG_ Always : 16|8@1+ (1,0) [0|0] \"\" X\n";

TEST_F(CanSignalTest, multiplexorSelects) {
    load(multiplexed);
    feed({1, 0xaa, 0});
    EXPECT_EQ(raw("M.Switch"), 1U);
    EXPECT_EQ(raw("M.One"), 0xaaU);
    EXPECT_EQ(raw("M.Two"), std::nullopt);
    feed({2, 0xbb, 0});
    EXPECT_EQ(raw("M.One"), 0xaaU) << "not in this frame";
    EXPECT_EQ(raw("M.Two"), 0xbbU);
    feed({3, 0xcc, 7});
    EXPECT_EQ(raw("M.One"), 0xaaU);
    EXPECT_EQ(raw("M.Two"), 0xbbU);
    EXPECT_EQ(raw("M.Always"), 7U);
    EXPECT_EQ(d_frame.cut, 0U) << "what is not selected is not cut off either";
}

TEST_F(CanSignalTest, multiplexorThatWasNotPickedSelectsAllTheSame) {
    load(multiplexed, "*.One");
    EXPECT_EQ(d_set.d_signals.sharedCount(), 1U);
    feed({2, 0xbb, 0});
    EXPECT_EQ(raw("M.One"), std::nullopt);
    feed({1, 0xaa, 0});
    EXPECT_EQ(raw("M.One"), 0xaaU);
    EXPECT_EQ(BaseSignal::getInstance(instance("M.Two").c_str()), nullptr);
    EXPECT_NE(access(("/tmp/" + instance("M.Switch")).c_str(), F_OK), 0) << "needed here, but not shared";
}

TEST_F(CanSignalTest, onlyMultiplexorsAbovePickedSignalsAreBuilt) {
    load("BO_ 256 M: 8 X\n"
         " SG_ Outer M : 0|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Inner m1M : 8|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Deep m0 : 16|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Other m2M : 24|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Hidden m0 : 32|8@1+ (1,0) [0|0] \"\" X\n"
         "BO_ 257 N: 8 X\n SG_ Switch M : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ S m0 : 8|8@1+ (1,0) [0|0] \"\" X\n"
         "SG_MUL_VAL_ 256 Inner Outer 1-1;\nSG_MUL_VAL_ 256 Deep Inner 5-5;\n"
         "SG_MUL_VAL_ 256 Other Outer 2-2;\nSG_MUL_VAL_ 256 Hidden Other 0-0;\n",
         "*.Deep");
    for (char const* const name : {"M.Outer", "M.Inner", "M.Deep"})
        EXPECT_NE(BaseSignal::getInstance(instance(name).c_str()), nullptr) << name;
    for (char const* const name : {"M.Other", "M.Hidden", "N.Switch", "N.S"})
        EXPECT_EQ(BaseSignal::getInstance(instance(name).c_str()), nullptr) << name;
    feed({1, 5, 7});
    EXPECT_EQ(raw("M.Deep"), 7U);
    EXPECT_EQ(d_set.feed(frameOf(257, {0, 1})), 0U) << "the other message is not needed";
}

TEST_F(CanSignalTest, nestedMultiplexorsSelectOnlyInTheirOwnFrames) {
    load("BO_ 256 M: 8 X\n"
         " SG_ Inner m1M : 8|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Deep m0 : 16|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Outer M : 0|8@1+ (1,0) [0|0] \"\" X\n"
         "SG_MUL_VAL_ 256 Inner Outer 1-1;\n"
         "SG_MUL_VAL_ 256 Deep Inner 5-6, 9-9;\n");
    feed({1, 5, 0x11});
    EXPECT_EQ(raw("M.Inner"), 5U);
    EXPECT_EQ(raw("M.Deep"), 0x11U);
    feed({1, 7, 0x22});
    EXPECT_EQ(raw("M.Deep"), 0x11U) << "7 is in no range";
    feed({2, 5, 0x33});
    EXPECT_EQ(raw("M.Inner"), 7U) << "switched off by the outer one";
    EXPECT_EQ(raw("M.Deep"), 0x11U) << "and so does not select";
    feed({1, 9, 0x44});
    EXPECT_EQ(raw("M.Deep"), 0x44U);
}

TEST_F(CanSignalTest, signedMultiplexorSelectsByItsBits) {
    load("BO_ 256 M: 8 X\n"
         " SG_ Switch M : 0|4@1- (1,0) [0|0] \"\" X\n"
         " SG_ Fifteen m15 : 8|8@1+ (1,0) [0|0] \"\" X\n");
    feed({0x0f, 0xaa});
    EXPECT_EQ(raw("M.Switch"), ~0ULL);
    EXPECT_EQ(raw("M.Fifteen"), 0xaaU);
}

TEST_F(CanSignalTest, multiplexorBeyondAShortFrameSelectsNothing) {
    load("BO_ 256 M: 8 X\n"
         " SG_ Switch M : 8|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Zero m0 : 0|8@1+ (1,0) [0|0] \"\" X\n");
    feed({0xaa});
    EXPECT_EQ(raw("M.Zero"), std::nullopt);
    feed({0xaa, 0});
    EXPECT_EQ(raw("M.Zero"), 0xaaU);
}

TEST_F(CanSignalTest, preFilterKeepsForeignFramesAway) {
    load(plain);
    EXPECT_EQ(d_set.feed(frameOf(257, {1, 2, 3})), 0U);
    EXPECT_EQ(d_set.feed(frameOf(256, {1, 2, 3}, 0, true)), 0U);
    EXPECT_EQ(d_frame.number, 0U);
    EXPECT_EQ(raw("M.First"), std::nullopt);
}

TEST_F(CanSignalTest, fileWithoutChannelServesEveryChannel) {
    load(plain);
    d_set.feed(frameOf(256, {1}, 0));
    EXPECT_EQ(raw("M.First"), 1U);
    d_set.feed(frameOf(256, {2}, 9));
    EXPECT_EQ(raw("M.First"), 2U);
}

} // namespace
} // namespace qztool
