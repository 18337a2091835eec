// qzsignal trigger: finds the moments of a recorded drive at which a condition becomes true.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Nearest.h"
#include "tools/base/StopRequest.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/RecordingReport.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/Drive.h"
#include "tools/drive/SignalSet.h"
#include "tools/expression/Compile.h"
#include "tools/expression/MomentPrinter.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace qztool {

namespace {

struct Options {
    DefinitionOptions definitions;
    std::string expression;
    std::string trace;
    std::string format = "text";
    bool level = false;
};

MomentFormat formatOf(std::string const& name) {
    return name == "json" ? MomentFormat::Json : name == "csv" ? MomentFormat::Csv : MomentFormat::Text;
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

class Search : private DriveListener {
public:
    Search(Options const& options, Console& console)
        : d_options(options),
          d_console(console),
          d_reporter(console, options.definitions.quiet),
          d_stop(console.results()),
          d_expression(options.expression),
          d_definitions(d_reporter, options.definitions.decoding),
          d_signals(d_definitions, d_frame, d_reporter),
          d_printer(console.results(), formatOf(options.format), options.level) {}

    int run() {
        RecordingReader recording(d_options.trace, d_stop);
        if (!recording.isOpen()) {
            d_console.error(recording.problem());
            return exitNotThere;
        }
        ExitStatus const prepared = prepare();
        if (prepared != exitSuccess)
            return statusOf(prepared);
        noteStopRequests();
        d_live = recording.totalBytes() == 0;
        Drive drive(recording, d_definitions.channels(), d_frame, d_stop);
        d_recording = &recording;
        drive.run(*this);
        d_printer.begin(recording.placeKind());
        UnfedFrames const unfed = sortOut(drive.unfed(), d_definitions);
        ExitStatus const status = report(drive, unfed, d_options.trace, d_console);
        if (drive.counts().frames != 0)
            reportUnwritten();
        // A recording without a frame has been searched, too.
        if (status == exitBadData || !recording.problem().empty())
            return statusOf(status);
        return d_found ? exitTrue : exitFalse;
    }

private:
    // From files and text to signals and a program.
    ExitStatus prepare() {
        for (std::string const& definition : d_options.definitions.files)
            if (!d_definitions.load(parseDefinitionFile(definition)))
                return exitNotThere;
        if (!resolveNames())
            return exitNotThere;
        d_names = ExpParser::signalNames(d_expression.c_str());
        SignalSet::Built const built = d_signals.buildNamed({d_names.begin(), d_names.end()});
        if (built != SignalSet::Built::Ready)
            return built == SignalSet::Built::BadFiles ? exitBadData : exitNothingUsable;
        std::vector<std::string> undefined;
        for (std::string const& name : d_names)
            if (BaseSignal::getInstance(name.c_str()) == nullptr)
                undefined.push_back(name);
        d_parser = compile(d_expression, false, d_console);
        if (!d_parser)
            return exitBadData;
        // The parser has created input signals for these, which it does not own.
        for (std::string const& name : undefined)
            d_inputs.emplace_back(BaseSignal::getInstance(name.c_str()));
        if (d_names.empty()) {
            d_console.error("the expression names no signal");
            return exitBadData;
        }
        for (std::string const& name : undefined) {
            std::string const meant = nearest(name, d_definitions.names());
            d_console.error("the definition files hold no signal '", name, "'",
                            meant.empty() ? "" : ", did you mean '" + meant + "'?");
        }
        return undefined.empty() ? exitSuccess : exitNotThere;
    }

    // Puts instance names in place of what else signals may be called. False if a name may be that of several.
    bool resolveNames() {
        std::vector<ExpParser::Mention> const mentions = ExpParser::mentions(d_options.expression.c_str());
        bool resolved = true;
        for (auto each = mentions.rbegin(); each != mentions.rend(); ++each) { // so that the places of others stay
            std::vector<std::string> const meant = d_definitions.meantBy(each->name);
            if (meant.size() == 1)
                d_expression.replace(each->begin, each->name.size(), meant.front());
            resolved = resolved && meant.size() < 2;
            if (meant.size() > 1)
                d_console.error("'", each->name, "' may be any of ", listOf(meant));
        }
        return resolved;
    }

    static std::string listOf(std::vector<std::string> const& names) {
        constexpr std::size_t most = 20;
        std::string text;
        for (std::size_t i = 0; i < std::min(names.size(), most); ++i)
            text += (text.empty() ? "" : ", ") + names[i];
        return text + (names.size() > most ? " and " + std::to_string(names.size() - most) + " more" : "");
    }

    bool onFrame(Frame const& frame) override {
        d_lastTime = frame.timestamp;
        return true;
    }

    void onMessage(Frame const& frame, std::uint64_t message) override {
        if (d_parser->signalMessageIds.count(message) != 0)
            evaluate(frame.timestamp, d_recording->place());
    }

    void onEnd() override {
        if (d_true)
            end(d_lastTime, false);
    }

    void evaluate(std::uint64_t time, std::uint64_t place) {
        d_written = d_written || d_parser->isWritten();
        if (!d_written || d_parser->getTrigger() == d_true)
            return;
        if (d_true)
            end(time, true);
        else
            begin(time, place);
    }

    void begin(std::uint64_t time, std::uint64_t place) {
        d_true = true;
        d_found = true;
        d_moment = {time, place, 0, false};
        if (!d_options.level)
            print();
    }

    void end(std::uint64_t time, bool ended) {
        d_true = false;
        // Recorded time may step back, as at the seam of two recordings.
        d_moment.held = time > d_moment.timestamp ? time - d_moment.timestamp : 0;
        d_moment.ended = ended;
        if (d_options.level)
            print();
    }

    void print() {
        d_printer.begin(d_recording->placeKind());
        d_printer.print(d_moment);
        if (d_live)
            d_console.results().flush();
    }

    void reportUnwritten() {
        if (d_written || d_parser->isWritten())
            return;
        for (std::string const& name : d_names) {
            unsigned long long value = 0, timestamp = 0;
            if (!BaseSignal::getInstance(name.c_str())->read(value, timestamp))
                d_console.warning("'", name, "' never got a value, so the condition was never looked at");
        }
    }

    Options const& d_options;
    Console& d_console;
    ConsoleReporter d_reporter;
    OutputStop d_stop;
    CurrentFrame d_frame;
    std::string d_expression; // with instance names alone
    std::vector<std::string> d_names;
    DefinitionSet d_definitions;
    SignalSet d_signals;
    RecordingReader* d_recording = nullptr;
    MomentPrinter d_printer;
    std::vector<std::unique_ptr<BaseSignal>> d_inputs;
    std::unique_ptr<ExpParser> d_parser;
    bool d_live = false;    // the recording comes as it is made
    bool d_written = false; // all signals hold values
    bool d_true = false;    // the condition, since `d_moment`
    bool d_found = false;
    Moment d_moment;
    std::uint64_t d_lastTime = 0; // of the frames so far
};

} // namespace

std::function<int()> setUpTrigger(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addDefinitionOptions(parser, options->definitions);
    parser.add_flag("--level", options->level, "Print how long the condition held as well");
    parser
        .add_option("--format", options->format,
                    "text (the default), csv (times in seconds) or json (an object a line, times in microseconds)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"text", "csv", "json"}).description(""));
    parser
        .add_option("EXPR", options->expression,
                    "Condition over signals called Message.Signal. Quote it for the shell, and leave a space between a "
                    "name and && or ||")
        ->type_name("")
        ->required();
    parser
        .add_option("TRACE", options->trace,
                    "Recording: the log format of candump (candump -L) or an ASC text log; - is standard input")
        ->type_name("")
        ->required();
    parser.footer(
        "\n"
        "The condition is true while its value is above 0. It is looked at after each frame that carries one\n"
        "of its signals, as soon as all of them have a value.\n"
        "\nExit status:\n"
        "  0   the condition became true at least once\n"
        "  1   it never did\n"
        "  64  the command line is wrong\n"
        "  65  the expression is wrong, or an input contains no usable data\n"
        "  69  a file or a signal is not there\n"
        "  70  internal failure, such as out of memory\n"
        "\nExamples:\n"
        "  qzsignal trigger -d car.dbc 'Engine.Speed > 3000 && Transmission.Gear == 1' drive.log\n"
        "  qzsignal trigger -d car.dbc --level --format csv 'VehicleSpeed.Speed > 50' drive.log\n"
        "  candump -L can0 | qzsignal trigger -d car.dbc 'Brake.PedalPressed' -\n");
    return [options, &console] { return Search(*options, console).run(); };
}

} // namespace qztool
