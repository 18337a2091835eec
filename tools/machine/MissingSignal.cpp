// Looks for the nearest name of the machine.
#include "tools/machine/MissingSignal.h"

#include "tools/base/Nearest.h"
#include "tools/base/Printable.h"
#include "tools/machine/SharedSignals.h"

#include <vector>

namespace qztool {

void reportMissing(std::string const& name, Console& console) {
    std::vector<std::string> names;
    for (ListedSignal const& each : sharedSignals())
        names.push_back(each.instance);
    std::string const meant = nearest(name, names);
    console.error("there is no signal '", name, "'",
                  meant.empty() ? "; see qzsignal list" : ", did you mean '" + printable(meant) + "'?");
}

} // namespace qztool
