// Which signal selects which others, in simple, cascaded, range and broken multiplexing.
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tools/definitions/dbc/DbcReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qztool {

namespace {

struct Case {
    std::vector<char const*> signals;    // name and mark, from line 2 on
    std::vector<char const*> selections; // after "SG_MUL_VAL_ 1 ", from line 102 on
    char const* expected;
    char const* problems;
};

Database read(Case const& c) {
    std::string text = "BO_ 1 Message: 8 X\n";
    for (char const* const signal : c.signals)
        text += " SG_ " + std::string(signal) + " : 0|8@1+ (1,0) [0|0] \"\" X\n";
    text += std::string(100 - c.signals.size(), '\n');
    for (char const* const selection : c.selections)
        text += "SG_MUL_VAL_ 1 " + std::string(selection) + ";\n";
    return readDatabase(text);
}

void expect(Case const& c) {
    Database const database = read(c);
    ASSERT_EQ(1U, database.messages.size());
    EXPECT_EQ(c.expected, multiplexingOf(database.messages[0]));
    EXPECT_EQ(c.problems, problemsOf(database));
}

} // namespace

TEST(MultiplexResolver, signalsOfTheRootFollowIt) {
    expect({{"A", "B m1", "C m0", "Mux M", "D", "E m255"}, {}, "A Mux* B<Mux(1-1) C<Mux(0-0) D E<Mux(255-255) ", ""});
}

TEST(MultiplexResolver, messagesWithoutMarksKeepTheirOrder) {
    expect({{"C", "A", "B"}, {}, "C A B ", ""});
}

TEST(MultiplexResolver, multiplexorWithoutSelectedSignalsStaysOne) {
    expect({{"A M", "B"}, {}, "A* B ", ""});
}

TEST(MultiplexResolver, selectedMultiplexorBelongsToTheRoot) {
    expect({{"A m1", "B m2M", "Mux M"}, {}, "Mux* A<Mux(1-1) B*<Mux(2-2) ", ""});
}

TEST(MultiplexResolver, cascadeFollowsItsStatements) {
    expect({{"B1 m1", "B0 m0", "MuxB m2M", "A1 m1", "MuxA M"},
            {"B1 MuxB 1-1", "B0 MuxB 0-0", "MuxB MuxA 2-2", "A1 MuxA 1-1"},
            "MuxA* MuxB*<MuxA(2-2) B1<MuxB(1-1) B0<MuxB(0-0) A1<MuxA(1-1) ",
            ""});
}

TEST(MultiplexResolver, rangesComeFromTheStatement) {
    expect({{"Mux M", "A m3"}, {"A Mux 0-3, 7-7 ,10 - 12"}, "Mux* A<Mux(0-3,7-7,10-12) ", ""});
}

TEST(MultiplexResolver, statementTellsWhichOfTwoRoots) {
    expect({{"M1 M", "M2 M", "A m1", "B m1"}, {"A M2 1-1", "B M1 1-1"}, "M1* M2* A<M2(1-1) B<M1(1-1) ", ""});
}

TEST(MultiplexResolver, statementMakesASignalAMultiplexorWithoutAMark) {
    expect({{"A", "B"}, {"A B 5-6"}, "B* A<B(5-6) ", ""});
}

TEST(MultiplexResolver, firstOfTwoRootsIsTakenWithAWarning) {
    expect({{"M1 M", "M2 M", "A m1"},
            {},
            "M1* M2* A<M1(1-1) ",
            "3 warning: SG_ 'M2': message 'Message' has another multiplexor 'M1' (line 2) already; signals without "
            "SG_MUL_VAL_ are taken as selected by that one\n"});
}

TEST(MultiplexResolver, markWithoutNumberIsReadAsMultiplexor) {
    expect({{"Mux m", "A m1"},
            {},
            "Mux* A<Mux(1-1) ",
            "2 warning: SG_ 'Mux': marked m without a number; read as M, the multiplexor\n"});
}

TEST(MultiplexResolver, markedSignalsNeedAMultiplexor) {
    expect({{"A m1", "B", "C m2M"},
            {},
            "B ",
            "2 error: SG_ 'A': marked as selected by a multiplexor, but message 'Message' has none; left out\n"
            "4 error: SG_ 'C': marked as selected by a multiplexor, but message 'Message' has none; left out\n"});
}

TEST(MultiplexResolver, unknownMultiplexorLeavesItsSignalsOut) {
    expect(
        {{"Mux M", "A m1", "B m1M", "C m3"},
         {"B Max 1-1", "C B 3-3"},
         "Mux* A<Mux(1-1) ",
         "5 error: SG_ 'C': its multiplexor 'B' (line 4) is left out; left out, too\n"
         "102 error: SG_MUL_VAL_ 'B': message 'Message' has no signal 'Max' that could select it; the signal is left "
         "out\n"});
}

TEST(MultiplexResolver, circleLeavesItsSignalsOut) {
    expect({{"A m1M", "B m1M", "C m1M", "D m1", "E"},
            {"A B 1-1", "B C 1-1", "C A 1-1", "D A 1-1"},
            "E ",
            "5 error: SG_ 'D': its multiplexor 'A' (line 2) is left out; left out, too\n"
            "102 error: SG_MUL_VAL_ 'A': its multiplexor 'B' (line 3) is itself selected, in a circle, by this signal; "
            "the signal is left out\n"
            "103 error: SG_MUL_VAL_ 'B': its multiplexor 'C' (line 4) is itself selected, in a circle, by this signal; "
            "the signal is left out\n"
            "104 error: SG_MUL_VAL_ 'C': its multiplexor 'A' (line 2) is itself selected, in a circle, by this signal; "
            "the signal is left out\n"});
}

TEST(MultiplexResolver, signalCannotSelectItself) {
    expect({{"Mux M", "A m1M"},
            {"A A 1-1"},
            "Mux* ",
            "102 error: SG_MUL_VAL_ 'A': it would have to select itself; the signal is left out\n"});
}

TEST(MultiplexResolver, secondStatementForASignalIsLeftOut) {
    expect({{"Mux M", "A m1"},
            {"A Mux 1-1", "A Mux 2-2"},
            "Mux* A<Mux(1-1) ",
            "103 error: SG_MUL_VAL_ 1 'A': line 102 says already what selects this signal; left out\n"});
}

TEST(MultiplexResolver, valueThatTheMultiplexorNeverHasIsNoticed) {
    expect({{"Mux M", "A m256", "B m255"},
            {},
            "Mux* A<Mux(256-256) B<Mux(255-255) ",
            "3 warning: SG_ 'A': selected by value 256, which multiplexor 'Mux' with 8 bits never has\n"});
}

TEST(MultiplexResolver, leftOutMultiplexorTakesItsSignalsAlong) {
    Database const database = readDatabase("BO_ 1 Message: 8 X\n"
                                           " SG_ Mux M : 60|65@1+ (1,0) [0|0] \"\" X\n"
                                           " SG_ A m1M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           " SG_ B m2 : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           " SG_ C : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           "SG_MUL_VAL_ 1 B A 2-2;\n");
    EXPECT_EQ("2 error: SG_ 'Mux': it has 65 bits, but a signal has 1 to 64; left out\n"
              "3 error: SG_ 'A': its multiplexor 'Mux' (line 2) is left out; left out, too\n"
              "4 error: SG_ 'B': its multiplexor 'A' (line 3) is left out; left out, too\n",
              problemsOf(database));
    EXPECT_EQ("Message: C ; ", namesOf(database));
}

TEST(MultiplexResolver, longChainIsResolved) {
    std::string text = "BO_ 1 Message: 8 X\n";
    int const length = 20000;
    for (int i = length; i >= 0; --i)
        text += " SG_ S" + std::to_string(i) + (i == 0 ? " M" : " m1M") + " : 0|8@1+ (1,0) [0|0] \"\" X\n";
    for (int i = 1; i <= length; ++i)
        text += "SG_MUL_VAL_ 1 S" + std::to_string(i) + " S" + std::to_string(i - 1) + " 1-1;\n";
    Database const database = readDatabase(text);
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(static_cast<std::size_t>(length) + 1, database.messages.at(0).signals.size());
    EXPECT_EQ("S0", database.messages[0].signals.front().name);
    EXPECT_EQ("S20000", database.messages[0].signals.back().name);
}

} // namespace qztool
