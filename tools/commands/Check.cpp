// qzsignal check: definitions against themselves and against a recording.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Numbers.h"
#include "tools/base/Printable.h"
#include "tools/base/StopRequest.h"
#include "tools/check/DefinitionChecks.h"
#include "tools/check/FindingList.h"
#include "tools/check/FoundProblems.h"
#include "tools/check/RecordingCheck.h"
#include "tools/console/ConsoleReporter.h"
#include "tools/console/DefinitionOption.h"
#include "tools/console/Progress.h"
#include "tools/console/RecordingOption.h"
#include "tools/console/RecordingReport.h"
#include "tools/machine/StateJson.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace qztool {

namespace {

// Notes of one kind that are listed in the text form.
constexpr std::size_t mostNotes = 10;

struct Options {
    DefinitionOptions definitions;
    std::vector<std::string> ignored; // names of kinds
    std::vector<std::string> only;
    bool json = false;
    RecordingOptions recording; // no path: none
};

// Shows the progress of a drive and hands its points on.
class WatchedCheck : public DriveListener {
public:
    WatchedCheck(DriveListener& check, CurrentFrame const& frame) : d_check(check), d_frame(frame) {}

    bool onFrame(Frame const& frame) override { return d_check.onFrame(frame); }
    void onMessage(Frame const& frame, std::uint64_t message) override { d_check.onMessage(frame, message); }
    void onProgress(RecordingReader const& recording) override {
        d_progress.show(d_frame.number, recording.bytesRead(), recording.totalBytes());
    }

private:
    DriveListener& d_check;
    CurrentFrame const& d_frame;
    Progress d_progress;
};

class Checking {
public:
    Checking(Options const& options, Console& console)
        : d_options(options),
          d_console(console),
          d_reporter(console, options.definitions.quiet),
          d_problems(d_reporter),
          d_definitions(d_problems, options.definitions.decoding),
          d_signals(d_definitions, d_frame, d_problems) {}

    int run() {
        std::optional<RecordingReader> recording;
        if (!d_options.recording.path.empty()) {
            recording.emplace(d_options.recording.path, d_stop);
            if (!recording->isOpen()) {
                d_console.error(recording->problem());
                return exitNotThere;
            }
        }
        for (std::string const& definition : d_options.definitions.files)
            if (!d_definitions.load(parseDefinitionFile(definition)))
                return exitNotThere;
        if (d_definitions.hasSignals() && d_signals.build(d_options.only) != SignalSet::Built::Ready)
            return exitNotThere;
        checkDefinitions(d_definitions, d_findings);
        d_problems.addTo(d_findings);
        ExitStatus status = definitionStatus();
        if (recording)
            status = std::max(status, drive(*recording));
        pick();
        sortFindings(d_findings, d_definitions);
        if (d_options.json)
            printJson();
        else
            print();
        bool const isWrong = std::any_of(d_findings.begin(), d_findings.end(),
                                         [](Finding const& finding) { return !rowOf(finding.kind).isNote; });
        return isWrong && status == exitSuccess ? exitFalse : status;
    }

private:
    // Files without a message are of no use.
    ExitStatus definitionStatus() {
        auto const& files = d_definitions.files();
        if (std::any_of(files.begin(), files.end(), [](auto const& file) { return !file->database.messages.empty(); }))
            return exitSuccess;
        d_console.error("the definition files hold no message");
        return d_definitions.problems() != 0 ? exitBadData : exitNothingUsable;
    }

    ExitStatus drive(RecordingReader& recording) {
        noteStopRequests();
        RecordingCheck check(d_definitions, d_signals, d_frame, recording);
        Drive drive(recording, d_definitions.channels(), d_frame, d_stop);
        {
            WatchedCheck watched(check, d_frame);
            drive.run(watched);
        }
        check.addTo(d_findings, d_options.recording.path);
        d_coverage = check.traffic().coverage();
        d_placeKind = recording.placeKind();
        return report(drive, sortOut(drive.unfed(), d_definitions), d_options.recording, d_console);
    }

    // Leaves out what is ignored, and signals that were not asked for.
    void pick() {
        std::unordered_set<std::string> wanted;
        for (auto const& signal : d_signals.signals())
            if (signal->isWanted())
                wanted.insert(signal->instance());
        d_findings.erase(std::remove_if(d_findings.begin(), d_findings.end(),
                                        [&](Finding const& finding) {
                                            bool const isOther = !d_options.only.empty() && !finding.signal.empty() &&
                                                                 wanted.count(finding.signal) == 0;
                                            return isOther || isIgnored(finding.kind);
                                        }),
                         d_findings.end());
    }

    bool isIgnored(CheckKind kind) const {
        return std::find(d_options.ignored.begin(), d_options.ignored.end(), rowOf(kind).name) !=
               d_options.ignored.end();
    }

    void print() {
        auto begin = d_findings.begin();
        while (begin != d_findings.end()) {
            CheckKindRow const& row = rowOf(begin->kind);
            auto const end =
                std::find_if(begin, d_findings.end(), [&row](Finding const& each) { return each.kind != row.kind; });
            auto const count = static_cast<std::size_t>(end - begin);
            d_console.results() << row.name << (row.isNote ? " (note): " : ": ") << count << " - " << row.summary
                                << "\n";
            std::size_t const listed = row.isNote ? std::min(count, mostNotes) : count;
            std::for_each(begin, begin + static_cast<std::ptrdiff_t>(listed),
                          [this](Finding const& finding) { print(finding); });
            if (listed < count)
                d_console.results() << "  and " << count - listed << " more, which --json lists\n";
            begin = end;
        }
        if (d_findings.empty())
            d_console.results() << "no findings\n";
        if (d_coverage)
            d_console.results() << "coverage: " << percent(d_coverage->frames) << " % of the frames, "
                                << percent(d_coverage->identifiers) << " % of the identifiers are defined\n";
    }

    static std::string percent(double share) { return numberText(std::round(share * 1000) / 10); }

    void print(Finding const& finding) {
        d_console.results() << printable("  " + placeText(finding.file, finding.line) + ": " + finding.text);
        if (finding.first)
            d_console.results() << " (first at " << secondsText(finding.first->time) << ", " << d_placeKind << " "
                                << finding.first->number << ")";
        d_console.results() << "\n";
    }

    void printJson() {
        nlohmann::ordered_json json;
        json["findings"] = nlohmann::ordered_json::array();
        for (Finding const& finding : d_findings) {
            CheckKindRow const& row = rowOf(finding.kind);
            nlohmann::ordered_json& each = json["findings"].emplace_back();
            each["kind"] = row.name;
            each["note"] = row.isNote;
            each["file"] = finding.file;
            each["line"] = finding.line;
            each["signal"] = nullptr;
            if (!finding.signal.empty())
                each["signal"] = finding.signal;
            each["message"] = finding.text;
            each["count"] = finding.count;
            each["first"] = nullptr;
            if (finding.first)
                each["first"] = static_cast<double>(finding.first->time) / 1e6;
        }
        if (d_coverage)
            json["coverage"] = {{"frames", d_coverage->frames}, {"identifiers", d_coverage->identifiers}};
        d_console.results() << jsonText(json) << std::endl;
    }

    Options const& d_options;
    Console& d_console;
    ConsoleReporter d_reporter;
    FoundProblems d_problems;
    SignalStop d_stop;
    CurrentFrame d_frame;
    DefinitionSet d_definitions;
    SignalSet d_signals;
    std::vector<Finding> d_findings;
    std::optional<Traffic::Coverage> d_coverage; // with a recording
    char const* d_placeKind = "line";            // of the recording
};

std::vector<std::string> kindNames() {
    std::vector<std::string> names;
    names.reserve(std::size(checkKinds));
    for (CheckKindRow const& row : checkKinds)
        names.emplace_back(row.name);
    return names;
}

std::string kindList() {
    std::string text;
    for (CheckKindRow const& row : checkKinds) {
        std::string const name = row.name;
        text += "  " + name + std::string(15 - name.size(), ' ') + row.summary + (row.isNote ? " (note)" : "") + "\n";
    }
    return text;
}

} // namespace

std::function<int()> setUpCheck(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    addDefinitionOptions(parser, options->definitions);
    parser.add_option("--ignore", options->ignored, "Leave out findings of this kind. May be given more than once")
        ->type_name("KIND")
        ->check(CLI::IsMember(kindNames()).description(""))
        ->allow_extra_args(false);
    parser
        .add_option("--only", options->only,
                    "Of findings about signals, list those about signals whose name (Message.Signal), or its spelling "
                    "in the file, matches the pattern. May be given more than once")
        ->type_name("GLOB")
        ->allow_extra_args(false);
    parser.add_flag("--json", options->json, "Print the findings as an object");
    parser
        .add_option("TRACE", options->recording.path,
                    "Recording to compare the definitions with, in any format that replay takes; - is standard input")
        ->type_name("");
    parser.footer("\n"
                  "Kinds of findings, those from the first about identifiers on with a recording alone:\n" +
                  kindList() +
                  "\nExit status:\n"
                  "  0   no findings, or notes alone\n"
                  "  1   findings, or nothing usable is in the recording or the definition files\n"
                  "  64  the command line is wrong\n"
                  "  65  an input contains no usable data\n"
                  "  69  a file, or a signal that was asked for, is not there\n"
                  "  70  internal failure, such as out of memory\n"
                  "\nExamples:\n"
                  "  qzsignal check -d car.dbc\n"
                  "  qzsignal check -d car.dbc --ignore constant --ignore unseen drive.log\n"
                  "  qzsignal check -d car.dbc --json drive.log | jq .coverage\n");
    return [options, &console] { return Checking(*options, console).run(); };
}

} // namespace qztool
