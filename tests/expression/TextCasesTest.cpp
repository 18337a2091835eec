// What the library makes of the cases in cases/*.txt.
#include "tests/expression/CompiledExpression.h"
#include "tests/expression/TestSignals.h"
#include "tests/expression/TextCase.h"
#include "tests/support/Capture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

namespace {

void expectOutcome(TextCase const& each) {
    TestSignals signals;
    for (auto const& [name, value] : each.d_signals)
        signals[name].d_value = value;
    Capture errors(std::cerr);
    Capture output(std::cout);
    CompiledExpression expression(each.d_text);
    EXPECT_EQ(expression.accepted(), !each.d_error);
    EXPECT_EQ(errors.text(),
              each.d_error ? *each.d_error + "\n[ERROR] parser error in ExpParser\n" + each.d_text + "\n\n" : "");
    std::optional<ExpParser::Error> const error = ExpParser::check(each.d_text.c_str());
    EXPECT_EQ(error ? "[ERROR] " + error->text() : "", each.d_error.value_or(""));
    if (each.d_program)
        EXPECT_EQ(print(expression.postfix()), *each.d_program);
    if (!expression.accepted())
        return;
    if (each.d_value) {
        EXPECT_EQ(reference::print(expression.getValue()), *each.d_value);
        EXPECT_EQ(reference::print(compactValue(each.d_text)), *each.d_value);
    }
    if (each.d_trigger)
        EXPECT_EQ(expression.getTrigger(), *each.d_trigger);
    EXPECT_EQ(output.text(), "");
}

std::string nameOf(testing::TestParamInfo<std::string> const& file) {
    return std::filesystem::path(file.param).stem().string();
}

class TextCases : public testing::TestWithParam<std::string> {};

TEST_P(TextCases, comeOutAsTheyAreWritten) {
    for (TextCase const& each : readCases(GetParam())) {
        SCOPED_TRACE(GetParam() + ":" + std::to_string(each.d_line) + ": " + each.d_name);
        expectOutcome(each);
    }
}

INSTANTIATE_TEST_SUITE_P(In, TextCases, testing::ValuesIn(caseFiles()), nameOf);

} // namespace
