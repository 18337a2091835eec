// Values that one process writes and others read: what is computed where, and how often.
#include "tests/process/Process.h"
#include "tests/process/Shared.h"
#include "tests/process/TestSignal.h"

namespace {

// Reads once in a process of its own.
TestSignal::Reading readElsewhere(SharedName const& name, TestSignal::Reading (TestSignal::*read)()) {
    Shared<TestSignal::Reading> reading;
    Process readerProcess([&] {
        TestSignal reader(name.c_str());
        *reading = (reader.*read)();
    });
    EXPECT_TRUE(readerProcess.finished());
    return *reading;
}

} // namespace

TEST(SharedValueTest, conversionIsDoneByTheFirstReaderAndKeptForAll) {
    SharedName const name;
    TestSignal writer(wordDefinition(name), true);
    writer.write(wordPayload(100), 1ULL);
    EXPECT_EQ(writer.record().conv, 0);

    EXPECT_EQ(readElsewhere(name, &TestSignal::readRaw).d_raw, 100U);
    EXPECT_EQ(writer.record().conv, 0);

    EXPECT_EQ(readElsewhere(name, &TestSignal::readPhys).d_phys, 49.0);
    EXPECT_EQ(writer.record().conv, 1);
    EXPECT_EQ(writer.record().phys, 49.0);

    // A number that no conversion yields shows that none takes place.
    writer.record().phys = 12345.0;
    EXPECT_EQ(readElsewhere(name, &TestSignal::readPhys).d_phys, 12345.0);
    EXPECT_EQ(writer.readPhys().d_phys, 12345.0);

    writer.write(wordPayload(100) | 0xff, 2ULL);
    EXPECT_EQ(writer.record().conv, 1);
    TestSignal::Reading const unchanged = readElsewhere(name, &TestSignal::readPhys);
    EXPECT_EQ(unchanged.d_phys, 12345.0);
    EXPECT_EQ(unchanged.d_timestamp, 2U);

    writer.write(wordPayload(102), 3ULL);
    EXPECT_EQ(writer.record().conv, 0);
    EXPECT_EQ(readElsewhere(name, &TestSignal::readPhys).d_phys, 50.0);
}

TEST(SharedValueTest, valueWrittenByNameReachesTheDefiningProcess) {
    SharedName const name;
    TestSignal definer(wordDefinition(name), true);
    EXPECT_FALSE(definer.readRaw().d_there);
    Process writerProcess([&] {
        TestSignal writer(name.c_str());
        writer.write(wordPayload(7), 8ULL);
    });
    ASSERT_TRUE(writerProcess.finished());
    TestSignal::Reading const reading = definer.readRaw();
    EXPECT_TRUE(reading.d_there);
    EXPECT_EQ(reading.d_raw, 7U);
    EXPECT_EQ(reading.d_timestamp, 8U);
}

TEST(SharedValueTest, clearedSignalIsEmptyInEveryProcess) {
    SharedName const name;
    TestSignal definer(wordDefinition(name), true);
    definer.write(wordPayload(7), 8ULL);
    EXPECT_TRUE(readElsewhere(name, &TestSignal::readRaw).d_there);
    Process cleaner([&] { TestSignal(name.c_str()).clear(); });
    ASSERT_TRUE(cleaner.finished());
    EXPECT_FALSE(definer.readRaw().d_there);
    EXPECT_FALSE(readElsewhere(name, &TestSignal::readPhys).d_there);
}
