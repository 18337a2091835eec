// Where the bits of a self-contained CAN signal lie, how they are decoded, and where `encode` puts them.
#include "tests/support/CANSignalProbe.h"
#include "tests/support/ReferenceLayout.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

// Places a raw value byte by byte, each byte of a big-endian one from the opposite end.
Word encoded(ReferenceLayout const& layout, Word raw, bool bigEndian) {
    Word const placed = shiftedLeft(raw & layout.d_ones, layout.d_shift);
    if (!bigEndian)
        return shiftedLeft(placed, 8 * layout.d_startByte);
    Bytes const source = bytesOf(placed);
    Bytes target{};
    for (int j = layout.d_startByte; j >= 0; --j)
        if (int const byte = layout.d_bytes - 1 - j; j < 8 && byte >= 0 && byte < 8)
            target[static_cast<std::size_t>(j)] = source[static_cast<std::size_t>(byte)];
    return wordOf(target);
}

class CANSignalLayoutTest : public testing::Test {
protected:
    CANSignalProbe d_signal{canDefinition("layout"), false};
};

TEST_F(CANSignalLayoutTest, followsTheTable) {
    struct {
        bool big;
        unsigned startBit, bits;
        unsigned lsbBit, startByte, bytes, shift;
        Word ones, sign, mask;
    } const cases[] = {
        {false, 0, 8, 0, 0, 1, 0, 0xff, 0x80, 0xff00000000000000},
        {true, 7, 16, 8, 1, 2, 0, 0xffff, 0x8000, 0xffff000000000000},
        {false, 8, 8, 8, 1, 1, 0, 0xff, 0x80, 0x00ff000000000000},
        {true, 7, 12, 12, 1, 2, 4, 0xfff, 0x800, 0xfff0000000000000},
        {false, 4, 12, 4, 0, 2, 4, 0xfff, 0x800, 0xf0ff000000000000},
        {true, 7, 64, 56, 7, 8, 0, ~Word{0}, 0x8000000000000000, ~Word{0}},
        {false, 0, 64, 0, 0, 8, 0, ~Word{0}, 0x8000000000000000, ~Word{0}},
        {false, 8, 0, 8, 1, 0, 0, 0, 0, 0}, // no bits, no bytes
        {false, 0, 0, 0, 0, 1, 0, 0, 0, 0}, // the division is towards zero
        {true, 7, 0, 8, 1, 0, 0, 0, 0, 0},
        {false, 255, 255, 255, 31, 33, 7, ~Word{0}, 0, 0},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << "start " << each.startBit << ", bits " << each.bits << ", big " << each.big);
        d_signal.place(each.startBit, each.bits, each.big);
        EXPECT_EQ(d_signal.d_lsbBit, each.lsbBit);
        EXPECT_EQ(d_signal.d_startByte, each.startByte);
        EXPECT_EQ(d_signal.d_bytes, each.bytes);
        EXPECT_EQ(d_signal.d_shift, each.shift);
        EXPECT_EQ(d_signal.d_maksBits, each.ones);
        EXPECT_EQ(d_signal.d_signBit, each.sign);
        EXPECT_EQ(d_signal.d_rawMask, each.mask);
    }
}

TEST_F(CANSignalLayoutTest, decodesTheExamples) {
    d_signal.place(0, 8, false);
    EXPECT_EQ(d_signal.decode(0x1234000000000000), 0x12U);
    d_signal.place(7, 16, true);
    EXPECT_EQ(d_signal.decode(0xABCD000000000000), 0xABCDU);
    d_signal.place(0, 4, false);
    d_signal.record().type = canSigned;
    EXPECT_EQ(d_signal.decode(0x0F00000000000000), 0xFFFFFFFFFFFFFFFFU);
    EXPECT_EQ(d_signal.decode(0x0700000000000000), 7U);
}

TEST_F(CANSignalLayoutTest, encodesTheExamples) {
    d_signal.place(8, 8, false);
    EXPECT_EQ(d_signal.encode(0x12), 0x1200U);
    d_signal.place(7, 16, true);
    EXPECT_EQ(d_signal.encode(0xABCD), 0U);
    d_signal.place(7, 64, true);
    EXPECT_EQ(d_signal.encode(0x0102030405060708), 0x0807060504030201U);
    d_signal.place(0, 64, false);
    EXPECT_EQ(d_signal.encode(0x0102030405060708), 0x0102030405060708U);
    d_signal.place(4, 8, false);
    EXPECT_EQ(d_signal.encode(0x1ab), 0xab0U) << "bits that the signal does not have are dropped";
}

// Deliberate: what `encode` makes is no payload of the signal in most layouts.
TEST_F(CANSignalLayoutTest, encodeIsNotTheInverseOfDecode) {
    d_signal.place(8, 8, false);
    EXPECT_EQ(d_signal.decode(d_signal.encode(0x12)), 0U);
    d_signal.place(7, 64, true);
    EXPECT_EQ(d_signal.decode(d_signal.encode(0x0102030405060708)), 0x0807060504030201U);
}

TEST_F(CANSignalLayoutTest, decodeAgreesWithAReadingBitByBit) {
    std::mt19937_64 random(1);
    for (bool const big : {false, true})
        for (int startBit = 0; startBit < 64; ++startBit)
            for (int bits = 1; bits <= 64; ++bits) {
                d_signal.place(static_cast<unsigned>(startBit), static_cast<unsigned>(bits), big);
                if (d_signal.d_bytes > 8)
                    continue; // nine bytes lose their highest bits
                Word const payload = random();
                Bytes const bytes = bytesOf(payload);
                // From the highest bit to the lowest of a big-endian signal, the other way round of a little-endian
                // one.
                Word expected = 0;
                int bit = startBit;
                for (int i = 0; i < bits; ++i) {
                    Word const one = bit < 64 ? bytes[static_cast<std::size_t>(bit / 8)] >> (bit % 8) & 1 : 0;
                    expected |= one << (big ? bits - 1 - i : i);
                    bit = !big ? bit + 1 : bit % 8 != 0 ? bit - 1 : bit + 15;
                }
                ASSERT_EQ(d_signal.decode(payload), expected) << startBit << " " << bits << " " << big;
            }
}

TEST_F(CANSignalLayoutTest, everyDefinitionHasADefinedLayoutAndDefinedValues) {
    std::mt19937_64 random(2);
    for (bool const big : {false, true})
        for (int startBit = 0; startBit < 256; ++startBit)
            for (int bits = 0; bits < 256; ++bits) {
                ReferenceLayout const layout(startBit, bits, big);
                d_signal.place(static_cast<unsigned>(startBit), static_cast<unsigned>(bits), big);
                ASSERT_EQ(d_signal.d_lsbBit, layout.d_lsbBit) << startBit << " " << bits << " " << big;
                ASSERT_EQ(d_signal.d_startByte, layout.d_startByte) << startBit << " " << bits << " " << big;
                ASSERT_EQ(d_signal.d_bytes, layout.d_bytes) << startBit << " " << bits << " " << big;
                ASSERT_EQ(d_signal.d_shift, layout.d_shift) << startBit << " " << bits << " " << big;
                ASSERT_EQ(d_signal.d_maksBits, layout.d_ones) << startBit << " " << bits << " " << big;
                ASSERT_EQ(d_signal.d_signBit, layout.d_sign) << startBit << " " << bits << " " << big;
                ASSERT_EQ(d_signal.d_rawMask, layout.d_mask) << startBit << " " << bits << " " << big;
                Word const word = random();
                ASSERT_EQ(d_signal.decode(word), layout.decoded(word, big, false))
                    << startBit << " " << bits << " " << big;
                ASSERT_EQ(d_signal.encode(word), encoded(layout, word, big)) << startBit << " " << bits << " " << big;
            }
}

TEST_F(CANSignalLayoutTest, signedValuesAreExtendedFromTheirHighestBit) {
    std::mt19937_64 random(3);
    for (unsigned bits = 1; bits <= 64; ++bits) {
        d_signal.place(0, bits, false);
        d_signal.record().type = canUnsigned;
        for (int round = 0; round < 8; ++round) {
            Word const payload = random();
            d_signal.record().type = canUnsigned;
            Word value = d_signal.decode(payload);
            if (value / d_signal.d_signBit % 2 == 1)
                for (unsigned bit = bits; bit < 64; ++bit)
                    value |= Word{1} << bit;
            for (canValue_t const type : {canSigned, canFloat, canDouble, static_cast<canValue_t>(-7)}) {
                d_signal.record().type = type;
                if (type == canSigned)
                    ASSERT_EQ(d_signal.decode(payload), value) << bits;
                else
                    ASSERT_EQ(d_signal.decode(payload), value & d_signal.d_maksBits) << bits << " " << type;
            }
        }
    }
}

TEST_F(CANSignalLayoutTest, anyEndianFlagButZeroIsBigEndian) {
    d_signal.record().startbit = 7;
    d_signal.record().bits = 16;
    d_signal.record().endian = 0x80;
    d_signal.cInit();
    EXPECT_EQ(d_signal.d_rawMask, 0xffff000000000000U);
    EXPECT_EQ(d_signal.decode(0x1234000000000000), 0x1234U);
    EXPECT_EQ(d_signal.encode(0xABCD), 0U);
}

TEST(CANSignalDefinition, onlyTheLowEightBitsOfItsNumbersAreKept) {
    struct {
        int startBit, bits;
        unsigned keptStartBit, keptBits;
    } const cases[] = {
        {256 + 7, 256 + 12, 7, 12},
        {-1, -1, 255, 255},
        {-249, -192, 7, 64},
        {std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), 0, 255},
    };
    for (auto const& each : cases) {
        canSignal_t definition = canDefinition("cut");
        definition.startbit = each.startBit;
        definition.bits = each.bits;
        CANSignalProbe signal(definition, false);
        EXPECT_EQ(signal.record().startbit, each.keptStartBit);
        EXPECT_EQ(signal.record().bits, each.keptBits);
        EXPECT_EQ(signal.getBits(), each.keptBits);
        ReferenceLayout const layout(static_cast<int>(each.keptStartBit), static_cast<int>(each.keptBits), false);
        EXPECT_EQ(signal.d_rawMask, layout.d_mask);
    }
}

} // namespace
