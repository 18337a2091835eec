// Writing, reading and clearing values.
#include "tests/support/Capture.h"
#include "tests/support/SharedName.h"
#include "tests/support/ShmProbe.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// Every rule holds for a record in the object and for a shared one.
class ShmSignalAccessTest : public testing::TestWithParam<bool> {
protected:
    void TearDown() override { BaseSignal::debug = 0; }

    baseSignalDef_t definition(signalValue_t type, unsigned startBit, unsigned bits, bool bigEndian, double scale = 1,
                               double offset = 0) const {
        baseSignalDef_t result;
        result.instance = d_name.name();
        result.signal = "Field";
        result.type = type;
        result.startbit = static_cast<std::uint16_t>(startBit);
        result.bits = static_cast<std::uint8_t>(bits);
        result.endian = bigEndian;
        result.scale = scale;
        result.offset = offset;
        return result;
    }

    baseSignalDef_t twelveBits() const { return definition(signalSigned, 7, 12, true, 0.5, 1); }

    SharedName d_name;
    double d_phys = -1;
    unsigned long long d_value = 42;
    unsigned long long d_timestamp = 43;
};

INSTANTIATE_TEST_SUITE_P(Local, ShmSignalAccessTest, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(Shared, ShmSignalAccessTest, testing::Values(true));

TEST_P(ShmSignalAccessTest, unwrittenSignalReadsNothing) {
    ShmProbe signal(twelveBits(), GetParam());
    EXPECT_FALSE(signal.read(d_phys, d_timestamp));
    EXPECT_FALSE(signal.read(d_value, d_timestamp));
    EXPECT_EQ(d_phys, -1);
    EXPECT_EQ(d_value, 42U);
    EXPECT_EQ(d_timestamp, 43U);
    EXPECT_EQ(signal.d_data->conv, 0) << "nothing was converted";
}

TEST_P(ShmSignalAccessTest, signedFieldReadsBackExtended) {
    ShmProbe signal(twelveBits(), GetParam());
    EXPECT_TRUE(signal.write(0xf23456789abcdef0, 1000));
    EXPECT_TRUE(signal.read(d_value, d_timestamp));
    EXPECT_EQ(d_value, 0xffffffffffffff23U);
    EXPECT_EQ(d_timestamp, 1000U);
    EXPECT_TRUE(signal.read(d_phys, d_timestamp));
    EXPECT_EQ(d_phys, -221 * 0.5 + 1);
    EXPECT_EQ(signal.d_data->rawValue, 0xf23456789abcdef0U);
}

TEST_P(ShmSignalAccessTest, onlySignedFieldsAreExtended) {
    for (signalValue_t const type : {signalUnsigned, signalFloat, signalDouble}) {
        ShmProbe signal(definition(type, 7, 12, true), GetParam());
        signal.write(0xf230000000000000, 1);
        EXPECT_TRUE(signal.read(d_value, d_timestamp));
        EXPECT_EQ(d_value, 0xf23U);
    }
}

TEST_P(ShmSignalAccessTest, wholePayloadIsAFieldOfSixtyFourBits) {
    unsigned long long const raw = 0x123456789abcdef0;
    {
        ShmProbe little(definition(signalUnsigned, 0, 64, false), GetParam());
        little.write(raw, 1);
        EXPECT_TRUE(little.read(d_value, d_timestamp));
        EXPECT_EQ(d_value, 0xf0debc9a78563412U);
    }
    ShmProbe big(definition(signalUnsigned, 7, 64, true), GetParam());
    big.write(raw, 1);
    EXPECT_TRUE(big.read(d_value, d_timestamp));
    EXPECT_EQ(d_value, raw);
}

TEST_P(ShmSignalAccessTest, floatAndDoubleFieldsAreIeeeNumbers) {
    {
        ShmProbe single(definition(signalFloat, 7, 32, true, 2, 10), GetParam());
        single.write(0x3fc0000000000000, 1);
        EXPECT_TRUE(single.read(d_phys, d_timestamp));
        EXPECT_EQ(d_phys, 13.0);
    }
    ShmProbe dbl(definition(signalDouble, 0, 64, false, 2, 10), GetParam());
    unsigned char const oneAndAHalf[8] = {0, 0, 0, 0, 0, 0, 0xf8, 0x3f};
    dbl.write(oneAndAHalf, 1);
    EXPECT_TRUE(dbl.read(d_phys, d_timestamp));
    EXPECT_EQ(d_phys, 13.0);
}

TEST_P(ShmSignalAccessTest, changeOfForeignBitsIsNoChange) {
    ShmProbe signal(twelveBits(), GetParam());
    EXPECT_TRUE(signal.write(0x1230000000000000, 1));
    EXPECT_TRUE(signal.isModified());
    EXPECT_TRUE(signal.read(d_phys, d_timestamp));
    EXPECT_TRUE(signal.write(0x123fffffffffffff, 2));
    EXPECT_FALSE(signal.isModified());
    EXPECT_EQ(signal.d_data->rawValue, 0x1230000000000000U) << "the stored payload keeps its old foreign bits";
    EXPECT_EQ(signal.d_data->timestamp, 2U) << "the value was seen again";
    EXPECT_EQ(signal.d_data->conv, 1) << "the physical value still belongs to it";
}

TEST_P(ShmSignalAccessTest, changeOfOwnBitsMakesThePhysicalValueStale) {
    ShmProbe signal(twelveBits(), GetParam());
    signal.write(0x1230000000000000, 1);
    ASSERT_TRUE(signal.read(d_phys, d_timestamp));
    EXPECT_EQ(signal.d_data->conv, 1);
    signal.write(0x1240000000000000, 2);
    EXPECT_TRUE(signal.isModified());
    EXPECT_EQ(signal.d_data->conv, 0);
    EXPECT_EQ(signal.d_data->phys, 0x123 * 0.5 + 1) << "computed when somebody reads it";
    ASSERT_TRUE(signal.read(d_phys, d_timestamp));
    EXPECT_EQ(d_phys, 0x124 * 0.5 + 1);
}

TEST_P(ShmSignalAccessTest, physicalValueIsComputedOncePerValue) {
    ShmProbe signal(twelveBits(), GetParam());
    signal.write(0x1230000000000000, 1);
    ASSERT_TRUE(signal.read(d_value, d_timestamp));
    EXPECT_EQ(signal.d_data->conv, 0) << "the raw form converts nothing";
    ASSERT_TRUE(signal.read(d_phys, d_timestamp));
    signal.d_data->phys = 4711;
    ASSERT_TRUE(signal.read(d_phys, d_timestamp));
    EXPECT_EQ(d_phys, 4711) << "taken from the record";
}

TEST_P(ShmSignalAccessTest, firstWriteIsAChangeEvenIfItEqualsTheMarkerPattern) {
    ShmProbe signal(twelveBits(), GetParam());
    signal.write(0x00000000AAAAAAAA, 1);
    EXPECT_TRUE(signal.isModified());
    EXPECT_TRUE(signal.read(d_value, d_timestamp));
    EXPECT_EQ(d_value, 0U);
}

TEST_P(ShmSignalAccessTest, writeAfterClearIsAChangeEvenIfTheBitsAreTheSame) {
    ShmProbe signal(twelveBits(), GetParam());
    signal.write(word(0), 1);
    signal.clear();
    signal.write(word(0), 2);
    EXPECT_TRUE(signal.isModified());
    EXPECT_TRUE(signal.read(d_value, d_timestamp));
}

TEST_P(ShmSignalAccessTest, clearForgetsTheValueAndCountsAsModification) {
    ShmProbe signal(twelveBits(), GetParam());
    signal.write(0x1230000000000000, 1);
    signal.write(0x1230000000000000, 2);
    ASSERT_TRUE(signal.read(d_phys, d_timestamp));
    ASSERT_FALSE(signal.isModified());
    signal.clear();
    EXPECT_TRUE(signal.isModified());
    EXPECT_FALSE(signal.read(d_value, d_timestamp));
    shmSignalData_t const& data = *signal.d_data;
    EXPECT_EQ(data.used, 0);
    EXPECT_EQ(data.conv, 0);
    EXPECT_EQ(data.rawValue, 0U);
    EXPECT_EQ(data.value, 0U);
    EXPECT_EQ(data.phys, 0.0);
    EXPECT_EQ(data.timestamp, 0U);
    EXPECT_STREQ(data.signal, "Field") << "the description stays";
}

TEST_P(ShmSignalAccessTest, clearOfAnUnwrittenSignalCountsAsModification) {
    ShmProbe signal(twelveBits(), GetParam());
    signal.clear();
    EXPECT_TRUE(signal.isModified());
}

TEST_P(ShmSignalAccessTest, shortPayloadIsFilledUpWithZeros) {
    ShmProbe signal(twelveBits(), GetParam());
    unsigned char const data[] = {1, 2, 3, 0xff};
    EXPECT_TRUE(signal.write(data, 3, 9));
    EXPECT_EQ(signal.d_data->rawValue, 0x0102030000000000U);
    EXPECT_EQ(signal.d_data->timestamp, 9U);
}

TEST_P(ShmSignalAccessTest, longPayloadCountsWithItsFirstEightBytes) {
    ShmProbe signal(twelveBits(), GetParam());
    unsigned char const data[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_TRUE(signal.write(data, sizeof data, 9));
    EXPECT_EQ(signal.d_data->rawValue, 0x0102030405060708U);
}

TEST_P(ShmSignalAccessTest, payloadWithoutLengthHasEightBytes) {
    ShmProbe signal(twelveBits(), GetParam());
    unsigned char const data[] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_TRUE(signal.write(data, 9));
    EXPECT_EQ(signal.d_data->rawValue, 0x0102030405060708U);
}

TEST_P(ShmSignalAccessTest, payloadFormsGoThroughTheVirtualWrite) {
    class Counting : public ShmSignal {
    public:
        using ShmSignal::ShmSignal;
        using ShmSignal::write;
        bool write(unsigned long long raw, unsigned long long) override {
            d_words.push_back(raw);
            return false;
        }
        std::vector<unsigned long long> d_words;
    } signal(twelveBits(), GetParam());
    unsigned char const data[] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_FALSE(signal.write(data, 0)) << "the result is the virtual form's";
    EXPECT_FALSE(signal.write(data, 2, 0));
    EXPECT_EQ(signal.d_words, (std::vector<unsigned long long>{0x0102030405060708, 0x0102000000000000}));
}

TEST_P(ShmSignalAccessTest, decodeAndPhysicalCanBeCalledOnTheirOwn) {
    ShmProbe signal(twelveBits(), GetParam());
    signal.d_data->rawValue = 0xf230000000000000;
    signal.decode();
    EXPECT_EQ(signal.d_data->value, 0xffffffffffffff23U);
    signal.physical();
    EXPECT_EQ(signal.d_data->phys, -221 * 0.5 + 1);
    EXPECT_EQ(signal.d_data->conv, 0);
}

TEST_P(ShmSignalAccessTest, unknownTypeKeepsThePhysicalValue) {
    ShmProbe signal(definition(static_cast<signalValue_t>(9), 0, 8, false), GetParam());
    signal.write(word(5), 1);
    EXPECT_TRUE(signal.read(d_phys, d_timestamp));
    EXPECT_EQ(d_phys, 2863311530.0);
}

TEST_P(ShmSignalAccessTest, layoutFollowsTheRecordWhenComputedAnew) {
    ShmProbe signal(twelveBits(), GetParam());
    signal.d_data->startbit = 0;
    signal.d_data->bits = 8;
    signal.d_data->endian = 0;
    signal.cInit();
    EXPECT_EQ(signal.d_rawMask, 0xff00000000000000U);
}

TEST_P(ShmSignalAccessTest, lockCanBeTriedFor) {
    ShmProbe signal(twelveBits(), GetParam());
    EXPECT_TRUE(signal.tryLock());
    EXPECT_EQ(signal.tryLock(), !GetParam()) << "local signals take no lock";
    signal.unlock();
    EXPECT_TRUE(signal.tryLock());
    signal.unlock();
}

TEST_P(ShmSignalAccessTest, accessesAreSilentWithoutDebug) {
    ShmProbe signal(twelveBits(), GetParam());
    Capture const output(std::cout);
    Capture const errors(std::cerr);
    signal.write(0x1230000000000000, 1);
    signal.read(d_phys, d_timestamp);
    signal.read(d_value, d_timestamp);
    signal.clear();
    EXPECT_EQ(output.text() + errors.text(), "");
}

TEST_P(ShmSignalAccessTest, debugLinesOfAWrite) {
    ShmProbe signal(twelveBits(), GetParam());
    std::ostringstream before;
    Capture output(std::cout);
    BaseSignal::debug = 1;
    signal.write(0xf23456789abcdef0, 0x1000);
    std::string const text = output.take();
    signal.d_data->timestamp = 0x55555555; // the line shows the time of the previous write
    before << signal;
    EXPECT_EQ(text, "[DEBUG] writing f23456789abcdef0, ts=1000\n"
                    "[DEBUG] ShmSignal::decode: " +
                        d_name.name() +
                        ": f2-34-56-78-9a-bc-de-f0\n"
                        "[DEBUG] ShmSignal::decode: big endian, bits = 12, startbit = 7, maskBits = fff, "
                        "signBit = 800, item = ffffffffffffff23\n"
                        "[DEBUG] ShmSignal::write " +
                        before.str() + "\n");
}

TEST_P(ShmSignalAccessTest, debugLinesOfAWriteWithoutChange) {
    ShmProbe signal(definition(signalUnsigned, 4, 12, false), GetParam());
    signal.write(0x0102030405060708, 5);
    std::ostringstream before;
    before << signal;
    Capture output(std::cout);
    BaseSignal::debug = 1;
    signal.write(0x01020304050607ff, 6);
    EXPECT_EQ(output.take(),
              "[DEBUG] writing 1020304050607ff, ts=6\n[DEBUG] ShmSignal::write (no change) " + before.str() + "\n");
}

TEST_P(ShmSignalAccessTest, debugLinesOfAReading) {
    ShmProbe signal(definition(signalUnsigned, 4, 12, false), GetParam());
    signal.write(word(0x12, 0x34), 5);
    Capture output(std::cout);
    BaseSignal::debug = 1;
    signal.read(d_phys, d_timestamp);
    std::ostringstream description;
    description << signal;
    EXPECT_EQ(output.take(),
              "[DEBUG] " + d_name.name() + " = 833\n[DEBUG] ShmSignal::read " + description.str() + "\n");
    signal.read(d_value, d_timestamp);
    EXPECT_EQ(output.take(), "[DEBUG] ShmSignal::read " + description.str() + "\n");
}

TEST_P(ShmSignalAccessTest, debugLineOfAReadingOfAnUnwrittenSignal) {
    ShmProbe signal(twelveBits(), GetParam());
    Capture output(std::cout);
    BaseSignal::debug = 2;
    EXPECT_FALSE(signal.read(d_value, d_timestamp));
    std::ostringstream description;
    description << signal;
    EXPECT_EQ(output.take(), "[DEBUG] ShmSignal::read " + description.str() + "\n");
}

} // namespace
