// Values, filing, pre-filtering and feeding of inputs in the process.
#include "qzsignal/input/InputSignal.h"

#include "tests/support/Capture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/Observe.h"
#include "tests/support/PreFilters.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <type_traits>

namespace {

static_assert(std::is_base_of<BaseSignal, InputSignal>::value, "");
static_assert(!std::is_convertible<char const*, InputSignal>::value, "the constructor is explicit");

class InputProbe : public InputSignal {
public:
    using InputSignal::InputSignal;
    using InputSignal::messageId;
    using InputSignal::modified;
    using InputSignal::signal;
    using InputSignal::timestamp;
    using InputSignal::used;
    using InputSignal::value;
};

static_assert(sizeof(InputProbe::used) == 1 && sizeof(InputProbe::modified) == 1, "flags take a byte each");
static_assert(sizeof(InputProbe::value) == 8 && sizeof(InputProbe::timestamp) == 8, "");

bool inUse(InputRecord const& bytes) {
    return InputSignal::signalsInUse(bytes.data(), bytes.data() + bytes.size());
}

// Value, time and whether there are any, as `read` leaves them.
struct Reading {
    bool there;
    unsigned long long value, timestamp;
};

Reading readingOf(BaseSignal& signal) {
    Reading reading{false, 0xdead, 0xbeef};
    reading.there = signal.read(reading.value, reading.timestamp);
    return reading;
}

void expectReading(BaseSignal& signal, unsigned long long value, unsigned long long timestamp) {
    Reading const reading = readingOf(signal);
    EXPECT_TRUE(reading.there);
    EXPECT_EQ(reading.value, value);
    EXPECT_EQ(reading.timestamp, timestamp);
}

void expectNothing(BaseSignal& signal) {
    Reading const reading = readingOf(signal);
    EXPECT_FALSE(reading.there);
    EXPECT_EQ(reading.value, 0xdeadU) << "left alone";
    EXPECT_EQ(reading.timestamp, 0xbeefU) << "left alone";
    double phys = 1.5;
    unsigned long long timestamp = 7;
    EXPECT_FALSE(signal.read(phys, timestamp));
    EXPECT_EQ(phys, 1.5);
    EXPECT_EQ(timestamp, 7U);
}

class InputSignalTest : public testing::Test {
protected:
    void TearDown() override {
        BaseSignal::debug = 0;
        MessageBase::version = d_version;
        EXPECT_TRUE(InputSignal::inputContainer.empty());
        EXPECT_TRUE(BaseSignal::instances.empty());
    }

private:
    unsigned char const d_version = MessageBase::version;
};

TEST_F(InputSignalTest, newSignalHoldsNothing) {
    InputProbe signal("DI.0");
    EXPECT_FALSE(signal.used);
    EXPECT_FALSE(signal.modified);
    EXPECT_FALSE(signal.isModified());
    EXPECT_EQ(signal.value, 0U);
    EXPECT_EQ(signal.timestamp, 0U);
    EXPECT_EQ(signal.signal, "DI.0") << "the second name is the first one";
    EXPECT_EQ(BaseSignal::getInstance("DI.0"), &signal);
    expectNothing(signal);
}

TEST_F(InputSignalTest, allInputsHaveTheSameDescription) {
    for (char const* const name : {"DI.0", "AI.0", "RC.F1", "unknown"}) {
        InputSignal const signal(name);
        EXPECT_STREQ(signal.getUnit(), "");
        EXPECT_EQ(signal.getScaleFactor(), 1.0);
        EXPECT_EQ(signal.getOffset(), 0.0);
        EXPECT_EQ(signal.getBits(), 1);
        EXPECT_EQ(signal.getType(), signalUnsigned);
    }
}

TEST_F(InputSignalTest, digitalInputTakesItsLevel) {
    InputSignal signal("DI.3");
    EXPECT_EQ(InputSignal::decodeMessage(gpioMessage(3, 1, 0x0005)), 0x0800000000030001U);
    expectReading(signal, 1, 1000);
    EXPECT_TRUE(signal.isModified());
    EXPECT_EQ(InputSignal::decodeMessage(gpioMessage(3, 1, 0x0004, 2000)), 0x0800000000030001U);
    expectReading(signal, 0, 2000);
    EXPECT_TRUE(signal.isModified());
    InputSignal::decodeMessage(gpioMessage(3, 1, 0xfffe, 3000));
    expectReading(signal, 0, 2000);
    EXPECT_FALSE(signal.isModified());
}

TEST_F(InputSignalTest, digitalMessageOfAnotherMaskFeedsNothing) {
    InputSignal signal("DI.3");
    EXPECT_EQ(InputSignal::decodeMessage(gpioMessage(3, 3, 1)), 0U);
    EXPECT_EQ(InputSignal::decodeMessage(gpioMessage(3, 0, 1)), 0U);
    EXPECT_EQ(InputSignal::decodeMessage(gpioMessage(3, 0x8001, 1)), 0U);
    EXPECT_EQ(InputSignal::decodeMessage(gpioMessage(2, 1, 1)), 0U);
    expectNothing(signal);
}

TEST_F(InputSignalTest, onlyTheFirstEntryOfADigitalMessageCounts) {
    InputSignal first("DI.1"), second("DI.2");
    GpioTraceMessage message = gpioMessage(1, 1, 1);
    message.entries.push_back(gpioEntry(2, 1, 1));
    EXPECT_EQ(InputSignal::decodeMessage(message), 0x0800000000010001U);
    expectReading(first, 1, 1000);
    expectNothing(second);
}

TEST_F(InputSignalTest, emptyDigitalMessageFeedsNothing) {
    InputSignal signal("DI.0");
    EXPECT_EQ(InputSignal::decodeMessage(GpioTraceMessage()), 0U) << "input 0 with mask 0";
    expectNothing(signal);
}

TEST_F(InputSignalTest, emptyAnalogMessageIsAReadingOfZeroOnChannelZero) {
    InputSignal first("AI.0"), second("AI.1");
    InputSignal::decodeMessage(analogMessage(0, 7));
    AnalogTraceMessage message;
    message.timestamp = 2000;
    EXPECT_EQ(InputSignal::decodeMessage(message), 0x0400000000000000U);
    expectReading(first, 0, 2000);
    expectNothing(second);
}

TEST_F(InputSignalTest, onlyTheFirstEntryOfAnAnalogMessageCounts) {
    InputSignal first("AI.1"), second("AI.2");
    AnalogTraceMessage message = analogMessage(1, 10);
    message.entries.push_back(analogEntry(2, 20));
    EXPECT_EQ(InputSignal::decodeMessage(message), 0x0400000000000001U);
    expectReading(first, 10, 1000);
    expectNothing(second);
}

TEST_F(InputSignalTest, negativeReadingIsAHugeNumber) {
    InputSignal signal("AI.4");
    EXPECT_EQ(InputSignal::decodeMessage(analogMessage(4, -5)), 0x0400000000000004U);
    expectReading(signal, 0xfffffffffffffffb, 1000);
    double phys = 0;
    unsigned long long timestamp = 0;
    EXPECT_TRUE(signal.read(phys, timestamp));
    EXPECT_EQ(phys, 18446744073709551611.0);
    EXPECT_EQ(timestamp, 1000U);
}

TEST_F(InputSignalTest, doubleIsTheNearestToTheRawValue) {
    struct {
        unsigned long long raw;
        double phys;
    } const cases[] = {
        {1, 1.0},
        {0x8000000000000000, 9223372036854775808.0},
        {0x20000000000001, 9007199254740992.0}, // 2^53 + 1, a tie, goes to the even one
        {0x20000000000003, 9007199254740996.0},
        {0xffffffffffffffff, 18446744073709551616.0},
        {0, 0.0},
    };
    InputSignal signal("AI.0");
    for (auto const& each : cases) {
        double phys = -1;
        unsigned long long timestamp = 0;
        signal.write(each.raw, 5);
        EXPECT_TRUE(signal.read(phys, timestamp));
        EXPECT_EQ(phys, each.phys) << each.raw;
    }
}

TEST_F(InputSignalTest, keyMessageStoresItsState) {
    InputSignal trigger("RC.TRG"), other("RC.F1");
    EXPECT_EQ(InputSignal::decodeMessage(keyMessage(16, 2, 0x123456789abcdef0)), 0x1000000000000010U);
    expectReading(trigger, 2, 0x123456789abcdef0);
    expectNothing(other);
    EXPECT_EQ(InputSignal::decodeMessage(keyMessage(16, -1)), 0x1000000000000010U);
    expectReading(trigger, 0xffffffffffffffff, 1000);
}

TEST_F(InputSignalTest, keyCodesOfNoSignalFeedNothing) {
    InputSignal first("RC.F1"), trigger("RC.TRG");
    for (std::int32_t const code : {-1, 0, 2, 11, 17, INT32_MIN, INT32_MAX, 0x10001})
        EXPECT_EQ(InputSignal::decodeMessage(keyMessage(code, 1)), 0U) << code;
    expectNothing(first);
    expectNothing(trigger);
}

TEST_F(InputSignalTest, negativeKeyCodeBorrowsFromTheTag) {
    Capture const output(std::cout), errors(std::cerr);
    InputProbe signal("RC.F1");
    InputSignal::inputContainer[0x0fffffffffffffff].push_back(&signal);
    EXPECT_EQ(InputSignal::decodeMessage(keyMessage(-1, 1)), 0x0fffffffffffffffU);
    expectReading(signal, 1, 1000);
    InputSignal::inputContainer.erase(0x0fffffffffffffff);
}

TEST_F(InputSignalTest, signalsOfOneNameAreFedInOrderOfConstruction) {
    static std::vector<InputSignal const*> fed;
    fed.clear();
    class Derived : public InputSignal {
    public:
        using InputSignal::InputSignal;
        bool write(unsigned long long raw, unsigned long long time) override {
            fed.push_back(this);
            return InputSignal::write(raw, time) && false; // ignored by the caller
        }
    };
    Capture const errors(std::cerr);
    Derived second("RC.F1"), first("RC.F1"), third("RC.F1");
    EXPECT_EQ(errors.text(), "[WARNING] BaseSignal: signal RC.F1 already exists\n"
                             "[WARNING] BaseSignal: signal RC.F1 already exists\n");
    EXPECT_EQ(InputSignal::inputContainer.at(0x1000000000000001), (std::vector<InputSignal*>{&second, &first, &third}));
    EXPECT_EQ(InputSignal::decodeMessage(keyMessage(1, 1)), 0x1000000000000001U);
    EXPECT_EQ(fed, (std::vector<InputSignal const*>{&second, &first, &third}));
    for (InputSignal* const signal : {&first, &second, &third})
        expectReading(*signal, 1, 1000);
}

TEST_F(InputSignalTest, unchangedValueKeepsItsTimestamp) {
    InputSignal signal("AI.0");
    EXPECT_TRUE(signal.write(5, 100));
    EXPECT_TRUE(signal.isModified());
    EXPECT_TRUE(signal.write(5, 200));
    EXPECT_FALSE(signal.isModified());
    expectReading(signal, 5, 100);
    EXPECT_TRUE(signal.write(6, 50));
    EXPECT_TRUE(signal.isModified());
    expectReading(signal, 6, 50);
}

TEST_F(InputSignalTest, firstValueOfZeroLeavesTheSignalWithoutAValue) {
    InputProbe signal("DI.0");
    EXPECT_TRUE(signal.write(0, 100));
    EXPECT_FALSE(signal.used);
    EXPECT_FALSE(signal.isModified());
    EXPECT_EQ(signal.timestamp, 0U);
    expectNothing(signal);
    EXPECT_EQ(InputSignal::decodeMessage(gpioMessage(0, 1, 0)), 0x0800000000000001U);
    expectNothing(signal);
    signal.write(1, 200);
    expectReading(signal, 1, 200);
    signal.write(0, 300);
    expectReading(signal, 0, 300);
}

TEST_F(InputSignalTest, clearedSignalIsLikeANewOne) {
    InputProbe signal("AI.0");
    signal.write(5, 100);
    signal.clear();
    EXPECT_FALSE(signal.isModified());
    EXPECT_EQ(signal.value, 0U);
    EXPECT_EQ(signal.timestamp, 0U);
    expectNothing(signal);
    signal.write(0, 200);
    expectNothing(signal);
    signal.write(5, 300);
    EXPECT_TRUE(signal.isModified());
    expectReading(signal, 5, 300);
}

TEST_F(InputSignalTest, servicesOfTheRegistryKnowInputs) {
    InputSignal first("DI.1"), second("AI.1"), unwritten("RC.F1");
    InputSignal::decodeMessage(gpioMessage(1, 1, 1, 100));
    InputSignal::decodeMessage(analogMessage(1, 1, 200));
    std::vector<unsigned long long> silent;
    BaseSignal::checkTimeout(200, silent);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{0x0800000000010001}));
    BaseSignal::clear({0x0800000000010001});
    BaseSignal::checkTimeout(201, silent);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{0x0400000000000001}));
}

TEST_F(InputSignalTest, unknownNameIsSilentlyNeverFed) {
    Capture const errors(std::cerr);
    {
        InputProbe signal("AI.10");
        EXPECT_EQ(signal.messageId, 0U);
        EXPECT_TRUE(InputSignal::inputContainer.empty());
        EXPECT_EQ(InputSignal::decodeMessage(analogMessage(10, 1)), 0U);
        expectNothing(signal);
        EXPECT_EQ(BaseSignal::getInstance("AI.10"), &signal);
        signal.write(1, 2);
        expectReading(signal, 1, 2); // it works otherwise
    }
    EXPECT_EQ(errors.text(), "");
}

TEST_F(InputSignalTest, emptyNameIsFiledUnderKeyZero) {
    Capture const errors(std::cerr);
    {
        InputProbe signal("");
        EXPECT_EQ(signal.messageId, 0U);
        ASSERT_EQ(InputSignal::inputContainer.size(), 1U);
        EXPECT_EQ(InputSignal::inputContainer.at(0), (std::vector<InputSignal*>{&signal}));
        InputSignal::decodeMessage(KeyboardMessage());
        InputSignal::decodeMessage(GpioTraceMessage());
        InputSignal::decodeMessage(AnalogTraceMessage());
        EXPECT_FALSE(signal.used);
    }
    InputProbe const null(nullptr);
    EXPECT_EQ(InputSignal::inputContainer.count(0), 1U);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(InputSignalTest, unknownNameIsSimplyDestroyedBesideSignalsOfTheEmptyName) {
    Capture const errors(std::cerr);
    InputSignal const empty("");
    { InputSignal const unknown("AI.10"); }
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(InputSignal::inputContainer.at(0).size(), 1U);
    {
        InputSignal unknown("AI.10");
        InputSignal::inputContainer[0].push_back(&unknown); // filed by the program
    }
    EXPECT_EQ(InputSignal::inputContainer.at(0).size(), 1U) << "no pointer to a destroyed signal stays";
}

TEST_F(InputSignalTest, signalOfTheEmptyNameMissingFromItsEntryIsReported) {
    Capture const errors(std::cerr);
    InputSignal const other("DI.0");
    {
        InputSignal const empty("");
        InputSignal::inputContainer.at(0) = {const_cast<InputSignal*>(&other)};
    }
    EXPECT_EQ(errors.text(), "[ERROR] InputSignal::~InputSignal(): instance not found in vector\n");
    InputSignal::inputContainer.erase(0);
}

TEST_F(InputSignalTest, lastSignalOfAnInputTakesTheEntryAlong) {
    Capture const errors(std::cerr);
    auto first = std::make_unique<InputSignal>("RC.F2");
    auto second = std::make_unique<InputSignal>("RC.F2");
    first.reset();
    EXPECT_EQ(InputSignal::inputContainer.at(0x1000000000000002), (std::vector<InputSignal*>{second.get()}));
    second.reset();
    EXPECT_EQ(InputSignal::inputContainer.count(0x1000000000000002), 0U);
    EXPECT_EQ(InputSignal::decodeMessage(keyMessage(2, 1)), 0U);
}

TEST_F(InputSignalTest, signalMissingFromItsEntryIsReportedAtItsEnd) {
    Capture const errors(std::cerr);
    InputSignal other("DI.1");
    {
        InputSignal const signal("DI.0");
        InputSignal::inputContainer.at(0x0800000000000001) = {&other};
    }
    EXPECT_EQ(errors.text(), "[ERROR] InputSignal::~InputSignal(): instance not found in vector\n");
    EXPECT_EQ(BaseSignal::getInstance("DI.0"), nullptr) << "destruction went on";
    EXPECT_EQ(InputSignal::inputContainer.at(0x0800000000000001), (std::vector<InputSignal*>{&other}));
    InputSignal::inputContainer.erase(0x0800000000000001);
}

TEST_F(InputSignalTest, signalWithoutItsEntryIsSimplyDestroyed) {
    Capture const errors(std::cerr);
    {
        InputSignal const signal("DI.0");
        InputSignal::inputContainer.clear();
    }
    EXPECT_EQ(errors.text(), "");
}

TEST_F(InputSignalTest, preFilterIdentifiesDigitalRecordsByInputAndMask) {
    InputSignal const signal("DI.3");
    EXPECT_TRUE(inUse(inputRecord(0x13, 3)));
    EXPECT_FALSE(inUse(inputRecord(0x13, 2)));
    EXPECT_FALSE(inUse(inputRecord(0x13, 3, 3)));
    EXPECT_FALSE(inUse(inputRecord(0x13, 3, 0)));
    EXPECT_FALSE(inUse(inputRecord(0x12, 3)));
    EXPECT_FALSE(inUse(inputRecord(0x8031, 3)));
}

TEST_F(InputSignalTest, preFilterIdentifiesAnalogRecordsByChannel) {
    InputSignal const signal("AI.9");
    EXPECT_TRUE(inUse(inputRecord(0x12, 9)));
    EXPECT_TRUE(inUse(inputRecord(0x12, 9, 77))) << "no mask here";
    EXPECT_FALSE(inUse(inputRecord(0x12, 8)));
    EXPECT_FALSE(inUse(inputRecord(0x13, 9)));
}

TEST_F(InputSignalTest, preFilterRejectsRecordsWithoutTheMark) {
    InputSignal const digital("DI.3"), analog("AI.3");
    for (std::uint8_t const mark : std::initializer_list<std::uint8_t>{0, 2, 0x81, 0xff}) {
        EXPECT_FALSE(inUse(inputRecord(0x13, 3, 1, mark)));
        EXPECT_FALSE(inUse(inputRecord(0x12, 3, 1, mark)));
    }
}

TEST_F(InputSignalTest, preFilterTakesEveryKeyForF7) {
    auto other = std::make_unique<InputSignal>("RC.F1");
    EXPECT_FALSE(inUse(inputRecord(0x8031, 1)));
    InputSignal const seventh("RC.F7");
    other.reset();
    EXPECT_TRUE(inUse(inputRecord(0x8031, 7)));
    EXPECT_TRUE(inUse(inputRecord(0x8031, 1))) << "whatever key it is";
    EXPECT_TRUE(inUse(inputRecord(0x8031, 1, 1, 0))) << "needs no mark";
}

TEST_F(InputSignalTest, preFilterRejectsOtherRecords) {
    InputSignal const digital("DI.0"), analog("AI.0"), key("RC.F7");
    for (unsigned const type : {0x00, 0x11, 0x14, 0x31, 0x1213, 0x0112, 0x1200, 0x1300, 0x8013, 0x8030, 0x8032, 0x0031})
        EXPECT_FALSE(inUse(inputRecord(static_cast<std::uint16_t>(type), 0))) << type;
}

TEST_F(InputSignalTest, preFilterReadsOneByteTypesOfOtherVersions) {
    InputSignal const digital("DI.3"), analog("AI.4"), key("RC.F7");
    for (unsigned char const version : std::initializer_list<unsigned char>{0, 2, 255}) {
        MessageBase::version = version;
        EXPECT_TRUE(inUse(shortTypeRecord(0x13, 3)));
        EXPECT_TRUE(inUse(shortTypeRecord(0x12, 4)));
        EXPECT_FALSE(inUse(shortTypeRecord(0x12, 3)));
        EXPECT_FALSE(inUse(inputRecord(0x13, 3))) << "a two-byte type";
    }
    MessageBase::version = 1;
    EXPECT_FALSE(inUse(shortTypeRecord(0x13, 3)));
    EXPECT_FALSE(inUse(shortTypeRecord(0x12, 4)));
}

TEST_F(InputSignalTest, noRecordOfAOneByteTypeIsOneOfTheKeyboard) {
    InputSignal const key("RC.F7");
    MessageBase::version = 0;
    for (unsigned type = 0; type < 256; ++type) {
        InputRecord bytes = inputRecord(0x8031, 7);
        bytes[0] = static_cast<unsigned char>(type);
        EXPECT_FALSE(inUse(bytes)) << type;
    }
}

TEST_F(InputSignalTest, preFilterDoesNotUseItsSecondPointer) {
    InputSignal const digital("DI.3"), analog("AI.3"), key("RC.F7");
    expectSecondPointerUnused(InputSignal::signalsInUse, inputRecord(0x13, 3), inputRecord(0x13, 3, 2));
    expectSecondPointerUnused(InputSignal::signalsInUse, inputRecord(0x12, 3), inputRecord(0x12, 2));
    expectSecondPointerUnused(InputSignal::signalsInUse, inputRecord(0x8031, 0), inputRecord(0x8030, 0));
}

TEST_F(InputSignalTest, preFilterOfNoSignalsDoesNotLookAtTheRecord) {
    EXPECT_FALSE(inUse(inputRecord(0x13, 3)));
    EXPECT_FALSE(InputSignal::signalsInUse(nullptr, nullptr));
    InputSignal const unknown("AI.10");
    EXPECT_FALSE(InputSignal::signalsInUse(nullptr, nullptr)) << "nor for one that is not filed";
}

TEST_F(InputSignalTest, preFilterIsSilent) {
    InputSignal const signal("DI.3");
    Capture const output(std::cout);
    BaseSignal::debug = 2;
    EXPECT_TRUE(inUse(inputRecord(0x13, 3)));
    EXPECT_FALSE(inUse(inputRecord(0x13, 4)));
    BaseSignal::debug = 0;
    EXPECT_EQ(output.text(), "");
}

TEST_F(InputSignalTest, printsToStandardOutputWhateverStreamIsGiven) {
    InputSignal signal("AI.0");
    Capture output(std::cout);
    std::ostringstream other;
    other << static_cast<BaseSignal const&>(signal);
    EXPECT_EQ(output.take(), "InputSignal not used\n");
    signal.write(255, 4096);
    signal.print(other);
    EXPECT_EQ(output.take(), "AI.0, value=255, timestamp=4096") << "no end of line";
    EXPECT_EQ(other.str(), "");
}

TEST_F(InputSignalTest, printsInDecimalAndLeavesItSo) {
    InputSignal signal("AI.0");
    signal.write(0xffffffffffffffff, 0x8000000000000000);
    Capture const output(std::cout);
    std::cout << std::hex;
    signal.print(std::cerr);
    EXPECT_EQ(output.text(), "AI.0, value=18446744073709551615, timestamp=9223372036854775808");
    EXPECT_EQ(std::cout.flags() & std::ios::basefield, std::ios::dec);
}

TEST_F(InputSignalTest, creationIsShownWhenDebugging) {
    Capture output(std::cout);
    BaseSignal::debug = 1;
    {
        InputSignal const known("DI.0");
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: DI.0 created\n[DEBUG] InputSignal DI.0 created\n");
        InputSignal const unknown("DI.9");
        EXPECT_EQ(output.take(), "[DEBUG] BaseSignal: DI.9 created\n[DEBUG] InputSignal DI.9 created\n");
    }
    EXPECT_EQ(output.take(), "[DEBUG] ~BaseSignal: DI.9 deleted\n[DEBUG] ~BaseSignal: DI.0 deleted\n");
}

TEST_F(InputSignalTest, accessesAreShownWhenDebugging) {
    InputSignal signal("AI.0");
    Capture output(std::cout);
    BaseSignal::debug = 1;
    std::cout << std::hex;
    double phys = 0;
    unsigned long long value = 0, timestamp = 0;

    EXPECT_FALSE(signal.read(value, timestamp));
    EXPECT_FALSE(signal.read(phys, timestamp));
    EXPECT_EQ(output.take(), "") << "nothing was read";
    signal.write(0, 10);
    EXPECT_EQ(output.take(), "[DEBUG] InputSignal::write (no change) \nInputSignal not used\n\n");
    signal.write(17, 18);
    EXPECT_EQ(output.take(), "[DEBUG] InputSignal::write \nAI.0, value=17, timestamp=18\n");
    signal.write(17, 19);
    EXPECT_EQ(output.take(), "[DEBUG] InputSignal::write (no change) \nAI.0, value=17, timestamp=18\n");
    signal.read(value, timestamp);
    EXPECT_EQ(output.take(), "[DEBUG] InputSignal::read \nAI.0, value=17, timestamp=18\n");
    signal.read(phys, timestamp);
    EXPECT_EQ(output.take(), "[DEBUG] InputSignal::read \nAI.0, value=17, timestamp=18\n");
    signal.clear();
    EXPECT_EQ(output.take(), "");
}

TEST_F(InputSignalTest, deliveryIsShownWhenDebugging) {
    Capture const errors(std::cerr);
    InputSignal const first("DI.1"), second("DI.1"), analog("AI.1"), key("RC.F1");
    Capture output(std::cout);
    auto const announced = [](InputSignal const& signal, std::string const& name) {
        return "[DEBUG] InputSignal::decodeMessage: addr = " + address(&signal) + "\n[DEBUG] Signal = " + name +
               "\n[DEBUG] InputSignal::write \n" + name + ", value=1, timestamp=1000\n";
    };
    BaseSignal::debug = 1;
    InputSignal::decodeMessage(gpioMessage(1, 1, 1));
    EXPECT_EQ(output.take(), announced(first, "DI.1") + announced(second, "DI.1"));
    InputSignal::decodeMessage(analogMessage(1, 1));
    EXPECT_EQ(output.take(), announced(analog, "AI.1"));
    InputSignal::decodeMessage(keyMessage(1, 1));
    EXPECT_EQ(output.take(), announced(key, "RC.F1"));
    BaseSignal::debug = 2;
    InputSignal::decodeMessage(keyMessage(2, 1));
    EXPECT_EQ(output.take(), "") << "nothing for inputs without signals";
    BaseSignal::debug = 0;
}

TEST_F(InputSignalTest, nothingIsShownOtherwise) {
    Capture const output(std::cout), errors(std::cerr);
    {
        InputSignal signal("DI.1");
        InputSignal::decodeMessage(gpioMessage(1, 1, 1));
        expectReading(signal, 1, 1000);
    }
    EXPECT_EQ(output.text() + errors.text(), "");
}

} // namespace
