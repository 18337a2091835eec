// The index against an ordered map, through random changes.
#include "qzsignal/signal/KeyIndex.h"

#include "tests/support/Naive.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

namespace qzsignal {
namespace {

using Entries = std::map<std::uint64_t, std::unique_ptr<int>>;

void insert(KeyIndex<int>& index, Entries& entries, std::uint64_t key) {
    auto const place = entries.emplace(key, std::make_unique<int>()).first;
    index.reserve(entries.size());
    index.insert(key, *place->second);
}

TEST(KeyIndexTest, emptyIndexFindsNothing) {
    KeyIndex<int> index;
    EXPECT_EQ(index.find(0), nullptr);
    index.clear();
    EXPECT_EQ(index.find(1), nullptr);
    EXPECT_EQ(index.size(), 0U);
}

TEST(KeyIndexTest, keyOfZeroIsAKeyLikeOthers) {
    KeyIndex<int> index;
    Entries entries;
    insert(index, entries, 1);
    EXPECT_EQ(index.find(0), nullptr);
    insert(index, entries, 0);
    EXPECT_EQ(index.find(0), entries.at(0).get());
    index.erase(0);
    EXPECT_EQ(index.find(0), nullptr);
    EXPECT_EQ(index.find(1), entries.at(1).get());
}

TEST(KeyIndexTest, clearedIndexIsUsedAgain) {
    KeyIndex<int> index;
    Entries entries;
    for (std::uint64_t key = 0; key < 100; ++key)
        insert(index, entries, key);
    index.clear();
    for (std::uint64_t key = 0; key < 100; ++key)
        EXPECT_EQ(index.find(key), nullptr);
    index.insert(7, *entries.at(7));
    EXPECT_EQ(index.find(7), entries.at(7).get());
    EXPECT_EQ(index.size(), 1U);
}

// A few different keys are inserted and erased all the time, so that places are occupied, freed, probed past and filled
// from later ones, also across the end of the table.
TEST(KeyIndexTest, agreesWithAnOrderedMap) {
    for (unsigned const range : {8U, 40U, 1000U}) {
        Random random(range);
        KeyIndex<int> index;
        Entries entries;
        for (int step = 0; step < 20000; ++step) {
            // As frames have them: neighbours, in a few groups.
            std::uint64_t const key = 0x8000000000000000 + random.below(range) + (std::uint64_t{random.below(3)} << 32);
            auto const known = entries.find(key);
            if (known == entries.end()) {
                insert(index, entries, key);
            } else if (random.below(2) == 0) {
                index.erase(key);
                entries.erase(known);
            }
            ASSERT_EQ(index.size(), entries.size());
            for (int look = 0; look < 4; ++look) {
                std::uint64_t const other =
                    0x8000000000000000 + random.below(range) + (std::uint64_t{random.below(3)} << 32);
                auto const entry = entries.find(other);
                ASSERT_EQ(index.find(other), entry != entries.end() ? entry->second.get() : nullptr) << step;
            }
        }
        for (auto const& [key, entry] : entries)
            ASSERT_EQ(index.find(key), entry.get());
    }
}

} // namespace
} // namespace qzsignal
