// Definitions against a recording.
#include "tests/tools/check/CheckFixture.h"
#include "tools/check/Intervals.h"

namespace qztool {

namespace {

class RecordingChecks : public CheckFixture {
protected:
    // Findings about a message M, 0x100 of 8 bytes, on line 1, with these lines after it.
    std::string findings(CheckKind kind, std::string const& lines, std::string const& log) {
        return textOf(checkDbc("BO_ 256 M: 8 X\n" + lines, log), kind);
    }
    // Of values of the first byte, 8 bits, a frame in 10 ms.
    static std::string values(std::vector<unsigned> const& bytes) {
        std::string log;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            char frame[32];
            std::snprintf(frame, sizeof frame, "100#%02X00000000000000", bytes[i]);
            log += frameLine(1.0 + 0.01 * static_cast<double>(i), frame);
        }
        return log;
    }
    static std::string cycle(std::string const& milliseconds) {
        return " SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\nBA_ \"GenMsgCycleTime\" BO_ 256 " + milliseconds + ";\n";
    }
};

constexpr char plain[] = " SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n";

TEST_F(RecordingChecks, identifiersThatAreNotDefinedHaveCountPeriodAndFirstPlace) {
    std::string const log = everyFrame("100", 1, 2, 0.1) + everyFrame("200", 2, 3, 0.1) +
                            everyFrame("300", 3, 4, 0.02) + frameLine(5, "00000100#00");
    EXPECT_EQ(findings(CheckKind::Undefined, plain, log),
              "21 - 50: 300 on channel 0: 50 frames, every 0.02 s (3.000000, 21)\n"
              "11 - 10: 200 on channel 0: 10 frames, every 0.1 s (2.000000, 11)\n"
              "71 - 1: 00000100 on channel 0: 1 frame (5.000000, 71)\n");
}

TEST_F(RecordingChecks, coverageIsTheShareOfWhatIsDefined) {
    checkDbc("BO_ 256 M: 8 X\nBO_ 257 N: 8 X\n" + std::string(plain),
             everyFrame("100", 1, 2, 0.1) + everyFrame("101", 1, 2, 0.1) + everyFrame("300", 3, 4, 0.1) +
                 everyFrame("301", 3, 4, 0.1) + everyFrame("302", 3, 4, 0.1));
    EXPECT_EQ(d_coverage.frames, 0.4) << "a message without signals is defined, too";
    EXPECT_EQ(d_coverage.identifiers, 0.4);
}

TEST_F(RecordingChecks, framesOfOtherChannelsAreNotCoveredAndNotUndefined) {
    std::string const log = "(1.0) can0 100#00\n(1.1) can1 100#00\n(1.2) can1 100#00\n(1.3) can0 100#00\n";
    EXPECT_EQ(findings(CheckKind::Undefined, plain, log), "");
    EXPECT_EQ(d_coverage.frames, 0.5);
    EXPECT_EQ(d_coverage.identifiers, 0.5);
}

TEST_F(RecordingChecks, lengthsThatDiffer) {
    EXPECT_EQ(findings(CheckKind::Length, plain, frameLine(1, "100#0102030405060708")), "");
    EXPECT_EQ(findings(CheckKind::Length, plain,
                       frameLine(1, "100#0102030405060708") + frameLine(2, "100#01") + frameLine(3, "100#0102")),
              "1 - 2: 'M' (100) has 8 bytes, but 2 frames have others, first 1 (2.000000, 2)\n");
    EXPECT_EQ(findings(CheckKind::Length, plain, frameLine(1, "100#01")),
              "1 - 1: 'M' (100) has 8 bytes, but all 1 frame has 1 (1.000000, 1)\n");
}

TEST_F(RecordingChecks, framesOfCanFdAreAsLongAsTheyCanBe) {
    auto const length = [this](unsigned stated, unsigned sent) {
        return textOf(checkDbc("BO_ 256 M: " + std::to_string(stated) + " X\n" + plain,
                               frameLine(1, "100##0" + std::string(2 * static_cast<std::size_t>(sent), '0'))),
                      CheckKind::Length);
    };
    EXPECT_EQ(length(10, 12), "");
    EXPECT_EQ(length(64, 64), "");
    EXPECT_EQ(length(33, 48), "");
    EXPECT_NE(length(10, 16), "");
    EXPECT_NE(length(7, 8), "");
}

TEST_F(RecordingChecks, messagesAndSignalsThatAreNotThereAreNotes) {
    std::vector<Finding> const found =
        checkDbc("BO_ 256 M: 8 X\n SG_ Mux M : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ A m1 : 8|8@1+ (1,0) [0|0] \"\" X\n"
                 " SG_ B m2 : 8|8@1+ (1,0) [0|0] \"\" X\nBO_ 257 N: 8 X\n SG_ C : 0|8@1+ (1,0) [0|0] \"\" X\n",
                 frameLine(1, "100#0100000000000000"));
    EXPECT_EQ(textOf(found, CheckKind::Unseen), "4 M.B 1: no frame carries 'M.B'\n5 - 1: no frame of 'N' (101)\n");
    EXPECT_TRUE(rowOf(CheckKind::Unseen).isNote);
}

TEST_F(RecordingChecks, valuesOutsideTheStatedRange) {
    std::string const signal = " SG_ A : 0|8@1+ (0.5,-10) [0|50] \"\" X\n";
    EXPECT_EQ(findings(CheckKind::OutOfRange, signal, values({20, 120, 121, 10, 121, 60})),
              "2 M.A 3: 'M.A': 3 values outside [0|50], from -5 to 50.5 (1.020000, 3)\n");
    EXPECT_EQ(findings(CheckKind::OutOfRange, signal, values({20, 120})), "");
    EXPECT_EQ(findings(CheckKind::OutOfRange, " SG_ A : 0|8@1+ (0.5,-10) [0|0] \"\" X\n", values({0, 255})), "");
    EXPECT_EQ(findings(CheckKind::OutOfRange, signal + "VAL_ 256 A 255 \"not available\" ;\n", values({255, 254})),
              "2 M.A 1: 'M.A': 1 value outside [0|50], 117 (1.010000, 2)\n")
        << "a value with a word is meant to be one";
    EXPECT_EQ(findings(CheckKind::OutOfRange, " SG_ A : 0|8@1- (1,0) [-2|5] \"\" X\nVAL_ 256 A -128 \"none\" ;\n",
                       values({0x80, 0xFE, 0xFD})),
              "2 M.A 1: 'M.A': 1 value outside [-2|5], -3 (1.020000, 3)\n");
    EXPECT_EQ(findings(CheckKind::OutOfRange, " SG_ A : 0|8@1+ (0.392157,0) [0|99.9] \"\" X\n", values({255})), "")
        << "rounded to the step below";
}

TEST_F(RecordingChecks, numbersThatAreNoneAreOutsideAnyRange) {
    EXPECT_EQ(findings(CheckKind::OutOfRange, " SG_ A : 0|32@1- (1,0) [-1|1] \"\" X\nSIG_VALTYPE_ 256 A : 1;\n",
                       frameLine(1, "100#0000803F00000000") + frameLine(2, "100#0000C07F00000000")),
              "2 M.A 1: 'M.A': 1 value outside [-1|1], nan (2.000000, 2)\n");
}

TEST_F(RecordingChecks, gapsAreLongerThanTenStatedPeriods) {
    std::string const other = everyFrame("200", 1, 5, 0.05);
    EXPECT_EQ(findings(CheckKind::Gap, cycle("100"), everyFrame("100", 1, 2.05, 0.1) + frameLine(3, "100#00")), "")
        << "ten periods";
    EXPECT_EQ(
        findings(CheckKind::Gap, cycle("100"),
                 everyFrame("100", 1, 1.45, 0.1) + frameLine(2.401, "100#00") + frameLine(3.41, "100#00")),
        "1 - 2: 'M' (100): 2 gaps of more than ten periods of 0.1 s (stated), the longest 1.009 s (1.400000, 5)\n");
}

TEST_F(RecordingChecks, gapsAreLongerThanTenLearnedPeriods) {
    EXPECT_EQ(findings(CheckKind::Gap, plain, everyFrame("100", 1, 1.95, 0.1) + frameLine(2.95, "100#00")),
              "1 - 1: 'M' (100): 1 gap of more than ten periods of 0.1 s (learned), of 1.05 s (1.900000, 10)\n");
    // Frames at will have no period.
    EXPECT_EQ(findings(CheckKind::Gap, plain,
                       frameLine(1, "100#00") + frameLine(1.01, "100#00") + frameLine(1.5, "100#00") +
                           frameLine(1.52, "100#00") + frameLine(3, "100#00") + frameLine(3.1, "100#00") +
                           frameLine(9, "100#00")),
              "");
}

TEST_F(RecordingChecks, pausesBetweenBurstsAreNoGaps) {
    std::string log;
    for (int i = 0; i < 10; ++i)
        log += everyFrame("100", 1 + i, 1 + i + 0.045, 0.01);
    EXPECT_EQ(findings(CheckKind::Gap, plain, log), "");
    EXPECT_NE(findings(CheckKind::Gap, cycle("10"), log), "") << "unless it is stated that there are none";
}

TEST_F(RecordingChecks, messageThatFallsSilentHasAGapUpToTheEnd) {
    // A log in order of time.
    EXPECT_EQ(findings(CheckKind::Gap, plain, everyFrame("100", 1, 1.95, 0.1) + everyFrame("200", 1.99, 3.05, 0.1)),
              "1 - 1: 'M' (100): 1 gap of more than ten periods of 0.1 s (learned), of 1.09 s, up to the end "
              "(1.900000, 10)\n");
}

TEST_F(RecordingChecks, gapOfTheWholeRecordingIsOneFinding) {
    std::string definitions, log;
    for (int i = 0; i < 4; ++i)
        definitions += "BO_ " + std::to_string(256 + i) + " M" + std::to_string(i) + ": 8 X\n";
    for (int i = 0; i < 40; ++i)
        for (int j = 0; j < 4; ++j)
            log +=
                frameLine(1 + 0.01 * i + 0.001 * j + (i >= 20 ? 5 : 0), "10" + std::to_string(j) + "#0000000000000000");
    EXPECT_EQ(textOf(checkDbc(definitions + plain, log), CheckKind::Gap),
              "80 - 4: no frame at all for 5.007 s, more than ten periods of 4 messages (1.193000, 80)\n");
}

TEST_F(RecordingChecks, coarseTimesHaveNoGaps) {
    std::string log;
    for (int i = 0; i < 60; ++i)
        log += frameLine(1 + i / 20, "100#0000000000000000") + frameLine(1 + i / 20, "200#00");
    EXPECT_EQ(findings(CheckKind::Gap, cycle("50"), log), "");
    EXPECT_EQ(findings(CheckKind::Period, cycle("50"), log), "");
    EXPECT_NE(findings(CheckKind::Period, cycle("500"), log), "") << "20 frames in a second are there nevertheless";
    EXPECT_EQ(findings(CheckKind::Gap, cycle("50"), "(0.0) can0 100#00\n(0.0) can0 100#00\n"), "") << "no times";
}

TEST_F(RecordingChecks, periodsThatDifferByMoreThanAFifth) {
    std::string const log = everyFrame("100", 1, 3, 0.1);
    EXPECT_EQ(findings(CheckKind::Period, cycle("100"), log), "");
    EXPECT_EQ(findings(CheckKind::Period, cycle("84"), log), "");
    EXPECT_EQ(findings(CheckKind::Period, cycle("120"), log), "");
    EXPECT_EQ(findings(CheckKind::Period, cycle("50"), log),
              "1 - 20: 'M' (100): a frame every 0.1 s, but the stated period is 0.05 s (1.000000, 1)\n");
    EXPECT_EQ(findings(CheckKind::Period, cycle("200"), log),
              "1 - 20: 'M' (100): a frame every 0.1 s, but the stated period is 0.2 s (1.000000, 1)\n");
    EXPECT_EQ(findings(CheckKind::Period, plain, log), "") << "nothing is stated";
    EXPECT_EQ(findings(CheckKind::Period, cycle("100"), log + everyFrame("100", 30, 32, 0.1)), "")
        << "a gap is no other period";
}

TEST_F(RecordingChecks, jitterIsNoOtherPeriod) {
    std::string log;
    for (int i = 0; i < 50; ++i)
        log += frameLine(1 + 0.1 * i + (i % 3 == 0 ? 0.03 : i % 3 == 1 ? -0.03 : 0), "100#0000000000000000");
    EXPECT_EQ(findings(CheckKind::Period, cycle("100"), log), "");
    EXPECT_EQ(findings(CheckKind::Gap, cycle("100"), log), "");
}

TEST_F(RecordingChecks, timesThatStepBackAreTheSeamOfRecordings) {
    std::string const log = everyFrame("100", 100, 102, 0.1) + everyFrame("100", 1, 3, 0.1);
    EXPECT_EQ(findings(CheckKind::Gap, cycle("100"), log), "");
    EXPECT_EQ(findings(CheckKind::Period, cycle("100"), log), "");
}

TEST_F(RecordingChecks, signalsThatNeverChangeAreNotes) {
    EXPECT_EQ(findings(CheckKind::Constant, plain, values({7, 7, 7})), "2 M.A 3: 'M.A' is always 7 (1.000000, 1)\n");
    EXPECT_EQ(findings(CheckKind::Constant, plain, values({7, 7, 8})), "");
    EXPECT_EQ(findings(CheckKind::Constant, plain, values({7})), "") << "one value says nothing";
    EXPECT_TRUE(rowOf(CheckKind::Constant).isNote);
}

TEST_F(RecordingChecks, countersThatSkip) {
    std::string const signal = " SG_ MsgCounter : 0|4@1+ (1,0) [0|0] \"\" X\n";
    std::vector<unsigned> const whole = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2};
    EXPECT_EQ(findings(CheckKind::Counter, signal, values(whole)), "");
    EXPECT_EQ(findings(CheckKind::Counter, signal, values({0, 1, 2, 5, 6, 7, 9, 10})),
              "2 M.MsgCounter 2: 'M.MsgCounter' skips values 2 times in 7 steps (1.030000, 4)\n");
    EXPECT_EQ(findings(CheckKind::Counter, signal, values({0, 1, 1, 2, 2, 3, 4})), "") << "recorded twice";
    EXPECT_EQ(findings(CheckKind::Counter, signal, values({13, 14, 0, 1, 2})), "") << "0 to 14";
    EXPECT_EQ(findings(CheckKind::Counter, signal, values({14, 15, 1, 2, 3})), "") << "1 to 15";
    EXPECT_EQ(findings(CheckKind::Counter, signal, values({0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0})), "") << "learned";
    EXPECT_EQ(findings(CheckKind::Counter, signal, values({0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 1, 2, 3, 0})),
              "2 M.MsgCounter 1: 'M.MsgCounter' skips values 1 time in 15 steps (1.120000, 13)\n");
    EXPECT_EQ(findings(CheckKind::Counter, signal, values({9, 3, 12, 1, 8, 8, 2})), "") << "no counter of frames";
    EXPECT_EQ(findings(CheckKind::Counter, " SG_ Speed : 0|4@1+ (1,0) [0|0] \"\" X\n", values({0, 1, 2, 5, 6})), "")
        << "not by its name";
}

TEST_F(RecordingChecks, checksumsThatStandStill) {
    std::string const signals = " SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ Msg_CRC : 56|8@1+ (1,0) [0|0] \"\" X\n";
    auto const log = [](std::vector<std::pair<unsigned, unsigned>> const& frames) {
        std::string text;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            char frame[32];
            std::snprintf(frame, sizeof frame, "100#%02X000000000000%02X", frames[i].first, frames[i].second);
            text += frameLine(1 + 0.01 * static_cast<double>(i), frame);
        }
        return text;
    };
    EXPECT_EQ(
        findings(CheckKind::Checksum, signals, log({{1, 9}, {2, 9}, {3, 9}})),
        "3 M.Msg_CRC 2: 'M.Msg_CRC' never changes, while the rest of the payload changes 2 times (1.010000, 2)\n");
    EXPECT_EQ(findings(CheckKind::Checksum, signals, log({{1, 9}, {1, 9}, {1, 9}})), "") << "nor does the payload";
    EXPECT_EQ(findings(CheckKind::Checksum, signals, log({{1, 9}, {2, 8}, {3, 8}, {4, 7}, {5, 7}})), "") << "by chance";
    std::vector<std::pair<unsigned, unsigned>> frames = {{0, 1}, {1, 2}};
    for (unsigned i = 2; i < 12; ++i)
        frames.emplace_back(i, 2);
    EXPECT_EQ(
        findings(CheckKind::Checksum, signals, log(frames)),
        "3 M.Msg_CRC 10: 'M.Msg_CRC' stays the same, while the rest of the payload changes 10 times (1.020000, 3)\n");
    EXPECT_EQ(findings(CheckKind::Checksum, " SG_ A : 56|8@1+ (1,0) [0|0] \"\" X\n", log({{1, 9}, {2, 9}, {3, 9}})), "")
        << "not by its name";
}

TEST_F(RecordingChecks, framesOfLinAndTheirEventsAreThoseOfTheirMessages) {
    std::string const definitions =
        file("x.ldf", "LIN_description_file;\nLIN_protocol_version = \"2.1\";\nLIN_language_version = \"2.1\";\n"
                      "LIN_speed = 19.2 kbps;\nSignals {\nA: 8, 0, M, S;\n}\nFrames {\n" +
                          instance("F") + ": 5, M, 2 { A, 8; }\n" + instance("G") +
                          ": 6, M, 2 { A, 8; }\n}\nEvent_triggered_frames {\nE: T, 0x30, " + instance("F") + ";\n}\n");
    std::string const recording = file("drive.asc", "base hex timestamps absolute\n"
                                                    "   1.000000 Li 05 Rx 2 85 10 checksum = 70\n"
                                                    "   2.000000 Li 30 Rx 2 85 c8 checksum = 70\n"
                                                    "   3.000000 Li 30 Rx 2 06 c8 checksum = 70\n"
                                                    "   4.000000 Li 3c Rx 8 01 02 03 04 05 06 07 08 checksum = 70\n"
                                                    "   5.000000 Li 07 Rx 2 06 c8 checksum = 70\n");
    std::vector<Finding> const found = check({definitions}, recording);
    EXPECT_EQ(textOf(found, CheckKind::Undefined), "4 - 1: lin 48 on channel 1: 1 frame (3.000000, 4)\n"
                                                   "6 - 1: lin 7 on channel 1: 1 frame (5.000000, 6)\n")
        << "diagnostics belong to the protocol";
    EXPECT_EQ(textOf(found, CheckKind::Unseen), "10 - 1: no frame of 'G' (lin 6)\n");
    EXPECT_EQ(textOf(found, CheckKind::Length), "");
    EXPECT_EQ(d_coverage.frames, 0.4);
    EXPECT_EQ(d_coverage.identifiers, 0.5);
}

TEST_F(RecordingChecks, messagesOfJ1939AreKnownByTheirGroup) {
    // EEC1 (F004) from source 0, VI (FEEC) of 17 bytes, and one that no frame carries.
    std::string const definitions =
        "BO_ 2565866496 EEC1: 8 X\n SG_ Torque : 0|8@1+ (1,0) [0|200] \"\" X\n"
        "BO_ 2566843392 VI: 17 X\n SG_ First : 0|8@1+ (1,0) [0|255] \"\" X\n SG_ Last : 128|8@1+ (1,0) [0|255] \"\" X\n"
        "BO_ 2566844672 EEC9: 8 X\n SG_ A : 0|8@1+ (1,0) [0|255] \"\" X\n"
        "BA_DEF_ \"ProtocolType\" STRING;\nBA_ \"ProtocolType\" \"J1939\";\n";
    std::vector<Finding> const found = checkDbc(
        definitions, frameLine(1, "0CF0040B#C900000000000000") + frameLine(2, "0CF00400#FF00000000000000") +
                         frameLine(3, "18ECFF00#20110003FFECFE00") + frameLine(3.1, "18EBFF00#0101020304050607") +
                         frameLine(3.2, "18EBFF00#0208090A0B0C0D0E") + frameLine(3.3, "18EBFF00#030F1011FFFFFFFF") +
                         frameLine(4, "18FE0000#00"));
    EXPECT_EQ(textOf(found, CheckKind::OutOfRange),
              "2 EEC1.Torque 1: 'EEC1.Torque': 1 value outside [0|200], 201 (1.000000, 1)\n")
        << "FF is not available";
    EXPECT_EQ(textOf(found, CheckKind::Unseen), "6 - 1: no frame of 'EEC9' (18FEF100)\n");
    EXPECT_EQ(textOf(checkDbc("BO_ 2348810240 TSC1: 8 X\n SG_ Message_Checksum : 60|4@1+ (1,0) [0|0] \"\" X\n"
                              "BA_DEF_ \"ProtocolType\" STRING;\nBA_ \"ProtocolType\" \"J1939\";\n",
                              frameLine(1, "0C000003#00000000000000F0") + frameLine(2, "0C000003#01000000000000F0") +
                                  frameLine(3, "0C000003#02000000000000F0")),
                     CheckKind::Checksum),
              "")
        << "not available";
    EXPECT_EQ(textOf(found, CheckKind::Undefined), "7 - 1: 18FE0000 on channel 0: 1 frame (4.000000, 7)\n")
        << "packets are of messages";
    EXPECT_EQ(textOf(found, CheckKind::Length), "");
}

TEST_F(RecordingChecks, memoryDoesNotGrowWithTheRecording) {
    // Intervals of all lengths are in few classes.
    Intervals intervals;
    for (std::uint64_t i = 1; i < 100000; ++i)
        intervals.add(i, {i, i});
    EXPECT_EQ(intervals.count(), 99999U);
    EXPECT_NEAR(intervals.median(), 50000, 2500);
    EXPECT_NEAR(intervals.mean(), 50000, 1e-6);
    Intervals::Silences const silences = intervals.longerThan(90111);
    EXPECT_EQ(silences.count, 99999U - 90111U);
    EXPECT_EQ(silences.longest, 99999U);
    EXPECT_EQ(silences.first.number, 90112U);
}

} // namespace

} // namespace qztool
