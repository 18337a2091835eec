// Bit layout and extraction, against tables and against a reading bit by bit.
#include "qzsignal/signal/BitLayout.h"

#include "qzsignal/signal/BaseSignal.h"
#include "qzsignal/signal/BitLayoutTrace.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace qzsignal {
namespace {

using Payload = std::array<unsigned char, 8>;

constexpr ByteOrder orders[] = {ByteOrder::Little, ByteOrder::Big};

BitLayout layoutOf(unsigned startBit, unsigned bits, ByteOrder order) {
    BitLayout layout;
    layout.set(startBit, bits, order);
    return layout;
}

// Bit number in the payload of bit `i` (0: lowest) of the value, by walking bit by bit from the start bit.
int payloadBit(unsigned startBit, unsigned bits, ByteOrder order, unsigned i) {
    if (order == ByteOrder::Little)
        return static_cast<int>(startBit + i);
    int bit = static_cast<int>(startBit);
    for (unsigned step = bits - 1; step > i; --step)
        bit = bit % 8 == 0 ? bit + 15 : bit - 1; // below bit 0 of a byte comes bit 7 of the next
    return bit;
}

bool insidePayload(unsigned startBit, unsigned bits, ByteOrder order) {
    return payloadBit(startBit, bits, order, 0) < 64 && payloadBit(startBit, bits, order, bits - 1) < 64;
}

std::uint64_t referenceValue(Payload const& payload, unsigned startBit, unsigned bits, ByteOrder order) {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < bits; ++i) {
        int const bit = payloadBit(startBit, bits, order, i);
        if (bit < 64 && (payload[static_cast<unsigned>(bit / 8)] >> (bit % 8) & 1) != 0)
            value |= std::uint64_t{1} << i;
    }
    return value;
}

TEST(RawWord, putsByteZeroFirst) {
    Payload const payload = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(rawWord(payload.data(), 8), 0x0102030405060708U);
    EXPECT_EQ(rawWord(payload.data(), 3), 0x0102030000000000U);
    EXPECT_EQ(rawWord(payload.data(), 0), 0U);
    EXPECT_EQ(rawWord(nullptr, 0), 0U);
}

TEST(RawWord, takesTheFirstEightOfALongPayload) {
    unsigned char const payload[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(rawWord(payload, sizeof payload), 0x0102030405060708U);
}

TEST(BitLayout, followsTheTable) {
    struct {
        ByteOrder order;
        unsigned startBit, bits;
        unsigned lsbBit, startByte, bytes, shift;
        std::uint64_t rawMask;
    } const cases[] = {
        {ByteOrder::Big, 7, 12, 12, 1, 2, 4, 0xfff0000000000000},
        {ByteOrder::Little, 4, 12, 4, 0, 2, 4, 0xf0ff000000000000},
        {ByteOrder::Little, 0, 8, 0, 0, 1, 0, 0xff00000000000000},
        {ByteOrder::Little, 8, 16, 8, 1, 2, 0, 0x00ffff0000000000},
        {ByteOrder::Big, 7, 8, 0, 0, 1, 0, 0xff00000000000000},
        {ByteOrder::Big, 55, 16, 56, 7, 2, 0, 0x000000000000ffff},
        {ByteOrder::Big, 7, 64, 56, 7, 8, 0, 0xffffffffffffffff},
        {ByteOrder::Little, 0, 64, 0, 0, 8, 0, 0xffffffffffffffff},
        {ByteOrder::Big, 0, 1, 0, 0, 1, 0, 0x0100000000000000},
        {ByteOrder::Little, 63, 1, 63, 7, 1, 7, 0x0000000000000080},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << "start " << each.startBit << ", bits " << each.bits);
        BitLayout const layout = layoutOf(each.startBit, each.bits, each.order);
        EXPECT_EQ(layout.d_lsbBit, each.lsbBit);
        EXPECT_EQ(layout.d_startByte, each.startByte);
        EXPECT_EQ(layout.d_bytes, each.bytes);
        EXPECT_EQ(layout.d_shift, each.shift);
        EXPECT_EQ(layout.d_rawMask, each.rawMask);
    }
}

TEST(BitLayout, masksFollowTheLength) {
    struct {
        unsigned bits;
        std::uint64_t maksBits, signBit;
    } const cases[] = {{0, 0, 0},
                       {1, 1, 1},
                       {12, 0xfff, 0x800},
                       {63, 0x7fffffffffffffff, 0x4000000000000000},
                       {64, 0xffffffffffffffff, 0x8000000000000000}};
    for (auto const& each : cases)
        for (ByteOrder const order : orders) {
            BitLayout const layout = layoutOf(7, each.bits, order);
            EXPECT_EQ(layout.d_maksBits, each.maksBits) << each.bits;
            EXPECT_EQ(layout.d_signBit, each.signBit) << each.bits;
        }
}

TEST(BitLayout, agreesWithAReadingBitByBitForEveryStartAndLength) {
    std::mt19937_64 random(1);
    for (ByteOrder const order : orders)
        for (unsigned startBit = 0; startBit < 64; ++startBit)
            for (unsigned bits = 1; bits <= 64; ++bits) {
                BitLayout const layout = layoutOf(startBit, bits, order);
                if (layout.d_bytes > 8)
                    continue; // reaches outside the payload, and loses its highest bits as well
                for (int round = 0; round < 4; ++round) {
                    std::uint64_t const word = random();
                    Payload payload;
                    for (unsigned i = 0; i < 8; ++i)
                        payload[i] = static_cast<unsigned char>(word >> (56 - 8 * i));
                    ASSERT_EQ(rawWord(payload.data(), 8), word);
                    ASSERT_EQ(layout.extract(word, order), referenceValue(payload, startBit, bits, order))
                        << "start " << startBit << ", bits " << bits << ", big " << (order == ByteOrder::Big);
                }
            }
}

TEST(BitLayout, valueOfNineBytesKeepsTheLowestEight) {
    // Bit 0 of byte 0 down to bit 7 of the byte after the payload: 58 bits, of which the highest is in a ninth byte.
    BitLayout const layout = layoutOf(0, 58, ByteOrder::Big);
    EXPECT_EQ(layout.d_bytes, 9);
    EXPECT_EQ(layout.extract(~std::uint64_t{0}, ByteOrder::Big), 0x01fffffffffffffeU);
}

TEST(BitLayout, maskHoldsExactlyTheSignalsBits) {
    for (ByteOrder const order : orders)
        for (unsigned startBit = 0; startBit < 64; ++startBit)
            for (unsigned bits = 1; bits <= 64; ++bits) {
                if (!insidePayload(startBit, bits, order))
                    continue;
                std::uint64_t expected = 0;
                for (unsigned i = 0; i < bits; ++i) {
                    int const bit = payloadBit(startBit, bits, order, i);
                    expected |= std::uint64_t{1} << (56 - bit / 8 * 8 + bit % 8);
                }
                ASSERT_EQ(layoutOf(startBit, bits, order).d_rawMask, expected) << startBit << " " << bits;
            }
}

TEST(BitLayout, signalBeyondThePayloadReadsZerosThereAndMasksThemOut) {
    // Any definition must be harmless, however far it reaches.
    for (ByteOrder const order : orders)
        for (unsigned startBit : {0U, 7U, 56U, 63U, 64U, 71U, 100U, 255U, 256U, 1000U, 65535U})
            for (unsigned bits : {0U, 1U, 8U, 33U, 64U, 65U, 200U, 255U}) {
                BitLayout const layout = layoutOf(startBit, bits, order);
                std::uint64_t const value = layout.extract(~std::uint64_t{0}, order);
                EXPECT_EQ(value & ~layout.d_maksBits, 0U);
            }
    EXPECT_EQ(layoutOf(60, 8, ByteOrder::Little).extract(~std::uint64_t{0}, ByteOrder::Little), 0x0fU);
    EXPECT_EQ(layoutOf(60, 8, ByteOrder::Little).d_rawMask, 0xf0U);
    EXPECT_EQ(layoutOf(59, 8, ByteOrder::Big).extract(~std::uint64_t{0}, ByteOrder::Big), 0xf0U);
    EXPECT_EQ(layoutOf(59, 8, ByteOrder::Big).d_rawMask, 0x0fU);
    EXPECT_EQ(layoutOf(64, 8, ByteOrder::Little).extract(~std::uint64_t{0}, ByteOrder::Little), 0U);
    EXPECT_EQ(layoutOf(200, 8, ByteOrder::Big).extract(~std::uint64_t{0}, ByteOrder::Big), 0U);
}

TEST(BitLayout, emptySignalHasNoBits) {
    for (ByteOrder const order : orders) {
        BitLayout const layout = layoutOf(12, 0, order);
        EXPECT_EQ(layout.d_rawMask, 0U);
        EXPECT_EQ(layout.extract(~std::uint64_t{0}, order), 0U);
    }
}

TEST(BitLayout, isEmptyUntilItIsSet) {
    BitLayout const layout;
    EXPECT_EQ(layout.d_lsbBit, 0U);
    EXPECT_EQ(layout.d_startByte, 0U);
    EXPECT_EQ(layout.d_bytes, 0U);
    EXPECT_EQ(layout.d_shift, 0U);
    EXPECT_EQ(layout.d_cut.d_above, 0U);
    EXPECT_EQ(layout.d_cut.d_unused, 0U);
    EXPECT_EQ(layout.d_rawMask, 0U);
    EXPECT_EQ(layout.d_maksBits, 0U);
    EXPECT_EQ(layout.d_signBit, 0U);
    for (ByteOrder const order : orders)
        EXPECT_FALSE(layout.d_cut.isInside(order));
}

TEST(BitLayout, signExtensionRepeatsTheHighestBit) {
    BitLayout const twelve = layoutOf(7, 12, ByteOrder::Big);
    EXPECT_EQ(twelve.signExtend(0xf23), 0xffffffffffffff23U);
    EXPECT_EQ(twelve.signExtend(0x723), 0x723U);
    BitLayout const all = layoutOf(0, 64, ByteOrder::Little);
    EXPECT_EQ(all.signExtend(0x8000000000000000), 0x8000000000000000U);
}

TEST(BitLayout, differsInItsOwnBitsOnly) {
    BitLayout const layout = layoutOf(7, 12, ByteOrder::Big);
    EXPECT_FALSE(layout.differs(0x1230000000000000, 0x123fffffffffffff));
    EXPECT_TRUE(layout.differs(0x1230000000000000, 0x1220000000000000));
}

TEST(BitLayout, debugLineShowsAllMembers) {
    Capture output(std::cout);
    traceLayout(layoutOf(7, 12, ByteOrder::Big));
    EXPECT_EQ(output.take(), "[DEBUG] d_lsbBit=12,d_startByte=1,d_bytes=2,d_shift=4,d_maksBits=fff,d_signBit=800,"
                             "d_rawMask=fff0000000000000\n");
    BaseSignal::debug = 1;
    layoutOf(7, 12, ByteOrder::Big);
    BaseSignal::debug = 0;
    EXPECT_EQ(output.take(), "");
}

TEST(BitLayout, onlyTheLowEightBitsOfTheStartBitCount) {
    for (unsigned const startBit : {4U, 260U, 65284U}) {
        BitLayout const layout = layoutOf(startBit, 12, ByteOrder::Little);
        EXPECT_EQ(layout.d_lsbBit, 4);
        EXPECT_EQ(layout.d_startByte, 0);
        EXPECT_EQ(layout.d_bytes, 2);
        EXPECT_EQ(layout.d_rawMask, 0xf0ff000000000000U);
    }
    BitLayout const big = layoutOf(263, 12, ByteOrder::Big); // 256 bits past start bit 7
    EXPECT_EQ(big.d_lsbBit, 12);
    EXPECT_EQ(big.d_bytes, 2);
    EXPECT_EQ(big.d_rawMask, 0xfff0000000000000U);
}

TEST(BitLayout, bytesOfAnEmptySignalAreCountedTruncating) {
    EXPECT_EQ(layoutOf(0, 0, ByteOrder::Little).d_bytes, 1);
    EXPECT_EQ(layoutOf(8, 0, ByteOrder::Little).d_bytes, 0);
    EXPECT_EQ(layoutOf(7, 0, ByteOrder::Big).d_lsbBit, 8);
}

TEST(BitLayout, lengthBeyondSixtyFourBitsHasAllOnesAndNoSignBit) {
    for (unsigned const bits : {65U, 128U, 129U, 255U}) {
        EXPECT_EQ(layoutOf(7, bits, ByteOrder::Little).d_maksBits, ~std::uint64_t{0}) << bits;
        EXPECT_EQ(layoutOf(7, bits, ByteOrder::Little).d_signBit, 0U) << bits;
    }
}

TEST(BitLayout, ninthByteIsInNeitherMaskNorValue) {
    BitLayout const layout = layoutOf(0, 58, ByteOrder::Big);
    EXPECT_EQ(layout.d_startByte, 8);
    EXPECT_EQ(layout.d_rawMask, 0x00ffffffffffffffU);
    for (unsigned byte = 15; byte < 32; ++byte)
        EXPECT_EQ(layoutOf(8 * byte + 7, 8, ByteOrder::Big).extract(~std::uint64_t{0}, ByteOrder::Big), 0U) << byte;
}

} // namespace
} // namespace qzsignal
