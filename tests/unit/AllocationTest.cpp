// What the library allocates: nothing where values are written and read, and whatever fails elsewhere leaves no trace.
// Replaces the allocator, so it is a program of its own.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/InputMessages.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {

unsigned long allocations = 0;
long allocationsLeft = -1; // until one fails; negative: none fails

} // namespace

// Not inlined: GCC takes a deallocation by free for a mistake where it sees both.
__attribute__((noinline)) void* operator new(std::size_t size) {
    ++allocations;
    if (allocationsLeft >= 0 && allocationsLeft-- == 0)
        throw std::bad_alloc();
    if (void* const memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* memory) noexcept {
    std::free(memory);
}
__attribute__((noinline)) void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

canSignalDef_t definitionOf(std::string const& instance) {
    canSignalDef_t definition;
    static_cast<baseSignalDef_t&>(definition) = plainDefinition(instance, 8);
    definition.signal = "A name that is too long to be kept without memory of its own";
    definition.channel = 1;
    definition.msgId = 0x123;
    return definition;
}

canSignal_t storeDefinitionOf(std::string const& name) {
    canSignal_t definition;
    definition.bus = 1;
    definition.id = 0x123;
    definition.name = name;
    definition.unit = "A unit that is too long to be kept without memory of its own";
    definition.bits = 8;
    definition.scale = 1;
    return definition;
}

TEST(Allocation, accessesAllocateNothing) {
    SharedName const name;
    CANSignalExt signal(definitionOf(name.name()), true);
    CANExtTraceMessage message;
    message.channel = 1;
    message.identifier = 0x123;
    message.length = 8;
    unsigned char record[22] = {};
    record[14] = 1;
    record[20] = 1;
    record[21] = 0x23;
    bool all = true;
    double phys = 0;
    unsigned long long value = 0, timestamp = 0;
    unsigned long const before = allocations;
    for (unsigned char i = 0; i < 100; ++i) {
        message.payload[0] = i;
        all = all && CANSignalExt::signalsInUse(record, record + sizeof record);
        all = all && CANSignalExt::decodeMessage(message) != 0;
        all = all && signal.read(phys, timestamp) && signal.read(value, timestamp);
    }
    EXPECT_EQ(allocations, before);
    EXPECT_TRUE(all);
    EXPECT_EQ(value, 99U);
}

TEST(Allocation, accessesOfASelfContainedSignalAllocateNothing) {
    SharedName const name;
    CANSignal signal(storeDefinitionOf(name.name()), true);
    bool all = true;
    double phys = 0;
    unsigned long long value = 0, timestamp = 0;
    unsigned long const before = allocations;
    for (unsigned char i = 0; i < 100; ++i) {
        CANSignal::decodeMessage(1, 0x123, 0x0100000000000000ULL * i, i);
        all = all && signal.read(phys, timestamp) && signal.read(value, timestamp);
        all = all && signal.write(static_cast<double>(i), 5ULL) && signal.write(0x0100000000000000ULL * i, 6ULL);
    }
    EXPECT_EQ(allocations, before);
    EXPECT_TRUE(all);
    EXPECT_EQ(value, 99U);
}

template <typename Signal>
void expectNoAllocations(Signal& digital, Signal& analog, Signal& key) {
    // Built beforehand: messages that carry entries allocate.
    GpioTraceMessage gpio = gpioMessage(3, 1, 0);
    AnalogTraceMessage reading = analogMessage(3, 0);
    KeyboardMessage event = keyMessage(7, 0);
    InputRecord const records[] = {inputRecord(0x13, 3), inputRecord(0x12, 3), inputRecord(0x8031, 7)};
    bool all = true;
    double phys = 0;
    unsigned long long value = 0, timestamp = 0;
    unsigned long const before = allocations;
    for (std::uint16_t i = 1; i <= 100; ++i) {
        gpio.entries[0].levels = i;
        reading.entries[0].reading = event.keyState = i;
        gpio.timestamp = reading.timestamp = event.timestamp = i;
        for (InputRecord const& record : records)
            all = all && Signal::signalsInUse(record.data(), record.data() + record.size());
        all = all && Signal::decodeMessage(gpio) != 0 && Signal::decodeMessage(reading) != 0 &&
              Signal::decodeMessage(event) != 0;
        for (Signal* const signal : {&digital, &analog, &key})
            all = all && signal->write(i + 1U, i) && signal->read(phys, timestamp) && signal->read(value, timestamp);
    }
    EXPECT_EQ(allocations, before);
    EXPECT_TRUE(all);
    EXPECT_EQ(value, 101U);
}

inputSignalDef_t inputDefinition(std::string const& instance) {
    inputSignalDef_t definition;
    static_cast<baseSignalDef_t&>(definition) = plainDefinition(instance, 64);
    definition.startbit = 7;
    definition.endian = true;
    return definition;
}

TEST(Allocation, inputsOfTheProcessAllocateNothing) {
    InputSignal digital("DI.3"), analog("AI.3"), key("RC.F7");
    expectNoAllocations(digital, analog, key);
}

TEST(Allocation, inputsInSharedMemoryAllocateNothing) {
    InputSignalExt digital(inputDefinition("DI.3"), false), analog(inputDefinition("AI.3"), false),
        key(inputDefinition("RC.F7"), false);
    expectNoAllocations(digital, analog, key);
}

// Builds `Signal` with one allocation less to fail each time, until none does. Returns the number of failures.
template <typename Signal, typename... Arguments>
long failuresOf(Arguments const&... arguments) {
    for (long failures = 0;; ++failures) {
        allocationsLeft = failures;
        try {
            Signal const signal(arguments...);
            allocationsLeft = -1;
            EXPECT_EQ(Signal::inputContainer.size(), 1U);
            return failures;
        } catch (std::bad_alloc const&) {
            allocationsLeft = -1;
            EXPECT_TRUE(BaseSignal::instances.empty()) << failures;
            EXPECT_TRUE(Signal::inputContainer.empty()) << failures;
        }
    }
}

TEST(Allocation, inputWhoseConstructionFailsAnywhereLeavesNothingBehind) {
    EXPECT_GT(failuresOf<InputSignal>("DI.3"), 2) << "registry, map and vector";
    EXPECT_GT(failuresOf<InputSignalExt>(inputDefinition("DI.3"), false), 2);
}

TEST(Allocation, constructionThatFailsAnywhereLeavesNothingBehind) {
    SharedName const name("a name that is too long to be kept without memory of its own");
    canSignalDef_t const definition = definitionOf(name.name());
    bool built = false;
    long failures = 0;
    for (; !built; ++failures) {
        allocationsLeft = failures;
        try {
            CANSignalExt const signal(definition, true);
            allocationsLeft = -1;
            built = true;
            EXPECT_EQ(CANSignalExt::canMessageContainer.size(), 1U);
        } catch (std::bad_alloc const&) {
            allocationsLeft = -1;
            EXPECT_TRUE(BaseSignal::instances.empty()) << failures;
            EXPECT_TRUE(CANSignalExt::canMessageContainer.empty()) << failures;
            EXPECT_EQ(name.segmentId(), -1) << failures;
        }
    }
    EXPECT_GT(failures, 5) << "allocations that were made to fail";
}

TEST(Allocation, constructionOfASelfContainedSignalThatFailsAnywhereLeavesNothingBehind) {
    SharedName const name("a name that is too long to be kept without memory of its own");
    canSignal_t const definition = storeDefinitionOf(name.name());
    std::vector<CANSignal*>& entry = CANSignal::canMessageVector.at(2048 + 0x123);
    bool built = false;
    long failures = 0;
    for (; !built; ++failures) {
        entry.shrink_to_fit();
        allocationsLeft = failures;
        try {
            CANSignal const signal(definition, true);
            allocationsLeft = -1;
            built = true;
            EXPECT_EQ(entry.size(), 1U);
        } catch (std::bad_alloc const&) {
            allocationsLeft = -1;
            EXPECT_TRUE(BaseSignal::instances.empty()) << failures;
            EXPECT_TRUE(entry.empty()) << failures;
            EXPECT_EQ(name.segmentId(), -1) << failures;
        }
    }
    EXPECT_GT(failures, 4) << "allocations that were made to fail";
}

} // namespace
