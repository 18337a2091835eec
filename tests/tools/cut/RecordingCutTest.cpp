// Stretches around moments, as files.
#include "tools/cut/RecordingCut.h"
#include "tests/tools/moments/MomentsFixture.h"
#include "tests/tools/recordings/blf/BlfBytes.h"
#include "tools/base/TextFile.h"

#include <cerrno>

#include <unistd.h>

namespace qztool {
namespace {

constexpr std::uint64_t second = 1'000'000;

class RecordingCutTest : public MomentsFixture, private CutListener {
protected:
    // Cuts by "Speed > 0" (raw values above 20). The files, each after a line with its name, and then a line for each
    // about what was reported of it.
    std::string cut(std::string const& log, CutPlan plan = oneSecond()) {
        TextReporter reporter;
        CurrentFrame frame;
        DefinitionSet definitions(reporter);
        definitions.load({std::nullopt, dbcFile(d_definitions)});
        SignalSet signals(definitions, frame, reporter);
        DerivedSignals derived;
        Condition condition("Speed > 0", definitions, derived, reporter);
        EXPECT_TRUE(condition.resolve());
        signals.buildNamed({condition.signals().begin(), condition.signals().end()});
        EXPECT_EQ(condition.compile(), Condition::Compiled::Ready) << reporter.text();
        NeverStop stop;
        plan.recording = file("recording", log);
        if (!d_linkName.empty())
            EXPECT_EQ(link(plan.recording.c_str(), d_linkName.c_str()), 0);
        plan.condition = "Speed\n>\t0";
        plan.pattern = d_folder + "/" + (plan.pattern.empty() ? "e%n.txt" : plan.pattern);
        RecordingReader recording(plan.recording, stop, plan.times);
        Drive drive(recording, definitions.channels(), frame, stop);
        RecordingCut recordingCut(plan, condition, recording, *this);
        d_report.clear();
        drive.run(recordingCut);
        d_leftOut = recordingCut.leftOut();
        EXPECT_EQ(recordingCut.found(), !d_report.empty());
        std::string text;
        for (std::string const& path : d_cutFiles) {
            std::string content;
            EXPECT_EQ(readTextFile(path, content), "");
            text += path.substr(d_folder.size() + 1) + ":\n" + content;
            unlink(path.c_str());
        }
        d_cutFiles.clear();
        return text + d_report;
    }

    static CutPlan oneSecond() {
        CutPlan plan;
        plan.before = plan.after = second;
        return plan;
    }

    std::uint64_t d_leftOut = 0;
    std::string d_linkName; // a further name that the recording gets; empty: none

private:
    void onFile(CutRecording const& cut) override {
        d_cutFiles.push_back(cut.path);
        d_report += std::to_string(cut.frames) + " frames " + std::to_string(cut.first) + " to " +
                    std::to_string(cut.last) + ", " + std::to_string(cut.moments) + " moments" +
                    (cut.endsEarly ? ", ends early\n" : "\n");
    }
    void onFailure(std::string const& path, int error) override {
        d_report += "failed: " + path.substr(path.rfind('/') + 1) + " " + std::to_string(error) + "\n";
    }

    std::vector<std::string> d_cutFiles;
    std::string d_report;
};

TEST_F(RecordingCutTest, stretchIncludesItsEnds) {
    EXPECT_EQ(cut("(1.999999) can0 200#01\n(2.0) can0 200#02\n(2.5) can0 100#00\n(3.0) can0 100#FF\n(3.5) can0 200#R\n"
                  "(4.0) can0 200#03\n(4.000001) can0 200#04\n(9.0) can0 200#05\n"),
              "e1.txt:\n(2.0) can0 200#02\n(2.5) can0 100#00\n# 3.000000 true (line 4): Speed > 0\n(3.0) can0 100#FF\n"
              "(3.5) can0 200#R\n(4.0) can0 200#03\n5 frames 2000000 to 4000000, 1 moments\n");
}

TEST_F(RecordingCutTest, eachStretchHasAFile) {
    CutPlan plan = oneSecond();
    plan.before = 0;
    EXPECT_EQ(
        cut("(1.0) can0 100#00\n(3.0) can0 100#FF\n(3.5) can0 100#00\n(8.0) can0 100#FE\n(9.5) can0 200#00\n", plan),
        "e1.txt:\n# 3.000000 true (line 2): Speed > 0\n(3.0) can0 100#FF\n(3.5) can0 100#00\n"
        "e2.txt:\n# 8.000000 true (line 4): Speed > 0\n(8.0) can0 100#FE\n"
        "2 frames 3000000 to 3500000, 1 moments\n1 frames 8000000 to 8000000, 1 moments\n");
}

TEST_F(RecordingCutTest, stretchesThatOverlapOrTouchAreOne) {
    std::string const start = "(3.0) can0 100#FF\n(3.5) can0 100#00\n(4.2) can0 200#01\n";
    EXPECT_EQ(cut(start + "(5.0) can0 100#FF\n"), "e1.txt:\n# 3.000000 true (line 1): Speed > 0\n(3.0) can0 100#FF\n"
                                                  "(3.5) can0 100#00\n(4.2) can0 200#01\n"
                                                  "# 5.000000 true (line 4): Speed > 0\n(5.0) can0 100#FF\n"
                                                  "4 frames 3000000 to 5000000, 2 moments, ends early\n")
        << "with the frames between them, once";
    EXPECT_EQ(cut(start + "(5.000001) can0 100#FF\n(7) can0 200#\n"),
              "e1.txt:\n# 3.000000 true (line 1): Speed > 0\n(3.0) can0 100#FF\n(3.5) can0 100#00\n"
              "e2.txt:\n(4.2) can0 200#01\n# 5.000001 true (line 4): Speed > 0\n(5.000001) can0 100#FF\n"
              "2 frames 3000000 to 3500000, 1 moments\n2 frames 4200000 to 5000001, 1 moments\n");
    EXPECT_EQ(cut("(3.0) can0 100#FF\n(3.1) can0 100#00\n(3.2) can0 100#FF\n(4.1) can0 200#01\n(4.3) can0 200#02\n"),
              "e1.txt:\n# 3.000000 true (line 1): Speed > 0\n(3.0) can0 100#FF\n(3.1) can0 100#00\n"
              "# 3.200000 true (line 3): Speed > 0\n(3.2) can0 100#FF\n(4.1) can0 200#01\n"
              "4 frames 3000000 to 4100000, 2 moments\n");
}

TEST_F(RecordingCutTest, conditionMayHaveToHold) {
    CutPlan plan = oneSecond();
    plan.least = 2 * second;
    EXPECT_EQ(
        cut("(1.0) can0 100#FF\n(1.5) can0 200#01\n(2.5) can0 200#02\n(3.5) can0 200#03\n(4.5) can0 200#04\n", plan),
        "e1.txt:\n(2.5) can0 200#02\n# 3.000000 true (line 3): Speed > 0\n(3.5) can0 200#03\n"
        "2 frames 2500000 to 3500000, 1 moments\n");
    EXPECT_EQ(cut("(1.0) can0 100#FF\n(2.5) can0 200#02\n(3.0) can0 200#03\n", plan),
              "e1.txt:\n(2.5) can0 200#02\n(3.0) can0 200#03\n# 3.000000 true (line 3): Speed > 0\n"
              "2 frames 2500000 to 3000000, 1 moments, ends early\n")
        << "found at the end";
}

TEST_F(RecordingCutTest, stretchesDoNotReachAcrossSeams) {
    EXPECT_EQ(
        cut("(9.0) can0 200#01\n(9.5) can0 100#FF\n(8.6) can0 200#02\n(7.5) can0 200#03\n(7.6) can0 100#00\n"
            "(7.7) can0 100#FF\n"),
        "e1.txt:\n(9.0) can0 200#01\n# 9.500000 true (line 2): Speed > 0\n(9.5) can0 100#FF\n(8.6) can0 200#02\n"
        "e2.txt:\n(7.5) can0 200#03\n(7.6) can0 100#00\n# 7.700000 true (line 6): Speed > 0\n(7.7) can0 100#FF\n"
        "3 frames 9000000 to 8600000, 1 moments, ends early\n3 frames 7500000 to 7700000, 1 moments, ends early\n")
        << "less than a second is disorder";
    std::string const header = "base hex  timestamps absolute\n";
    EXPECT_EQ(cut(header + " 1.0 1 100 Rx d 1 FF\n" + header + " 1.1 1 100 Rx d 1 00\n"),
              "e1.txt:\n" + header +
                  "// 1.000000 true (line 2): Speed > 0\n 1.0 1 100 Rx d 1 FF\n"
                  "1 frames 1000000 to 1000000, 1 moments, ends early\n");
}

TEST_F(RecordingCutTest, withoutAMomentThereIsNoFile) {
    EXPECT_EQ(cut("(1.0) can0 100#00\n"), "");
    EXPECT_NE(access((d_folder + "/e1.txt").c_str(), F_OK), 0);
}

TEST_F(RecordingCutTest, ascLogsKeepTheirHeader) {
    std::string const header = "date Sat Sep 30 15:06:13.191 2017\nbase dec  timestamps absolute\n// version 9.0.0\n"
                               "Begin Triggerblock\n";
    EXPECT_EQ(cut(header + "   1.0 1  256 Rx d 2 255 0 Length = 0\n   1.5 1 Statistic: D 0\n   1.6 Li 5 Rx 1 7\n"
                           "   3.0 1  256 Rx d 2 0 0\nEnd TriggerBlock\n"),
              "e1.txt:\n" + header +
                  "// 1.000000 true (line 5): Speed > 0\n   1.0 1  256 Rx d 2 255 0 Length = 0\n   1.6 Li 5 Rx 1 7\n"
                  "End TriggerBlock\n2 frames 1000000 to 1600000, 1 moments\n");
}

TEST_F(RecordingCutTest, relativeTimesOfAscLogsAreAddedUp) {
    std::string const log = "date Sat Sep 30 15:06:13.000 2017\nbase hex  timestamps relative\n"
                            " 5.0 1 200 Rx d 1 00\n 2.0 1 100 Rx d 1 FF\n 0.5 1 ErrorFrame\n 3.0 1 200 Rx d 1 00\n";
    std::string const files = "e1.txt:\ndate Sat Sep 30 15:06:13.000 2017\nbase hex timestamps absolute\n";
    EXPECT_EQ(cut(log), files + "// 7.000000 true (line 4): Speed > 0\n 7.000000 1 100 Rx d 1 FF\n"
                                " 7.500000 1 ErrorFrame\n2 frames 7000000 to 7500000, 1 moments\n");
    CutPlan plan = oneSecond();
    plan.times = FrameTimes::Since1970;
    std::string const absolute = cut(log, plan);
    EXPECT_NE(absolute.find("\n 7.000000 1 100 Rx d 1 FF\n 7.500000 1 ErrorFrame\n"), std::string::npos) << absolute;
    EXPECT_EQ(absolute.rfind(files + "// 15067", 0), 0U) << absolute;
}

TEST_F(RecordingCutTest, trcLogsKeepTheirHeader) {
    std::string const header = ";$FILEVERSION=2.1\n;$STARTTIME=43008.5\n;$COLUMNS=N,O,T,B,I,d,R,L,D\n; Message\n";
    EXPECT_EQ(
        cut(header + " 1 1000.0 DT 1 0200 Rx - 1 05\n 2 3000.5 DT 1 0100 Rx - 2 FF 00\n 3 3100.0 RR 1 0100 Rx - 8\n"),
        "e1.txt:\n" + header +
            "; 3.000500 true (line 6): Speed > 0\n 2 3000.5 DT 1 0100 Rx - 2 FF 00\n 3 3100.0 RR 1 0100 Rx - 8\n"
            "2 frames 3000500 to 3100000, 1 moments, ends early\n");
}

TEST_F(RecordingCutTest, linesOfAScreenStayUnlessTheirTimesDependOnOthers) {
    EXPECT_EQ(cut(" (1700000001.500000)  can3  100   [2]  FF 00\n"),
              "e1.txt:\n# 1700000001.500000 true (line 1): Speed > 0\n (1700000001.500000)  can3  100   [2]  FF 00\n"
              "1 frames 1700000001500000 to 1700000001500000, 1 moments, ends early\n");
    EXPECT_EQ(cut(" (000.000000)  can3  100   [1]  00\n (001.500000)  can3  100   [2]  FF 00\n"
                  " (000.250000)  can3  200   [0]\n"),
              "e1.txt:\n# 1.500000 true (line 2): Speed > 0\n(0000000001.500000) can3 100#FF00\n"
              "(0000000001.750000) can3 200#\n2 frames 1500000 to 1750000, 1 moments, ends early\n");
}

TEST_F(RecordingCutTest, otherRecordingsBecomeCandumpText) {
    auto const can = [](unsigned identifier, std::string const& data, std::uint64_t time) {
        return blf::object(1, Fields(16).set(0, 2, 2).set(3, 1, data.size()).set(4, 4, identifier).set(8, data).bytes(),
                           time * 1000);
    };
    std::string const lin =
        blf::object(11, Fields(20).set(0, 2, 1).set(2, 1, 5).set(3, 1, 1).set(4, "x").bytes(), 1'100'000'000);
    EXPECT_EQ(
        cut(blf::fileHeader() + blf::stored(can(0x100, {'\xFF', '\x12'}, 1'000'000) + lin +
                                            can(0x80000200, {'\x07'}, 1'500'000) + can(0x100, {'\xFF'}, 3'000'000))),
        "e1.txt:\n# 1.000000 true (object 1): Speed > 0\n(0000000001.000000) can2 100#FF12\n"
        "(0000000001.500000) can2 00000200#07\n2 frames 1000000 to 1500000, 1 moments\n");
    EXPECT_EQ(d_leftOut, 1U);
}

TEST_F(RecordingCutTest, filesAreNumbered) {
    std::string const log = "(1.0) can0 100#FF\n(2.0) can0 100#00\n(5.0) can0 100#FF\n(9.0) can0 200#00\n";
    auto const namesOf = [&](std::string const& pattern) {
        CutPlan plan;
        plan.before = plan.after = 0;
        plan.pattern = pattern;
        std::string names;
        std::string const text = cut(log, plan);
        for (std::size_t end = text.find(":\n#"); end != std::string::npos; end = text.find(":\n#", end + 1)) {
            std::size_t const begin = text.rfind('\n', end) + 1;
            names += text.substr(begin, end - begin) + " ";
        }
        return names;
    };
    EXPECT_EQ(namesOf("a-%n-%n.log"), "a-1-1.log a-2-2.log ");
    EXPECT_EQ(namesOf("stall.log"), "stall.log stall-2.log ");
    EXPECT_EQ(namesOf("stall"), "stall stall-2 ");
    EXPECT_EQ(namesOf(".stall"), ".stall .stall-2 ");
}

TEST_F(RecordingCutTest, failuresEndTheCut) {
    CutPlan plan = oneSecond();
    plan.pattern = "no-folder/e.log";
    std::string const log = "(1.0) can0 100#FF\n(1.5) can0 100#00\n(5.0) can0 100#FF\n";
    EXPECT_EQ(cut(log, plan), "failed: e.log " + std::to_string(ENOENT) + "\n");
    plan.pattern = "../../../../dev/full";
    EXPECT_EQ(cut(log, plan), "failed: full " + std::to_string(ENOSPC) + "\n");
}

TEST_F(RecordingCutTest, recordingIsNotOverwritten) {
    CutPlan plan = oneSecond();
    std::string const log = "(1.0) can0 100#FF\n(5.0) can0 100#FF\n";
    plan.pattern = "same";
    d_linkName = d_folder + "/same";
    EXPECT_EQ(cut(log, plan), "failed: same 0\n");
    std::string content;
    EXPECT_EQ(readTextFile(d_linkName, content), "");
    EXPECT_EQ(content, log);
    unlink(d_linkName.c_str());
}

} // namespace
} // namespace qztool
