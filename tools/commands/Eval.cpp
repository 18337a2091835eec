// qzsignal eval: evaluates an expression over shared signals, once or whenever they change.
#include "tools/Subcommand.h"
#include "tools/base/Clock.h"
#include "tools/base/Console.h"
#include "tools/base/ExitStatus.h"
#include "tools/base/Numbers.h"
#include "tools/base/StopRequest.h"
#include "tools/expression/Compile.h"
#include "tools/machine/MissingSignal.h"
#include "tools/machine/StateJson.h"
#include "tools/machine/WatchedSignal.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace qztool {

namespace {

struct Options {
    std::string expression;
    bool edge = false;
    bool follow = false;
    bool json = false;
    bool program = false;
    double wait = 0;
    double interval = 0.001;
};

// The result of one evaluation.
struct Outcome {
    double value = 0;
    bool trigger = false;
    std::vector<std::string> missing;   // signals that do not exist
    std::vector<std::string> unwritten; // signals that hold no value yet
    std::uint64_t timestamp = 0;        // of the newest signal

    bool known() const { return missing.empty() && unwritten.empty(); }

    // A different time alone does not count.
    bool differs(Outcome const& other) const {
        bool const sameValue = value == other.value || (std::isnan(value) && std::isnan(other.value));
        return !sameValue || trigger != other.trigger || missing != other.missing || unwritten != other.unwritten;
    }
};

std::string listed(char const* what, std::vector<std::string> const& names) {
    std::string text;
    for (std::string const& name : names)
        text += (text.empty() ? std::string(", ") + what : ", ") + "'" + name + "'";
    return text;
}

std::string text(Outcome const& outcome) {
    return (outcome.known() ? numberText(outcome.value) : "-") + " (trigger " + (outcome.trigger ? "true" : "false") +
           (outcome.timestamp != 0 ? ", timestamp " + std::to_string(outcome.timestamp) : "") +
           listed("no signal ", outcome.missing) + listed("no value yet of ", outcome.unwritten) + ")";
}

std::string json(Outcome const& outcome) {
    nlohmann::ordered_json object;
    object["value"] = outcome.known() ? nlohmann::ordered_json(outcome.value) : nlohmann::ordered_json();
    object["trigger"] = outcome.trigger;
    object["timestamp"] = outcome.timestamp;
    object["missing"] = outcome.missing;
    object["unwritten"] = outcome.unwritten;
    return jsonLine(object);
}

nlohmann::ordered_json programJson(ExpParser const& parser) {
    nlohmann::ordered_json program = nlohmann::ordered_json::array();
    for (auto const& [operation, operand] : parser.instructions()) {
        nlohmann::ordered_json instruction;
        instruction["operation"] = ExpParser::nameOf(operation);
        if (operation == &ExpParser::opdouble)
            instruction["constant"] = operand.value;
        if (!operand.name.empty())
            instruction["signal"] = operand.name;
        program.push_back(std::move(instruction));
    }
    return program;
}

class Evaluation {
public:
    Evaluation(Options const& options, Console& console) : d_options(options), d_console(console) {}

    int run() {
        for (std::string const& name : ExpParser::signalNames(d_options.expression.c_str()))
            d_signals.push_back(std::make_unique<WatchedSignal>(name));
        d_parser = compile(d_options.expression, d_options.edge, d_console);
        if (!d_parser)
            return exitBadData;
        if (d_options.program) {
            printProgram();
            return exitSuccess;
        }
        if (d_options.follow)
            noteStopRequests();
        ExitStatus const here = await();
        if (here != exitSuccess || stopRequested())
            return here;
        if (d_options.follow)
            return follow();
        Outcome const outcome = evaluate();
        print(outcome);
        return outcome.trigger ? exitTrue : exitFalse;
    }

private:
    void look() {
        for (auto const& signal : d_signals) {
            bool const wasLocked = signal->isLocked();
            signal->look();
            if (signal->isLocked() && !wasLocked && signal->isThere())
                d_console.warning("'", signal->name(), "' is locked by another process, its last value stays");
        }
    }

    // Looks until all signals exist and hold values, or the time is up. Only a signal that does not exist is a failure.
    ExitStatus await() {
        timespec start{};
        clock_gettime(CLOCK_MONOTONIC, &start);
        for (;;) {
            look();
            double const left = d_options.wait - secondsSince(start);
            if (left <= 0 || stopRequested() ||
                std::all_of(d_signals.begin(), d_signals.end(), [](auto const& signal) { return signal->hasValue(); }))
                break;
            pauseUnlessStopped(std::min(left, d_options.interval));
        }
        ExitStatus result = exitSuccess;
        for (auto const& signal : d_signals) {
            if (signal->isThere() || stopRequested())
                continue;
            if (signal->isLocked())
                reportLocked(*signal);
            else
                reportMissing(signal->name(), d_console);
            result = exitNotThere;
        }
        return result;
    }

    void reportLocked(WatchedSignal const& signal) {
        d_console.error("'", signal.name(), "' is locked by another process, its value is not known");
    }

    Outcome evaluate() {
        Outcome outcome;
        for (auto const& signal : d_signals)
            if (!signal->isThere())
                outcome.missing.push_back(signal->name());
            else if (!signal->hasValue())
                outcome.unwritten.push_back(signal->name());
        outcome.value = d_parser->getValue();
        outcome.trigger = d_parser->getTrigger();
        outcome.timestamp = d_parser->getLastestTime();
        return outcome;
    }

    // Until a stop is requested, or the output takes nothing more. A look comes at its time however long the one before
    // took, unless that took longer than the interval.
    ExitStatus follow() {
        Outcome last = evaluate();
        if (last.trigger || !d_options.edge)
            print(last);
        timespec start{};
        clock_gettime(CLOCK_MONOTONIC, &start);
        double due = 0;
        while (!stopRequested() && d_console.results()) {
            due = std::max(due + d_options.interval, secondsSince(start));
            pauseUnlessStopped(due - secondsSince(start));
            look();
            Outcome const now = evaluate();
            if (d_options.edge ? now.trigger : now.differs(last))
                print(now);
            last = now;
        }
        return exitSuccess;
    }

    void printProgram() {
        if (d_options.json)
            d_console.results() << jsonText(programJson(*d_parser)) << std::endl;
        else
            d_parser->print(d_console.results());
        d_console.results().flush();
    }

    void print(Outcome const& outcome) {
        d_console.results() << (d_options.json ? json(outcome) : text(outcome)) << std::endl;
    }

    Options const& d_options;
    Console& d_console;
    std::vector<std::unique_ptr<WatchedSignal>> d_signals;
    std::unique_ptr<ExpParser> d_parser;
};

} // namespace

std::function<int()> setUpEval(CLI::App& parser, Console& console) {
    auto const options = std::make_shared<Options>();
    auto const seconds = [](double least, double most) { return CLI::Range(least, most).description(""); };
    parser
        .add_option("EXPR", options->expression,
                    "Expression over names of shared signals. Quote it for the shell, and put a space between a name "
                    "and && or ||")
        ->type_name("")
        ->required();
    CLI::Option* const follow = parser.add_flag(
        "--follow", options->follow, "Print each change of value, trigger or presence of a signal, until interrupted");
    CLI::Option* const edge = parser.add_flag(
        "--edge", options->edge,
        "The trigger is true only when the condition becomes true, and at the start if it is true then; "
        "with --follow, only these moments are printed");
    CLI::Option* const wait =
        parser.add_option("--wait", options->wait, "Wait this long for signals that do not exist or hold no value yet")
            ->type_name("SECONDS")
            ->check(seconds(0.0, 1e6));
    CLI::Option* const interval =
        parser.add_option("--interval", options->interval, "Look at the signals this often (0.001)")
            ->type_name("SECONDS")
            ->check(seconds(0.001, 1e6));
    parser.add_flag("--json", options->json,
                    "Print an object a line: value, trigger, timestamp (of the newest signal), missing, unwritten");
    parser
        .add_flag("--program", options->program,
                  "Print the compiled program, one instruction a line, instead of evaluating it; with --json, as an "
                  "array of objects: operation, constant, signal")
        ->excludes(follow, edge, wait, interval);
    parser.footer("\n"
                  "The trigger is true while the value is above 0. An expression over a signal that does not exist\n"
                  "or holds no value yet has no value, and its trigger is false.\n"
                  "\nExit status:\n"
                  "  0   the trigger is true; with --follow: interrupted; with --program: printed\n"
                  "  1   the trigger is false\n"
                  "  64  the command line is wrong\n"
                  "  65  the expression is wrong\n"
                  "  69  a signal did not appear in time\n"
                  "  70  internal failure, such as out of memory\n"
                  "  74  the results could not be written\n"
                  "\nExamples:\n"
                  "  qzsignal eval 'Engine.Speed * 0.5 + 10'\n"
                  "  qzsignal eval 'Engine.Speed > 3000 && RC.F1 == pressed' && echo fast\n"
                  "  qzsignal eval --follow --wait 10 'VehicleSpeed.Speed > 50' --json\n"
                  "  qzsignal eval --program 'Engine.Speed > 3000 && RC.F1'\n");
    return [options, &console] { return Evaluation(*options, console).run(); };
}

} // namespace qztool
