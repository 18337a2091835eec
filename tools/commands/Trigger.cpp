// qzsignal trigger: finds the moments of a recorded drive at which a condition becomes true.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Numbers.h"
#include "tools/base/StopRequest.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/LiveReport.h"
#include "tools/console/RecordingOption.h"
#include "tools/console/RecordingReport.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/SignalSet.h"
#include "tools/expression/Compile.h"
#include "tools/expression/MomentPrinter.h"
#include "tools/moments/Condition.h"
#include "tools/moments/MomentSearch.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace qztool {

namespace {

struct Options {
    DefinitionOptions definitions;
    std::string expression;
    RecordingOptions recording;
    std::string format = "text";
    bool level = false;
    bool json = false;
    double least = 0; // seconds
};

MomentFormat formatOf(Options const& options) {
    return options.json || options.format == "json" ? MomentFormat::Json
           : options.format == "csv"                ? MomentFormat::Csv
                                                    : MomentFormat::Text;
}

// An input that cannot be used is no answer: 1 is one here.
ExitStatus statusOf(ExitStatus status) {
    return status == exitNothingUsable ? exitNotThere : status;
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
        : d_options(options),
          d_console(console),
          d_reporter(console, options.definitions.quiet),
          d_stop(console.results()),
          d_definitions(d_reporter),
          d_signals(d_definitions, d_frame, d_reporter),
          d_condition(options.expression, d_definitions, d_derived, d_reporter),
          d_printer(console.results(), formatOf(options), options.level) {}

    int run() {
        RecordingReader recording(d_options.recording.path, d_stop, d_options.recording.times());
        LiveReport const liveReport(recording, d_options.recording.path, d_console);
        if (!recording.isOpen()) {
            d_console.error(recording.problem());
            return exitNotThere;
        }
        ExitStatus const prepared = prepare();
        if (prepared != exitSuccess)
            return statusOf(prepared);
        noteStopRequests();
        d_live = recording.isLive();
        Drive drive(recording, d_definitions.channels(), d_frame, d_stop);
        d_recording = &recording;
        MomentSearch search(d_condition, recording, *this, microseconds(d_options.least));
        drive.run(search);
        d_printer.begin(recording.placeKind());
        UnfedFrames const unfed = sortOut(drive.unfed(), d_definitions);
        ExitStatus const status = report(drive, unfed, d_options.recording, d_console);
        if (drive.counts().frames != 0)
            reportUnwritten();
        // A recording without a frame has been searched, too.
        if (status == exitBadData || !recording.problem().empty())
            return statusOf(status);
        return search.found() ? exitTrue : exitFalse;
    }

private:
    // From files and text to signals and a program.
    ExitStatus prepare() {
        for (std::string const& definition : d_options.definitions.files)
            if (!d_definitions.load(parseDefinitionFile(definition)))
                return exitNotThere;
        if (!d_condition.resolve())
            return exitNotThere;
        std::vector<std::string> const& names = d_condition.signals();
        SignalSet::Built const built = d_signals.buildNamed({names.begin(), names.end()});
        if (built != SignalSet::Built::Ready)
            return built == SignalSet::Built::BadFiles ? exitBadData : exitNothingUsable;
        switch (d_condition.compile()) {
        case Condition::Compiled::BadText:
            reportError(*d_condition.error(), d_condition.text(), d_console);
            return exitBadData;
        case Condition::Compiled::NoSignals:
            d_console.error("the expression names no signal");
            return exitBadData;
        case Condition::Compiled::NotDefined:
            return exitNotThere;
        case Condition::Compiled::Ready:
            break;
        }
        return exitSuccess;
    }

    void onMoment(Moment const& moment) override {
        if (!d_options.level)
            print(moment);
    }

    void onMomentOver(Moment const& moment) override {
        if (d_options.level)
            print(moment);
    }

    void print(Moment const& moment) {
        d_printer.begin(d_recording->placeKind());
        d_printer.print(moment);
        if (d_live)
            d_console.results().flush();
    }

    void reportUnwritten() {
        if (d_condition.isWritten())
            return;
        for (std::string const& name : d_condition.unwritten())
            d_console.warning("'", name, "' never got a value, so the condition was never looked at");
    }

    Options const& d_options;
    Console& d_console;
    ConsoleReporter d_reporter;
    OutputStop d_stop;
    CurrentFrame d_frame;
    DefinitionSet d_definitions;
    SignalSet d_signals;
    DerivedSignals d_derived;
    Condition d_condition;
    RecordingReader* d_recording = nullptr;
    MomentPrinter d_printer;
    bool d_live = false; // the recording comes as it is made
};

} // namespace

std::function<int()> setUpTrigger(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addDefinitionOptions(parser, options->definitions);
    parser.add_flag("--level", options->level, "Print how long the condition held as well");
    parser
        .add_option(
            "--for", options->least,
            "Only moments at which the condition has held this long: its beginning plus SECONDS, also between two "
            "frames")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6).description(""));
    parser
        .add_option("--format", options->format,
                    "text (the default), csv (times in seconds) or json (an object a line, times in microseconds)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"text", "csv", "json"}).description(""));
    parser.add_flag("--json", options->json, "The same as --format json")->excludes("--format");
    parser
        .add_option("EXPR", options->expression,
                    "Condition over signals called Message.Signal. Quote it for the shell, and leave a space between a "
                    "name and && or ||")
        ->type_name("")
        ->required();
    addRecordingOptions(parser, options->recording);
    parser.footer(
        "\n"
        "The condition is true while its value is above 0. It is looked at after each frame that carries one\n"
        "of its signals, as soon as all of them have a value. Beside signals it may name what is derived from\n"
        "one, X: X.age (seconds since its last write; looked at after every frame), X.raw (its raw value), and\n"
        "X.WORD (what X reads when its raw value has that word in the value table).\n"
        "\nFields of --format json and csv:\n"
        "  timestamp  the moment, in microseconds as recorded; in CSV time, in seconds\n"
        "  line       of the frame in a recording of lines, counted from 1\n"
        "  object     the same in others: number of its object or packet\n"
        "  held       with --level: how long the condition held, in microseconds; in CSV in seconds\n"
        "  ended      with --level: true if it became false again, false at the end of the recording\n"
        "\nExit status:\n"
        "  0   the condition became true at least once\n"
        "  1   it never did\n"
        "  64  the command line is wrong\n"
        "  65  the expression is wrong, or an input contains no usable data\n"
        "  69  a file or a signal is not there\n"
        "  70  internal failure, such as out of memory\n"
        "  74  the results could not be written\n"
        "\nExamples:\n"
        "  qzsignal trigger -d car.dbc 'Engine.Speed > 3000 && Transmission.Gear == 1' drive.log\n"
        "  qzsignal trigger -d car.dbc --level --format csv 'VehicleSpeed.Speed > 50' drive.log\n"
        "  qzsignal trigger -d car.dbc --for 10 'Engine.Speed > 3000' drive.log\n"
        "  qzsignal trigger -d car.dbc 'Engine.Speed.age > 0.5 && Gear != Gear.Park' drive.log\n"
        "  candump -L can0 | qzsignal trigger -d car.dbc 'Brake.PedalPressed' -\n");
    return [options, &console] { return Trigger(*options, console).run(); };
}

} // namespace qztool
