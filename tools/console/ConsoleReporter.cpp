// Lines with places.
#include "tools/console/ConsoleReporter.h"

#include "tools/definitions/Database.h"
#include "tools/drive/DefinitionSet.h"

namespace qztool {

void ConsoleReporter::problems(std::string const& file, std::vector<Problem> const& problems) {
    for (Problem const& problem : problems)
        if (problem.severity == Severity::Warning)
            d_console.warning(placeText(file, problem.line), ": ", problem.text);
        else
            d_console.error(placeText(file, problem.line), ": ", problem.text);
}

} // namespace qztool
