// Programs that are built with -fno-rtti may derive from the classes that feed many signals by the short path: its
// check for a derived class works on objects of theirs as on any other.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/Observe.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#ifdef __GXX_RTTI
#error "this is to be built without type information"
#endif

namespace {

// Signals of one byte, the first of a frame.
struct CANKind {
    using Signal = CANSignalExt;
    static canSignalDef_t definition(std::string const& instance) {
        canSignalDef_t result;
        result.instance = instance;
        result.bits = 8;
        result.scale = 1;
        result.msgId = 0x123;
        return result;
    }
    static void feed(unsigned char value, unsigned long long timestamp) {
        CANExtTraceMessage message;
        message.identifier = 0x123;
        message.timestamp = timestamp;
        message.length = 1;
        message.payload[0] = value;
        CANSignalExt::decodeMessage(message);
    }
};
struct FlexRayKind {
    using Signal = FlexRaySignal;
    static flexRaySignalDef_t definition(std::string const& instance) {
        return flexRayDefinition(instance, 0, 7, 0, 1);
    }
    static void feed(unsigned char value, unsigned long long timestamp) {
        FlexRayExtTraceMessage message = flexRayFrame(0, 0, 7, {value, 0});
        message.timestamp = timestamp;
        FlexRaySignal::decodeMessage(message);
    }
};

// Stores twice the value.
template <typename Signal>
class Doubling : public Signal {
public:
    using Signal::Signal;
    bool write(unsigned long long raw, unsigned long long timestamp) override {
        ++d_writes;
        return Signal::write(2 * raw, timestamp);
    }
    unsigned d_writes = 0;
};
// Has no `write` of its own.
template <typename Signal>
class Named : public Signal {
public:
    using Signal::Signal;
};

template <typename Kind>
class TakeWithoutTypeInformationTest : public testing::Test {
protected:
    // Feeds changed and unchanged payloads, so that all ways are gone that there are.
    template <typename Signal>
    void expectFed(bool shared, unsigned factor, Signal& signal) {
        SCOPED_TRACE(shared ? "shared" : "local");
        unsigned long long time = 0;
        for (unsigned const value : {3U, 3U, 3U, 4U, 4U, 3U}) {
            Kind::feed(static_cast<unsigned char>(value), ++time);
            unsigned long long found = 0, foundTime = 0;
            EXPECT_TRUE(signal.read(found, foundTime));
            EXPECT_EQ(found, factor * value);
            EXPECT_EQ(foundTime, time);
        }
    }
};

using Kinds = testing::Types<CANKind, FlexRayKind>;
TYPED_TEST_SUITE(TakeWithoutTypeInformationTest, Kinds);

TYPED_TEST(TakeWithoutTypeInformationTest, writeOfADerivedClassSeesEveryPayload) {
    for (bool const shared : {false, true}) {
        SharedName const name;
        Doubling<typename TypeParam::Signal> signal(TypeParam::definition(name.name()), shared);
        this->expectFed(shared, 2, signal);
        EXPECT_EQ(signal.d_writes, 6U);
    }
}

TYPED_TEST(TakeWithoutTypeInformationTest, derivedClassWithoutAWriteIsFedAsItsBase) {
    for (bool const shared : {false, true}) {
        SharedName const name, other;
        Named<typename TypeParam::Signal> signal(TypeParam::definition(name.name()), shared);
        typename TypeParam::Signal base(TypeParam::definition(other.name()), shared);
        this->expectFed(shared, 1, signal);
        this->expectFed(shared, 1, base);
    }
}

} // namespace
