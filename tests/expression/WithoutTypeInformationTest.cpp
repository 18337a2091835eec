// Programs that are built with -fno-rtti may derive from ExpParser: what they change in a program, and the operations
// that they add, count.
#include "qzsignal/expression/ExpParser.h"

#include <gtest/gtest.h>

#ifdef __GXX_RTTI
#error "this is to be built without type information"
#endif

namespace {

class Editable : public ExpParser {
public:
    explicit Editable(char const* expression) : ExpParser(expression, false) {}

    void opwatch() { d_depth = stack.depth(); }

    using ExpParser::program;

    unsigned int d_depth = 0;
};

TEST(WithoutTypeInformation, derivedProgramRunsAsItStands) {
    Editable expression("7 - 2");
    EXPECT_EQ(expression.getValue(), 5.0);
    expression.program[1].second.value = 3.0;
    EXPECT_EQ(expression.getValue(), 4.0);
    EXPECT_TRUE(expression.getTrigger());
    expression.program.insert(expression.program.begin() + 2,
                              {static_cast<ExpParser::Operation>(&Editable::opwatch), {}});
    EXPECT_EQ(expression.getValue(), 4.0);
    EXPECT_EQ(expression.d_depth, 2U);
}

TEST(WithoutTypeInformation, plainExpressionRuns) {
    ExpParser expression("7 - 2", false);
    EXPECT_EQ(expression.getValue(), 5.0);
}

} // namespace
