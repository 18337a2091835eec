// The qzsignal command: picks the subcommand and runs it.
#include "tools/Subcommand.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Nearest.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <exception>
#include <iterator>
#include <new>
#include <string>
#include <vector>

namespace {

using qztool::Subcommand;

constexpr Subcommand subcommands[] = {
    {"replay", "Feed a recorded drive into shared signals", qztool::setUpReplay},
    {"read", "Print the values of shared signals", qztool::setUpRead},
    {"list", "List the shared signals of this machine", qztool::setUpList},
    {"eval", "Evaluate an expression over shared signals", qztool::setUpEval},
    {"trigger", "Find the moments of a recorded drive at which a condition becomes true", qztool::setUpTrigger},
    {"export", "Write the decoded values of a recorded drive as CSV or JSON", qztool::setUpExport},
    {"signals", "List the signals that definition files hold", qztool::setUpSignals},
    {"check", "Compare definitions with themselves and with a recorded drive", qztool::setUpCheck},
};

bool isSubcommand(std::string const& word) {
    return std::any_of(std::begin(subcommands), std::end(subcommands),
                       [&word](Subcommand const& each) { return word == each.name; });
}

std::string unknownSubcommand(std::string const& word) {
    std::vector<std::string> names;
    for (Subcommand const& each : subcommands)
        names.emplace_back(each.name);
    std::string const meant = qztool::nearest(word, names);
    return "unknown subcommand '" + word + "'" +
           (meant.empty() ? "; see qzsignal --help" : ", did you mean '" + meant + "'?");
}

int run(int argc, char const* const* argv, qztool::Console& console) {
    CLI::App parser("Vehicle bus signals that every process of this machine can read", "qzsignal");
    parser.set_version_flag("--version", "qzsignal " QZSIGNAL_VERSION);
    parser.footer(std::string("\n") + qztool::exitStatusHelp +
                  "Eval and trigger end with 0 if the condition is true and with 1 if it is not.\n"
                  "\nExamples:\n"
                  "  qzsignal replay -d car.dbc drive.log\n"
                  "  candump -L can0 | qzsignal replay -d car.dbc -\n"
                  "  qzsignal read Engine.Speed --wait 5\n"
                  "  qzsignal list --json\n"
                  "  qzsignal eval --follow 'Engine.Speed > 3000'\n"
                  "  qzsignal trigger -d car.dbc 'Engine.Speed > 3000' drive.log\n"
                  "  qzsignal signals -d car.dbc 'Engine.*'\n"
                  "  qzsignal export -d car.dbc drive.log -o values.csv\n");
    parser.require_subcommand(1);
    int status = qztool::exitSuccess;
    for (Subcommand const& each : subcommands) {
        CLI::App* const subcommand = parser.add_subcommand(each.name, each.summary);
        subcommand->callback([&status, job = each.setUp(*subcommand, console)] { status = job(); });
    }

    if (argc > 1 && argv[1][0] != '-' && !isSubcommand(argv[1])) {
        console.error(unknownSubcommand(argv[1]));
        return qztool::exitUsage;
    }
    try {
        parser.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        // Help and version are results; everything else is a mistake on the command line.
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
            return parser.exit(error, console.results(), std::cerr);
        console.error(error.what(), "; see qzsignal --help");
        return qztool::exitUsage;
    }
    console.results().flush();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    // The reader of our output may stop reading; that must not keep a replay from removing its segments.
    std::signal(SIGPIPE, SIG_IGN);
    qztool::Console console;
    try {
        return run(argc, argv, console);
    } catch (std::bad_alloc const&) {
        console.error("out of memory");
    } catch (std::exception const& error) {
        console.error(error.what());
    }
    return qztool::exitFailed;
}
