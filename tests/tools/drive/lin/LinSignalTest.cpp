// LIN frames write the signals that they carry, event-triggered ones included.
#include "tests/tools/drive/DriveFixture.h"
#include "tests/tools/drive/PlainDecoding.h"

#include <random>

namespace qztool {
namespace {

Frame linFrame(std::uint32_t identifier, std::vector<std::uint8_t> const& payload, std::uint8_t channel = 1) {
    Frame frame = frameOf(identifier, payload, channel);
    frame.bus = Bus::Lin;
    return frame;
}

class LinSignalTest : public DriveFixture {
protected:
    // A file with these sections, whose frames have the prefix before their names.
    std::string ldfFile(std::string const& sections) {
        return definitionFile("cluster.ldf", "LIN_description_file;\nLIN_protocol_version = \"2.1\";\n"
                                             "LIN_language_version = \"2.1\";\nLIN_speed = 19.2 kbps;\n" +
                                                 sections);
    }
    void load(std::string const& sections) {
        ASSERT_TRUE(d_set.load({std::nullopt, ldfFile(sections)}));
        ASSERT_EQ(d_set.share(), SignalSet::Built::Ready) << d_reporter.text();
        EXPECT_EQ(d_reporter.text(), "");
    }
    std::string twoFrames() const {
        return "Signals {\nA: 8, 0, M, S;\nB: 10, 0, M, S;\nC: 8, 0, M, S;\n}\n"
               "Frames {\n" +
               d_prefix + "F: 0x21, M, 3 { A, 0; B, 8; }\n" + d_prefix + "G: 5, M, 2 { C, 8; }\n}\n";
    }
    std::optional<unsigned long long> raw(std::string const& name) const { return rawValue(instance(name)); }

    TextReporter d_reporter;
    DrivenSet d_set{d_reporter};
    CurrentFrame& d_frame = d_set.d_frame;
};

TEST_F(LinSignalTest, frameWritesItsSignalsUnderTheKeyOfTheDefinition) {
    load(twoFrames());
    EXPECT_EQ(d_set.feed(linFrame(0x21, {0x12, 0x34, 0xFE})), 0x4000000000000021U);
    EXPECT_EQ(raw("F.A"), 0x12U);
    EXPECT_EQ(raw("F.B"), 0x234U);
    EXPECT_EQ(raw("G.C"), std::nullopt);
    EXPECT_EQ(d_set.feed(linFrame(5, {1, 2})), 0x4000000000000005U);
    EXPECT_EQ(raw("G.C"), 2U);
    EXPECT_EQ(d_frame.written, 3U);
}

TEST_F(LinSignalTest, shortFrameWritesOnlyWhatItHolds) {
    load(twoFrames());
    d_set.feed(linFrame(0x21, {0x12, 0x34}));
    EXPECT_EQ(raw("F.A"), 0x12U);
    EXPECT_EQ(raw("F.B"), std::nullopt) << "its highest bits are in the third byte";
    EXPECT_EQ(d_frame.written, 1U);
    EXPECT_EQ(d_frame.cut, 1U);
    d_set.feed(linFrame(0x21, {}));
    EXPECT_EQ(d_frame.written, 1U);
    EXPECT_EQ(d_frame.cut, 3U);
}

TEST_F(LinSignalTest, framesThatAreNotDefinedWriteNothing) {
    load(twoFrames());
    EXPECT_EQ(d_set.feed(linFrame(0x22, {1, 2, 3})), 0U);
    EXPECT_EQ(d_set.d_fed, Feeder::Fed::Nothing);
    EXPECT_EQ(d_frame.number, 0U);
}

TEST_F(LinSignalTest, fileServesTheFirstChannelOnWhichItsFramesAreSeen) {
    load(twoFrames());
    d_set.feed(linFrame(6, {1}, 2));
    d_set.feed(linFrame(5, {1, 2}, 3));
    EXPECT_EQ(d_set.feed(linFrame(5, {1, 9}, 2)), 0U);
    EXPECT_EQ(d_set.d_fed, Feeder::Fed::OtherChannel);
    EXPECT_EQ(raw("G.C"), 2U);
    EXPECT_EQ(d_set.d_definitions.channels().networks().front().foreignFrames, 1U);
}

TEST_F(LinSignalTest, clustersWithTheSameIdentifiersStayApart) {
    std::string const frame = "F: 5, M, 1 { A, 0; }\n}\n";
    ASSERT_TRUE(d_set.load({1, ldfFile("Signals {\nA: 8, 0, M, S;\n}\nFrames {\n" + d_prefix + "One" + frame)}));
    ASSERT_TRUE(d_set.load({2, ldfFile("Signals {\nA: 8, 0, M, S;\n}\nFrames {\n" + d_prefix + "Two" + frame)}));
    ASSERT_EQ(d_set.share(), SignalSet::Built::Ready) << d_reporter.text();
    d_set.feed(linFrame(5, {11}, 1));
    EXPECT_EQ(raw("TwoF.A"), std::nullopt);
    EXPECT_EQ(d_set.feed(linFrame(5, {22}, 2)), 0x4000000000000105U);
    EXPECT_EQ(raw("OneF.A"), 11U);
    EXPECT_EQ(raw("TwoF.A"), 22U);
}

// Frame E may carry F and G.
std::string eventTriggered(std::string const& prefix) {
    return "Signals {\nA: 8, 0, M, S;\nB: 8, 0, M, S;\nC: 8, 0, M, S;\n}\nFrames {\n" + prefix +
           "F: 0x21, M, 2 { A, 8; }\n" + prefix + "G: 5, M, 2 { B, 8; }\n" + prefix +
           "H: 6, M, 2 { C, 8; }\n}\nEvent_triggered_frames {\n" + prefix + "E: T, 0x30, " + prefix + "F, " + prefix +
           "G;\n}\nSchedule_tables {\nT { " + prefix + "F delay 10 ms; " + prefix + "G delay 10 ms; }\n}\n";
}

TEST_F(LinSignalTest, eventTriggeredFrameCarriesTheFrameThatItsFirstByteNames) {
    load(eventTriggered(d_prefix));
    EXPECT_EQ(d_set.feed(linFrame(0x30, {0x61, 0x77})), 0x4000000000000021U) << "0x61 protects 0x21";
    EXPECT_EQ(raw("F.A"), 0x77U);
    EXPECT_EQ(raw("G.B"), std::nullopt);
    EXPECT_EQ(d_set.feed(linFrame(0x30, {0x85, 0x88})), 0x4000000000000005U) << "0x85 protects 5";
    EXPECT_EQ(raw("F.A"), 0x77U);
    EXPECT_EQ(raw("G.B"), 0x88U);
    EXPECT_EQ(d_set.feed(linFrame(0x21, {0x61, 0x99})), 0x4000000000000021U) << "sent by itself";
    EXPECT_EQ(raw("F.A"), 0x99U);
}

TEST_F(LinSignalTest, eventTriggeredFrameCarriesNoOtherFrame) {
    load(eventTriggered(d_prefix));
    EXPECT_EQ(d_set.feed(linFrame(0x30, {0x06, 0x77})), 0U) << "H is not one that it may carry";
    EXPECT_EQ(d_set.feed(linFrame(0x30, {})), 0U) << "collision";
    EXPECT_EQ(d_set.feed(linFrame(0x31, {0x61, 0x77})), 0U) << "not event-triggered";
    d_set.feed(linFrame(6, {0x21, 0x55}));
    EXPECT_EQ(raw("H.C"), 0x55U);
    EXPECT_EQ(raw("F.A"), std::nullopt) << "an ordinary frame carries itself, whatever its first byte";
    EXPECT_EQ(d_set.d_definitions.defines({Bus::Lin, 1, false, 0x30, 1}), DefinitionSet::Defined::Yes);
    EXPECT_EQ(d_set.d_definitions.defines({Bus::Lin, 1, false, 0x31, 1}), DefinitionSet::Defined::No);
}

// Every place and size in frames of eight bytes, against a decoding of our own.
TEST_F(LinSignalTest, valuesAreThoseOfTheBits) {
    std::mt19937 random(9); // NOLINT: the same each time
    auto const below = [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    std::string signals, frames;
    unsigned count = 0;
    for (unsigned identifier = 0; identifier < 60; ++identifier) {
        frames += d_prefix + "F" + std::to_string(identifier) + ": " + std::to_string(identifier) + ", M, 8 {\n";
        for (unsigned bit = below(5); bit < 64;) {
            unsigned const bits = std::min(1 + below(16), 64 - bit);
            std::string const name = "S" + std::to_string(count++);
            signals += name + ": " + std::to_string(bits) + ", 0, M, S;\n";
            frames += name + ", " + std::to_string(bit) + ";\n";
            bit += bits + below(3);
        }
        frames += "}\n";
    }
    ASSERT_TRUE(d_set.load({std::nullopt, ldfFile("Signals {\n" + signals + "}\nFrames {\n" + frames + "}\n")}));
    EXPECT_EQ(d_reporter.text(), "");
    auto const& messages = d_set.d_definitions.files().front()->database.messages;
    std::vector<std::string> const names = d_set.d_definitions.names();
    ASSERT_EQ(names.size(), count);
    ASSERT_EQ(d_set.build({names.begin(), names.end()}), SignalSet::Built::Ready);

    std::size_t written = 0;
    for (unsigned const length : {8, 8, 7, 3, 1})
        for (MessageDefinition const& message : messages) {
            std::vector<std::uint8_t> payload(length);
            for (std::uint8_t& byte : payload)
                byte = static_cast<std::uint8_t>(random());
            Frame const frame = linFrame(message.address, payload);
            d_set.feed(frame);
            for (SignalDefinition const& signal : message.signals) {
                std::optional<std::uint64_t> const bits = bitsOf(signal, frame);
                if (!bits)
                    continue;
                ++written;
                EXPECT_EQ(rawValue(instanceName(message, signal)), *bits)
                    << signal.startBit << "|" << signal.bits << " of " << length;
            }
        }
    EXPECT_EQ(d_frame.written, written) << "and no other";
    EXPECT_GT(written, 1000U);
}

} // namespace
} // namespace qztool
