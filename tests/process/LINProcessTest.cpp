// LIN frames that one process decodes into a signal that another one reads by name.
#include "tests/process/Steps.h"
#include "tests/support/Capture.h"
#include "tests/support/LINFixture.h"
#include "tests/support/SharedName.h"

namespace {

// A signed half of a byte, in frame 0x21 on channel 2.
linSignalDef_t definitionOf(SharedName const& name) {
    linSignalDef_t definition = linDefinition(name.name(), 0x21);
    definition.signal = "Temperature";
    definition.unit = "C";
    definition.type = signalSigned;
    definition.startbit = 12;
    definition.bits = 4;
    definition.scale = 0.5;
    definition.offset = 20.0;
    return definition;
}

// Step 1: the signal is there; 2: a frame; 3: one of another identifier; 4: another frame.
void decodeFrames(SharedName const& name, Steps& steps) {
    FedLINSignal const signal(definitionOf(name), true);
    LINTraceMessage last = linFrame(2, 0x61, {0x00, 0x7f});
    last.timestamp = 0x123456789abcdef0;
    struct {
        LINTraceMessage d_message;
        unsigned long long d_key;
    } const frames[] = {{linFrame(2, 0xa1, {0x00, 0xf0}), 0x221}, {linFrame(2, 0x22, {0x00, 0x10}), 0}, {last, 0x221}};
    for (auto const& frame : frames)
        if (!steps.next() || LINSignal::decodeMessage(frame.d_message) != frame.d_key)
            _exit(EXIT_FAILURE);
    steps.next();
}

} // namespace

TEST(LINProcessTest, decodedFramesReachTheSignalOfAnotherProcess) {
    SharedName const name;
    Capture errors(std::cerr);
    LINSignal reader(name.c_str());
    Shared<Steps> steps;
    Process decoder([&] { decodeFrames(name, *steps); });

    ASSERT_TRUE(steps->reach(1));
    errors.take(); // that it waits
    unsigned long long value = 0, timestamp = 0;
    EXPECT_FALSE(reader.read(value, timestamp));
    EXPECT_EQ(LINSignal::decodeMessage(linFrame(2, 0x21)), 0U) << "not fed in its own process";
    EXPECT_FALSE(reader.read(value, timestamp));

    ASSERT_TRUE(steps->reach(2));
    expectValue(reader, ~0ULL, 19.5, 1000);
    EXPECT_STREQ(reader.getUnit(), "C");
    EXPECT_EQ(reader.getBits(), 4);
    ASSERT_TRUE(steps->reach(3));
    expectValue(reader, ~0ULL, 19.5, 1000);
    ASSERT_TRUE(steps->reach(4));
    expectValue(reader, 7, 23.5, 0x123456789abcdef0);

    steps->d_asked = 5;
    EXPECT_TRUE(decoder.finished());
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(name.segmentId(), -1);
}
