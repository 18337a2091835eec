// The reference reads the cases as they are written down. It is held to them as the library is, so that the two cannot
// agree on something else.
#include "tests/expression/ReferenceLanguage.h"
#include "tests/expression/TextCase.h"

#include <gtest/gtest.h>

namespace {

std::optional<double> valueIn(TextCase const& each, std::string const& name) {
    auto const found = each.d_signals.find(name);
    return found != each.d_signals.end() ? found->second : std::nullopt;
}

} // namespace

TEST(ReferenceLanguage, readsTheCasesAsTheyAreWritten) {
    for (std::string const& file : caseFiles()) {
        for (TextCase const& each : readCases(file)) {
            SCOPED_TRACE(file + ":" + std::to_string(each.d_line) + ": " + each.d_name);
            reference::Reading const reading = reference::read(each.d_text);
            EXPECT_EQ(reading.d_accepted, !each.d_error);
            if (each.d_error) {
                EXPECT_EQ("[ERROR] expression parser: line " + std::to_string(reading.d_errorLine) +
                              " syntax error at '" + reading.d_errorText + "'",
                          *each.d_error);
                continue;
            }
            double const value = evaluate(reading.d_term, [&](std::string const& name) { return valueIn(each, name); });
            if (each.d_program)
                EXPECT_EQ(print(programOf(reading.d_term)), *each.d_program);
            if (each.d_value)
                EXPECT_EQ(reference::print(value), *each.d_value);
            if (each.d_trigger)
                EXPECT_EQ(value > 0.0, *each.d_trigger);
        }
    }
}
