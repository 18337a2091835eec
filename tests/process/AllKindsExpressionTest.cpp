// One expression over signals of three kinds, in a process that decodes none of them.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/input/InputSignalExt.h"
#include "tests/process/Steps.h"
#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/SharedInput.h"

#include <set>
#include <string>
#include <vector>

namespace {

// The first payload byte, in steps of 0.5.
flexRaySignalDef_t torqueDefinition(SharedName const& name) {
    flexRaySignalDef_t definition = flexRayDefinition(name.name(), 1, 100, 0, 1);
    definition.scale = 0.5;
    return definition;
}

// A reading that may be below zero.
inputSignalDef_t pedalDefinition(SharedName const& name) {
    inputSignalDef_t definition;
    definition.instance = name.name();
    definition.type = signalSigned;
    definition.startbit = 7;
    definition.bits = 64;
    definition.scale = 1.0;
    definition.endian = true;
    return definition;
}

// The first payload byte, 10 and more.
canSignal_t limitDefinition(SharedName const& name) {
    canSignal_t definition;
    definition.bus = 1;
    definition.id = 0x123;
    definition.name = name.name();
    definition.bits = 8;
    definition.scale = 1.0;
    definition.offset = 10.0;
    return definition;
}

bool decodeTorque(unsigned char value, unsigned long long timestamp) {
    FlexRayExtTraceMessage message = flexRayFrame(1, 0, 100, {value, 0});
    message.timestamp = timestamp;
    return FlexRaySignal::decodeMessage(message) == 0x2000000000000001;
}

bool decodePedal(std::int32_t value, unsigned long long timestamp) {
    return InputSignalExt::decodeMessage(analogMessage(5, value, timestamp)) == 0x0400000000000005;
}

bool decodeLimit(unsigned char value, unsigned long long timestamp) {
    CANSignal::decodeMessage(1, 0x123, static_cast<unsigned long long>(value) << 56, timestamp);
    return true;
}

// What there is to decode; step 1 defines the signals, and each of these is one step more.
bool (*const frames[])() = {
    [] { return decodeTorque(40, 1000); },          // 20
    [] { return decodePedal(-3, 2000); },  [] { return decodeLimit(5, 500); }, // 15
    [] { return decodeLimit(7, 5000); },          // 17
    [] { return decodePedal(-2, 4000); },  [] { return decodeLimit(7, 9000); }, // no change
    [] { return decodeTorque(40, 6000); },          // no change
    [] { return decodeTorque(42, 7000); },          // 21
};

class AllKindsExpressionTest : public testing::Test {
protected:
    void decodeFrames() {
        InputSignalExt::inputContainer.clear(); // those of the parent
        FlexRaySignal const torque(torqueDefinition(d_torque), true);
        InputSignalExt const pedal(pedalDefinition(d_pedal), true);
        CANSignal const limit(limitDefinition(d_limit), true);
        for (auto const& decode : frames)
            if (!d_steps->next() || !decode())
                _exit(EXIT_FAILURE);
        d_steps->next();
    }

    SharedInput const d_pedal{"AI.5"};
    SharedName const d_torque{"torque"};
    SharedName const d_limit{"limit"};
    Shared<Steps> d_steps;
};

} // namespace

TEST_F(AllKindsExpressionTest, isInvalidUntilTheLastSignalHasAValueAndThenFollowsEachOfThem) {
    Capture errors(std::cerr);
    FlexRaySignal const torque(d_torque.c_str()); // not defined yet
    InputSignalExt const pedal(d_pedal.c_str());
    CANSignal const limit(d_limit.c_str());
    EXPECT_EQ(BaseSignal::getInstance(d_torque.c_str()), &torque);
    EXPECT_EQ(BaseSignal::getInstance("AI.5"), &pedal);
    EXPECT_EQ(BaseSignal::getInstance(d_limit.c_str()), &limit);

    std::string const sum = d_torque.name() + " + AI.5";
    ExpParser value((sum + " - " + d_limit.name()).c_str(), false);
    ExpParser edge((sum + " > " + d_limit.name()).c_str(), true);
    ASSERT_EQ(ExpParser::allExpParsers.size(), 2U);
    EXPECT_EQ(BaseSignal::instances.size(), 3U) << "none was made for the expressions";
    EXPECT_EQ(value.signalMessageIds, (std::set<unsigned long long>{0, 0x0400000000000005}))
        << "of those opened by name, inputs alone know their message";
    auto const expect = [&](double difference, bool trigger, bool written, unsigned long long latest) {
        EXPECT_EQ(value.getValue(), difference);
        EXPECT_EQ(edge.getTrigger(), trigger);
        EXPECT_EQ(value.isWritten(), written);
        EXPECT_EQ(edge.isWritten(), written);
        EXPECT_EQ(value.getLastestTime(), latest);
    };
    expect(0.0, false, false, 0);
    EXPECT_NE(errors.text(), "") << "they wait";

    Process decoder([&] { decodeFrames(); });
    // Deliberate: the record of a CAN signal shows its time before there is a value.
    constexpr unsigned long long unwritten = 0x55555555;
    struct {
        double d_difference;
        bool d_trigger;
        bool d_written;
        unsigned long long d_latest;
    } const steps[] = {
        {0.0, false, false, unwritten}, // defined
        {0.0, false, false, unwritten}, // torque
        {0.0, false, false, unwritten}, // pedal
        {2.0, true, true, 2000},        // limit
        {0.0, false, true, 5000},       // a higher limit
        {1.0, true, true, 5000},        // pedal again, earlier than that
        {1.0, false, true, 5000},       // the same limit: its time is that of its last change
        {1.0, false, true, 6000},       // the same torque: its time is that of its last frame
    };
    std::uint32_t step = 0;
    for (auto const& each : steps) {
        SCOPED_TRACE(++step);
        ASSERT_TRUE(d_steps->reach(step));
        errors.take();
        expect(each.d_difference, each.d_trigger, each.d_written, each.d_latest);
        EXPECT_EQ(errors.text(), "");
    }
    std::vector<unsigned long long> silent;
    EXPECT_EQ(BaseSignal::checkTimeout(6000, silent), 0);
    EXPECT_EQ(silent, (std::vector<unsigned long long>{0x0400000000000005, 0})) << "the pedal's and the limit's";

    // Forgotten for all processes; a CAN signal keeps its value. That all were written once stays known.
    BaseSignal::clear({0});
    expect(0.0, false, true, 5000);
    ASSERT_TRUE(d_steps->reach(++step));
    expect(2.0, true, true, 7000);

    d_steps->d_asked = ++step;
    EXPECT_TRUE(decoder.finished());
    // The records went with their process, the last values stay with those who are attached.
    expect(2.0, false, true, 7000);
    EXPECT_EQ(errors.text(), "");
    EXPECT_EQ(d_torque.segmentId(), -1);
    EXPECT_EQ(d_pedal.segmentId(), -1);
    EXPECT_EQ(d_limit.segmentId(), -1);
}
