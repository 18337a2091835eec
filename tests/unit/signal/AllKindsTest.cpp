// The services over the registry, with signals of all kinds in it: what each kind makes of them.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/LINFixture.h"
#include "tests/support/SharedInput.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

constexpr unsigned long long analogKey = 0x0400000000000003;
constexpr unsigned long long digitalKey = 0x0800000000000002;
constexpr unsigned long long digitalAndMaskKey = 0x0800000000030001;
constexpr unsigned long long canKey = 0x8000000100000123;
constexpr unsigned long long flexRayKey = 0x2000000000000001;
constexpr unsigned long long linKey = 0x4000000000000221;

canSignalDef_t canExtDefinition(std::string const& instance) {
    canSignalDef_t definition;
    static_cast<baseSignalDef_t&>(definition) = plainDefinition(instance, 8);
    definition.channel = 1;
    definition.msgId = 0x123;
    return definition;
}

using Keys = std::vector<unsigned long long>;

Keys silentBefore(unsigned long long time) {
    Keys silent = {17};
    EXPECT_EQ(BaseSignal::checkTimeout(time, silent), 0);
    return silent;
}

// One signal of each kind, named so that no order of construction is that of the names.
class AllKindsTest : public testing::Test {
protected:
    // All of them get 1 in the payload's first byte, and in its last one.
    void writeAll(unsigned long long timestamp) {
        for (auto const& entry : BaseSignal::instances)
            EXPECT_TRUE(entry.second->write(0x0100000000000001, timestamp)) << entry.first;
    }

    // Names of the signals that hold a value.
    static std::string written() {
        std::string names;
        for (auto const& entry : BaseSignal::instances) {
            unsigned long long value = 0, timestamp = 0;
            if (entry.second->read(value, timestamp))
                names += entry.first + " ";
        }
        return names;
    }

    static std::string modified() {
        std::string names;
        for (auto const& entry : BaseSignal::instances)
            if (entry.second->isModified())
                names += entry.first + " ";
        return names;
    }

    CANSignal d_store{canDefinition("store", 8), false};
    ShmSignal d_plain{plainDefinition("plain", 8), false};
    LINSignal d_lin{linDefinition("lin", 0x21), false};
    InputSignal d_input{"DI.3"};
    FlexRaySignal d_flexRay{flexRayDefinition("flexray", 1, 5, 0, 1), false};
    InputSignalExt d_inputExt{inputDefinition("DI.2"), false};
    CANSignalExt d_can{canExtDefinition("can"), false};
    InputSignal d_analog{"AI.3"};
};

} // namespace

TEST_F(AllKindsTest, eachIsFoundByItsName) {
    std::pair<char const*, BaseSignal const*> const signals[] = {
        {"AI.3", &d_analog},     {"DI.2", &d_inputExt}, {"DI.3", &d_input},  {"can", &d_can},
        {"flexray", &d_flexRay}, {"lin", &d_lin},       {"plain", &d_plain}, {"store", &d_store}};
    auto entry = BaseSignal::instances.begin();
    for (auto const& [name, signal] : signals) {
        EXPECT_EQ(BaseSignal::getInstance(name), signal) << name;
        ASSERT_NE(entry, BaseSignal::instances.end());
        EXPECT_EQ(entry->first, name) << "in order";
        ++entry;
    }
    EXPECT_EQ(entry, BaseSignal::instances.end());
}

TEST_F(AllKindsTest, unwrittenSignalsAreNotSilentWhateverTheirRecordsHold) {
    EXPECT_EQ(silentBefore(~0ULL), Keys());
}

TEST_F(AllKindsTest, silentSignalsAreListedByTheKeysOfTheirMessages) {
    writeAll(1000);
    EXPECT_EQ(silentBefore(1000), Keys());
    // A digital input has another key in the process than in shared memory; a CAN signal with a record of its own has
    // none, and neither has a signal of no bus.
    EXPECT_EQ(silentBefore(1001), (Keys{analogKey, digitalKey, digitalAndMaskKey, canKey, flexRayKey, linKey, 0, 0}));
}

// Deliberate: a LIN message is listed by its tagged key, which decoding the message does not return.
TEST_F(AllKindsTest, decodedMessagesMakeTheirOwnSignalsHeardAgain) {
    writeAll(1000);
    CANExtTraceMessage frame;
    frame.timestamp = 2000;
    frame.channel = 1;
    frame.identifier = 0x123;
    frame.length = 8;
    FlexRayExtTraceMessage flexRay = flexRayFrame(1, 0, 5);
    flexRay.timestamp = 2000;
    LINTraceMessage lin = linFrame(2, 0x21);
    lin.timestamp = 2000;
    EXPECT_EQ(CANSignalExt::decodeMessage(frame), canKey);
    EXPECT_EQ(silentBefore(2000), (Keys{analogKey, digitalKey, digitalAndMaskKey, flexRayKey, linKey, 0, 0}));
    EXPECT_EQ(FlexRaySignal::decodeMessage(flexRay), flexRayKey);
    EXPECT_EQ(InputSignalExt::decodeMessage(gpioMessage(2, 1, 1, 2000)), digitalKey);
    EXPECT_EQ(silentBefore(2000), (Keys{analogKey, digitalAndMaskKey, linKey, 0, 0}));
    EXPECT_EQ(LINSignal::decodeMessage(lin), 0U);
    EXPECT_EQ(InputSignal::decodeMessage(gpioMessage(3, 1, 1, 2000)), digitalAndMaskKey);
    EXPECT_EQ(InputSignal::decodeMessage(analogMessage(3, 7, 2000)), analogKey);
    CANSignal::decodeMessage(1, 0x123, 7ULL << 56, 2000);
    EXPECT_EQ(silentBefore(2000), (Keys{linKey, 0})) << "the LIN signal and the one of no bus";
}

// Deliberate: an unchanged value does not refresh the time of an input of the process or of a CAN signal with a record
// of its own.
TEST_F(AllKindsTest, unchangedValuesLeaveTwoKindsSilent) {
    writeAll(1000);
    writeAll(2000);
    EXPECT_EQ(silentBefore(2000), (Keys{analogKey, digitalAndMaskKey, 0}));
    EXPECT_EQ(modified(), "");
}

// Deliberate: so it does nothing to a CAN signal with a record of its own, and counts as a modification of those in
// shared memory but not of an input of the process.
TEST_F(AllKindsTest, clearAllEmptiesAllKindsButTheSelfContainedOne) {
    writeAll(1000);
    writeAll(2000);
    BaseSignal::clearAll();
    EXPECT_EQ(written(), "store ");
    EXPECT_EQ(modified(), "DI.2 can flexray lin plain ");
    EXPECT_EQ(silentBefore(~0ULL), Keys{0});
    writeAll(3000);
    EXPECT_EQ(written(), "AI.3 DI.2 DI.3 can flexray lin plain store ");
    EXPECT_EQ(silentBefore(3000), Keys{0}) << "the self-contained one, which has not changed";
}

// Deliberate: an input of the process starts from 0, so that an event of that value is no change.
TEST_F(AllKindsTest, aZeroAfterClearingIsAValueToAllKindsButInputsOfTheProcess) {
    writeAll(1000);
    BaseSignal::clearAll();
    for (auto const& entry : BaseSignal::instances)
        entry.second->write(0ULL, 2000);
    EXPECT_EQ(written(), "DI.2 can flexray lin plain store ");
    EXPECT_EQ(silentBefore(2000), Keys());
}

TEST_F(AllKindsTest, clearOfAKeyEmptiesTheSignalsOfThatMessage) {
    struct {
        unsigned long long d_key;
        char const* d_left;
    } const cases[] = {
        {linKey - 0x4000000000000000, "AI.3 DI.2 DI.3 can flexray lin plain store "}, // as a LIN message is decoded
        {0x2000000000000000, "AI.3 DI.2 DI.3 can flexray lin plain store "},          // of unknown FlexRay frames
        {canKey, "AI.3 DI.2 DI.3 flexray lin plain store "},
        {flexRayKey, "AI.3 DI.2 DI.3 can lin plain store "},
        {linKey, "AI.3 DI.2 DI.3 can flexray plain store "},
        {analogKey, "DI.2 DI.3 can flexray lin plain store "},
        {digitalKey, "AI.3 DI.3 can flexray lin plain store "},
        {digitalKey + 1, "AI.3 DI.2 DI.3 can flexray lin plain store "}, // not of the other digital input
        {digitalAndMaskKey, "AI.3 DI.2 can flexray lin plain store "},
        {0,
         "AI.3 DI.2 DI.3 can flexray lin store "}, // of those without a message, a self-contained one keeps its value
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.d_key);
        writeAll(1000);
        BaseSignal::clear({each.d_key});
        EXPECT_EQ(written(), each.d_left);
    }
    writeAll(1000);
    BaseSignal::clear({linKey, canKey, analogKey, 99, canKey});
    EXPECT_EQ(written(), "DI.2 DI.3 flexray plain store ");
}

// Deliberate: clearing neither attaches nor warns, and counts as a modification all the same.
TEST_F(AllKindsTest, signalsThatWaitForTheirRecordsAreNeitherSilentNorInTheWayOfTheOthers) {
    writeAll(1000);
    SharedName const can, store;
    Capture errors(std::cerr);
    CANSignalExt const waiting(can.c_str());
    CANSignal const waitingStore(store.c_str());
    std::string const warnings = "[WARNING] ShmSignal: " + can.name() + ": Waiting for key (" + can.path() +
                                 ")\n[WARNING] CANSignal: " + store.name() + ": Waiting for key (" + store.path() +
                                 ")\n";
    EXPECT_EQ(errors.take(), warnings);
    EXPECT_EQ(silentBefore(1001), (Keys{analogKey, digitalKey, digitalAndMaskKey, canKey, flexRayKey, linKey, 0, 0}));
    EXPECT_EQ(errors.take(), warnings);
    BaseSignal::clearAll();
    BaseSignal::clear({0});
    EXPECT_EQ(errors.text(), "");
    EXPECT_TRUE(waiting.isModified());
    EXPECT_FALSE(waitingStore.isModified());
}

// A signal opened by name has no message unless it is an input, so only key 0 reaches it. It clears the shared record,
// and so the value of every process.
TEST_F(AllKindsTest, signalOpenedByNameIsClearedByKeyZeroForItsDefinerAsWell) {
    SharedName const name, storeName;
    CANSignalProbe definedStore(canDefinition(storeName.name(), 8), true);
    CANSignalExt defined(canExtDefinition(name.name()), true);
    BaseSignal::instances.erase(name.name()); // as in a process of its own
    BaseSignal::instances.erase(storeName.name());
    CANSignalExt const opened(name.c_str());
    CANSignal const openedStore(storeName.c_str());
    unsigned long long value = 0, timestamp = 0;
    for (unsigned i = 0; i < 2; ++i)
        defined.write(1ULL << 56, 1000);
    definedStore.write(1ULL << 56, 1000ULL);
    BaseSignal::clear({canKey});
    EXPECT_TRUE(defined.read(value, timestamp));
    EXPECT_EQ(silentBefore(1001), (Keys{0, 0})) << "both of those opened by name";
    BaseSignal::clear({0});
    EXPECT_FALSE(defined.read(value, timestamp));
    EXPECT_FALSE(defined.isModified()) << "that is a matter of each process";
    EXPECT_TRUE(definedStore.readRaw().d_there);
}
