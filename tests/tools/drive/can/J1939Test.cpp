// Frames of J1939: matched by parameter group, distinguished by source address, and put together from packets.
#include "tests/tools/drive/DriveFixture.h"

#include "tools/machine/SharedSignals.h"

namespace qztool {
namespace {

constexpr std::uint32_t extendedFlag = 0x80000000U;

std::string message(std::uint32_t identifier, std::string const& name, unsigned length = 8) {
    return "BO_ " + std::to_string(identifier | extendedFlag) + " " + name + ": " + std::to_string(length) + " X\n";
}

std::string byteSignal(std::string const& name, unsigned byte, std::string const& mark = "") {
    return " SG_ " + name + mark + " : " + std::to_string(byte * 8) + "|8@1+ (1,0) [0|0] \"\" X\n";
}

constexpr char j1939[] = "BA_ \"ProtocolType\" \"J1939\";\n";

class J1939Test : public DriveFixture {
protected:
    // The key files of signals that have no name before they are seen.
    ~J1939Test() override {
        for (std::string const& name : d_set.d_definitions.names())
            d_files.push_back("/tmp/" + name);
    }
    void load(std::string const& text) { ASSERT_TRUE(d_set.load({std::nullopt, dbcFile(text)})); }
    void share(std::vector<std::string> const& only = {}) {
        ASSERT_EQ(d_set.d_signals.share(only), SignalSet::Built::Ready) << d_reporter.text();
    }
    Feeder::Fed feed(std::uint32_t identifier, std::vector<std::uint8_t> const& payload, std::uint8_t channel = 0) {
        Frame frame = frameOf(identifier, payload, channel, true);
        frame.timestamp = ++d_time;
        d_set.feed(frame);
        return d_set.d_fed;
    }
    std::optional<unsigned long long> raw(std::string const& name) const { return rawValue(instance(name)); }
    unsigned long long timeOf(std::string const& name) const {
        unsigned long long value = 0, time = 0;
        BaseSignal::getInstance(instance(name).c_str())->read(value, time);
        return time;
    }
    TransportCounts transport() const { return d_set.d_feeder->transport(); }

    TextReporter d_reporter;
    DrivenSet d_set{d_reporter};
    unsigned long long d_time = 0;
};

TEST_F(J1939Test, priorityAndSourceAreNotCompared) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + j1939);
    share();
    EXPECT_EQ(feed(0x18F004FE, {7}), Feeder::Fed::Message);
    EXPECT_EQ(raw("EEC1.Speed"), 7U);
    EXPECT_EQ(feed(0x0CF005FE, {8}), Feeder::Fed::Nothing) << "another group";
    EXPECT_EQ(feed(0x0DF004FE, {8}), Feeder::Fed::Nothing) << "another data page";
    EXPECT_EQ(raw("EEC1.Speed"), 7U);
}

TEST_F(J1939Test, withoutJ1939TheWholeIdentifierCounts) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0));
    share();
    EXPECT_EQ(feed(0x0CF0040B, {7}), Feeder::Fed::Nothing);
    EXPECT_EQ(feed(0x0CF00400, {7}), Feeder::Fed::Message);
}

TEST_F(J1939Test, optionMakesAllExtendedFramesThoseOfJ1939) {
    DrivenSet set(d_reporter, {true, false});
    set.load({std::nullopt,
              dbcFile(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + "BO_ 256 M: 8 X\n" + byteSignal("A", 0))});
    set.share();
    set.feed(frameOf(0x0CF0040B, {7}, 0, true));
    EXPECT_EQ(raw("EEC1.Speed"), 7U);
    set.feed(frameOf(256, {9}));
    EXPECT_EQ(raw("M.A"), 9U);
}

TEST_F(J1939Test, destinationIsNotCompared) {
    load(message(0x0C000003, "TSC1") + byteSignal("Speed", 0) + j1939);
    share();
    feed(0x0C00210B, {1});
    EXPECT_EQ(raw("TSC1.Speed"), 1U);
    feed(0x0C00FF0B, {2});
    EXPECT_EQ(raw("TSC1.Speed"), 2U);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 1U);
}

TEST_F(J1939Test, furtherSourcesHaveTheirAddressInTheirNames) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + byteSignal("Load", 1) + j1939);
    share({"*Speed"});
    feed(0x0CF0040B, {1, 2});
    feed(0x0CF00400, {3, 4});
    feed(0x0CF004FE, {5, 6});
    feed(0x0CF0040B, {7, 8});
    EXPECT_EQ(raw("EEC1.Speed"), 7U) << "the first one seen, although the definition has another";
    EXPECT_EQ(raw("EEC1_SA00.Speed"), 3U);
    EXPECT_EQ(raw("EEC1_SAFE.Speed"), 5U);
    EXPECT_TRUE(segmentExists(instance("EEC1_SAFE.Speed")));
    EXPECT_EQ(d_set.d_signals.sharedCount(), 3U);
    EXPECT_EQ(BaseSignal::getInstance(instance("EEC1_SA00.Load").c_str()), nullptr) << "it was not picked";
    EXPECT_EQ(BaseSignal::getInstance(instance("EEC1_SA0B.Speed").c_str()), nullptr);
    EXPECT_EQ(d_set.d_definitions.originalOf(instance("EEC1_SA00.Speed")), instance("EEC1_SA00.Speed"));
    EXPECT_EQ(d_reporter.text(), "");
}

TEST_F(J1939Test, furtherSourcesAreMultiplexedForThemselves) {
    load(message(0x0CF00400, "M") + byteSignal("Switch", 0, " M") + byteSignal("One", 1, " m1") +
         byteSignal("Two", 1, " m2") + j1939);
    share({"*.One"});
    feed(0x0CF0040A, {1, 10});
    feed(0x0CF0040B, {2, 11});
    EXPECT_EQ(raw("M.One"), 10U);
    EXPECT_EQ(raw("M_SA0B.One"), std::nullopt);
    feed(0x0CF0040B, {1, 12});
    feed(0x0CF0040A, {2, 13});
    EXPECT_EQ(raw("M.One"), 10U);
    EXPECT_EQ(raw("M_SA0B.One"), 12U);
}

TEST_F(J1939Test, nameThatAMessageHasIsLeftToIt) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + message(0x0CF00500, "Other") + byteSignal("A", 0) +
         "BO_ 5 EEC1_SA0B: 8 X\n" + byteSignal("Speed", 0) + j1939);
    EXPECT_EQ(d_set.d_definitions.meantBy(instance("EEC1_SA0B.Speed_2")),
              std::vector<std::string>{instance("EEC1_SA0B.Speed_2")});
    share();
    feed(0x0CF00400, {1});
    feed(0x0CF0040B, {2});
    d_set.feed(frameOf(5, {3}));
    EXPECT_EQ(raw("EEC1_SA0B.Speed"), 3U);
    EXPECT_EQ(raw("EEC1_SA0B.Speed_2"), 2U);
    EXPECT_EQ(raw("EEC1.Speed"), 1U);
}

TEST_F(J1939Test, messagesOfOneGroupBelongToTheirSources) {
    load(message(0x0CF00400, "First") + byteSignal("A", 0) + message(0x0CF00403, "Second") + byteSignal("A", 0) +
         j1939);
    share();
    feed(0x0CF0040B, {1});
    feed(0x0CF00403, {2});
    feed(0x18F00400, {3});
    EXPECT_EQ(raw("First.A"), 3U);
    EXPECT_EQ(raw("Second.A"), 2U);
    EXPECT_EQ(raw("First_SA0B.A"), 1U);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 3U);
}

TEST_F(J1939Test, nameWithSourceIsUnderstoodBeforeTheSourceIsSeen) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + j1939);
    std::string const name = instance("EEC1_SA0B.Speed");
    EXPECT_EQ(d_set.d_definitions.meantBy(name), std::vector<std::string>{name});
    EXPECT_TRUE(d_set.d_definitions.meantBy(instance("EEC1_SA0b.Speed")).empty()) << "addresses are in upper case";
    EXPECT_TRUE(d_set.d_definitions.meantBy(instance("EEC1_SA0B.Load")).empty());
    ASSERT_EQ(d_set.build({name}), SignalSet::Built::Ready);
    ASSERT_NE(BaseSignal::getInstance(name.c_str()), nullptr);
    EXPECT_EQ(feed(0x0CF00400, {1}), Feeder::Fed::Nothing);
    EXPECT_EQ(feed(0x0CF0040B, {2}), Feeder::Fed::Message);
    EXPECT_EQ(raw("EEC1_SA0B.Speed"), 2U);
    EXPECT_EQ(d_set.d_signals.signals().size(), 1U);
}

TEST_F(J1939Test, firstSourceHasBothNamesIfBothAreAskedFor) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + j1939);
    ASSERT_EQ(d_set.build({instance("EEC1.Speed"), instance("EEC1_SA0B.Speed")}), SignalSet::Built::Ready);
    feed(0x0CF0040B, {2});
    EXPECT_EQ(raw("EEC1_SA0B.Speed"), 2U);
    EXPECT_EQ(raw("EEC1.Speed"), 2U);
    feed(0x0CF00400, {3});
    EXPECT_EQ(raw("EEC1.Speed"), 2U);
}

TEST_F(J1939Test, patternMayPickOneSource) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + j1939);
    share({"*EEC1_SA0B.*"});
    EXPECT_EQ(d_set.d_signals.sharedCount(), 0U);
    feed(0x0CF0040B, {2});
    feed(0x0CF0040C, {3});
    EXPECT_EQ(raw("EEC1_SA0B.Speed"), 2U);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 1U);
}

TEST_F(J1939Test, patternThatNoSourceCanMatchIsReported) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + j1939);
    EXPECT_EQ(d_set.d_signals.share({"*EEC1_SA0X.*"}), SignalSet::Built::NoMatch);
    EXPECT_EQ(d_reporter.text(), "error: no signal matches '*EEC1_SA0X.*'\n");
}

TEST_F(J1939Test, framesOfAnotherChannelAreCounted) {
    load(message(0x0CF00400, "EEC1") + byteSignal("Speed", 0) + j1939);
    share();
    EXPECT_EQ(feed(0x0CF0040B, {1}, 1), Feeder::Fed::Message);
    EXPECT_EQ(feed(0x0CF0040B, {2}, 2), Feeder::Fed::OtherChannel);
    EXPECT_EQ(feed(0x0CF0040C, {2}, 2), Feeder::Fed::OtherChannel);
    EXPECT_EQ(d_set.d_definitions.channels().networks()[0].foreignFrames, 2U);
    EXPECT_EQ(raw("EEC1.Speed"), 1U);
    EXPECT_EQ(d_set.d_signals.sharedCount(), 1U);
}

// Packets of a message.
class TransportTest : public J1939Test {
protected:
    static constexpr std::uint32_t group = 0xFEE3;

    TransportTest() {
        load(message(0x18FEE300, "EC1", 39) + byteSignal("First", 0) + byteSignal("Middle", 8) +
             byteSignal("Last", 16) + " SG_ Wide : 48|32@1+ (1,0) [0|0] \"\" X\n" + j1939);
        share();
    }
    Feeder::Fed announce(std::uint8_t kind, std::uint8_t source, std::uint8_t destination, unsigned bytes) {
        auto const packets = static_cast<std::uint8_t>((bytes + 6) / 7);
        return feed(0x1CEC0000U | destination << 8U | source,
                    {kind, static_cast<std::uint8_t>(bytes), static_cast<std::uint8_t>(bytes >> 8U), packets, 0xFF,
                     0xE3, 0xFE, 0});
    }
    // Packet `number`; byte n of the message is `start` + n.
    Feeder::Fed packet(std::uint8_t number, std::uint8_t source, std::uint8_t destination, std::uint8_t start = 0,
                       std::size_t bytes = 7) {
        std::vector<std::uint8_t> payload = {number};
        for (std::size_t i = 0; i < bytes; ++i)
            payload.push_back(static_cast<std::uint8_t>(start + (number - 1) * 7U + i));
        return feed(0x1CEB0000U | destination << 8U | source, payload);
    }
    Feeder::Fed answer(std::uint8_t kind, std::uint8_t sender, std::uint8_t receiver) {
        return feed(0x1CEC0000U | receiver << 8U | sender, {kind, 3, 1, 0xFF, 0xFF, 0xE3, 0xFE, 0});
    }
};

TEST_F(TransportTest, broadcastIsPutTogether) {
    EXPECT_EQ(announce(32, 0x0B, 0xFF, 17), Feeder::Fed::Packet);
    EXPECT_EQ(packet(1, 0x0B, 0xFF), Feeder::Fed::Packet);
    EXPECT_EQ(packet(2, 0x0B, 0xFF), Feeder::Fed::Packet);
    EXPECT_EQ(raw("EC1.First"), std::nullopt);
    EXPECT_EQ(packet(3, 0x0B, 0xFF), Feeder::Fed::Packet);
    EXPECT_EQ(raw("EC1.First"), 0U);
    EXPECT_EQ(raw("EC1.Middle"), 8U);
    EXPECT_EQ(raw("EC1.Last"), 16U);
    EXPECT_EQ(raw("EC1.Wide"), 0x09080706U) << "over packets, and over the first eight bytes";
    EXPECT_EQ(timeOf("EC1.Last"), 4U) << "the time of the last packet";
    EXPECT_EQ(d_set.d_frame.length, 17U);
    TransportCounts const counts = transport();
    EXPECT_EQ(counts.packets, 4U);
    EXPECT_EQ(counts.messages, 1U);
    EXPECT_EQ(counts.lost + counts.aborted + counts.extended, 0U);
}

TEST_F(TransportTest, whatFollowsTheMessageIsNoneOfIt) {
    announce(32, 0x0B, 0xFF, 16);
    packet(1, 0x0B, 0xFF);
    packet(2, 0x0B, 0xFF);
    packet(3, 0x0B, 0xFF); // 14, 15 and filling
    EXPECT_EQ(raw("EC1.First"), 0U);
    EXPECT_EQ(raw("EC1.Last"), std::nullopt);
}

TEST_F(TransportTest, sessionsMayOverlap) {
    announce(32, 0x0B, 0xFF, 17);
    announce(32, 0x0C, 0xFF, 17);
    announce(16, 0x0B, 0x21, 17);
    for (std::uint8_t number = 1; number <= 3; ++number) {
        packet(number, 0x0B, 0xFF, 1);
        packet(number, 0x0C, 0xFF, 2);
        if (number < 3)
            packet(number, 0x0B, 0x21, 3);
    }
    EXPECT_EQ(raw("EC1.First"), 1U);
    EXPECT_EQ(raw("EC1_SA0C.First"), 2U);
    packet(3, 0x0B, 0x21, 3);
    EXPECT_EQ(raw("EC1.First"), 3U);
    EXPECT_EQ(transport().messages, 3U);
    EXPECT_EQ(transport().lost, 0U);
}

TEST_F(TransportTest, channelsAreApart) {
    DrivenSet set(d_reporter, {false, true});
    set.load({std::nullopt, dbcFile(message(0x18FEE300, "Ch", 39) + byteSignal("First", 0) + j1939)});
    ASSERT_EQ(set.build({"can1." + instance("Ch.First"), "can2." + instance("Ch.First")}), SignalSet::Built::Ready);
    for (std::uint8_t channel = 1; channel <= 2; ++channel)
        set.feed(frameOf(0x1CECFF0B, {32, 9, 0, 2, 0xFF, 0xE3, 0xFE, 0}, channel, true));
    for (std::uint8_t number = 1; number <= 2; ++number)
        for (std::uint8_t channel = 1; channel <= 2; ++channel)
            set.feed(frameOf(0x1CEBFF0B, {number, channel, 0, 0, 0, 0, 0, 0}, channel, true));
    EXPECT_EQ(rawValue("can1." + instance("Ch.First")), 1U);
    EXPECT_EQ(rawValue("can2." + instance("Ch.First")), 2U);
}

TEST_F(TransportTest, broadcastWithoutOneOfItsPacketsIsLost) {
    announce(32, 0x0B, 0xFF, 17);
    packet(1, 0x0B, 0xFF);
    packet(3, 0x0B, 0xFF);
    packet(2, 0x0B, 0xFF);
    EXPECT_EQ(raw("EC1.First"), std::nullopt);
    EXPECT_EQ(transport().lost, 1U);
    EXPECT_EQ(transport().messages, 0U);
    announce(32, 0x0B, 0xFF, 17);
    EXPECT_EQ(transport().lost, 2U) << "the second one is not complete yet";
    announce(32, 0x0B, 0xFF, 17);
    EXPECT_EQ(transport().lost, 3U) << "nor will it ever be";
}

TEST_F(TransportTest, packetsThatAreAskedForAgainCount) {
    announce(16, 0x0B, 0x21, 17);
    EXPECT_EQ(answer(17, 0x21, 0x0B), Feeder::Fed::Packet);
    packet(1, 0x0B, 0x21);
    packet(3, 0x0B, 0x21);
    answer(17, 0x21, 0x0B);
    packet(2, 0x0B, 0x21);
    answer(19, 0x21, 0x0B);
    EXPECT_EQ(raw("EC1.Last"), 16U);
    EXPECT_EQ(timeOf("EC1.Last"), 6U);
    EXPECT_EQ(transport().messages, 1U);
    EXPECT_EQ(transport().lost, 0U);
    EXPECT_EQ(transport().packets, 7U);
}

TEST_F(TransportTest, acknowledgedMessageThatIsNotCompleteIsLost) {
    announce(16, 0x0B, 0x21, 17);
    packet(1, 0x0B, 0x21);
    packet(3, 0x0B, 0x21);
    answer(19, 0x21, 0x0B);
    EXPECT_EQ(transport().lost, 1U);
    packet(2, 0x0B, 0x21);
    EXPECT_EQ(raw("EC1.First"), std::nullopt);
    EXPECT_EQ(transport().lost, 1U);
}

TEST_F(TransportTest, eitherSideMayAbort) {
    announce(16, 0x0B, 0x21, 17);
    packet(1, 0x0B, 0x21);
    answer(255, 0x21, 0x0B);
    packet(2, 0x0B, 0x21);
    packet(3, 0x0B, 0x21);
    EXPECT_EQ(transport().aborted, 1U);
    announce(16, 0x0B, 0x21, 17);
    answer(255, 0x0B, 0x21);
    EXPECT_EQ(transport().aborted, 2U);
    EXPECT_EQ(transport().lost, 0U);
    EXPECT_EQ(raw("EC1.First"), std::nullopt);
}

TEST_F(TransportTest, longestMessageIsPutTogether) {
    announce(16, 0x0B, 0x21, 1785);
    for (unsigned number = 1; number <= 255; ++number)
        packet(static_cast<std::uint8_t>(number), 0x0B, 0x21);
    EXPECT_EQ(transport().messages, 1U);
    EXPECT_EQ(d_set.d_frame.length, 1785U);
    EXPECT_EQ(raw("EC1.Last"), 16U);
}

TEST_F(TransportTest, announcementsThatCannotBeAreNone) {
    EXPECT_EQ(feed(0x1CECFF0B, {32, 8, 0, 2, 0xFF, 0xE3, 0xFE, 0}), Feeder::Fed::Nothing) << "fits a frame";
    EXPECT_EQ(feed(0x1CECFF0B, {32, 17, 0, 2, 0xFF, 0xE3, 0xFE, 0}), Feeder::Fed::Nothing) << "too few packets";
    EXPECT_EQ(feed(0x1CECFF0B, {32, 250, 6, 0, 0xFF, 0xE3, 0xFE, 0}), Feeder::Fed::Nothing) << "1,786 bytes";
    EXPECT_EQ(feed(0x1CECFF0B, {32, 17, 0, 3, 0xFF, 0xE3, 0xFE}), Feeder::Fed::Nothing) << "short";
    EXPECT_EQ(packet(1, 0x0B, 0xFF), Feeder::Fed::Nothing);
    announce(32, 0x0B, 0xFF, 17);
    packet(0, 0x0B, 0xFF);
    packet(4, 0x0B, 0xFF);
    packet(1, 0x0B, 0xFF);
    packet(1, 0x0B, 0xFF);
    packet(2, 0x0B, 0xFF);
    packet(3, 0x0B, 0xFF, 0, 3);
    EXPECT_EQ(transport().messages, 1U) << "the last packet has all that it needs";
}

TEST_F(TransportTest, messagesOfOtherGroupsAreNotDefined) {
    EXPECT_EQ(feed(0x1CECFF0B, {32, 17, 0, 3, 0xFF, 0xE4, 0xFE, 0}), Feeder::Fed::Nothing);
    EXPECT_EQ(packet(1, 0x0B, 0xFF), Feeder::Fed::Nothing);
    EXPECT_EQ(transport().packets, 0U);
}

TEST_F(TransportTest, extendedProtocolIsCounted) {
    EXPECT_EQ(feed(0x1CC8210B, {20, 0, 0, 1, 0, 0xE3, 0xFE, 0}), Feeder::Fed::Nothing);
    EXPECT_EQ(feed(0x1CC7210B, {1, 0, 0, 1, 0, 0xE3, 0xFE, 0}), Feeder::Fed::Nothing);
    EXPECT_EQ(feed(0x1CC80B21, {21, 0, 0, 1, 0, 0xE3, 0xFE, 0}), Feeder::Fed::Nothing);
    EXPECT_EQ(transport().extended, 1U);
}

TEST_F(TransportTest, numberOfSessionsIsLimited) {
    for (unsigned channel = 0; channel < 40; ++channel)
        for (unsigned source = 0; source < 256; ++source) {
            Frame frame = frameOf(0x1CECFF00 | source, {32, 17, 0, 3, 0xFF, 0xE3, 0xFE, 0},
                                  static_cast<std::uint8_t>(channel), true);
            d_set.feed(frame);
        }
    EXPECT_EQ(transport().lost, 40U * 256U);
}

} // namespace
} // namespace qztool
