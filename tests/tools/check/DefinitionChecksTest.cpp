// Definitions against themselves.
#include "tests/tools/check/CheckFixture.h"
#include "tools/check/NameHints.h"

namespace qztool {

namespace {

class DefinitionChecks : public CheckFixture {
protected:
    // Findings about a message M of 8 bytes, on line 1, with these lines after it.
    std::string findings(CheckKind kind, std::string const& lines) {
        return textOf(checkDbc("BO_ 256 M: 8 X\n" + lines), kind);
    }
};

TEST_F(DefinitionChecks, signalsThatShareBitsAreFoundOnTheLaterLine) {
    EXPECT_EQ(findings(CheckKind::Overlap, " SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ B : 7|4@1+ (1,0) [0|0] \"\" X\n"
                                           " SG_ C : 16|8@1+ (1,0) [0|0] \"\" X\n"),
              "3 M.B 1: 'M.B' shares bits with 'A' (line 2)\n");
    // The bits of a big endian signal go on with the highest of the next byte.
    EXPECT_EQ(findings(CheckKind::Overlap, " SG_ A : 7|12@0+ (1,0) [0|0] \"\" X\n SG_ B : 8|4@1+ (1,0) [0|0] \"\" X\n"
                                           " SG_ C : 12|1@1+ (1,0) [0|0] \"\" X\n"),
              "4 M.C 1: 'M.C' shares bits with 'A' (line 2)\n");
}

TEST_F(DefinitionChecks, signalOverManyOthersIsOneFinding) {
    EXPECT_EQ(findings(CheckKind::Overlap,
                       " SG_ Group : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ A : 0|4@1+ (1,0) [0|0] \"\" X\n"
                       " SG_ B : 4|4@1+ (1,0) [0|0] \"\" X\n"),
              "2 M.Group 2: 'M.Group' shares bits with 'A' (line 3), 'B' (line 4)\n");
    std::string lines = " SG_ Group : 0|8@1+ (1,0) [0|0] \"\" X\n";
    for (int i = 0; i < 8; ++i)
        lines += " SG_ S" + std::to_string(i) + " : " + std::to_string(i) + "|1@1+ (1,0) [0|0] \"\" X\n";
    EXPECT_EQ(findings(CheckKind::Overlap, lines), "2 M.Group 8: 'M.Group' shares bits with 'S0' (line 3), 'S1' (line "
                                                   "4), 'S2' (line 5), 'S3' (line 6) and 4 more\n");
}

TEST_F(DefinitionChecks, multiplexorsSeparateSignals) {
    std::string const selector = " SG_ Mux M : 0|8@1+ (1,0) [0|0] \"\" X\n";
    EXPECT_EQ(findings(CheckKind::Overlap, selector + " SG_ A m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                                      " SG_ B m2 : 8|8@1+ (1,0) [0|0] \"\" X\n"),
              "");
    EXPECT_EQ(findings(CheckKind::Overlap, selector + " SG_ A m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                                      " SG_ B m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                                      " SG_ C m3 : 0|8@1+ (1,0) [0|0] \"\" X\n"),
              "4 M.B 1: 'M.B' shares bits with 'A' (line 3)\n5 M.C 1: 'M.C' shares bits with 'Mux' (line 2)\n");
    EXPECT_EQ(findings(CheckKind::Overlap, selector + " SG_ A m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                                      " SG_ B : 8|8@1+ (1,0) [0|0] \"\" X\n"),
              "4 M.B 1: 'M.B' shares bits with 'A' (line 3)\n");
}

TEST_F(DefinitionChecks, rangesOfMultiplexorsAndMultiplexorsAboveSeparateSignals) {
    std::string const signals = " SG_ Mux M : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ Sub m1M : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                " SG_ A m0 : 16|8@1+ (1,0) [0|0] \"\" X\n SG_ B m0 : 16|8@1+ (1,0) [0|0] \"\" X\n";
    auto const ranges = [](std::string const& ofA, std::string const& ofB) {
        return "SG_MUL_VAL_ 256 Sub Mux 1-1;\nSG_MUL_VAL_ 256 A " + ofA + ";\nSG_MUL_VAL_ 256 B " + ofB + ";\n";
    };
    EXPECT_EQ(findings(CheckKind::Overlap, signals + ranges("Sub 0-3, 8-9", "Sub 4-7, 10-20")), "");
    EXPECT_EQ(findings(CheckKind::Overlap, signals + ranges("Sub 0-3, 8-9", "Sub 4-8")),
              "5 M.B 1: 'M.B' shares bits with 'A' (line 4)\n");
    EXPECT_EQ(findings(CheckKind::Overlap, signals + ranges("Sub 0-3", "Mux 2-2")), "") << "Sub needs 1 of Mux";
    EXPECT_EQ(findings(CheckKind::Overlap, signals + ranges("Sub 0-3", "Mux 1-2")),
              "5 M.B 1: 'M.B' shares bits with 'A' (line 4)\n");
}

TEST_F(DefinitionChecks, bitsOutsideTheFrameAreFoundOnce) {
    std::vector<Finding> const found =
        checkDbc("BO_ 256 M: 2 X\n SG_ A : 8|8@1+ (1,0) [0|0] \"\" X\n SG_ B : 16|8@1+ (1,0) [0|0] \"\" X\n");
    EXPECT_EQ(textOf(found, CheckKind::Outside), "3 M.B 1: 'M.B' reaches into byte 3, but the message has 2 bytes\n");
    EXPECT_EQ(found.size(), 1U);
    EXPECT_EQ(d_others.text(), "") << "the reader's own warning is the finding";
}

TEST_F(DefinitionChecks, selectorsOfNoMultiplexorAreDead) {
    std::string const selector = " SG_ Mux M : 0|2@1+ (1,0) [0|0] \"\" X\n";
    EXPECT_EQ(findings(CheckKind::DeadSelector, selector + " SG_ A m3 : 8|8@1+ (1,0) [0|0] \"\" X\n"), "");
    EXPECT_EQ(findings(CheckKind::DeadSelector, selector + " SG_ A m4 : 8|8@1+ (1,0) [0|0] \"\" X\n"),
              "3 M.A 1: 'M.A' is selected by value 4, which multiplexor 'Mux' with 2 bits never has\n");
    EXPECT_EQ(findings(CheckKind::DeadSelector, selector + " SG_ A m0 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                                                           "SG_MUL_VAL_ 256 A Mux 1-1, 2-5;\n"),
              "3 M.A 1: 'M.A' is selected by values 2 to 5, which multiplexor 'Mux' with 2 bits does not reach\n");
    // What is left out because nothing can select it.
    EXPECT_EQ(findings(CheckKind::DeadSelector, " SG_ A m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"),
              "2 - 1: SG_ 'A': marked as selected by a multiplexor, but message '"
              "M' has none; left out\n");
}

TEST_F(DefinitionChecks, namesAndIdentifiersThatAreThereTwice) {
    std::string const signal = " SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n";
    EXPECT_EQ(findings(CheckKind::Duplicate, signal + signal),
              "3 - 1: SG_ 'A': duplicate signal name, first defined on line 2; left out\n");
    EXPECT_EQ(findings(CheckKind::Duplicate, signal + "BO_ 257 M: 8 X\n"),
              "3 - 1: BO_ 257 'M': duplicate message name, first defined on line 1; left out with its signals\n");
    EXPECT_EQ(findings(CheckKind::Duplicate, signal + "BO_ 256 N: 8 X\n" + signal),
              "3 - 1: 'N' has the same identifier, 100, as 'M' (line 1)\n");
    EXPECT_EQ(findings(CheckKind::Duplicate, signal + "BO_ 2147483904 N: 8 X\n" + signal), "") << "one is extended";
    EXPECT_EQ(findings(CheckKind::Duplicate, signal + "VAL_ 256 A 0 \"a\" ;\nVAL_ 256 A 1 \"b\" ;\n"),
              "4 - 1: VAL_ 256 'A': line 3 gives this signal its values already; left out\n");
}

TEST_F(DefinitionChecks, namesOfSeveralFilesAreDuplicatesAsWell) {
    std::string const path = dbcFile("BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n");
    EXPECT_EQ(textOf(check({path, path}), CheckKind::Duplicate),
              "2 - 1: 'M.A' is defined already, at " + path + ":2\n");
}

TEST_F(DefinitionChecks, rangesThatTheBitsCannotReach) {
    auto const range = [this](std::string const& place, std::string const& limits) {
        return findings(CheckKind::Range, " SG_ A : 0|" + place + " " + limits + " \"\" X\n");
    };
    EXPECT_EQ(range("8@1+ (1,0)", "[0|255]"), "");
    EXPECT_EQ(range("8@1+ (1,0)", "[0|0]"), "") << "nothing is stated";
    EXPECT_EQ(range("8@1+ (1,0)", "[0|256]"),
              "2 M.A 1: 'M.A': its range is [0|256], but its 8 bits reach from 0 to 255\n");
    EXPECT_EQ(range("8@1+ (0.5,-40)", "[-50|80]"),
              "2 M.A 1: 'M.A': its range is [-50|80], but its 8 bits reach from -40 to 87.5\n");
    EXPECT_EQ(range("8@1- (1,0)", "[-128|127]"), "");
    EXPECT_EQ(range("8@1- (1,0)", "[0|255]"),
              "2 M.A 1: 'M.A': its range is [0|255], but its 8 bits reach from -128 to 127\n");
    EXPECT_EQ(range("8@1+ (-2,0)", "[-510|0]"), "");
    EXPECT_EQ(range("8@1+ (1,0)", "[9|1]"), "2 M.A 1: 'M.A': its range [9|1] runs backwards\n");
    EXPECT_EQ(range("1@1+ (1,0)", "[0|3]"), "2 M.A 1: 'M.A': its range is [0|3], but its 1 bit reaches from 0 to 1\n");
    EXPECT_EQ(range("64@1+ (1,0)", "[0|1.84467440737096E+019]"), "");
    EXPECT_EQ(range("64@1- (1,0)", "[-9.22337203685478E+018|9.22337203685478E+018]"), "");
}

TEST_F(DefinitionChecks, roundedRangesAreReached) {
    auto const range = [this](std::string const& place, std::string const& limits) {
        return findings(CheckKind::Range, " SG_ A : 0|" + place + " " + limits + " \"\" X\n");
    };
    EXPECT_EQ(range("8@1+ (0.392157,0)", "[0|100]"), "") << "99.999..";
    EXPECT_EQ(range("10@1+ (0.0625,0)", "[0|64]"), "") << "63.9375";
    EXPECT_NE(range("10@1+ (0.0625,0)", "[0|64.2]"), "");
    EXPECT_EQ(range("32@1+ (0.1,0)", "[0|4.29497e+08]"), "") << "six digits of 429496729.5";
}

TEST_F(DefinitionChecks, floatingPointNumbersReachWhatTheyHold) {
    auto const range = [this](std::string const& limits) {
        return findings(CheckKind::Range, " SG_ A : 0|32@1- (1,0) " + limits + " \"\" X\nSIG_VALTYPE_ 256 A : 1;\n");
    };
    EXPECT_EQ(range("[-3.4E+038|3.4E+038]"), "");
    EXPECT_EQ(range("[0|1E+039]"), "2 M.A 1: 'M.A': its range is [0|1e+39], but its 32 bits reach from "
                                   "-3.40282346638529e+38 to 3.40282346638529e+38\n");
}

TEST_F(DefinitionChecks, wordsThatNoRawValueHas) {
    auto const words = [this](std::string const& place, std::string const& table) {
        return findings(CheckKind::Word, " SG_ A : 0|" + place + " (1,0) [0|0] \"\" X\nVAL_ 256 A " + table + " ;\n");
    };
    EXPECT_EQ(words("2@1+", "0 \"off\" 3 \"on\""), "");
    EXPECT_EQ(words("2@1+", "0 \"off\" 4 \"on\" -1 \"x\""), "2 M.A 2: 'M.A' with 2 bits is never 4 'on', -1 'x'\n");
    EXPECT_EQ(words("8@1-", "-128 \"a\" 127 \"b\""), "");
    EXPECT_EQ(words("8@1-", "255 \"SNA\""), "2 M.A 1: 'M.A' with 8 bits, signed, is never 255 'SNA'\n");
    EXPECT_EQ(words("64@1+", "0 \"a\" 18446744073709551615 \"b\""), "");
    EXPECT_EQ(words("1@1+", "2 \"a\" 3 \"b\" 4 \"c\" 5 \"d\" 6 \"e\""),
              "2 M.A 5: 'M.A' with 1 bit is never 2 'a', 3 'b', 4 'c', 5 'd' and 1 more\n");
}

TEST_F(DefinitionChecks, cycleTimesThatNoBusCanKeep) {
    auto const cycle = [this](std::string const& value) {
        return findings(CheckKind::Cycle, "BA_DEF_ BO_ \"GenMsgCycleTime\" INT 0 65535;\n"
                                          "BA_ \"GenMsgCycleTime\" BO_ 256 " +
                                              value + ";\n");
    };
    EXPECT_EQ(cycle("10"), "");
    EXPECT_EQ(cycle("0"), "") << "none";
    EXPECT_EQ(cycle("-10"), "3 - 1: BA_ 'GenMsgCycleTime': the cycle time '-10' is negative; not used\n");
    EXPECT_EQ(cycle("\"soon\""), "3 - 1: BA_ 'GenMsgCycleTime': 'soon' is not a number; left out\n");
    EXPECT_EQ(cycle("0.01"), "1 - 1: 'M': its cycle time of 1e-05 s is shorter than any frame\n");
}

TEST_F(DefinitionChecks, otherProblemsAreHandedOnOneByOne) {
    std::string text = "BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n";
    for (int i = 0; i < 12; ++i)
        text += "VAL_ 256 B" + std::to_string(i) + " 0 \"a\" ;\n";
    EXPECT_TRUE(checkDbc(text).empty());
    std::size_t lines = 0;
    for (char const c : d_others.text())
        lines += c == '\n' ? 1U : 0U;
    EXPECT_EQ(lines, 12U);
}

TEST_F(DefinitionChecks, otherFormatsSayWhatAProblemIsAbout) {
    std::string const head = "LIN_description_file;\nLIN_protocol_version = \"2.1\";\nLIN_language_version = \"2.1\";\n"
                             "LIN_speed = 19.2 kbps;\nSignals {\nA: 8, 0, M, S;\nA: 8, 0, M, S;\n}\n";
    std::vector<Finding> found =
        check({file("x.ldf", head + "Frames {\nF: 5, M, 2 { A, 12; }\nG: 5, M, 2 { A, 60; }\n}\n")});
    EXPECT_EQ(textOf(found, CheckKind::Outside),
              "10 F.A 1: 'F.A' reaches into byte 3, but the message has 2 bytes\n"
              "11 - 1: frame 'G', signal 'A': it reaches beyond the eight bytes of a LIN frame; left out\n");
    EXPECT_EQ(textOf(found, CheckKind::Duplicate),
              "7 - 1: signal 'A': duplicate signal name, first defined on line 6; left out\n"
              "11 - 1: 'G' has the same identifier, lin 5, as 'F' (line 10)\n");
#ifdef QZSIGNAL_WITH_PUGIXML
    found =
        check({file("x.kcd", "<NetworkDefinition xmlns=\"http://kayak.2codeornot2code.org/1.0\">\n<Bus name=\"b\">\n"
                             "<Message id=\"0x1\" name=\"M\" length=\"8\" interval=\"-5\"/>\n"
                             "<Message id=\"0x2\" name=\"N\" length=\"8\" interval=\"soon\"/>\n"
                             "</Bus>\n</NetworkDefinition>\n")});
    EXPECT_EQ(textOf(found, CheckKind::Cycle), "3 - 1: message 'M': its interval is negative; not used\n"
                                               "4 - 1: message 'N': interval 'soon' is not a number; left out\n");
#endif
}

TEST(NameHints, countersAndChecksumsAreKnownByWords) {
    for (char const* const name :
         {"Counter", "MsgCounter", "ROLLINGCOUNTER", "AliveCtr", "Msg_Cnt", "DI_cntr", "ESP_BZ", "rollCount", "Alive"})
        EXPECT_TRUE(isNamedCounter(name)) << name;
    for (char const* const name : {"Accnt", "Discount", "Speed", "Center", "bzip"})
        EXPECT_FALSE(isNamedCounter(name)) << name;
    for (char const* const name : {"CHECKSUM", "Chksum", "DI_speedChecksum", "CRC8", "Msg_CRC", "EngCrc", "Chk"})
        EXPECT_TRUE(isNamedChecksum(name)) << name;
    for (char const* const name : {"Checkpoint", "Acrc", "CRC_Error", "ChecksumValid", "ChkStatus", "Speed"})
        EXPECT_FALSE(isNamedChecksum(name)) << name;
}

} // namespace

} // namespace qztool
