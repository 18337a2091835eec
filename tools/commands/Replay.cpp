// qzsignal replay: feeds a recorded drive, or a live bus, into shared signals.
#include "tools/Subcommand.h"
#include "tools/base/Clock.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/StopRequest.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/LiveReport.h"
#include "tools/console/Pacer.h"
#include "tools/console/Progress.h"
#include "tools/console/RecordingOption.h"
#include "tools/console/RecordingReport.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/Drive.h"
#include "tools/drive/SignalSet.h"
#include "tools/machine/FeedClaim.h"
#include "tools/machine/Processes.h"
#include "tools/machine/StateJson.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace qztool {

namespace {

struct Options {
    DefinitionOptions definitions;
    RecordingOptions recording;
    std::vector<std::string> only;
    double speed = 1;
    bool speedGiven = false;
    bool fast = false;
    bool keep = false;
    bool now = false;
    bool takeOver = false;
    bool json = false;
};

class Replay : private DriveListener {
public:
    Replay(Options const& options, Console& console)
        : d_options(options),
          d_console(console),
          d_reporter(console, options.definitions.quiet),
          d_definitions(d_reporter, options.definitions.decoding),
          d_claim(console),
          d_signals(d_definitions, d_frame, d_reporter),
          d_pacer(speed()) {}

    int run() {
        RecordingReader recording(d_options.recording.path, d_stop, d_options.recording.times());
        LiveReport const liveReport(recording, d_options.recording.path, d_console);
        if (!recording.isOpen()) {
            d_console.error(recording.problem());
            return exitNothingUsable;
        }
        bool const allLoaded = loadDefinitions(d_options.definitions, d_definitions);
        noteStopRequests();
        SignalSet::Built const built = d_signals.share(d_options.only, [this](std::vector<std::string> const& names) {
            bool const isFree = d_claim.claim(names, d_options.takeOver);
            // The drive may be under way, as signals of further channels and sources are made when these are seen.
            if (!isFree)
                requestStop();
            d_isRefused = d_isRefused || !isFree;
            return isFree;
        });
        if (built != SignalSet::Built::Ready)
            return builtStatus(built);
        Drive drive(recording, d_definitions.channels(), d_frame, d_stop);
        if (d_options.now)
            drive.moveToNow();
        d_claim.begin();
        feedFrom(drive);
        std::optional<pid_t> const successor = d_claim.takenOverBy();
        d_signals.keep(d_claim.staying(d_options.keep));
        UnfedFrames const unfed = sortOut(drive.unfed(), d_definitions);
        ExitStatus status = report(drive, unfed, d_options.recording, d_console);
        bool const hasFed = drive.counts().decoded != 0 || drive.transport().messages != 0;
        if (status == exitSuccess && !hasFed && !stopRequested()) {
            d_console.error(d_options.recording.path, ": none of its frames carries a signal that is shared");
            status = exitNothingUsable;
        }
        if (d_options.json)
            printJson(drive, unfed);
        else
            print(drive, unfed);
        if (successor) {
            d_console.error("the signals were taken over by ", processText(*successor));
            return exitFedByOther;
        }
        if (d_isRefused)
            return exitFedByOther;
        return status == exitSuccess && !allLoaded ? exitNothingUsable : status;
    }

private:
    // Recorded time passes as recorded; a live bus brings its own pace along.
    double speed() const {
        if (d_options.fast || (d_options.recording.path == "-" && !d_options.speedGiven))
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

    bool onFrame(Frame const& frame) override {
        d_pacer.waitFor(frame.timestamp);
        return !stopRequested();
    }
    void onProgress(RecordingReader const& recording) override {
        d_progress->show(d_frame.number, recording.bytesRead(), recording.totalBytes());
    }

    void print(Drive const& drive, UnfedFrames const& unfed) {
        DriveCounts const& counts = drive.counts();
        Findings const& findings = drive.recording().findings();
        d_console.results() << drive.recording().placeKind() << "s: " << drive.recording().place() << "\n"
                            << "frames: " << counts.frames << "\n"
                            << "decoded: " << counts.decoded << "\n"
                            << "not defined: " << unfed.notDefined << " frames, " << unfed.identifiers.size()
                            << " identifiers\n"
                            << "not picked: " << unfed.notPicked << "\n"
                            << "on other channels: " << counts.otherChannel + unfed.otherChannel << otherChannels()
                            << "\n"
                            << packets(drive) << "CAN FD frames: " << counts.fdFrames << "\n"
                            << "remote frames: " << counts.remoteFrames << "\n"
                            << "error frames: " << counts.errorFrames << "\n"
                            << "malformed lines: " << findings.malformedCount() << malformedNumbers(findings) << "\n"
                            << "signals: " << d_signals.sharedCount() << "\n"
                            << "signals with a value: " << d_signals.writtenCount() << "\n"
                            << "values written: " << d_frame.written << "\n"
                            << "values beyond the end of short frames: " << d_frame.cut << "\n"
                            << "frames per second: " << framesPerSecond(counts) << std::endl;
    }

    long long framesPerSecond(DriveCounts const& counts) const {
        return d_seconds > 0 ? std::llround(static_cast<double>(counts.frames) / d_seconds) : 0;
    }

    // A line about messages that come in several frames, where there are any.
    static std::string packets(Drive const& drive) {
        TransportCounts const transport = drive.transport();
        if (transport.packets == 0 && transport.extended == 0)
            return "";
        return "packets of longer messages: " + std::to_string(drive.counts().packets) + " frames, " +
               std::to_string(transport.messages) + " messages, " + std::to_string(transport.lost) + " lost, " +
               std::to_string(transport.aborted) + " aborted, " + std::to_string(transport.extended) + " too long\n";
    }

    // Such as " (car.dbc serves can0)", of files whose messages were seen elsewhere, too.
    std::string otherChannels() const {
        std::string text;
        for (Network const& network : d_definitions.channels().networks())
            if (network.foreignFrames != 0)
                text += (text.empty() ? " (" : "; ") + d_definitions.files()[network.file]->path + " serves channel " +
                        std::to_string(*network.channel);
        return text.empty() ? text : text + ")";
    }

    void printJson(Drive const& drive, UnfedFrames const& unfed) {
        DriveCounts const& counts = drive.counts();
        Findings const& findings = drive.recording().findings();
        nlohmann::ordered_json json;
        json[std::string(drive.recording().placeKind()) + "s"] = drive.recording().place();
        json["frames"] = counts.frames;
        json["decoded"] = counts.decoded;
        json["notDefined"] = {{"frames", unfed.notDefined}, {"identifiers", nlohmann::ordered_json::array()}};
        for (TalliedFrames const& each : unfed.identifiers)
            json["notDefined"]["identifiers"].push_back({{"bus", busName(each.bus)},
                                                         {"channel", each.channel},
                                                         {"id", each.address},
                                                         {"extended", each.extended},
                                                         {"frames", each.count}});
        json["notPicked"] = unfed.notPicked;
        json["otherChannels"] = counts.otherChannel + unfed.otherChannel;
        json["served"] = nlohmann::ordered_json::array();
        for (Network const& network : d_definitions.channels().networks())
            if (!network.servesEach)
                json["served"].push_back(
                    {{"file", d_definitions.files()[network.file]->path},
                     {"bus", busName(network.bus)},
                     {"channel", network.channel ? nlohmann::ordered_json(*network.channel) : nlohmann::ordered_json()},
                     {"otherChannels", network.foreignFrames}});
        TransportCounts const transport = drive.transport();
        json["packets"] = counts.packets;
        json["transport"] = {{"messages", transport.messages},
                             {"lost", transport.lost},
                             {"aborted", transport.aborted},
                             {"extended", transport.extended}};
        json["fdFrames"] = counts.fdFrames;
        json["remoteFrames"] = counts.remoteFrames;
        json["errorFrames"] = counts.errorFrames;
        json["nullFrames"] = counts.nullFrames;
        json["malformed"] = nlohmann::ordered_json::array();
        for (Malformed const& each : findings.malformed())
            json["malformed"].push_back(
                {{"cause", each.cause}, {"count", each.places.count()}, {"places", each.places.text()}});
        json["skipped"] = findings.skipped();
        json["signals"] = d_signals.sharedCount();
        json["signalsWithValue"] = d_signals.writtenCount();
        json["valuesWritten"] = d_frame.written;
        json["valuesCut"] = d_frame.cut;
        json["seconds"] = d_seconds;
        json["framesPerSecond"] = framesPerSecond(counts);
        d_console.results() << jsonText(json) << std::endl;
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
    FeedClaim d_claim;
    bool d_isRefused = false; // signals, as another process feeds them
    SignalSet d_signals;
    Pacer d_pacer;
    Progress* d_progress = nullptr;
    double d_seconds = 0;
};

} // namespace

std::function<int()> setUpReplay(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addDefinitionOptions(parser, options->definitions);
    CLI::Option* const speed = parser.add_option("--speed", options->speed, "Play this many times as fast as recorded")
                                   ->type_name("FACTOR")
                                   ->check(CLI::Range(1e-6, 1e6).description(""));
    parser.add_flag("--fast", options->fast, "Play as fast as possible")->excludes(speed);
    parser.add_flag("--keep", options->keep, "Keep the signals when done");
    parser.add_flag("--now", options->now, "Move recorded times such that the first frame comes now");
    parser.add_flag("--take-over", options->takeOver,
                    "Take the signals over if another process feeds them; another replay then ends");
    parser
        .add_option(
            "--only", options->only,
            "Share only signals whose name (Message.Signal), or its spelling in the file, matches the pattern. May "
            "be given more than once")
        ->type_name("GLOB")
        ->allow_extra_args(false);
    parser.add_flag("--json", options->json, "Print what was counted as an object");
    addRecordingOptions(parser, options->recording, "which is played as it comes unless --speed is given");
    parser.footer(std::string("\n"
                              "Each signal becomes a shared signal called Message.Signal. Recorded times are stored in "
                              "microseconds.\nRemote and error frames are counted and skipped.\n\n") +
                  exitStatusHelp +
                  "\nExamples:\n"
                  "  qzsignal replay -d car.dbc drive.log\n"
                  "  qzsignal replay -d 1:powertrain.dbc -d 2:body.dbc --fast --keep drive.asc\n"
                  "  candump -L can0 | qzsignal replay -d car.dbc --only 'Engine.*' -\n");
    return [options, speed, &console] {
        options->speedGiven = speed->count() != 0;
        return Replay(*options, console).run();
    };
}

} // namespace qztool
