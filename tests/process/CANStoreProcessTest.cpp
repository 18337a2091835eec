// Self-contained CAN signals that one process defines and feeds, and others open by name.
#include "tests/process/LockHolder.h"
#include "tests/process/Process.h"
#include "tests/process/RobustMutex.h"
#include "tests/process/Shared.h"
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"

#include <fstream>
#include <string>

namespace {

// A big-endian number in the first two bytes of frame 0x123 on bus 1; physical value = number / 2 - 1.
canSignal_t speedDefinition(SharedName const& name) {
    canSignal_t definition = canDefinition(name.name(), 16);
    definition.unit = "rpm";
    definition.startbit = 7;
    definition.scale = 0.5;
    definition.offset = -1;
    definition.endian = true;
    return definition;
}

using Word = unsigned long long;

Word payloadOf(unsigned number) {
    return Word{number} << 48;
}

std::string keyWarning(SharedName const& name) {
    return "[WARNING] CANSignal: " + name.name() + ": Waiting for key (" + name.path() + ")\n";
}
std::string segmentWarning(SharedName const& name) {
    return "[WARNING] CANSignal: " + name.name() + ": Waiting for shared memory region id (" + name.path() + ")\n";
}

struct Steps {
    SharedCounter d_asked; // of the other process
    SharedCounter d_done;  // by it
    CANSignalProbe::Reading d_reading;
};

// A definer that feeds one frame a step, the step's number, and is then killed or ends.
void feed(SharedName const& name, Steps& steps, unsigned last) {
    CANSignalProbe definer(speedDefinition(name), true);
    for (unsigned step = 1; step <= last; ++step) {
        if (!waitUntil([&] { return steps.d_asked >= step; }))
            _exit(EXIT_FAILURE);
        CANSignal::decodeMessage(1, 0x123, payloadOf(step) | 0xffff, 100 + step);
        steps.d_done = step;
    }
    waitUntil([&] { return steps.d_asked > last; });
}

} // namespace

TEST(CANStoreProcessTest, readerThatStartsFirstWarnsUntilTheDefinerIsThereAndTakesEverythingFromTheRecord) {
    SharedName const name;
    Capture errors(std::cerr);
    CANSignalProbe reader(name.c_str());
    EXPECT_EQ(errors.take(), keyWarning(name));
    EXPECT_FALSE(reader.readRaw().d_there);
    EXPECT_EQ(errors.take(), keyWarning(name));
    EXPECT_FALSE(name.keyFileExists());
    std::ofstream(name.path()).close();
    EXPECT_FALSE(reader.write(1ULL, 2ULL));
    EXPECT_EQ(errors.take(), segmentWarning(name));

    Shared<Steps> steps;
    steps->d_asked = 1;
    Process definer([&] { feed(name, *steps, 3); });
    ASSERT_TRUE(waitUntil([&] { return steps->d_done == 1; }));
    CANSignalProbe::Reading raw = reader.readRaw();
    CANSignalProbe::Reading phys = reader.readPhys();
    EXPECT_EQ(errors.take(), "");
    EXPECT_TRUE(raw.d_there && phys.d_there);
    EXPECT_EQ(raw.d_raw, 1U);
    EXPECT_EQ(raw.d_timestamp, 101U);
    EXPECT_EQ(phys.d_phys, -0.5);
    EXPECT_EQ(phys.d_timestamp, 101U);
    EXPECT_STREQ(reader.getUnit(), "rpm");
    EXPECT_EQ(reader.getScaleFactor(), 0.5);
    EXPECT_EQ(reader.getOffset(), -1);
    EXPECT_EQ(reader.getBits(), 16);
    EXPECT_EQ(reader.record().bus, 1);
    EXPECT_EQ(reader.record().id, 0x123);

    steps->d_asked = 2;
    ASSERT_TRUE(waitUntil([&] { return steps->d_done == 2; }));
    EXPECT_EQ(reader.readRaw().d_raw, 2U);
    EXPECT_EQ(reader.readRaw().d_timestamp, 102U);
    CANSignal::decodeMessage(1, 0x123, payloadOf(9), 109);
    EXPECT_EQ(reader.readRaw().d_raw, 2U) << "a signal opened by name is not fed";

    steps->d_asked = 4;
    ASSERT_TRUE(definer.finished());
    EXPECT_EQ(name.segmentId(), -1);
    EXPECT_TRUE(name.keyFileExists());
    EXPECT_EQ(reader.readRaw().d_raw, 3U) << "the record stays for those who are attached";
    CANSignalProbe late(name.c_str());
    EXPECT_FALSE(late.attached());
}

TEST(CANStoreProcessTest, valueWrittenByNameReachesTheDefiner) {
    SharedName const name;
    CANSignalProbe definer(speedDefinition(name), true);
    Process writer([&] {
        CANSignalProbe signal(name.c_str());
        signal.write(payloadOf(7), 8ULL);
    });
    ASSERT_TRUE(writer.finished());
    EXPECT_EQ(definer.readRaw().d_raw, 7U);
    EXPECT_EQ(definer.readRaw().d_timestamp, 8U);
    EXPECT_NE(name.segmentId(), -1);
}

TEST(CANStoreProcessTest, restartedDefinerEmptiesTheRecordUnderItsReaders) {
    SharedName const name;
    Shared<Steps> steps;
    steps->d_asked = 1;
    Process first([&] { feed(name, *steps, 1); });
    ASSERT_TRUE(waitUntil([&] { return steps->d_done == 1; }));
    CANSignalProbe reader(name.c_str());
    ASSERT_EQ(reader.readRaw().d_raw, 1U);
    first.kill();
    EXPECT_EQ(reader.readRaw().d_raw, 1U);

    steps->d_asked = 0;
    steps->d_done = 0;
    int const segment = name.segmentId();
    Process second([&] { feed(name, *steps, 1); });
    Capture errors(std::cerr);
    ASSERT_TRUE(waitUntil([&] { return !reader.readRaw().d_there; }));
    EXPECT_EQ(reader.record().value, 0xAAAAAAAAU);
    EXPECT_EQ(reader.record().timestamp, 0x55555555U);
    steps->d_asked = 1;
    ASSERT_TRUE(waitUntil([&] { return steps->d_done == 1; }));
    EXPECT_EQ(reader.readRaw().d_raw, 1U);
    EXPECT_EQ(reader.readRaw().d_timestamp, 101U);
    EXPECT_EQ(name.segmentId(), segment);
    steps->d_asked = 2;
    EXPECT_TRUE(second.finished());
    EXPECT_EQ(errors.text(), "");
}

TEST(CANStoreProcessTest, waitingAccessSaysSoAndGetsThroughInTheEnd) {
    SharedName const name;
    CANSignalProbe signal(speedDefinition(name), true);
    signal.write(payloadOf(1), 2ULL);
    LockHolder<CANSignalProbe> holder(name, [](CANSignalProbe& other) { other.record().value = payloadOf(77); });
    ASSERT_TRUE(holder.locked());
    std::string const line = "[DEBUG] CANSignal::lock (" + name.name() + "): retrying\n";
    Capture output(std::cout, [&holder] { holder.noteRetry(); });
    signal.print(std::cout);
    EXPECT_EQ(output.take().find("retrying"), std::string::npos) << "printing takes no lock";
    EXPECT_STREQ(signal.getUnit(), "rpm");
    EXPECT_EQ(signal.readRaw().d_raw, 77U);
    std::string const text = output.take();
    EXPECT_EQ(text.substr(0, 2 * line.size()), line + line);
    EXPECT_EQ(text.size() % line.size(), 0U) << "nothing else was written";
    EXPECT_TRUE(holder.finished());
}
