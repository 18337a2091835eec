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

TEST(Channels, fileWithoutChannelServesAllThatHaveNoneOfTheirOwn) {
    Channels channels;
    EXPECT_EQ(channels.filed(0), channels.common());
    EXPECT_EQ(channels.filed(200), channels.common());
    channels.addOwn(0);
    channels.addOwn(2);
    EXPECT_EQ(channels.common(), 1) << "a number that no other file has";
    EXPECT_EQ(channels.filed(0), 0);
    EXPECT_EQ(channels.filed(2), 2);
    EXPECT_EQ(channels.filed(1), channels.common());
    EXPECT_EQ(channels.filed(7), channels.common());
}

} // namespace
} // namespace qztool
