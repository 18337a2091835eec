// The evaluation stack.
#include "qzsignal/expression/Stack.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

static_assert(std::is_same<decltype(Stack<double>::capacity), std::uint32_t>::value, "");
static_assert(!std::is_copy_constructible<Stack<double>>::value && !std::is_copy_assignable<Stack<double>>::value, "");

TEST(Stack, isEmptyAndWithoutAnArrayAtFirst) {
    Stack<double> stack;
    EXPECT_EQ(stack.capacity, 0U);
    EXPECT_EQ(stack.base, nullptr);
    EXPECT_EQ(stack.top, nullptr);
    EXPECT_EQ(stack.depth(), 0U);
    stack.clear();
    stack.check(0);
    EXPECT_EQ(stack.depth(), 0U);
}

TEST(Stack, givesBackWhatWasPushedLast) {
    Stack<double> stack;
    stack.size(3);
    EXPECT_EQ(stack.capacity, 3U);
    EXPECT_EQ(stack.top, stack.base);
    stack.push(1.5);
    EXPECT_EQ(stack.top, stack.base + 1) << "slot 0 is never used";
    stack.push(2.5);
    stack.push(3.5);
    EXPECT_EQ(stack.depth(), 3U);
    EXPECT_EQ(stack.pop(), 3.5);
    EXPECT_EQ(stack.back(), 2.5);
    stack.back() = 4.5;
    EXPECT_EQ(stack.pop(), 4.5);
    EXPECT_EQ(stack.depth(), 1U);
    stack.clear();
    EXPECT_EQ(stack.depth(), 0U);
    EXPECT_EQ(stack.top, stack.base);
}

TEST(Stack, growsButNeverShrinks) {
    Stack<double> stack;
    stack.size(2);
    double const* const array = stack.base;
    stack.size(2);
    stack.size(1);
    EXPECT_EQ(stack.capacity, 2U);
    EXPECT_EQ(stack.base, array);
    stack.size(7);
    EXPECT_EQ(stack.capacity, 7U);
}

// A program grows by one instruction at a time: sizing the stack for each must not take a new array each time.
TEST(Stack, growsAheadOfItsCapacity) {
    Stack<double> stack;
    double const* array = nullptr;
    int arrays = 0;
    for (std::uint32_t instructions = 1; instructions <= 100000; ++instructions) {
        stack.size(instructions);
        ASSERT_EQ(stack.capacity, instructions);
        stack.base[instructions] = 1.0; // there
        arrays += stack.base != array;
        array = stack.base;
    }
    EXPECT_LE(arrays, 18);
}

TEST(Stack, keepsItsDepthWhenItGrows) {
    Stack<double> stack;
    stack.size(2);
    stack.push(1.0);
    stack.push(2.0);
    stack.size(3);
    EXPECT_EQ(stack.depth(), 2U);
    EXPECT_EQ(stack.top, stack.base + 2);
}

TEST(Stack, holdsElementsOfAnyType) {
    Stack<std::string> stack;
    stack.size(1);
    stack.push("a");
    stack.check(1);
    EXPECT_EQ(stack.pop(), "a");
}

TEST(StackDeathTest, tooFewElementsEndTheProcessWithStatus4) {
    Stack<double> stack;
    EXPECT_EXIT(stack.check(1), testing::ExitedWithCode(4), "^Less than 1 elements on bool stack \\(0\\)\n$");
    stack.size(2);
    stack.push(1.0);
    stack.check(1);
    EXPECT_EXIT(stack.check(2), testing::ExitedWithCode(4), "^Less than 2 elements on bool stack \\(1\\)\n$");
    EXPECT_EXIT(stack.check(4294967295U), testing::ExitedWithCode(4),
                "^Less than 4294967295 elements on bool stack \\(1\\)\n$");
}

} // namespace
