// What is read from LIN description files, and what is reported of those that are wrong.
#include "tools/definitions/ldf/LdfReader.h"
#include "tests/tools/definitions/Damage.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tools/definitions/Formats.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace qztool {

namespace {

constexpr char const* header =
    "LIN_description_file;\nLIN_protocol_version = \"2.2\";\nLIN_language_version = \"2.2\";\n"
    "LIN_speed = 19.2 kbps;\n"; // lines 1 to 4

// One frame of eight bytes, on line 9, that carries signal A with the given encoding.
Database readEncoding(std::string const& values) {
    return readLdf(std::string(header) +
                   "Signals {\nA: 16, 0, M, S;\n}\nFrames {\nF: 1, M, 8 {\nA, 4;\n}\n}\n"
                   "Signal_encoding_types {\nE {\n" +
                   values + "\n}\n}\nSignal_representation {\nE: A;\n}\n");
}

SignalDefinition signalOf(Database const& database) {
    if (database.messages.size() != 1 || database.messages[0].signals.size() != 1) {
        ADD_FAILURE() << namesOf(database);
        return {};
    }
    return database.messages[0].signals[0];
}

std::string cycleTimesOf(Database const& database) {
    std::string text;
    for (MessageDefinition const& message : database.messages)
        text += message.name + " " + std::to_string(std::lround(message.cycleTime * 1e6)) + "; "; // microseconds
    return text;
}

// Three frames of one signal each, and what follows them from line 16 on.
Database readWithFrames(std::string const& sections) {
    return readLdf(std::string(header) +
                   "Signals {\nA: 8, 0, M;\nB: 8, 0, M;\nC: 8, 0, M;\n}\nFrames {\n"
                   "FA: 1, M, 1 { A, 0; }\nFB: 2, M, 1 { B, 0; }\nFC: 3, M, 1 { C, 0; }\n}\n\n" +
                   sections);
}

} // namespace

TEST(LdfReader, isToldFromTheContent) {
    EXPECT_STREQ("LDF", definitionFormatOf("LIN_description_file;").name);
    EXPECT_STREQ("LDF", definitionFormatOf("\xEF\xBB\xBF/* BO_ */\r\n// x\r\n LIN_description_file ;").name);
    EXPECT_STREQ("LDF", definitionFormatOf("LIN_protocol_version = \"2.1\";").name);
    EXPECT_STREQ("DBC", definitionFormatOf("// LIN_description_file\nVERSION \"\"").name);
    EXPECT_STREQ("DBC", definitionFormatOf("").name);
}

TEST(LdfReader, frameHasAllItsFields) {
    Database const database =
        readLdf(std::string(header) + "Channel_name = \"Door\";\nSignals {\n Lock: 2, 0, Master, Slave ;\n}\n"
                                      "Frames {\n State: 0x2A, Master, 3 {\n  Lock, 13 ;\n }\n}\n");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(1U, database.channels.size());
    EXPECT_EQ("Door", database.channels[0].name);
    ASSERT_EQ(1U, database.messages.size());
    MessageDefinition const& message = database.messages[0];
    EXPECT_EQ(Bus::Lin, message.bus);
    EXPECT_EQ(0x2AU, message.address);
    EXPECT_EQ("State", message.name);
    EXPECT_EQ(3U, message.length);
    EXPECT_EQ(10U, message.line);
    SignalDefinition const signal = signalOf(database);
    EXPECT_EQ("Lock", signal.name);
    EXPECT_EQ(11U, signal.line);
    EXPECT_EQ(13U, signal.startBit);
    EXPECT_EQ(2U, signal.bits);
    EXPECT_FALSE(signal.bigEndian);
    EXPECT_EQ(NumberKind::Unsigned, signal.kind);
    EXPECT_EQ(1.0, signal.factor);
    EXPECT_EQ(0.0, signal.offset);
}

TEST(LdfReader, lengthThatIsNotStatedFollowsFromTheIdentifier) {
    struct {
        char const* identifier;
        unsigned length;
    } const cases[] = {{"0", 2}, {"31", 2}, {"32", 4}, {"0x2F", 4}, {"48", 8}, {"63", 8}};
    for (auto const& c : cases) {
        Database const database =
            readLdf(std::string(header) + "Signals { A: 8, 0, M; }\nFrames { F: " + c.identifier + ", M { A, 0; } }\n");
        EXPECT_EQ("", problemsOf(database));
        ASSERT_EQ(1U, database.messages.size()) << c.identifier;
        EXPECT_EQ(c.length, database.messages[0].length) << c.identifier;
    }
}

TEST(LdfReader, oneSignalInTwoFramesIsInBoth) {
    Database const database = readLdf(std::string(header) + "Signals { A: 8, 0, M; }\n"
                                                            "Frames { F: 1, M, 1 { A, 0; } G: 2, M, 2 { A, 8; } }\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("F: A ; G: A ; ", namesOf(database));
}

TEST(LdfReader, physicalRangeGivesScaleUnitAndRange) {
    SignalDefinition const signal = signalOf(readEncoding("physical_value, 10, 0xFA, 0.5, -40, \"degree\";"));
    EXPECT_EQ(0.5, signal.factor);
    EXPECT_EQ(-40.0, signal.offset);
    EXPECT_EQ(-35.0, signal.minimum);
    EXPECT_EQ(85.0, signal.maximum);
    EXPECT_EQ("degree", signal.unit);
}

TEST(LdfReader, rangeOfNegativeFactorRunsUpward) {
    SignalDefinition const signal = signalOf(readEncoding("physical_value, 0, 100, -2, 10;"));
    EXPECT_EQ(-190.0, signal.minimum);
    EXPECT_EQ(10.0, signal.maximum);
    EXPECT_EQ("", signal.unit);
}

TEST(LdfReader, rangesOfOneScaleAreJoined) {
    Database const database = readEncoding("physical_value, 10, 20, 2, 1, \"V\"; physical_value, 30, 40, 2, 1, \"V\";");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ(21.0, signalOf(database).minimum);
    EXPECT_EQ(81.0, signalOf(database).maximum);
}

TEST(LdfReader, rangeOfAnotherScaleIsLeftOut) {
    Database const database =
        readEncoding("physical_value, 0, 250, 0.5, -40, \"C\";\nphysical_value, 251, 253, 1, 0, \"?\";");
    EXPECT_EQ("16 error: encoding 'E': the range from 251 to 253 is scaled differently from the first one, on line 15; "
              "left out\n",
              problemsOf(database));
    EXPECT_EQ(0.5, signalOf(database).factor);
    EXPECT_EQ(85.0, signalOf(database).maximum);
    EXPECT_EQ("C", signalOf(database).unit);
}

TEST(LdfReader, logicalValuesAreWords) {
    Database const database = readEncoding("logical_value, 0, \"off\"; logical_value, 0x1F, \"on\"; logical_value, 3;");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("0=off 31=on ", valuesOf(signalOf(database)));
}

TEST(LdfReader, decimalsAndTextAreNamedAndReadAsNumbers) {
    Database const database = readEncoding("bcd_value;\nascii_value;");
    EXPECT_EQ("15 warning: encoding 'E': binary-coded decimals are not decoded; its signals are read as numbers\n"
              "16 warning: encoding 'E': ASCII text is not decoded; its signals are read as numbers\n",
              problemsOf(database));
    EXPECT_EQ(1.0, signalOf(database).factor);
}

TEST(LdfReader, eventTriggeredFramesAreAddressesOfWhatTheyCarry) {
    Database const database = readWithFrames("Event_triggered_frames {\nE: Resolver, 0x39, FA, FB;\nOld: 58, FA;\n}\n");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(3U, database.messages.size());
    EXPECT_EQ((std::vector<std::uint32_t>{57, 58}), database.messages[0].eventTriggered);
    EXPECT_EQ((std::vector<std::uint32_t>{57}), database.messages[1].eventTriggered);
    EXPECT_TRUE(database.messages[2].eventTriggered.empty());
}

TEST(LdfReader, diagnosticFramesHaveTheirSignals) {
    Database const database =
        readLdf(std::string(header) + "Diagnostic_signals { MasterReqB0: 8, 0; SlaveRespB7: 8, 0; }\n"
                                      "Diagnostic_frames { MasterReq: 60 { MasterReqB0, 0; }\n"
                                      "SlaveResp: 0x3d { SlaveRespB7, 56; } }\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("MasterReq: MasterReqB0 ; SlaveResp: SlaveRespB7 ; ", namesOf(database));
    EXPECT_EQ(60U, database.messages[0].address);
    EXPECT_EQ(61U, database.messages[1].address);
    EXPECT_EQ(8U, database.messages[1].length);
}

TEST(LdfReader, cycleTimeIsTheShortestOfAllTables) {
    Database const database = readWithFrames("Schedule_tables {\n"
                                             "Fast { FA delay 10 ms; FB delay 5ms; FA delay 15 ms; }\n"
                                             "Slow { FA delay 100 ms; FB delay 0.5 ms; FC delay 12.5 ms; }\n}\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("FA 15000; FB 30000; FC 113000; ", cycleTimesOf(database));
}

TEST(LdfReader, commandsTakeTheirTimeInATable) {
    Database const database =
        readWithFrames("Schedule_tables {\nT {\nAssignNAD { S } delay 10 ms;\nFA delay 5 ms;\n"
                       "AssignFrameIdRange { S, 0, 1, 0xFF } delay 10 ms;\nMasterReq delay 1 ms;\n}\n}\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("FA 26000; FB 0; FC 0; ", cycleTimesOf(database));
}

// They run once, after a collision.
TEST(LdfReader, tablesThatResolveCollisionsGiveNoCycleTime) {
    Database const database =
        readWithFrames("Event_triggered_frames { E: Resolver, 57, FA, FB; }\nSporadic_frames { S: FC; }\n"
                       "Schedule_tables {\nResolver { FA delay 1 ms; FB delay 1 ms; }\n"
                       "Normal { E delay 10 ms; FA delay 10 ms; S delay 10 ms; }\n}\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("FA 30000; FB 0; FC 0; ", cycleTimesOf(database));
}

TEST(LdfReader, sectionsMayComeInAnyOrder) {
    Database const database = readLdf("LIN_description_file;\nSignal_representation { E: A; }\n"
                                      "Signal_encoding_types { E { logical_value, 1, \"on\"; } }\n"
                                      "Schedule_tables { T { F delay 10 ms; } }\n"
                                      "Frames { F: 1, M, 1 { A, 0; } }\nSignals { A: 8, 0, M; }\n");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("1=on ", valuesOf(signalOf(database)));
    EXPECT_EQ("F 10000; ", cycleTimesOf(database));
}

TEST(LdfReader, whatIsOfNoUseIsSkippedSilently) {
    EXPECT_EQ("", problemsOf(readWithFrames("Nodes { Master: M, 5 ms, 0.1 ms, 8 bits, 100 %; Slaves: S; }\n"
                                            "Node_attributes { S { LIN_protocol = \"2.1\"; product_id = 1, 2, 3;\n"
                                            "configurable_frames { FA = 0x1; FB; } } }\n"
                                            "Diagnostic_addresses { S: 1; }\nSignal_groups { G: 8 { A, 0; } }\n"
                                            "composite { configuration X { S { A, B; } } }\n"
                                            "LDF_file_revision = \"1\";\nLIN_sig_byte_order_little_endian;\n;\n")));
}

TEST(LdfReader, byteArraysAreNumbersUpTo64Bits) {
    Database const database =
        readLdf(std::string(header) + "Signals {\nA: 40, {5, 4, 3, 2, 1}, M, S;\nB: 72, {0}, M;\n}\n"
                                      "Frames { F: 1, M, 8 { A, 8; B, 0; } }\n");
    EXPECT_EQ("7 error: signal 'B': it has 72 bits, but a signal has 1 to 64; left out\n", problemsOf(database));
    EXPECT_EQ(40U, signalOf(database).bits);
}

TEST(LdfReader, versionsAreKnown) {
    for (char const* version : {"1.3", "2.0", "2.1", "2.2", "2.2A", "ISO17987:2015", "J2602_1_1.0"})
        EXPECT_EQ("", problemsOf(readLdf(std::string("LIN_protocol_version = \"") + version + "\";\n")));
    EXPECT_EQ("1 warning: LIN_language_version '3.0' is unknown; read as ISO 17987\n",
              problemsOf(readLdf("LIN_language_version = \"3.0\";\n")));
    EXPECT_EQ("1 warning: LIN_sig_byte_order_big_endian is not applied: signals of several bytes are read low byte "
              "first\n",
              problemsOf(readLdf("LIN_sig_byte_order_big_endian;\n")));
}

TEST(LdfReader, textsOfWindows1252BecomeUtf8) {
    Database const database = readEncoding("physical_value, 0, 1, 1, 0, \"\xB0"
                                           "C\";");
    EXPECT_EQ("\xC2\xB0"
              "C",
              signalOf(database).unit);
}

TEST(LdfReader, badElementCostsItselfAlone) {
    // A section of three elements, of which the second one, on line 7, is bad; frame F carries what the others define.
    struct {
        char const* element;
        char const* problem;
    } const signals[] = {
        {"X: y, 0, M;", "signal 'X': the length 'y' is not a whole number from 0 on; left out"},
        {"X: 99999999999999999999, 0, M;", "signal 'X': the length '99999999999999999999' is too large; left out"},
        {"X: 0, 0, M;", "signal 'X': it has 0 bits, but a signal has 1 to 64; left out"},
        {"X 8, 0, M;", "signal 'X': expected ':' but found '8'; left out"},
        {"X: 8, {1, 2;", "signal 'X': expected '}' but found ';'; left out"},
        {"\"X\": 8, 0, M;", "signal: expected a signal name but found the text 'X'; left out"},
        {"X: 8, \"0;", "signal 'X': the text '0;' is not closed; left out"},
        {"A: 4, 0, M;", "signal 'A': duplicate signal name, first defined on line 6; left out"},
    };
    for (auto const& c : signals) {
        Database const database = readLdf(std::string(header) + "Signals {\nA: 8, 0, M;\n" + c.element +
                                          "\nB: 8, 0, M;\n}\n" + "Frames {\nF: 1, M, 8 {\nA, 0;\nB, 8;\n}\n}\n");
        EXPECT_EQ("F: A B ; ", namesOf(database)) << c.element;
        EXPECT_EQ(std::string("7 error: ") + c.problem + "\n", problemsOf(database));
    }
}

TEST(LdfReader, badFrameCostsItselfAlone) {
    struct {
        char const* frame;
        char const* problem;
    } const cases[] = {
        {"X: 64, M, 1 { A, 0; }", "10 error: frame 'X': the identifier 64 is above 63; left out\n"},
        {"X: 5, M, 9 { A, 0; }", "10 error: frame 'X': it has 9 bytes, but a frame has 1 to 8; left out\n"},
        {"X: 5, M, 0 { A, 0; }", "10 error: frame 'X': it has 0 bytes, but a frame has 1 to 8; left out\n"},
        {"X: 5 { A, 0; }", "10 error: frame 'X': expected ',' but found '{'; left out\n"},
        {"X, 5, M { A, 0; }", "10 error: frame 'X': expected ':' but found ','; left out\n"},
        {"F: 5, M, 1 { A, 0; }", "10 error: frame 'F': duplicate frame name, first defined on line 9; left out\n"},
    };
    for (auto const& c : cases) {
        Database const database =
            readLdf(std::string(header) + "Signals {\nA: 8, 0, M;\n}\nFrames {\nF: 1, M, 1 { A, 0; }\n" + c.frame +
                    "\nG: 2, M, 1 { A, 0; }\n}\n");
        EXPECT_EQ("F: A ; G: A ; ", namesOf(database)) << c.frame;
        EXPECT_EQ(c.problem, problemsOf(database));
    }
}

TEST(LdfReader, badPlaceCostsItselfAlone) {
    struct {
        char const* place;
        char const* problem;
    } const cases[] = {
        {"X, 0;", "11 error: frame 'F', signal 'X': there is no signal of this name; left out\n"},
        {"B, 57;", "11 error: frame 'F', signal 'B': it reaches beyond the eight bytes of a LIN frame; left out\n"},
        {"B, 18446744073709551615;",
         "11 error: frame 'F', signal 'B': it reaches beyond the eight bytes of a LIN frame; left out\n"},
        {"A, 8;", "11 error: frame 'F', signal 'A': the frame carries it already, from line 10; left out\n"},
        {"B: 8;", "11 error: frame 'F', signal 'B': expected ',' but found ':'; left out\n"},
        {"B, x;", "11 error: frame 'F', signal 'B': the offset 'x' is not a whole number from 0 on; left out\n"},
    };
    for (auto const& c : cases) {
        Database const database =
            readLdf(std::string(header) + "Signals {\nA: 8, 0, M;B: 8, 0, M;\n}\nFrames {\nF: 1, M, 8 {\nA, 0;\n" +
                    c.place + "\n}\nG: 2, M, 1 { B, 0; }\n}\n");
        EXPECT_EQ("F: A ; G: B ; ", namesOf(database)) << c.place;
        EXPECT_EQ(c.problem, problemsOf(database));
    }
}

TEST(LdfReader, signalBeyondTheFrameIsKeptWithAWarning) {
    Database const database =
        readLdf(std::string(header) + "Signals {\nA: 8, 0, M;\n}\nFrames {\nF: 1, M, 1 { A, 1; }\n}\n");
    EXPECT_EQ("9 warning: frame 'F', signal 'A': it reaches beyond the 1 byte of the frame\n", problemsOf(database));
    EXPECT_EQ("F: A ; ", namesOf(database));
}

TEST(LdfReader, sameIdentifierIsKeptWithAWarning) {
    Database const database =
        readLdf(std::string(header) + "Signals {\nA: 8, 0, M;\n}\nFrames {\nF: 1, M, 1 { A, 0; }\n"
                                      "G: 1, M, 1 { A, 0; }\n}\n");
    EXPECT_EQ("10 warning: frame 'G': frame 'F' on line 9 has the same identifier; both are kept\n",
              problemsOf(database));
    EXPECT_EQ("F: A ; G: A ; ", namesOf(database));
}

TEST(LdfReader, whatIsMissingIsReported) {
    Database const database = readWithFrames("Event_triggered_frames {\nE: R, 57, FA, X;\nG: R, 64, FA;\n}\n"
                                             "Schedule_tables {\nT { FA delay 10 ms; X delay 10 ms; }\n}\n"
                                             "Signal_representation {\nE: A;\n}\nSignals {\nZ: 8, 0, M;\n}\n");
    EXPECT_EQ("17 error: event-triggered frame 'E': there is no frame 'X'; left out\n"
              "18 error: event-triggered frame 'G': the identifier 64 is above 63; left out\n"
              "21 error: schedule table 'T': there is no frame 'X'; left out\n"
              "24 error: representation 'E': there is no encoding of this name; left out\n"
              "27 error: signal 'Z': no frame carries it; left out\n",
              problemsOf(database));
    EXPECT_EQ("FA 20000; FB 0; FC 0; ", cycleTimesOf(database));
}

// Without one of its delays, the length of the table is unknown.
TEST(LdfReader, tableWithABadSlotGivesNoCycleTime) {
    Database const database = readWithFrames("Schedule_tables {\nT {\nFA delay x ms;\nFB delay 10 ms;\n}\n"
                                             "U { FC delay 7 ms; }\n}\n");
    EXPECT_EQ("18 error: schedule table 'T': the delay 'x' is not a number; no cycle times are taken from this table\n",
              problemsOf(database));
    EXPECT_EQ("FA 0; FB 0; FC 7000; ", cycleTimesOf(database));
}

TEST(LdfReader, badEncodedValueCostsItselfAlone) {
    struct {
        char const* value;
        char const* problem;
    } const cases[] = {
        {"logical_value, x, \"a\";", "the raw value 'x' is not a whole number from 0 on"},
        {"logical_value, 5, \"a;", "the text 'a;' is not closed"},
        {"physical_value, 5, 4, 1, 0;", "the range from 5 to 4 runs backwards"},
        {"physical_value, 0, 4, 1e999, 0;", "the factor '1e999' is beyond the range of a double"},
        {"physical_value, 0, 4, 1, nan;", "the offset 'nan' is not a finite number"},
        {"other_value, 1;", "expected a kind of value but found 'other_value'"},
    };
    for (auto const& c : cases) {
        Database const database =
            readEncoding(std::string("logical_value, 1, \"one\";\n") + c.value + "\nlogical_value, 2, \"two\";");
        EXPECT_EQ(std::string("16 error: encoding 'E': ") + c.problem + "; left out\n", problemsOf(database));
        EXPECT_EQ("1=one 2=two ", valuesOf(signalOf(database))) << c.value;
        EXPECT_EQ(1.0, signalOf(database).factor);
    }
}

TEST(LdfReader, unknownSectionIsSkippedAlone) {
    EXPECT_EQ("16 error: unknown section 'Future'; left out\n19 error: unknown statement 'More'; left out\n",
              problemsOf(readWithFrames("Future {\n a { b; } c;\n}\nMore = 1;\nNodes { }\n")));
}

TEST(LdfReader, forgottenBraceCostsNoOtherSection) {
    Database const database =
        readLdf(std::string(header) + "Signals {\nA: 8, 0, M;\nFrames {\nF: 1, M, 1 {\nA, 0;\n"
                                      "G: 2, M, 1 {\nA, 0;\n}\nSchedule_tables {\nT {\nF delay 5 ms;\n"
                                      "U {\nG delay 6 ms;\n}\n}\n");
    EXPECT_EQ("5 warning: section 'Signals' is not closed\n"
              "7 warning: section 'Frames' is not closed\n"
              "8 warning: frame 'F' is not closed\n"
              "14 warning: schedule table 'T' is not closed\n",
              problemsOf(database));
    EXPECT_EQ("F 5000; G 6000; ", cycleTimesOf(database));
    EXPECT_EQ("F: A ; G: A ; ", namesOf(database));
}

TEST(LdfReader, forgottenSemicolonCostsNothing) {
    Database const database = readLdf(
        std::string(header) + "Signals {\nA: 8, 0, M\nB: 8, 0, M;\n}\nFrames {\nF: 1, M, 2 {\nA, 0\nB, 8 }\n}\n");
    EXPECT_EQ("6 warning: ';' is missing after 'M'\n11 warning: ';' is missing after '0'\n"
              "12 warning: ';' is missing after '8'\n",
              problemsOf(database));
    EXPECT_EQ("F: A B ; ", namesOf(database));
}

TEST(LdfReader, commentThatIsNotClosedIsReported) {
    EXPECT_EQ("16 error: the comment that opens here is not closed; the rest of the file is left out\n",
              problemsOf(readWithFrames("/* Nodes { }\n")));
}

TEST(LdfReader, utf16IsRefused) {
    EXPECT_EQ("0 error: the file is UTF-16 text; save it as UTF-8 or Windows-1252\n",
              problemsOf(readLdf(std::string("\xFF\xFEL\0I\0N\0", 8))));
}

TEST(LdfReader, damagedFileStaysInItsRanges) {
    std::string const file =
        std::string(header) +
        "Nodes { Master: M, 5 ms, 0.1 ms; Slaves: S; }\nSignals { A: 8, 0, M, S; B: 16, {1, 2}, S; }\n"
        "Diagnostic_signals { D: 8, 0; }\nFrames { F: 0x1, M, 3 { A, 0; B, 8; }\n G: 33, S { A, 3; } }\n"
        "Diagnostic_frames { MasterReq: 60 { D, 56; } }\nSporadic_frames { P: F; }\n"
        "Event_triggered_frames { E: T, 57, F, G; }\n"
        "Schedule_tables { T { F delay 10 ms; AssignNAD { S } delay 5 ms; }\nU { G delay 1 ms; } }\n"
        "Signal_encoding_types { N { logical_value, 0, \"off\"; physical_value, 1, 254, 0.5, -40, \"\xC2\xB0\"; } }\n"
        "Signal_representation { N: A, B; } /* end */\n";
    Database const database = readLdf(file);
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("F: A B ; G: A ; MasterReq: D ; ", namesOf(database));
    expectRangesWhateverDamage(readLdf, file, "\"{}:;,=-.0129 \n/*\x80x");
}

TEST(LdfReader, hostileFilesTakeLinearTime) {
    for (char const* pattern : {"/*", "\"\n", "{", "}", "Signals {\n", "Frames {\nF: 1, M {\n"})
        expectLinearTime(readLdf, "", pattern);
    for (char const* pattern : {"A: 8, {", "A: 8, \"\n", "A { "})
        expectLinearTime(readLdf, "Signals {\n", pattern);
    expectLinearTime(readLdf, "Frames {\n", "F: 1, M {\n");
    expectLinearTime(readLdf, "Frames {\nF: 1, M {\n", "A: 1, ");
    expectLinearTime(readLdf, "Schedule_tables {\nT {\n", "A { x ");
    expectLinearTime(readLdf, "Signal_encoding_types {\nE {\n", "logical_value, 0, \"\n");
}

} // namespace qztool
