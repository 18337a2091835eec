// Filing, pre-filtering and feeding of CAN signals.
#include "qzsignal/can/CANSignalExt.h"

#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/Capture.h"
#include "tests/support/Observe.h"
#include "tests/support/PreFilters.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <sstream>

namespace {

class CanProbe : public CANSignalExt {
public:
    using CANSignalExt::CANSignalExt;
    using CANSignalExt::d_data;
    using CANSignalExt::d_definition;
    using CANSignalExt::d_localData;
    using CANSignalExt::d_reserved1;
    using CANSignalExt::d_reserved2;
    using CANSignalExt::messageId;
};

canSignalDef_t definition(std::string const& instance, std::uint32_t identifier, bool extended = false,
                          std::uint8_t channel = 1) {
    canSignalDef_t result;
    result.instance = instance;
    result.signal = "Field";
    result.channel = channel;
    result.bits = 8;
    result.scale = 1;
    result.msgId = identifier;
    result.extended = extended;
    return result;
}

CANExtTraceMessage frame(std::uint8_t channel, std::uint32_t identifier, bool extended = false) {
    CANExtTraceMessage message;
    message.timestamp = 1000;
    message.channel = channel;
    message.extended = extended ? 1 : 0;
    message.length = 2;
    message.identifier = identifier;
    message.payload[0] = 0x12;
    message.payload[1] = 0x34;
    return message;
}

using Record = std::array<unsigned char, 22>;

// A serialized record; bit 31 of `identifier` is the extended flag. What is not read is filled with garbage.
Record record(std::uint8_t channel, std::uint32_t identifier) {
    Record bytes;
    bytes.fill(0xa5);
    bytes[14] = channel;
    for (unsigned i = 0; i < 4; ++i)
        bytes[18 + i] = static_cast<unsigned char>(identifier >> (24 - 8 * i));
    return bytes;
}

bool inUse(Record const& bytes) {
    return CANSignalExt::signalsInUse(bytes.data(), bytes.data() + bytes.size());
}

class CANSignalExtTest : public testing::Test {
protected:
    void TearDown() override {
        BaseSignal::debug = 0;
        EXPECT_TRUE(CANSignalExt::canMessageContainer.empty());
    }
};

TEST_F(CANSignalExtTest, keyIsMadeOfTagChannelFlagAndIdentifier) {
    struct {
        std::uint8_t channel;
        std::uint32_t identifier;
        bool extended;
        unsigned long long key;
    } const cases[] = {
        {1, 0x123, false, 0x8000000100000123},
        {1, 0x123, true, 0x8000000180000123},
        {0, 0, false, 0x8000000000000000},
        {255, 0x1fffffff, true, 0x800000ff9fffffff},
        // The parts are added: a flag that is already in the identifier carries into the channel.
        {1, 0x80000123, true, 0x8000000200000123},
        {1, 0x80000123, false, 0x8000000180000123},
    };
    for (auto const& each : cases) {
        CanProbe const signal(definition("a", each.identifier, each.extended, each.channel), false);
        EXPECT_EQ(signal.messageId, each.key);
        EXPECT_EQ(CANSignalExt::canMessageContainer.begin()->first, each.key);
    }
}

TEST_F(CANSignalExtTest, signalsOfOneFrameShareAnEntryInOrderOfConstruction) {
    CANSignalExt second(definition("b", 0x123), false), first(definition("a", 0x123), false);
    ASSERT_EQ(CANSignalExt::canMessageContainer.size(), 1U);
    EXPECT_EQ(CANSignalExt::canMessageContainer.at(0x8000000100000123), (std::vector<CANSignalExt*>{&second, &first}));
}

TEST_F(CANSignalExtTest, frameWritesAllItsSignals) {
    canSignalDef_t other = definition("b", 0x123);
    other.startbit = 8;
    CANSignalExt first(definition("a", 0x123), false), second(other, false);
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x123)), 0x8000000100000123U);
    EXPECT_EQ(valueOf(first), 0x12U);
    EXPECT_EQ(valueOf(second), 0x34U);
    unsigned long long value = 0, timestamp = 0;
    EXPECT_TRUE(first.read(value, timestamp));
    EXPECT_EQ(timestamp, 1000U);
}

TEST_F(CANSignalExtTest, frameReachesOnlyItsOwnSignals) {
    CANSignalExt standard(definition("a", 0x123), false), extended(definition("b", 0x123, true), false);
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x123)), 0x8000000100000123U);
    EXPECT_EQ(valueOf(standard), 0x12U);
    EXPECT_EQ(valueOf(extended), 0xdeadU) << "never written";
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x123, true)), 0x8000000180000123U);
    EXPECT_EQ(valueOf(extended), 0x12U);
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(2, 0x123)), 0U) << "another channel";
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x124)), 0U);
}

TEST_F(CANSignalExtTest, anyNonZeroExtendedFieldCounts) {
    CANSignalExt extended(definition("b", 0x123, true), false);
    CANExtTraceMessage message = frame(1, 0x123);
    message.extended = 0x100;
    EXPECT_EQ(CANSignalExt::decodeMessage(message), 0x8000000180000123U);
}

TEST_F(CANSignalExtTest, shortFrameIsFilledUpAndALongOneCut) {
    canSignalDef_t whole = definition("a", 0x123);
    whole.bits = 64;
    whole.startbit = 7;
    whole.endian = true;
    CANSignalExt signal(whole, false);
    CANExtTraceMessage message = frame(1, 0x123);
    message.payload[7] = 0xff; // past the length
    CANSignalExt::decodeMessage(message);
    EXPECT_EQ(valueOf(signal), 0x1234000000000000U);
    message.length = 255;
    CANSignalExt::decodeMessage(message);
    EXPECT_EQ(valueOf(signal), 0x12340000000000ffU);
}

TEST_F(CANSignalExtTest, signalOfADerivedClassIsFedThroughItsWrite) {
    class Derived : public CANSignalExt {
    public:
        using CANSignalExt::CANSignalExt;
        bool write(unsigned long long raw, unsigned long long timestamp) override {
            d_raw = raw;
            d_time = timestamp;
            return false; // ignored by the caller
        }
        unsigned long long d_raw = 0, d_time = 0;
    };
    Derived first(definition("a", 0x123), false), second(definition("b", 0x123), false);
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x123)), 0x8000000100000123U);
    EXPECT_EQ(first.d_raw, 0x1234000000000000U);
    EXPECT_EQ(first.d_time, 1000U);
    EXPECT_EQ(second.d_raw, 0x1234000000000000U);
}

TEST_F(CANSignalExtTest, preFilterTellsStandardFromExtended) {
    auto standard = std::make_unique<CANSignalExt>(definition("a", 0x123), false);
    EXPECT_TRUE(inUse(record(1, 0x123)));
    EXPECT_FALSE(inUse(record(1, 0x80000123)));
    auto const extended = std::make_unique<CANSignalExt>(definition("b", 0x123, true), false);
    standard.reset();
    EXPECT_FALSE(inUse(record(1, 0x123)));
    EXPECT_TRUE(inUse(record(1, 0x80000123)));
    EXPECT_FALSE(inUse(record(2, 0x80000123)));
}

TEST_F(CANSignalExtTest, preFilterDoesNotUseItsSecondPointer) {
    CANSignalExt const signal(definition("a", 0x123), false);
    expectSecondPointerUnused(CANSignalExt::signalsInUse, record(1, 0x123), record(1, 0x100));
}

TEST_F(CANSignalExtTest, preFilterOfNoSignalsIsFalseAndSilent) {
    Capture const output(std::cout);
    BaseSignal::debug = 2;
    EXPECT_FALSE(inUse(record(1, 0x123)));
    EXPECT_FALSE(CANSignalExt::signalsInUse(nullptr, nullptr)) << "the record is not even looked at";
    EXPECT_EQ(output.text(), "");
}

TEST_F(CANSignalExtTest, preFilterReportsItsResultFromDebugLevelTwo) {
    CANSignalExt const signal(definition("a", 0x123, true, 200), false);
    Capture output(std::cout);
    BaseSignal::debug = 1;
    inUse(record(200, 0x80000123));
    EXPECT_EQ(output.take(), "");
    BaseSignal::debug = 2;
    std::cout << std::hex;
    inUse(record(200, 0x80000123));
    EXPECT_EQ(output.take(), "[DEBUG] CANSignalExt::signalsInUse: found: channel 200, id 2147483939\n");
    inUse(record(3, 0x17));
    EXPECT_EQ(output.take(), "[DEBUG] CANSignalExt::signalsInUse: not found: channel 3, id 23\n");
}

TEST_F(CANSignalExtTest, lastSignalOfAFrameTakesTheEntryAlong) {
    auto first = std::make_unique<CANSignalExt>(definition("a", 0x123), false);
    auto second = std::make_unique<CANSignalExt>(definition("b", 0x123), false);
    first.reset();
    EXPECT_EQ(CANSignalExt::canMessageContainer.at(0x8000000100000123), (std::vector<CANSignalExt*>{second.get()}));
    second.reset();
    EXPECT_EQ(CANSignalExt::canMessageContainer.count(0x8000000100000123), 0U);
    EXPECT_FALSE(inUse(record(1, 0x123)));
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x123)), 0U);
}

TEST_F(CANSignalExtTest, signalMissingFromItsEntryIsReportedAtItsEnd) {
    Capture errors(std::cerr);
    {
        CANSignalExt const first(definition("a", 0x123), false);
        CANSignalExt stays(definition("b", 0x123), false);
        CANSignalExt::canMessageContainer.at(0x8000000100000123) = {&stays};
        // `stays` leaves orderly, then the entry is put back for `first` to miss itself in.
        static CANSignalExt* const stranger = nullptr;
        CANSignalExt::canMessageContainer.at(0x8000000100000123).push_back(stranger);
    }
    EXPECT_EQ(errors.text(), "[ERROR] CANSignalExt::~CANSignalExt(): instance not found in vector\n");
    CANSignalExt::canMessageContainer.clear();
    EXPECT_EQ(BaseSignal::getInstance("a"), nullptr) << "destruction went on";
}

TEST_F(CANSignalExtTest, signalOpenedByNameIsNeverFed) {
    SharedName const name;
    canSignalDef_t shared = definition(name.name(), 0x123);
    CANSignalExt writer(shared, true);
    Capture errors(std::cerr);
    {
        CanProbe reader(name.c_str());
        errors.take(); // duplicate name: both are in this process
        EXPECT_EQ(reader.messageId, 0U);
        EXPECT_EQ(CANSignalExt::canMessageContainer.at(0x8000000100000123), (std::vector<CANSignalExt*>{&writer}));
        CANSignalExt::decodeMessage(frame(1, 0x123));
        EXPECT_EQ(valueOf(reader), 0x12U) << "but reads what the definer was fed";
        EXPECT_EQ(printed(reader.d_definition), "instance=,signal=,channel=0,unit=,type=unsigned,startbit=0,bits=0,"
                                                "scale=0,offset=0,endian=LITTLE,msgId=0,extended=no");
    }
    EXPECT_EQ(errors.text(), "");
}

TEST_F(CANSignalExtTest, definitionIsCopied) {
    CanProbe const signal(definition("a", 0x123, true, 7), false);
    EXPECT_EQ(signal.d_definition.instance, "a");
    EXPECT_EQ(signal.d_definition.channel, 7);
    EXPECT_EQ(signal.d_definition.msgId, 0x123U);
    EXPECT_TRUE(signal.d_definition.extended);
    EXPECT_EQ(signal.d_reserved1 + signal.d_reserved2, "");
}

TEST_F(CANSignalExtTest, definitionPrintsWithIdentifierInDecimal) {
    std::ostringstream out;
    out << std::hex << definition("a", 291, true);
    EXPECT_EQ(out.str(), "instance=a,signal=Field,channel=1,unit=,type=unsigned,startbit=0,bits=8,scale=1,offset=0,"
                         "endian=LITTLE,msgId=291,extended=yes");
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::dec);
}

TEST_F(CANSignalExtTest, printsSharedFormAndDefinition) {
    CanProbe const signal(definition("a", 291), false);
    EXPECT_EQ(printed(signal), printed(static_cast<ShmSignal const&>(signal)) + ";" + printed(signal.d_definition));
    EXPECT_EQ(printed(static_cast<BaseSignal const&>(signal)), printed(static_cast<ShmSignal const&>(signal)))
        << "the virtual form has no definition";
}

TEST_F(CANSignalExtTest, creationIsShownWhenDebugging) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    {
        CANSignalExt const local(definition("a", 291), false);
        std::string const text = output.take();
        EXPECT_NE(text.find("[DEBUG] ShmSignal a created \n"), std::string::npos);
        std::string const end = "[DEBUG] CANSignalExt a created \n" + printed(local) + "\n";
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
    }
    SharedName const name;
    CANSignalExt const shared(definition(name.name(), 291), true);
    std::string text = output.take();
    std::string end = "[DEBUG] CANSignalExt " + name.name() + " created (shared memory)\n" + printed(shared) + "\n";
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
    Capture const errors(std::cerr);
    CANSignalExt const reader(name.c_str());
    text = output.take();
    end = "[DEBUG] CANSignalExt " + name.name() + " created \n" + printed(reader) + "\n";
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
    BaseSignal::debug = 0;
}

TEST_F(CANSignalExtTest, deliveryIsShownWhenDebugging) {
    CanProbe const signal(definition("a", 0x123), false);
    Capture output(std::cout);
    BaseSignal::debug = 1;
    CANSignalExt::decodeMessage(frame(1, 0x123));
    std::string const text = output.take();
    EXPECT_EQ(text.find("[DEBUG] CANSignalExt::decodeMessage: addr = " +
                        printed(static_cast<void const*>(static_cast<CANSignalExt const*>(&signal))) +
                        "\n[DEBUG] Signal = a\n[DEBUG] writing 1234000000000000, ts=3e8\n"),
              0U)
        << text;
}

TEST_F(CANSignalExtTest, unknownFrameIsShownFromDebugLevelTwo) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x124)), 0U);
    EXPECT_EQ(output.take(), "");
    BaseSignal::debug = 2;
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x124)), 0U);
    EXPECT_EQ(output.take(), "[DEBUG] CANSignalExt::decodeMessage: CAN message not in canMessageContainer: " +
                                 printed(frame(1, 0x124)) + "\n");
}

TEST_F(CANSignalExtTest, silentFramesAreReportedByTheirKeys) {
    CANSignalExt first(definition("a", 0x123), false), second(definition("b", 0x200), false),
        unwritten(definition("c", 0x300), false);
    CANSignalExt::decodeMessage(frame(1, 0x123));
    CANExtTraceMessage later = frame(1, 0x200);
    later.timestamp = 2000;
    CANSignalExt::decodeMessage(later);
    std::vector<unsigned long long> silent;
    EXPECT_EQ(BaseSignal::checkTimeout(2000, silent), 0);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{0x8000000100000123}));
    BaseSignal::clear({0x8000000100000123});
    BaseSignal::checkTimeout(2001, silent);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{0x8000000100000200}));
}

TEST_F(CANSignalExtTest, canSignalThatWaitsPrintsItsEmptyDefinitionAllTheSame) {
    SharedName const name;
    Capture const errors(std::cerr);
    CANSignalExt const reader(name.c_str());
    std::ostringstream out;
    out << reader;
    EXPECT_EQ(out.str(), "ShmSignal not "
                         "valid\n;instance=,signal=,channel=0,unit=,type=unsigned,startbit=0,bits=0,scale=0,offset=0,"
                         "endian=LITTLE,msgId=0,extended=no");
}

TEST_F(CANSignalExtTest, negativeDebugLevelIsDebugButNoPerFrameLines) {
    CanProbe signal(definition("a", 0x123), false);
    Capture output(std::cout);
    BaseSignal::debug = -1;
    signal.write(0x0100000000000000, 2);
    EXPECT_EQ(output.take().find("[DEBUG] writing 100000000000000, ts=2\n"), 0U);
    EXPECT_EQ(CANSignalExt::decodeMessage(frame(1, 0x124)), 0U);
    EXPECT_EQ(output.take(), "");
}

} // namespace
