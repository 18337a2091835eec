// Messages of inputs that one process decodes into signals that another one reads by name.
#include "qzsignal/input/InputSignalExt.h"
#include "tests/process/Process.h"
#include "tests/process/Shared.h"
#include "tests/support/Capture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/SharedInput.h"

namespace {

inputSignalDef_t definition(char const* instance) {
    inputSignalDef_t result;
    result.instance = instance;
    result.signal = "Input";
    result.unit = "mV";
    result.type = signalSigned;
    result.startbit = 7;
    result.bits = 64;
    result.scale = 0.5;
    result.offset = 10.0;
    result.endian = true;
    return result;
}

struct Steps {
    SharedCounter d_asked; // messages that may be decoded
    SharedCounter d_decoded;
};

void decodeMessages(Steps& steps) {
    // Those of the parent, which has another set of signals.
    InputSignalExt::inputContainer.clear();
    InputSignalExt const analog(definition("AI.3"), true);
    InputSignalExt const digital(definition("DI.2"), true);
    InputSignalExt const key(definition("RC.F1"), true);
    unsigned long long (*const decode[])() = {
        [] { return InputSignalExt::decodeMessage(analogMessage(3, -5, 1000)); },
        [] { return InputSignalExt::decodeMessage(gpioMessage(2, 6, 5, 2000)); },
        [] { return InputSignalExt::decodeMessage(keyMessage(1, 2, 0x123456789abcdef0)); },
        [] { return InputSignalExt::decodeMessage(gpioMessage(2, 0xffff, 4, 3000)); }, // the level stays
    };
    unsigned long long const keys[] = {0x0400000000000003, 0x0800000000000002, 0x1000000000000001, 0x0800000000000002};
    std::uint32_t decoded = 0;
    for (auto const& each : decode) {
        if (!waitUntil([&] { return steps.d_asked > decoded; }) || each() != keys[decoded])
            _exit(EXIT_FAILURE);
        steps.d_decoded = ++decoded;
    }
    waitUntil([&] { return steps.d_asked > decoded; });
}

void expectValue(char const* instance, unsigned long long raw, double phys, unsigned long long timestamp) {
    BaseSignal* const signal = BaseSignal::getInstance(instance);
    ASSERT_NE(signal, nullptr);
    unsigned long long rawRead = 0, rawTimestamp = 0, physTimestamp = 0;
    double physRead = 0.0;
    EXPECT_TRUE(signal->read(rawRead, rawTimestamp));
    EXPECT_TRUE(signal->read(physRead, physTimestamp));
    EXPECT_EQ(rawRead, raw);
    EXPECT_EQ(physRead, phys);
    EXPECT_EQ(rawTimestamp, timestamp);
    EXPECT_EQ(physTimestamp, timestamp);
}

void expectNothing(BaseSignal& signal) {
    unsigned long long value = 0, timestamp = 0;
    EXPECT_FALSE(signal.read(value, timestamp));
}

} // namespace

TEST(InputProcessTest, decodedMessagesReachTheSignalsOfAnotherProcess) {
    SharedInput const analogInput("AI.3");
    SharedInput const digitalInput("DI.2");
    SharedInput const keyInput("RC.F1");
    Capture errors(std::cerr);
    InputSignalExt analog("AI.3");
    ShmSignal digital("DI.2"); // the name is all that a reader needs
    InputSignalExt key("RC.F1");
    expectNothing(analog);

    Shared<Steps> steps;
    Process decoder([&] { decodeMessages(*steps); });
    auto const decode = [&](std::uint32_t count) {
        steps->d_asked = count;
        return waitUntil([&] { return steps->d_decoded == count; });
    };

    ASSERT_TRUE(decode(1));
    errors.take();
    expectValue("AI.3", 0xfffffffffffffffb, 7.5, 1000);
    EXPECT_STREQ(analog.getUnit(), "mV");
    EXPECT_EQ(analog.getType(), signalSigned);
    expectNothing(digital);
    expectNothing(key);

    ASSERT_TRUE(decode(2));
    expectValue("DI.2", 4, 12.0, 2000);
    ASSERT_TRUE(decode(3));
    expectValue("RC.F1", 2, 11.0, 0x123456789abcdef0);
    ASSERT_TRUE(decode(4));
    expectValue("DI.2", 4, 12.0, 3000);
    expectValue("AI.3", 0xfffffffffffffffb, 7.5, 1000);

    steps->d_asked = 5;
    EXPECT_TRUE(decoder.finished());
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(analogInput.segmentId(), -1) << "whoever defined the signals has removed their segments";
    EXPECT_EQ(digitalInput.segmentId(), -1);
    EXPECT_EQ(keyInput.segmentId(), -1);
}

TEST(InputProcessTest, signalOpenedByNameFeedsTheOneOfAnotherProcess) {
    SharedInput const input("AI.3");
    Shared<Steps> steps;
    InputSignalExt owner(definition("AI.3"), true);
    Process decoder([] {
        InputSignalExt::inputContainer.clear();
        InputSignalExt const opened("AI.3");
        if (InputSignalExt::decodeMessage(analogMessage(3, 6, 4000)) != 0x0400000000000003)
            _exit(EXIT_FAILURE);
    });
    EXPECT_TRUE(decoder.finished());
    expectValue("AI.3", 6, 13.0, 4000);
}
