// qzsignal trigger: finds the moments of a recorded drive at which a condition becomes true.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/StopRequest.h"
#include "tools/console/ConditionRun.h"
#include "tools/expression/MomentPrinter.h"
#include "tools/moments/MomentSearch.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace qztool {

namespace {

struct Options {
    ConditionOptions condition;
    std::string format = "text";
    bool level = false;
    bool json = false;
};

MomentFormat formatOf(Options const& options) {
    return options.json || options.format == "json" ? MomentFormat::Json
           : options.format == "csv"                ? MomentFormat::Csv
                                                    : MomentFormat::Text;
}

// Output that no process reads any more is a reason to stop as well.
class OutputStop : public SignalStop {
public:
    explicit OutputStop(std::ostream const& output) : d_output(output) {}
    bool requested() override { return !d_output || SignalStop::requested(); }

private:
    std::ostream const& d_output;
};

class Trigger : private MomentListener {
public:
    Trigger(Options const& options, Console& console)
        : d_console(console),
          d_level(options.level),
          d_stop(console.results()),
          d_run(options.condition, console, d_stop),
          d_printer(console.results(), formatOf(options), options.level) {}

    int run() {
        if (ExitStatus const prepared = d_run.prepare(); prepared != exitSuccess)
            return prepared;
        MomentSearch search(d_run.condition(), d_run.recording(), *this, d_run.least());
        d_run.run(search);
        d_run.hideProgress();
        d_printer.begin(d_run.recording().placeKind());
        return d_run.finish(search.found());
    }

private:
    void onMoment(Moment const& moment) override {
        if (!d_level)
            print(moment);
    }

    void onMomentOver(Moment const& moment) override {
        if (d_level)
            print(moment);
    }

    void onSearch() override { d_run.showProgress(); }

    void print(Moment const& moment) {
        d_run.hideProgress();
        d_printer.begin(d_run.recording().placeKind());
        d_printer.print(moment);
        if (d_run.recording().isLive())
            d_console.results().flush();
    }

    Console& d_console;
    bool d_level;
    OutputStop d_stop;
    ConditionRun d_run;
    MomentPrinter d_printer;
};

} // namespace

std::function<int()> setUpTrigger(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addConditionOptions(parser, options->condition);
    parser.add_flag("--level", options->level, "Print how long the condition held as well");
    parser
        .add_option("--format", options->format,
                    "text (the default), csv (times in seconds) or json (an object a line, times in microseconds)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"text", "csv", "json"}).description(""));
    parser.add_flag("--json", options->json, "The same as --format json")->excludes("--format");
    parser.footer(std::string(conditionHelp) +
                  "\nFields of --format json and csv:\n"
                  "  timestamp  the moment, in microseconds as recorded; in CSV time, in seconds\n"
                  "  line       of the frame in a recording of lines, counted from 1\n"
                  "  object     the same in others: number of its object or packet\n"
                  "  held       with --level: how long the condition held, in microseconds; in CSV in seconds\n"
                  "  ended      with --level: true if it became false again, false at the end of the recording\n" +
                  conditionStatusHelp +
                  "\nExamples:\n"
                  "  qzsignal trigger -d car.dbc 'Engine.Speed > 3000 && Transmission.Gear == 1' drive.log\n"
                  "  qzsignal trigger -d car.dbc --level --format csv 'VehicleSpeed.Speed > 50' drive.log\n"
                  "  qzsignal trigger -d car.dbc --for 10 'Engine.Speed > 3000' drive.log\n"
                  "  qzsignal trigger -d car.dbc 'Engine.Speed.age > 0.5 && Gear != Gear.Park' drive.log\n"
                  "  candump -L can0 | qzsignal trigger -d car.dbc 'Brake.PedalPressed' -\n");
    return [options, &console] { return Trigger(*options, console).run(); };
}

} // namespace qztool
