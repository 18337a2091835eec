// qzsignal export: the values of a recording as a file for other programs.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/OutputFile.h"
#include "tools/base/StopRequest.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/LiveReport.h"
#include "tools/console/Progress.h"
#include "tools/console/RecordingOption.h"
#include "tools/console/RecordingReport.h"
#include "tools/console/Seconds.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/Drive.h"
#include "tools/drive/SignalSet.h"
#include "tools/export/Exporter.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace qztool {

namespace {

struct Options {
    DefinitionOptions definitions;
    RecordingOptions recording;
    std::vector<std::string> only;
    std::string format = "csv";
    bool json = false;
    std::string from, to, step; // as they were given; empty: not
    bool raw = false;
    bool text = false;
    bool relative = false;
    std::string output;
};

ExportOptions exportOptions(Options const& options) {
    ExportOptions result;
    result.format = options.json || options.format == "jsonl" ? ExportFormat::Jsonl
                    : options.format == "wide"                ? ExportFormat::Wide
                                                              : ExportFormat::Csv;
    result.raw = options.raw;
    result.words = options.text;
    result.relative = options.relative;
    if (auto const from = parseSeconds(options.from))
        result.from = from->microseconds + (from->isExact ? 0 : 1);
    if (auto const to = parseSeconds(options.to))
        result.to = to->microseconds;
    if (auto const step = parseSeconds(options.step))
        result.step = step->microseconds;
    return result;
}

// Lines leave before more input is waited for, so that the reader of a live recording sees them at once. Output that
// takes nothing more is a reason to stop.
class OutputStop : public SignalStop {
public:
    void follow(OutputBuffer& output) { d_output = &output; }
    bool requested() override { return (d_output != nullptr && d_output->failed()) || SignalStop::requested(); }
    bool awaitInput(int descriptor) override {
        if (d_output != nullptr)
            d_output->flush();
        return SignalStop::awaitInput(descriptor);
    }

private:
    OutputBuffer* d_output = nullptr;
};

class Export : private DriveListener {
public:
    Export(Options const& options, Console& console)
        : d_options(options),
          d_console(console),
          d_reporter(console, options.definitions.quiet),
          d_definitions(d_reporter, options.definitions.decoding),
          d_signals(d_definitions, d_frame, d_reporter) {}

    int run() {
        RecordingReader recording(d_options.recording.path, d_stop, d_options.recording.times());
        LiveReport const liveReport(recording, d_options.recording.path, d_console);
        if (!recording.isOpen()) {
            d_console.error(recording.problem());
            return exitNotThere;
        }
        if (ExitStatus const prepared = prepare(); prepared != exitSuccess)
            return prepared;
        if (overwritesInput())
            return exitUsage;
        OutputFile file(d_options.output);
        if (file.error() != 0)
            return cannotWrite(file.error());
        noteStopRequests();
        SignalStop interrupt;
        OutputBuffer output(file.descriptor(), interrupt);
        d_stop.follow(output);
        Drive drive(recording, d_definitions.channels(), d_frame, d_stop);
        write(drive, output);
        if (output.error() != 0)
            return cannotWrite(output.error());
        if (!file.close())
            return cannotWrite(file.error());
        return output.failed() ? exitSuccess : status(drive); // the reader had enough
    }

private:
    // From files to signals.
    ExitStatus prepare() {
        if (!loadDefinitions(d_options.definitions, d_definitions))
            return exitNotThere;
        return builtStatus(d_signals.build(d_options.only));
    }

    // An output that is one of the inputs would be empty before it is read.
    bool overwritesInput() {
        std::vector<std::string> inputs = {d_options.recording.path};
        for (std::string const& definition : d_options.definitions.files)
            inputs.push_back(parseDefinitionFile(definition).path);
        for (std::string const& input : inputs)
            if (!d_options.output.empty() && isSameFile(d_options.output, input)) {
                d_console.error("'", d_options.output, "' is read, and cannot be written at the same time");
                return true;
            }
        return false;
    }

    void write(Drive& drive, OutputBuffer& output) {
        std::optional<Progress> progress;
        // On a terminal that shows the values, it would be in their way.
        if (!d_options.output.empty() || isatty(STDOUT_FILENO) == 0)
            progress.emplace();
        d_progress = progress ? &*progress : nullptr;
        d_drive = &drive;
        d_exporter = makeExporter(exportOptions(d_options), d_signals, output);
        d_exporter->begin();
        drive.run(*this);
        d_exporter->end();
        output.flush();
        d_progress = nullptr;
    }

    void onRead(Frame const& frame) override { d_exporter->onRead(frame); }
    void onMessage(Frame const& frame, std::uint64_t /*message*/) override {
        d_exporter->onMessage(frame.timestamp, d_frame);
    }
    void onProgress(RecordingReader const& recording) override {
        if (d_progress != nullptr)
            d_progress->show(d_drive->counts().frames, recording.bytesRead(), recording.totalBytes());
    }

    ExitStatus status(Drive const& drive) {
        if (d_exporter->leftOut() != 0)
            d_console.warning(d_exporter->leftOut(),
                              " signals are left out, as they came up only after the columns were "
                              "written");
        UnfedFrames const unfed = sortOut(drive.unfed(), d_definitions);
        ExitStatus const status = report(drive, unfed, d_options.recording, d_console);
        if (stopRequested()) {
            d_console.note("stopped after ", drive.counts().frames, " frames");
            return status;
        }
        if (status != exitSuccess || d_exporter->values() != 0)
            return status;
        bool const isPart = !d_options.from.empty() || !d_options.to.empty();
        d_console.error(d_options.recording.path, ": none of its frames ", isPart ? "in that time " : "",
                        "carries a signal that is exported");
        return exitNothingUsable;
    }

    ExitStatus cannotWrite(int error) {
        bool const isFile = !d_options.output.empty() && d_options.output != "-";
        d_console.cannotWrite(isFile ? "'" + d_options.output + "'" : "", error);
        return exitNotWritten;
    }

    Options const& d_options;
    Console& d_console;
    ConsoleReporter d_reporter;
    OutputStop d_stop;
    CurrentFrame d_frame;
    DefinitionSet d_definitions;
    SignalSet d_signals;
    std::unique_ptr<Exporter> d_exporter;
    Drive const* d_drive = nullptr;
    Progress* d_progress = nullptr;
};

CLI::Option* addSeconds(CLI::App& parser, char const* name, std::string& value, char const* help) {
    return parser.add_option(name, value, help)->type_name("SECONDS")->check([](std::string const& text) {
        return parseSeconds(text) ? std::string() : "'" + text + "' is not a time in seconds";
    });
}

std::string stepProblem(std::string const& text) {
    auto const step = parseSeconds(text);
    return step && step->isExact && step->microseconds != 0
               ? std::string()
               : "'" + text + "' is not a number of seconds above 0 with at most six decimals";
}

} // namespace

std::function<int()> setUpExport(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addDefinitionOptions(parser, options->definitions);
    parser
        .add_option(
            "--only", options->only,
            "Export only signals whose name (Message.Signal), or its spelling in the file, matches the pattern. May "
            "be given more than once")
        ->type_name("GLOB")
        ->allow_extra_args(false);
    auto* const format =
        parser
            .add_option("--format", options->format,
                        "csv (the default): a line for each value, with time, signal, value, unit and text; jsonl: "
                        "the same as JSON objects, with the raw value; wide: CSV with a column for each signal and a "
                        "row for each time")
            ->type_name("FORMAT")
            ->check(CLI::IsMember({"csv", "jsonl", "wide"}).description(""));
    parser.add_flag("--json", options->json, "The same as --format jsonl")->excludes(format);
    addSeconds(parser, "--from", options->from, "Export values from this time on, as recorded");
    addSeconds(parser, "--to", options->to, "Export values up to this time, as recorded");
    parser
        .add_option("--step", options->step,
                    "Wide: a row at each multiple of this time after the recording's first frame, or after --from, "
                    "with the last values by then")
        ->type_name("SECONDS")
        ->check(stepProblem);
    parser.add_flag("--raw", options->raw, "Raw values in place of physical ones");
    parser.add_flag("--text", options->text, "Wide: words in place of values that have one");
    parser.add_flag("--relative", options->relative, "Times from the recording's first frame on");
    parser.add_option("-o,--output", options->output, "Write into a file in place of standard output")
        ->type_name("FILE");
    addRecordingOptions(parser, options->recording);
    parser.footer(std::string("\n"
                              "Times are in seconds. Only values that a frame carries are written, in the order of the "
                              "definition file.\n"
                              "Where recorded time steps back, lines still follow the recording; with --step, the next "
                              "row comes when time\n"
                              "has passed the last one again.\n\n") +
                  exitStatusHelp +
                  "\nExamples:\n"
                  "  qzsignal export -d car.dbc drive.log -o values.csv\n"
                  "  qzsignal export -d car.dbc --only 'Engine.*' --format wide --step 0.1 drive.log\n"
                  "  candump -L can0 | qzsignal export -d car.dbc --json - | jq .value\n");
    return [options, &console]() -> int {
        if (!options->step.empty() && options->format != "wide") {
            console.error("--step needs --format wide; see qzsignal --help");
            return exitUsage;
        }
        return Export(*options, console).run();
    };
}

} // namespace qztool
