// Names, patterns, and what to say of those that fit nothing.
#include "tools/drive/NameSearch.h"

#include "tools/base/Nearest.h"
#include "tools/drive/Names.h"

#include <fnmatch.h>

namespace qztool {

std::string unknownNameText(std::string const& name, DefinitionSet const& definitions, std::string const& known) {
    std::string const similar = known.empty() ? nearest(name, definitions.names()) : known;
    return "the definition files hold no signal '" + name + "'" +
           (similar.empty() ? "" : ", did you mean '" + similar + "'?");
}

std::string ambiguousNameText(std::string const& name, std::vector<std::string> const& meant) {
    return "'" + name + "' may be any of " + listText(meant);
}

std::vector<std::string> signalsCalled(std::string const& nameOrPattern, DefinitionSet const& definitions,
                                       Reporter& reporter) {
    std::vector<std::string> meant = definitions.meantBy(nameOrPattern);
    if (meant.size() > 1) {
        reporter.error(ambiguousNameText(nameOrPattern, meant));
        return {};
    }
    if (meant.empty())
        for (std::string const& each : definitions.names())
            if (fnmatch(nameOrPattern.c_str(), each.c_str(), 0) == 0 ||
                fnmatch(nameOrPattern.c_str(), definitions.originalOf(each).c_str(), 0) == 0)
                meant.push_back(each);
    if (meant.empty())
        reporter.error(unknownNameText(nameOrPattern, definitions));
    return meant;
}

} // namespace qztool
