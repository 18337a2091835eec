// Expressions over signals that are fed from trace messages.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"
#include "tests/expression/CompiledExpression.h"
#include "tests/expression/TestSignals.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <set>

namespace {

// 16 bits, big endian, in the first two bytes of frame 0x0A0 of channel 1; in steps of 0.5.
canSignalDef_t speedDefinition(std::string const& instance) {
    canSignalDef_t definition;
    definition.instance = instance;
    definition.channel = 1;
    definition.msgId = 0x0a0;
    definition.startbit = 7;
    definition.bits = 16;
    definition.scale = 0.5;
    definition.endian = true;
    return definition;
}

// A frame with the speed in halves.
CANExtTraceMessage frame(unsigned halves, unsigned long long timestamp) {
    CANExtTraceMessage message;
    message.timestamp = timestamp;
    message.channel = 1;
    message.identifier = 0x0a0;
    message.length = 2;
    message.payload[0] = static_cast<unsigned char>(halves >> 8);
    message.payload[1] = static_cast<unsigned char>(halves & 0xff);
    return message;
}

KeyboardMessage key(std::int32_t code, std::int32_t state, unsigned long long timestamp) {
    KeyboardMessage message;
    message.timestamp = timestamp;
    message.keyCode = code;
    message.keyState = state;
    return message;
}

class SignalExpression : public testing::Test {
protected:
    TestSignals d_inputs; // ends the inputs that expressions make, last of all
};

} // namespace

TEST_F(SignalExpression, followsAFrameFromMessageToValue) {
    CANSignalExt const speed(speedDefinition("Local.Speed"), false);
    CompiledExpression kmh("Local.Speed * 3.6 + 1");
    EXPECT_FALSE(kmh.isWritten());
    EXPECT_EQ(kmh.getValue(), 0.0);
    EXPECT_EQ(kmh.getLastestTime(), 0U);

    ASSERT_NE(CANSignalExt::decodeMessage(frame(20, 1000)), 0U);
    EXPECT_TRUE(kmh.isWritten());
    EXPECT_EQ(kmh.getValue(), 10.0 * 3.6 + 1.0);
    EXPECT_EQ(kmh.getLastestTime(), 1000U);

    CANSignalExt::decodeMessage(frame(41, 2000));
    EXPECT_EQ(kmh.getValue(), 20.5 * 3.6 + 1.0);
    EXPECT_EQ(kmh.getLastestTime(), 2000U);
}

TEST_F(SignalExpression, readsASharedSignalLikeALocalOne) {
    SharedName const name("speed");
    CANSignalExt const speed(speedDefinition(name.name()), true);
    CompiledExpression fast(name.name() + " > 100");
    CANSignalExt::decodeMessage(frame(200, 1));
    EXPECT_FALSE(fast.getTrigger());
    CANSignalExt::decodeMessage(frame(201, 2));
    EXPECT_TRUE(fast.getTrigger());
}

TEST_F(SignalExpression, triggersOnKeyAndSpeedTogether) {
    CANSignalExt const speed(speedDefinition("Local.Speed"), false);
    CompiledExpression level("Local.Speed > 120 && RC.F1 == pressed");
    CompiledExpression edge("Local.Speed > 120 && RC.F1 == pressed", true);
    // Speed in halves, key state, and the triggers that follow.
    struct {
        unsigned halves;
        std::int32_t state;
        bool level, edge;
    } const steps[] = {
        {260, 0, false, false}, // the key has no value before it is something other than released
        {260, 1, true, true},   {260, 1, true, false}, {262, 1, true, false},  {200, 1, false, false},
        {260, 2, false, false}, {260, 1, true, true},  {260, 0, false, false}, {260, 1, true, true},
    };
    unsigned long long time = 0;
    for (auto const& step : steps) {
        ++time;
        SCOPED_TRACE(time);
        CANSignalExt::decodeMessage(frame(step.halves, time));
        ASSERT_NE(InputSignal::decodeMessage(key(1, step.state, time)), 0U);
        EXPECT_EQ(level.getTrigger(), step.level);
        EXPECT_EQ(edge.getTrigger(), step.edge);
    }
}

TEST_F(SignalExpression, makesInputsOfUnknownNames) {
    CompiledExpression light("DI.3 == high && AI.4 > 100");
    EXPECT_NE(dynamic_cast<InputSignal*>(BaseSignal::getInstance("DI.3")), nullptr);
    EXPECT_NE(dynamic_cast<InputSignal*>(BaseSignal::getInstance("AI.4")), nullptr);
    EXPECT_FALSE(light.getTrigger());

    GpioTraceMessage level;
    level.timestamp = 5;
    level.entries.resize(1);
    level.entries[0].input = 3;
    level.entries[0].mask = 1;
    level.entries[0].levels = 0xffff;
    ASSERT_EQ(InputSignal::decodeMessage(level), 0x0800000000030001U);
    EXPECT_FALSE(light.getTrigger());

    AnalogTraceMessage reading;
    reading.timestamp = 6;
    reading.entries.resize(1);
    reading.entries[0].channel = 4;
    reading.entries[0].reading = 101;
    ASSERT_EQ(InputSignal::decodeMessage(reading), 0x0400000000000004U);
    EXPECT_TRUE(light.getTrigger());
    EXPECT_EQ(light.getLastestTime(), 6U);
}

TEST_F(SignalExpression, usesAnInputThatIsThereAlready) {
    InputSignal trigger("RC.TRG");
    CompiledExpression held("RC.TRG == pressed_long");
    EXPECT_EQ(BaseSignal::getInstance("RC.TRG"), &trigger);
    InputSignal::decodeMessage(key(16, 2, 9));
    EXPECT_TRUE(held.getTrigger());
    trigger.clear();
    EXPECT_FALSE(held.getTrigger());
}

TEST_F(SignalExpression, knowsTheMessagesOfItsSignals) {
    CANSignalExt const speed(speedDefinition("Local.Speed"), false);
    CompiledExpression expression("Local.Speed > 1 && RC.F2 == pressed || Local.Speed * DI.0 > 3 || unknown.name");
    // The name that is no input has no message of its own.
    EXPECT_EQ(std::set<unsigned long long>(expression.signalMessageIds.begin(), expression.signalMessageIds.end()),
              (std::set<unsigned long long>{0, 0x0800000000000001, 0x1000000000000002, 0x80000001000000a0}));
}

TEST_F(SignalExpression, seesNoValueAgainAfterItsSignalIsCleared) {
    CANSignalExt speed(speedDefinition("Local.Speed"), false);
    CompiledExpression standing("Local.Speed == 0");
    CANSignalExt::decodeMessage(frame(0, 1));
    EXPECT_EQ(standing.getValue(), 1.0);
    EXPECT_TRUE(standing.isWritten());
    BaseSignal::clearAll();
    EXPECT_EQ(standing.getValue(), 0.0);
    EXPECT_TRUE(standing.isWritten()); // asked once and for all
}
