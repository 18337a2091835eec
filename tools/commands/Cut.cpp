// qzsignal cut: writes the stretches of a recorded drive around each moment of a condition, as recordings.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/Numbers.h"
#include "tools/base/StopRequest.h"
#include "tools/console/ConditionRun.h"
#include "tools/cut/RecordingCut.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>

namespace qztool {

namespace {

struct Options {
    ConditionOptions condition;
    double before = 5; // seconds
    double after = 10; // likewise
    std::string pattern;
    bool json = false;
};

CutPlan planOf(Options const& options) {
    CutPlan plan;
    plan.before = microseconds(options.before);
    plan.after = microseconds(options.after);
    plan.least = microseconds(options.condition.least);
    plan.pattern = options.pattern;
    plan.recording = options.condition.recording.path;
    plan.times = options.condition.recording.times();
    plan.condition = options.condition.expression;
    return plan;
}

std::string counted(std::uint64_t count, char const* thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

class Cut : private CutListener {
public:
    Cut(Options const& options, Console& console)
        : d_options(options), d_console(console), d_run(options.condition, console, d_stop) {}

    int run() {
        if (ExitStatus const prepared = d_run.prepare(); prepared != exitSuccess)
            return prepared;
        RecordingCut cut(planOf(d_options), d_run.condition(), d_run.recording(), *this);
        d_run.run(cut);
        if (d_failed) {
            d_run.hideProgress();
            return exitNotWritten;
        }
        ExitStatus const status = d_run.finish(cut.found());
        if (cut.leftOut() != 0)
            d_console.warning(counted(cut.leftOut(), "frame"),
                              " of other buses than CAN left out: candump text cannot hold them");
        return status;
    }

private:
    void onFile(CutRecording const& file) override {
        d_run.hideProgress();
        if (d_options.json)
            printJson(file);
        else
            d_console.results() << file.path << ": " << counted(file.frames, "frame") << " from "
                                << secondsText(file.first) << " to " << secondsText(file.last) << ", "
                                << counted(file.moments, "moment") << "\n";
        if (d_run.recording().isLive())
            d_console.results().flush();
        if (file.endsEarly && stopRequested())
            d_console.note("interrupted: '", file.path, "' ends before its stretch does");
    }

    void printJson(CutRecording const& file) {
        nlohmann::ordered_json json;
        json["file"] = file.path;
        json["first"] = file.first;
        json["last"] = file.last;
        json["frames"] = file.frames;
        json["moments"] = file.moments;
        d_console.results() << json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
    }

    void onFailure(std::string const& path, int error) override {
        d_failed = true;
        d_run.hideProgress();
        if (error != 0)
            d_console.cannotWrite("'" + path + "'", error);
        else
            d_console.error("cannot write the results to '", path, "': it is the recording");
    }

    void onProgress() override { d_run.showProgress(); }

    Options const& d_options;
    Console& d_console;
    SignalStop d_stop;
    ConditionRun d_run;
    bool d_failed = false;
};

} // namespace

std::function<int()> setUpCut(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addConditionOptions(parser, options->condition);
    auto const seconds = CLI::Range(0.0, 1e6).description("");
    parser.add_option("--before", options->before, "What a stretch holds before its moment (5)")
        ->type_name("SECONDS")
        ->check(seconds);
    parser.add_option("--after", options->after, "What it holds after its moment (10)")
        ->type_name("SECONDS")
        ->check(seconds);
    parser
        .add_option(
            "-o,--output", options->pattern,
            "Name of the files, in which %n is the number of each, from 1 (event-%n and the suffix of the format). "
            "Files that exist are overwritten")
        ->type_name("PATTERN");
    parser.add_flag("--json", options->json, "Print an object a line for each file");
    parser.footer(
        std::string(conditionHelp) +
        "\nStretches include their ends, and are one if they overlap or touch. They come in the recording's own\n"
        "text format, else as candump text, with a comment line for each moment. The last seconds before a\n"
        "moment are kept in memory: a line and 16 bytes for each frame, at most twice.\n"
        "\nFields of --json:\n"
        "  file         name of the file\n"
        "  first, last  times of its first and last frame, in microseconds as recorded\n"
        "  frames       number of its frames\n"
        "  moments      number of the moments in it\n" +
        conditionStatusHelp +
        "\nExamples:\n"
        "  qzsignal cut -d car.dbc 'Brake.Pressure > 80' drive.log\n"
        "  qzsignal cut -d car.dbc --for 2 --before 30 -o 'events/stall-%n.asc' 'Engine.Speed == 0' drive.asc\n"
        "  candump -L any | qzsignal cut -d car.dbc 'Engine.Speed.age > 1' -\n");
    return [options, &console] { return Cut(*options, console).run(); };
}

} // namespace qztool
