// The tokens of the expression language, rule by rule, and the scanner's own reports.
#include "qzsignal/expression/TokenSource.h"

#include "tests/unit/expression/ExpressionProbe.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string_view>
#include <type_traits>

namespace {

static_assert(std::is_base_of<FlexLexer, expFlexLexer>::value, "");
static_assert(NUM == 258 && STRING == 259 && RELEASED == 260 && PRESSED == 261 && PRESSED_LONG == 262, "");
static_assert(HIGH == 263 && LOW == 264 && D2BOOL == 265 && LAND == 266 && LOR == 267, "");
static_assert(NE == 268 && EQ == 269 && GE == 270 && LE == 271 && NEG == 272, "");
static_assert(sizeof(YYSTYPE) == 1024 && std::is_trivially_copyable<YYSTYPE>::value, "");

std::string nameOf(int token) {
    switch (token) {
    case NUM:
        return "NUM";
    case STRING:
        return "STRING";
    case RELEASED:
        return "RELEASED";
    case PRESSED:
        return "PRESSED";
    case PRESSED_LONG:
        return "PRESSED_LONG";
    case HIGH:
        return "HIGH";
    case LOW:
        return "LOW";
    case LAND:
        return "LAND";
    case LOR:
        return "LOR";
    case NE:
        return "NE";
    case EQ:
        return "EQ";
    case GE:
        return "GE";
    case LE:
        return "LE";
    case '\n':
        return "newline";
    default:
        return token > 0 && token < 256 ? std::string(1, static_cast<char>(token)) : std::to_string(token);
    }
}

// Tokens by name, numbers and names with their text, separated by spaces.
std::string tokensOf(std::string_view text) {
    expFlexLexer scanner;
    EXPECT_TRUE(qzsignal::scanText(scanner, text));
    std::string tokens;
    while (int const token = scanner.yylex()) {
        tokens += (tokens.empty() ? "" : " ") + nameOf(token);
        if (token == NUM || token == STRING)
            tokens += ":" + std::string(scanner.YYText());
    }
    return tokens;
}

struct Case {
    std::string_view text;
    char const* tokens;
};

void expectTokens(std::initializer_list<Case> cases) {
    for (Case const& each : cases)
        EXPECT_EQ(tokensOf(each.text), each.tokens) << each.text;
}

TEST(Scanner, skipsBlankLines) {
    expectTokens({
        {"\n", ""},
        {"\n \t\r\n1\n", "NUM:1 newline"},
        {"1\n \n\t\n2\n", "NUM:1 newline NUM:2 newline"},
        {" \r\n", ""},
    });
}

TEST(Scanner, skipsCommentLines) {
    expectTokens({
        {"# speed limit\n1\n", "NUM:1 newline"},
        {" \t\r#\n1\n", "NUM:1 newline"},
        {"1\n# a\n  # b 2\n3\n", "NUM:1 newline NUM:3 newline"},
        {"#\x80\xff a\n1\n", "NUM:1 newline"},
    });
}

TEST(Scanner, skipsSpacesTabsAndCarriageReturnsBetweenTokens) {
    expectTokens({{" \t\r1\t \r2 ", "NUM:1 NUM:2"}});
}

TEST(Scanner, returnsNewlineAtTheEndOfALineWithTokens) {
    expectTokens({{"1\n", "NUM:1 newline"}, {"1 \t\r\n", "NUM:1 newline"}, {" ^\n", "newline"}});
}

TEST(Scanner, returnsCommasForTheParserToRefuse) {
    expectTokens({{"1,2", "NUM:1 , NUM:2"}});
}

TEST(Scanner, knowsOperators) {
    expectTokens({
        {"<= >= == != || &&", "LE GE EQ NE LOR LAND"},
        {"<>!+-*/()", "< > ! + - * / ( )"},
        {"<=>=", "LE GE"},
        {"<==", "LE"},
        {"===", "EQ"},
        {"!==", "NE"},
        {"!!=", "! NE"},
        {"|||| &&&&", "LOR LOR LAND LAND"},
        {"< =", "<"},
    });
}

TEST(Scanner, knowsNumbers) {
    expectTokens({
        {"0 7 42 007", "NUM:0 NUM:7 NUM:42 NUM:007"},
        {"1.5 .5 1.", "NUM:1.5 NUM:.5 NUM:1."},
        {"1.5E-3 1e5 1E+5 .5e1 1.e1 1.5e10", "NUM:1.5E-3 NUM:1e5 NUM:1E+5 NUM:.5e1 NUM:1.e1 NUM:1.5e10"},
        {"1.2.3", "NUM:1.2 NUM:.3"},
        {"1..2", "NUM:1. NUM:.2"},
    });
}

TEST(Scanner, endsANumberBeforeWhatIsNoExponent) {
    expectTokens({
        {"1e", "NUM:1 STRING:e"},
        {"1e+", "NUM:1 STRING:e +"},
        {"1.5E-x", "NUM:1.5 STRING:E - STRING:x"},
        {"1e5e6", "NUM:1e5 STRING:e6"},
        {".e5", "STRING:e5"},
        {"2x", "NUM:2 STRING:x"},
    });
}

TEST(Scanner, knowsNoHexadecimal) {
    expectTokens({{"0x1F", "NUM:0 STRING:x1F"}});
}

TEST(Scanner, returnsMinusApartFromTheNumber) {
    expectTokens({{"-1", "- NUM:1"}, {"1-2", "NUM:1 - NUM:2"}, {"1 -2", "NUM:1 - NUM:2"}});
}

TEST(Scanner, knowsKeywordsInLowerCaseAndAlone) {
    expectTokens({
        {"released pressed pressed_long high low", "RELEASED PRESSED PRESSED_LONG HIGH LOW"},
        {"Released PRESSED Pressed_long HIGH lOw", "STRING:Released STRING:PRESSED STRING:Pressed_long STRING:HIGH "
                                                   "STRING:lOw"},
        {"released_x lowx highs pressed_lon pressed_longer", "STRING:released_x STRING:lowx STRING:highs "
                                                             "STRING:pressed_lon STRING:pressed_longer"},
        {"low+high", "LOW + HIGH"},
        {"low&&high", "STRING:low&&high"},
    });
}

TEST(Scanner, takesIntoANameAllButTheCharactersThatEndIt) {
    expectTokens({
        {"a Z _ a1 _1", "STRING:a STRING:Z STRING:_ STRING:a1 STRING:_1"},
        {"CAN.Speed DI.1", "STRING:CAN.Speed STRING:DI.1"},
        {"a&&b a||b a^b a#b a;b", "STRING:a&&b STRING:a||b STRING:a^b STRING:a#b STRING:a;b"},
        {"a\"'[]{}$%?@\\`~\v\f\x01\x7f b", "STRING:a\"'[]{}$%?@\\`~\v\f\x01\x7f STRING:b"},
        {"a\x80\xc3\xa4\xff", "STRING:a\x80\xc3\xa4\xff"},
    });
}

TEST(Scanner, endsANameAtEachOfTheCharactersThatDoSo) {
    expectTokens({
        {"a b\tc\rd\ne", "STRING:a STRING:b STRING:c STRING:d newline STRING:e"},
        {"a!b(c)d*e+f", "STRING:a ! STRING:b ( STRING:c ) STRING:d * STRING:e + STRING:f"},
        {"a,b-c/d:e", "STRING:a , STRING:b - STRING:c / STRING:d STRING:e"},
        {"a<b=c>d", "STRING:a < STRING:b STRING:c > STRING:d"},
        {"x==1", "STRING:x EQ NUM:1"},
        {{"a\0b", 3}, "STRING:a STRING:b"},
    });
}

TEST(Scanner, dropsCharactersWithoutAMeaning) {
    expectTokens({
        {"a ^ b", "STRING:a STRING:b"},
        {"a = b", "STRING:a STRING:b"},
        {"a & b | c", "STRING:a STRING:b STRING:c"},
        {"1 # limit", "NUM:1 STRING:limit"},
        {":\"';.[]{}$%?@\\`~", ""},
        {"\x80\xff\x01\x7f\v\f", ""},
        {{"\0001", 2}, "NUM:1"},
    });
}

TEST(Scanner, returnsZeroAtTheEndAgainAndAgain) {
    expFlexLexer scanner;
    ASSERT_TRUE(qzsignal::scanText(scanner, "1"));
    EXPECT_EQ(scanner.yylex(), NUM);
    EXPECT_EQ(scanner.yylex(), 0);
    EXPECT_EQ(scanner.yylex(), 0);
    EXPECT_STREQ(scanner.YYText(), "");
    EXPECT_EQ(scanner.yywrap(), 1);
}

TEST(Scanner, copiesNothingToItsOutput) {
    Capture const output(std::cout);
    std::string every;
    for (int byte = 1; byte < 256; ++byte)
        every += static_cast<char>(byte);
    tokensOf(every);
    EXPECT_EQ(output.text(), "");
}

TEST(Scanner, countsLines) {
    expFlexLexer scanner;
    ASSERT_TRUE(qzsignal::scanText(scanner, "\n# comment\n1\n\n2"));
    EXPECT_EQ(scanner.lineno(), 1);
    EXPECT_EQ(scanner.yylex(), NUM);
    EXPECT_EQ(scanner.lineno(), 3);
    EXPECT_EQ(scanner.yylex(), '\n');
    EXPECT_EQ(scanner.lineno(), 4);
    EXPECT_EQ(scanner.yylex(), NUM);
    EXPECT_EQ(scanner.lineno(), 5);
}

// Also where a scanner that reads a stream would fetch the next part of it.
TEST(Scanner, leavesTokensOfATextOfAnyLengthWhereTheyAre) {
    std::string const longName = "n" + std::string(100000, 'x');
    for (std::size_t const spaces : {1, 8190, 8191, 8192, 16383, 16384, 50000}) {
        expFlexLexer scanner;
        ASSERT_TRUE(qzsignal::scanText(scanner, "first" + std::string(spaces, ' ') + longName + " last"));
        ASSERT_EQ(scanner.yylex(), STRING);
        char const* const first = scanner.YYText();
        ASSERT_EQ(scanner.yylex(), STRING);
        EXPECT_EQ(scanner.YYText() - first, static_cast<std::ptrdiff_t>(5 + spaces));
        EXPECT_EQ(scanner.YYText(), longName);
        EXPECT_EQ(first, "first" + std::string(spaces, ' ') + longName);
        ASSERT_EQ(scanner.yylex(), STRING);
        EXPECT_STREQ(first + 5 + spaces + longName.size(), " last");
    }
}

TEST(Scanner, leavesATextForTheNext) {
    expFlexLexer scanner;
    ASSERT_TRUE(qzsignal::scanText(scanner, "1 2"));
    ASSERT_EQ(scanner.yylex(), NUM);
    ASSERT_TRUE(qzsignal::scanText(scanner, "a"));
    EXPECT_EQ(scanner.yylex(), STRING);
    EXPECT_STREQ(scanner.YYText(), "a");
    EXPECT_EQ(scanner.yylex(), 0);
    ASSERT_TRUE(qzsignal::scanText(scanner, "3"));
    EXPECT_EQ(scanner.yylex(), NUM) << "also after the end";
}

TEST(Scanner, refusesTextsThatItCannotCount) {
    expFlexLexer scanner;
    Capture const errors(std::cerr);
    // Refused before a character of it is read.
    std::string_view const text("", static_cast<std::size_t>(std::numeric_limits<int>::max()) - 1);
    EXPECT_EQ(qzsignal::scanText(scanner, text), nullptr);
    EXPECT_FALSE(qzsignal::beginTokens(scanner, text));
    experror("memory exhausted");
    EXPECT_EQ(errors.text(), "[ERROR] expression parser: line 1 memory exhausted at ''\n");
}

TEST(Scanner, tracesToStandardErrorWhenItsDebugFlagIsOn) {
    ErrorOutput output;
    expFlexLexer scanner;
    ASSERT_TRUE(qzsignal::scanText(scanner, "1e"));
    EXPECT_EQ(scanner.debug(), 0);
    scanner.set_debug(1);
    while (scanner.yylex() != 0)
        continue;
    std::string const trace = output.take();
    EXPECT_NE(trace.find("--accepting rule at line "), std::string::npos) << trace;
    EXPECT_NE(trace.find("(\"1\")\n"), std::string::npos) << trace;
    EXPECT_NE(trace.find("--scanner backing up\n"), std::string::npos) << trace;
    EXPECT_NE(trace.find("--(end of buffer or a NUL)\n"), std::string::npos) << trace;
    EXPECT_NE(trace.find("--EOF (start condition 0)\n"), std::string::npos) << trace;
}

class ScannerProbe : public expFlexLexer {
public:
    using expFlexLexer::LexerError;
    using expFlexLexer::yy_pop_state;
    using expFlexLexer::yy_push_state;
    using expFlexLexer::yy_top_state;
    using expFlexLexer::yyinput;
    using expFlexLexer::yyunput;
};

TEST(ScannerDeathTest, fatalErrorsEndTheProcessWithStatus2) {
    ScannerProbe scanner;
    EXPECT_EXIT(scanner.LexerError("input in flex scanner failed"), testing::ExitedWithCode(2),
                "^input in flex scanner failed\n$");
    EXPECT_EXIT(scanner.yy_pop_state(), testing::ExitedWithCode(2), "^start-condition stack underflow\n$");
    EXPECT_EXIT(
        {
            qzsignal::scanText(scanner, "1");
            for (;;)
                scanner.yyunput('x', const_cast<char*>(scanner.YYText()));
        },
        testing::ExitedWithCode(2), "^flex scanner push-back overflow\n$");
}

TEST(Scanner, keepsStartConditionsAndTakesCharactersLikeAnyOtherOfItsKind) {
    ScannerProbe scanner;
    ASSERT_TRUE(qzsignal::scanText(scanner, "1 2"));
    ASSERT_EQ(scanner.yylex(), NUM);
    EXPECT_EQ(scanner.yyinput(), ' ');
    scanner.yy_push_state(0);
    EXPECT_EQ(scanner.yy_top_state(), 0);
    scanner.yy_pop_state();
    EXPECT_EQ(scanner.yylex(), NUM);
}

} // namespace

// The memory of all scanners.
void* expalloc(std::size_t size);
void* exprealloc(void* memory, std::size_t size);
void expfree(void* memory);

namespace {

TEST(Scanner, takesItsMemoryFromTheStandardFunctions) {
    auto* memory = static_cast<char*>(expalloc(1));
    ASSERT_NE(memory, nullptr);
    memory[0] = 'x';
    memory = static_cast<char*>(exprealloc(memory, 100000));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(memory[0], 'x');
    std::free(memory); // what it gave out is the standard allocator's own
    expfree(std::malloc(1));
}

} // namespace
