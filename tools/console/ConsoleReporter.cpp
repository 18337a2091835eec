// Lines with places, and problems summed up.
#include "tools/console/ConsoleReporter.h"

#include "tools/base/LineNumbers.h"
#include "tools/definitions/Database.h"
#include "tools/drive/DefinitionSet.h"

#include <map>
#include <utility>

namespace qztool {

namespace {

constexpr std::size_t mostOfAKind = 10;

// The text without its numbers and without what is in quotes.
std::string kindOf(std::string const& text) {
    std::string kind;
    bool inQuotes = false;
    for (char const c : text) {
        inQuotes = (c == '\'') != inQuotes;
        if (!inQuotes && (c < '0' || c > '9'))
            kind += c;
    }
    return kind;
}

struct Kind {
    LineNumbers lines;
    bool printed = false;
};

} // namespace

void ConsoleReporter::problems(std::string const& file, std::vector<Problem> const& problems) {
    std::map<std::pair<Severity, std::string>, Kind> kinds;
    for (Problem const& problem : problems)
        kinds[{problem.severity, kindOf(problem.text)}].lines.add(problem.line);
    for (Problem const& problem : problems) {
        Kind& kind = kinds[{problem.severity, kindOf(problem.text)}];
        if (kind.lines.count() <= mostOfAKind)
            print(placeText(file, problem.line), problem, "");
        else if (!std::exchange(kind.printed, true))
            print(placeText(file, problem.line), problem,
                  "; " + std::to_string(kind.lines.count()) + " problems of this kind, in lines " + kind.lines.text());
    }
}

void ConsoleReporter::print(std::string const& place, Problem const& problem, std::string const& more) {
    if (problem.severity == Severity::Error)
        d_console.error(place, ": ", problem.text, more);
    else if (!d_quiet)
        d_console.warning(place, ": ", problem.text, more);
}

} // namespace qztool
