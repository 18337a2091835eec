// qzsignal replay: feeds a recorded drive, or a live bus, into shared signals.
#include "tools/Subcommand.h"
#include "tools/base/Clock.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/StopRequest.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/Pacer.h"
#include "tools/console/Progress.h"
#include "tools/console/RecordingReport.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/Drive.h"
#include "tools/drive/SignalSet.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace qztool {

namespace {

struct Options {
    std::vector<std::string> definitions;
    std::string trace;
    std::string only;
    double speed = 1;
    bool speedGiven = false;
    bool fast = false;
    bool keep = false;
};

class Replay : private DriveListener {
public:
    Replay(Options const& options, Console& console)
        : d_options(options),
          d_console(console),
          d_reporter(console),
          d_definitions(d_reporter),
          d_signals(d_definitions, d_frame, d_reporter),
          d_pacer(speed()) {}

    int run() {
        RecordingReader recording(d_options.trace, d_stop);
        if (!recording.isOpen()) {
            d_console.error(recording.problem());
            return exitNothingUsable;
        }
        bool allLoaded = true;
        for (std::string const& definition : d_options.definitions)
            allLoaded = d_definitions.load(parseDefinitionFile(definition)) && allLoaded;
        noteStopRequests();
        SignalSet::Built const built = d_signals.share(d_options.only);
        if (built != SignalSet::Built::Ready)
            return built == SignalSet::Built::BadFiles ? exitBadData : exitNothingUsable;
        Drive drive(recording, d_definitions.channels(), d_frame, d_stop);
        feedFrom(drive);
        if (d_options.keep)
            d_signals.keep();
        ExitStatus const status = report(drive, d_options.trace, d_console);
        summarize(drive);
        return status == exitSuccess && !allLoaded ? exitNothingUsable : status;
    }

private:
    // Recorded time passes as recorded; a live bus brings its own pace along.
    double speed() const {
        if (d_options.fast || (d_options.trace == "-" && !d_options.speedGiven))
            return 0;
        return d_options.speed;
    }

    void feedFrom(Drive& drive) {
        Progress progress;
        d_progress = &progress;
        timespec start{};
        clock_gettime(CLOCK_MONOTONIC, &start);
        drive.run(*this);
        d_seconds = secondsSince(start);
    }

    void onFrame(Frame const& frame) override { d_pacer.waitFor(frame.timestamp); }
    void onProgress(RecordingReader const& recording) override {
        d_progress->show(d_frame.number, recording.bytesRead(), recording.totalBytes());
    }

    void summarize(Drive const& drive) {
        DriveCounts const& counts = drive.counts();
        Findings const& findings = drive.recording().findings();
        std::ostream& out = d_console.results();
        auto const perSecond = d_seconds > 0 ? std::llround(static_cast<double>(counts.frames) / d_seconds) : 0;
        out << "lines: " << drive.recording().place() << "\n"
            << "frames: " << counts.frames << "\n"
            << "decoded: " << counts.decoded << "\n"
            << "skipped by the pre-filter: " << counts.frames - counts.decoded << "\n"
            << "CAN FD frames: " << counts.fdFrames << "\n"
            << "remote frames: " << counts.remoteFrames << "\n"
            << "error frames: " << counts.errorFrames << "\n"
            << "malformed lines: " << findings.malformedCount() << malformedNumbers(findings) << "\n"
            << "signals: " << d_signals.sharedCount() << "\n"
            << "signals with a value: " << d_signals.writtenCount() << "\n"
            << "values written: " << d_frame.written << "\n"
            << "values beyond the end of short frames: " << d_frame.cut << "\n"
            << "frames per second: " << perSecond << std::endl;
    }

    static std::string malformedNumbers(Findings const& findings) {
        std::string text;
        for (Malformed const& each : findings.malformed())
            text += (text.empty() ? " (" : "; ") + std::string(each.cause) + ": " + each.places.text();
        return text.empty() ? text : text + ")";
    }

    Options const& d_options;
    Console& d_console;
    ConsoleReporter d_reporter;
    SignalStop d_stop;
    CurrentFrame d_frame;
    DefinitionSet d_definitions;
    SignalSet d_signals;
    Pacer d_pacer;
    Progress* d_progress = nullptr;
    double d_seconds = 0;
};

} // namespace

std::function<int()> setUpReplay(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addDefinitionOption(parser, options->definitions);
    CLI::Option* const speed = parser.add_option("--speed", options->speed, "Play this many times as fast as recorded")
                                   ->type_name("FACTOR")
                                   ->check(CLI::Range(1e-6, 1e6).description(""));
    parser.add_flag("--fast", options->fast, "Play as fast as possible")->excludes(speed);
    parser.add_flag("--keep", options->keep, "Leave the signals behind when done");
    parser.add_option("--only", options->only, "Share only signals whose name (Message.Signal) matches the pattern")
        ->type_name("GLOB");
    parser
        .add_option("TRACE", options->trace,
                    "Recording: the log format of candump (candump -L) or an ASC text log; - is standard input, "
                    "which is played as it comes unless --speed is given")
        ->type_name("")
        ->required();
    parser.footer(std::string("\n"
                              "Each signal becomes a shared signal called Message.Signal. Recorded times are stored in "
                              "microseconds.\nCAN FD, remote and error frames are counted and skipped.\n\n") +
                  exitStatusHelp +
                  "\nExamples:\n"
                  "  qzsignal replay --dbc car.dbc drive.log\n"
                  "  qzsignal replay --dbc 1:powertrain.dbc --dbc 2:body.dbc --fast --keep drive.asc\n"
                  "  candump -L can0 | qzsignal replay --dbc car.dbc --only 'Engine.*' -\n");
    return [options, speed, &console] {
        options->speedGiven = speed->count() != 0;
        return Replay(*options, console).run();
    };
}

} // namespace qztool
