// FlexRay frames that one process decodes into signals that another one reads by name.
#include "tests/process/Steps.h"
#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/SharedName.h"

namespace {

// Far past the first eight bytes of the payload, in every fourth cycle of slot 100 on channel 1.
flexRaySignalDef_t definitionOf(SharedName const& name, unsigned startBit, bool big) {
    flexRaySignalDef_t definition = flexRayDefinition(name.name(), 1, 100, 1, 4);
    definition.signal = "Torque";
    definition.unit = "Nm";
    definition.type = signalSigned;
    definition.startbit = static_cast<std::uint16_t>(startBit);
    definition.bits = 12;
    definition.scale = 0.5;
    definition.offset = 100.0;
    definition.endian = big;
    return definition;
}

// Bytes 200 and 201 as given; the rest is garbage.
FlexRayExtTraceMessage frame(std::uint8_t cycle, unsigned char first, unsigned char second,
                             unsigned long long timestamp) {
    std::vector<unsigned char> payload(254, 0xa5);
    payload[200] = first;
    payload[201] = second;
    FlexRayExtTraceMessage message = flexRayFrame(1, cycle, 100, payload);
    message.timestamp = timestamp;
    return message;
}

// Step 1: the signals are there; 2: a frame; 3: one of another cycle; 4: another frame.
void decodeFrames(SharedName const& little, SharedName const& big, Steps& steps) {
    FlexRaySignal const first(definitionOf(little, 1600, false), true);
    FlexRaySignal const second(definitionOf(big, 1607, true), true);
    struct {
        FlexRayExtTraceMessage d_message;
        unsigned long long d_key;
    } const frames[] = {{frame(1, 0xfe, 0x5f, 1000), 0x2000000000000001},
                        {frame(2, 0x12, 0x34, 1500), 0x2000000000000000},
                        {frame(61, 0x12, 0x34, 0x123456789abcdef0), 0x2000000000000001}};
    for (auto const& each : frames)
        if (!steps.next() || FlexRaySignal::decodeMessage(each.d_message) != each.d_key)
            _exit(EXIT_FAILURE);
    steps.next();
}

} // namespace

TEST(FlexRayProcessTest, decodedFramesReachTheSignalsOfAnotherProcess) {
    SharedName const littleName("little"), bigName("big");
    Capture errors(std::cerr);
    FlexRaySignal little(littleName.c_str());
    ShmSignal big(bigName.c_str());
    Shared<Steps> steps;
    Process decoder([&] { decodeFrames(littleName, bigName, *steps); });

    ASSERT_TRUE(steps->reach(1));
    errors.take(); // that they wait
    unsigned long long value = 0, timestamp = 0;
    EXPECT_FALSE(little.read(value, timestamp));
    EXPECT_EQ(FlexRaySignal::frIdArray, nullptr) << "each process has a table of its own";
    EXPECT_EQ(FlexRaySignal::decodeMessage(frame(1, 1, 2, 3)), 0x2000000000000000U);
    EXPECT_FALSE(little.read(value, timestamp));

    ASSERT_TRUE(steps->reach(2));
    expectValue(little, 0xfffffffffffffffe, 99.0, 1000);
    expectValue(big, 0xffffffffffffffe5, 86.5, 1000);
    EXPECT_STREQ(little.getUnit(), "Nm");
    EXPECT_EQ(big.getBits(), 12);
    ASSERT_TRUE(steps->reach(3));
    expectValue(little, 0xfffffffffffffffe, 99.0, 1000);
    ASSERT_TRUE(steps->reach(4));
    expectValue(little, 0x412, 621.0, 0x123456789abcdef0);
    expectValue(big, 0x123, 245.5, 0x123456789abcdef0);

    steps->d_asked = 5;
    EXPECT_TRUE(decoder.finished());
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(littleName.segmentId(), -1);
    EXPECT_EQ(bigName.segmentId(), -1);
}

TEST(FlexRayProcessTest, restartedDefinerRewritesTheRecordUnderItsReader) {
    SharedName const name;
    Capture const errors(std::cerr);
    Shared<Steps> steps;
    Process killed([&] {
        FlexRaySignal const signal(definitionOf(name, 1600, false), true);
        FlexRaySignal::decodeMessage(frame(1, 0x12, 0x34, 1000));
        steps->next();
    });
    ASSERT_TRUE(steps->reach(1));
    FlexRaySignal reader(name.c_str());
    expectValue(reader, 0x412, 621.0, 1000);
    killed.kill();

    Process next([&] {
        FlexRaySignal const signal(definitionOf(name, 1607, true), true);
        steps->next();
        FlexRaySignal::decodeMessage(frame(1, 0x12, 0x34, 2000));
        steps->next();
    });
    ASSERT_TRUE(steps->reach(2));
    unsigned long long value = 0, timestamp = 0;
    EXPECT_FALSE(reader.read(value, timestamp));
    ASSERT_TRUE(steps->reach(3));
    expectValue(reader, 0x123, 245.5, 2000);
    steps->d_asked = 4;
    EXPECT_TRUE(next.finished());
}
