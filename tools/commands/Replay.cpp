// qzsignal replay: feeds a recorded drive, or a live bus, into shared signals.
#include "tools/Subcommand.h"
#include "tools/base/Clock.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/StopRequest.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/Pacer.h"
#include "tools/console/Progress.h"
#include "tools/console/RecordingReport.h"
#include "tools/drive/CanFeeder.h"
#include "tools/drive/SignalSet.h"
#include "tools/recordings/RecordingReader.h"

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

class Replay {
public:
    Replay(Options const& options, Console& console)
        : d_options(options),
          d_console(console),
          d_signals(console, d_frame, options.only),
          d_feeder(d_signals.channels(), d_frame) {}

    int run() {
        RecordingReader trace(d_options.trace);
        if (!trace.isOpen()) {
            d_console.error(trace.problem());
            return exitNothingUsable;
        }
        bool allLoaded = true;
        for (std::string const& definition : d_options.definitions)
            allLoaded = d_signals.load(parseDefinitionFile(definition)) && allLoaded;
        noteStopRequests();
        ExitStatus const defined = d_signals.define();
        if (defined != exitSuccess)
            return defined;
        feedFrom(trace);
        if (d_options.keep)
            d_signals.keep();
        ExitStatus const status = report(trace, d_options.trace, d_console);
        summarize(trace);
        return status == exitSuccess && !allLoaded ? exitNothingUsable : status;
    }

private:
    // Recorded time passes as recorded; a live bus brings its own pace along.
    double speed() const {
        if (d_options.fast || (d_options.trace == "-" && !d_options.speedGiven))
            return 0;
        return d_options.speed;
    }

    void feedFrom(RecordingReader& trace) {
        Pacer pacer(speed());
        Progress progress;
        clock_gettime(CLOCK_MONOTONIC, &d_start);
        Frame frame;
        while (!stopRequested()) {
            RecordingReader::Next const next = trace.next(frame);
            if (next == RecordingReader::Next::End)
                break;
            progress.show(d_frames, trace.bytesRead(), trace.totalBytes());
            if (next == RecordingReader::Next::Interrupted)
                continue;
            pacer.waitFor(frame.timestamp);
            if (stopRequested())
                break;
            ++d_frames;
            d_feeder.feed(frame);
        }
        d_seconds = secondsSince(d_start);
    }

    void summarize(RecordingReader const& trace) {
        std::ostream& out = d_console.results();
        auto const perSecond = d_seconds > 0 ? std::llround(static_cast<double>(d_frames) / d_seconds) : 0;
        out << "lines: " << trace.lines() << "\n"
            << "frames: " << d_frames << "\n"
            << "decoded: " << d_feeder.decoded() << "\n"
            << "skipped by the pre-filter: " << d_feeder.filtered() << "\n"
            << "CAN FD frames: " << trace.count(LineKind::FdFrame) << "\n"
            << "remote frames: " << trace.count(LineKind::RemoteFrame) << "\n"
            << "error frames: " << trace.count(LineKind::ErrorFrame) << "\n"
            << "malformed lines: " << trace.count(LineKind::Malformed) << malformedNumbers(trace) << "\n"
            << "signals: " << d_signals.sharedCount() << "\n"
            << "signals with a value: " << d_signals.writtenCount() << "\n"
            << "values written: " << d_frame.written << "\n"
            << "values beyond the end of short frames: " << d_frame.cut << "\n"
            << "frames per second: " << perSecond << std::endl;
    }

    static std::string malformedNumbers(RecordingReader const& trace) {
        std::string text;
        for (MalformedLines const& lines : trace.malformed())
            text += (text.empty() ? " (" : "; ") + std::string(lines.cause) + ": " + lines.lines.text();
        return text.empty() ? text : text + ")";
    }

    Options const& d_options;
    Console& d_console;
    FrameInHand d_frame;
    SignalSet d_signals;
    CanFeeder d_feeder;
    timespec d_start{};
    double d_seconds = 0;
    std::uint64_t d_frames = 0;
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
