// What a subcommand is: a row in the command's table.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace qztool {

class Console;

struct Subcommand {
    char const* name;
    char const* summary; // one line
    // Adds the subcommand's options to its parser, and returns what runs it once they are parsed. The result is the
    // exit status of the command.
    std::function<int()> (*setUp)(CLI::App& parser, Console& console);
};

std::function<int()> setUpReplay(CLI::App& parser, Console& console);
std::function<int()> setUpRead(CLI::App& parser, Console& console);
std::function<int()> setUpList(CLI::App& parser, Console& console);
std::function<int()> setUpEval(CLI::App& parser, Console& console);
std::function<int()> setUpTrigger(CLI::App& parser, Console& console);
std::function<int()> setUpExport(CLI::App& parser, Console& console);
std::function<int()> setUpSignals(CLI::App& parser, Console& console);
std::function<int()> setUpCheck(CLI::App& parser, Console& console);

} // namespace qztool
