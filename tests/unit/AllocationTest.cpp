// What the library allocates: nothing where values are written and read, and whatever fails elsewhere leaves no trace.
// Replaces the allocator, so it is a program of its own.
#include "qzsignal/can/CANSignal.h"
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/input/InputSignal.h"
#include "qzsignal/input/InputSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/support/Capture.h"
#include "tests/support/FlexRayFixture.h"
#include "tests/support/InputMessages.h"
#include "tests/support/LINFixture.h"
#include "tests/support/SharedInput.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <gtest/gtest.h>
#include <memory>

#include <cstdlib>
#include <new>

namespace {

unsigned long allocations = 0;
long blocks = 0;           // allocated and not given back
long allocationsLeft = -1; // until one fails; negative: none fails

void* counted(void* memory) {
    if (memory == nullptr)
        throw std::bad_alloc();
    ++blocks;
    return memory;
}

void mayFail() {
    ++allocations;
    if (allocationsLeft >= 0 && allocationsLeft-- == 0)
        throw std::bad_alloc();
}

void giveBack(void* memory) {
    blocks -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

} // namespace

// Not inlined: GCC takes a deallocation by free for a mistake where it sees both.
__attribute__((noinline)) void* operator new(std::size_t size) {
    mayFail();
    return counted(std::malloc(size != 0 ? size : 1));
}
__attribute__((noinline)) void* operator new(std::size_t size, std::align_val_t alignment) {
    mayFail();
    auto const step = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(step, (size + step - 1) / step * step));
}
__attribute__((noinline)) void operator delete(void* memory) noexcept {
    giveBack(memory);
}
__attribute__((noinline)) void operator delete(void* memory, std::size_t) noexcept {
    giveBack(memory);
}
__attribute__((noinline)) void operator delete(void* memory, std::align_val_t) noexcept {
    giveBack(memory);
}
__attribute__((noinline)) void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    giveBack(memory);
}

namespace {

// More than a string holds without memory of its own.
constexpr char longName[] = "A name that is too long to be kept without memory of its own";

canSignalDef_t canDefinition(std::string const& instance) {
    canSignalDef_t definition;
    static_cast<baseSignalDef_t&>(definition) = plainDefinition(instance, 8);
    definition.signal = longName;
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

linSignalDef_t linDefinitionOf(std::string const& instance) {
    linSignalDef_t definition = linDefinition(instance, 0x21);
    definition.signal = longName;
    return definition;
}

flexRaySignalDef_t flexRayDefinitionOf(std::string const& instance) {
    flexRaySignalDef_t definition = flexRayDefinition(instance, 1, 5, 0, 1);
    definition.signal = longName;
    return definition;
}

// Runs `round` a hundred times; true if it was true each time and nothing was allocated.
template <typename Round>
bool allocatesNothing(Round round) {
    bool all = true;
    unsigned long const before = allocations;
    for (unsigned char i = 0; i < 100; ++i)
        all = all && round(i);
    EXPECT_EQ(allocations, before);
    return all;
}

bool readable(BaseSignal& signal, unsigned long long expected) {
    double phys = 0;
    unsigned long long value = 0, timestamp = 0;
    return signal.read(phys, timestamp) && signal.read(value, timestamp) && value == expected;
}

// Has an object built on the heap again and again, with a later allocation failing each time, until it succeeds; that
// object is the result. After each failure `expectUntouched` looks whether everything else is as it was, and no memory
// may be missing.
template <typename Build, typename ExpectUntouched>
auto builtAtLast(Build build, ExpectUntouched expectUntouched) {
    build(); // what is allocated once is allocated, and stays
    for (long failures = 0;; ++failures) {
        expectUntouched();
        long const before = blocks;
        allocationsLeft = failures;
        try {
            auto object = build();
            allocationsLeft = -1;
            EXPECT_GT(failures, 3) << "allocations that were made to fail";
            return object;
        } catch (std::bad_alloc const&) {
            allocationsLeft = -1;
            expectUntouched();
            EXPECT_EQ(blocks, before) << "after allocation " << failures << " had failed";
        }
    }
}

// The same with a shared signal.
template <typename Signal, typename Definition>
void expectFailuresToLeaveNothing(Definition const& definition, SharedName const& name,
                                  qzsignal::DispatchMap<Signal> const& container) {
    typename qzsignal::DispatchMap<Signal>::Entries const before = container;
    std::size_t const registered = BaseSignal::instances.size();
    auto const signal = builtAtLast([&] { return std::make_unique<Signal>(definition, true); },
                                    [&] {
                                        EXPECT_EQ(BaseSignal::instances.size(), registered);
                                        EXPECT_EQ(container, before);
                                        EXPECT_EQ(name.segmentId(), -1);
                                    });
    EXPECT_EQ(BaseSignal::instances.size(), registered + 1);
    EXPECT_NE(container, before);
}

unsigned long attachedTo(SharedName const& name) {
    shmid_ds status{};
    return shmctl(name.segmentId(), IPC_STAT, &status) == 0 ? status.shm_nattch : 0;
}

// The same with a signal that is opened by name while `Definer` is there; it takes the long name from the record.
template <typename Signal, typename Definer, typename Definition>
void expectFailedOpeningToLeaveNothing(Definition const& definition, SharedName const& name) {
    Definer const definer(definition, true);
    BaseSignal::instances.clear(); // as if the other were in a process of its own
    auto const signal = builtAtLast([&] { return std::make_unique<Signal>(name.c_str()); },
                                    [&] {
                                        EXPECT_TRUE(BaseSignal::instances.empty());
                                        EXPECT_EQ(attachedTo(name), 1U) << "the definer";
                                    });
    EXPECT_EQ(attachedTo(name), 2U);
}

TEST(Allocation, canAccessesAllocateNothing) {
    SharedName const name;
    CANSignalExt signal(canDefinition(name.name()), true);
    CANExtTraceMessage message;
    message.channel = 1;
    message.identifier = 0x123;
    message.length = 8;
    unsigned char record[22] = {};
    record[14] = 1;
    record[20] = 1;
    record[21] = 0x23;
    EXPECT_TRUE(allocatesNothing([&](unsigned char round) {
        message.payload[0] = round;
        return CANSignalExt::signalsInUse(record, record + sizeof record) &&
               CANSignalExt::decodeMessage(message) != 0 && readable(signal, round);
    }));
}

TEST(Allocation, canStoreAccessesAllocateNothing) {
    SharedName const name;
    CANSignal signal(storeDefinitionOf(name.name()), true);
    EXPECT_TRUE(allocatesNothing([&](unsigned char round) {
        CANSignal::decodeMessage(1, 0x123, 0x0100000000000000ULL * (round + 1U), round);
        return readable(signal, round + 1U) && signal.write(static_cast<double>(round), 5ULL) &&
               signal.write(0x0100000000000000ULL * round, 6ULL) && readable(signal, round);
    }));
}

template <typename Signal>
void expectNoAllocations(Signal& digital, Signal& analog, Signal& key) {
    // Built beforehand: messages that carry entries allocate.
    GpioTraceMessage gpio = gpioMessage(3, 1, 0);
    AnalogTraceMessage reading = analogMessage(3, 0);
    KeyboardMessage event = keyMessage(7, 0);
    InputRecord const records[] = {inputRecord(0x13, 3), inputRecord(0x12, 3), inputRecord(0x8031, 7)};
    EXPECT_TRUE(allocatesNothing([&](unsigned char round) {
        auto const value = static_cast<std::uint16_t>(round + 1); // a first value of 0 is none
        gpio.entries[0].levels = value;
        reading.entries[0].reading = event.keyState = value;
        bool all = true;
        for (InputRecord const& record : records)
            all = all && Signal::signalsInUse(record.data(), record.data() + record.size());
        return all && Signal::decodeMessage(gpio) != 0 && Signal::decodeMessage(reading) != 0 &&
               Signal::decodeMessage(event) != 0 && readable(digital, value % 2) && readable(analog, value) &&
               readable(key, value);
    }));
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

TEST(Allocation, linAccessesAllocateNothing) {
    SharedName const name;
    FedLINSignal signal(linDefinitionOf(name.name()), true);
    LINSignal const unfed(linDefinition("defined", 0x21), false);
    LINTraceMessage message = linFrame(2, 0xa1);
    LINTraceMessage const unknown = linFrame(2, 0x22);
    LINRecord const record = linRecord(2, 0x21);
    EXPECT_TRUE(allocatesNothing([&](unsigned char round) {
        message.data[0] = round;
        return LINSignal::signalsInUse(record.data(), record.data() + record.size()) &&
               LINSignal::decodeMessage(message) == 0x221 && LINSignal::decodeMessage(unknown) == 0 &&
               readable(signal, round);
    }));
}

TEST(Allocation, flexRayAccessesAllocateNothing) {
    SharedName const name;
    FlexRaySignal signal(flexRayDefinitionOf(name.name()), true);
    FlexRayExtTraceMessage message = flexRayFrame(1, 3, 5);
    FlexRayExtTraceMessage const unknown = flexRayFrame(1, 3, 6);
    FlexRayRecord const record = flexRayRecord(1, 3, 5);
    EXPECT_TRUE(allocatesNothing([&](unsigned char round) {
        message.payload[0] = round;
        return FlexRaySignal::signalsInUse(record.data(), record.data() + record.size()) &&
               FlexRaySignal::decodeMessage(message) == 0x2000000000000001 &&
               FlexRaySignal::decodeMessage(unknown) == 0x2000000000000000 && readable(signal, round);
    }));
}

TEST(Allocation, evaluationOfExpressionsAllocatesNothing) {
    SharedName const name;
    CANSignalExt speed(canDefinition(name.name()), true);
    InputSignal key("RC.F7");
    std::string const condition = name.name() + " * 0.5 + 1 > 10 && RC.F7 == pressed_long || !(-AI.3 / 2 <= 0)";
    ExpParser level(condition.c_str(), false), edge(condition.c_str(), true);
    InputSignal* const analog = static_cast<InputSignal*>(BaseSignal::getInstance("AI.3"));
    std::unique_ptr<InputSignal> const owner(analog);
    double sum = 0.0;
    int triggers = 0;
    unsigned long long latest = 0;
    unsigned long const before = allocations;
    for (unsigned i = 0; i < 100; ++i) {
        sum += level.getValue();
        triggers += level.getTrigger() + edge.getTrigger() + level.isWritten();
        latest += level.getLastestTime();
        if (i == 50) {
            speed.write(100ULL << 56, 7);
            key.write(2, 8);
            analog->write(3, 9);
        }
    }
    EXPECT_EQ(allocations, before);
    EXPECT_EQ(sum, 49.0);
    EXPECT_EQ(triggers, 49 + 1 + 49);
    EXPECT_EQ(latest, 49U * 9);
}

// The signal is there already: one that an expression makes stays.
TEST(Allocation, expressionWhoseConstructionFailsAnywhereIsNotListed) {
    InputSignal key("RC.F7");
    auto const expression =
        builtAtLast([] { return std::make_unique<ExpParser>("RC.F7 == pressed && RC.F7 + 1 > 2", false); },
                    [] {
                        EXPECT_TRUE(ExpParser::allExpParsers.empty());
                        EXPECT_EQ(BaseSignal::instances.size(), 1U);
                    });
    EXPECT_EQ(ExpParser::allExpParsers, std::set<ExpParser*>{expression.get()});
}

TEST(Allocation, signalOfAnExpressionWhoseConstructionFailsStaysAndIsWhole) {
    for (long failures = 0;; ++failures) {
        allocationsLeft = failures;
        bool built = true;
        try {
            ExpParser const expression("RC.F7 == pressed", false);
            allocationsLeft = -1;
        } catch (std::bad_alloc const&) {
            allocationsLeft = -1;
            built = false;
        }
        auto* const key = static_cast<InputSignal*>(BaseSignal::getInstance("RC.F7"));
        EXPECT_EQ(InputSignal::inputContainer.empty(), key == nullptr) << "filed if it is there, and otherwise not";
        if (key != nullptr) {
            EXPECT_NE(InputSignal::decodeMessage(keyMessage(7, 1)), 0U);
            EXPECT_TRUE(readable(*key, 1));
        }
        delete key;
        EXPECT_TRUE(BaseSignal::instances.empty());
        EXPECT_TRUE(InputSignal::inputContainer.empty());
        if (built)
            break;
    }
}

TEST(Allocation, failedConstructionLeavesNothingBehind) {
    SharedName const name("a name that is too long to be kept without memory of its own");
    expectFailuresToLeaveNothing(canDefinition(name.name()), name, CANSignalExt::canMessageContainer);
    expectFailuresToLeaveNothing(linDefinitionOf(name.name()), name, LINSignal::linMessageContainer);
    expectFailuresToLeaveNothing(flexRayDefinitionOf(name.name()), name, FlexRaySignal::frMessageContainer);
    EXPECT_EQ(FlexRaySignal::frIdArray, nullptr);
    SharedInput const input("DI.3");
    expectFailuresToLeaveNothing(inputDefinition("DI.3"), input, InputSignalExt::inputContainer);
}

TEST(Allocation, failedConstructionOfAStoredSignalLeavesNothingBehind) {
    SharedName const name("a name that is too long to be kept without memory of its own");
    canSignal_t const definition = storeDefinitionOf(name.name());
    std::vector<CANSignal*>& entry = CANSignal::canMessageVector.at(2048 + 0x123);
    auto const signal = builtAtLast([&] { return std::make_unique<CANSignal>(definition, true); },
                                    [&] {
                                        EXPECT_TRUE(BaseSignal::instances.empty());
                                        EXPECT_TRUE(entry.empty());
                                        EXPECT_EQ(name.segmentId(), -1);
                                        entry.shrink_to_fit(); // so that it has to grow
                                    });
    EXPECT_EQ(entry, std::vector<CANSignal*>{signal.get()});
}

TEST(Allocation, failedOpeningLeavesNothingBehind) {
    SharedName const name("a name that is too long to be kept without memory of its own");
    baseSignalDef_t plain = plainDefinition(name.name(), 8);
    plain.signal = longName;
    expectFailedOpeningToLeaveNothing<ShmSignal, ShmSignal>(plain, name);
    expectFailedOpeningToLeaveNothing<CANSignalExt, ShmSignal>(plain, name);
    expectFailedOpeningToLeaveNothing<LINSignal, ShmSignal>(plain, name);
    expectFailedOpeningToLeaveNothing<FlexRaySignal, ShmSignal>(plain, name);
    EXPECT_EQ(FlexRaySignal::frIdArray, nullptr);
    expectFailedOpeningToLeaveNothing<CANSignal, CANSignal>(storeDefinitionOf(name.name()), name);
    SharedInput const input("DI.3");
    plain.instance = "DI.3";
    expectFailedOpeningToLeaveNothing<InputSignalExt, ShmSignal>(plain, input);
    EXPECT_TRUE(InputSignalExt::inputContainer.empty());
}

// Memory may run out while a signal that waits finds its record: it waits on then.
TEST(Allocation, failedAttachmentIsTriedAgain) {
    SharedName const name("a name that is too long to be kept without memory of its own");
    baseSignalDef_t plain = plainDefinition(name.name(), 8);
    plain.signal = longName;
    Capture const errors(std::cerr);
    ShmProbe reader(name.c_str());
    BaseSignal::instances.clear();
    ShmSignal definer(plain, true);
    definer.write(word(5), 1);
    long failures = 0;
    for (bool attached = false; !attached; ++failures) {
        allocationsLeft = failures;
        try {
            attached = readable(reader, 5);
            allocationsLeft = -1;
            EXPECT_TRUE(attached);
        } catch (std::bad_alloc const&) {
            allocationsLeft = -1;
            EXPECT_TRUE(reader.d_waiting) << failures;
            EXPECT_EQ(attachedTo(name), 1U) << failures;
        }
    }
    EXPECT_GT(failures, 1);
    EXPECT_EQ(reader.signal, std::string(longName, 31));
}

TEST(Allocation, failedConstructionOfAnInputOfTheProcessLeavesNothingBehind) {
    auto const signal = builtAtLast([] { return std::make_unique<InputSignal>("DI.3"); },
                                    [] {
                                        EXPECT_TRUE(BaseSignal::instances.empty());
                                        EXPECT_TRUE(InputSignal::inputContainer.empty());
                                    });
    EXPECT_EQ(InputSignal::inputContainer.size(), 1U);
}

TEST(Allocation, failedFlexRayConstructionReleasesItsTable) {
    flexRaySignalDef_t const definition = flexRayDefinitionOf("signal");
    auto const signal = builtAtLast([&] { return std::make_unique<FlexRaySignal>(definition, false); },
                                    [] { EXPECT_EQ(FlexRaySignal::frIdArray, nullptr); });
    EXPECT_NE(FlexRaySignal::frIdArray, nullptr);
}

TEST(Allocation, failedFlexRayConstructionLeavesTheOthersAsTheyWere) {
    SharedName const name("a name that is too long to be kept without memory of its own");
    flexRaySignalDef_t otherFrame = flexRayDefinition("other", 1, 6, 0, 1);
    FlexRaySignal other(otherFrame, false);
    flexRaySignalDef_t const newFrame = flexRayDefinitionOf(name.name());
    expectFailuresToLeaveNothing(newFrame, name, FlexRaySignal::frMessageContainer);
    flexRaySignalDef_t sameFrame = newFrame;
    sameFrame.slot = 6;
    expectFailuresToLeaveNothing(sameFrame, name, FlexRaySignal::frMessageContainer);
    EXPECT_EQ(FlexRaySignal::decodeMessage(flexRayFrame(1, 0, 6)), 0x2000000000000001U);
    EXPECT_TRUE(readable(other, 0x12));
}

} // namespace
