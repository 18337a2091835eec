// What is read from definition files that are right, or wrong in ways that real files are.
#include "tools/definitions/dbc/DbcReader.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qztool {

namespace {

// Reads one message that holds the given lines.
Database readLines(std::string const& lines) {
    return readDatabase("BO_ 100 Engine: 8 Ecu\n" + lines);
}

SignalDefinition readSignal(std::string const& line) {
    Database const database = readLines(line + "\n");
    EXPECT_EQ("", problemsOf(database)) << line;
    if (database.messages.size() != 1 || database.messages[0].signals.size() != 1) {
        ADD_FAILURE() << line;
        return {};
    }
    return database.messages[0].signals[0];
}

constexpr char const* twoSignals = " SG_ Speed : 0|32@1+ (1,0) [0|0] \"\" X\n SG_ Gear : 32|32@1+ (1,0) [0|0] \"\" X\n";

} // namespace

TEST(DbcReader, messageHasAllItsFields) {
    Database const database = readDatabase("\n\nBO_ 1234 Engine_Data: 6 Ecu\n\nBO_ 2566844926 Truck: 64 Ecu\n");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(2U, database.messages.size());
    MessageDefinition const& standard = database.messages[0];
    EXPECT_EQ(1234U, standard.address);
    EXPECT_FALSE(standard.extended);
    EXPECT_EQ("Engine_Data", standard.name);
    EXPECT_EQ(6U, standard.length);
    EXPECT_EQ(3U, standard.line);
    MessageDefinition const& extended = database.messages[1];
    EXPECT_EQ(0x18FEF1FEU, extended.address);
    EXPECT_TRUE(extended.extended);
    EXPECT_EQ(64U, extended.length);
    EXPECT_EQ(5U, extended.line);
}

TEST(DbcReader, signalHasAllItsFields) {
    SignalDefinition const signal = readSignal(" SG_ Speed : 23|16@0- (0.01,-40) [-1.5|655.35] \"km/h\" A,B, C");
    EXPECT_EQ("Speed", signal.name);
    EXPECT_EQ(2U, signal.line);
    EXPECT_EQ(NumberKind::Signed, signal.kind);
    EXPECT_EQ(23U, signal.startBit);
    EXPECT_EQ(16U, signal.bits);
    EXPECT_TRUE(signal.bigEndian);
    EXPECT_EQ(0.01, signal.factor);
    EXPECT_EQ(-40.0, signal.offset);
    EXPECT_EQ(-1.5, signal.minimum);
    EXPECT_EQ(655.35, signal.maximum);
    EXPECT_EQ("km/h", signal.unit);
    EXPECT_FALSE(signal.isMultiplexor);
    EXPECT_FALSE(signal.multiplexor);
    EXPECT_TRUE(signal.selectedBy.empty());
    EXPECT_TRUE(signal.values.empty());
}

TEST(DbcReader, signOfPlusIsUnsignedLittleEndianIsOrderOne) {
    SignalDefinition const signal = readSignal(" SG_ A : 0|8@1+ (1,0) [0|0] \"\" X");
    EXPECT_EQ(NumberKind::Unsigned, signal.kind);
    EXPECT_FALSE(signal.bigEndian);
}

TEST(DbcReader, untidySignalLinesAreRead) {
    char const* const lines[] = {
        "SG_ A : 8|4@1+ (0.25,1) [0|1] \"\" X",
        "SG_ A: 8|4@1+ (0.25,1) [0|1] \"\" X",
        "SG_ A :8|4@1+(0.25,1)[0|1]\"\"X",
        "\t SG_\tA\t:  8 | 4 @ 1 +  ( .25 , +1 )  [ 0 | 1 ]  \"\"   X , Y ",
        "SG_ A : 8|4@1+ (2.5E-01,1) [0|1E0] \"\"",
        "SG_ A : 8|4@1+ (25e-2,1.) [0|1] \"\"   ",
        "SG_ A : 8|4@1+ (+.25,1) [-0|+1] \"\" X;",
        "SG_ A : 8|4@1+ (0.25,1) [0|1] \"\" X, // comment\n  Y",
        "SG_ A : 8|4@1+ (0.25,1) [0|1] \"\" // no receiver",
        "SG_ A : +8|+4@1+ (0.25,1) [0|1] \"\" X Y Z",
        "SG_ A :\n 8|4@1+\n (0.25,1) [0|1]\n \"\" X",
    };
    for (char const* const line : lines) {
        SignalDefinition const signal = readSignal(line);
        EXPECT_EQ("A", signal.name) << line;
        EXPECT_EQ(8U, signal.startBit) << line;
        EXPECT_EQ(4U, signal.bits) << line;
        EXPECT_EQ(0.25, signal.factor) << line;
        EXPECT_EQ(1.0, signal.offset) << line;
        EXPECT_EQ(0.0, signal.minimum) << line;
        EXPECT_EQ(1.0, signal.maximum) << line;
    }
}

TEST(DbcReader, untidyMessageLinesAreRead) {
    for (char const* const line : {"BO_ 100 Foo: 8 X", "BO_ 100 Foo :8 X", "BO_ 100 Foo : 8 X", "  BO_\t100  Foo:8",
                                   "BO_ 100 Foo: 8", "BO_ 100 Foo: 8 X;", "BO_ +100 Foo: 8 X // comment"}) {
        Database const database = readDatabase(std::string(line) + "\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n");
        EXPECT_EQ("", problemsOf(database)) << line;
        EXPECT_EQ("Foo: A ; ", namesOf(database)) << line;
        EXPECT_EQ(8U, database.messages.at(0).length) << line;
    }
}

TEST(DbcReader, namesMayStartWithADigit) {
    Database const database = readDatabase(
        "BO_ 1 2nd_Gear: 8 3\n SG_ 4WD m1 : 8|8@1+ (1,0) [0|0] \"\" X\n SG_ 5E3 M : 0|8@1+ (1,0) [0|0] \"\" "
        "X\nVAL_ 1 4WD 0 \"off\";\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("2nd_Gear: 5E3 4WD ; ", namesOf(database));
}

TEST(DbcReader, placesThatJustFitAreAccepted) {
    struct Place {
        unsigned startBit;
        unsigned bits;
        char order;
    };
    for (Place const& place : std::vector<Place>{{0, 64, '1'},
                                                 {7, 64, '0'},
                                                 {63, 1, '1'},
                                                 {56, 1, '0'},
                                                 {55, 16, '0'},
                                                 {48, 16, '1'},
                                                 {62, 7, '0'},
                                                 {63, 8, '0'}}) {
        SignalDefinition const signal =
            readSignal("SG_ A : " + std::to_string(place.startBit) + "|" + std::to_string(place.bits) + "@" +
                       place.order + "+ (1,0) [0|0] \"\"");
        EXPECT_EQ(place.startBit, signal.startBit);
        EXPECT_EQ(place.bits, signal.bits);
    }
}

TEST(DbcReader, overlappingSignalsAreKeptWithoutAWord) {
    Database const database = readLines(" SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ B : 4|8@1+ (1,0) [0|0] \"\" X\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("Engine: A B ; ", namesOf(database));
}

TEST(DbcReader, numberTypesBeforeAndAfterTheirMessageHold) {
    Database const database =
        readDatabase(std::string("SIG_VALTYPE_ 100 Speed : 1;\nBO_ 100 Engine: 8 X\n") + twoSignals +
                     " SG_ Both : 0|64@1+ (1,0) [0|0] \"\" X\nSIG_VALTYPE_ 100 Both 2;\n"
                     "SIG_VALTYPE_ 100 Gear :0 ;\n");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(3U, database.messages.at(0).signals.size());
    EXPECT_EQ(NumberKind::Float, database.messages[0].signals[0].kind);
    EXPECT_EQ(NumberKind::Unsigned, database.messages[0].signals[1].kind);
    EXPECT_EQ(NumberKind::Double, database.messages[0].signals[2].kind);
}

TEST(DbcReader, valuesAreReadInlineEmptyAndFromTables) {
    struct Case {
        char const* statements;
        char const* expected;
    };
    Case const cases[] = {
        {"VAL_ 100 Gear 0 \"P\" 1 \"R\" ;", "0=P 1=R "},
        {"VAL_ 100 Gear 3\"a\"-2\"b\";", "3=a -2=b "},
        {"VAL_ 100 Gear ;", ""},
        {"VAL_ 100 Gear;", ""},
        {"VAL_ 100 Gear\n 0 \"P\"\n 1 \"R\"\n;", "0=P 1=R "},
        {"VAL_TABLE_ T 1 \"one\" 0 \"zero\" ;\nVAL_ 100 Gear T ;", "1=one 0=zero "},
        {"VAL_ 100 Gear T;\nVAL_TABLE_ T 1 \"one\";", "1=one "},
        {"VAL_ 100 Gear 3state;\nVAL_TABLE_ 3state 1 \"one\";", "1=one "},
        {"VAL_ 100 Gear T;\nVAL_TABLE_ T ;", ""},
        {"VAL_ 100 Gear 2.0 \"two\" 1E2 \"hundred\";", "2=two 100=hundred "},
        {"VAL_ 100 Gear 18446744073709551615 \"all ones\";", "-1=all ones "},
        {"VAL_ 100 Gear 0 \"\" ;", "0= "},
        {"VAL_ 100 Gear 0 \"say \\\"x\\\"; // \\\\\" ;", "0=say \"x\"; // \\ "},
        {"VAL_ 100 Gear 0 \"a\\b\" ;", "0=a\\b "},
        {"VAL_ 100 Gear 0 \"two\nlines\" ;", "0=two\nlines "},
        {"VAL_ Variable 0 \"off\" 1 \"on\" ;", ""},
    };
    for (Case const& c : cases) {
        Database const database = readLines(twoSignals + std::string(c.statements) + "\n");
        EXPECT_EQ("", problemsOf(database)) << c.statements;
        EXPECT_EQ(c.expected, valuesOf(database.messages.at(0).signals.at(1))) << c.statements;
        EXPECT_EQ("", valuesOf(database.messages.at(0).signals.at(0))) << c.statements;
    }
}

TEST(DbcReader, longNamesReplaceShortOnesAndStatementsReferToTheShortOnes) {
    Database const database = readDatabase("BA_ \"SystemSignalLongSymbol\" SG_ 100 Mux \"LongMultiplexor\";\n"
                                           "BO_ 100 Engine: 8 X\n"
                                           " SG_ A m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                           " SG_ Mux M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           "BA_ \"SystemMessageLongSymbol\" BO_ 100 \"Long Engine/1\";\n"
                                           "BA_ \"SystemSignalLongSymbol\" SG_ 100 A \"LongA\";\n"
                                           "BA_ \"SystemSignalLongSymbol\" SG_ 100 Unknown \"x\";\n"
                                           "BA_ \"SystemMessageLongSymbol\" BO_ 999 \"x\";\n"
                                           "BA_ \"SystemMessageLongSymbol\" BO_ 100 \"\";\n"
                                           "SG_MUL_VAL_ 100 A Mux 1-2;\n"
                                           "VAL_ 100 A 1 \"one\";\n");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(1U, database.messages.size());
    EXPECT_EQ("Long Engine/1", database.messages[0].name);
    EXPECT_EQ("LongMultiplexor* LongA<LongMultiplexor(1-2) ", multiplexingOf(database.messages[0]));
    EXPECT_EQ("1=one ", valuesOf(database.messages[0].signals[1]));
}

TEST(DbcReader, lastOfSeveralLongNamesCountsAndFreesTheOneBefore) {
    Database const database = readDatabase("BO_ 1 M: 8 X\n"
                                           " SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           " SG_ B : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                           "BO_ 2 N: 8 X\n"
                                           "BO_ 3 O: 8 X\n"
                                           "BA_ \"SystemMessageLongSymbol\" BO_ 1 \"Long\";\n"
                                           "BA_ \"SystemMessageLongSymbol\" BO_ 1 \"M\";\n"
                                           "BA_ \"SystemMessageLongSymbol\" BO_ 2 \"Long\";\n"
                                           "BA_ \"SystemMessageLongSymbol\" BO_ 3 \"M\";\n"
                                           "BA_ \"SystemSignalLongSymbol\" SG_ 1 A \"Long\";\n"
                                           "BA_ \"SystemSignalLongSymbol\" SG_ 1 A \"A\";\n"
                                           "BA_ \"SystemSignalLongSymbol\" SG_ 1 B \"Long\";\n"
                                           "BA_ \"SystemSignalLongSymbol\" SG_ 1 B \"A\";\n");
    EXPECT_EQ(
        "9 warning: the long name 'M' of message 'O' is the name of another message; the short name stays\n"
        "13 warning: the long name 'A' of signal 'B' is the name of another signal of its message; the short name "
        "stays\n",
        problemsOf(database));
    EXPECT_EQ("M: A Long ; Long: ; O: ; ", namesOf(database));
}

TEST(DbcReader, otherStatementsAreSkippedAwareOfTexts) {
    Database const database = readDatabase(
        "CM_ \"before VERSION; with \\\"quotes\\\" and\n\nlines\";\n"
        "VERSION \"1;2\"\n"
        "NS_ :\n\tNS_DESC_\n\tCM_\n\tBA_DEF_\n\tBA_\n\tVAL_\n\tBA_DEF_DEF_ VAL_TABLE_\n\tFILTER\n\n\tSG_MUL_VAL_ // "
        "x\n\n"
        "BS_: 500 : 12,34\n"
        "BU_: A B\n  C D\nBU_:\n"
        "EV_ Temperature: 0 [0|0] \"C\" 0 1 DUMMY_NODE_VECTOR0 Vector__XXX;\n"
        "BO_ 100 Engine: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"//unit;\" X\n"
        "BO_TX_BU_ 100 : A,B;\n"
        "CM_ BO_ 100 \"BO_ 5 no message;\n VAL_ 100 A 1 2 3 ;\n SG_ none\n\";\n"
        "CM_ SG_ 999 None \"unknown; // is no matter\"; // comment\n"
        "CM_ SG_ 100 \"without a signal\";\n"
        "CM_ BU_ A \"\";\n"
        "BA_DEF_ BO_  \"Cycle\" ENUM  \"a;\",\"b\",\n\"c\";\n"
        "BA_DEF_DEF_  \"Cycle\" \"a\";\n"
        "BA_DEF_REL_ BU_SG_REL_ \"X\" INT 0 65535;\nBA_DEF_DEF_REL_ \"X\" 0;\n"
        "BA_ \"Cycle\" BO_ 999 5;\n"
        "BA_REL_ \"X\" BU_SG_REL_ A SG_ 100 A 200;\n"
        "SIG_GROUP_ 100 Group 1 : A;\nSGTYPE_ T: 8@1+(1,0)[0|0]\"\" 0, x;\nSGTYPE_VAL_ T 0 \"\";\n"
        "SIG_TYPE_REF_ 100 A : T;\nSIGTYPE_VALTYPE_ T : 1;\nBA_DEF_SGTYPE_ \"x\" INT 0 1;\nBA_SGTYPE_ \"x\" 1;\n"
        "CAT_DEF_ 1 \"c\" 0;\nCAT_ 1 A;\nENVVAR_DATA_ V: 3;\nEV_DATA_ V: 3;;\n"
        " SG_ B : 8|8@1+ (1,0) [0|0] \"\" X\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("Engine: A B ; ", namesOf(database));
    EXPECT_EQ("//unit;", database.messages.at(0).signals.at(0).unit);
}

TEST(DbcReader, commentsAreSkippedOutsideTexts) {
    Database const database = readDatabase("// BO_ 1 None: 8 X\nBO_ 100 Engine: 8 X // SG_ none\n"
                                           "  // SG_ none\n SG_ A : 0|8@1+ (1,0) [0|0] \"a//b\" X\n//\n"
                                           "VAL_ 100 A // 5 \"none\"\n 0 \"http://x\" ; //");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("Engine: A ; ", namesOf(database));
    EXPECT_EQ("a//b", database.messages.at(0).signals.at(0).unit);
    EXPECT_EQ("0=http://x ", valuesOf(database.messages[0].signals[0]));
}

TEST(DbcReader, symbolBlockEndsWhereStatementsBegin) {
    for (char const* const block : {"NS_ :\n", "NS_:\n  CM_\n  BA_\n", "NS_\nCM_\nBA_\nVAL_\n\n", "NS_ : CM_ BA_\n",
                                    "NS_ :\n CM_\n NEW_SYMBOL_\nBS_:\nBU_:\n"}) {
        Database const database =
            readDatabase(std::string(block) + "BO_ 1 A: 8 X\nVAL_ 1 B 0 \"x\";\n SG_ B : 0|8@1+ (1,0) [0|0] \"\" X\n");
        EXPECT_EQ("", problemsOf(database)) << block;
        EXPECT_EQ("A: B ; ", namesOf(database)) << block;
    }
}

TEST(DbcReader, pseudoMessageIsSkippedWithItsSignalsAndReferences) {
    for (char const* const start :
         {"BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 X\n", "BO_ 1073741824 VECTOR__INDEPENDENT_SIG_MSG: 0 X\n"}) {
        std::string const identifier = std::string(start).substr(4, 10);
        Database const database =
            readDatabase(start + std::string(" SG_ A : 0|200@1+ (1,0) [0|0] \"\" X\n SG_ broken\n") + "VAL_ " +
                         identifier + " A 0 \"x\";\nSIG_VALTYPE_ " + identifier + " A : 1;\nBO_ 1 B: 8 X\n");
        EXPECT_EQ("", problemsOf(database)) << start;
        EXPECT_EQ("B: ; ", namesOf(database)) << start;
    }
    EXPECT_EQ("", problemsOf(readDatabase("VAL_ 3221225472 A 0 \"x\";\n")));
}

TEST(DbcReader, referenceReachesAllMessagesOfAnIdentifier) {
    Database const database = readDatabase("BO_ 1 A: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           "BO_ 1 B: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           "BO_ 1 C: 8 X\n SG_ T : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                           "VAL_ 1 S 5 \"five\";\nVAL_ 1 T 6 \"six\";\n");
    EXPECT_EQ("3 warning: BO_ 1 'B': message 'A' (line 1) has the same identifier; both are kept\n"
              "5 warning: BO_ 1 'C': message 'A' (line 1) has the same identifier; both are kept\n",
              problemsOf(database));
    ASSERT_EQ("A: S ; B: S ; C: T ; ", namesOf(database));
    EXPECT_EQ("5=five ", valuesOf(database.messages[0].signals[0]));
    EXPECT_EQ("5=five ", valuesOf(database.messages[1].signals[0]));
    EXPECT_EQ("6=six ", valuesOf(database.messages[2].signals[0]));
}

TEST(DbcReader, emptyFilesHoldNothing) {
    for (char const* const text : {"", "\n", " \r\n\t", "// comment", "\x1A", "\xEF\xBB\xBF"}) {
        Database const database = readDatabase(text);
        EXPECT_EQ("", problemsOf(database));
        EXPECT_TRUE(database.messages.empty());
    }
}

TEST(DbcReader, lastLineNeedsNoLineEnd) {
    EXPECT_EQ("Engine: A ; ", namesOf(readLines(" SG_ A : 0|8@1+ (1,0) [0|0] \"\"")));
}

constexpr char const* standardAndExtended =
    "BO_ 100 Standard: 8 X\nBO_ 2566844926 Extended: 8 X\nBO_ 2566844927 Other: 8 X\n";

// "S", "E" and "O" for those of the three messages above that are matched by their parameter group.
std::string groupedOf(std::string const& attributes) {
    Database const database = readDatabase(standardAndExtended + attributes);
    EXPECT_EQ("", problemsOf(database)) << attributes;
    std::string text;
    for (MessageDefinition const& message : database.messages)
        text += message.byParameterGroup ? message.name.substr(0, 1) : "";
    return text;
}

TEST(DbcReader, protocolOrFormatMakesAMessageOneOfJ1939) {
    std::string const formats =
        "BA_DEF_ BO_ \"VFrameFormat\" ENUM \"StandardCAN\",\"ExtendedCAN\",\"reserved\",\"J1939PG\";\n";
    struct {
        std::string attributes;
        char const* grouped;
    } const cases[] = {
        {"", ""},
        {"BA_ \"ProtocolType\" \"J1939\";\n", "EO"},
        {"BA_DEF_DEF_ \"ProtocolType\" \"J1939\";\n", "EO"},
        {"BA_DEF_DEF_ \"ProtocolType\" \"J1939\";\nBA_ \"ProtocolType\" \"GMLAN\";\n", ""},
        {"BA_ \"ProtocolType\" \"GMLAN\";\nBA_DEF_DEF_ \"ProtocolType\" \"J1939\";\n", ""},
        {formats + "BA_ \"VFrameFormat\" BO_ 2566844926 3;\nBA_ \"VFrameFormat\" BO_ 100 3;\n", "E"},
        {"BA_ \"VFrameFormat\" BO_ 2566844926 3;\n" + formats, "E"},
        {formats + "BA_ \"VFrameFormat\" BO_ 2566844926 \"J1939PG\";\n", "E"},
        {formats + "BA_DEF_DEF_ \"VFrameFormat\" \"J1939PG\";\nBA_ \"VFrameFormat\" BO_ 2566844926 1;\n", "O"},
        {formats + "BA_DEF_DEF_ \"VFrameFormat\" \"StandardCAN\";\nBA_ \"ProtocolType\" \"J1939\";\n"
                   "BA_ \"VFrameFormat\" BO_ 2566844926 1;\n",
         "O"},
        {formats + "BA_ \"VFrameFormat\" BO_ 2566844926 99;\n", ""},
        {"BA_ \"VFrameFormat\" BO_ 2566844926 3;\n", ""},
        {"BA_DEF_ \"VFrameFormat\" ENUM \"J1939PG\";\nBA_ \"VFrameFormat\" 0;\nBA_ \"ProtocolType\" BU_ X \"J1939\";\n",
         ""},
    };
    for (auto const& each : cases)
        EXPECT_EQ(groupedOf(each.attributes), each.grouped) << each.attributes;
}

TEST(DbcReader, cycleTimeIsInMillisecondsAndHasADefault) {
    std::string const messages = "BO_ 1 A: 8 X\nBO_ 2 B: 8 X\nBO_ 3 C: 8 X\n";
    Database const database = readDatabase(messages + "BA_DEF_ BO_ \"GenMsgCycleTime\" INT 0 65535;\n"
                                                      "BA_DEF_DEF_ \"GenMsgCycleTime\" 100;\n"
                                                      "BA_ \"GenMsgCycleTime\" BO_ 2 20;\n"
                                                      "BA_ \"GenMsgCycleTime\" BO_ 3 0;\n"
                                                      "BA_ \"GenMsgCycleTime\" BO_ 4 5;\n");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(3U, database.messages.size());
    EXPECT_EQ(0.1, database.messages[0].cycleTime);
    EXPECT_EQ(0.02, database.messages[1].cycleTime);
    EXPECT_EQ(0.0, database.messages[2].cycleTime);
    EXPECT_EQ(0.0, readDatabase(messages).messages[0].cycleTime);
    EXPECT_EQ("2 error: BA_ 'GenMsgCycleTime': 'fast' is not a number; left out\n"
              "3 error: BA_ 'GenMsgCycleTime': the value is missing before ';'; left out\n",
              problemsOf(readDatabase("BO_ 1 A: 8 X\nBA_ \"GenMsgCycleTime\" BO_ 1 fast;\n"
                                      "BA_ \"GenMsgCycleTime\" BO_ 1 ;\n")));
}

} // namespace qztool
