// Definition, filing and feeding of FlexRay signals.
#include "qzsignal/flexray/FlexRaySignal.h"

#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/Observe.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

class FlexRayProbe : public FlexRaySignal {
public:
    using FlexRaySignal::d_data;
    using FlexRaySignal::d_definition;
    using FlexRaySignal::d_lsbBit;
    using FlexRaySignal::d_rawMask;
    using FlexRaySignal::FlexRaySignal;
    using FlexRaySignal::messageId;
};

// In slot 5 of channel 1, in all cycles.
flexRaySignalDef_t definition(std::string const& instance, unsigned startBit = 0, unsigned bits = 8, bool big = false) {
    flexRaySignalDef_t result = flexRayDefinition(instance, 1, 5, 0, 1);
    result.startbit = static_cast<std::uint16_t>(startBit);
    result.bits = static_cast<std::uint8_t>(bits);
    result.endian = big;
    return result;
}

FlexRayExtTraceMessage frame(std::vector<unsigned char> payload) {
    return flexRayFrame(1, 0, 5, std::move(payload));
}

constexpr unsigned long long key = 0x2000000000000001;

class FlexRaySignalTest : public testing::Test {
protected:
    void TearDown() override {
        BaseSignal::debug = 0;
        EXPECT_TRUE(FlexRaySignal::frMessageContainer.empty());
        EXPECT_EQ(FlexRaySignal::frIdArray, nullptr);
        EXPECT_TRUE(BaseSignal::instances.empty());
    }
};

// Definition.

TEST_F(FlexRaySignalTest, definitionStartsEmpty) {
    EXPECT_EQ(printed(flexRaySignalDef_t()), "instance=,signal=,channel=0,unit=,type=unsigned,startbit=0,bits=0,"
                                             "scale=0,offset=0,endian=LITTLE,slot=0,baseCycle=0,repetition=0,"
                                             "type=dynamic,startByte=0,byteSize=0");
}

TEST_F(FlexRaySignalTest, definitionPrintsNumbersInDecimalWhateverTheStream) {
    flexRaySignalDef_t all = flexRayDefinition("a", 200, 2047, 65, 66);
    all.frameType = 128;
    all.startByte = 67;
    all.byteSize = 68;
    std::ostringstream out;
    out << std::hex << all;
    EXPECT_EQ(out.str(), "instance=a,signal=Field,channel=200,unit=,type=unsigned,startbit=0,bits=8,scale=1,offset=0,"
                         "endian=LITTLE,slot=2047,baseCycle=65,repetition=66,type=static,startByte=67,byteSize=68");
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::dec);
}

TEST_F(FlexRaySignalTest, definitionIsCopiedAndItsPayloadSpanComputed) {
    flexRaySignalDef_t given = definition("a", 12);
    given.frameType = 1;
    given.startByte = 77; // whatever was there
    given.byteSize = 88;
    FlexRayProbe const signal(given, false);
    EXPECT_EQ(printed(signal.d_definition),
              "instance=a,signal=Field,channel=1,unit=,type=unsigned,startbit=12,bits=8,scale=1,offset=0,endian=LITTLE,"
              "slot=5,baseCycle=0,repetition=1,type=static,startByte=1,byteSize=2");
}

TEST_F(FlexRaySignalTest, payloadSpanFollowsFromStartBitLengthAndByteOrder) {
    struct {
        bool big;
        unsigned startBit, bits, startByte, byteSize;
    } const cases[] = {
        {false, 12, 8, 1, 2},     {false, 0, 64, 0, 8},        {false, 0, 1, 0, 1},
        {false, 0, 8, 0, 1},      {false, 0, 9, 0, 2},         {false, 7, 64, 0, 9},
        {false, 2024, 8, 253, 1}, {false, 0, 0, 0, 1}, // (0 + 0 - 1) / 8 is rounded towards zero
        {false, 8, 0, 1, 0},      {false, 2047, 255, 255, 33}, {false, 2048, 16, 0, 2}, // kept to eight bits
        {true, 7, 8, 0, 2},                                                             // one byte more than it touches
        {true, 7, 4, 0, 1},       {true, 7, 7, 0, 1},          {true, 3, 4, 0, 2},
        {true, 3, 3, 0, 1},       {true, 0, 64, 0, 9},         {true, 0, 1, 0, 2},
        {true, 7, 64, 0, 9},      {true, 15, 16, 1, 3},        {true, 2031, 8, 253, 2},
        {true, 0, 0, 0, 1},       {true, 0, 255, 0, 33},       {true, 2055, 16, 0, 3}, // kept to eight bits
    };
    for (auto const& each : cases) {
        FlexRayProbe const signal(definition("a", each.startBit, each.bits, each.big), false);
        EXPECT_EQ(signal.d_definition.startByte, each.startByte)
            << each.big << " " << each.startBit << " " << each.bits;
        EXPECT_EQ(signal.d_definition.byteSize, each.byteSize) << each.big << " " << each.startBit << " " << each.bits;
        EXPECT_EQ(signal.d_definition.startbit, each.startBit) << "the copy keeps its own";
    }
}

TEST_F(FlexRaySignalTest, recordCountsBitsFromTheSignalsFirstByte) {
    FlexRayProbe const little(definition("a", 12), false);
    EXPECT_EQ(little.d_data->startbit, 4);
    EXPECT_EQ(little.d_lsbBit, 4);
    EXPECT_EQ(little.d_rawMask, 0xf00f000000000000U);
    FlexRayProbe const big(definition("b", 2031, 12, true), false);
    EXPECT_EQ(big.d_data->startbit, 7);
    EXPECT_EQ(big.d_lsbBit, 12);
    EXPECT_EQ(big.d_rawMask, 0xfff0000000000000U);
}

TEST_F(FlexRaySignalTest, recordOfAnEarlierRunIsRewritten) {
    SharedName const name;
    FlexRayProbe const first(definition(name.name(), 3), true);
    Capture const errors(std::cerr);
    FlexRayProbe const second(definition(name.name(), 13), true);
    EXPECT_EQ(first.d_data->startbit, 5);
}

TEST_F(FlexRaySignalTest, repetitionZeroBecomesOne) {
    FlexRayProbe const other(definition("a"), false);
    flexRaySignalDef_t zero = definition("b");
    zero.repetition = 0;
    FlexRayProbe const joins(zero, false);
    EXPECT_EQ(joins.d_definition.repetition, 1);
    EXPECT_NE(printed(joins).find(",repetition=1,"), std::string::npos);
    zero.instance = "c";
    zero.slot = 6;
    FlexRayProbe const makes(zero, false);
    EXPECT_EQ(makes.d_definition.repetition, 1);
    zero.instance = "d";
    zero.repetition = 255;
    FlexRayProbe const large(zero, false);
    EXPECT_EQ(large.d_definition.repetition, 255);
}

TEST_F(FlexRaySignalTest, printsSharedFormAndDefinition) {
    FlexRayProbe const signal(definition("a"), false);
    EXPECT_EQ(printed(signal), printed(static_cast<ShmSignal const&>(signal)) + ";" + printed(signal.d_definition));
    EXPECT_EQ(printed(static_cast<BaseSignal const&>(signal)), printed(static_cast<ShmSignal const&>(signal)))
        << "the virtual form has no definition";
}

TEST_F(FlexRaySignalTest, creationIsShownWhenDebugging) {
    Capture output(std::cout);
    Capture const errors(std::cerr);
    auto const expectEnd = [&output](std::string const& end) {
        std::string const text = output.take();
        ASSERT_GT(text.size(), end.size()) << "after the lines of the parts";
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
    };
    BaseSignal::debug = 1;
    {
        flexRaySignalDef_t given = definition("a", 12);
        given.repetition = 0;
        FlexRaySignal const local(given, false);
        expectEnd("[DEBUG] d_lsbBit=4,d_startByte=0,d_bytes=2,d_shift=4,d_maksBits=ff,d_signBit=80,"
                  "d_rawMask=f00f000000000000\n"
                  "[DEBUG] FlexRaySignal a created \n" +
                  printed(local) + "\n");
    }
    output.take();
    SharedName const name;
    FlexRaySignal const shared(definition(name.name()), true);
    expectEnd("[DEBUG] FlexRaySignal " + name.name() + " created (shared memory)\n" + printed(shared) + "\n");
    FlexRaySignal const reader(name.c_str());
    expectEnd("[DEBUG] FlexRaySignal " + name.name() + " created \n" + printed(reader) + "\n");
    BaseSignal::debug = 0;
    FlexRaySignal const quiet(definition("b"), false);
    EXPECT_EQ(output.text(), "");
}

// Filing.

TEST_F(FlexRaySignalTest, signalsOfOneFrameShareAnEntryInOrderOfConstruction) {
    FlexRayProbe second(definition("b"), false), first(definition("a"), false);
    EXPECT_EQ(second.messageId, key);
    EXPECT_EQ(first.messageId, key);
    ASSERT_EQ(FlexRaySignal::frMessageContainer.size(), 1U);
    EXPECT_EQ(FlexRaySignal::frMessageContainer.at(key), (std::vector<FlexRaySignal*>{&second, &first}));
}

TEST_F(FlexRaySignalTest, lastSignalOfAFrameTakesTheEntryAlong) {
    flexRaySignalDef_t other = definition("c");
    other.slot = 6;
    FlexRaySignal const stays(other, false);
    auto first = std::make_unique<FlexRaySignal>(definition("a"), false);
    auto second = std::make_unique<FlexRaySignal>(definition("b"), false);
    first.reset();
    EXPECT_EQ(FlexRaySignal::frMessageContainer.at(key + 1), (std::vector<FlexRaySignal*>{second.get()}));
    second.reset();
    EXPECT_EQ(FlexRaySignal::frMessageContainer.count(key + 1), 0U);
    EXPECT_EQ(FlexRaySignal::frMessageContainer.size(), 1U);
}

TEST_F(FlexRaySignalTest, signalMissingFromItsEntryIsReportedAtItsEnd) {
    flexRaySignalDef_t other = definition("b");
    other.slot = 6;
    FlexRaySignal stranger(other, false);
    Capture const errors(std::cerr);
    {
        FlexRaySignal const signal(definition("a"), false);
        FlexRaySignal::frMessageContainer.at(key + 1) = {&stranger};
    }
    EXPECT_EQ(errors.text(), "[ERROR] FlexRaySignal::~FlexRaySignal(): instance not found in vector\n");
    EXPECT_EQ(BaseSignal::getInstance("a"), nullptr) << "destruction went on";
    FlexRaySignal::frMessageContainer.erase(key + 1);
}

TEST_F(FlexRaySignalTest, signalWhoseEntryIsGoneEndsSilently) {
    Capture const errors(std::cerr);
    {
        FlexRaySignal const signal(definition("a"), false);
        FlexRaySignal::frMessageContainer.clear();
    }
    EXPECT_EQ(errors.text(), "");
}

TEST_F(FlexRaySignalTest, signalOpenedByNameIsNeverFed) {
    SharedName const name;
    FlexRaySignal writer(definition(name.name(), 8), true);
    Capture errors(std::cerr);
    {
        FlexRayProbe reader(name.c_str());
        errors.take(); // duplicate name: both are in this process
        EXPECT_EQ(reader.messageId, 0U);
        EXPECT_EQ(FlexRaySignal::frMessageContainer.at(key), (std::vector<FlexRaySignal*>{&writer}));
        FlexRaySignal::decodeMessage(frame({0x12, 0x34}));
        EXPECT_EQ(valueOf(reader), 0x34U) << "but reads what the definer was fed";
        EXPECT_EQ(reader.d_data->startbit, 0);
        EXPECT_EQ(printed(reader.d_definition), printed(flexRaySignalDef_t()));
    }
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(FlexRaySignal::frMessageContainer.at(key), (std::vector<FlexRaySignal*>{&writer}));
}

TEST_F(FlexRaySignalTest, signalThatWaitsPrintsItsEmptyDefinitionAllTheSame) {
    SharedName const name;
    Capture const errors(std::cerr);
    FlexRaySignal const reader(name.c_str());
    EXPECT_EQ(printed(reader), "ShmSignal not valid\n;" + printed(flexRaySignalDef_t()));
}

// Feeding.

TEST_F(FlexRaySignalTest, frameIsWrittenIntoAllItsSignalsInOrder) {
    std::vector<Written> written;
    Noting<FlexRaySignal> second(definition("b", 8), written), first(definition("a"), written);
    flexRaySignalDef_t other = definition("c");
    other.slot = 6;
    Noting<FlexRaySignal> const elsewhere(other, written);
    EXPECT_EQ(FlexRaySignal::decodeMessage(frame({0x12, 0x34, 0x56})), key);
    EXPECT_EQ(written, (std::vector<Written>{{&second, 0x3400000000000000, 1000}, {&first, 0x1200000000000000, 1000}}));
    EXPECT_EQ(valueOf(second), 0x34U);
    EXPECT_EQ(valueOf(first), 0x12U);
    unsigned long long value = 0, timestamp = 0;
    EXPECT_TRUE(first.read(value, timestamp));
    EXPECT_EQ(timestamp, 1000U);
}

TEST_F(FlexRaySignalTest, unknownFrameReturnsItsKeyAndChangesNothing) {
    std::vector<Written> written;
    Noting<FlexRaySignal> const signal(definition("a"), written);
    Capture const output(std::cout), errors(std::cerr);
    EXPECT_EQ(FlexRaySignal::decodeMessage(flexRayFrame(1, 0, 6)), 0x2000000000000000U);
    FlexRaySignal::frIdArray[131072 + 6] = 77;
    EXPECT_EQ(FlexRaySignal::decodeMessage(flexRayFrame(1, 0, 6)), 0x200000000000004dU) << "known, but without signals";
    EXPECT_EQ(output.text() + errors.text(), "");
    EXPECT_EQ(FlexRaySignal::decodeMessage(flexRayFrame(4, 0, 6)), 0x2000000000000000U);
    EXPECT_EQ(errors.text(), "index out of range\n");
    EXPECT_TRUE(written.empty());
}

TEST_F(FlexRaySignalTest, signalDeepInThePayloadIsCutOut) {
    std::vector<unsigned char> payload(254);
    for (std::size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<unsigned char>(i);
    struct {
        bool big;
        unsigned startBit, bits;
        unsigned long long value;
    } const cases[] = {
        {false, 8 * 200, 16, 0xc9c8},
        {false, 8 * 200 + 4, 8, 0x9c},
        {true, 8 * 200 + 7, 16, 0xc8c9},
        {true, 8 * 200 + 3, 8, 0x8c},
        {false, 8 * 246, 64, 0xfdfcfbfaf9f8f7f6},
        {true, 8 * 246 + 7, 64, 0xf6f7f8f9fafbfcfd},
        {false, 8 * 253, 8, 0xfd},
        {true, 8 * 253 + 7, 8, 0xfd},
    };
    for (auto const& each : cases) {
        FlexRaySignal signal(definition("a", each.startBit, each.bits, each.big), false);
        FlexRaySignal::decodeMessage(frame(payload));
        EXPECT_EQ(valueOf(signal), each.value) << each.big << " " << each.startBit << " " << each.bits;
    }
}

TEST_F(FlexRaySignalTest, rawWordHoldsTheSignalsBytesAlone) {
    std::vector<Written> written;
    Noting<FlexRaySignal> const one(definition("a", 8, 8), written), two(definition("b", 15, 8, true), written),
        none(definition("c", 8, 0), written);
    FlexRaySignal::decodeMessage(frame({0x11, 0x22, 0x33, 0x44}));
    EXPECT_EQ(written, (std::vector<Written>{
                           {&one, 0x2200000000000000, 1000}, {&two, 0x2233000000000000, 1000}, {&none, 0, 1000}}));
}

TEST_F(FlexRaySignalTest, atMostEightBytesAreCopied) {
    std::vector<unsigned char> const payload(20, 0xff);
    FlexRaySignal big(definition("a", 0, 64, true), false), little(definition("b", 7, 64), false);
    FlexRaySignal::decodeMessage(frame(payload));
    EXPECT_EQ(valueOf(big), 0x7fffffffffffff80U) << "seven bits are in the ninth byte; a value of nine loses its first";
    EXPECT_EQ(valueOf(little), 0x01ffffffffffffffU);
}

TEST_F(FlexRaySignalTest, bytesPastThePayloadReadAsZero) {
    FlexRaySignal inside(definition("a", 8), false), across(definition("b", 8, 32), false),
        behind(definition("c", 24), false), far(definition("d", 8 * 250, 64), false);
    FlexRaySignal::decodeMessage(frame({0x11, 0x22, 0x33}));
    EXPECT_EQ(valueOf(inside), 0x22U);
    EXPECT_EQ(valueOf(across), 0x3322U);
    EXPECT_EQ(valueOf(behind), 0U);
    EXPECT_EQ(valueOf(far), 0U);
}

TEST_F(FlexRaySignalTest, payloadOfLessThanTwoBytesWritesNothing) {
    std::vector<Written> written;
    Noting<FlexRaySignal> signal(definition("a"), written);
    EXPECT_EQ(FlexRaySignal::decodeMessage(frame({})), key);
    EXPECT_EQ(FlexRaySignal::decodeMessage(frame({0x12})), key);
    EXPECT_TRUE(written.empty());
    EXPECT_EQ(valueOf(signal), 0xdeadU);
    FlexRaySignal::decodeMessage(frame({0x12, 0x34}));
    EXPECT_EQ(written.size(), 1U);
}

TEST_F(FlexRaySignalTest, deliveryIsShownWhenDebugging) {
    FlexRaySignal const first(definition("a"), false), second(definition("b"), false);
    Capture const output(std::cout);
    BaseSignal::debug = 1;
    FlexRaySignal::decodeMessage(frame({0x12}));
    FlexRaySignal::decodeMessage(frame({0x12, 0x34}));
    BaseSignal::debug = 0;
    std::string const lookUp = "[DEBUG] FlexRaySignal::getFlexRayId: index = 131077 - 1\n";
    EXPECT_EQ(output.text().find(lookUp + "[DEBUG] Signal = a\n[DEBUG] Signal = b\n" + lookUp +
                                 "[DEBUG] Signal = a\n[DEBUG] writing 1200000000000000, ts=3e8\n"),
              0U)
        << output.text();
    EXPECT_EQ(output.text().find("addr = "), std::string::npos) << "unlike the other kinds";
}

TEST_F(FlexRaySignalTest, unknownFrameIsShownWhenDebugging) {
    FlexRaySignal const signal(definition("a"), false);
    Capture output(std::cout);
    BaseSignal::debug = 1;
    std::cout << std::hex;
    FlexRaySignal::decodeMessage(flexRayFrame(1, 0, 6));
    EXPECT_EQ(output.take(), "[DEBUG] FlexRaySignal::getFlexRayId: index = 131078 - 0\n"
                             "[DEBUG] FlexRaySignal::decodeMessage: id = 2305843009213693952 not found\n");
}

TEST_F(FlexRaySignalTest, silentFramesAreReportedByTheirKeys) {
    flexRaySignalDef_t other = definition("b");
    other.slot = 6;
    FlexRaySignal const first(definition("a"), false), second(other, false);
    FlexRaySignal::decodeMessage(frame({0x12, 0x34}));
    FlexRayExtTraceMessage later = flexRayFrame(1, 0, 6);
    later.timestamp = 2000;
    FlexRaySignal::decodeMessage(later);
    std::vector<unsigned long long> silent;
    EXPECT_EQ(BaseSignal::checkTimeout(2000, silent), 0);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{key}));
    BaseSignal::clear({key});
    BaseSignal::checkTimeout(2001, silent);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{key + 1}));
}

} // namespace
