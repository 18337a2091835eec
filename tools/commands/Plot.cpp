// qzsignal plot: signals of a recorded drive as a page or a picture.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/StopRequest.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/LiveReport.h"
#include "tools/console/Progress.h"
#include "tools/console/RecordingOption.h"
#include "tools/console/RecordingReport.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/NameSearch.h"
#include "tools/drive/SignalSet.h"
#include "tools/expression/Compile.h"
#include "tools/moments/Condition.h"
#include "tools/moments/MomentSearch.h"
#include "tools/plot/PlotPage.h"
#include "tools/plot/PlotPicture.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace qztool {

namespace {

struct Options {
    DefinitionOptions definitions;
    RecordingOptions recording;
    std::vector<std::string> signals;
    std::vector<std::string> marks;
    std::string output;
    bool svg = false;
};

// A condition, and the stretches in which it held.
class Mark : private MomentListener {
public:
    Mark(std::string const& text, DefinitionSet const& definitions, DerivedSignals& derived, Reporter& reporter)
        : d_condition(text, definitions, derived, reporter) {
        d_plotted.expression = text;
    }

    Condition& condition() { return d_condition; }
    void searchIn(RecordingReader const& recording) {
        d_search = std::make_unique<MomentSearch>(d_condition, recording, static_cast<MomentListener&>(*this));
    }
    MomentSearch& search() { return *d_search; }
    PlottedMark const& plotted() const { return d_plotted; }

private:
    void onMomentOver(Moment const& moment) override {
        d_plotted.spans.emplace_back(moment.timestamp, moment.timestamp + moment.held);
    }

    Condition d_condition;
    std::unique_ptr<MomentSearch> d_search;
    PlottedMark d_plotted;
};

class Plot : private DriveListener {
public:
    Plot(Options const& options, Console& console)
        : d_options(options),
          d_console(console),
          d_reporter(console, options.definitions.quiet),
          d_definitions(d_reporter, options.definitions.decoding),
          d_signals(d_definitions, d_frame, d_reporter) {}

    int run() {
        if (!d_options.svg && !canWritePlotPage()) {
            d_console.error("this build writes no pages, as npm or its registry was out of reach; --svg works");
            return exitFailed;
        }
        RecordingReader recording(d_options.recording.path, d_stop, d_options.recording.times());
        LiveReport const liveReport(recording, d_options.recording.path, d_console);
        if (!recording.isOpen()) {
            d_console.error(recording.problem());
            return exitNotThere;
        }
        ExitStatus const prepared = prepare();
        if (prepared != exitSuccess)
            return prepared;
        noteStopRequests();
        for (auto const& mark : d_marks)
            mark->searchIn(recording);
        PlotRecorder recorder(d_signals, d_names, d_frame);
        d_recorder = &recorder;
        Drive drive(recording, d_definitions.channels(), d_frame, d_stop);
        {
            Progress progress;
            d_progress = &progress;
            drive.run(*this);
        }
        ExitStatus const status = report(drive, sortOut(drive.unfed(), d_definitions), d_options.recording, d_console);
        PlottedDrive const plotted = take(recorder);
        if (plotted.signals.empty()) {
            if (status == exitSuccess)
                d_console.error(d_options.recording.path, ": none of its frames carries one of these signals");
            return status == exitSuccess ? exitNothingUsable : status;
        }
        ExitStatus const written = write(plotted);
        return written != exitSuccess ? written : status;
    }

private:
    ExitStatus prepare() {
        for (std::string const& definition : d_options.definitions.files)
            if (!d_definitions.load(parseDefinitionFile(definition)))
                return exitNotThere;
        bool found = true;
        for (std::string const& name : d_options.signals)
            found = addNames(name) && found;
        for (std::string const& text : d_options.marks) {
            d_marks.push_back(std::make_unique<Mark>(text, d_definitions, d_derived, d_reporter));
            found = d_marks.back()->condition().resolve() && found;
        }
        if (!found)
            return exitNotThere;
        std::unordered_set<std::string> names(d_names.begin(), d_names.end());
        for (auto const& mark : d_marks)
            names.insert(mark->condition().signals().begin(), mark->condition().signals().end());
        SignalSet::Built const built = d_signals.buildNamed(names);
        if (built != SignalSet::Built::Ready)
            return built == SignalSet::Built::BadFiles ? exitBadData : exitNotThere;
        for (auto const& mark : d_marks)
            if (ExitStatus const status = compile(mark->condition()); status != exitSuccess)
                return status;
        return exitSuccess;
    }

    bool addNames(std::string const& name) {
        std::vector<std::string> const meant = signalsCalled(name, d_definitions, d_reporter);
        for (std::string const& each : meant)
            if (std::find(d_names.begin(), d_names.end(), each) == d_names.end())
                d_names.push_back(each);
        return !meant.empty();
    }

    ExitStatus compile(Condition& condition) {
        switch (condition.compile()) {
        case Condition::Compiled::BadText:
            reportError(*condition.error(), condition.text(), d_console);
            return exitBadData;
        case Condition::Compiled::NoSignals:
            d_console.error("'", condition.text(), "' names no signal");
            return exitBadData;
        case Condition::Compiled::NotDefined:
            return exitNotThere;
        case Condition::Compiled::Ready:
            break;
        }
        return exitSuccess;
    }

    PlottedDrive take(PlotRecorder& recorder) {
        PlottedDrive plotted;
        plotted.title = d_options.recording.path == "-" ? "Standard input" : d_options.recording.path;
        for (PlottedSignal& signal : recorder.take())
            if (!signal.times.empty())
                plotted.signals.push_back(std::move(signal));
            else
                d_console.warning("'", signal.name, "' has no value in this recording");
        for (auto const& mark : d_marks)
            plotted.marks.push_back(mark->plotted());
        return plotted;
    }

    ExitStatus write(PlottedDrive const& plotted) {
        auto const writeTo = d_options.svg ? writePlotPicture : writePlotPage;
        if (d_options.output.empty()) {
            writeTo(d_console.results(), plotted);
            return exitSuccess;
        }
        std::ofstream file(d_options.output, std::ios::binary);
        if (file)
            writeTo(file, plotted);
        file.close();
        if (file)
            return exitSuccess;
        d_console.cannotWrite("'" + d_options.output + "'", errno);
        return exitNotWritten;
    }

    bool onFrame(Frame const& frame) override {
        for (auto const& mark : d_marks)
            mark->search().onFrame(frame);
        return true;
    }
    void onMessage(Frame const& frame, std::uint64_t message) override {
        d_recorder->onMessage(frame, message);
        for (auto const& mark : d_marks)
            mark->search().onMessage(frame, message);
    }
    void onFed(Frame const& frame) override {
        for (auto const& mark : d_marks)
            mark->search().onFed(frame);
    }
    void onFrameWithoutData(Frame const& frame) override {
        for (auto const& mark : d_marks)
            mark->search().onFrameWithoutData(frame);
    }
    void onProgress(RecordingReader const& recording) override {
        d_progress->show(d_frame.number, recording.bytesRead(), recording.totalBytes());
    }
    void onEnd() override {
        for (auto const& mark : d_marks)
            mark->search().onEnd();
    }

    Options const& d_options;
    Console& d_console;
    ConsoleReporter d_reporter;
    SignalStop d_stop;
    CurrentFrame d_frame;
    DefinitionSet d_definitions;
    std::vector<std::string> d_names; // of the signals to be drawn
    SignalSet d_signals;
    DerivedSignals d_derived;
    std::vector<std::unique_ptr<Mark>> d_marks;
    PlotRecorder* d_recorder = nullptr;
    Progress* d_progress = nullptr;
};

} // namespace

std::function<int()> setUpPlot(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addDefinitionOptions(parser, options->definitions);
    parser
        .add_option("--mark", options->marks,
                    "Shade the stretches in which this condition is true. May be given more than once")
        ->type_name("EXPR")
        ->allow_extra_args(false);
    parser.add_flag("--svg", options->svg, "Write a still picture (SVG) in place of the page");
    parser.add_option("-o,--output", options->output, "Write into this file, not to standard output")
        ->type_name("FILE");
    addRecordingOptions(parser, options->recording);
    parser
        .add_option("SIGNAL", options->signals,
                    "Signals to draw: names, as expressions take them, or patterns as for file names")
        ->type_name("")
        ->required();
    parser.footer(std::string("\n"
                              "The page is one HTML file that needs no network: a lane for each unit, with all values "
                              "in it.\n\n") +
                  exitStatusHelp +
                  "\nExamples:\n"
                  "  qzsignal plot -d car.dbc drive.log Engine.Speed Transmission.Gear -o drive.html\n"
                  "  qzsignal plot -d car.dbc drive.log 'Engine.*' --mark 'Brake.Pressed' -o drive.html\n"
                  "  qzsignal plot -d car.dbc drive.log Engine.Speed --svg -o drive.svg\n");
    return [options, &console] { return Plot(*options, console).run(); };
}

} // namespace qztool
