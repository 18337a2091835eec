// Filing and withdrawing under message keys.
#include "qzsignal/signal/DispatchMap.h"

#include "tests/support/Capture.h"

#include <gtest/gtest.h>

namespace qzsignal {
namespace {

struct Item {};

[[maybe_unused]] std::string instanceOf(Item const&) {
    return "item";
}

class DispatchMapTest : public testing::Test {
protected:
    DispatchMap<Item> d_map;
    Item d_first, d_second, d_third;
};

TEST_F(DispatchMapTest, filesInOrderOfConstruction) {
    file(d_map, 5, &d_second);
    file(d_map, 5, &d_first);
    file(d_map, 4, &d_third);
    EXPECT_EQ(d_map.size(), 2U);
    EXPECT_EQ(*find(d_map, 5), (std::vector<Item*>{&d_second, &d_first}));
    EXPECT_EQ(*find(d_map, 4), (std::vector<Item*>{&d_third}));
}

TEST_F(DispatchMapTest, findsNothingUnderOtherKeys) {
    EXPECT_EQ(find(d_map, 5), nullptr);
    file(d_map, 5, &d_first);
    EXPECT_EQ(find(d_map, 6), nullptr);
}

TEST_F(DispatchMapTest, withdrawingKeepsTheOrderOfTheOthers) {
    for (Item* const item : {&d_first, &d_second, &d_third})
        file(d_map, 5, item);
    withdraw(d_map, 5, &d_second, "Label");
    EXPECT_EQ(*find(d_map, 5), (std::vector<Item*>{&d_first, &d_third}));
}

TEST_F(DispatchMapTest, entryGoesWithItsLastSignal) {
    file(d_map, 5, &d_first);
    withdraw(d_map, 5, &d_first, "Label");
    EXPECT_TRUE(d_map.empty());
}

TEST_F(DispatchMapTest, withdrawingFromAMissingEntryIsSilent) {
    Capture const errors(std::cerr);
    withdraw(d_map, 0, &d_first, "Label");
    EXPECT_EQ(errors.text(), "");
}

TEST_F(DispatchMapTest, withdrawingAStrangerIsReportedAndChangesNothing) {
    file(d_map, 5, &d_first);
    Capture const errors(std::cerr);
    withdraw(d_map, 5, &d_second, "Label");
    EXPECT_EQ(errors.text(), "[ERROR] Label::~Label(): instance not found in vector\n");
    EXPECT_EQ(*find(d_map, 5), (std::vector<Item*>{&d_first}));
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
