// qzsignal export.
#include "tests/cli/Drive.h"

#include <nlohmann/json.hpp>

#include <sstream>

namespace {

// Speed is half of the first two bytes less 40; load is the third byte.
constexpr char drive[] = "(1700000001.000000) can0 100#C800FD\n"
                         "(1700000002.500000) can0 200#00\n"
                         "(1700000003.000000) can0 100#C9\n"
                         "(1700000004.000000) can0 100#C900\n"
                         "(1700000005.250000) can0 100#CA0001\n";

class ExportTest : public testing::Test {
protected:
    std::vector<std::string> arguments(std::vector<std::string> const& more) const {
        std::vector<std::string> all = {"export", "-d", d_drive.definitions()};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    std::string log(std::string const& text) { return d_drive.folder().file("drive.log", text); }
    // Speed or load in lines of CSV.
    std::string speed(std::string const& time, std::string const& value) const {
        return time + "," + d_drive.speed() + "," + value + ",km/h,\n";
    }
    std::string load(std::string const& time, std::string const& value) const {
        return time + "," + d_drive.load() + "," + value + ",%,\n";
    }

    Drive d_drive;
};

constexpr char header[] = "time,signal,value,unit,text\n";

TEST_F(ExportTest, writesTheValuesThatFramesCarry) {
    Result const result(arguments({log(drive)}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, header + speed("1700000001.000000", "60") + load("1700000001.000000", "-3") +
                                 speed("1700000004.000000", "60.5") + speed("1700000005.250000", "61") +
                                 load("1700000005.250000", "1"));
    EXPECT_EQ(result.errors, "");
}

TEST_F(ExportTest, jsonLinesHaveTheseFieldsAndNoOthers) {
    std::string const recording = log(drive);
    Result const result(arguments({"--format", "jsonl", recording}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(Result(arguments({"--json", recording})).output, result.output);
    std::istringstream lines(result.output);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "{\"time\":1700000001.000000,\"signal\":\"" + d_drive.speed() +
                        "\",\"value\":60,\"unit\":\"km/h\",\"raw\":200}");
    std::getline(lines, line);
    EXPECT_EQ(nlohmann::json::parse(line),
              nlohmann::json(
                  {{"time", 1700000001.0}, {"signal", d_drive.load()}, {"value", -3}, {"unit", "%"}, {"raw", -3}}));
}

TEST_F(ExportTest, wideHasAColumnForEachSignal) {
    std::string const recording = log(drive);
    std::string const columns = "time," + d_drive.speed() + "," + d_drive.load() + "\n";
    EXPECT_EQ(Result(arguments({"--format", "wide", recording})).output,
              columns + "1700000001.000000,60,-3\n1700000004.000000,60.5,-3\n1700000005.250000,61,1\n");
    EXPECT_EQ(Result(arguments({"--format", "wide", "--step", "1.5", "--relative", recording})).output,
              columns + "0.000000,60,-3\n1.500000,60,-3\n3.000000,60.5,-3\n");
    EXPECT_EQ(
        Result(arguments({"--format", "wide", "--from", "1700000003.5", "--to", "1700000004.5", recording})).output,
        columns + "1700000004.000000,60.5,-3\n");
    EXPECT_EQ(Result(arguments({"--format", "wide", "--only", "*.Load", "--raw", recording})).output,
              "time," + d_drive.load() + "\n1700000001.000000,-3\n1700000005.250000,1\n");
}

TEST_F(ExportTest, wideTakesWords) {
    std::string const definitions = d_drive.folder().file(
        "words.dbc", "BO_ 256 M: 8 X\n SG_ G : 0|8@1+ (1,0) [0|0] \"\" X\nVAL_ 256 G 200 \"Park\" ;\n");
    EXPECT_EQ(Result({"export", "-d", definitions, "--format", "wide", "--text", "--relative", log(drive)}).output,
              "time,M.G\n0.000000,Park\n2.000000,201\n3.000000,201\n4.250000,202\n");
}

TEST_F(ExportTest, timesAreLimitedAsRecordedWithBothEnds) {
    Result const result(arguments(
        {"--from", "1700000001", "--to", "1700000004.000000", "--relative", "--only", "*.Speed", log(drive)}));
    EXPECT_EQ(result.output, header + speed("0.000000", "60") + speed("3.000000", "60.5"));
    EXPECT_EQ(result.status, 0);
}

TEST_F(ExportTest, severalDefinitionsServeOneRecording) {
    std::string const other =
        d_drive.folder().file("other.dbc", "BO_ 512 Other: 1 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n");
    Result const result(arguments({"-d", other, "--only", "*.Load", "--only", "Other.*", "--relative", log(drive)}));
    EXPECT_EQ(result.output, header + load("0.000000", "-3") + "1.500000,Other.S,0,,\n" + load("4.250000", "1"));
}

TEST_F(ExportTest, nothingWrittenIsStatus1) {
    Result const early(arguments({"--to", "5", log(drive)}));
    EXPECT_EQ(early.status, 1);
    EXPECT_EQ(early.output, header);
    EXPECT_TRUE(contains(early.errors, "none of its frames in that time carries a signal that is exported\n"))
        << early.errors;
    Result const others(arguments({log("(1.0) can0 200#00\n")}));
    EXPECT_EQ(others.status, 1);
    EXPECT_TRUE(contains(others.errors, "the definitions define none of its 1 frames")) << others.errors;
    EXPECT_EQ(Result(arguments({log("")})).status, 1);
}

TEST_F(ExportTest, inputsThatAreNotThereAreStatus69) {
    std::string const recording = log(drive);
    for (auto const& each : {arguments({"/nowhere.log"}), arguments({"-d", "/nowhere.dbc", recording}),
                             arguments({"--only", "Nothing*", recording}), arguments({d_drive.folder().name()})}) {
        Result const result(each);
        EXPECT_EQ(result.status, 69) << each.back();
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors.find("qzsignal: error: "), 0U) << result.errors;
    }
}

TEST_F(ExportTest, badDataThroughoutIsStatus65) {
    Result const recording(arguments({log("neither this\nnor that\n")}));
    EXPECT_EQ(recording.status, 65);
    std::string const bad = d_drive.folder().file("bad.dbc", "BO_ nonsense\n");
    Result const definitions({"export", "-d", bad, log(drive)});
    EXPECT_EQ(definitions.status, 65);
    EXPECT_EQ(definitions.output, "");
}

TEST_F(ExportTest, usageErrorsNameTheOption) {
    std::string const recording = log(drive);
    std::pair<std::vector<std::string>, std::string> const cases[] = {
        {{"--from", "soon"}, "--from"},
        {{"--to", "-1"}, "--to"},
        {{"--format", "wide", "--step", "0"}, "--step"},
        {{"--format", "wide", "--step", "0.0000001"}, "--step"},
        {{"--step", "1"}, "--step"},
        {{"--format", "xml"}, "--format"},
        {{"--format", "wide", "--json"}, "--json"}};
    for (auto const& [options, part] : cases) {
        std::vector<std::string> all = options;
        all.push_back(recording);
        Result const result(arguments(all));
        EXPECT_EQ(result.status, 64) << part;
        EXPECT_TRUE(contains(result.errors, part)) << result.errors;
        EXPECT_EQ(result.output, "");
    }
}

TEST_F(ExportTest, writesIntoAFile) {
    std::string const file = d_drive.folder().file("values.csv", std::string(100000, 'x'));
    Result const result(arguments({"--only", "*.Load", "-o", file, log(drive)}));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(contentsOf(file), header + load("1700000001.000000", "-3") + load("1700000005.250000", "1"));
    EXPECT_EQ(Result(arguments({"--only", "*.Load", "-o", "-", log(drive)})).output, contentsOf(file));
}

TEST_F(ExportTest, neverOverwritesWhatItReads) {
    std::string const recording = log(drive);
    for (std::string const& input : {recording, d_drive.definitions()}) {
        std::string const before = contentsOf(input);
        Result const result(arguments({"-o", input, recording}));
        EXPECT_EQ(result.status, 64);
        EXPECT_EQ(result.errors, "qzsignal: error: '" + input + "' is read, and cannot be written at the same time\n");
        EXPECT_EQ(contentsOf(input), before);
    }
}

TEST_F(ExportTest, resultsThatCannotBeWrittenAreStatus74) {
    std::string const recording = log(drive);
    Result const full(arguments({"-o", "/dev/full", recording}));
    EXPECT_EQ(full.status, 74);
    EXPECT_EQ(full.errors, "qzsignal: error: cannot write the results to '/dev/full': No space left on device\n");
    Result const nowhere(arguments({"-o", d_drive.folder().name() + "/no/such.csv", recording}));
    EXPECT_EQ(nowhere.status, 74);
    EXPECT_EQ(nowhere.errors, "qzsignal: error: cannot write the results to '" + d_drive.folder().name() +
                                  "/no/such.csv': No such file or directory\n");
    // It goes before the status of a recording without a value.
    Child toFull("sh|-c|exec \"$0\" \"$@\" >/dev/full|" QZSIGNAL_TEST_COMMAND, arguments({"--to", "5", recording}));
    EXPECT_EQ(toFull.wait(), 74);
    EXPECT_EQ(toFull.errors(), "qzsignal: error: cannot write the results: No space left on device\n");
    Child closed("sh|-c|exec \"$0\" \"$@\" >&-|" QZSIGNAL_TEST_COMMAND, arguments({recording}));
    EXPECT_EQ(closed.wait(), 74);
    EXPECT_TRUE(contains(closed.errors(), "cannot write the results: ")) << closed.errors();
}

TEST_F(ExportTest, readerThatLeavesIsNoFailure) {
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += drivingFrame;
    // Reads two lines and closes the pipe.
    constexpr char reader[] = "import subprocess, sys\n"
                              "command = subprocess.Popen(sys.argv[1:], stdout=subprocess.PIPE)\n"
                              "lines = [command.stdout.readline() for _ in range(2)]\n"
                              "command.stdout.close()\n"
                              "print(lines[0].decode() + lines[1].decode() + str(command.wait()))\n";
    Child command("python3|-c|" + std::string(reader) + "|" + QZSIGNAL_TEST_COMMAND, arguments({log(text)}));
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.output(), header + speed("1700000000.123456", "60") + "0\n");
    EXPECT_EQ(command.errors(), "");
}

// Lines leave while the recording still comes.
TEST_F(ExportTest, liveRecordingIsExportedAsItComes) {
    Command command(arguments({"-"}));
    std::string const first = header + speed("1700000000.123456", "60") + load("1700000000.123456", "-3");
    command.feed(drivingFrame);
    EXPECT_TRUE(waitUntil([&] { return command.output() == first; })) << command.output() << command.errors();
    command.feed("(1700000001.000000) can0 100#C900\n");
    std::string const second = first + speed("1700000001.000000", "60.5");
    EXPECT_TRUE(waitUntil([&] { return command.output() == second; })) << command.output();
    EXPECT_TRUE(command.running());
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.output(), second);
}

TEST_F(ExportTest, wideRowsOfALiveRecordingLeaveWithTheNextTime) {
    Command command(arguments({"--format", "wide", "-"}));
    std::string const columns = "time," + d_drive.speed() + "," + d_drive.load() + "\n";
    command.feed("(1.0) can0 100#C800FD\n");
    EXPECT_TRUE(waitUntil([&] { return command.output() == columns; })) << command.output();
    command.feed("(2.0) can0 100#C900FD\n");
    EXPECT_TRUE(waitUntil([&] { return command.output() == columns + "1.000000,60,-3\n"; })) << command.output();
    command.endInput();
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.output(), columns + "1.000000,60,-3\n2.000000,60.5,-3\n");
}

TEST_F(ExportTest, requestToStopEndsInOrder) {
    Command command(arguments({"-"}));
    command.feed(drivingFrame);
    EXPECT_TRUE(waitUntil([&] { return contains(command.output(), "1700000000.123456"); })) << command.errors();
    command.signal(SIGTERM);
    EXPECT_EQ(command.wait(), 0);
    EXPECT_EQ(command.output(), header + speed("1700000000.123456", "60") + load("1700000000.123456", "-3"));
    EXPECT_EQ(command.errors(), "qzsignal: stopped after 1 frames\n");
}

TEST_F(ExportTest, needsNoSharedMemory) {
    EXPECT_EQ(Result(arguments({log(drive)})).status, 0);
    EXPECT_NE(access(("/tmp/" + d_drive.speed()).c_str(), F_OK), 0);
}

TEST_F(ExportTest, malformedLinesAreReportedAndTheOthersExported) {
    std::string const recording = log(drivingFrame + std::string("(1700000001.0) can0 100#C80\n") + drivingFrame);
    Result const result(arguments({"--only", "*.Speed", recording}));
    EXPECT_EQ(result.output, header + speed("1700000000.123456", "60") + speed("1700000000.123456", "60"));
    EXPECT_EQ(result.errors, "qzsignal: error: " + recording + ":2: odd number of data digits\n");
    EXPECT_EQ(result.status, 0);
}

// What other programs make of it.
class ExportLoadedTest : public ExportTest {
protected:
    // Output of a Python program that gets the exported file; a library that is missing makes it end with status 77.
    std::string loaded(std::vector<std::string> const& options, std::string const& program) {
        std::string const definitions =
            d_drive.folder().file("texts.dbc", "BO_ 256 M: 8 X\n SG_ A : 0|8@1+ (0.1,0) [0|0] \"a,\xC2\xB0\" X\n"
                                               " SG_ B : 8|8@1- (1,0) [0|0] \"\" X\n"
                                               "VAL_ 256 B -1 \"say \\\"no\\\" or, else\" 1 \"two\nlines\" ;\n");
        std::string const recording = d_drive.folder().file(
            "texts.log",
            "(1700000001.000001) can0 100#03FF\n(1700000002.000000) can0 100#0700\n(1700000003.5) can0 100#0801\n");
        std::string const file = d_drive.folder().path("exported");
        std::vector<std::string> all = {"export", "--quiet", "-d", definitions, "-o", file, recording};
        all.insert(all.end(), options.begin(), options.end());
        Result const result(all);
        EXPECT_EQ(result.status, 0) << result.errors;
        Child python("python3", {"-c", program, file});
        d_status = python.wait();
        EXPECT_TRUE(d_status == 0 || d_status == 77) << python.errors();
        return python.output();
    }

    int d_status = 0;
};

TEST_F(ExportLoadedTest, pythonReadsTheCsv) {
    EXPECT_EQ(loaded({},
                     "import csv, sys\n"
                     "for row in csv.DictReader(open(sys.argv[1], encoding='utf-8', newline='')):\n"
                     "    print(ascii((row['time'], row['signal'], float(row['value']), row['unit'], row['text'])))\n"),
              "('1700000001.000001', 'M.A', 0.30000000000000004, 'a,\\xb0', '')\n"
              "('1700000001.000001', 'M.B', -1.0, '', 'say \"no\" or, else')\n"
              "('1700000002.000000', 'M.A', 0.7000000000000001, 'a,\\xb0', '')\n"
              "('1700000002.000000', 'M.B', 0.0, '', '')\n"
              "('1700000003.500000', 'M.A', 0.8, 'a,\\xb0', '')\n"
              "('1700000003.500000', 'M.B', 1.0, '', 'two\\nlines')\n");
}

TEST_F(ExportLoadedTest, pythonReadsTheJsonLines) {
    EXPECT_EQ(loaded({"--json", "--only", "M.B"}, "import json, sys\n"
                                                  "for line in open(sys.argv[1], encoding='utf-8'):\n"
                                                  "    print(ascii(json.loads(line)))\n"),
              "{'time': 1700000001.000001, 'signal': 'M.B', 'value': -1, 'unit': '', 'text': 'say \"no\" or, else', "
              "'raw': -1}\n"
              "{'time': 1700000002.0, 'signal': 'M.B', 'value': 0, 'unit': '', 'raw': 0}\n"
              "{'time': 1700000003.5, 'signal': 'M.B', 'value': 1, 'unit': '', 'text': 'two\\nlines', 'raw': 1}\n");
}

TEST_F(ExportLoadedTest, pandasReadsTheWideTable) {
    std::string const shown =
        loaded({"--format", "wide", "--relative"},
               "import sys\n"
               "try:\n"
               "    import pandas\n"
               "except ImportError:\n"
               "    sys.exit(77)\n"
               "table = pandas.read_csv(sys.argv[1], index_col='time', float_precision='round_trip')\n"
               "print(list(table.index), list(table['M.A']), table['M.B'].sum())\n");
    if (d_status == 77)
        GTEST_SKIP() << "pandas is not installed";
    EXPECT_EQ(shown, "[0.0, 0.999999, 2.499999] [0.30000000000000004, 0.7000000000000001, 0.8] 0\n");
}

TEST_F(ExportLoadedTest, jqReadsTheJsonLines) {
    std::string const shown =
        loaded({"--json"}, "import shutil, subprocess, sys\n"
                           "if not shutil.which('jq'):\n"
                           "    sys.exit(77)\n"
                           "sys.stdout.write(subprocess.run(['jq', '-c', '[.signal, .raw, .text]', "
                           "sys.argv[1]], stdout=subprocess.PIPE, check=True).stdout.decode())\n");
    if (d_status == 77)
        GTEST_SKIP() << "jq is not installed";
    EXPECT_EQ(shown, "[\"M.A\",3,null]\n[\"M.B\",-1,\"say \\\"no\\\" or, else\"]\n[\"M.A\",7,null]\n[\"M.B\",0,null]\n"
                     "[\"M.A\",8,null]\n[\"M.B\",1,\"two\\nlines\"]\n");
}

} // namespace
