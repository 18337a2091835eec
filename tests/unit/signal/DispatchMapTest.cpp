// Filing and withdrawing under message keys, and what is fed.
#include "qzsignal/signal/Dispatch.h"

#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace qzsignal {
namespace {

struct Item {};

[[maybe_unused]] std::string instanceOf(Item const&) {
    return "item";
}

class DispatchMapTest : public testing::Test {
protected:
    using Withdrawn = DispatchMap<Item>::Withdrawn;

    // What the index finds for each key from 0 to 9 is what the map has.
    void expectIndexInStep() const {
        for (unsigned long long key = 0; key < 10; ++key) {
            auto const entry = d_map.find(key);
            EXPECT_EQ(d_map.signals(key), entry != d_map.end() ? &entry->second : nullptr) << key;
        }
    }

    DispatchMap<Item> d_map;
    Item d_first, d_second, d_third;
};

TEST_F(DispatchMapTest, filesInOrderOfConstruction) {
    d_map.file(5, &d_second);
    d_map.file(5, &d_first);
    d_map.file(4, &d_third);
    EXPECT_EQ(d_map.size(), 2U);
    EXPECT_EQ(*d_map.signals(5), (std::vector<Item*>{&d_second, &d_first}));
    EXPECT_EQ(*d_map.signals(4), (std::vector<Item*>{&d_third}));
}

TEST_F(DispatchMapTest, findsNothingUnderOtherKeys) {
    EXPECT_EQ(d_map.signals(5), nullptr);
    d_map.file(5, &d_first);
    EXPECT_EQ(d_map.signals(6), nullptr);
}

TEST_F(DispatchMapTest, withdrawingKeepsTheOrderOfTheOthers) {
    for (Item* const item : {&d_first, &d_second, &d_third})
        d_map.file(5, item);
    withdraw(d_map, 5, &d_second, "Label");
    EXPECT_EQ(*d_map.signals(5), (std::vector<Item*>{&d_first, &d_third}));
}

TEST_F(DispatchMapTest, entryGoesWithItsLastSignal) {
    d_map.file(5, &d_first);
    withdraw(d_map, 5, &d_first, "Label");
    EXPECT_TRUE(d_map.empty());
}

TEST_F(DispatchMapTest, withdrawingFromAMissingEntryIsSilent) {
    Capture const errors(std::cerr);
    withdraw(d_map, 0, &d_first, "Label");
    EXPECT_EQ(errors.text(), "");
}

TEST_F(DispatchMapTest, withdrawingAStrangerIsReportedAndChangesNothing) {
    d_map.file(5, &d_first);
    Capture const errors(std::cerr);
    withdraw(d_map, 5, &d_second, "Label");
    EXPECT_EQ(errors.text(), "[ERROR] Label::~Label(): instance not found in vector\n");
    EXPECT_EQ(*d_map.signals(5), (std::vector<Item*>{&d_first}));
}

TEST_F(DispatchMapTest, withdrawingTellsWhatBecameOfTheSignal) {
    d_map.file(5, &d_first);
    EXPECT_EQ(d_map.withdraw(4, &d_first), Withdrawn::NoEntry);
    EXPECT_EQ(d_map.withdraw(5, &d_second), Withdrawn::NoSignal);
    EXPECT_EQ(d_map.withdraw(5, &d_first), Withdrawn::Yes);
    EXPECT_EQ(d_map.withdraw(5, &d_first), Withdrawn::NoEntry);
}

TEST_F(DispatchMapTest, isReadAsAnOrderedMap) {
    d_map.file(7, &d_first);
    d_map.file(3, &d_second);
    d_map.file(7, &d_third);
    DispatchMap<Item> const& map = d_map;
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.count(3), 1U);
    EXPECT_EQ(map.count(4), 0U);
    EXPECT_EQ(map.begin()->first, 3U);
    EXPECT_EQ(std::next(map.begin())->second, (std::vector<Item*>{&d_first, &d_third}));
    EXPECT_EQ(std::next(map.begin(), 2), map.end());
    EXPECT_EQ(map.at(3), (std::vector<Item*>{&d_second}));
    std::map<unsigned long long, std::vector<Item*>> const same{{3, {&d_second}}, {7, {&d_first, &d_third}}};
    std::map<unsigned long long, std::vector<Item*>> const other{{3, {&d_second}}, {7, {&d_third, &d_first}}};
    EXPECT_TRUE(map == same);
    EXPECT_FALSE(map != same);
    EXPECT_FALSE(map == other);
    EXPECT_TRUE(map != other);
}

TEST_F(DispatchMapTest, indexKeepsStepWithChangesByHand) {
    d_map[5].push_back(&d_first);
    d_map[5].push_back(&d_second);
    d_map[2];
    expectIndexInStep();
    EXPECT_EQ(*d_map.signals(5), (std::vector<Item*>{&d_first, &d_second}));
    EXPECT_EQ(d_map.erase(5), 1U);
    EXPECT_EQ(d_map.erase(5), 0U);
    expectIndexInStep();
    d_map.file(6, &d_third);
    d_map.erase(d_map.find(6));
    expectIndexInStep();
    d_map.clear();
    EXPECT_TRUE(d_map.empty());
    expectIndexInStep();
    d_map.file(2, &d_first);
    expectIndexInStep();
}

TEST_F(DispatchMapTest, removingTellsWhetherTheSignalWasThere) {
    std::vector<Item*> signals = {&d_first, &d_second, &d_third};
    EXPECT_TRUE(remove(signals, &d_second));
    EXPECT_EQ(signals, (std::vector<Item*>{&d_first, &d_third}));
    EXPECT_FALSE(remove(signals, &d_second));
    EXPECT_EQ(signals, (std::vector<Item*>{&d_first, &d_third}));
}

TEST_F(DispatchMapTest, signalsAreFedInOrder) {
    std::vector<Item const*> fed;
    feedEach(std::vector<Item*>{&d_second, &d_first}, "Label", [&fed](Item& item) { fed.push_back(&item); });
    EXPECT_EQ(fed, (std::vector<Item const*>{&d_second, &d_first}));
}

} // namespace
} // namespace qzsignal
