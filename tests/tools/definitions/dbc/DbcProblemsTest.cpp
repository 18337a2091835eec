// What is reported of definition files that are wrong, and that everything else of them is read.
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tools/definitions/dbc/DbcReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace qztool {

namespace {

// Lines 1 to 4 come before, line 6 and on (if the statement is one line) after the statement in question.
std::string surrounded(std::string const& statement) {
    return "BO_ 100 Engine: 8 X\n"
           " SG_ Speed : 0|16@1+ (1,0) [0|0] \"\" X\n"
           " SG_ Load : 16|32@1+ (1,0) [0|0] \"\" X\n"
           "\n" +
           statement +
           "\n"
           "BO_ 200 Brake: 8 X\n"
           " SG_ Pedal : 0|8@1+ (1,0) [0|0] \"%\" X\n"
           "VAL_ 200 Pedal 0 \"free\" ;\n";
}

struct Case {
    char const* statement;
    char const* problems;
};

void expectLeftOutAlone(Case const& c) {
    Database const database = readDatabase(surrounded(c.statement));
    EXPECT_EQ(c.problems, problemsOf(database)) << c.statement;
    EXPECT_EQ("Engine: Speed Load ; Brake: Pedal ; ", namesOf(database)) << c.statement;
    if (!database.messages.empty() && !database.messages.back().signals.empty())
        EXPECT_EQ("0=free ", valuesOf(database.messages.back().signals.back())) << c.statement;
}

} // namespace

TEST(DbcProblems, badSignalIsLeftOutAlone) {
    Case const cases[] = {
        {" SG_ A : 0|0@1+ (1,0) [0|0] \"\" X", "5 error: SG_ 'A': it has 0 bits, but a signal has 1 to 64; left out\n"},
        {" SG_ A : 0|65@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': it has 65 bits, but a signal has 1 to 64; left out\n"},
        {" SG_ A : 14280|8@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': it starts at bit 14280, but no message has more than 1785 bytes; left out\n"},
        {" SG_ A : 18446744073709551615|64@0+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': it starts at bit 18446744073709551615, but no message has more than 1785 bytes; left "
         "out\n"},
        {" SG_ A : 14273|8@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': it reaches into byte 1785, but no message has more than 1785 bytes; left out\n"},
        {" SG_ A : 14278|16@0+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': it reaches into byte 1786, but no message has more than 1785 bytes; left out\n"},
        {" SG_ A : 14222|64@0+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': it reaches into byte 1785, but no message has more than 1785 bytes; left out\n"},
        {" SG_ A : -1|8@1+ (1,0) [0|0] \"\" X", "5 error: SG_ 'A': the start bit is negative (-1); left out\n"},
        {" SG_ A : x|8@1+ (1,0) [0|0] \"\" X", "5 error: SG_ 'A': the start bit 'x' is not a whole number; left out\n"},
        {" SG_ A : 0|8.5@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': the bit count '8.5' is not a whole number; left out\n"},
        {" SG_ A : 99999999999999999999|8@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': the start bit '99999999999999999999' is too large; left out\n"},
        {" SG_ A : 0|8@2+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': the byte order (0 or 1) is missing before '2+'; left out\n"},
        {" SG_ A : 0|8@1 (1,0) [0|0] \"\" X", "5 error: SG_ 'A': the sign (+ or -) is missing before '('; left out\n"},
        {" SG_ A : 0|8@1+ (1.2.3,0) [0|0] \"\" X", "5 error: SG_ 'A': the factor '1.2.3' is not a number; left out\n"},
        {" SG_ A : 0|8@1+ (+-1,0) [0|0] \"\" X", "5 error: SG_ 'A': the factor '+-1' is not a number; left out\n"},
        {" SG_ A : 0|8@1+ (1,5,0) [0|0] \"\" X", "5 error: SG_ 'A': ')' is missing before ','; left out\n"},
        {" SG_ A : 0|8@1+ (nan,0) [0|0] \"\" X",
         "5 error: SG_ 'A': the factor 'nan' is not a finite number; left out\n"},
        {" SG_ A : 0|8@1+ (1,-inf) [0|0] \"\" X",
         "5 error: SG_ 'A': the offset '-inf' is not a finite number; left out\n"},
        {" SG_ A : 0|8@1+ (1e999,0) [0|0] \"\" X",
         "5 error: SG_ 'A': the factor '1e999' is beyond the range of a double; left out\n"},
        {" SG_ A : 0|8@1+ (1,-1E+999) [0|0] \"\" X",
         "5 error: SG_ 'A': the offset '-1E+999' is beyond the range of a double; left out\n"},
        {" SG_ A : 0|8@1+ (1) [0|0] \"\" X", "5 error: SG_ 'A': ',' is missing before ')'; left out\n"},
        {" SG_ A : 0|8@1+ (,0) [0|0] \"\" X", "5 error: SG_ 'A': the factor is missing before ','; left out\n"},
        {" SG_ A : 0|8@1+ (1,0) [0|] \"\" X", "5 error: SG_ 'A': the maximum is missing before ']'; left out\n"},
        {" SG_ A : 0|8@1+ (1,0) \"\" X", "5 error: SG_ 'A': '[' is missing before the text ''; left out\n"},
        {" SG_ A : 0|8@1+ (1,0) [0|0] X", "5 error: SG_ 'A': the unit is missing before 'X'; left out\n"},
        {" SG_ A : 0|8@1+ (1,0) [0|0]", "5 error: SG_ 'A': the unit is missing; left out\n"},
        {" SG_ A 0|8@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': the multiplexing mark '0' is none of M, m1 and m1M (with any number); left out\n"},
        {" SG_ A x1 : 0|8@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': the multiplexing mark 'x1' is none of M, m1 and m1M (with any number); left out\n"},
        {" SG_ A mM : 0|8@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'A': the multiplexing mark 'mM' is none of M, m1 and m1M (with any number); left out\n"},
        {" SG_ : 0|8@1+ (1,0) [0|0] \"\" X", "5 error: SG_: the signal name is missing before ':'; left out\n"},
        {" SG_", "5 error: SG_: the signal name is missing; left out\n"},
        {" SG_ A", "5 error: SG_ 'A': ':' is missing; left out\n"},
        {" SG_ Speed : 0|8@1+ (1,0) [0|0] \"\" X",
         "5 error: SG_ 'Speed': duplicate signal name, first defined on line 2; left out\n"},
        {" SG_ A : 0|8@1+ (1,0) [0|0] \"km X", "5 error: SG_ 'A': a text that opens here is not closed; left out\n"},
        {" SG_ A : 0\" X", "5 error: SG_ 'A': '|' is missing before '\"'; left out\n"},
        {" SG_ A : 0|8@1+ (1,0) [0|0] \"km\n\" X", "5 error: SG_ 'A': the unit is not closed; left out\n"},
    };
    for (Case const& c : cases)
        expectLeftOutAlone(c);
}

TEST(DbcProblems, badMessageIsLeftOutWithItsSignals) {
    Case const cases[] = {
        {"BO_ 536870912 A: 8 X",
         "5 error: BO_ 536870912 'A': the identifier has more than 29 bits; left out with its signals\n"},
        {"BO_ 4294967295 A: 8 X",
         "5 error: BO_ 4294967295 'A': the identifier has more than 29 bits; left out with its signals\n"},
        {"BO_ 4294967296 A: 8 X",
         "5 error: BO_: the identifier '4294967296' is too large; left out with its signals\n"},
        {"BO_ -1 A: 8 X", "5 error: BO_: the identifier is negative (-1); left out with its signals\n"},
        {"BO_ 0x10 A: 8 X", "5 error: BO_: the identifier '0x10' is not a whole number; left out with its signals\n"},
        {"BO_ 300 : 8 X", "5 error: BO_ 300: the message name is missing before ':'; left out with its signals\n"},
        {"BO_ 300 A 8 X", "5 error: BO_ 300 'A': ':' is missing before '8'; left out with its signals\n"},
        {"BO_ 300 A: X", "5 error: BO_ 300 'A': the length 'X' is not a whole number; left out with its signals\n"},
        {"BO_ 300 A:", "5 error: BO_ 300 'A': the length is missing; left out with its signals\n"},
        {"BO_ 300 A: -8 X", "5 error: BO_ 300 'A': the length is negative (-8); left out with its signals\n"},
        {"BO_", "5 error: BO_: the identifier is missing; left out with its signals\n"},
        {"BO_ 300 Engine: 8 X", "5 error: BO_ 300 'Engine': duplicate message name, first defined on line 1; left out "
                                "with its signals\n"},
    };
    for (Case const& c : cases) {
        std::string const withSignals = std::string(c.statement) + "\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ bad";
        expectLeftOutAlone({withSignals.c_str(), c.problems});
    }
}

TEST(DbcProblems, badReferenceIsLeftOutAlone) {
    Case const cases[] = {
        {"VAL_ 300 Speed 0 \"a\" ;", "5 error: VAL_ 300 'Speed': there is no message with this identifier; left out\n"},
        {"VAL_ 100 Sped 0 \"a\" ;",
         "5 error: VAL_ 100 'Sped': message 'Engine' has no signal of this name; left out\n"},
        {"VAL_ 100 Speed Table ;", "5 error: VAL_ 100 'Speed': there is no VAL_TABLE_ 'Table'; left out\n"},
        {"VAL_ x100 Speed 0 \"a\" ;", "5 error: VAL_: the identifier 'x100' is not a whole number; left out\n"},
        {"VAL_ 1e2 Speed 0 \"a\" ;", "5 error: VAL_: the identifier '1e2' is not a whole number; left out\n"},
        {"VAL_ 100 ;", "5 error: VAL_: the signal name is missing before ';'; left out\n"},
        {"VAL_ 100 Speed 0 ;", "5 error: VAL_ 100 'Speed': there is no VAL_TABLE_ '0'; left out\n"},
        {"VAL_ 100 Speed 0 \"a\" 1 ;", "5 error: VAL_ 'Speed': the text of a value is missing before ';'; left out\n"},
        {"VAL_ 100 Speed 0 \"a\" \"b\" ;",
         "5 error: VAL_ 'Speed': a value or ';' is missing before the text 'b'; left out\n"},
        {"VAL_ 100 Speed 0.5 \"a\" ;",
         "5 error: VAL_ 'Speed': the value '0.5' is not a whole number of up to 64 bits; left out\n"},
        {"VAL_ 100 Speed 0 \"a\"", "5 error: VAL_ 'Speed': a value or ';' is missing; left out\n"},
        {"VAL_ 100 Load 0 \"a\" ;\nVAL_ 100 Load 0 \"b\" ;",
         "6 error: VAL_ 100 'Load': line 5 gives this signal its values already; left out\n"},
        {"VAL_TABLE_ T 0 \"a\";\nVAL_TABLE_ T 0 \"b\";",
         "6 error: VAL_TABLE_ 'T': duplicate table name, first defined on line 5; left out\n"},
        {"VAL_TABLE_ T 0 a;", "5 error: VAL_TABLE_ 'T': the text of a value is missing before 'a'; left out\n"},
        {"SIG_VALTYPE_ 300 Speed : 1;",
         "5 error: SIG_VALTYPE_ 300 'Speed': there is no message with this identifier; left out\n"},
        {"SIG_VALTYPE_ 100 Sped : 1;",
         "5 error: SIG_VALTYPE_ 100 'Sped': message 'Engine' has no signal of this name; left out\n"},
        {"SIG_VALTYPE_ 100 Speed : 1;",
         "5 error: SIG_VALTYPE_ 100 'Speed': a float has 32 bits, but the signal has 16; "
         "left out, the signal stays an integer\n"},
        {"SIG_VALTYPE_ 100 Load : 2;", "5 error: SIG_VALTYPE_ 100 'Load': a double has 64 bits, but the signal has 32; "
                                       "left out, the signal stays an integer\n"},
        {"SIG_VALTYPE_ 100 Load : 3;",
         "5 error: SIG_VALTYPE_ 'Load': type 3 is none of 0 (integer), 1 (float) and 2 (double); left out\n"},
        {"SIG_VALTYPE_ 100 Load : ;", "5 error: SIG_VALTYPE_ 'Load': the type is missing before ';'; left out\n"},
        {"SIG_VALTYPE_ 100 Load : 1", "5 error: SIG_VALTYPE_ 'Load': ';' is missing; left out\n"},
        {"SG_MUL_VAL_ 300 Speed Load 0-1;",
         "5 error: SG_MUL_VAL_ 300 'Speed': there is no message with this identifier; left out\n"},
        {"SG_MUL_VAL_ 100 Sped Load 0-1;",
         "5 error: SG_MUL_VAL_ 100 'Sped': message 'Engine' has no signal of this name; left out\n"},
        {"SG_MUL_VAL_ 100 Speed Load;",
         "5 error: SG_MUL_VAL_ 'Speed': a range such as 0-3 is missing before ';'; left out\n"},
        {"SG_MUL_VAL_ 100 Speed Load 3;",
         "5 error: SG_MUL_VAL_ 'Speed': a range such as 0-3 is missing before ';'; left out\n"},
        {"SG_MUL_VAL_ 100 Speed Load 3-1;", "5 error: SG_MUL_VAL_ 'Speed': the range 3-1 runs backwards; left out\n"},
        {"SG_MUL_VAL_ 100 Speed Load 0-18446744073709551616;",
         "5 error: SG_MUL_VAL_ 'Speed': a value of the range 0-18446744073709551616 is too large; left out\n"},
        {"SG_MUL_VAL_ 100 Speed Load 0-1", "5 error: SG_MUL_VAL_ 'Speed': ';' is missing; left out\n"},
        {"BA_ \"SystemSignalLongSymbol\" SG_ 100 Speed 5;",
         "5 error: BA_ 'Speed': the long name is missing before '5'; left out\n"},
        {"BA_ \"SystemSignalLongSymbol\" SG_ 100 Speed \"Sp\x1B[7med\";",
         "5 error: BA_ 'Speed': the long name 'Sp?[7med' holds control characters; left out\n"},
        {"BA_ \"SystemMessageLongSymbol\" BO_ 100 \"En\ngine\";",
         "5 error: BA_: the long name 'En?gine' holds control characters; left out\n"},
        {"BA_ \"SystemMessageLongSymbol\" BU_ 100 \"x\";",
         "5 error: BA_: BO_ or SG_ is missing before '100'; left out\n"},
    };
    for (Case const& c : cases)
        expectLeftOutAlone(c);
}

TEST(DbcProblems, damagedStatementDoesNotSwallowItsSuccessors) {
    Case const cases[] = {
        {"CM_ SG_ 100 Speed \"not closed ;", "5 error: CM_: a text that opens here is not closed; left out\n"},
        {"CM_ SG_ 100 Speed \"closed\"", "5 error: CM_: ';' is missing; left out\n"},
        {"CM_ SG_ 100 Speed closed\";", "5 error: CM_: a text that opens here is not closed; left out\n"},
        {"CM_ SG_ 100 Speed\n \"not closed\n ;",
         "5 error: CM_: the text that opens in line 6 is not closed; left out\n"},
        {"VAL_ 100 Speed 0 \"a\" 1 \"b ;", "5 error: VAL_ 'Speed': a text that opens here is not closed; left out\n"},
        {"VAL_ 100 Speed 0 \"a 1 \"b\" ;",
         "5 error: VAL_ 'Speed': the value 'b' is not a whole number of up to 64 bits; left out\n"},
        {"BA_ \"Cycle BO_ 100 5;", "5 error: BA_: a text that opens here is not closed; left out\n"},
        {"BA_DEF_ BO_ \"Cycle\" INT 0 5", "5 error: BA_DEF_: ';' is missing; left out\n"},
        {"VERSION \"1.0", "5 error: VERSION: a text that opens here is not closed; left out\n"},
        {"VERSION 1.0", "5 error: VERSION: there is no text; left out\n"},
        {"CM_ \"a\";\nCM_ \"b\"\n\nCM_ \"c\";", "6 error: CM_: ';' is missing; left out\n"},
    };
    for (Case const& c : cases)
        expectLeftOutAlone(c);
}

TEST(DbcProblems, unknownStatementIsReportedOnce) {
    Case const cases[] = {
        {"FOO_ 1 2 \"x\";\nfoo\nbar 5;", "5 warning: unknown statement 'FOO_'; skipped up to the next known one\n"},
        {"*** x", "5 warning: unknown statement '*'; skipped up to the next known one\n"},
        {"\"text\" ;", "5 warning: unknown statement '\"'; skipped up to the next known one\n"},
        {"12 34", "5 warning: unknown statement '12'; skipped up to the next known one\n"},
    };
    for (Case const& c : cases)
        expectLeftOutAlone(c);
}

TEST(DbcProblems, signalAfterAnUnknownStatementJoinsNoMessage) {
    expectLeftOutAlone({"BOO_ 300 A: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X",
                        "5 warning: unknown statement 'BOO_'; skipped up to the next known one\n"
                        "6 error: SG_ 'S': it stands outside any message; left out\n"});
}

TEST(DbcProblems, signalBeforeAllMessagesIsLeftOut) {
    Database const database = readDatabase(" SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\nBO_ 1 A: 8 X\n");
    EXPECT_EQ("1 error: SG_ 'S': it stands outside any message; left out\n", problemsOf(database));
    EXPECT_EQ("A: ; ", namesOf(database));
}

TEST(DbcProblems, endOfFileInsideAStatementIsReported) {
    Case const cases[] = {
        {"CM_ \"not closed", "1 error: CM_: a text that opens here is not closed; left out\n"},
        {"CM_ \"closed\"", "1 error: CM_: unexpected end of file, expected ';'; left out\n"},
        {"CM_ BO_", "1 error: CM_: unexpected end of file, expected ';'; left out\n"},
        {"BO_ 1 A", "1 error: BO_ 1 'A': unexpected end of file, expected ':'; left out with its signals\n"},
        {"BO_ 1 A: 8\n SG_ S : 0|8@1+ (1,0", "2 error: SG_ 'S': unexpected end of file, expected ')'; left out\n"},
        {"VAL_ 1 S", "1 error: VAL_ 'S': unexpected end of file, expected a value or ';'; left out\n"},
        {"VAL_ Variable 0 \"off\"", "1 error: VAL_: unexpected end of file, expected a value or ';'; left out\n"},
        {"VAL_TABLE_", "1 error: VAL_TABLE_ '': unexpected end of file, expected the name of the table; left out\n"},
        {"SG_MUL_VAL_ 1 S M 0-", "1 error: SG_MUL_VAL_ 'S': unexpected end of file, expected a range such as 0-3; "
                                 "left out\n"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.problems, problemsOf(readDatabase(c.statement))) << c.statement;
}

TEST(DbcProblems, questionableThingsAreReadWithAWarning) {
    struct Warning {
        char const* text;
        char const* problems;
        char const* names;
    };
    Warning const warnings[] = {
        {"BO_ 2048 A: 8 X\n",
         "1 warning: BO_ 2048 'A': the identifier has more than 11 bits, but no extended flag; read as extended\n",
         "A: ; "},
        {"BO_ 1 A: 2 X\n SG_ S : 8|9@1+ (1,0) [0|0] \"\" X\n SG_ T : 8|8@1+ (1,0) [0|0] \"\" X\n",
         "2 warning: SG_ 'S': it reaches beyond the 2 bytes of message 'A'\n", "A: S T ; "},
        {"BO_ 1 A: 1 X\n SG_ S : 0|2@0+ (1,0) [0|0] \"\" X\n SG_ T : 1|2@0+ (1,0) [0|0] \"\" X\n",
         "2 warning: SG_ 'S': it reaches beyond the 1 byte of message 'A'\n", "A: S T ; "},
        {"BO_ 1 A: 8 X\nBO_ 1 B: 8 X\n",
         "2 warning: BO_ 1 'B': message 'A' (line 1) has the same identifier; both are kept\n", "A: ; B: ; "},
        {"BO_ 1 A: 8 X 77\n", "1 warning: BO_ 'A': the end of the line is not understood and ignored\n", "A: ; "},
        {"BO_ 1 A: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X (5)\n",
         "2 warning: SG_ 'S': the end of the line is not understood and ignored\n", "A: S ; "},
        {"BO_ 1 A: 8 X\nBO_ 2 B: 8 X\nBA_ \"SystemMessageLongSymbol\" BO_ 1 \"B\";\n",
         "3 warning: the long name 'B' of message 'A' is the name of another message; the short name stays\n",
         "A: ; B: ; "},
        {"BO_ 1 A: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ T : 0|8@1+ (1,0) [0|0] \"\" X\n"
         "BA_ \"SystemSignalLongSymbol\" SG_ 1 S \"T\";\n",
         "4 warning: the long name 'T' of signal 'S' is the name of another signal of its message; the short name "
         "stays\n",
         "A: S T ; "},
    };
    for (Warning const& w : warnings) {
        Database const database = readDatabase(w.text);
        EXPECT_EQ(w.problems, problemsOf(database)) << w.text;
        EXPECT_EQ(w.names, namesOf(database)) << w.text;
    }
    EXPECT_TRUE(readDatabase("BO_ 2048 A: 8 X\n").messages.at(0).extended);
}

TEST(DbcProblems, referencesToWhatWasLeftOutAddNoNoise) {
    Database const database = readDatabase("BO_ 1 A: 8 X\n SG_ S : 0|99@1+ (1,0) [0|0] \"\" X\n SG_ T x\n"
                                           "BO_ 2 A: 8 X\n SG_ U : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           "BO_ 3 B\n"
                                           "VAL_ 1 S 0 \"a\";\nSIG_VALTYPE_ 1 T : 1;\nVAL_ 2 U 0 \"a\";\n"
                                           "SG_MUL_VAL_ 3 Any Thing 0-1;\n");
    EXPECT_EQ("2 error: SG_ 'S': it has 99 bits, but a signal has 1 to 64; left out\n"
              "3 error: SG_ 'T': the multiplexing mark 'x' is none of M, m1 and m1M (with any number); left out\n"
              "4 error: BO_ 2 'A': duplicate message name, first defined on line 1; left out with its signals\n"
              "6 error: BO_ 3 'B': ':' is missing; left out with its signals\n",
              problemsOf(database));
}

TEST(DbcProblems, secondSignalOfANameStandsInForOneThatWasLeftOut) {
    Database const database = readDatabase("BO_ 1 A: 8 X\n SG_ S : 0|99@1+ (1,0) [0|0] \"\" X\n"
                                           " SG_ S : 0|9@1+ (1,0) [0|0] \"\" X\nVAL_ 1 S 1 \"one\";\n");
    EXPECT_EQ("2 error: SG_ 'S': it has 99 bits, but a signal has 1 to 64; left out\n", problemsOf(database));
    ASSERT_EQ("A: S ; ", namesOf(database));
    EXPECT_EQ("1=one ", valuesOf(database.messages[0].signals[0]));
}

TEST(DbcProblems, problemsComeSortedByLine) {
    Database const database =
        readDatabase("VAL_ 9 S 0 \"a\";\nSIG_VALTYPE_ 9 S : 1;\nFOO_\nBO_ 1 A\nVAL_ 9 S 0 \"a\";\n");
    EXPECT_EQ(5U, database.problems.size());
    EXPECT_TRUE(std::is_sorted(database.problems.begin(), database.problems.end(),
                               [](Problem const& a, Problem const& b) { return a.line < b.line; }));
}

TEST(DbcProblems, contentInProblemTextsIsShortAndPrintable) {
    std::string const longName(1000, 'n');
    Database const database = readDatabase(longName + "\nVAL_ 1 \xC3\xA4 0 \"x\" \"bell\a\nline\";\n" +
                                           "VAL_ \xC3\xA4" + longName + " x ;\n");
    EXPECT_EQ("1 warning: unknown statement '" + std::string(64, 'n') +
                  "...'; skipped up to the next known one\n"
                  "2 error: VAL_ '\xC3\xA4': a value or ';' is missing before the text 'bell?\?line'; left out\n"
                  "4 error: VAL_: the identifier '\xC3\xA4" +
                  std::string(62, 'n') + "...' is not a whole number; left out\n",
              problemsOf(database));
}

} // namespace qztool
