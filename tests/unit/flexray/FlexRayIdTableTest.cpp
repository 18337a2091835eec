// The table of FlexRay frame ids: how definitions fill it, and what messages and records find there.
#include "qzsignal/flexray/FlexRayIdTable.h"

#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>

namespace {

constexpr std::size_t cells = 524288;

class TableProbe : public FlexRaySignal {
public:
    TableProbe(std::uint8_t channel, std::uint16_t slot, std::uint8_t baseCycle, std::uint8_t repetition)
        : FlexRaySignal(flexRayDefinition("signal " + std::to_string(count++), channel, slot, baseCycle, repetition),
                        false) {}
    using FlexRaySignal::messageId;

private:
    static int count;
};

int TableProbe::count = 0;

unsigned long long idOf(std::uint8_t channel, std::uint8_t cycle, std::uint16_t slot) {
    return FlexRaySignal::getFlexRayId(flexRayFrame(channel, cycle, slot)) - 0x2000000000000000;
}

bool inUse(FlexRayRecord const& bytes) {
    return FlexRaySignal::signalsInUse(bytes.data(), bytes.data() + bytes.size());
}

using Cells = std::map<std::size_t, unsigned>;

// All cells of the table that are not 0.
Cells filledCells() {
    Cells filled;
    for (std::size_t cell = 0; cell < cells; ++cell)
        if (FlexRaySignal::frIdArray[cell] != 0)
            filled[cell] = FlexRaySignal::frIdArray[cell];
    return filled;
}

class FlexRayIdTableTest : public testing::Test {
protected:
    void TearDown() override {
        BaseSignal::debug = 0;
        EXPECT_TRUE(FlexRaySignal::frMessageContainer.empty());
        EXPECT_EQ(FlexRaySignal::frIdArray, nullptr);
        EXPECT_TRUE(BaseSignal::instances.empty());
    }
};

// How long the table lives.

TEST_F(FlexRayIdTableTest, firstSignalMakesTheTableAndTheLastReleasesIt) {
    EXPECT_EQ(FlexRaySignal::frIdArray, nullptr);
    auto first = std::make_unique<TableProbe>(0, 5, 0, 1);
    std::uint16_t const* const table = FlexRaySignal::frIdArray;
    ASSERT_NE(table, nullptr);
    auto const second = std::make_unique<TableProbe>(0, 6, 0, 1);
    EXPECT_EQ(FlexRaySignal::frIdArray, table);
    first.reset();
    EXPECT_EQ(FlexRaySignal::frIdArray, table) << "as long as a signal is filed";
}

TEST_F(FlexRayIdTableTest, freshTableIsEmptyInAllChannels) {
    for (int round = 0; round < 3; ++round) {
        TableProbe const signal(1, 100, 3, 64);
        EXPECT_EQ(filledCells(), (Cells{{137316, 1}}));
        // Memory that the next table may be given.
        std::fill_n(FlexRaySignal::frIdArray, cells, std::uint16_t{0xffff});
    }
}

TEST_F(FlexRayIdTableTest, signalOpenedByNameMakesNoTableAndKeepsTheOneThatIsThere) {
    SharedName const name;
    Capture const errors(std::cerr);
    auto reader = std::make_unique<FlexRaySignal>(name.c_str());
    EXPECT_EQ(FlexRaySignal::frIdArray, nullptr);
    TableProbe const signal(0, 5, 0, 1);
    reader.reset();
    EXPECT_NE(FlexRaySignal::frIdArray, nullptr);
    EXPECT_EQ(idOf(0, 0, 5), 1U);
}

TEST_F(FlexRayIdTableTest, idsStartAtOneAgainInAFreshTable) {
    {
        TableProbe const first(0, 5, 0, 1), second(0, 6, 0, 1);
        EXPECT_EQ(second.messageId, 0x2000000000000002U);
    }
    TableProbe const signal(0, 6, 0, 1);
    EXPECT_EQ(signal.messageId, 0x2000000000000001U);
    EXPECT_EQ(idOf(0, 0, 5), 0U);
}

// How definitions fill it.

TEST_F(FlexRayIdTableTest, newFramesGetIdsInOrderOfConstruction) {
    TableProbe const first(0, 9, 0, 1), second(0, 8, 0, 1), third(3, 7, 0, 1);
    EXPECT_EQ(first.messageId, 0x2000000000000001U);
    EXPECT_EQ(second.messageId, 0x2000000000000002U);
    EXPECT_EQ(third.messageId, 0x2000000000000003U);
}

TEST_F(FlexRayIdTableTest, frameTakesEveryRepetitionthCycleFromItsBaseCycle) {
    struct {
        unsigned baseCycle, repetition;
        std::vector<unsigned> cycles;
    } const cases[] = {
        {1, 16, {1, 17, 33, 49}},
        {0, 64, {0}},
        {0, 63, {0, 63}},
        {63, 1, {63}},
        {62, 1, {62, 63}},
        {2, 32, {2, 34}},
        {5, 255, {5}},
        {63, 255, {63}},
        {61, 2, {61, 63}},
        {60, 0, {60, 61, 62, 63}}, // a repetition of 0 means 1
    };
    for (auto const& each : cases) {
        TableProbe const signal(1, 100, static_cast<std::uint8_t>(each.baseCycle),
                                static_cast<std::uint8_t>(each.repetition));
        Cells expected;
        for (unsigned const cycle : each.cycles)
            expected[131072 + cycle * 2048 + 100] = 1;
        EXPECT_EQ(filledCells(), expected) << each.baseCycle << " " << each.repetition;
    }
}

TEST_F(FlexRayIdTableTest, everyCycleOfRepetitionZeroAndOne) {
    for (std::uint8_t const repetition : {std::uint8_t{0}, std::uint8_t{1}}) {
        TableProbe const signal(3, 2047, 0, repetition);
        Cells const filled = filledCells();
        EXPECT_EQ(filled.size(), 64U);
        EXPECT_EQ(filled.begin()->first, 3U * 131072 + 2047);
        EXPECT_EQ(filled.rbegin()->first, 524287U);
    }
}

TEST_F(FlexRayIdTableTest, frameWithAKnownFirstCycleJoinsAndEntersNothing) {
    TableProbe const first(1, 100, 4, 16);
    Cells const before = filledCells();
    TableProbe const same(1, 100, 4, 1), later(1, 100, 20, 2);
    EXPECT_EQ(same.messageId, first.messageId);
    EXPECT_EQ(later.messageId, first.messageId) << "found by any cycle of the frame";
    EXPECT_EQ(filledCells(), before);
    EXPECT_EQ(FlexRaySignal::frMessageContainer.size(), 1U);
}

TEST_F(FlexRayIdTableTest, framesDifferInChannelSlotAndFirstCycle) {
    TableProbe const first(0, 100, 4, 64), channel(1, 100, 4, 64), slot(0, 101, 4, 64), cycle(0, 100, 5, 64);
    EXPECT_EQ(channel.messageId, 0x2000000000000002U);
    EXPECT_EQ(slot.messageId, 0x2000000000000003U);
    EXPECT_EQ(cycle.messageId, 0x2000000000000004U);
}

TEST_F(FlexRayIdTableTest, laterFrameTakesOverTheCyclesItNames) {
    TableProbe const first(0, 5, 2, 4);
    EXPECT_EQ(idOf(0, 2, 5), 1U);
    TableProbe const second(0, 5, 0, 2);
    EXPECT_EQ(second.messageId, 0x2000000000000002U);
    for (unsigned cycle = 0; cycle < 64; ++cycle)
        EXPECT_EQ(idOf(0, static_cast<std::uint8_t>(cycle), 5), cycle % 2 == 0 ? 2U : 0U) << cycle;
    TableProbe const third(0, 5, 2, 4);
    EXPECT_EQ(third.messageId, 0x2000000000000002U) << "joins the frame that has its first cycle now";
}

TEST_F(FlexRayIdTableTest, removedGreatestIdComesAgainWithItsCells) {
    TableProbe const first(0, 5, 0, 64);
    auto second = std::make_unique<TableProbe>(0, 6, 0, 64);
    second.reset();
    EXPECT_EQ(idOf(0, 0, 6), 2U) << "cells outlive their signals";
    TableProbe const third(0, 7, 0, 64);
    EXPECT_EQ(third.messageId, 0x2000000000000002U);
    EXPECT_EQ(filledCells(), (Cells{{5, 1}, {6, 2}, {7, 2}}));
    EXPECT_EQ(FlexRaySignal::decodeMessage(flexRayFrame(0, 0, 6)), third.messageId) << "fed from the frame of old, too";
    unsigned long long value = 0, timestamp = 0;
    EXPECT_TRUE(BaseSignal::instances.rbegin()->second->read(value, timestamp));
}

TEST_F(FlexRayIdTableTest, removedSmallerIdDoesNotComeAgain) {
    auto first = std::make_unique<TableProbe>(0, 5, 0, 64);
    TableProbe const second(0, 6, 0, 64);
    first.reset();
    TableProbe const third(0, 7, 0, 64);
    EXPECT_EQ(third.messageId, 0x2000000000000003U);
    TableProbe const again(0, 5, 0, 64);
    EXPECT_EQ(again.messageId, 0x2000000000000001U) << "but its frame is still known by it";
}

TEST_F(FlexRayIdTableTest, idAfterTheGreatestIsZero) {
    TableProbe const first(0, 5, 0, 64);
    FlexRaySignal::frMessageContainer[0x200000000000ffff]; // as if there were 65535 frames
    {
        TableProbe const wrapped(0, 6, 0, 64);
        EXPECT_EQ(wrapped.messageId, 0x2000000000000000U);
        EXPECT_EQ(filledCells(), (Cells{{5, 1}}));
        EXPECT_FALSE(inUse(flexRayRecord(0, 0, 6)));
        TableProbe const next(0, 7, 0, 64);
        EXPECT_EQ(next.messageId, 0x2000000000000000U);
        EXPECT_EQ(FlexRaySignal::decodeMessage(flexRayFrame(2, 2, 2)), 0x2000000000000000U);
        unsigned long long value = 0, timestamp = 0;
        EXPECT_TRUE(BaseSignal::instances.rbegin()->second->read(value, timestamp)) << "fed from all unknown frames";
    }
    FlexRaySignal::frMessageContainer.erase(0x200000000000ffff);
}

TEST_F(FlexRayIdTableTest, baseCycleOf64IsLookedUpInTheNextChannel) {
    TableProbe const first(1, 5, 0, 64), third(2, 5, 3, 64);
    TableProbe const joins(0, 5, 64, 1), further(0, 5, 131, 1);
    EXPECT_EQ(joins.messageId, first.messageId);
    EXPECT_EQ(further.messageId, third.messageId) << "131 is two channels and three cycles";
    EXPECT_EQ(filledCells().size(), 2U);
}

TEST_F(FlexRayIdTableTest, frameWithABaseCycleOf64IsNamedButNeverRouted) {
    TableProbe const first(0, 5, 64, 1), second(0, 5, 64, 1);
    EXPECT_EQ(first.messageId, 0x2000000000000001U);
    EXPECT_EQ(second.messageId, 0x2000000000000002U) << "it has no cells";
    EXPECT_EQ(filledCells(), Cells{});
    EXPECT_FALSE(inUse(flexRayRecord(0, 64, 5)));
}

TEST_F(FlexRayIdTableTest, baseCycleBeyondTheTableIsUnknown) {
    TableProbe const first(3, 5, 64, 1), second(3, 65535, 255, 1), third(255, 65535, 255, 0);
    EXPECT_EQ(first.messageId, 0x2000000000000001U);
    EXPECT_EQ(second.messageId, 0x2000000000000002U);
    EXPECT_EQ(third.messageId, 0x2000000000000003U);
    EXPECT_EQ(filledCells(), Cells{});
}

TEST_F(FlexRayIdTableTest, cellsBeyondTheTableAreLeftOut) {
    Capture output(std::cout);
    TableProbe const channel(4, 5, 0, 1);
    EXPECT_EQ(filledCells(), Cells{});
    TableProbe const slot(3, 2048 + 7, 0, 21); // cycles 0, 21, 42 and 63, each one on
    EXPECT_EQ(filledCells(),
              (Cells{{393216 + 1 * 2048 + 7, 2}, {393216 + 22 * 2048 + 7, 2}, {393216 + 43 * 2048 + 7, 2}}));
}

TEST_F(FlexRayIdTableTest, slotOf2048ReachesIntoTheNextCycle) {
    TableProbe const first(0, 7, 3, 64), second(0, 2048 + 7, 2, 64);
    EXPECT_EQ(second.messageId, first.messageId);
    EXPECT_EQ(idOf(0, 1, 2 * 2048 + 7), 1U);
}

TEST_F(FlexRayIdTableTest, enteringIsShownWhenDebugging) {
    Capture output(std::cout);
    auto const entered = [&output] {
        std::string lines, line;
        for (std::istringstream text(output.take()); std::getline(text, line);)
            if (line.find("fillFlexRayIdArray") != std::string::npos)
                lines += line + "\n";
        return lines;
    };
    BaseSignal::debug = 1;
    std::cout << std::hex;
    TableProbe const first(1, 100, 1, 16);
    EXPECT_EQ(entered(), "[DEBUG] FlexRaySignal::fillFlexRayIdArray:133220 - 1\n"
                         "[DEBUG] FlexRaySignal::fillFlexRayIdArray:165988 - 1\n"
                         "[DEBUG] FlexRaySignal::fillFlexRayIdArray:198756 - 1\n"
                         "[DEBUG] FlexRaySignal::fillFlexRayIdArray:231524 - 1\n");
    TableProbe const joins(1, 100, 17, 1), nowhere(0, 5, 200, 1), outside(3, 2048, 63, 1);
    EXPECT_EQ(entered(), "") << "only what is entered";
    BaseSignal::debug = 0;
    TableProbe const quiet(0, 5, 0, 1);
    EXPECT_EQ(output.text(), "");
}

TEST_F(FlexRayIdTableTest, withoutATableNothingIsKnownOrEntered) {
    SharedName const name;
    Capture const errors(std::cerr);
    FlexRaySignal reader(name.c_str());
    EXPECT_EQ(reader.fillFlexRayIdArray(), 0x2000000000000001U);
    EXPECT_EQ(FlexRaySignal::frIdArray, nullptr);
}

// What messages find.

TEST_F(FlexRayIdTableTest, messageIsLookedUpByChannelCycleAndSlot) {
    TableProbe const signal(0, 5, 0, 1);
    FlexRaySignal::frIdArray[137316] = 7;
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(1, 3, 100)), 0x2000000000000007U);
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(1, 3, 101)), 0x2000000000000000U);
    FlexRaySignal::frIdArray[137316] = 0xffff;
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(1, 3, 100)), 0x200000000000ffffU);
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(0, 67, 100)), 0x200000000000ffffU) << "parts are not masked";
}

TEST_F(FlexRayIdTableTest, indexBeyondTheTableIsReported) {
    TableProbe const signal(3, 2047, 63, 1);
    Capture output(std::cout), errors(std::cerr);
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(3, 63, 2047)), 0x2000000000000001U);
    EXPECT_EQ(errors.take(), "");
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(3, 63, 2048)), 0x2000000000000000U);
    EXPECT_EQ(errors.take(), "index out of range\n");
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(255, 255, 65535)), 0x2000000000000000U);
    EXPECT_EQ(errors.take(), "index out of range\n");
    EXPECT_EQ(output.text(), "");
}

TEST_F(FlexRayIdTableTest, lookUpIsShownWhenDebugging) {
    TableProbe const signal(1, 100, 3, 64);
    Capture output(std::cout), errors(std::cerr);
    BaseSignal::debug = 1;
    std::cout << std::hex << std::showbase;
    FlexRaySignal::frIdArray[137316] = 10;
    FlexRaySignal::getFlexRayId(flexRayFrame(1, 3, 100));
    EXPECT_EQ(output.take(), "[DEBUG] FlexRaySignal::getFlexRayId: index = 137316 - 10\n");
    FlexRaySignal::getFlexRayId(flexRayFrame(1, 3, 101));
    EXPECT_EQ(output.take(), "[DEBUG] FlexRaySignal::getFlexRayId: index = 137317 - 0\n");
    EXPECT_EQ(errors.take(), "");
    FlexRaySignal::getFlexRayId(flexRayFrame(3, 63, 2048));
    EXPECT_EQ(output.take(), "[DEBUG] FlexRaySignal::getFlexRayId: index = 524288 - 0\n");
    EXPECT_EQ(errors.take(), "index out of range\n");
    BaseSignal::debug = 0;
    FlexRaySignal::getFlexRayId(flexRayFrame(1, 3, 100));
    EXPECT_EQ(output.text(), "");
}

TEST_F(FlexRayIdTableTest, withoutATableMessagesAreUnknown) {
    Capture const output(std::cout), errors(std::cerr);
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(1, 3, 100)), 0x2000000000000000U);
    EXPECT_EQ(FlexRaySignal::decodeMessage(flexRayFrame(1, 3, 100)), 0x2000000000000000U);
    EXPECT_EQ(output.text() + errors.text(), "");
    EXPECT_EQ(FlexRaySignal::getFlexRayId(flexRayFrame(4, 0, 0)), 0x2000000000000000U);
    EXPECT_EQ(errors.text(), "index out of range\n");
}

// What records find.

TEST_F(FlexRayIdTableTest, preFilterFindsKnownFrames) {
    TableProbe const signal(1, 0x123, 3, 16);
    EXPECT_TRUE(inUse(flexRayRecord(1, 3, 0x123)));
    EXPECT_TRUE(inUse(flexRayRecord(1, 19, 0x123)));
    EXPECT_FALSE(inUse(flexRayRecord(0, 3, 0x123)));
    EXPECT_FALSE(inUse(flexRayRecord(1, 4, 0x123)));
    EXPECT_FALSE(inUse(flexRayRecord(1, 3, 0x023)));
    EXPECT_FALSE(inUse(flexRayRecord(1, 3, 0x122)));
}

TEST_F(FlexRayIdTableTest, preFilterWantsTwentyBytesAndReadsAllFieldsThen) {
    TableProbe const signal(1, 0x100, 0, 64);
    FlexRayRecord const bytes = flexRayRecord(1, 0, 0x100);
    unsigned char const* const begin = bytes.data();
    EXPECT_FALSE(FlexRaySignal::signalsInUse(begin, begin + 19));
    EXPECT_TRUE(FlexRaySignal::signalsInUse(begin, begin + 20)) << "slot and cycle are read all the same";
    EXPECT_FALSE(FlexRaySignal::signalsInUse(begin, begin)) << "no bytes";
    EXPECT_FALSE(FlexRaySignal::signalsInUse(begin, nullptr));
    EXPECT_FALSE(FlexRaySignal::signalsInUse(begin + 25, begin)) << "negative length";

    TableProbe const first(0, 0, 0, 64);
    FlexRayRecord const zeros{};
    EXPECT_FALSE(FlexRaySignal::signalsInUse(zeros.data(), zeros.data() + 19)) << "though all that is there fits";
    EXPECT_TRUE(FlexRaySignal::signalsInUse(zeros.data(), zeros.data() + 20));

    // Deliberate: the slot's low byte and the cycle count even where the record is said to end before them.
    TableProbe const later(1, 0x101, 3, 64);
    FlexRayRecord const known = flexRayRecord(1, 3, 0x101), otherSlot = flexRayRecord(1, 3, 0x100),
                        otherCycle = flexRayRecord(1, 0, 0x101);
    for (std::ptrdiff_t length = 20; length <= 25; ++length) {
        EXPECT_TRUE(FlexRaySignal::signalsInUse(known.data(), known.data() + length)) << length;
        EXPECT_FALSE(FlexRaySignal::signalsInUse(otherSlot.data(), otherSlot.data() + length)) << length;
        EXPECT_FALSE(FlexRaySignal::signalsInUse(otherCycle.data(), otherCycle.data() + length)) << length;
    }
}

TEST_F(FlexRayIdTableTest, preFilterRejectsCellsPastTheTable) {
    TableProbe const signal(3, 2047, 63, 1);
    EXPECT_TRUE(inUse(flexRayRecord(3, 63, 2047)));
    EXPECT_FALSE(inUse(flexRayRecord(3, 63, 2048)));
    EXPECT_FALSE(inUse(flexRayRecord(255, 255, 65535)));
}

TEST_F(FlexRayIdTableTest, preFilterIsSilentWhateverTheDebugLevel) {
    TableProbe const signal(1, 0x123, 3, 16);
    Capture const output(std::cout), errors(std::cerr);
    BaseSignal::debug = 2;
    EXPECT_TRUE(inUse(flexRayRecord(1, 3, 0x123)));
    EXPECT_FALSE(inUse(flexRayRecord(1, 4, 0x123)));
    EXPECT_FALSE(inUse(flexRayRecord(255, 255, 65535)));
    BaseSignal::debug = 0;
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_F(FlexRayIdTableTest, preFilterOfNoSignalsIsFalse) {
    EXPECT_FALSE(inUse(flexRayRecord(0, 0, 5)));
    EXPECT_FALSE(FlexRaySignal::signalsInUse(nullptr, nullptr));
    {
        TableProbe const signal(0, 5, 0, 1);
        EXPECT_TRUE(inUse(flexRayRecord(0, 0, 5)));
    }
    EXPECT_FALSE(inUse(flexRayRecord(0, 0, 5)));
    TableProbe const next(0, 6, 0, 1);
    EXPECT_FALSE(inUse(flexRayRecord(0, 0, 5)));
    EXPECT_TRUE(inUse(flexRayRecord(0, 0, 6)));
}

TEST_F(FlexRayIdTableTest, preFilterOfSignalsWithoutATableIsFalse) {
    FlexRaySignal::frMessageContainer[0x2000000000000001];
    EXPECT_FALSE(inUse(flexRayRecord(0, 0, 5)));
    FlexRaySignal::frMessageContainer.clear();
}

TEST_F(FlexRayIdTableTest, preFilterOfATableWithoutSignalsIsFalse) {
    std::vector<std::uint16_t> table(cells, 1);
    FlexRaySignal::frIdArray = table.data();
    EXPECT_FALSE(inUse(flexRayRecord(0, 0, 5)));
    FlexRaySignal::frIdArray = nullptr;
}

TEST_F(FlexRayIdTableTest, preFilterAcceptsFramesWhoseSignalsAreGone) {
    auto gone = std::make_unique<TableProbe>(0, 5, 0, 64);
    TableProbe const signal(0, 6, 0, 64);
    gone.reset();
    EXPECT_TRUE(inUse(flexRayRecord(0, 0, 5))) << "the table is all it looks at";
    EXPECT_EQ(FlexRaySignal::decodeMessage(flexRayFrame(0, 0, 5)), 0x2000000000000001U);
}

} // namespace
