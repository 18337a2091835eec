// Filing and withdrawing under message keys.
#include "qzsignal/signal/DispatchMap.h"

#include "tests/support/Capture.h"

#include <gtest/gtest.h>

namespace qzsignal {
namespace {

struct Item {};

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

} // namespace
} // namespace qzsignal
