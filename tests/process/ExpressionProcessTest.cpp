// Expressions over signals that another process decodes.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/process/Process.h"
#include "tests/process/Shared.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"

#include <iterator>
#include <string>

namespace {

canSignalDef_t speedDefinition(SharedName const& name) {
    canSignalDef_t definition;
    definition.instance = name.name();
    definition.channel = 2;
    definition.msgId = 0x321;
    definition.bits = 8;
    definition.scale = 2.0;
    return definition;
}

constexpr unsigned char speeds[] = {50, 61, 62, 60, 0, 61}; // in steps of 2 km/h, one a frame

struct Steps {
    SharedCounter d_asked; // frames that may be decoded; the signal is defined before the first
    SharedCounter d_decoded;
};

void decode(SharedName const& name, Steps& steps) {
    CANSignalExt const speed(speedDefinition(name), true);
    std::uint32_t decoded = 0;
    for (unsigned char const value : speeds) {
        if (!waitUntil([&] { return steps.d_asked > decoded; }))
            _exit(EXIT_FAILURE);
        CANExtTraceMessage message;
        message.timestamp = 1000 + decoded;
        message.channel = 2;
        message.identifier = 0x321;
        message.length = 1;
        message.payload[0] = value;
        if (CANSignalExt::decodeMessage(message) == 0)
            _exit(EXIT_FAILURE);
        steps.d_decoded = ++decoded;
    }
    waitUntil([&] { return steps.d_asked > decoded; });
}

} // namespace

TEST(ExpressionProcessTest, conditionOnAnotherProcesssSignalTriggers) {
    SharedName const name("speed");
    Capture errors(std::cerr);
    CANSignalExt const speed(name.c_str()); // not defined yet
    ExpParser level((name.name() + " > 120").c_str(), false);
    ExpParser edge((name.name() + " > 120").c_str(), true);
    ExpParser value((name.name() + " + 1").c_str(), false);
    EXPECT_EQ(ExpParser::allExpParsers.size(), 3U);
    EXPECT_FALSE(level.isWritten());
    EXPECT_FALSE(level.getTrigger());
    EXPECT_FALSE(edge.getTrigger());
    EXPECT_EQ(value.getValue(), 0.0);

    Shared<Steps> steps;
    Process decoder([&] { decode(name, *steps); });
    bool const levels[] = {false, true, true, false, false, true};
    bool const edges[] = {false, true, false, false, false, true};
    for (std::uint32_t i = 0; i < std::size(speeds); ++i) {
        SCOPED_TRACE(i);
        steps->d_asked = i + 1;
        ASSERT_TRUE(waitUntil([&] { return steps->d_decoded == i + 1; }));
        EXPECT_EQ(level.getTrigger(), levels[i]);
        EXPECT_EQ(edge.getTrigger(), edges[i]);
        EXPECT_EQ(value.getValue(), 2.0 * speeds[i] + 1.0);
        EXPECT_TRUE(value.isWritten());
        EXPECT_EQ(value.getLastestTime(), 1000U + i);
    }
    steps->d_asked = std::size(speeds) + 1;
    EXPECT_TRUE(decoder.finished());
    // The record went with its process, the last value stays with those who are attached.
    EXPECT_TRUE(level.getTrigger());
    EXPECT_FALSE(edge.getTrigger());
}

TEST(ExpressionProcessTest, expressionMayBeCompiledAfterTheSignalIsWritten) {
    SharedName const name("speed");
    Shared<Steps> steps;
    steps->d_asked = 2;
    Process decoder([&] { decode(name, *steps); });
    ASSERT_TRUE(waitUntil([&] { return steps->d_decoded == 2; }));
    CANSignalExt const speed(name.c_str());
    ExpParser edge((name.name() + " > 120").c_str(), true);
    EXPECT_TRUE(edge.isWritten());
    EXPECT_TRUE(edge.getTrigger());
    EXPECT_FALSE(edge.getTrigger());
}
