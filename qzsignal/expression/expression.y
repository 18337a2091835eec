// The grammar of the expression language. Each rule appends its instruction to the program after those of its operands,
// which makes the program postfix.
%define api.prefix {exp}
%define api.pure full
%define parse.trace
%param {void* parser}

// After an exp at the end of the line, and likewise before a ')', the parser may take it as it is or make it a condition
// first. It takes it as it is: a plain formula keeps its value, and a formula in brackets can be an operand.
%expect 2

%code top {
// The trace has its own words; see traceWord.
#define YYFPRINTF qzsignal::trace
}

// What comes with a token. A name is shorter than its array: the token source refuses others.
%union {
    double number;
    char name[1024];
}

%code provides {
// The type's name without the prefix.
typedef EXPSTYPE YYSTYPE;
static_assert(sizeof(YYSTYPE) == 1024, "names are limited by the array alone");
}

%code {
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/expression/TokenSource.h"

#include <cstdio>
#include <cstring>

namespace qzsignal {
namespace {

// The trace keeps the words that the generator used for its first decades.
char const* traceWord(char const* word) {
    static char const* const words[][2] = {
        {"Reading a token\n", "Reading a token: "}, // what was read follows on the same line
        {"\"end of file\"", "$end"},
        {"\"invalid token\"", "$undefined"},
    };
    for (auto const& [now, then] : words)
        if (std::strcmp(word, now) == 0)
            return then;
    return word;
}

template <typename Number>
Number traceWord(Number number) {
    return number;
}

void trace(std::FILE* out, char const* text) {
    std::fputs(traceWord(text), out);
}

template <typename... Arguments>
void trace(std::FILE* out, char const* format, Arguments... arguments) {
    std::fprintf(out, format, traceWord(arguments)...);
}

} // namespace
} // namespace qzsignal

namespace {

// What the generated parser calls.
void experror(void* parser, char const* message) {
    qzsignal::ParserAccess::reject(*static_cast<ExpParser*>(parser), message);
}

template <typename Instruction>
void add(void* parser, Instruction const& instruction) {
    static_cast<ExpParser*>(parser)->add(instruction);
}

} // namespace
}

%token <number> NUM             // 1  .5  1.5E-3
%token <name>   STRING          // CAN.Speed
%token          RELEASED        // released: states of a key
%token          PRESSED         // pressed
%token          PRESSED_LONG    // pressed_long
%token          HIGH            // high: levels of a digital input
%token          LOW             // low

// From the lowest.
%precedence     D2BOOL                  // an exp becomes a condition only where nothing can continue it
%left           LAND LOR                // && ||: one level, so that a && b || k is (a && b) || k
%left           '<' '>' NE EQ GE LE     // != == >= <=: a == b == k is (a == b) == k
%left           '-' '+'                 // a - b - k is (a - b) - k
%left           '*' '/'
%precedence     '!' NEG                 // prefix operators: !a && b is (!a) && b, -a * b is (-a) * b
%precedence     '^'                     // kept for a power; no rule has it

%%

line:
    boolexp '\n'
|   exp '\n'
;

boolexp:
    exp %prec D2BOOL            { add(parser, &ExpParser::opnz); }
|   exp NE exp                  { add(parser, &ExpParser::opdne); }
|   exp LE exp                  { add(parser, &ExpParser::ople); }
|   exp '<' exp                 { add(parser, &ExpParser::oplt); }
|   exp GE exp                  { add(parser, &ExpParser::opge); }
|   exp '>' exp                 { add(parser, &ExpParser::opgt); }
|   exp EQ exp                  { add(parser, &ExpParser::opdeq); }
|   '!' boolexp                 { add(parser, &ExpParser::opnot); }
|   boolexp LOR boolexp         { add(parser, &ExpParser::oplor); }
|   boolexp LAND boolexp        { add(parser, &ExpParser::opland); }
|   boolexp EQ boolexp          { add(parser, &ExpParser::opbeq); }
|   boolexp NE boolexp          { add(parser, &ExpParser::opbne); }
|   '(' boolexp ')'
;

exp:
    CONST
|   NUM                         { add(parser, $NUM); }
|   STRING                      { add(parser, std::string($STRING)); }
|   exp '+' exp                 { add(parser, &ExpParser::opplus); }
|   exp '-' exp                 { add(parser, &ExpParser::opminus); }
|   exp '*' exp                 { add(parser, &ExpParser::opmult); }
|   exp '/' exp                 { add(parser, &ExpParser::opdiv); }
|   '-' exp %prec NEG           { add(parser, &ExpParser::opneg); }
|   '+' exp
|   '(' exp ')'
;

CONST:
    RELEASED                    { add(parser, 0.0); }
|   PRESSED                     { add(parser, 1.0); }
|   PRESSED_LONG                { add(parser, 2.0); }
|   HIGH                        { add(parser, 1.0); }
|   LOW                         { add(parser, 0.0); }
;
