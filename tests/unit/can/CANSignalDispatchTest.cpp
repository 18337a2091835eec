// The table of self-contained CAN signals, and the feeding of frames through it.
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

canSignal_t of(std::string const& name, unsigned bus, unsigned id) {
    canSignal_t definition = canDefinition(name);
    definition.bus = static_cast<std::uint16_t>(bus);
    definition.id = static_cast<std::uint16_t>(id);
    return definition;
}

class CANSignalDispatchTest : public testing::Test {
protected:
    void TearDown() override {
        BaseSignal::debug = 0;
        EXPECT_TRUE(tableIsEmpty());
    }
};

TEST_F(CANSignalDispatchTest, tableHasAVectorForEachBusAndIdentifier) {
    EXPECT_EQ(CANSignal::canMessageVector.size(), 32768U);
}

TEST_F(CANSignalDispatchTest, signalIsFiledUnderTheLowBitsOfBusAndIdentifier) {
    struct {
        unsigned bus, id;
        std::size_t index;
    } const cases[] = {
        {0, 0, 0},          {0, 0x7ff, 0x7ff},    {1, 0, 0x800},           {15, 0x7ff, 0x7fff},      {17, 5, 0x805},
        {16, 0x801, 0x001}, {255, 0, 15 * 0x800}, {0x0102, 0x123, 0x1123}, {0xffff, 0xffff, 0x7fff},
    };
    for (auto const& each : cases) {
        CANSignal signal(of("a", each.bus, each.id), false);
        EXPECT_EQ(CANSignal::canMessageVector.at(each.index), (std::vector<CANSignal*>{&signal})) << each.index;
    }
}

TEST_F(CANSignalDispatchTest, signalsOfAFrameStandInOrderOfConstruction) {
    CANSignal second(of("b", 1, 5), false), first(of("a", 17, 0x805), false), third(of("c", 1, 5), false);
    EXPECT_EQ(tableEntry(1, 5), (std::vector<CANSignal*>{&second, &first, &third}));
}

TEST_F(CANSignalDispatchTest, frameWritesAllItsSignalsAndNoOther) {
    canSignal_t byteTwo = of("b", 1, 5);
    byteTwo.startbit = 16;
    byteTwo.bits = 8;
    CANSignalProbe first(of("a", 1, 5), false), second(byteTwo, false), otherId(of("c", 1, 6), false),
        otherBus(of("d", 2, 5), false);
    CANSignal::decodeMessage(1, 5, 0x1234560000000000, 1000);
    EXPECT_EQ(first.record().value, 0x1234000000000000U);
    EXPECT_EQ(second.record().value, 0x0000560000000000U);
    EXPECT_EQ(first.readRaw().d_raw, 0x3412U);
    EXPECT_EQ(second.readRaw().d_raw, 0x56U);
    EXPECT_EQ(second.readRaw().d_timestamp, 1000U);
    EXPECT_FALSE(otherId.readRaw().d_there);
    EXPECT_FALSE(otherBus.readRaw().d_there);
}

// Deliberate: higher bits are dropped silently.
TEST_F(CANSignalDispatchTest, busesAndIdentifiersShareEntries) {
    CANSignalProbe signal(of("a", 17, 0x800), false);
    CANSignal::decodeMessage(1, 0, 0x0100000000000000, 1);
    EXPECT_EQ(signal.readRaw().d_raw, 1U);
    CANSignal::decodeMessage(17, 0x800, 0x0200000000000000, 2);
    EXPECT_EQ(signal.readRaw().d_raw, 2U);
    CANSignal::decodeMessage(0xf1, 0xf800, 0x0300000000000000, 3);
    EXPECT_EQ(signal.readRaw().d_raw, 3U);
    EXPECT_EQ(signal.record().bus, 17) << "the record keeps what the table drops";
    EXPECT_EQ(signal.record().id, 0x800);
}

TEST_F(CANSignalDispatchTest, frameWithoutSignalsIsNothing) {
    Capture const output(std::cout);
    BaseSignal::debug = 2;
    CANSignal::decodeMessage(255, 0xffff, ~0ULL, 1);
    EXPECT_EQ(output.text(), "");
}

TEST_F(CANSignalDispatchTest, signalOfADerivedClassIsFedThroughItsWrite) {
    class Derived : public CANSignal {
    public:
        using CANSignal::CANSignal;
        bool write(unsigned long long payload, unsigned long long timestamp) override {
            d_payload = payload;
            d_time = timestamp;
            return false; // not looked at
        }
        unsigned long long d_payload = 0, d_time = 0;
    };
    Derived first(of("a", 1, 5), false), second(of("b", 1, 5), false);
    CANSignal::decodeMessage(1, 5, 0x123456789abcdef0, 77);
    for (Derived const* const signal : {&first, &second}) {
        EXPECT_EQ(signal->d_payload, 0x123456789abcdef0U) << "the whole payload";
        EXPECT_EQ(signal->d_time, 77U);
    }
}

TEST_F(CANSignalDispatchTest, destroyedSignalLeavesTheOthersInOrder) {
    auto first = std::make_unique<CANSignal>(of("a", 1, 5), false);
    auto second = std::make_unique<CANSignal>(of("b", 1, 5), false);
    auto third = std::make_unique<CANSignal>(of("c", 1, 5), false);
    second.reset();
    EXPECT_EQ(tableEntry(1, 5), (std::vector<CANSignal*>{first.get(), third.get()}));
    first.reset();
    third.reset();
    EXPECT_TRUE(tableEntry(1, 5).empty());
}

TEST_F(CANSignalDispatchTest, signalLeavesTheEntryThatTheRecordNamesByNow) {
    SharedName const name;
    Capture const errors(std::cerr); // both live in this process, so the name is taken
    auto first = std::make_unique<CANSignalProbe>(of(name.name(), 1, 5), true);
    auto second = std::make_unique<CANSignalProbe>(of(name.name(), 2, 6), true);
    ASSERT_EQ(first->record().bus, 2);
    ASSERT_EQ(first->record().id, 6);
    EXPECT_EQ(tableEntry(2, 6), (std::vector<CANSignal*>{second.get()}));
    tableEntry(2, 6).push_back(first.get());
    first->d_owner = false;
    first.reset();
    EXPECT_EQ(tableEntry(1, 5).size(), 1U);
    EXPECT_EQ(tableEntry(2, 6), (std::vector<CANSignal*>{second.get()}));
    tableEntry(1, 5).clear();
    second.reset();
}

TEST_F(CANSignalDispatchTest, signalThatIsNotInItsEntryAnyMoreIsDestroyedSilently) {
    Capture const errors(std::cerr);
    {
        CANSignal const signal(of("a", 1, 5), false);
        tableEntry(1, 5).clear();
    }
    EXPECT_EQ(errors.text(), "");
}

TEST_F(CANSignalDispatchTest, signalOpenedByNameIsNotFiled) {
    SharedName const name;
    Capture const errors(std::cerr);
    CANSignalProbe definer(of(name.name(), 1, 5), true);
    {
        CANSignalProbe reader(name.c_str());
        ASSERT_TRUE(reader.attached());
        EXPECT_EQ(tableEntry(1, 5), (std::vector<CANSignal*>{&definer}));
        CANSignal::decodeMessage(1, 5, 0x0700000000000000, 1);
        EXPECT_EQ(reader.readRaw().d_raw, 7U) << "it reads what the definer was fed";
        EXPECT_EQ(reader.messageId, 0U);
    }
    EXPECT_EQ(tableEntry(1, 5), (std::vector<CANSignal*>{&definer}));
    EXPECT_EQ(definer.messageId, 0U);
}

TEST_F(CANSignalDispatchTest, signalWithoutSegmentIsFedAllTheSame) {
    Capture const errors(std::cerr);
    CANSignalProbe signal(of("no-such-folder/name", 1, 5), true);
    CANSignal::decodeMessage(1, 5, 0x0700000000000000, 1);
    EXPECT_EQ(signal.readRaw().d_raw, 7U);
}

TEST_F(CANSignalDispatchTest, deliveryIsShownWhenDebugging) {
    Capture output(std::cout);
    CANSignalProbe first(of("a", 1, 5), false), second(of("b", 1, 5), false);
    std::ostringstream addresses[2];
    addresses[0] << static_cast<void const*>(static_cast<CANSignal const*>(&first));
    addresses[1] << static_cast<void const*>(static_cast<CANSignal const*>(&second));
    BaseSignal::debug = 1;
    CANSignal::decodeMessage(1, 5, 0x0700000000000000, 1);
    BaseSignal::debug = 0;
    EXPECT_EQ(output.take(), "[DEBUG] CANSignal::decodeMessage: addr = " + addresses[0].str() +
                                 "\n[DEBUG] Signal = a\n[DEBUG] CANSignal::write " + canDescription(first) +
                                 "\n[DEBUG] CANSignal::decodeMessage: addr = " + addresses[1].str() +
                                 "\n[DEBUG] Signal = b\n[DEBUG] CANSignal::write " + canDescription(second) + "\n");
}

TEST_F(CANSignalDispatchTest, writtenSignalsTimeOutWithKeyZero) {
    CANSignal written(of("a", 1, 5), false), unwritten(of("b", 1, 6), false);
    CANSignal::decodeMessage(1, 5, 0x0700000000000000, 100);
    std::vector<unsigned long long> silent = {1, 2};
    EXPECT_EQ(BaseSignal::checkTimeout(100, silent), 0);
    EXPECT_TRUE(silent.empty());
    BaseSignal::checkTimeout(101, silent);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{0})) << "it has no key of that kind";
}

} // namespace
