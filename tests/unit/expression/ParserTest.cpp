// What the parser reports, how deep it goes, and its trace.
#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <set>

namespace {

class Parser : public ExpressionTest {
protected:
    // The line about `text`, without those by which the constructor follows it.
    static std::string messageOf(std::string const& text) {
        std::string const errors = errorsOf(text);
        std::string const end = "[ERROR] parser error in ExpParser\n" + text + "\n\n";
        EXPECT_GE(errors.size(), end.size()) << text;
        if (errors.size() < end.size())
            return errors;
        EXPECT_EQ(errors.substr(errors.size() - end.size()), end);
        return errors.substr(0, errors.size() - end.size());
    }

    // Result of one more parse, of which `expression` gets the instructions.
    static int parse(ExpressionProbe& expression, std::string const& text) {
        expression.program.clear();
        EXPECT_TRUE(qzsignal::beginTokens(*expression.lexer, text));
        return expparse(&expression);
    }

    static std::string traceOf(std::string const& text) {
        ErrorOutput output;
        ExpressionProbe const expression(text);
        return output.take();
    }

    // Where a trace names lines of the descriptions, these may change with every comment in them.
    static std::string withoutLines(std::string trace) {
        std::string const word = "(line ";
        for (std::size_t at = trace.find(word); at != std::string::npos; at = trace.find(word, at + 1))
            trace.replace(at + word.size(), trace.find(')', at) - at - word.size(), "N");
        return trace;
    }
};

TEST_F(Parser, errorShowsTheTextFromThePreviousTokenToTheEndOfTheOffendingOne) {
    std::pair<char const*, char const*> const cases[] = {
        {"a b", "a b"},
        {"a b c d", "a b"},
        {"a + b  \t c / d", "b  \t c"},
        {"a ^ b", "a ^ b"},
        {"a = b", "a = b"},
        {"a,b", "a,"},
        {"0x1F", "0x1F"},
        {"a + + * b", "+ *"},
        {"a < b < k", "b <"},
        {"(a < b) + 1", ") +"},
        {"- ! a", "- !"},
        {"speed # limit", "speed # limit"},
        {"1.5e+3 1e", "1.5e+3 1"},
        {"a )", "a )"},
    };
    for (auto const& [text, shown] : cases)
        EXPECT_EQ(messageOf(text), std::string("[ERROR] expression parser: line 1 syntax error at '") + shown + "'\n");
}

TEST_F(Parser, errorAtTheFirstTokenShowsThatTokenAlone) {
    EXPECT_EQ(messageOf(")"), "[ERROR] expression parser: line 1 syntax error at ')'\n");
    EXPECT_EQ(messageOf("  == a"), "[ERROR] expression parser: line 1 syntax error at '=='\n");
    EXPECT_EQ(messageOf("# comment\n\n  * a"), "[ERROR] expression parser: line 1 syntax error at '*'\n");
    EXPECT_EQ(messageOf("^"), "[ERROR] expression parser: line 1 syntax error at '\n'\n");
}

TEST_F(Parser, errorAtTheEndOfTheLineShowsTheNewline) {
    EXPECT_EQ(messageOf("a +"), "[ERROR] expression parser: line 1 syntax error at '+\n'\n");
    EXPECT_EQ(messageOf("(a"), "[ERROR] expression parser: line 1 syntax error at 'a\n'\n");
    EXPECT_EQ(messageOf("a &&  \r"), "[ERROR] expression parser: line 1 syntax error at '&&  \r\n'\n");
}

TEST_F(Parser, textWithoutTokensIsAnErrorThatShowsNothing) {
    for (char const* const text : {"", " ", "\n", "\r\n\t\n", "# comment", "\n# comment\n"})
        EXPECT_EQ(messageOf(text), "[ERROR] expression parser: line 1 syntax error at ''\n") << text;
}

TEST_F(Parser, errorNamesTheLineBeforeTheOffendingToken) {
    EXPECT_EQ(messageOf("a\nb"), "[ERROR] expression parser: line 2 syntax error at '\nb'\n");
    EXPECT_EQ(messageOf("# comment\n\na b"), "[ERROR] expression parser: line 3 syntax error at 'a b'\n");
    EXPECT_EQ(messageOf("a +\nb"), "[ERROR] expression parser: line 1 syntax error at '+\n'\n");
    EXPECT_EQ(messageOf("a\n\n# comment\nb"), "[ERROR] expression parser: line 2 syntax error at '\n\n# comment\nb'\n");
}

TEST_F(Parser, instructionsBeforeAnErrorStay) {
    Capture const errors(std::cerr);
    EXPECT_EQ(ExpressionProbe("a + b * * c").printed(), "a b");
    // What may end a condition is made one before the offending token is looked at.
    EXPECT_EQ(ExpressionProbe("a + b c").printed(), "a b opplus opnz");
    EXPECT_EQ(ExpressionProbe("a + b == c ) ").printed(), "a b opplus c opdeq");
    EXPECT_EQ(ExpressionProbe(")").printed(), "");
}

TEST_F(Parser, nameOf1023CharactersIsKept) {
    std::string const name = "n" + std::string(1022, 'x');
    EXPECT_EQ(programOf("1 + " + name), "1 " + name + " opplus");
}

TEST_F(Parser, nameOf1024CharactersOrMoreIsASyntaxError) {
    for (std::size_t const length : {1024, 1025, 100000}) {
        std::string const name = "n" + std::string(length - 1, 'x');
        EXPECT_EQ(messageOf("1 + " + name), "[ERROR] expression parser: line 1 syntax error at '+ " + name + "'\n");
        EXPECT_EQ(BaseSignal::getInstance(name.c_str()), nullptr);
    }
}

TEST_F(Parser, errorInALongTextShowsItsTokens) {
    for (std::size_t const before : {8189, 8190, 16381, 16382, 16383, 1000000}) {
        std::string const text = std::string(before, ' ') + "a b";
        EXPECT_EQ(messageOf(text), "[ERROR] expression parser: line 1 syntax error at 'a b'\n") << before;
        std::string const gap = "a" + std::string(before, ' ') + "b";
        EXPECT_EQ(messageOf(gap), "[ERROR] expression parser: line 1 syntax error at '" + gap + "'\n") << before;
    }
}

TEST_F(Parser, returnsWhatBecameOfTheText) {
    ExpressionProbe expression("1");
    EXPECT_EQ(parse(expression, "2 + 3\n"), 0);
    EXPECT_EQ(expression.printed(), "2 3 opplus");
    Capture const errors(std::cerr);
    EXPECT_EQ(parse(expression, "2 3\n"), 1);
    EXPECT_EQ(parse(expression, "2 + 3"), 1) << "a line ends in a newline";
    EXPECT_EQ(parse(expression, std::string(10000, '(')), 2);
}

// Its stack holds one state for the start, for each bracket and for what is in them, and one more at a ')'.
TEST_F(Parser, stackGrowsTo10000States) {
    EXPECT_EQ(programOf(std::string(9996, '(') + "1" + std::string(9996, ')')), "1");
    EXPECT_EQ(messageOf(std::string(9997, '(') + "1" + std::string(9997, ')')),
              "[ERROR] expression parser: line 1 memory exhausted at '1)'\n");
    EXPECT_EQ(messageOf("1\n" + std::string(10001, '(')), "[ERROR] expression parser: line 2 syntax error at '\n('\n");
    EXPECT_EQ(messageOf("\n" + std::string(10001, '(')),
              "[ERROR] expression parser: line 2 memory exhausted at '(('\n");
}

TEST_F(Parser, stackStartsWith200StatesAndDoubles) {
    expdebug = 1;
    std::pair<std::size_t, std::vector<std::string>> const cases[] = {{196, {}}, {197, {"400"}}, {397, {"400", "800"}}};
    for (auto const& [brackets, sizes] : cases) {
        std::string const trace = traceOf(std::string(brackets, '(') + "1" + std::string(brackets, ')'));
        EXPECT_EQ(allBetween(trace, "Stack size increased to ", "\n"), sizes) << brackets;
    }
}

TEST_F(Parser, traceShowsEachStep) {
    expdebug = 1;
    EXPECT_EQ(withoutLines(traceOf("1,")), "Starting parse\n"
                                           "Entering state 0\n"
                                           "Stack now 0\n"
                                           "Reading a token: Next token is token NUM ()\n"
                                           "Shifting token NUM ()\n"
                                           "Entering state 1\n"
                                           "Stack now 0 1\n"
                                           "Reducing stack by rule 17 (line N):\n"
                                           "   $1 = token NUM ()\n"
                                           "-> $$ = nterm exp ()\n"
                                           "Entering state 14\n"
                                           "Stack now 0 14\n"
                                           "Reading a token: Next token is token $undefined ()\n"
                                           "Reducing stack by rule 3 (line N):\n"
                                           "   $1 = nterm exp ()\n"
                                           "-> $$ = nterm boolexp ()\n"
                                           "Entering state 13\n"
                                           "Stack now 0 13\n"
                                           "Next token is token $undefined ()\n"
                                           "[ERROR] expression parser: line 1 syntax error at '1,'\n"
                                           "Error: popping nterm boolexp ()\n"
                                           "Stack now 0\n"
                                           "Cleanup: discarding lookahead token $undefined ()\n"
                                           "Stack now 0\n"
                                           "[ERROR] parser error in ExpParser\n"
                                           "1,\n\n");
}

TEST_F(Parser, traceCallsSymbolsByTheirNames) {
    expdebug = 1;
    std::string trace;
    for (char const* const text : {"a < 1 && b > 1 || (a != 1) == b", "a <= 1 || b >= 1 || a - b + 1 * 2 / 3 != 4",
                                   "!released && pressed && pressed_long && high && low", ","})
        trace += traceOf(text);
    std::set<std::string> names;
    for (std::size_t end = trace.find(" ()"); end != std::string::npos; end = trace.find(" ()", end + 1)) {
        std::size_t const begin = trace.rfind(' ', end - 1) + 1;
        names.insert(trace.substr(begin, end - begin));
    }
    EXPECT_EQ(names, (std::set<std::string>{"$end",         "$undefined", "NUM",     "STRING", "RELEASED", "PRESSED",
                                            "PRESSED_LONG", "HIGH",       "LOW",     "LAND",   "LOR",      "'<'",
                                            "'>'",          "NE",         "EQ",      "GE",     "LE",       "'-'",
                                            "'+'",          "'*'",        "'/'",     "'!'",    "'\\n'",    "'('",
                                            "')'",          "line",       "boolexp", "exp",    "CONST"}));
    EXPECT_NE(trace.find("Reading a token: Now at end of input.\n"), std::string::npos);
}

TEST_F(Parser, isSilentWithoutTrace) {
    ErrorOutput output;
    ExpressionProbe const expression("1 + 2");
    EXPECT_EQ(output.take(), "");
}

} // namespace
