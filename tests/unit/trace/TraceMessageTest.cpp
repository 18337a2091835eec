// Trace messages start out empty; the offsets of their fields are checked where the library is compiled.
#include "qzsignal/trace/AnalogTraceMessage.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "qzsignal/trace/FlexRayExtTraceMessage.h"
#include "qzsignal/trace/GpioTraceMessage.h"
#include "qzsignal/trace/KeyboardMessage.h"
#include "qzsignal/trace/LINTraceMessage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <type_traits>

namespace {

template <typename Message>
constexpr bool isMessage = std::is_base_of_v<MessageBase, Message>&& std::is_default_constructible_v<Message>;

static_assert(isMessage<CANExtTraceMessage> && isMessage<LINTraceMessage> && isMessage<FlexRayExtTraceMessage> &&
                  isMessage<KeyboardMessage> && isMessage<GpioTraceMessage> && isMessage<AnalogTraceMessage>,
              "every message is built empty from the common base");

TEST(TraceMessage, fieldsStartAtZero) {
    // Built over memory that is not zero, so that a field without initialiser shows.
    alignas(CANExtTraceMessage) unsigned char memory[sizeof(CANExtTraceMessage)];
    std::memset(memory, 0xa5, sizeof memory);
    auto const& can = *new (memory) CANExtTraceMessage();
    EXPECT_EQ(can.timestamp, 0U);
    EXPECT_EQ(can.channel, 0U);
    EXPECT_EQ(can.extended, 0U);
    EXPECT_EQ(can.length, 0U);
    EXPECT_EQ(can.identifier, 0U);
    for (unsigned char const byte : can.payload)
        EXPECT_EQ(byte, 0U);

    EXPECT_EQ(LINTraceMessage().timestamp, 0U);
    EXPECT_EQ(LINTraceMessage().channel, 0U);
    EXPECT_EQ(LINTraceMessage().identifier, 0U);
    EXPECT_TRUE(LINTraceMessage().data.empty());
    EXPECT_EQ(FlexRayExtTraceMessage().timestamp, 0U);
    EXPECT_EQ(FlexRayExtTraceMessage().channel, 0U);
    EXPECT_EQ(FlexRayExtTraceMessage().slot, 0U);
    EXPECT_EQ(FlexRayExtTraceMessage().cycle, 0U);
    EXPECT_TRUE(FlexRayExtTraceMessage().payload.empty());
    EXPECT_EQ(KeyboardMessage().timestamp, 0U);
    EXPECT_EQ(KeyboardMessage().keyCode, 0);
    EXPECT_EQ(KeyboardMessage().keyState, 0);
    EXPECT_EQ(GpioTraceMessage().timestamp, 0U);
    EXPECT_TRUE(GpioTraceMessage().entries.empty());
    EXPECT_EQ(GpioEntry().input, 0U);
    EXPECT_EQ(GpioEntry().mask, 0U);
    EXPECT_EQ(GpioEntry().levels, 0U);
    EXPECT_EQ(AnalogTraceMessage().timestamp, 0U);
    EXPECT_TRUE(AnalogTraceMessage().entries.empty());
    EXPECT_EQ(AnalogEntry().channel, 0U);
    EXPECT_EQ(AnalogEntry().reading, 0);
}

TEST(TraceMessage, recordVersionCanBeChosen) {
    unsigned char const before = MessageBase::version;
    MessageBase::version = 2;
    EXPECT_EQ(MessageBase::version, 2);
    MessageBase::version = before;
}

TEST(CANExtTraceMessage, printsFrame) {
    CANExtTraceMessage message;
    message.channel = 17;
    message.identifier = 0x1abcdef;
    message.extended = 1;
    message.length = 3;
    message.payload[0] = 0x0a;
    message.payload[1] = 0xff;
    message.timestamp = 0x1234;
    std::ostringstream out;
    out << message;
    EXPECT_EQ(out.str(), "channel=17,id=0x1abcdef,extended=yes,length=3,payload=0a-ff-00,timestamp=0x1234");
}

TEST(CANExtTraceMessage, formatOfTheStreamDoesNotShow) {
    CANExtTraceMessage message;
    message.identifier = 0x1abcdef;
    message.length = 1;
    message.payload[0] = 0x0a;
    std::ostringstream out;
    out << std::hex << std::uppercase << std::showbase << std::left << message;
    EXPECT_EQ(out.str(), "channel=0,id=0x1abcdef,extended=no,length=1,payload=0a,timestamp=0x0");
}

TEST(CANExtTraceMessage, printsNoMoreBytesThanItHas) {
    CANExtTraceMessage message;
    message.length = 255;
    std::ostringstream out;
    out << message;
    EXPECT_NE(out.str().find(",length=255,payload=00-00-00-00-00-00-00-00,"), std::string::npos);
}

} // namespace
