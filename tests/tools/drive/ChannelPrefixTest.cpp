// Signals with the channel in their names.
#include "tests/tools/drive/DriveFixture.h"
#include "tools/machine/SharedSignals.h"

namespace qztool {
namespace {

using Names = std::vector<std::string>;

constexpr char two[] = "BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ Oil : 8|8@1+ (1,0) [0|0] \"\" X\n"
                       "BO_ 257 N: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n"
                       "BA_ \"SystemSignalLongSymbol\" SG_ 256 Oil \"Oil Temp\";\n";

class ChannelPrefixTest : public DriveFixture {
protected:
    ~ChannelPrefixTest() override {
        for (std::string const& name : d_set.d_definitions.names())
            d_files.push_back("/tmp/" + name);
    }
    void feed(std::uint32_t address, std::uint8_t value, std::uint8_t channel) {
        d_set.feed(frameOf(address, {value, static_cast<std::uint8_t>(value + 1)}, channel));
    }
    std::string onChannel(std::string const& channel, std::string const& name) const {
        return channel + "." + instance(name);
    }
    std::optional<unsigned long long> raw(std::string const& channel, std::string const& name) const {
        return rawValue(onChannel(channel, name));
    }

    TextReporter d_reporter;
    DrivenSet d_set{d_reporter, {false, true}};
};

TEST_F(ChannelPrefixTest, oneDefinitionHasSignalsOnEachChannel) {
    d_set.load({std::nullopt, dbcFile(two)});
    ASSERT_EQ(d_set.share(), SignalSet::Built::Ready) << d_reporter.text();
    EXPECT_EQ(d_set.d_signals.sharedCount(), 0U);
    feed(1, 1, 5);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 0U) << "not a frame of the file";
    feed(256, 10, 0);
    EXPECT_TRUE(segmentExists(onChannel("can0", "N.A"))) << "all of the file's are made for the channel";
    feed(256, 20, 3);
    feed(257, 30, 0);
    EXPECT_EQ(raw("can0", "M.A"), 10U);
    EXPECT_EQ(raw("can3", "M.A"), 20U);
    EXPECT_EQ(raw("can0", "N.A"), 30U);
    EXPECT_EQ(raw("can3", "N.A"), std::nullopt);
    EXPECT_EQ(raw("can3", "M.Oil_Temp"), 21U);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 6U);
    EXPECT_EQ(d_set.d_definitions.originalOf(onChannel("can3", "M.Oil_Temp")), onChannel("can3", "M.Oil Temp"));
    EXPECT_EQ(BaseSignal::getInstance(instance("M.A").c_str()), nullptr);
    EXPECT_EQ(d_reporter.text(), "");
}

TEST_F(ChannelPrefixTest, filesOfTwoChannelsMayBeTheSame) {
    std::string const path = dbcFile(two);
    d_set.load({std::uint8_t{1}, path});
    d_set.load({std::uint8_t{2}, path});
    ASSERT_EQ(d_set.share(), SignalSet::Built::Ready) << d_reporter.text();
    EXPECT_EQ(d_set.d_signals.sharedCount(), 6U) << "channels that are known from the beginning";
    feed(256, 1, 1);
    feed(256, 2, 2);
    feed(256, 3, 3);
    EXPECT_EQ(raw("can1", "M.A"), 1U);
    EXPECT_EQ(raw("can2", "M.A"), 2U);
    EXPECT_EQ(raw("can3", "M.A"), std::nullopt);
    EXPECT_EQ(d_reporter.text(), "");
}

TEST_F(ChannelPrefixTest, channelWithAFileOfItsOwnHasNoOther) {
    std::string const path = dbcFile(two);
    d_set.load({std::nullopt, path});
    d_set.load({std::uint8_t{2}, path});
    d_set.share();
    feed(256, 1, 1);
    feed(256, 2, 2);
    EXPECT_EQ(raw("can1", "M.A"), 1U);
    EXPECT_EQ(raw("can2", "M.A"), 2U);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 6U);
    EXPECT_EQ(d_reporter.text(), "");
}

TEST_F(ChannelPrefixTest, patternsMatchNamesOfChannels) {
    d_set.load({std::nullopt, dbcFile(two)});
    EXPECT_EQ(d_set.d_signals.share({"can3.*.A", "can4.*Oil Temp"}), SignalSet::Built::Ready) << d_reporter.text();
    for (std::uint8_t channel = 2; channel <= 4; ++channel)
        feed(256, channel, channel);
    EXPECT_EQ(raw("can2", "M.A"), std::nullopt);
    EXPECT_EQ(raw("can3", "M.A"), 3U);
    EXPECT_EQ(raw("can4", "M.Oil_Temp"), 5U);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 3U);
}

TEST_F(ChannelPrefixTest, patternThatNoChannelCanMatchIsReported) {
    d_set.load({std::nullopt, dbcFile(two)});
    EXPECT_EQ(d_set.d_signals.share({"can256.*"}), SignalSet::Built::NoMatch);
    EXPECT_EQ(d_reporter.text(), "error: no signal matches 'can256.*'\n");
}

TEST_F(ChannelPrefixTest, namesAreUnderstoodBeforeTheChannelIsSeen) {
    d_set.load({std::nullopt, dbcFile(two)});
    d_set.load({std::uint8_t{9}, dbcFile("BO_ 258 L: 8 X\n SG_ B : 0|8@1+ (1,0) [0|0] \"\" X\n")});
    auto const meant = [this](std::string const& name) { return d_set.d_definitions.meantBy(name); };
    EXPECT_EQ(meant(onChannel("can0", "M.A")), Names{onChannel("can0", "M.A")});
    EXPECT_EQ(meant(onChannel("can0", "M.Oil Temp")), Names{onChannel("can0", "M.Oil_Temp")}) << "original spelling";
    EXPECT_EQ(meant("can0.Oil_Temp"), Names{onChannel("can0", "M.Oil_Temp")}) << "own name";
    EXPECT_EQ(meant("can0.A"), (Names{onChannel("can0", "M.A"), onChannel("can0", "N.A")})) << "own name of two";
    EXPECT_EQ(meant("can9.B"), Names{onChannel("can9", "L.B")}) << "channel with a file of its own";
    EXPECT_EQ(meant("B"), Names{onChannel("can9", "L.B")}) << "the only channel that it can be on";
    EXPECT_EQ(meant("A"), Names{}) << "of which channel?";
    EXPECT_EQ(meant(onChannel("can00", "M.A")), Names{});
    EXPECT_EQ(meant(onChannel("can256", "M.A")), Names{});
    EXPECT_EQ(meant(onChannel("lin0", "M.A")), Names{}) << "another bus";
    EXPECT_EQ(meant(onChannel("can0", "L.B")), Names{});

    ASSERT_EQ(d_set.build({onChannel("can7", "M.A"), onChannel("can9", "L.B")}), SignalSet::Built::Ready);
    ASSERT_NE(BaseSignal::getInstance(onChannel("can7", "M.A").c_str()), nullptr);
    feed(256, 1, 0);
    feed(256, 2, 7);
    feed(258, 3, 9);
    EXPECT_EQ(raw("can7", "M.A"), 2U);
    EXPECT_EQ(raw("can9", "L.B"), 3U);
    EXPECT_EQ(d_set.d_signals.signals().size(), 2U);
}

TEST_F(ChannelPrefixTest, channelAndSourceAddressGoTogether) {
    d_set.load({std::nullopt, dbcFile("BO_ 2364539904 EEC1: 8 X\n SG_ Speed : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                      "BA_ \"ProtocolType\" \"J1939\";\n")});
    std::string const name = onChannel("can1", "EEC1_SA0B.Speed");
    EXPECT_EQ(d_set.d_definitions.meantBy(name), Names{name});
    ASSERT_EQ(d_set.build({name, onChannel("can1", "EEC1.Speed"), onChannel("can2", "EEC1.Speed")}),
              SignalSet::Built::Ready);
    for (std::uint8_t channel = 1; channel <= 2; ++channel)
        for (std::uint8_t source = 0x0A; source <= 0x0B; ++source)
            d_set.feed(
                frameOf(0x0CF00400U | source, {static_cast<std::uint8_t>(16 * channel + source)}, channel, true));
    EXPECT_EQ(raw("can1", "EEC1.Speed"), 16U + 0x0A);
    EXPECT_EQ(raw("can1", "EEC1_SA0B.Speed"), 16U + 0x0B);
    EXPECT_EQ(raw("can2", "EEC1.Speed"), 32U + 0x0A);
    EXPECT_EQ(raw("can2", "EEC1_SA0B.Speed"), std::nullopt);
}

TEST_F(ChannelPrefixTest, sourcesAreMadeOnTheirChannels) {
    d_set.load({std::nullopt, dbcFile("BO_ 2364539904 EEC1: 8 X\n SG_ Speed : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                      "BA_ \"ProtocolType\" \"J1939\";\n")});
    ASSERT_EQ(d_set.share(), SignalSet::Built::Ready) << d_reporter.text();
    d_set.feed(frameOf(0x0CF0040A, {1}, 1, true));
    d_set.feed(frameOf(0x0CF0040B, {2}, 2, true));
    d_set.feed(frameOf(0x0CF0040B, {3}, 1, true));
    EXPECT_EQ(raw("can1", "EEC1.Speed"), 1U);
    EXPECT_EQ(raw("can2", "EEC1.Speed"), 2U) << "the first source of this channel";
    EXPECT_EQ(raw("can1", "EEC1_SA0B.Speed"), 3U);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 3U);
}

TEST_F(ChannelPrefixTest, messageMayBeginWithPackets) {
    d_set.load({std::nullopt, dbcFile("BO_ 2566841088 EC1: 39 X\n SG_ First : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                      "BA_ \"ProtocolType\" \"J1939\";\n")});
    ASSERT_EQ(d_set.share(), SignalSet::Built::Ready);
    d_set.feed(frameOf(0x1CECFF0B, {32, 9, 0, 2, 0xFF, 0xE3, 0xFE, 0}, 4, true));
    d_set.feed(frameOf(0x1CEBFF0B, {1, 7, 0, 0, 0, 0, 0, 0}, 4, true));
    d_set.feed(frameOf(0x1CEBFF0B, {2, 0, 0, 0, 0, 0, 0, 0}, 4, true));
    EXPECT_EQ(raw("can4", "EC1.First"), 7U);
}

TEST_F(ChannelPrefixTest, nameThatBeginsWithADigitNeedsNothingInFront) {
    d_set.load({std::nullopt, file("a.dbc", "BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                            "BA_ \"SystemMessageLongSymbol\" BO_ 256 \"1M\";\n")});
    EXPECT_EQ(d_set.d_definitions.meantBy("can0.1M.A"), Names{"can0.1M.A"});
    EXPECT_EQ(d_set.d_definitions.meantBy("can0.A"), Names{"can0.1M.A"});
    EXPECT_EQ(d_set.d_definitions.names(), Names{"can*.1M.A"});
}

TEST_F(ChannelPrefixTest, linIsPrefixedWithItsName) {
    std::string const text = "LIN_description_file;\nLIN_protocol_version = \"2.1\";\nLIN_language_version = \"2.1\";\n"
                             "LIN_speed = 19.2 kbps;\nSignals {\nSpeed: 8, 0, M, S;\n}\nFrames {\n" +
                             instance("F") + ": 5, M, 2 { Speed, 8; }\n}\nEvent_triggered_frames {\nE: T, 0x30, " +
                             instance("F") + ";\n}\n";
    d_set.load({std::nullopt, definitionFile("a.ldf", text)});
    ASSERT_EQ(d_set.build({onChannel("lin1", "F.Speed"), onChannel("lin2", "F.Speed")}), SignalSet::Built::Ready);
    Frame frame = frameOf(5, {5, 10}, 1);
    frame.bus = Bus::Lin;
    d_set.feed(frame);
    frame = frameOf(0x30, {5, 20}, 2);
    frame.bus = Bus::Lin;
    d_set.feed(frame);
    EXPECT_EQ(raw("lin1", "F.Speed"), 10U);
    EXPECT_EQ(raw("lin2", "F.Speed"), 20U) << "the event-triggered frame is one of the file's as well";
}

TEST(ChannelNetworks, oneIsMadeForEachChannelAndStays) {
    Channels channels(true);
    Network& each = channels.add(Bus::Can, 0, std::nullopt);
    EXPECT_TRUE(each.servesEach);
    EXPECT_TRUE(channels.candidates(Bus::Can, 1).empty());
    Network& one = channels.open(each, 1);
    Network& other = channels.open(each, 2);
    EXPECT_EQ(&channels.open(each, 1), &one);
    EXPECT_EQ(channels.candidates(Bus::Can, 1), std::vector<Network*>{&one});
    EXPECT_EQ(channels.candidates(Bus::Can, 2), std::vector<Network*>{&other});
    EXPECT_NE(one.filed, other.filed);
    EXPECT_EQ(one.madeOf, &each);
}

} // namespace
} // namespace qztool
