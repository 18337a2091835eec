// FlexRay frames write the signals of their slot, cycle and channel.
#include "tests/tools/definitions/fibex/FlexRayFibex.h"
#include "tests/tools/drive/DriveFixture.h"
#include "tests/tools/drive/PlainDecoding.h"
#include "tools/drive/SignalPlace.h"

#include <random>

namespace qztool {
namespace {

constexpr std::uint16_t onA = frameFlag::channelA, onB = frameFlag::channelB;

Frame flexRayFrame(std::uint32_t slot, std::uint8_t cycle, std::vector<std::uint8_t> const& payload,
                   std::uint16_t flags = onA, std::uint8_t channel = 1) {
    Frame frame = frameOf(slot, payload, channel);
    frame.bus = Bus::FlexRay;
    frame.cycle = cycle;
    frame.flags = flags;
    return frame;
}

class FlexRaySignalTest : public DriveFixture {
protected:
    void SetUp() override {
#ifndef QZSIGNAL_WITH_PUGIXML
        GTEST_SKIP() << "built without pugixml";
#endif
    }
    std::string fibexFile(std::vector<FibexFrame> frames, std::string const& prefix = "") {
        for (FibexFrame& frame : frames)
            frame.name = d_prefix + prefix + frame.name;
        return definitionFile("cluster.xml", flexRayFibex(frames));
    }
    void load(std::vector<FibexFrame> const& frames) {
        ASSERT_TRUE(d_set.load({std::nullopt, fibexFile(frames)}));
        ASSERT_EQ(d_set.share(), SignalSet::Built::Ready) << d_reporter.text();
        EXPECT_EQ(d_reporter.text(), "");
    }
    std::optional<unsigned long long> raw(std::string const& name) const {
        return rawValue(instance(name));
    }

    TextReporter d_reporter;
    DrivenSet d_set{d_reporter};
    CurrentFrame& d_frame = d_set.d_frame;
};

TEST_F(FlexRaySignalTest, slotAndCycleNameTheFrame) {
    load({{"F", 17, 3, 8, "A", 4, {{"X", 0, 8}}}, {"G", 17, 1, 4, "A", 4, {{"Y", 8, 8}}}});
    EXPECT_EQ(d_set.feed(flexRayFrame(17, 2, {1, 2})), 0U);
    EXPECT_EQ(d_set.feed(flexRayFrame(16, 3, {1, 2})), 0U);
    EXPECT_EQ(d_set.d_fed, Feeder::Fed::Nothing);
    EXPECT_EQ(d_frame.number, 0U);
    for (std::uint8_t const cycle : std::vector<std::uint8_t>{3, 11, 59}) {
        EXPECT_NE(d_set.feed(flexRayFrame(17, cycle, {cycle, 0xFF})), 0U);
        EXPECT_EQ(raw("F.X"), cycle);
    }
    EXPECT_EQ(raw("G.Y"), std::nullopt);
    EXPECT_NE(d_set.feed(flexRayFrame(17, 61, {0xFF, 9})), 0U);
    EXPECT_EQ(raw("F.X"), 59U);
    EXPECT_EQ(raw("G.Y"), 9U);
}

TEST_F(FlexRaySignalTest, messageHasTheKeyOfTheLibrary) {
    load({{"F", 17, 0, 1, "A", 4, {{"X", 0, 8}}}});
    EXPECT_EQ(d_set.feed(flexRayFrame(17, 5, {1, 2})), 0x2000000000000001U);
}

TEST_F(FlexRaySignalTest, channelsHaveFramesOfTheirOwn) {
    load({{"F", 5, 0, 1, "A", 2, {{"X", 0, 8}}}, {"G", 5, 0, 1, "B", 2, {{"Y", 0, 8}}}});
    d_set.feed(flexRayFrame(5, 0, {1, 0}, onA));
    EXPECT_EQ(raw("F.X"), 1U);
    EXPECT_EQ(raw("G.Y"), std::nullopt);
    d_set.feed(flexRayFrame(5, 0, {2, 0}, onB));
    EXPECT_EQ(raw("F.X"), 1U);
    EXPECT_EQ(raw("G.Y"), 2U);
    d_set.feed(flexRayFrame(5, 0, {3, 0}, onA | onB));
    EXPECT_EQ(raw("F.X"), 3U);
    EXPECT_EQ(raw("G.Y"), 3U);
}

TEST_F(FlexRaySignalTest, frameOfBothChannelsIsFedFromEither) {
    load({{"F", 5, 1, 2, "AB", 2, {{"X", 0, 8}}}, {"G", 5, 0, 2, "B", 2, {{"Y", 0, 8}}}});
    std::uint8_t value = 0;
    for (std::uint16_t const flags : {onA, onB, static_cast<std::uint16_t>(onA | onB), std::uint16_t{0}}) {
        d_set.feed(flexRayFrame(5, 63, {++value, 0}, flags));
        EXPECT_EQ(raw("F.X"), value);
        EXPECT_EQ(d_frame.written, value) << "once a frame";
    }
    EXPECT_EQ(raw("G.Y"), std::nullopt);
    EXPECT_EQ(d_set.feed(flexRayFrame(5, 0, {9, 0}, onA)), 0U);
    d_set.feed(flexRayFrame(5, 0, {9, 0}, onB));
    EXPECT_EQ(raw("F.X"), value);
    EXPECT_EQ(raw("G.Y"), 9U);
}

TEST_F(FlexRaySignalTest, frameOfOneChannelIsNotFedFromTheOther) {
    load({{"F", 5, 0, 1, "B", 2, {{"X", 0, 8}}}, {"G", 6, 0, 1, "A", 2, {{"Y", 0, 8}}}});
    EXPECT_EQ(d_set.feed(flexRayFrame(5, 0, {1, 0}, onA)), 0U);
    EXPECT_EQ(d_set.feed(flexRayFrame(6, 0, {1, 0}, onB)), 0U);
    EXPECT_NE(d_set.feed(flexRayFrame(5, 0, {1, 0}, onB)), 0U);
    EXPECT_EQ(raw("F.X"), 1U);
}

TEST_F(FlexRaySignalTest, overlappingFramesAreWrittenInTheirCyclesAlone) {
    load({{"F", 5, 0, 1, "A", 2, {{"X", 0, 8}}}, {"G", 5, 2, 4, "A", 2, {{"Y", 8, 8}}}});
    d_set.feed(flexRayFrame(5, 1, {1, 2}));
    EXPECT_EQ(raw("F.X"), 1U);
    EXPECT_EQ(raw("G.Y"), std::nullopt);
    d_set.feed(flexRayFrame(5, 6, {3, 4}));
    EXPECT_EQ(raw("F.X"), 3U);
    EXPECT_EQ(raw("G.Y"), 4U);
}

TEST_F(FlexRaySignalTest, shortFrameWritesOnlyWhatItHolds) {
    load({{"F", 5, 0, 1, "A", 4, {{"First", 0, 8}, {"Crossing", 12, 8}, {"Motorola", 15, 16, true}}}});
    d_set.feed(flexRayFrame(5, 0, {0x12, 0x34}));
    EXPECT_EQ(raw("F.First"), 0x12U);
    EXPECT_EQ(raw("F.Crossing"), std::nullopt) << "half a value is none";
    EXPECT_EQ(raw("F.Motorola"), std::nullopt);
    EXPECT_EQ(d_frame.written, 1U);
    EXPECT_EQ(d_frame.cut, 2U);
    d_set.feed(flexRayFrame(5, 0, {0x12, 0x34, 0x56, 0}));
    EXPECT_EQ(raw("F.Crossing"), 0x63U);
    EXPECT_EQ(raw("F.Motorola"), 0x3456U);
}

TEST_F(FlexRaySignalTest, frameWithoutPayloadWritesNothing) {
    load({{"F", 5, 0, 1, "A", 4, {{"X", 0, 8}}}});
    d_set.feed(flexRayFrame(5, 0, {}, onA | frameFlag::null));
    EXPECT_EQ(raw("F.X"), std::nullopt);
    EXPECT_EQ(d_frame.written, 0U);
}

TEST_F(FlexRaySignalTest, twoNetworksStayApartAndAThirdIsReported) {
    std::vector<FibexFrame> const frames = {{"F", 5, 0, 1, "AB", 2, {{"X", 0, 8}}}};
    std::vector<std::uint8_t> const channels = {1, 2, 3};
    std::string third;
    for (std::uint8_t const channel : channels) {
        third = fibexFile(frames, std::to_string(channel));
        ASSERT_TRUE(d_set.load({channel, third}));
    }
    ASSERT_EQ(d_set.share(), SignalSet::Built::Ready);
    MessageDefinition const& message = d_set.d_definitions.files().back()->database.messages.front();
    EXPECT_EQ(d_reporter.text(),
              "error: " + third + ":" + std::to_string(message.line) + ": '" + instance("3F") +
                  "' is left out, as frames of more than 2 flexray networks cannot be distinguished\n"
                  "error: 1 of 3 signals could not be shared\n");
    for (std::uint8_t const channel : channels)
        d_set.feed(flexRayFrame(5, 0, {channel, 0}, onB, channel));
    EXPECT_EQ(d_set.d_fed, Feeder::Fed::Nothing);
    EXPECT_EQ(raw("1F.X"), 1U);
    EXPECT_EQ(raw("2F.X"), 2U);
}

TEST_F(FlexRaySignalTest, fileServesTheFirstChannelOnWhichItsFramesAreSeen) {
    load({{"F", 5, 0, 1, "A", 2, {{"X", 0, 8}}}});
    d_set.feed(flexRayFrame(5, 0, {1, 0}, onA, 4));
    EXPECT_EQ(d_set.feed(flexRayFrame(5, 0, {2, 0}, onA, 1)), 0U);
    EXPECT_EQ(d_set.d_fed, Feeder::Fed::OtherChannel);
    EXPECT_EQ(raw("F.X"), 1U);
}

TEST_F(FlexRaySignalTest, signalSpreadOverNineBytesIsLeftOut) {
    ASSERT_TRUE(d_set.load({std::nullopt, fibexFile({{"F", 5, 0, 1, "A", 20, {{"Nine", 100, 64}, {"X", 0, 8}}}})}));
    EXPECT_NE(d_reporter.text().find(": '" + instance("F.Nine") +
                                     "' is spread over 9 bytes, but a signal can have at most 8; left out\n"),
              std::string::npos)
        << d_reporter.text();
    EXPECT_EQ(d_set.d_definitions.names(), std::vector<std::string>{instance("F.X")});
}

// The bits of every place in a frame of 254 bytes, in several cycles, against a decoding of our own.
TEST_F(FlexRaySignalTest, valuesAreThoseOfTheBits) {
    std::mt19937 random(11); // NOLINT: the same each time
    constexpr unsigned most = 254 * 8;
    std::vector<FibexFrame> frames;
    unsigned count = 0;
    for (unsigned cycle = 0; cycle < 8; ++cycle) {
        FibexFrame frame{"F" + std::to_string(cycle), 2047, cycle, 8, cycle % 2 == 0 ? "A" : "AB", 254, {}};
        for (unsigned start = cycle; start + 64 <= most; start += 23)
            for (unsigned const bits : {1U, 7U, 16U, 33U, 57U, 64U}) {
                std::string const name = "S" + std::to_string(count++);
                bool const bigEndian = count % 2 == 0;
                unsigned const first = bigEndian ? start / 8 * 8 + 7 - start % 8 : start;
                frame.signals.push_back({name, first, bits, bigEndian, count % 3 == 0});
            }
        frames.push_back(frame);
    }
    ASSERT_TRUE(d_set.load({std::nullopt, fibexFile(frames)}));
    auto const& messages = d_set.d_definitions.files().front()->database.messages;
    std::vector<std::string> const names = d_set.d_definitions.names();
    ASSERT_EQ(d_set.build({names.begin(), names.end()}), SignalSet::Built::Ready);

    std::size_t written = 0;
    for (unsigned const length : {254, 254, 128, 30, 8, 2})
        for (MessageDefinition const& message : messages) {
            std::vector<std::uint8_t> payload(length);
            for (std::uint8_t& byte : payload)
                byte = static_cast<std::uint8_t>(random());
            auto const cycle = static_cast<std::uint8_t>(message.flexRay.baseCycle + 8 * (random() % 8));
            Frame frame = flexRayFrame(2047, cycle, payload, message.flexRay.channelB ? onB : onA);
            std::fill(frame.bytes.begin() + length, frame.bytes.end(), std::uint8_t{0xEE});
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
    EXPECT_GT(written, 5000U);
}

} // namespace
} // namespace qztool
