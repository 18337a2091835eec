// Filing, pre-filtering and feeding of inputs in shared memory.
#include "qzsignal/input/InputSignalExt.h"

#include "tests/support/Capture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/Observe.h"
#include "tests/support/PreFilters.h"
#include "tests/support/SharedInput.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <type_traits>

namespace {

static_assert(std::is_base_of<ShmSignal, InputSignalExt>::value, "");
static_assert(std::is_base_of<baseSignalDef_t, inputSignalDef_t>::value, "");
static_assert(!std::is_convertible<char const*, InputSignalExt>::value, "the constructor is explicit");

class InputProbe : public InputSignalExt {
public:
    using InputSignalExt::d_definition;
    using InputSignalExt::InputSignalExt;
    using InputSignalExt::messageId;
};

// A value as it arrives, unscaled.
inputSignalDef_t definition(std::string const& instance) {
    inputSignalDef_t result;
    result.instance = instance;
    result.signal = "Input";
    result.startbit = 7;
    result.bits = 64;
    result.scale = 1;
    result.endian = true;
    return result;
}

bool inUse(InputRecord const& bytes) {
    return InputSignalExt::signalsInUse(bytes.data(), bytes.data() + bytes.size());
}

void expectReading(BaseSignal& signal, unsigned long long value, unsigned long long timestamp) {
    unsigned long long valueRead = 0xdead, timeRead = 0xbeef;
    EXPECT_TRUE(signal.read(valueRead, timeRead));
    EXPECT_EQ(valueRead, value);
    EXPECT_EQ(timeRead, timestamp);
}

void expectNothing(BaseSignal& signal) {
    unsigned long long value = 0, timestamp = 0;
    EXPECT_FALSE(signal.read(value, timestamp));
}

bool endsWith(std::string const& text, std::string const& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

constexpr char openedDefinition[] = "instance=,signal=,channel=0,unit=,type=unsigned,startbit=0,bits=64,scale=1,"
                                    "offset=0,endian=LITTLE";

class InputSignalExtTest : public testing::Test {
protected:
    void TearDown() override {
        BaseSignal::debug = 0;
        MessageBase::version = d_version;
        EXPECT_TRUE(InputSignalExt::inputContainer.empty());
        EXPECT_TRUE(BaseSignal::instances.empty());
    }

private:
    unsigned char const d_version = MessageBase::version;
};

TEST_F(InputSignalExtTest, digitalInputFollowsItsNumberWhateverTheMask) {
    InputSignalExt signal(definition("DI.2"), false);
    struct {
        std::uint16_t mask, levels;
        unsigned long long value;
    } const cases[] = {
        {1, 0xffff, 1}, {3, 0xfffe, 2}, {0x8001, 0x8000, 0x8000}, {0, 0xffff, 0}, {0xffff, 0xffff, 0xffff}};
    unsigned long long timestamp = 1000;
    for (auto const& each : cases) {
        EXPECT_EQ(InputSignalExt::decodeMessage(gpioMessage(2, each.mask, each.levels, ++timestamp)),
                  0x0800000000000002U);
        expectReading(signal, each.value, timestamp);
    }
    EXPECT_EQ(InputSignalExt::decodeMessage(gpioMessage(3, 1, 1)), 0U);
    EXPECT_EQ(InputSignalExt::decodeMessage(gpioMessage(0, 2, 1)), 0U);
    expectReading(signal, 0xffff, timestamp);
}

TEST_F(InputSignalExtTest, digitalKeyIsTheBareNumber) {
    InputProbe const signal(definition("DI.3"), false);
    EXPECT_EQ(signal.messageId, 0x0800000000000003U);
}

TEST_F(InputSignalExtTest, onlyTheFirstEntryOfADigitalMessageCounts) {
    InputSignalExt first(definition("DI.1"), false), second(definition("DI.2"), false);
    GpioTraceMessage message = gpioMessage(1, 1, 1);
    message.entries.push_back(gpioEntry(2, 1, 1));
    EXPECT_EQ(InputSignalExt::decodeMessage(message), 0x0800000000000001U);
    expectReading(first, 1, 1000);
    expectNothing(second);
}

TEST_F(InputSignalExtTest, emptyDigitalMessageIsALowLevelOfInputZero) {
    InputSignalExt first(definition("DI.0"), false), second(definition("DI.1"), false);
    GpioTraceMessage message;
    message.timestamp = 77;
    EXPECT_EQ(InputSignalExt::decodeMessage(message), 0x0800000000000000U);
    expectReading(first, 0, 77);
    expectNothing(second);
}

TEST_F(InputSignalExtTest, emptyAnalogMessageIsAReadingOfZeroOnChannelZero) {
    InputSignalExt first(definition("AI.0"), false), second(definition("AI.1"), false);
    AnalogTraceMessage message;
    message.timestamp = 77;
    EXPECT_EQ(InputSignalExt::decodeMessage(message), 0x0400000000000000U);
    expectReading(first, 0, 77);
    expectNothing(second);
}

TEST_F(InputSignalExtTest, onlyTheFirstEntryOfAnAnalogMessageCounts) {
    InputSignalExt first(definition("AI.1"), false), second(definition("AI.2"), false);
    AnalogTraceMessage message = analogMessage(1, 10);
    message.entries.push_back(analogEntry(2, 20));
    EXPECT_EQ(InputSignalExt::decodeMessage(message), 0x0400000000000001U);
    expectReading(first, 10, 1000);
    expectNothing(second);
}

TEST_F(InputSignalExtTest, negativeReadingIsSignExtendedAndScaledAsDefined) {
    inputSignalDef_t scaled = definition("AI.4");
    scaled.type = signalSigned;
    scaled.scale = 0.5;
    scaled.offset = 10;
    InputSignalExt signal(scaled, false);
    EXPECT_EQ(InputSignalExt::decodeMessage(analogMessage(4, -5)), 0x0400000000000004U);
    expectReading(signal, 0xfffffffffffffffb, 1000);
    double phys = 0;
    unsigned long long timestamp = 0;
    EXPECT_TRUE(signal.read(phys, timestamp));
    EXPECT_EQ(phys, 7.5);
}

TEST_F(InputSignalExtTest, valueIsCutAsDefined) {
    inputSignalDef_t cut = definition("AI.5");
    cut.startbit = 56; // the lowest byte of the raw word
    cut.bits = 8;
    cut.endian = false;
    InputSignalExt signal(cut, false);
    InputSignalExt::decodeMessage(analogMessage(5, 0x12345678));
    expectReading(signal, 0x78, 1000);
}

TEST_F(InputSignalExtTest, keyMessageStoresItsState) {
    InputSignalExt trigger(definition("RC.TRG"), false), other(definition("RC.F1"), false);
    EXPECT_EQ(InputSignalExt::decodeMessage(keyMessage(16, 2, 0x123456789abcdef0)), 0x1000000000000010U);
    expectReading(trigger, 2, 0x123456789abcdef0);
    expectNothing(other);
    EXPECT_EQ(InputSignalExt::decodeMessage(keyMessage(16, -1)), 0x1000000000000010U);
    expectReading(trigger, 0xffffffffffffffff, 1000);
}

TEST_F(InputSignalExtTest, keyCodesOfNoSignalFeedNothing) {
    InputSignalExt first(definition("RC.F1"), false), trigger(definition("RC.TRG"), false);
    for (std::int32_t const code : {-1, 0, 2, 11, 17, INT32_MIN, INT32_MAX, 0x10001})
        EXPECT_EQ(InputSignalExt::decodeMessage(keyMessage(code, 1)), 0U) << code;
    expectNothing(first);
    expectNothing(trigger);
}

TEST_F(InputSignalExtTest, unchangedValueIsSeenAgain) {
    InputSignalExt signal(definition("DI.0"), false);
    InputSignalExt::decodeMessage(gpioMessage(0, 1, 0, 100));
    expectReading(signal, 0, 100);
    EXPECT_TRUE(signal.isModified());
    InputSignalExt::decodeMessage(gpioMessage(0, 1, 0, 200));
    expectReading(signal, 0, 200);
    EXPECT_FALSE(signal.isModified());
}

TEST_F(InputSignalExtTest, signalsOfOneNameAreFedInOrderOfConstruction) {
    static std::vector<InputSignalExt const*> fed;
    fed.clear();
    class Derived : public InputSignalExt {
    public:
        using InputSignalExt::InputSignalExt;
        bool write(unsigned long long raw, unsigned long long time) override {
            fed.push_back(this);
            d_raw = raw;
            d_time = time;
            return false; // ignored by the caller
        }
        unsigned long long d_raw = 0, d_time = 0;
    };
    Capture const errors(std::cerr);
    Derived second(definition("RC.F1"), false), first(definition("RC.F1"), false);
    EXPECT_EQ(errors.text(), "[WARNING] BaseSignal: signal RC.F1 already exists\n");
    EXPECT_EQ(InputSignalExt::inputContainer.at(0x1000000000000001), (std::vector<InputSignalExt*>{&second, &first}));
    EXPECT_EQ(InputSignalExt::decodeMessage(keyMessage(1, 2)), 0x1000000000000001U);
    EXPECT_EQ(fed, (std::vector<InputSignalExt const*>{&second, &first}));
    EXPECT_EQ(first.d_raw, 2U);
    EXPECT_EQ(first.d_time, 1000U);
}

TEST_F(InputSignalExtTest, unknownNameIsReportedAndNeverFed) {
    Capture errors(std::cerr);
    {
        InputProbe signal(definition("DI.5"), false);
        EXPECT_EQ(errors.take(), "[WARNING] InputSignalExt: DI.5 not found in predefined input lists, gpId = 0\n");
        EXPECT_EQ(signal.messageId, 0U);
        EXPECT_TRUE(InputSignalExt::inputContainer.empty());
        EXPECT_EQ(InputSignalExt::decodeMessage(gpioMessage(5, 1, 1)), 0U);
        expectNothing(signal);
        EXPECT_TRUE(signal.write(3, 4));
        expectReading(signal, 3, 4); // it works otherwise
    }
    EXPECT_EQ(errors.text(), "");
}

TEST_F(InputSignalExtTest, emptyNameIsNoInput) {
    Capture const errors(std::cerr);
    InputProbe const signal(definition(""), false);
    EXPECT_EQ(errors.text(), "[WARNING] InputSignalExt:  not found in predefined input lists, gpId = 0\n");
    EXPECT_EQ(signal.messageId, 0U);
    EXPECT_TRUE(InputSignalExt::inputContainer.empty());
}

TEST_F(InputSignalExtTest, signalThatWasNeverFiledIsSimplyDestroyed) {
    InputSignalExt other(definition("DI.0"), false);
    InputSignalExt::inputContainer[0] = {&other}; // made by a program
    Capture errors(std::cerr);
    {
        InputSignalExt const unknown(definition("DI.5"), false);
        errors.take(); // the warning
    }
    EXPECT_EQ(errors.text(), "");
    InputSignalExt::inputContainer.erase(0);
}

TEST_F(InputSignalExtTest, inputsOfTheProcessAreFiledApart) {
    InputProbe const signal(definition("DI.0"), false);
    EXPECT_EQ(InputSignalExt::inputContainer.begin()->first, 0x0800000000000000U);
    EXPECT_EQ(InputSignalExt::inputContainer.begin()->second,
              (std::vector<InputSignalExt*>{const_cast<InputProbe*>(&signal)}));
}

TEST_F(InputSignalExtTest, signalOpenedByNameIsFiledAndFed) {
    SharedInput const input("AI.3");
    auto writer = std::make_unique<InputSignalExt>(definition("AI.3"), true);
    Capture errors(std::cerr);
    {
        InputProbe reader("AI.3");
        EXPECT_EQ(errors.take(), "[WARNING] BaseSignal: signal AI.3 already exists\n") << "both are in this process";
        EXPECT_EQ(reader.messageId, 0x0400000000000003U);
        EXPECT_EQ(InputSignalExt::inputContainer.at(0x0400000000000003),
                  (std::vector<InputSignalExt*>{writer.get(), &reader}));
        EXPECT_EQ(printed(reader.d_definition), openedDefinition);
        std::vector<InputSignalExt*>& fed = InputSignalExt::inputContainer.at(0x0400000000000003);
        fed = {&reader};
        EXPECT_EQ(InputSignalExt::decodeMessage(analogMessage(3, 42)), 0x0400000000000003U);
        expectReading(*writer, 42, 1000);
        fed = {writer.get(), &reader};
    }
    EXPECT_EQ(InputSignalExt::inputContainer.at(0x0400000000000003), (std::vector<InputSignalExt*>{writer.get()}));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(InputSignalExtTest, signalOpenedByNameStoresNothingWhileItWaits) {
    SharedInput const input("AI.3");
    std::string const waits = "[WARNING] ShmSignal: AI.3: Waiting for shared memory region id (/tmp/AI.3)\n";
    Capture errors(std::cerr);
    InputSignalExt reader("AI.3");
    EXPECT_EQ(errors.take(), waits);
    EXPECT_EQ(InputSignalExt::decodeMessage(analogMessage(3, 42)), 0x0400000000000003U) << "it has been fed";
    EXPECT_EQ(errors.take(), waits);
    InputSignalExt writer(definition("AI.3"), true);
    errors.take();
    expectNothing(reader);
    EXPECT_EQ(InputSignalExt::decodeMessage(analogMessage(3, 43, 2000)), 0x0400000000000003U);
    expectReading(reader, 43, 2000);
    expectReading(writer, 43, 2000);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(InputSignalExtTest, unknownNameIsReportedWhenOpenedAsWell) {
    SharedName const name;
    Capture const errors(std::cerr);
    InputProbe const reader(name.c_str());
    EXPECT_EQ(errors.text(), "[WARNING] ShmSignal: " + name.name() + ": Waiting for key (" + name.path() +
                                 ")\n[WARNING] InputSignalExt: " + name.name() +
                                 " not found in predefined input lists, gpId = 0\n");
    EXPECT_EQ(reader.messageId, 0U);
    EXPECT_TRUE(InputSignalExt::inputContainer.empty());
}

TEST_F(InputSignalExtTest, lastSignalOfAnInputTakesTheEntryAlong) {
    Capture const errors(std::cerr);
    auto first = std::make_unique<InputSignalExt>(definition("RC.F2"), false);
    auto second = std::make_unique<InputSignalExt>(definition("RC.F2"), false);
    first.reset();
    EXPECT_EQ(InputSignalExt::inputContainer.at(0x1000000000000002), (std::vector<InputSignalExt*>{second.get()}));
    second.reset();
    EXPECT_EQ(InputSignalExt::inputContainer.count(0x1000000000000002), 0U);
    EXPECT_EQ(InputSignalExt::decodeMessage(keyMessage(2, 1)), 0U);
}

TEST_F(InputSignalExtTest, signalMissingFromItsEntryIsReportedAtItsEnd) {
    Capture const errors(std::cerr);
    InputSignalExt other(definition("DI.1"), false);
    {
        InputSignalExt const signal(definition("DI.0"), false);
        InputSignalExt::inputContainer.at(0x0800000000000000) = {&other};
    }
    EXPECT_EQ(errors.text(), "[ERROR] InputSignalExt::~InputSignalExt(): instance not found in vector\n");
    EXPECT_EQ(BaseSignal::getInstance("DI.0"), nullptr) << "destruction went on";
    EXPECT_EQ(InputSignalExt::inputContainer.at(0x0800000000000000), (std::vector<InputSignalExt*>{&other}));
    InputSignalExt::inputContainer.erase(0x0800000000000000);
}

TEST_F(InputSignalExtTest, preFilterIdentifiesDigitalRecordsByInputWhateverTheMask) {
    InputSignalExt const signal(definition("DI.3"), false);
    EXPECT_TRUE(inUse(inputRecord(0x13, 3)));
    EXPECT_TRUE(inUse(inputRecord(0x13, 3, 0)));
    EXPECT_TRUE(inUse(inputRecord(0x13, 3, 0xff)));
    EXPECT_FALSE(inUse(inputRecord(0x13, 2)));
    EXPECT_FALSE(inUse(inputRecord(0x12, 3)));
    EXPECT_FALSE(inUse(inputRecord(0x8031, 3)));
}

TEST_F(InputSignalExtTest, preFilterIdentifiesAnalogRecordsByChannel) {
    InputSignalExt const signal(definition("AI.9"), false);
    EXPECT_TRUE(inUse(inputRecord(0x12, 9)));
    EXPECT_FALSE(inUse(inputRecord(0x12, 8)));
    EXPECT_FALSE(inUse(inputRecord(0x13, 9)));
}

TEST_F(InputSignalExtTest, preFilterPassesOverRecordsWithoutTheMark) {
    InputSignalExt const digital(definition("DI.3"), false), analog(definition("AI.3"), false);
    for (std::uint8_t const mark : std::initializer_list<std::uint8_t>{0, 2, 0x81, 0xff}) {
        EXPECT_FALSE(inUse(inputRecord(0x13, 3, 1, mark)));
        EXPECT_FALSE(inUse(inputRecord(0x12, 3, 1, mark)));
    }
}

TEST_F(InputSignalExtTest, preFilterTakesEveryKeyForF7) {
    auto other = std::make_unique<InputSignalExt>(definition("RC.F1"), false);
    EXPECT_FALSE(inUse(inputRecord(0x8031, 1)));
    InputSignalExt const seventh(definition("RC.F7"), false);
    other.reset();
    EXPECT_TRUE(inUse(inputRecord(0x8031, 7)));
    EXPECT_TRUE(inUse(inputRecord(0x8031, 1))) << "whatever key it is";
    EXPECT_TRUE(inUse(inputRecord(0x8031, 1, 1, 0))) << "needs no mark";
}

TEST_F(InputSignalExtTest, preFilterRejectsOtherRecords) {
    InputSignalExt const digital(definition("DI.0"), false), analog(definition("AI.0"), false),
        key(definition("RC.F7"), false);
    for (unsigned const type : {0x00, 0x11, 0x14, 0x31, 0x0112, 0x1200, 0x1300, 0x8013, 0x8030, 0x8032, 0x0031})
        EXPECT_FALSE(inUse(inputRecord(static_cast<std::uint16_t>(type), 0))) << type;
}

TEST_F(InputSignalExtTest, preFilterReadsOneByteTypesOfOtherVersions) {
    InputSignalExt const digital(definition("DI.3"), false), analog(definition("AI.4"), false),
        key(definition("RC.F7"), false);
    EXPECT_FALSE(inUse(shortTypeRecord(0x13, 3))) << "a one-byte type";
    MessageBase::version = 2;
    EXPECT_TRUE(inUse(shortTypeRecord(0x13, 3)));
    EXPECT_TRUE(inUse(shortTypeRecord(0x12, 4)));
    EXPECT_FALSE(inUse(inputRecord(0x13, 3))) << "a two-byte type";
    for (unsigned type = 0; type < 256; ++type) {
        InputRecord bytes = inputRecord(0x8031, 7);
        bytes[0] = static_cast<unsigned char>(type);
        EXPECT_FALSE(inUse(bytes)) << "nor is any of the keyboard";
    }
}

TEST_F(InputSignalExtTest, preFilterDoesNotUseItsSecondPointer) {
    InputSignalExt const digital(definition("DI.3"), false), analog(definition("AI.3"), false),
        key(definition("RC.F7"), false);
    expectSecondPointerUnused(InputSignalExt::signalsInUse, inputRecord(0x13, 3), inputRecord(0x13, 2));
    expectSecondPointerUnused(InputSignalExt::signalsInUse, inputRecord(0x12, 3), inputRecord(0x12, 2));
    expectSecondPointerUnused(InputSignalExt::signalsInUse, inputRecord(0x8031, 0), inputRecord(0x8030, 0));
}

TEST_F(InputSignalExtTest, preFilterDoesNotReadTheMask) {
    InputSignalExt const signal(definition("DI.3"), false);
    InputRecord const bytes = inputRecord(0x13, 3);
    // On the heap and without the last byte, so that a memory checker notices a read of it.
    std::vector<unsigned char> const shortest(bytes.begin(), bytes.begin() + 17);
    EXPECT_TRUE(InputSignalExt::signalsInUse(shortest.data(), nullptr));
}

TEST_F(InputSignalExtTest, preFilterReportsItsResultWhenDebugging) {
    InputSignalExt const digital(definition("DI.3"), false);
    Capture output(std::cout);
    inUse(inputRecord(0x13, 3));
    EXPECT_EQ(output.take(), "");
    BaseSignal::debug = 1;
    inUse(inputRecord(0x13, 3));
    EXPECT_EQ(output.take(), "[DEBUG] InputSignalExt::signalsInUse: index = 800000000000003 - found\n");
    std::cout << std::showbase << std::dec;
    inUse(inputRecord(0x13, 0xff));
    EXPECT_EQ(output.take(), "[DEBUG] InputSignalExt::signalsInUse: index = 8000000000000ff - not found\n");
    inUse(inputRecord(0x12, 10));
    EXPECT_EQ(output.take(), "[DEBUG] InputSignalExt::signalsInUse: index = 40000000000000a - not found\n");
    inUse(inputRecord(0x8031, 1));
    EXPECT_EQ(output.take(), "[DEBUG] InputSignalExt::signalsInUse: index = 1000000000000007 - not found\n");
    inUse(inputRecord(0x13, 3, 1, 0));
    inUse(inputRecord(0x14, 3));
    EXPECT_EQ(output.take(), "") << "rejected records";
}

TEST_F(InputSignalExtTest, preFilterOfNoSignalsIsFalseAndSilent) {
    Capture const output(std::cout);
    BaseSignal::debug = 2;
    EXPECT_FALSE(inUse(inputRecord(0x13, 3)));
    EXPECT_FALSE(InputSignalExt::signalsInUse(nullptr, nullptr)) << "the record is not even looked at";
    EXPECT_EQ(output.text(), "");
}

TEST_F(InputSignalExtTest, messagesOfUnusedInputsAreShownWithIndexZero) {
    InputSignalExt const other(definition("DI.0"), false);
    Capture output(std::cout);
    auto const sendAll = [] {
        InputSignalExt::decodeMessage(keyMessage(10, 1));
        InputSignalExt::decodeMessage(gpioMessage(10, 1, 1));
        InputSignalExt::decodeMessage(analogMessage(10, 1));
    };
    sendAll();
    EXPECT_EQ(output.take(), "");
    BaseSignal::debug = 1;
    sendAll();
    EXPECT_EQ(output.take(), "[DEBUG] InputSignalExt::decodeMessage: keyboard signal not found, index = 0\n"
                             "[DEBUG] InputSignalExt::decodeMessage: digital signal not found, index = 0\n"
                             "[DEBUG] InputSignalExt::decodeMessage: analog signal not found, index = 0\n");
}

TEST_F(InputSignalExtTest, deliveryIsShownWhenDebugging) {
    InputSignalExt const digital(definition("DI.1"), false), analog(definition("AI.1"), false),
        key(definition("RC.F1"), false);
    Capture output(std::cout);
    auto const expectAnnounced = [&output](InputSignalExt const& signal, std::string const& name) {
        std::string const text = output.take();
        EXPECT_EQ(text.find("[DEBUG] InputSignalExt::decodeMessage: addr = " + address(&signal) +
                            "\n[DEBUG] Signal = " + name + "\n[DEBUG] writing 1, ts=3e8\n"),
                  0U)
            << text;
    };
    BaseSignal::debug = 1;
    InputSignalExt::decodeMessage(gpioMessage(1, 1, 1));
    expectAnnounced(digital, "DI.1");
    InputSignalExt::decodeMessage(analogMessage(1, 1));
    expectAnnounced(analog, "AI.1");
    InputSignalExt::decodeMessage(keyMessage(1, 1));
    expectAnnounced(key, "RC.F1");
    BaseSignal::debug = 0;
}

TEST_F(InputSignalExtTest, creationIsShownWhenDebugging) {
    SharedInput const input("AI.3");
    Capture output(std::cout);
    Capture const errors(std::cerr);
    BaseSignal::debug = 1;
    {
        InputSignalExt const local(definition("AI.3"), false);
        std::string const text = output.take();
        EXPECT_NE(text.find("[DEBUG] ShmSignal AI.3 created \n"), std::string::npos);
        EXPECT_TRUE(endsWith(text, "[DEBUG] InputSignalExt AI.3 created \n" + printed(local) + "\n")) << text;
    }
    InputSignalExt const shared(definition("AI.3"), true);
    std::string text = output.take();
    EXPECT_TRUE(endsWith(text, "[DEBUG] InputSignalExt AI.3 created (shared memory)\n" + printed(shared) + "\n"))
        << text;
    InputSignalExt const reader("AI.3");
    text = output.take();
    EXPECT_TRUE(endsWith(text, "\n[DEBUG] InputSignalExt AI.3 created\n")) << text;
    BaseSignal::debug = 0;
}

TEST_F(InputSignalExtTest, unknownNameIsReportedBeforeItsCreationIsShown) {
    Capture const both(std::cout);
    std::streambuf* const original = std::cerr.rdbuf(std::cout.rdbuf());
    BaseSignal::debug = 1;
    {
        InputSignalExt const signal(definition("DI.5"), false);
        BaseSignal::debug = 0;
        EXPECT_TRUE(
            endsWith(both.text(), "[WARNING] InputSignalExt: DI.5 not found in predefined input lists, gpId = 0\n"
                                  "[DEBUG] InputSignalExt DI.5 created \n" +
                                      printed(signal) + "\n"))
            << both.text();
    }
    std::cerr.rdbuf(original);
}

TEST_F(InputSignalExtTest, definitionPrintsAsTheCommonOne) {
    inputSignalDef_t const whole = definition("AI.3");
    std::ostringstream out;
    out << std::hex << whole;
    EXPECT_EQ(out.str(), "instance=AI.3,signal=Input,channel=0,unit=,type=unsigned,startbit=7,bits=64,scale=1,offset=0,"
                         "endian=BIG");
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::dec);
}

TEST_F(InputSignalExtTest, definitionIsCopied) {
    inputSignalDef_t original = definition("AI.3");
    original.unit = "V";
    InputProbe const signal(original, false);
    EXPECT_EQ(printed(signal.d_definition), printed(original));
}

TEST_F(InputSignalExtTest, printsSharedFormDefinitionAndKey) {
    InputProbe const signal(definition("RC.F10"), false);
    std::ostringstream out;
    out << std::showbase << std::uppercase << signal;
    EXPECT_EQ(out.str(), printed(static_cast<ShmSignal const&>(signal)) + ";" + printed(signal.d_definition) +
                             ";index=100000000000000a");
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::hex);
    EXPECT_EQ(printed(static_cast<BaseSignal const&>(signal)), printed(static_cast<ShmSignal const&>(signal)))
        << "the virtual form has no definition";
}

TEST_F(InputSignalExtTest, signalThatWaitsPrintsItsEmptyDefinitionAllTheSame) {
    SharedInput const input("AI.3");
    Capture const errors(std::cerr);
    InputSignalExt const reader("AI.3");
    std::ostringstream out;
    out << std::showbase << std::uppercase << reader;
    EXPECT_EQ(out.str(), std::string("ShmSignal not valid\n;") + openedDefinition + ";index=400000000000003");
}

TEST_F(InputSignalExtTest, unknownInputPrintsIndexZero) {
    Capture const errors(std::cerr);
    InputSignalExt const signal(definition("DI.5"), false);
    EXPECT_TRUE(endsWith(printed(signal), ",endian=BIG;index=0"));
}

TEST_F(InputSignalExtTest, nothingIsShownOtherwise) {
    Capture const output(std::cout), errors(std::cerr);
    {
        InputSignalExt signal(definition("DI.1"), false);
        InputSignalExt::decodeMessage(gpioMessage(1, 1, 1));
        expectReading(signal, 1, 1000);
        EXPECT_TRUE(inUse(inputRecord(0x13, 1)));
    }
    EXPECT_EQ(output.text() + errors.text(), "");
}

} // namespace
