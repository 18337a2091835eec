// Stores that a process makes as a whole or not at all.
#include "qzsignal/shm/OrderedStores.h"

#include <gtest/gtest.h>

namespace qzsignal {
namespace {

TEST(OrderedStores, wholeStoreKeepsEveryBit) {
    struct {
        std::uint32_t before;
        alignas(8) std::uint64_t field;
        std::uint32_t after;
    } record = {0x11111111, 0, 0x22222222};
    std::uint64_t const numbers[] = {
        0,
        1,
        ~std::uint64_t{0},
        0x0123456789abcdef,
        0xfedcba9876543210,
        0x7ff0000000000001, // as a floating-point number, one that arithmetic would change
        0xfff4000000000000,
        0x8000000000000000,
        0x000fffffffffffff,
    };
    for (std::uint64_t const number : numbers) {
        storeWhole(record.field, number);
        keepOrder();
        EXPECT_EQ(record.field, number);
    }
    EXPECT_EQ(record.before, 0x11111111U);
    EXPECT_EQ(record.after, 0x22222222U);
}

} // namespace
} // namespace qzsignal
