// qzsignal clean: removes signals whose processes are gone.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Printable.h"
#include "tools/machine/Leftovers.h"
#include "tools/machine/SignalList.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace qztool {

namespace {

struct Options {
    std::vector<std::string> patterns;
    bool all = false;
    bool yes = false;
    bool dryRun = false;
};

class Cleaning {
public:
    Cleaning(Options const& options, Console& console) : d_options(options), d_console(console) {}

    int run() {
        if (d_options.all && d_options.patterns.empty()) {
            d_console.error("--all needs a pattern, such as '*'; see qzsignal clean --help");
            return exitUsage;
        }
        bool const asks = d_options.all && !d_options.yes && !d_options.dryRun;
        if (asks && isatty(STDIN_FILENO) == 0) {
            d_console.error("--all asks before it removes anything; without a terminal it needs --yes");
            return exitUsage;
        }
        std::vector<ListedSignal> const picked = pick();
        if (asks && !picked.empty() && !isConfirmed(picked))
            return exitSuccess;
        // No feeder may start with what is just being removed.
        if (!d_options.dryRun)
            d_locks.emplace(FeederLocks::Access::Hold).enter();
        for (ListedSignal const& each : picked)
            remove(each);
        return d_failed ? exitNothingUsable : exitSuccess;
    }

private:
    std::vector<ListedSignal> pick() {
        std::vector<ListedSignal> picked;
        ProcessTable processes;
        for (ListedSignal& each : sharedSignals())
            if (matchesAny(each.instance, d_options.patterns) && (d_options.all || isOrphan(each.segment, processes)))
                picked.push_back(std::move(each));
        return picked;
    }

    bool isConfirmed(std::vector<ListedSignal> const& picked) {
        auto const attached = std::count_if(picked.begin(), picked.end(),
                                            [](ListedSignal const& each) { return each.segment.attached != 0; });
        for (ListedSignal const& each : picked)
            if (each.segment.attached == 0)
                std::cerr << printable(each.instance) << "\n";
        std::cerr << "Remove these " << picked.size() - static_cast<std::size_t>(attached) << " signals? [y/N] "
                  << std::flush;
        std::string answer;
        std::getline(std::cin, answer);
        return answer == "y" || answer == "Y" || answer == "yes";
    }

    // Looks again at each: since it was picked, a process may have attached to it.
    void remove(ListedSignal const& signal) {
        if (signal.segment.attached != 0)
            return stays(signal.instance);
        if (d_locks && d_locks->holder(signal.instance))
            return stays(signal.instance); // a feeder has claimed it and is about to attach
        if (!d_options.dryRun) {
            Removal const removal = removeSegment(signal.segment);
            if (removal == Removal::Attached)
                return stays(signal.instance);
            if (removal == Removal::Refused)
                return fails(signal.instance);
            if (!removeKeyFile(signal.instance, signal.segment.key))
                return fails("/tmp/" + signal.instance);
        }
        d_console.results() << printable(signal.instance) << "\n";
    }

    void stays(std::string const& instance) {
        d_console.note("'", printable(instance), "' stays, as a process is attached to it");
    }
    void fails(std::string const& name) {
        d_console.error("cannot remove '", printable(name), "': ", std::strerror(errno));
        d_failed = true;
    }

    Options const& d_options;
    Console& d_console;
    std::optional<FeederLocks> d_locks;
    bool d_failed = false;
};

} // namespace

std::function<int()> setUpClean(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    parser
        .add_option("GLOB", options->patterns,
                    "Only signals whose names match one of the patterns; quote them for the shell")
        ->type_name("");
    parser.add_flag("--dry-run", options->dryRun, "Print what would be removed, and remove nothing");
    parser.add_flag("--all", options->all,
                    "Remove all signals that match, also those whose creator still runs, after a question");
    parser.add_flag("--yes", options->yes, "Do not ask");
    parser.footer(
        std::string("\n"
                    "Removes orphans: signals that no process is attached to and whose creator is gone, as after a\n"
                    "kill, with their key files. Prints their names, one a line. A signal that a process is attached\n"
                    "to is never removed.\n\n") +
        exitStatusHelp +
        "\nExamples:\n"
        "  qzsignal clean --dry-run\n"
        "  qzsignal clean\n"
        "  qzsignal clean --all 'Engine.*'\n");
    return [options, &console] { return Cleaning(*options, console).run(); };
}

} // namespace qztool
