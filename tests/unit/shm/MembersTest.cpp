// The order and the types of the members of signals with a record.
#include "tests/support/RecordFamilies.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

namespace {

template <typename Family>
class MembersTest : public testing::Test {};
TYPED_TEST_SUITE(MembersTest, RecordFamilies, FamilyNames);

TYPED_TEST(MembersTest, followTheBaseClassInTheStatedOrder) {
    using Signal = typename TypeParam::Signal;
    Signal const signal(TypeParam::definition("members"), false);
    auto const* last = reinterpret_cast<unsigned char const*>(&signal.messageId);
    auto const expectNext = [&last](auto const& member, std::size_t size) {
        auto const* const address = reinterpret_cast<unsigned char const*>(&member);
        EXPECT_GT(address, last);
        EXPECT_LE(address, last + 16) << "nothing else comes between them";
        last = address + sizeof member - 1;
        EXPECT_EQ(sizeof member, size);
    };
    last += sizeof signal.messageId - 1;
    expectNext(signal.d_localData, TypeParam::recordSize);
    expectNext(signal.d_owner, 1);
    expectNext(signal.d_valid, 1);
    expectNext(signal.d_key, 4);
    expectNext(signal.d_shmId, 4);
    expectNext(signal.d_shared, 1);
    expectNext(signal.d_data, sizeof(void*));
    expectNext(signal.d_modified, 1);
    expectNext(signal.d_lsbBit, 1);
    expectNext(signal.d_startByte, 1);
    expectNext(signal.d_bytes, 1);
    expectNext(signal.d_shift, 1);
    expectNext(signal.d_maksBits, 8);
    expectNext(signal.d_signBit, 8);
    expectNext(signal.d_rawMask, 8);
    expectNext(signal.d_waiting, 1);
}

TEST(Members, startByteOfTheStoreIsSigned) {
    EXPECT_TRUE((std::is_same_v<decltype(CANSignalProbe::d_startByte), std::int8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(ShmProbe::d_startByte), std::uint8_t>));
}

TEST(Members, objectsBeginALineOfTheCache) {
    EXPECT_EQ(alignof(ShmSignal), 64U);
    EXPECT_LE(sizeof(ShmSignal), 384U);
}

} // namespace
