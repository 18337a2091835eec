// What a watched signal shows while its shared signal comes, changes and goes.
#include "tools/machine/WatchedSignal.h"

#include "qzsignal/can/CANSignal.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <memory>
#include <sstream>
#include <sys/shm.h>

namespace qztool {
namespace {

class WatchedSignalTest : public testing::Test {
protected:
    WatchedSignalTest() : d_watched(d_name.name()) {}
    ~WatchedSignalTest() override { EXPECT_EQ(d_errors.text(), "") << "looking is silent"; }

    // A writer of a process of its own would not be registered here either.
    std::unique_ptr<ShmProbe> makeWriter(signalValue_t type = signalUnsigned) {
        BaseSignal::instances.erase(d_name.name());
        baseSignalDef_t definition = plainDefinition(d_name.name(), 8);
        definition.scale = 0.5;
        definition.unit = "km/h";
        definition.type = type;
        auto writer = std::make_unique<ShmProbe>(definition, true);
        BaseSignal::instances.erase(d_name.name());
        return writer;
    }
    std::string shown() {
        double physical = -1;
        unsigned long long raw = 1, timestamp = 2, again = 3;
        bool const hasValue = d_watched.read(physical, timestamp);
        EXPECT_EQ(d_watched.read(raw, again), hasValue);
        EXPECT_EQ(d_watched.hasValue(), hasValue);
        std::ostringstream text;
        if (hasValue)
            text << physical << " " << raw << " " << timestamp << " " << again;
        else
            EXPECT_TRUE(physical == -1 && raw == 1 && timestamp == 2 && again == 3) << "nothing is touched";
        return text.str();
    }

    SharedName d_name;
    Capture d_errors{std::cerr};
    WatchedSignal d_watched;
};

TEST_F(WatchedSignalTest, isFoundByName) {
    EXPECT_EQ(BaseSignal::getInstance(d_name.c_str()), &d_watched);
    d_watched.look();
    EXPECT_EQ(BaseSignal::getInstance(d_name.c_str()), &d_watched);
    EXPECT_EQ(d_watched.name(), d_name.name());
    std::ostringstream text;
    text << d_watched;
    EXPECT_EQ(text.str(), d_name.name());
}

TEST_F(WatchedSignalTest, showsTheValueAtTheLastLook) {
    auto const writer = makeWriter(signalSigned);
    writer->write(word(0xfd), 7);
    EXPECT_EQ(shown(), "") << "never looked";
    EXPECT_FALSE(d_watched.isThere());
    d_watched.look();
    EXPECT_TRUE(d_watched.isThere());
    EXPECT_EQ(shown(), "-1.5 18446744073709551613 7 7");
    writer->write(word(4), 8);
    EXPECT_EQ(shown(), "-1.5 18446744073709551613 7 7");
    d_watched.look();
    EXPECT_EQ(shown(), "2 4 8 8");
    EXPECT_STREQ(d_watched.getUnit(), "km/h");
    EXPECT_EQ(d_watched.getType(), signalSigned);
    d_watched.clear();
    EXPECT_EQ(shown(), "");
}

TEST_F(WatchedSignalTest, isReadOnly) {
    auto const writer = makeWriter();
    writer->write(word(4), 8);
    d_watched.look();
    EXPECT_FALSE(d_watched.write(word(5), 9));
    EXPECT_FALSE(d_watched.isModified());
    d_watched.look();
    EXPECT_EQ(shown(), "2 4 8 8");
}

TEST_F(WatchedSignalTest, tellsNoSignalFromNoValue) {
    d_watched.look();
    EXPECT_FALSE(d_watched.isThere());
    auto writer = makeWriter();
    d_watched.look();
    EXPECT_TRUE(d_watched.isThere());
    EXPECT_EQ(shown(), "");
    writer->write(word(4), 8);
    d_watched.look();
    EXPECT_EQ(shown(), "2 4 8 8");
    writer.reset();
    d_watched.look();
    EXPECT_FALSE(d_watched.isThere());
    EXPECT_EQ(shown(), "") << "gone with its writer";
}

TEST_F(WatchedSignalTest, recordThatIsNotFinishedIsNoSignal) {
    close(open(d_name.path().c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0666));
    ASSERT_NE(shmget(d_name.key(), sizeof(shmSignalData_t), IPC_CREAT | 0666), -1);
    d_watched.look();
    EXPECT_FALSE(d_watched.isThere());
    auto const writer = makeWriter();
    d_watched.look();
    EXPECT_TRUE(d_watched.isThere());
}

canSignal_t storeDefinition(std::string const& name) {
    canSignal_t definition;
    definition.name = name;
    definition.unit = "Nm";
    definition.type = canSigned;
    definition.bits = 8;
    definition.scale = 0.25;
    definition.offset = 1;
    return definition;
}

TEST_F(WatchedSignalTest, findsSignalsOfEitherKindUnderOneName) {
    auto shm = makeWriter();
    shm->write(word(4), 8);
    d_watched.look();
    EXPECT_EQ(shown(), "2 4 8 8");
    shm.reset();
    {
        BaseSignal::instances.erase(d_name.name());
        CANSignal can(storeDefinition(d_name.name()), true);
        BaseSignal::instances.erase(d_name.name());
        d_watched.look();
        EXPECT_TRUE(d_watched.isThere());
        EXPECT_EQ(shown(), "") << "nothing was written";
        can.write(word(0xfd), 9ULL);
        d_watched.look();
        EXPECT_EQ(shown(), "0.25 18446744073709551613 9 9");
        EXPECT_EQ(d_watched.getType(), signalSigned);
        EXPECT_STREQ(d_watched.getUnit(), "Nm");
        can.lock();
        d_watched.look();
        EXPECT_TRUE(d_watched.isLocked());
        can.unlock();
    }
    d_watched.look();
    EXPECT_FALSE(d_watched.isThere());
}

TEST_F(WatchedSignalTest, findsTheSegmentOfAWriterThatStartedAnew) {
    auto writer = makeWriter();
    writer->write(word(4), 8);
    d_watched.look();
    writer.reset();
    writer = makeWriter();
    writer->write(word(6), 9);
    d_watched.look();
    EXPECT_EQ(shown(), "3 6 9 9");
}

TEST_F(WatchedSignalTest, leavesARecordThatIsOnlyThereForThoseWhoAreAttached) {
    auto writer = makeWriter();
    writer->write(word(4), 8);
    ShmProbe const attached(d_name.c_str());
    BaseSignal::instances.erase(d_name.name());
    d_watched.look();
    EXPECT_EQ(shown(), "2 4 8 8");
    writer.reset();
    d_watched.look();
    EXPECT_FALSE(d_watched.isThere());
    writer = makeWriter();
    writer->write(word(6), 9);
    d_watched.look();
    EXPECT_EQ(shown(), "3 6 9 9");
}

TEST_F(WatchedSignalTest, keepsTheValueWhileTheSignalIsLocked) {
    auto const writer = makeWriter();
    writer->write(word(4), 8);
    d_watched.look();
    EXPECT_FALSE(d_watched.isLocked());
    writer->write(word(6), 9);
    writer->lock();
    d_watched.look();
    EXPECT_TRUE(d_watched.isLocked());
    EXPECT_TRUE(d_watched.isThere());
    EXPECT_EQ(shown(), "2 4 8 8");
    writer->unlock();
    d_watched.look();
    EXPECT_FALSE(d_watched.isLocked());
    EXPECT_EQ(shown(), "3 6 9 9");
}

} // namespace
} // namespace qztool
