// Feeding by the short path: it must not show.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/Capture.h"
#include "tests/support/Observe.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

// What is protected in a signal, as pointers to members: a signal of a derived class does not take the short path.
struct Inner : CANSignalExt {
    static constexpr shmSignalData_t* CANSignalExt::*data = &Inner::d_data;
    static constexpr shmSignalData_t CANSignalExt::*localData = &Inner::d_localData;
};

canSignalDef_t definition(std::string const& instance) {
    canSignalDef_t result;
    result.instance = instance;
    result.bits = 8;
    result.scale = 1;
    result.msgId = 0x123;
    return result;
}

// Feeds a frame of two bytes.
void feed(std::uint8_t first, std::uint8_t second, unsigned long long timestamp) {
    CANExtTraceMessage message;
    message.timestamp = timestamp;
    message.length = 2;
    message.identifier = 0x123;
    message.payload[0] = first;
    message.payload[1] = second;
    ASSERT_NE(CANSignalExt::decodeMessage(message), 0U);
}

class ShmSignalTakeTest : public testing::Test {
protected:
    void TearDown() override { BaseSignal::debug = 0; }

    static void expectReads(CANSignalExt& signal, unsigned long long value, unsigned long long timestamp) {
        unsigned long long raw = 0, rawTime = 0, physTime = 0;
        double phys = 0.0;
        EXPECT_TRUE(signal.read(raw, rawTime));
        EXPECT_TRUE(signal.read(phys, physTime));
        EXPECT_EQ(raw, value);
        EXPECT_EQ(phys, static_cast<double>(value));
        EXPECT_EQ(rawTime, timestamp);
        EXPECT_EQ(physTime, timestamp);
    }
};

TEST_F(ShmSignalTakeTest, unchangedAndChangedPayloadsFollowEachOther) {
    for (bool const shared : {false, true}) {
        SharedName const name;
        CANSignalExt signal(definition(name.name()), shared);
        feed(5, 1, 10);
        EXPECT_TRUE(signal.isModified());
        feed(5, 2, 11);
        EXPECT_FALSE(signal.isModified());
        expectReads(signal, 5, 11);
        feed(6, 2, 12);
        EXPECT_TRUE(signal.isModified());
        expectReads(signal, 6, 12);
        feed(7, 2, 13);
        feed(7, 3, 14);
        EXPECT_FALSE(signal.isModified());
        expectReads(signal, 7, 14);
    }
}

TEST_F(ShmSignalTakeTest, writeOfADerivedClassSeesEveryPayload) {
    std::vector<Written> written;
    Noting<CANSignalExt> const signal(definition("a"), written);
    for (unsigned long long time = 1; time <= 4; ++time)
        feed(5, 1, time);
    ASSERT_EQ(written.size(), 4U);
    EXPECT_EQ(written.back(), (Written{&signal, 0x0501000000000000, 4}));
}

TEST_F(ShmSignalTakeTest, debugThatIsTurnedOnLaterShowsEachAccess) {
    for (bool const shared : {false, true}) {
        SharedName const name;
        CANSignalExt signal(definition(name.name()), shared);
        feed(5, 1, 1);
        feed(5, 1, 2);
        Capture output(std::cout);
        BaseSignal::debug = 1;
        feed(5, 1, 3);
        EXPECT_NE(output.take().find("[DEBUG] ShmSignal::write (no change) "), std::string::npos);
        valueOf(signal);
        BaseSignal::debug = 0;
        EXPECT_NE(output.take().find("[DEBUG] ShmSignal::read "), std::string::npos);
        feed(5, 1, 4);
        valueOf(signal);
        EXPECT_EQ(output.text(), "");
    }
}

TEST_F(ShmSignalTakeTest, clearedSignalHasNoValueUntilItIsFedAgain) {
    CANSignalExt signal(definition("a"), false);
    feed(5, 1, 1);
    feed(5, 1, 2);
    signal.clear();
    EXPECT_EQ(valueOf(signal), 0xdeadU);
    feed(5, 1, 3);
    EXPECT_TRUE(signal.isModified());
    expectReads(signal, 5, 3);
}

TEST_F(ShmSignalTakeTest, layoutThatIsComputedAnewIsFollowed) {
    CANSignalExt signal(definition("a"), false);
    feed(5, 6, 1);
    feed(5, 6, 2);
    (signal.*Inner::data)->startbit = 60; // beyond the payload
    signal.cInit();
    feed(9, 6, 3);
    expectReads(signal, 5, 3);
    (signal.*Inner::data)->startbit = 8;
    signal.cInit();
    feed(9, 7, 4);
    expectReads(signal, 7, 4);
}

TEST_F(ShmSignalTakeTest, layoutThatRunsBeyondThePayloadIsFollowed) {
    CANSignalExt signal(definition("a"), false);
    feed(5, 6, 1);
    feed(5, 6, 2);
    (signal.*Inner::data)->startbit = 60;
    signal.cInit();
    CANExtTraceMessage message;
    message.timestamp = 3;
    message.length = 8;
    message.identifier = 0x123;
    message.payload[7] = 0xab;
    CANSignalExt::decodeMessage(message);
    expectReads(signal, 0xa, 3);
}

TEST_F(ShmSignalTakeTest, physicalValueIsConvertedOnce) {
    CANSignalExt signal(definition("a"), false);
    feed(5, 1, 1);
    feed(5, 1, 2);
    feed(6, 1, 3);
    EXPECT_EQ((signal.*Inner::localData).conv, 0U);
    expectReads(signal, 6, 3);
    EXPECT_EQ((signal.*Inner::localData).conv, 1U);
}

TEST_F(ShmSignalTakeTest, recordThatIsSharedLaterIsTheOneThatIsWritten) {
    SharedName const name;
    CANSignalExt signal(definition(name.name()), false);
    feed(5, 1, 1);
    feed(5, 1, 2);
    ASSERT_TRUE(signal.createSharedMemory());
    feed(6, 1, 3);
    EXPECT_NE(signal.*Inner::data, &(signal.*Inner::localData));
    EXPECT_EQ((signal.*Inner::data)->rawValue, 0x0601000000000000U);
    EXPECT_EQ((signal.*Inner::localData).rawValue, 0x0501000000000000U);
}

} // namespace
