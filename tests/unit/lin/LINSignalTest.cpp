// Filing, pre-filtering and feeding of LIN signals.
#include "qzsignal/lin/LINSignal.h"

#include "tests/support/Capture.h"
#include "tests/support/LINFixture.h"
#include "tests/support/Observe.h"
#include "tests/support/PreFilters.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

class LinProbe : public LINSignal {
public:
    using LINSignal::d_definition;
    using LINSignal::LINSignal;
    using LINSignal::messageId;
};

bool inUse(LINRecord const& bytes) {
    return LINSignal::signalsInUse(bytes.data(), bytes.data() + bytes.size());
}

class LINSignalTest : public testing::Test {
protected:
    void TearDown() override {
        BaseSignal::debug = 0;
        EXPECT_TRUE(LINSignal::linMessageContainer.empty());
        EXPECT_TRUE(BaseSignal::instances.empty());
    }
};

TEST_F(LINSignalTest, definitionStartsEmpty) {
    EXPECT_EQ(printed(linSignalDef_t()), "instance=,signal=,channel=0,unit=,type=unsigned,startbit=0,bits=0,"
                                         "scale=0,offset=0,endian=LITTLE,msgId=0");
}

TEST_F(LINSignalTest, keyIsMadeOfTagChannelAndIdentifier) {
    struct {
        std::uint8_t channel;
        std::uint32_t identifier;
        unsigned long long key;
    } const cases[] = {
        {2, 0x21, 0x4000000000000221},
        {0, 0, 0x4000000000000000},
        {255, 63, 0x400000000000ff3f},
        // The parts are added: the bits of an identifier above its low byte carry into the channel.
        {2, 0x121, 0x4000000000000321},
        {255, 0xffffffff, 0x400000010000feff},
    };
    for (auto const& each : cases) {
        LinProbe const signal(linDefinition("a", each.identifier, each.channel), false);
        EXPECT_EQ(signal.messageId, each.key);
        EXPECT_EQ(LINSignal::linMessageContainer.begin()->first, each.key);
    }
}

TEST_F(LINSignalTest, signalsOfOneFrameShareAnEntryInOrderOfConstruction) {
    LINSignal second(linDefinition("b", 0x21), false), first(linDefinition("a", 0x21), false);
    ASSERT_EQ(LINSignal::linMessageContainer.size(), 1U);
    EXPECT_EQ(LINSignal::linMessageContainer.at(0x4000000000000221), (std::vector<LINSignal*>{&second, &first}));
}

TEST_F(LINSignalTest, definedSignalIsNotFoundByMessages) {
    LINSignal signal(linDefinition("a", 0x21), false);
    Capture const output(std::cout), errors(std::cerr);
    BaseSignal::debug = 2;
    EXPECT_EQ(LINSignal::decodeMessage(linFrame(2, 0xa1)), 0U);
    BaseSignal::debug = 0;
    EXPECT_EQ(output.text() + errors.text(), "") << "an unknown frame is silent";
    EXPECT_EQ(valueOf(signal), 0xdeadU);
}

TEST_F(LINSignalTest, messageReachesWhatIsFiledUnderItsUntaggedKey) {
    linSignalDef_t other = linDefinition("b", 0x21);
    other.startbit = 8;
    FedLINSignal first(linDefinition("a", 0x21), false), second(other, false),
        elsewhere(linDefinition("c", 0x22), false);
    EXPECT_EQ(LINSignal::decodeMessage(linFrame(2, 0xa1)), 0x221U) << "the parity bits do not count";
    EXPECT_EQ(valueOf(first), 0x12U);
    EXPECT_EQ(valueOf(second), 0x34U);
    EXPECT_EQ(valueOf(elsewhere), 0xdeadU);
    unsigned long long value = 0, timestamp = 0;
    EXPECT_TRUE(first.read(value, timestamp));
    EXPECT_EQ(timestamp, 1000U);
    EXPECT_EQ(LINSignal::decodeMessage(linFrame(3, 0x21)), 0U) << "another channel";
    EXPECT_EQ(LINSignal::decodeMessage(linFrame(2, 0x20)), 0U);
}

TEST_F(LINSignalTest, everyParityIsTheSameFrame) {
    FedLINSignal const signal(linDefinition("a", 0x3f), false);
    for (unsigned const parity : {0x00U, 0x40U, 0x80U, 0xc0U})
        EXPECT_EQ(LINSignal::decodeMessage(linFrame(2, static_cast<std::uint8_t>(0x3f | parity))), 0x23fU);
}

TEST_F(LINSignalTest, signalsAreFedInOrderThroughTheirWrite) {
    std::vector<Written> written;
    Noting<FedLINSignal> const second(linDefinition("b", 0x21), written), first(linDefinition("a", 0x21), written);
    LINSignal::decodeMessage(linFrame(2, 0x21));
    EXPECT_EQ(written, (std::vector<Written>{{&second, 0x1234000000000000, 1000}, {&first, 0x1234000000000000, 1000}}));
}

TEST_F(LINSignalTest, payloadLengthCountsModulo256) {
    struct {
        std::size_t length;
        unsigned long long raw;
    } const cases[] = {
        {0, 0},
        {1, 0x0100000000000000},
        {7, 0x0102030405060700},
        {8, 0x0102030405060708},
        {9, 0x0102030405060708},
        {255, 0x0102030405060708},
        {256, 0},
        {259, 0x0102030000000000},
        {512, 0},
    };
    std::vector<Written> written;
    Noting<FedLINSignal> const signal(linDefinition("a", 0x21), written);
    for (auto const& each : cases) {
        std::vector<unsigned char> payload(each.length);
        for (std::size_t i = 0; i < payload.size(); ++i)
            payload[i] = static_cast<unsigned char>(i + 1);
        written.clear();
        EXPECT_EQ(LINSignal::decodeMessage(linFrame(2, 0x21, payload)), 0x221U);
        EXPECT_EQ(written, (std::vector<Written>{{&signal, each.raw, 1000}})) << each.length;
    }
}

TEST_F(LINSignalTest, preFilterFindsDefinedFrames) {
    LINSignal const signal(linDefinition("a", 0x21), false);
    EXPECT_TRUE(inUse(linRecord(2, 0x21)));
    EXPECT_FALSE(inUse(linRecord(3, 0x21)));
    EXPECT_FALSE(inUse(linRecord(2, 0x22)));
    EXPECT_FALSE(inUse(linRecord(2, 0xa1))) << "a record's identifier has no parity bits to strip";
    EXPECT_TRUE(inUse(linRecord(1, 0x121))) << "channel and identifier are added";
}

TEST_F(LINSignalTest, preFilterIsSilentWhateverTheDebugLevel) {
    LINSignal const signal(linDefinition("a", 0x21), false);
    Capture const output(std::cout), errors(std::cerr);
    BaseSignal::debug = 2;
    EXPECT_TRUE(inUse(linRecord(2, 0x21)));
    EXPECT_FALSE(inUse(linRecord(2, 0x22)));
    BaseSignal::debug = 0;
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_F(LINSignalTest, preFilterDoesNotUseItsSecondPointer) {
    LINSignal const signal(linDefinition("a", 0x121), false);
    expectSecondPointerUnused(LINSignal::signalsInUse, linRecord(2, 0x121), linRecord(2, 0x100));
}

TEST_F(LINSignalTest, preFilterOfNoSignalsIsFalse) {
    EXPECT_FALSE(inUse(linRecord(2, 0x21)));
    EXPECT_FALSE(LINSignal::signalsInUse(nullptr, nullptr)) << "the record is not even looked at";
}

TEST_F(LINSignalTest, lastSignalOfAFrameTakesTheEntryAlong) {
    auto first = std::make_unique<LINSignal>(linDefinition("a", 0x21), false);
    auto second = std::make_unique<LINSignal>(linDefinition("b", 0x21), false);
    first.reset();
    EXPECT_EQ(LINSignal::linMessageContainer.at(0x4000000000000221), (std::vector<LINSignal*>{second.get()}));
    EXPECT_TRUE(inUse(linRecord(2, 0x21)));
    second.reset();
    EXPECT_TRUE(LINSignal::linMessageContainer.empty());
    EXPECT_FALSE(inUse(linRecord(2, 0x21)));
}

TEST_F(LINSignalTest, signalMissingFromItsEntryIsReportedAtItsEnd) {
    LINSignal stranger(linDefinition("b", 0x22), false);
    Capture const errors(std::cerr);
    {
        LINSignal const signal(linDefinition("a", 0x21), false);
        LINSignal::linMessageContainer.at(0x4000000000000221) = {&stranger};
    }
    EXPECT_EQ(errors.text(), "[ERROR] LINSignal::~LINSignal(): instance not found in vector\n");
    EXPECT_EQ(BaseSignal::getInstance("a"), nullptr) << "destruction went on";
    LINSignal::linMessageContainer.erase(0x4000000000000221);
}

TEST_F(LINSignalTest, signalWhoseEntryIsGoneEndsSilently) {
    Capture const errors(std::cerr);
    {
        LINSignal const signal(linDefinition("a", 0x21), false);
        LINSignal::linMessageContainer.clear();
    }
    EXPECT_EQ(errors.text(), "");
}

TEST_F(LINSignalTest, signalOpenedByNameIsNeverFiled) {
    SharedName const name;
    FedLINSignal const writer(linDefinition(name.name(), 0x21), true);
    Capture errors(std::cerr);
    {
        LinProbe reader(name.c_str());
        errors.take(); // duplicate name: both are in this process
        EXPECT_EQ(reader.messageId, 0U);
        EXPECT_EQ(LINSignal::linMessageContainer.size(), 1U);
        EXPECT_EQ(LINSignal::linMessageContainer.at(0x221).size(), 1U);
        LINSignal::decodeMessage(linFrame(2, 0x21));
        EXPECT_EQ(valueOf(reader), 0x12U) << "but reads what the definer was fed";
        EXPECT_EQ(printed(reader.d_definition), printed(linSignalDef_t()));
        EXPECT_EQ(reader.d_definition.msgId, 0U);
    }
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(LINSignal::linMessageContainer.size(), 1U);
}

TEST_F(LINSignalTest, signalThatWaitsPrintsItsEmptyDefinitionAllTheSame) {
    SharedName const name;
    Capture const errors(std::cerr);
    LINSignal const reader(name.c_str());
    EXPECT_EQ(printed(reader), "ShmSignal not valid\n;" + printed(linSignalDef_t()));
}

TEST_F(LINSignalTest, definitionIsCopied) {
    linSignalDef_t definition = linDefinition("a", 0x21, 7);
    definition.startbit = 12;
    definition.unit = "V";
    LinProbe const signal(definition, false);
    std::string const text = printed(definition);
    definition = linSignalDef_t();
    EXPECT_EQ(printed(signal.d_definition), text);
}

TEST_F(LINSignalTest, definitionPrintsInDecimalWhateverTheStream) {
    std::ostringstream out;
    out << std::hex << linDefinition("a", 33, 200);
    EXPECT_EQ(out.str(), "instance=a,signal=Field,channel=200,unit=,type=unsigned,startbit=0,bits=8,scale=1,offset=0,"
                         "endian=LITTLE,msgId=33");
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::dec);
}

TEST_F(LINSignalTest, printsSharedFormAndDefinition) {
    LinProbe const signal(linDefinition("a", 33), false);
    EXPECT_EQ(printed(signal), printed(static_cast<ShmSignal const&>(signal)) + ";" + printed(signal.d_definition));
    EXPECT_EQ(printed(static_cast<BaseSignal const&>(signal)), printed(static_cast<ShmSignal const&>(signal)))
        << "the virtual form has no definition";
}

TEST_F(LINSignalTest, creationIsShownWhenDebugging) {
    Capture output(std::cout);
    Capture const errors(std::cerr);
    auto const expectEnd = [&output](std::string const& end) {
        std::string const text = output.take();
        ASSERT_GT(text.size(), end.size()) << "after the lines of the parts";
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
    };
    BaseSignal::debug = 1;
    {
        LINSignal const local(linDefinition("a", 0x21), false);
        expectEnd("[DEBUG] LINSignal a created \n" + printed(local) + "\n");
    }
    output.take();
    SharedName const name;
    LINSignal const shared(linDefinition(name.name(), 0x21), true);
    expectEnd("[DEBUG] LINSignal " + name.name() + " created (shared memory)\n" + printed(shared) + "\n");
    LINSignal const reader(name.c_str());
    expectEnd("[DEBUG] LINSignal " + name.name() + " created \n" + printed(reader) + "\n");
    BaseSignal::debug = 0;
    LINSignal const quiet(linDefinition("b", 0x21), false);
    EXPECT_EQ(output.text(), "");
}

TEST_F(LINSignalTest, deliveryIsShownWhenDebugging) {
    FedLINSignal const signal(linDefinition("a", 0x21), false);
    Capture const output(std::cout);
    BaseSignal::debug = 1;
    LINSignal::decodeMessage(linFrame(2, 0x21));
    BaseSignal::debug = 0;
    EXPECT_EQ(output.text().find("[DEBUG] LINSignal::decodeMessage: addr = " +
                                 printed(static_cast<void const*>(static_cast<LINSignal const*>(&signal))) +
                                 "\n[DEBUG] Signal = a\n[DEBUG] writing 1234000000000000, ts=3e8\n"),
              0U)
        << output.text();
}

TEST_F(LINSignalTest, silentFramesAreReportedByTheirKeys) {
    LINSignal first(linDefinition("a", 0x21), false), second(linDefinition("b", 0x22), false);
    first.write(0x0100000000000000ULL, 1000ULL);
    second.write(0x0100000000000000ULL, 2000ULL);
    std::vector<unsigned long long> silent;
    EXPECT_EQ(BaseSignal::checkTimeout(2000, silent), 0);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{0x4000000000000221}));
    BaseSignal::clear({0x4000000000000221});
    BaseSignal::checkTimeout(2001, silent);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{0x4000000000000222}));
}

} // namespace
