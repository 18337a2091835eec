// From options to a condition, and from a result to an exit status.
#include "tools/console/ConditionRun.h"

#include "tools/base/Numbers.h"
#include "tools/base/StopRequest.h"
#include "tools/console/RecordingReport.h"
#include "tools/expression/Compile.h"

#include <CLI/CLI.hpp>

namespace qztool {

namespace {

// An input that cannot be used is no answer: 1 is one here.
ExitStatus statusOf(ExitStatus status) {
    return status == exitNothingUsable ? exitNotThere : status;
}

} // namespace

void addConditionOptions(CLI::App& parser, ConditionOptions& options) {
    addDefinitionOptions(parser, options.definitions);
    parser
        .add_option("--for", options.least,
                    "Only moments at which the condition has held this long: its beginning plus SECONDS, also between "
                    "two frames")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6).description(""));
    parser
        .add_option("EXPR", options.expression,
                    "Condition over signals called Message.Signal. Quote it for the shell, and leave a space between a "
                    "name and && or ||")
        ->type_name("")
        ->required();
    addRecordingOptions(parser, options.recording);
}

char const conditionHelp[] =
    "\n"
    "The condition is true while its value is above 0. It is looked at after each frame that carries one\n"
    "of its signals, as soon as all of them have a value. Beside signals it may name what is derived from\n"
    "one, X: X.age (seconds since its last write; looked at after every frame), X.raw (its raw value), and\n"
    "X.WORD (what X reads when its raw value has that word in the value table).\n";

char const conditionStatusHelp[] = "\nExit status:\n"
                                   "  0   the condition became true at least once\n"
                                   "  1   it never did\n"
                                   "  64  the command line is wrong\n"
                                   "  65  the expression is wrong, or an input contains no usable data\n"
                                   "  69  a file or a signal is not there\n"
                                   "  70  internal failure, such as out of memory\n"
                                   "  74  the results could not be written\n";

ConditionRun::ConditionRun(ConditionOptions const& options, Console& console, Stop& stop)
    : d_options(options),
      d_stop(stop),
      d_console(console),
      d_reporter(console, options.definitions.quiet),
      d_recording(options.recording.path, stop, options.recording.times()),
      d_liveReport(d_recording, options.recording.path, console),
      d_definitions(d_reporter, options.definitions.decoding),
      d_signals(d_definitions, d_frame, d_reporter),
      d_condition(options.expression, d_definitions, d_derived, d_reporter) {}

ExitStatus ConditionRun::prepare() {
    if (!d_recording.isOpen()) {
        d_console.error(d_recording.problem());
        return exitNotThere;
    }
    for (std::string const& definition : d_options.definitions.files)
        if (!d_definitions.load(parseDefinitionFile(definition)))
            return exitNotThere;
    if (!d_condition.resolve())
        return exitNotThere;
    std::vector<std::string> const& names = d_condition.signals();
    SignalSet::Built const built = d_signals.buildNamed({names.begin(), names.end()});
    if (built != SignalSet::Built::Ready)
        return built == SignalSet::Built::BadFiles ? exitBadData : exitNotThere;
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
    noteStopRequests();
    d_drive.emplace(d_recording, d_definitions.channels(), d_frame, d_stop);
    return exitSuccess;
}

ExitStatus ConditionRun::finish(bool found) {
    hideProgress();
    UnfedFrames const unfed = sortOut(d_drive->unfed(), d_definitions);
    ExitStatus const status = report(*d_drive, unfed, d_options.recording, d_console);
    if (d_drive->counts().frames != 0)
        reportUnwritten();
    // A recording without a frame has been searched, too.
    if (status == exitBadData || !d_recording.problem().empty())
        return statusOf(status);
    return found ? exitTrue : exitFalse;
}

std::uint64_t ConditionRun::least() const {
    return microseconds(d_options.least);
}

void ConditionRun::showProgress() {
    d_progress.show(d_drive->counts().frames, d_recording.bytesRead(), d_recording.totalBytes());
}

void ConditionRun::reportUnwritten() {
    if (d_condition.isWritten())
        return;
    for (std::string const& name : d_condition.unwritten())
        d_console.warning("'", name, "' never got a value, so the condition was never looked at");
}

} // namespace qztool
