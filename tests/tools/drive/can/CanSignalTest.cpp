// A frame writes the signals that it carries, and no others.
#include "tests/tools/drive/DriveFixture.h"
#include "tests/tools/drive/PlainDecoding.h"
#include "tools/drive/SignalPlace.h"

#include <random>

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

TEST_F(CanSignalTest, fileWithoutChannelServesTheFirstOneSeen) {
    load(plain);
    d_set.feed(frameOf(257, {7}, 3));
    EXPECT_EQ(d_set.d_fed, Feeder::Fed::Nothing) << "a frame of no message settles nothing";
    d_set.feed(frameOf(256, {1}, 9));
    EXPECT_EQ(d_set.d_fed, Feeder::Fed::Message);
    EXPECT_EQ(raw("M.First"), 1U);
    EXPECT_EQ(d_set.feed(frameOf(256, {2}, 0)), 0U);
    EXPECT_EQ(d_set.d_fed, Feeder::Fed::OtherChannel);
    EXPECT_EQ(raw("M.First"), 1U);
    EXPECT_EQ(d_set.d_definitions.channels().networks().front().foreignFrames, 1U);
    d_set.feed(frameOf(256, {3}, 9));
    EXPECT_EQ(raw("M.First"), 3U);
}

// The bits of every place in a CAN FD frame against a decoding of our own.
TEST_F(CanSignalTest, signalsAnywhereInSixtyFourBytesAreDecoded) {
    std::string text = "BO_ 256 M: 64 X\n";
    unsigned count = 0;
    for (unsigned start = 0; start < 512; start += 5)
        for (unsigned const bits : {1, 7, 16, 33, 57})
            for (char const order : {'0', '1'}) {
                unsigned const first = order == '0' ? start / 8 * 8 + 7 - start % 8 : start;
                if (first + bits <= 512)
                    text += " SG_ S" + std::to_string(count++) + " : " + std::to_string(start) + "|" +
                            std::to_string(bits) + "@" + order + "- (1,0) [0|0] \"\" X\n";
            }
    ASSERT_TRUE(d_set.load({std::nullopt, dbcFile(text)}));
    MessageDefinition const& message = d_set.d_definitions.files().front()->database.messages.front();
    std::unordered_set<std::string> names;
    for (SignalDefinition const& signal : message.signals)
        names.insert(instanceName(message, signal));
    ASSERT_EQ(d_set.build(names), SignalSet::Built::Ready);

    std::mt19937 random(5);
    std::size_t written = 0;
    for (unsigned length : {64, 64, 48, 12, 8, 0}) {
        std::vector<std::uint8_t> payload(length);
        for (std::uint8_t& byte : payload)
            byte = static_cast<std::uint8_t>(random());
        Frame frame = frameOf(256, payload);
        frame.flags = frameFlag::fd;
        frame.timestamp += length;
        std::fill(frame.bytes.begin() + length, frame.bytes.end(), std::uint8_t{0xee});
        d_set.feed(frame);
        for (SignalDefinition const& signal : message.signals) {
            std::optional<std::uint64_t> const bits = bitsOf(signal, frame);
            if (!bits || !fitsWindow(signal))
                continue;
            ++written;
            EXPECT_EQ(rawValue(instanceName(message, signal)), rawOf(signal, *bits))
                << signal.startBit << "|" << signal.bits << " of " << length;
        }
    }
    EXPECT_EQ(d_frame.written, written) << "and no other";
    EXPECT_GT(written, 2000U);
}

TEST_F(CanSignalTest, signalSpreadOverNineBytesIsLeftOut) {
    std::string const path = dbcFile("BO_ 256 M: 64 X\n SG_ Nine : 100|64@1+ (1,0) [0|0] \"\" X\n"
                                     " SG_ Eight : 168|64@1+ (1,0) [0|0] \"\" X\n");
    ASSERT_TRUE(d_set.load({std::nullopt, path}));
    EXPECT_EQ(d_reporter.text(), "error: " + path + ":2: '" + instance("M.Nine") +
                                     "' is spread over 9 bytes, but a signal can have at most 8; left out\n");
    EXPECT_EQ(d_set.d_definitions.names(), std::vector<std::string>{instance("M.Eight")});
}

TEST_F(CanSignalTest, multiplexorAnywhereSelects) {
    load("BO_ 256 M: 64 X\n"
         " SG_ Switch M : 480|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ One m1 : 0|8@1+ (1,0) [0|0] \"\" X\n"
         " SG_ Two m2 : 0|8@1+ (1,0) [0|0] \"\" X\n");
    std::vector<std::uint8_t> payload(64);
    payload[0] = 0x55;
    payload[60] = 2;
    feed(payload);
    EXPECT_EQ(raw("M.One"), std::nullopt);
    EXPECT_EQ(raw("M.Two"), 0x55U);
}

} // namespace
} // namespace qztool
