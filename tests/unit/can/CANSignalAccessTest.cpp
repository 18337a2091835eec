// Reading and writing self-contained CAN signals.
#include "tests/support/CANSignalProbe.h"
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// Every rule holds for a record in the object and for a shared one.
class CANSignalAccessTest : public testing::TestWithParam<bool> {
protected:
    void TearDown() override { BaseSignal::debug = 0; }

    canSignal_t definition(canValue_t type, int startBit, int bits, bool bigEndian, double scale = 1,
                           double offset = 0) const {
        canSignal_t result = canDefinition(d_name.name(), bits);
        result.type = type;
        result.startbit = startBit;
        result.endian = bigEndian;
        result.scale = scale;
        result.offset = offset;
        return result;
    }

    SharedName d_name;
};

INSTANTIATE_TEST_SUITE_P(Local, CANSignalAccessTest, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(Shared, CANSignalAccessTest, testing::Values(true));

// Deliberate: the raw form shows the record's patterns, and the physical form zeros.
TEST_P(CANSignalAccessTest, unwrittenSignalHasNoValueAndSetsTheArgumentsAllTheSame) {
    CANSignalProbe signal(definition(canUnsigned, 0, 64, false), GetParam());
    CANSignalProbe::Reading const raw = signal.readRaw();
    EXPECT_FALSE(raw.d_there);
    EXPECT_EQ(raw.d_raw, 0xAAAAAAAA00000000U) << "the pattern, decoded";
    EXPECT_EQ(raw.d_timestamp, 0x55555555U);
    CANSignalProbe::Reading const phys = signal.readPhys();
    EXPECT_FALSE(phys.d_there);
    EXPECT_EQ(phys.d_phys, 0.0);
    EXPECT_FALSE(std::signbit(phys.d_phys));
    EXPECT_EQ(phys.d_timestamp, 0U);
}

TEST_P(CANSignalAccessTest, writtenPayloadIsKeptWithoutForeignBits) {
    CANSignalProbe signal(definition(canSigned, 7, 12, true, 0.5, 1), GetParam());
    EXPECT_TRUE(signal.write(0xf23456789abcdef0ULL, 1000ULL));
    EXPECT_TRUE(signal.isModified());
    EXPECT_EQ(signal.record().used, 1);
    EXPECT_EQ(signal.record().value, 0xf230000000000000U);
    EXPECT_EQ(signal.record().timestamp, 1000U);
    CANSignalProbe::Reading const raw = signal.readRaw();
    EXPECT_TRUE(raw.d_there);
    EXPECT_EQ(raw.d_raw, 0xffffffffffffff23U);
    EXPECT_EQ(raw.d_timestamp, 1000U);
    CANSignalProbe::Reading const phys = signal.readPhys();
    EXPECT_TRUE(phys.d_there);
    EXPECT_EQ(phys.d_phys, -221 * 0.5 + 1);
    EXPECT_EQ(phys.d_timestamp, 1000U);
}

TEST_P(CANSignalAccessTest, unchangedBitsKeepTheTimestamp) {
    CANSignalProbe signal(definition(canUnsigned, 7, 12, true), GetParam());
    signal.write(0x1230000000000000ULL, 1ULL);
    EXPECT_TRUE(signal.write(0x123fffffffffffffULL, 2ULL));
    EXPECT_FALSE(signal.isModified());
    EXPECT_EQ(signal.record().timestamp, 1U);
    EXPECT_EQ(signal.record().value, 0x1230000000000000U);
    EXPECT_TRUE(signal.write(0x1240000000000000ULL, 3ULL));
    EXPECT_TRUE(signal.isModified());
    EXPECT_EQ(signal.record().timestamp, 3U);
}

TEST_P(CANSignalAccessTest, unchangedWriteDoesNotTouchTheRecord) {
    CANSignalProbe signal(definition(canUnsigned, 7, 12, true), GetParam());
    signal.write(0x1230000000000000ULL, 1ULL);
    signal.write(0x4560000000000000ULL, 2ULL);
    qzsignal::canSignalData_t const before = signal.record();
    signal.write(0x4560000000000000ULL, 3ULL);
    auto const* const was = reinterpret_cast<unsigned char const*>(&before);
    auto const* const is = reinterpret_cast<unsigned char const*>(&signal.record());
    std::size_t const behindMutex = offsetof(qzsignal::canSignalData_t, used);
    EXPECT_EQ(std::memcmp(was + behindMutex, is + behindMutex, sizeof before - behindMutex), 0);
}

// Deliberate: the pattern is a value like any other.
TEST_P(CANSignalAccessTest, firstWriteOfTheMarkerPatternIsNoChange) {
    CANSignalProbe whole(definition(canUnsigned, 0, 64, false), GetParam());
    EXPECT_TRUE(whole.write(0x00000000AAAAAAAAULL, 1ULL));
    EXPECT_FALSE(whole.isModified());
    EXPECT_EQ(whole.record().used, 0);
    EXPECT_EQ(whole.record().timestamp, 0x55555555U);
    EXPECT_FALSE(whole.readRaw().d_there);
    whole.write(0ULL, 2ULL);
    EXPECT_TRUE(whole.readRaw().d_there);
    whole.write(0x00000000AAAAAAAAULL, 3ULL);
    EXPECT_TRUE(whole.isModified()) << "once there is a value, it is one";
    EXPECT_TRUE(whole.readRaw().d_there);
    EXPECT_EQ(whole.record().timestamp, 3U);
}

TEST_P(CANSignalAccessTest, patternCountsAsItStandsNotAsTheSignalsBitsOfIt) {
    {
        CANSignalProbe lastByte(definition(canUnsigned, 56, 8, false), GetParam());
        EXPECT_TRUE(lastByte.write(0xAAULL, 1ULL));
        EXPECT_TRUE(lastByte.isModified()) << "0xAA is not 0xAAAAAAAA";
        EXPECT_TRUE(lastByte.readRaw().d_there);
    }
    CANSignalProbe lastFour(definition(canUnsigned, 32, 32, false), GetParam());
    lastFour.write(0x12345678AAAAAAAAULL, 1ULL);
    EXPECT_FALSE(lastFour.isModified()) << "what the mask leaves is the pattern";
    EXPECT_FALSE(lastFour.readRaw().d_there);
}

TEST_P(CANSignalAccessTest, firstWriteOfZeroIsAChange) {
    CANSignalProbe signal(definition(canUnsigned, 0, 8, false), GetParam());
    EXPECT_TRUE(signal.write(0ULL, 1ULL));
    EXPECT_TRUE(signal.isModified());
    EXPECT_TRUE(signal.readRaw().d_there);
}

TEST_P(CANSignalAccessTest, physicalValueFollowsTheType) {
    double const oneAndAHalf = 1.5;
    std::uint64_t wide = 0;
    std::memcpy(&wide, &oneAndAHalf, sizeof wide);
    struct {
        canValue_t type;
        int bits;
        unsigned long long payload;
        double phys;
    } const cases[] = {
        {canUnsigned, 64, 0xffffffffffffffff, 18446744073709551616.0 * 2 + 10},
        {canSigned, 64, 0xffffffffffffffff, 8},
        {canFloat, 64, 0xdeadbeef3fc00000, 13},
        {canDouble, 64, wide, 13},
    };
    for (auto const& each : cases) {
        CANSignalProbe signal(definition(each.type, 7, each.bits, true, 2, 10), GetParam());
        signal.write(each.payload, 5ULL);
        CANSignalProbe::Reading const reading = signal.readPhys();
        EXPECT_TRUE(reading.d_there);
        EXPECT_EQ(reading.d_phys, each.phys) << each.type;
        EXPECT_EQ(reading.d_timestamp, 5U);
    }
}

TEST_P(CANSignalAccessTest, unknownTypeLeavesThePhysicalValueAlone) {
    CANSignalProbe signal(definition(static_cast<canValue_t>(4), 0, 8, false), GetParam());
    signal.write(0x0700000000000000ULL, 5ULL);
    CANSignalProbe::Reading const reading = signal.readPhys();
    EXPECT_TRUE(reading.d_there);
    EXPECT_EQ(reading.d_phys, 19.0);
    EXPECT_EQ(reading.d_timestamp, 5U);
    EXPECT_EQ(signal.readRaw().d_raw, 7U);
}

TEST_P(CANSignalAccessTest, physicalReadGoesThroughTheRawOne) {
    class Derived : public CANSignalProbe {
    public:
        using CANSignalProbe::CANSignalProbe;
        using CANSignalProbe::read;
        bool read(unsigned long long& value, unsigned long long& timestamp) override {
            value = 6;
            timestamp = 7;
            return true;
        }
    };
    Derived signal(definition(canUnsigned, 0, 8, false, 0.5, 1), GetParam());
    double phys = 0;
    unsigned long long timestamp = 0;
    EXPECT_TRUE(signal.read(phys, timestamp));
    EXPECT_EQ(phys, 4.0);
    EXPECT_EQ(timestamp, 7U);
}

// A little-endian signal of all 64 bits: what is encoded is the raw value, and what is stored as well.
TEST_P(CANSignalAccessTest, physicalWriteRoundsHalfUpAndStaysWithinSixtyFourBits) {
    constexpr unsigned long long lowest = 0x8000000000000000;
    struct {
        canValue_t type;
        double scale, offset, phys;
        unsigned long long raw;
    } const cases[] = {
        {canUnsigned, 0.5, 10, 12.3, 5},
        {canUnsigned, 0.5, 10, 12.2, 4},
        {canUnsigned, 1, 0, 2.5, 3},
        {canUnsigned, 1, 0, 0.4, 0},
        {canUnsigned, 1, 0, 9223372036854775808.0, 0x8000000000000000},
        {canUnsigned, 1, 0, 18446744073709549568.0, 0xfffffffffffff800},
        {canUnsigned, 1, 0, 18446744073709551616.0, ~0ULL},
        {canUnsigned, 1, 0, 1e300, ~0ULL},
        {canUnsigned, 1, 0, infinity, ~0ULL},
        {canUnsigned, 1, 0, -0.4, 0},
        {canUnsigned, 1, 0, -1, 0},
        {canUnsigned, 1, 0, -infinity, 0},
        {canUnsigned, 1, 0, notANumber, 0},
        {canUnsigned, 0, 0, 1, ~0ULL},
        {canUnsigned, 0, 0, -1, 0},
        {canUnsigned, 0, 1, 1, 0},
        {canSigned, 0.5, 10, 12.3, 5},
        {canSigned, 1, 0, -1, ~0ULL},
        {canSigned, 1, 0, -1.5, ~0ULL},
        {canSigned, 1, 0, -1.6, ~0ULL - 1},
        {canSigned, 1, 0, -0.5, 0},
        {canSigned, 2, 10, -10, ~0ULL - 9},
        {canSigned, 1, 0, 9223372036854774784.0, 0x7ffffffffffffc00},
        {canSigned, 1, 0, 9223372036854775808.0, lowest},
        {canSigned, 1, 0, 1e19, 10000000000000000000ULL},
        {canSigned, 1, 0, infinity, ~0ULL},
        {canSigned, 1, 0, -9223372036854775808.0, lowest},
        {canSigned, 1, 0, -1e300, lowest},
        {canSigned, 1, 0, -infinity, lowest},
        {canSigned, 1, 0, notANumber, 0},
        {canFloat, 2, 10, 13, 0x3fc00000},
        {canFloat, 1, 0, -1.5, 0xbfc00000},
        {canFloat, 1, 0, 1e300, 0x7f800000},
        {canFloat, 1, 0, -1e300, 0xff800000},
        {canFloat, 1, 0, notANumber, 0x7fc00000},
        {canDouble, 2, 10, 13, 0x3ff8000000000000},
        {canDouble, 1, 0, -infinity, 0xfff0000000000000},
        {canDouble, 1, 0, -notANumber, 0xfff8000000000000},
        {static_cast<canValue_t>(4), 1, 0, 17, 0},
        {static_cast<canValue_t>(-1), 1, 0, 17, 0},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << "type " << each.type << ", value " << each.phys << ", scale " << each.scale);
        CANSignalProbe signal(definition(each.type, 0, 64, false, each.scale, each.offset), GetParam());
        EXPECT_TRUE(signal.write(each.phys, 9ULL));
        EXPECT_EQ(signal.record().value, each.raw);
        EXPECT_EQ(signal.record().timestamp, 9U);
        EXPECT_TRUE(signal.isModified());
    }
}

TEST_P(CANSignalAccessTest, physicalWriteStoresWhatTheMaskKeepsOfTheEncodedPayload) {
    // Deliberate: the encoded byte is where the signal is not.
    CANSignalProbe byteOne(definition(canUnsigned, 8, 8, false), GetParam());
    EXPECT_TRUE(byteOne.write(18.0, 1ULL));
    EXPECT_EQ(byteOne.record().value, 0U);
    EXPECT_TRUE(byteOne.isModified());
    EXPECT_EQ(byteOne.readPhys().d_phys, 0.0);
    EXPECT_TRUE(byteOne.write(19.0, 2ULL));
    EXPECT_FALSE(byteOne.isModified()) << "again nothing";
    EXPECT_EQ(byteOne.record().timestamp, 1U);
}

TEST_P(CANSignalAccessTest, physicalWriteGoesThroughThePayloadOneAndReturnsItsResult) {
    class Derived : public CANSignalProbe {
    public:
        using CANSignalProbe::CANSignalProbe;
        using CANSignalProbe::write;
        bool write(unsigned long long payload, unsigned long long timestamp) override {
            d_payload = payload;
            d_time = timestamp;
            return d_result;
        }
        bool d_result = false;
        unsigned long long d_payload = 0, d_time = 0;
    };
    Derived signal(definition(canUnsigned, 8, 8, false), GetParam());
    EXPECT_FALSE(signal.write(18.0, 5ULL));
    EXPECT_EQ(signal.d_payload, 0x1200U);
    EXPECT_EQ(signal.d_time, 5U);
    signal.d_result = true;
    EXPECT_TRUE(signal.write(18.0, 5ULL));
}

// Deliberate: a self-contained signal cannot be cleared.
TEST_P(CANSignalAccessTest, clearDoesNothing) {
    CANSignalProbe signal(definition(canUnsigned, 0, 8, false), GetParam());
    signal.write(0x0700000000000000ULL, 5ULL);
    signal.write(0x0700000000000000ULL, 6ULL);
    signal.clear();
    BaseSignal::clearAll();
    EXPECT_FALSE(signal.isModified());
    EXPECT_TRUE(signal.readRaw().d_there);
    EXPECT_EQ(signal.readRaw().d_raw, 7U);
    EXPECT_EQ(signal.readRaw().d_timestamp, 5U);
}

TEST_P(CANSignalAccessTest, valueBeyondThePayloadReadsAsZeros) {
    {
        CANSignalProbe behind(definition(canSigned, 64, 8, false), GetParam());
        EXPECT_EQ(behind.d_rawMask, 0U);
        EXPECT_TRUE(behind.write(~0ULL, 1ULL));
        EXPECT_EQ(behind.readRaw().d_raw, 0U);
    }
    CANSignalProbe across(definition(canUnsigned, 60, 8, false), GetParam());
    across.write(~0ULL, 1ULL);
    EXPECT_EQ(across.readRaw().d_raw, 0x0fU);
}

TEST_P(CANSignalAccessTest, signalWithoutBitsIsZero) {
    CANSignalProbe signal(definition(canSigned, 12, 0, true), GetParam());
    EXPECT_TRUE(signal.write(~0ULL, 1ULL));
    EXPECT_TRUE(signal.isModified()) << "from the pattern to nothing";
    EXPECT_EQ(signal.readRaw().d_raw, 0U);
    EXPECT_EQ(signal.encode(~0ULL), 0U);
}

TEST_P(CANSignalAccessTest, anyUsedFlagButZeroIsAValue) {
    CANSignalProbe signal(definition(canUnsigned, 0, 8, false), GetParam());
    signal.record().used = 0x80;
    EXPECT_TRUE(signal.readRaw().d_there);
    EXPECT_TRUE(signal.readPhys().d_there);
}

TEST(CANSignalLockTest, sharedSignalHoldsItsLockAndAPrivateOneHasNone) {
    SharedName const name;
    CANSignalProbe shared(canDefinition(name.name()), true);
    shared.lock();
    EXPECT_EQ(pthread_mutex_trylock(&shared.record().mutex), EBUSY);
    shared.unlock();
    EXPECT_EQ(pthread_mutex_trylock(&shared.record().mutex), 0);
    pthread_mutex_unlock(&shared.record().mutex);
    Capture const errors(std::cerr);
    CANSignalProbe local(canDefinition("local"), false);
    local.lock();
    EXPECT_EQ(pthread_mutex_trylock(&local.record().mutex), 0);
    pthread_mutex_unlock(&local.record().mutex);
    local.unlock();
    EXPECT_EQ(errors.text(), "");
}

TEST(CANSignalLockTest, lockCanBeTriedFor) {
    for (bool const shared : {false, true}) {
        SharedName const name;
        CANSignalProbe signal(canDefinition(name.name()), shared);
        EXPECT_TRUE(signal.tryLock());
        EXPECT_EQ(signal.tryLock(), !shared) << "local signals take no lock";
        signal.unlock();
        EXPECT_TRUE(signal.tryLock());
        signal.unlock();
    }
}

TEST(CANSignalLockTest, unlockErrorIsReported) {
    SharedName const name;
    CANSignalProbe signal(canDefinition(name.name()), true);
    Capture errors(std::cerr);
    signal.unlock();
    EXPECT_EQ(errors.take(), "[ERROR] CANSignal::unlock (" + name.name() + "): Operation not permitted\n");
}

TEST(CANSignalLockTest, lockErrorIsReportedAndTheAccessGoesOn) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer takes a damaged mutex for a mistake";
#endif
    SharedName const name;
    CANSignalProbe signal(canDefinition(name.name()), true);
    std::memset(&signal.record().mutex, 0xff, sizeof signal.record().mutex);
    Capture errors(std::cerr);
    EXPECT_TRUE(signal.write(0x1234000000000000ULL, 7ULL));
    std::string const text = errors.take();
    EXPECT_EQ(text.substr(0, text.find('\n')), "[ERROR] CANSignal::lock (" + name.name() + "): Invalid argument");
    EXPECT_NE(text.find("\n[ERROR] CANSignal::unlock (" + name.name() + "): "), std::string::npos)
        << "the lock is given back also when it was not had";
    EXPECT_EQ(signal.readRaw().d_raw, 0x3412U);
}

} // namespace
