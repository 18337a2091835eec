// CAN frames that one process decodes into signals that another one reads.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/process/Steps.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"

#include <vector>

namespace {

// Two signals of frame 0x123 on channel 1: 16 bits big endian in bytes 0 and 1, and 8 bits signed in byte 2.
std::vector<canSignalDef_t> definitions(SharedName const& speed, SharedName const& temperature) {
    canSignalDef_t first;
    first.instance = speed.name();
    first.signal = "Speed";
    first.unit = "km/h";
    first.channel = 1;
    first.startbit = 7;
    first.bits = 16;
    first.scale = 0.25;
    first.offset = 10.0;
    first.endian = true;
    first.msgId = 0x123;
    canSignalDef_t second = first;
    second.instance = temperature.name();
    second.signal = "Temperature";
    second.unit = "C";
    second.type = signalSigned;
    second.startbit = 16;
    second.bits = 8;
    second.scale = 1.0;
    second.offset = -40.0;
    second.endian = false;
    return {first, second};
}

struct Frame {
    std::uint32_t d_identifier;
    unsigned char d_payload[3];
    unsigned long long d_timestamp;
};

// In the order in which the decoding process gets them, one a step.
constexpr Frame frames[] = {
    {0x123, {0x01, 0x00, 0xff}, 1000},
    {0x124, {0x55, 0x55, 0x55}, 1500}, // no signal's frame
    {0x123, {0x02, 0x00, 0xff}, 2000}, // the temperature stays, and is seen again
    {0x123, {0x02, 0x00, 0x7f}, 0x123456789abcdef0},
};

void decodeFrames(SharedName const& speed, SharedName const& temperature, Steps& steps) {
    std::vector<canSignalDef_t> const definition = definitions(speed, temperature);
    CANSignalExt const first(definition[0], true);
    CANSignalExt const second(definition[1], true);
    for (Frame const& frame : frames) {
        CANExtTraceMessage message;
        message.timestamp = frame.d_timestamp;
        message.channel = 1;
        message.length = sizeof frame.d_payload;
        message.identifier = frame.d_identifier;
        for (unsigned i = 0; i < sizeof frame.d_payload; ++i)
            message.payload[i] = frame.d_payload[i];
        unsigned long long const key = frame.d_identifier == 0x123 ? 0x8000000100000123ULL : 0;
        if (CANSignalExt::decodeMessage(message) != key || !steps.next())
            _exit(EXIT_FAILURE);
    }
}

void expectNamed(char const* instance, unsigned long long raw, double phys, unsigned long long timestamp) {
    BaseSignal* const signal = BaseSignal::getInstance(instance);
    ASSERT_NE(signal, nullptr);
    expectValue(*signal, raw, phys, timestamp);
}

// How many of this process's signals hold a value older than `time`. Their frames are not known here: each is listed
// with the key of none.
std::size_t silentAt(unsigned long long time) {
    std::vector<unsigned long long> silent = {1, 2, 3};
    EXPECT_EQ(BaseSignal::checkTimeout(time, silent), 0);
    for (unsigned long long const messageId : silent)
        EXPECT_EQ(messageId, 0U);
    return silent.size();
}

} // namespace

TEST(CANProcessTest, decodedFramesReachTheSignalsOfAnotherProcess) {
    SharedName const speed("speed");
    SharedName const temperature("temperature");
    Capture errors(std::cerr);
    CANSignalExt const canReader(speed.c_str());
    ShmSignal const shmReader(temperature.c_str());
    EXPECT_EQ(silentAt(~0ULL), 0U);

    Shared<Steps> steps;
    Process decoder([&] { decodeFrames(speed, temperature, *steps); });
    ASSERT_TRUE(steps->reach(1));
    errors.take();
    expectNamed(speed.c_str(), 0x0100, 74.0, 1000);
    expectNamed(temperature.c_str(), 0xffffffffffffffff, -41.0, 1000);
    EXPECT_STREQ(canReader.getUnit(), "km/h");
    EXPECT_EQ(shmReader.getType(), signalSigned);
    EXPECT_EQ(silentAt(1000), 0U);
    EXPECT_EQ(silentAt(1001), 2U);

    ASSERT_TRUE(steps->reach(2));
    expectNamed(speed.c_str(), 0x0100, 74.0, 1000);
    EXPECT_EQ(silentAt(1500), 2U);

    ASSERT_TRUE(steps->reach(3));
    expectNamed(speed.c_str(), 0x0200, 138.0, 2000);
    expectNamed(temperature.c_str(), 0xffffffffffffffff, -41.0, 2000);
    EXPECT_EQ(silentAt(2000), 0U);

    ASSERT_TRUE(steps->reach(4));
    expectNamed(speed.c_str(), 0x0200, 138.0, 0x123456789abcdef0);
    expectNamed(temperature.c_str(), 0x7f, 87.0, 0x123456789abcdef0);

    steps->d_asked = 5;
    EXPECT_TRUE(decoder.finished());
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(speed.segmentId(), -1);
    EXPECT_EQ(silentAt(~0ULL), 2U);
}

TEST(CANProcessTest, signalOpenedByNameIsNotFedInItsOwnProcess) {
    SharedName const speed("speed");
    SharedName const temperature("temperature");
    Shared<Steps> steps;
    Process decoder([&] { decodeFrames(speed, temperature, *steps); });
    ASSERT_TRUE(steps->reach(1));
    CANSignalExt const reader(speed.c_str());
    CANExtTraceMessage message;
    message.timestamp = 5000;
    message.channel = 1;
    message.length = 2;
    message.identifier = 0x123;
    EXPECT_EQ(CANSignalExt::decodeMessage(message), 0U);
    expectNamed(speed.c_str(), 0x0100, 74.0, 1000);
}
