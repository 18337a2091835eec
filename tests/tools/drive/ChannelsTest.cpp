// Which file serves which channel.
#include "tools/drive/Channels.h"

#include <gtest/gtest.h>

namespace qztool {
namespace {

TEST(DefinitionFile, prefixIsAChannelNumberOrAnInterface) {
    struct {
        char const* argument;
        int channel; // -1: none
        char const* path;
    } const cases[] = {
        {"car.dbc", -1, "car.dbc"},
        {"1:car.dbc", 1, "car.dbc"},
        {"255:car.dbc", 255, "car.dbc"},
        {"can0:car.dbc", 0, "car.dbc"},
        {"vcan12:/a/b.dbc", 12, "/a/b.dbc"},
        {"1:2:car.dbc", 1, "2:car.dbc"},
        {"256:car.dbc", -1, "256:car.dbc"},
        {"./1:car.dbc", -1, "./1:car.dbc"},
        {"can:car.dbc", -1, "can:car.dbc"},
        {":car.dbc", -1, ":car.dbc"},
        {"", -1, ""},
    };
    for (auto const& each : cases) {
        DefinitionFile const file = parseDefinitionFile(each.argument);
        EXPECT_EQ(file.channel ? *file.channel : -1, each.channel) << each.argument;
        EXPECT_EQ(file.path, each.path);
    }
}

TEST(Channels, networkWithoutChannelTakesTheFirstThatIsClaimed) {
    Channels channels;
    Network& network = channels.add(Bus::Can, 0, std::nullopt);
    EXPECT_EQ(channels.candidates(Bus::Can, 0), std::vector<Network*>{&network});
    EXPECT_EQ(channels.candidates(Bus::Can, 255), std::vector<Network*>{&network});
    EXPECT_TRUE(channels.candidates(Bus::Lin, 0).empty());
    EXPECT_TRUE(Channels::claim(network, 4));
    EXPECT_FALSE(Channels::claim(network, 5));
    EXPECT_FALSE(Channels::claim(network, 6));
    EXPECT_TRUE(Channels::claim(network, 4));
    EXPECT_EQ(network.foreignFrames, 2U);
}

TEST(Channels, channelWithNetworksOfItsOwnIsServedByThemAlone) {
    Channels channels;
    Network& any = channels.add(Bus::Can, 0, std::nullopt);
    Network& first = channels.add(Bus::Can, 1, std::uint8_t{7});
    Network& second = channels.add(Bus::Can, 2, std::uint8_t{7});
    Network& lin = channels.add(Bus::Lin, 3, std::uint8_t{7});
    EXPECT_EQ(channels.candidates(Bus::Can, 7), (std::vector<Network*>{&first, &second}));
    EXPECT_EQ(channels.candidates(Bus::Can, 8), std::vector<Network*>{&any});
    EXPECT_EQ(channels.candidates(Bus::Lin, 7), std::vector<Network*>{&lin});
    EXPECT_NE(first.filed, any.filed);
    EXPECT_NE(first.filed, second.filed);
}

} // namespace
} // namespace qztool
