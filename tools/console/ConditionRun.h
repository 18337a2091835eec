// What the commands that look for the moments of a condition in a recording have in common.
#pragma once

#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Stop.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/LiveReport.h"
#include "tools/console/Progress.h"
#include "tools/console/RecordingOption.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/drive/Drive.h"
#include "tools/drive/SignalSet.h"
#include "tools/moments/Condition.h"

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace qztool {

struct ConditionOptions {
    DefinitionOptions definitions;
    std::string expression;
    RecordingOptions recording;
    double least = 0; // seconds that the condition must have held
};

// Adds --definitions, --quiet, --for, --absolute and the arguments EXPR and TRACE.
void addConditionOptions(CLI::App& parser, ConditionOptions& options);

// What conditions are, for `--help`.
extern char const conditionHelp[];
extern char const conditionStatusHelp[];

// Recording, definitions, signals and condition, as the options say. Reports what is wrong with them.
class ConditionRun {
public:
    // All must outlive it.
    ConditionRun(ConditionOptions const& options, Console& console, Stop& stop);

    // Opens, loads and compiles. Anything but `exitSuccess` is the exit status, and nothing can be run.
    ExitStatus prepare();
    // Runs to the end of the recording, or until a stop is requested.
    void run(DriveListener& listener) { d_drive->run(listener); }
    // To be called in the end, with the result. Returns the exit status.
    ExitStatus finish(bool found);

    RecordingReader const& recording() const { return d_recording; }
    Condition& condition() { return d_condition; }
    std::uint64_t least() const; // microseconds
    void showProgress();
    // To be called before results are written, which may go to the same terminal.
    void hideProgress() { d_progress.hide(); }

private:
    void reportUnwritten();

    ConditionOptions const& d_options;
    Stop& d_stop;
    Console& d_console;
    ConsoleReporter d_reporter;
    CurrentFrame d_frame;
    RecordingReader d_recording;
    LiveReport d_liveReport;
    DefinitionSet d_definitions;
    SignalSet d_signals;
    DerivedSignals d_derived;
    Condition d_condition;
    std::optional<Drive> d_drive; // from `prepare` on
    Progress d_progress;
};

} // namespace qztool
