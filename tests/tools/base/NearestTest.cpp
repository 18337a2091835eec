// Suggestions for mistyped words.
#include "tools/base/Nearest.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

TEST(Nearest, findsTheWordThatWasMeant) {
    std::vector<std::string> const words = {"replay", "read", "list", "Engine.Speed", "Engine.Torque"};
    struct {
        char const* typed;
        char const* meant;
    } const cases[] = {
        {"raed", "read"},
        {"lst", "list"},
        {"replai", "replay"},
        {"engine.speed", "Engine.Speed"},
        {"Engine.Spd", "Engine.Speed"},
        {"frobnicate", ""},
        {"", ""},
    };
    for (auto const& each : cases)
        EXPECT_EQ(nearest(each.typed, words), each.meant) << each.typed;
}

TEST(Nearest, hasNothingToOfferWithoutCandidates) {
    EXPECT_EQ(nearest("read", {}), "");
}

} // namespace
} // namespace qztool
